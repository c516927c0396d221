// Colour-range region growth: a match map in parallel rows, then a scanline flood from the seeds.
#include "imageprocess/ColorRegion.h"

#include "imageprocess/PixelAccess.h"
#include "imageprocess/RetouchAccess.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

namespace ImageProcess {

namespace {

using detail::Plane;

// Y, B - Y and R - Y on the 16-bit scale; the luma weights sum to 65536.
struct Ycc {
    int32_t y, cb, cr;
};

inline Ycc ToYcc(uint32_t r, uint32_t g, uint32_t b) {
    const int32_t y = static_cast<int32_t>((13933u * r + 46871u * g + 4732u * b + 32768u) >> 16);
    return Ycc{y, static_cast<int32_t>(b) - y, static_cast<int32_t>(r) - y};
}

template <typename T> inline Ycc PixelYcc(const T* p, int channels) {
    constexpr uint32_t k = sizeof(T) == 1 ? 257u : 1u;
    if (channels == 1)
        return Ycc{static_cast<int32_t>(p[0] * k), 0, 0};
    return ToYcc(p[2] * k, p[1] * k, p[0] * k);
}

inline Ycc PixelYcc(const Plane& pl, int x, int y) {
    const unsigned char* row = pl.Row(y);
    if (pl.depth == 1)
        return PixelYcc<uint8_t>(row + x * pl.channels, pl.channels);
    return PixelYcc<uint16_t>(reinterpret_cast<const uint16_t*>(row) + x * pl.channels, pl.channels);
}

struct Range {
    int32_t lo[3] = {INT_MAX, INT_MAX, INT_MAX};
    int32_t hi[3] = {INT_MIN, INT_MIN, INT_MIN};
};

template <typename T>
void MatchRow(const T* __restrict p, uint8_t* __restrict out, int width, int channels, const Range& r) {
    for (int x = 0; x < width; ++x) {
        const Ycc v = PixelYcc<T>(p + x * channels, channels);
        out[x] = static_cast<uint8_t>(v.y >= r.lo[0] && v.y <= r.hi[0] && v.cb >= r.lo[1] &&
                                      v.cb <= r.hi[1] && v.cr >= r.lo[2] && v.cr <= r.hi[2]);
    }
}

// Fills every run of 1 reachable from the seeds with 2, four-connected.
void Flood(std::vector<uint8_t>& map, int width, int height, std::vector<int64_t>& stack) {
    while (!stack.empty()) {
        const int64_t at = stack.back();
        stack.pop_back();
        if (map[static_cast<size_t>(at)] != 1)
            continue;
        const int y = static_cast<int>(at / width);
        uint8_t* row = map.data() + static_cast<size_t>(y) * width;
        int l = static_cast<int>(at % width), r = l;
        while (l > 0 && row[l - 1] == 1)
            --l;
        while (r + 1 < width && row[r + 1] == 1)
            ++r;
        std::fill(row + l, row + r + 1, uint8_t{2});
        for (int ny : {y - 1, y + 1}) {
            if (ny < 0 || ny >= height)
                continue;
            const uint8_t* nrow = map.data() + static_cast<size_t>(ny) * width;
            for (int x = l; x <= r; ++x)
                if (nrow[x] == 1 && (x == l || nrow[x - 1] != 1))
                    stack.push_back(static_cast<int64_t>(ny) * width + x);
        }
    }
}

} // namespace

bool GrowColorRegion(const CImageDataInfo& image, const CSelectedRegion& stroke, CSelectedRegion& out,
                     COLOR_REGION_COMPARE compare, int tolerance, bool contiguous,
                     void (*progress)(int done, int total)) {
    if (!detail::IsUsable(image) || !detail::HasValues(stroke) || tolerance < 0 || tolerance > 100 ||
        compare < COLOR_REGION_LUMINANCE_COLOR || compare > COLOR_REGION_COLOR || &out == &stroke)
        return false;
    const IntRect seedRect = stroke.Rect().Intersected(IntRect{0, 0, image.width, image.height});
    if (seedRect.IsEmpty())
        return false;
    uint32_t strongest = 0;
    for (int y = seedRect.y; y < seedRect.Bottom(); ++y) {
        const uint16_t* m = stroke.Row(y - stroke.y) - stroke.x;
        for (int x = seedRect.x; x < seedRect.Right(); ++x)
            strongest = std::max<uint32_t>(strongest, m[x]);
    }
    if (strongest == 0)
        return false;
    const uint32_t threshold = (strongest + 1) / 2;
    const Plane pl = detail::PlaneOf(image);
    Range range;
    std::vector<int64_t> seeds;
    for (int y = seedRect.y; y < seedRect.Bottom(); ++y) {
        const uint16_t* m = stroke.Row(y - stroke.y) - stroke.x;
        for (int x = seedRect.x; x < seedRect.Right(); ++x) {
            if (m[x] < threshold)
                continue;
            const Ycc v = PixelYcc(pl, x, y);
            const int32_t c[3] = {v.y, v.cb, v.cr};
            for (int i = 0; i < 3; ++i) {
                range.lo[i] = std::min(range.lo[i], c[i]);
                range.hi[i] = std::max(range.hi[i], c[i]);
            }
            seeds.push_back(static_cast<int64_t>(y) * image.width + x);
        }
    }
    const int32_t tol = tolerance * 65535 / 200;
    const bool useLuma = compare != COLOR_REGION_COLOR, useColor = compare != COLOR_REGION_LUMINANCE;
    for (int i = 0; i < 3; ++i) {
        const bool used = i == 0 ? useLuma : useColor;
        range.lo[i] = used ? range.lo[i] - tol : INT_MIN;
        range.hi[i] = used ? range.hi[i] + tol : INT_MAX;
    }
    const int w = image.width, h = image.height;
    std::vector<uint8_t> map;
    CSelectedRegion result;
    try {
        map.resize(static_cast<size_t>(w) * h);
    } catch (const std::bad_alloc&) {
        return false;
    }
    if (!result.Create(w, h))
        return false;
    detail::ParallelRows(h, static_cast<long long>(w) * h * 2, progress, [&](int r0, int r1) {
        for (int y = r0; y < r1; ++y) {
            uint8_t* o = map.data() + static_cast<size_t>(y) * w;
            if (pl.depth == 1)
                MatchRow<uint8_t>(pl.Row(y), o, w, pl.channels, range);
            else
                MatchRow<uint16_t>(reinterpret_cast<const uint16_t*>(pl.Row(y)), o, w, pl.channels, range);
        }
    });
    uint8_t selected = 1;
    if (contiguous) {
        Flood(map, w, h, seeds);
        selected = 2;
    }
    detail::ParallelRows(h, static_cast<long long>(w) * h, nullptr, [&](int r0, int r1) {
        for (int y = r0; y < r1; ++y) {
            const uint8_t* m = map.data() + static_cast<size_t>(y) * w;
            uint16_t* o = result.Row(y);
            for (int x = 0; x < w; ++x)
                o[x] = m[x] == selected ? uint16_t{65535} : uint16_t{0};
        }
    });
    out.x = 0;
    out.y = 0;
    out.width = w;
    out.height = h;
    out.data.swap(result.data);
    return true;
}

} // namespace ImageProcess
