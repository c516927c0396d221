#pragma once
// Small image helpers for the retouch tests: pixels given as 8-bit levels, scaled to the depth.
#include "common/testing/TestImages.h"

#include <cstdint>

namespace retouch_test {

// A colour as 8-bit levels of B, G, R, A (grey images use the first).
struct Level {
    uint32_t b, g, r, a;
};

inline uint32_t Scale(uint32_t level8, int depth) {
    return depth == 2 ? level8 * 257u : level8;
}

inline void Put(CImageDataInfo& img, int x, int y, Level v) {
    const uint32_t c[4] = {v.b, v.g, v.r, v.a};
    for (int ch = 0; ch < img.channels; ++ch)
        kel_testing::SetValue(img, x, y, ch, Scale(c[ch], img.depth));
}

inline bool Flat(CImageDataInfo& img, int w, int h, int channels, int depth, Level v) {
    if (!img.Create(w, h, channels, depth))
        return false;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            Put(img, x, y, v);
    return true;
}

// Channel value as a fraction of 8-bit levels, whatever the depth.
inline double Get8(const CImageDataInfo& img, int x, int y, int ch) {
    const double v = kel_testing::GetValue(img, x, y, ch);
    return img.depth == 2 ? v / 257.0 : v;
}

// A deterministic pseudo-random sequence.
struct Rng {
    uint32_t s;
    uint32_t Next() {
        s = s * 1664525u + 1013904223u;
        return s >> 8;
    }
    int Range(int lo, int hi) { return lo + static_cast<int>(Next() % static_cast<uint32_t>(hi - lo + 1)); }
    double Unit() { return (Next() & 0xFFFF) / 65536.0; }
};

} // namespace retouch_test
