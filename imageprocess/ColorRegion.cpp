// Colour-range region growth: a match map in parallel rows, then a scanline flood from the seeds whose
// run scans test eight mask values at a time.
#include "imageprocess/ColorRegion.h"

#include "imageprocess/PixelAccess.h"
#include "imageprocess/RetouchAccess.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <vector>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

// Writes `hit` where the pixel's colour lies in the range, 0 elsewhere, and returns how many hit.
// Pixels are first split into planes of a block, since interleaved loads keep the arithmetic from
// vectorising.
template <typename T, int CH>
[[gnu::always_inline]] inline int MatchRowBody(const T* __restrict p, uint16_t* __restrict out, int width,
                                               const Range& range, uint16_t hit) {
    constexpr int kBlock = 256;
    constexpr uint32_t k = sizeof(T) == 1 ? 257u : 1u;
    const Range r = range;
    alignas(32) uint32_t pb[kBlock], pg[kBlock], pr[kBlock];
    int count = 0;
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
            count += in;
        }
    }
    return count;
}

#if defined(__x86_64__) && defined(__GNUC__)
// The same loop compiled for AVX2, where 32-bit multiplies are single instructions; the SSE2 build
// has to emulate them. Integer arithmetic only, so both give the same mask.
template <typename T, int CH>
__attribute__((target("avx2"))) int MatchRowWide(const T* __restrict p, uint16_t* __restrict out, int width,
                                                 const Range& range, uint16_t hit) {
    return MatchRowBody<T, CH>(p, out, width, range, hit);
}

bool HasAvx2() {
    static const bool has = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") != 0;
    }();
    return has;
}
#endif

template <typename T, int CH>
int MatchRow(const T* p, uint16_t* out, int width, const Range& range, uint16_t hit) {
#if defined(__x86_64__) && defined(__GNUC__)
    if (HasAvx2())
        return MatchRowWide<T, CH>(p, out, width, range, hit);
#endif
    return MatchRowBody<T, CH>(p, out, width, range, hit);
}

template <typename T>
int MatchRowAny(const T* p, uint16_t* out, int width, int channels, const Range& r, uint16_t hit) {
    if (channels == 1)
        return MatchRow<T, 1>(p, out, width, r, hit);
    if (channels == 3)
        return MatchRow<T, 3>(p, out, width, r, hit);
    return MatchRow<T, 4>(p, out, width, r, hit);
}

// Turns every run of kCandidate reachable from the seeds into kFilled, four-connected, and adds to
// filled[y] the pixels it filled in row y.
constexpr uint16_t kCandidate = 1, kFilled = 0xFFFF;

#if defined(__SSE2__)
// Two bits per value, set for the candidates among the eight values at p.
inline unsigned CandidateBits(const uint16_t* p) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(v, _mm_set1_epi16(kCandidate))));
}
constexpr unsigned kAllCandidates = 0xFFFF;
#endif

// The first index from x on that is not a candidate, or width.
inline int RunEnd(const uint16_t* row, int x, int width) {
#if defined(__SSE2__)
    for (; x + 8 <= width; x += 8) {
        const unsigned bits = CandidateBits(row + x);
        if (bits != kAllCandidates)
            return x + __builtin_ctz(~bits) / 2;
    }
#endif
    while (x < width && row[x] == kCandidate)
        ++x;
    return x;
}

// The smallest l <= x with row[l .. x - 1] all candidates.
inline int RunStart(const uint16_t* row, int x) {
#if defined(__SSE2__)
    for (; x >= 8; x -= 8) {
        const unsigned bits = CandidateBits(row + x - 8);
        if (bits != kAllCandidates)
            return x - 8 + (31 - __builtin_clz(~bits & kAllCandidates)) / 2 + 1;
    }
#endif
    while (x > 0 && row[x - 1] == kCandidate)
        --x;
    return x;
}

// Pushes the first index of every candidate run in row[l .. r]; a run that starts left of l is
// pushed at l.
void PushRunStarts(const uint16_t* row, int l, int r, int64_t rowStart, std::vector<int64_t>& stack) {
    bool before = false; // whether the value left of x is a candidate of the same run
    const auto scan = [&](int from, int to) {
        for (int x = from; x < to; ++x) {
            const bool in = row[x] == kCandidate;
            if (in && !before)
                stack.push_back(rowStart + x);
            before = in;
        }
    };
    int x = l;
#if defined(__SSE2__)
    for (; x + 8 <= r + 1; x += 8) {
        const unsigned bits = CandidateBits(row + x);
        // Eight values without a start: none a candidate, or all continuing a run.
        if (bits == 0 || (bits == kAllCandidates && before))
            before = bits != 0;
        else
            scan(x, x + 8);
    }
#endif
    scan(x, r + 1);
}

void Flood(CSelectedRegion& map, std::vector<int64_t>& stack, std::vector<int>& filled) {
    const int width = map.width, height = map.height;
    while (!stack.empty()) {
        const int64_t at = stack.back();
        stack.pop_back();
        const int y = static_cast<int>(at / width);
        uint16_t* row = map.Row(y);
        const int seed = static_cast<int>(at % width);
        if (row[seed] != kCandidate)
            continue;
        const int l = RunStart(row, seed), r = RunEnd(row, seed + 1, width) - 1;
        std::fill(row + l, row + r + 1, kFilled);
        filled[y] += r - l + 1;
        for (int ny : {y - 1, y + 1})
            if (ny >= 0 && ny < height)
                PushRunStarts(map.Row(ny), l, r, static_cast<int64_t>(ny) * width, stack);
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
    // Matches per row, so that the cleanup after the flood can skip rows it filled completely.
    std::vector<int> matched(contiguous ? h : 0);
    detail::ParallelRows(h, static_cast<long long>(w) * h * 2, progress, [&](int r0, int r1) {
        for (int y = r0; y < r1; ++y) {
            const int n = pl.depth == 1
                              ? MatchRowAny<uint8_t>(pl.Row(y), map.Row(y), w, pl.channels, range, hit)
                              : MatchRowAny<uint16_t>(reinterpret_cast<const uint16_t*>(pl.Row(y)),
                                                      map.Row(y), w, pl.channels, range, hit);
            if (contiguous)
                matched[y] = n;
        }
    });
    if (contiguous) {
        std::vector<int> filled(h, 0);
        Flood(map, seeds, filled);
        // Candidates the flood did not reach become 0; rows where it reached every one are done.
        detail::ParallelRows(h, static_cast<long long>(w) * h, nullptr, [&](int r0, int r1) {
            for (int y = r0; y < r1; ++y) {
                if (filled[y] == matched[y])
                    continue;
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
