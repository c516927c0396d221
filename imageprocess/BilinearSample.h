#pragma once
// Internal helpers of the warping functions: 16.16 fixed-point bilinear weights and the blend of four
// neighbours, shared so that every warp rounds the same way.
#include "imageprocess/PixelAccess.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#if defined(__x86_64__)
#include <emmintrin.h>
#endif

namespace ImageProcess::detail {

// Weights of the four neighbours for fractions fx, fy in 1/65536. Three are truncated and the fourth
// takes the rest, so they sum to exactly 65536: a flat area stays flat and a whole-pixel position
// gives that pixel unchanged.
struct Weights4 {
    uint32_t w00, w10, w01, w11;
};

inline Weights4 MakeWeights(uint32_t fx, uint32_t fy) {
    const uint64_t gx = 65536u - fx, gy = 65536u - fy;
    const auto w00 = static_cast<uint32_t>((gx * gy) >> 16), w10 = static_cast<uint32_t>((fx * gy) >> 16),
               w01 = static_cast<uint32_t>((gx * fy) >> 16);
    return {w00, w10, w01, 65536u - w00 - w10 - w01};
}

// out = round-to-nearest of the weighted sum of a (top-left), b (top-right), c (bottom-left), d.
// C channels of type T; the sum fits in 32 bits because the weights sum to at most 65536.
template <typename T, int C>
inline void Blend4(const T* a, const T* b, const T* c, const T* d, const Weights4& w, T* out) {
#pragma GCC unroll 4
    for (int k = 0; k < C; ++k)
        out[k] = static_cast<T>((a[k] * w.w00 + b[k] * w.w10 + c[k] * w.w01 + d[k] * w.w11 + 0x8000u) >> 16);
}

// Mirrors an index into [0, n): the edge repeats, then the image reflects (period 2n).
inline int MirrorIndex(int i, int n) {
    if (i >= 0 && i < n)
        return i;
    const long long period = 2LL * n;
    long long m = i % period;
    if (m < 0)
        m += period;
    return static_cast<int>(m < n ? m : period - 1 - m);
}

inline int ClampIndex(int i, int n) {
    return i < 0 ? 0 : (i >= n ? n - 1 : i);
}

// floor() without a library call: truncation, corrected for negative values.
inline int64_t FloorToInt(double v) {
    const int64_t t = static_cast<int64_t>(v);
    return t - (static_cast<double>(t) > v);
}

// A coordinate in 16.16 fixed point, rounded to nearest so that tiny floating errors vanish. Values
// beyond any image (or not a number) become a far-away position rather than undefined behaviour.
#if defined(__x86_64__)
inline int64_t ToFixed(double v) {
    return _mm_cvtsd_si64(_mm_set_sd(v * 65536.0)); // out of range gives INT64_MIN
}
inline int64_t ToFixed(float v) {
    return _mm_cvtss_si64(_mm_set_ss(v * 65536.0f));
}
#else
inline int64_t ToFixed(double v) {
    constexpr double kFar = 1e9;
    if (!(v > -kFar && v < kFar))
        v = -kFar;
    return FloorToInt(v * 65536.0 + 0.5);
}
inline int64_t ToFixed(float v) {
    return ToFixed(static_cast<double>(v));
}
#endif

// Calls body.template operator()<T, C>() for the pixel format of the plane; false for a format the
// warps do not take.
template <typename Body> bool DispatchFormat(int channels, int depth, Body&& body) {
    if (depth == 1) {
        switch (channels) {
        case 1:
            body.template operator()<uint8_t, 1>();
            return true;
        case 3:
            body.template operator()<uint8_t, 3>();
            return true;
        case 4:
            body.template operator()<uint8_t, 4>();
            return true;
        }
    } else if (depth == 2) {
        switch (channels) {
        case 1:
            body.template operator()<uint16_t, 1>();
            return true;
        case 3:
            body.template operator()<uint16_t, 3>();
            return true;
        case 4:
            body.template operator()<uint16_t, 4>();
            return true;
        }
    }
    return false;
}

} // namespace ImageProcess::detail
