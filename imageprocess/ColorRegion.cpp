// Colour-range region growth: a match map in parallel rows, then a scanline flood from the seeds.
#include "imageprocess/ColorRegion.h"

#include "imageprocess/PixelAccess.h"
#include "imageprocess/RetouchAccess.h"

#include <algorithm>
#include <climits>
#include <cstddef>
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

// Writes `hit` where the pixel's colour lies in the range, 0 elsewhere. Pixels are first split into
// planes of a block, since interleaved loads keep the arithmetic from vectorising.
template <typename T, int CH>
void MatchRow(const T* __restrict p, uint16_t* __restrict out, int width, const Range& range, uint16_t hit) {
    constexpr int kBlock = 256;
    constexpr uint32_t k = sizeof(T) == 1 ? 257u : 1u;
    const Range r = range;
    alignas(32) uint32_t pb[kBlock], pg[kBlock], pr[kBlock];
    for (int x0 = 0; x0 < width; x0 += kBlock) {
        const int n = std::min(kBlock, width - x0);
        const T* q = p + static_cast<ptrdiff_t>(x0) * CH;
        for (int i = 0; i < n; ++i) {
            pb[i] = q[i * CH];
            pg[i] = q[i * CH + (CH > 1 ? 1 : 0)];
            pr[i] = q[i * CH + (CH > 1 ? 2 : 0)];
        }
        uint16_t* o = out + x0;
        for (int i = 0; i < n; ++i) {
            const uint32_t R = pr[i] * k, G = pg[i] * k, B = pb[i] * k;
            const int32_t y = static_cast<int32_t>((13933u * R + 46871u * G + 4732u * B + 32768u) >> 16);
            const int32_t cb = static_cast<int32_t>(B) - y, cr = static_cast<int32_t>(R) - y;
            // Bitwise, not short-circuit, so that the loop stays branch-free.
            const int in = (y >= r.lo[0]) & (y <= r.hi[0]) & (cb >= r.lo[1]) & (cb <= r.hi[1]) &
                           (cr >= r.lo[2]) & (cr <= r.hi[2]);
            o[i] = static_cast<uint16_t>(hit & -in);
        }
    }
}

template <typename T>
void MatchRowAny(const T* p, uint16_t* out, int width, int channels, const Range& r, uint16_t hit) {
    if (channels == 1)
        MatchRow<T, 1>(p, out, width, r, hit);
    else if (channels == 3)
        MatchRow<T, 3>(p, out, width, r, hit);
    else
        MatchRow<T, 4>(p, out, width, r, hit);
}

// Turns every run of kCandidate reachable from the seeds into kFilled, four-connected.
constexpr uint16_t kCandidate = 1, kFilled = 0xFFFF;

void Flood(CSelectedRegion& map, std::vector<int64_t>& stack) {
    const int width = map.width, height = map.height;
    while (!stack.empty()) {
        const int64_t at = stack.back();
        stack.pop_back();
        const int y = static_cast<int>(at / width);
        uint16_t* row = map.Row(y);
        int l = static_cast<int>(at % width), r = l;
        if (row[l] != kCandidate)
            continue;
        while (l > 0 && row[l - 1] == kCandidate)
            --l;
        while (r + 1 < width && row[r + 1] == kCandidate)
            ++r;
        std::fill(row + l, row + r + 1, kFilled);
        for (int ny : {y - 1, y + 1}) {
            if (ny < 0 || ny >= height)
                continue;
            const uint16_t* nrow = map.Row(ny);
            for (int x = l; x <= r; ++x)
                if (nrow[x] == kCandidate && (x == l || nrow[x - 1] != kCandidate))
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
    // The output doubles as the match map: its buffer is reused when the size stands, which spares the
    // first touch of fresh pages on every call.
    const bool reuse = &out != &stroke && out.width == w && out.height == h && detail::HasValues(out);
    CSelectedRegion fresh;
    if (!reuse && !fresh.Create(w, h))
        return false;
    CSelectedRegion& map = reuse ? out : fresh;
    const uint16_t hit = contiguous ? kCandidate : kFilled;
    detail::ParallelRows(h, static_cast<long long>(w) * h * 2, progress, [&](int r0, int r1) {
        for (int y = r0; y < r1; ++y) {
            if (pl.depth == 1)
                MatchRowAny<uint8_t>(pl.Row(y), map.Row(y), w, pl.channels, range, hit);
            else
                MatchRowAny<uint16_t>(reinterpret_cast<const uint16_t*>(pl.Row(y)), map.Row(y), w,
                                      pl.channels, range, hit);
        }
    });
    if (contiguous) {
        Flood(map, seeds);
        detail::ParallelRows(h, static_cast<long long>(w) * h, nullptr, [&](int r0, int r1) {
            for (int y = r0; y < r1; ++y) {
                uint16_t* o = map.Row(y);
                for (int x = 0; x < w; ++x)
                    o[x] = o[x] == kFilled ? kFilled : uint16_t{0};
            }
        });
    }
    if (!reuse) {
        out.width = w;
        out.height = h;
        out.data.swap(fresh.data);
    }
    out.x = 0;
    out.y = 0;
    return true;
}

} // namespace ImageProcess
