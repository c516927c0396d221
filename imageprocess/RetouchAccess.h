#pragma once
// Internal helpers shared by the retouch functions: typed rows, rounding stores and mask checks.
#include "common/CSelectedRegion.h"
#include "imageprocess/PixelAccess.h"

#include <cmath>
#include <cstdint>

namespace ImageProcess::detail {

// A mask record with values to read or write.
inline bool HasValues(const CSelectedRegion& r) {
    return r.IsUsable() && !r.data.empty();
}

template <typename T> inline T* TypedRow(const Plane& p, int y) {
    return reinterpret_cast<T*>(p.Row(y));
}

// Rounds and clamps a value to the range of the depth.
template <typename T> inline T StoreClamped(double v) {
    constexpr double kMax = sizeof(T) == 1 ? 255.0 : 65535.0;
    if (!(v > 0.0))
        return 0;
    if (v >= kMax)
        return static_cast<T>(kMax);
    return static_cast<T>(v + 0.5);
}

inline double MaxOfDepth(int depth) {
    return depth == 2 ? 65535.0 : 255.0;
}

// Reads channel c of pixel x in logical row y as a double.
inline double ReadChannel(const Plane& p, int x, int y, int c) {
    const unsigned char* row = p.Row(y);
    if (p.depth == 1)
        return row[x * p.channels + c];
    return reinterpret_cast<const uint16_t*>(row)[x * p.channels + c];
}

inline void WriteChannel(const Plane& p, int x, int y, int c, double v) {
    unsigned char* row = p.Row(y);
    if (p.depth == 1)
        row[x * p.channels + c] = StoreClamped<uint8_t>(v);
    else
        reinterpret_cast<uint16_t*>(row)[x * p.channels + c] = StoreClamped<uint16_t>(v);
}

// Colour channels of a pixel (alpha excluded).
inline int ColorChannels(int channels) {
    return channels == 4 ? 3 : channels;
}

inline bool Finite(double v) {
    return std::isfinite(v);
}

} // namespace ImageProcess::detail
