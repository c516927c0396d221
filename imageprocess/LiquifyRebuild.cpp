// Pixel rebuild from a liquify map. The vector kernel takes four 8-bit pixels at once: positions,
// interior test and weights in SSE2 lanes, the blend by 16-bit multiply-adds. Any group with an
// untouched pixel or a sample near the border goes through the scalar kernel, so both agree exactly.
#include "imageprocess/LiquifyRebuild.h"

#include "imageprocess/BilinearSample.h"
#include "imageprocess/PixelAccess.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ImageProcess::detail {

namespace {

// Mirrored rebuild of one pixel whose neighbours may lie outside the image.
template <typename T, int C> void RebuildEdgePixel(const Plane& s, T* out, int64_t fx, int64_t fy) {
    // Far-away positions are pulled in before narrowing; mirroring makes them periodic anyway.
    const int ix = static_cast<int>(std::clamp<int64_t>(fx >> 16, -(1 << 30), 1 << 30));
    const int iy = static_cast<int>(std::clamp<int64_t>(fy >> 16, -(1 << 30), 1 << 30));
    const auto w4 = MakeWeights(static_cast<uint32_t>(fx & 0xFFFF), static_cast<uint32_t>(fy & 0xFFFF));
    const int xa = MirrorIndex(ix, s.width) * C, xb = MirrorIndex(ix + 1, s.width) * C;
    const T* ra = reinterpret_cast<const T*>(s.Row(MirrorIndex(iy, s.height)));
    const T* rb = reinterpret_cast<const T*>(s.Row(MirrorIndex(iy + 1, s.height)));
    Blend4<T, C>(ra + xa, ra + xb, rb + xa, rb + xb, w4, out);
}

// lastX, lastY: the image's last column and row, the bounds of the interior test.
template <typename T, int C>
[[gnu::always_inline]] inline void RebuildPixel(const Plane& s, uint32_t lastX, uint32_t lastY, T* out,
                                                const float* e) {
    const int64_t fx = ToFixed(e[0]), fy = ToFixed(e[1]);
    const int64_t ix = fx >> 16, iy = fy >> 16;
    // Interior test in unsigned arithmetic: one compare per axis covers both ends.
    if (static_cast<uint64_t>(ix) >= lastX || static_cast<uint64_t>(iy) >= lastY) {
        RebuildEdgePixel<T, C>(s, out, fx, fy);
        return;
    }
    const auto w4 = MakeWeights(static_cast<uint32_t>(fx & 0xFFFF), static_cast<uint32_t>(fy & 0xFFFF));
    const T* ra = reinterpret_cast<const T*>(s.base + iy * s.step) + ix * C;
    const T* rb = reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(ra) + s.step);
    Blend4<T, C>(ra, ra + C, rb, rb + C, w4, out);
}

template <typename T, int C>
void RebuildRowScalar(const Plane& s, T* out, const float* map, const unsigned char* touched, int x0,
                      int x1) {
    const auto lastX = static_cast<uint32_t>(s.width - 1), lastY = static_cast<uint32_t>(s.height - 1);
    for (int x = x0; x < x1; ++x)
        if (touched[x])
            RebuildPixel<T, C>(s, lastX, lastY, out + x * C, map + 2 * x);
}

#if defined(__SSE2__)

// The left pixel of a pair as four bytes in the low 32 bits. With three channels the fourth byte is
// the right pixel's first, so the read stays inside the pair; its result is dropped.
inline __m128i LoadLeft(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(static_cast<int>(v));
}

// The right pixel of a pair, read without passing its last byte.
template <int C> inline __m128i LoadRight(const uint8_t* p) {
    uint32_t v;
    if constexpr (C == 3) {
        std::memcpy(&v, p + 2, 4); // p[2], then the right pixel's three bytes
        v >>= 8;
    } else {
        std::memcpy(&v, p + 4, 4);
    }
    return _mm_cvtsi32_si128(static_cast<int>(v));
}

// Positions and weights of four pixels. Returns false when any of them samples outside the interior
// (or its position does not fit 32 bits), which the scalar kernel then handles.
struct Group4 {
    alignas(16) int32_t ix[4], iy[4];
    __m128i wAB[2]; // per pixel lane: (w00, w10) as 16-bit pairs, low byte and high part
    __m128i wCD[2]; // the same for (w01, w11)
    alignas(16) uint32_t w[4][4];
};

inline bool PrepareGroup(const float* e, int lastX, int lastY, Group4& g, bool wantScalarWeights) {
    const __m128 k = _mm_set1_ps(65536.0f);
    const __m128 m0 = _mm_loadu_ps(e), m1 = _mm_loadu_ps(e + 4);
    // Same rounding as ToFixed; out of 32-bit range gives INT32_MIN, which fails the interior test.
    const __m128i fx = _mm_cvtps_epi32(_mm_mul_ps(_mm_shuffle_ps(m0, m1, _MM_SHUFFLE(2, 0, 2, 0)), k));
    const __m128i fy = _mm_cvtps_epi32(_mm_mul_ps(_mm_shuffle_ps(m0, m1, _MM_SHUFFLE(3, 1, 3, 1)), k));
    const __m128i ix = _mm_srai_epi32(fx, 16), iy = _mm_srai_epi32(fy, 16);
    const __m128i zero = _mm_setzero_si128();
    const __m128i outside =
        _mm_or_si128(_mm_or_si128(_mm_cmplt_epi32(ix, zero), _mm_cmpgt_epi32(ix, _mm_set1_epi32(lastX - 1))),
                     _mm_or_si128(_mm_cmplt_epi32(iy, zero), _mm_cmpgt_epi32(iy, _mm_set1_epi32(lastY - 1))));
    if (_mm_movemask_epi8(outside))
        return false;
    _mm_store_si128(reinterpret_cast<__m128i*>(g.ix), ix);
    _mm_store_si128(reinterpret_cast<__m128i*>(g.iy), iy);
    // With P = fx * fy (fractions): w00 = 65536 - fx - fy + floor(P / 65536), w10 = fx - ceil(P / 65536),
    // w01 = fy - ceil(P / 65536), w11 the rest: the truncations of MakeWeights, in 32-bit lanes.
    const __m128i low16 = _mm_set1_epi32(0xFFFF);
    const __m128i ffx = _mm_and_si128(fx, low16), ffy = _mm_and_si128(fy, low16);
    const __m128i pHigh = _mm_mulhi_epu16(ffx, ffy); // upper halves multiply 0 by 0
    const __m128i pLow = _mm_mullo_epi16(ffx, ffy);
    const __m128i ceilP = _mm_add_epi32(_mm_add_epi32(pHigh, _mm_set1_epi32(1)), _mm_cmpeq_epi32(pLow, zero));
    const __m128i full = _mm_set1_epi32(65536);
    const __m128i w00 = _mm_add_epi32(_mm_sub_epi32(_mm_sub_epi32(full, ffx), ffy), pHigh);
    const __m128i w10 = _mm_sub_epi32(ffx, ceilP), w01 = _mm_sub_epi32(ffy, ceilP);
    const __m128i w11 = _mm_sub_epi32(_mm_sub_epi32(_mm_sub_epi32(full, w00), w10), w01);
    if (wantScalarWeights) {
        _mm_store_si128(reinterpret_cast<__m128i*>(g.w[0]), w00);
        _mm_store_si128(reinterpret_cast<__m128i*>(g.w[1]), w10);
        _mm_store_si128(reinterpret_cast<__m128i*>(g.w[2]), w01);
        _mm_store_si128(reinterpret_cast<__m128i*>(g.w[3]), w11);
        return true;
    }
    // Weights reach 65536, beyond a signed 16-bit lane: split into the low byte and the rest (<= 256).
    const __m128i byte = _mm_set1_epi32(0xFF);
    const auto pair = [](__m128i lo, __m128i hi) { return _mm_or_si128(lo, _mm_slli_epi32(hi, 16)); };
    g.wAB[0] = pair(_mm_and_si128(w00, byte), _mm_and_si128(w10, byte));
    g.wAB[1] = pair(_mm_srli_epi32(w00, 8), _mm_srli_epi32(w10, 8));
    g.wCD[0] = pair(_mm_and_si128(w01, byte), _mm_and_si128(w11, byte));
    g.wCD[1] = pair(_mm_srli_epi32(w01, 8), _mm_srli_epi32(w11, 8));
    return true;
}

// Blend of pixel i of the group: four 32-bit channel results.
template <int C, int I> inline __m128i BlendLane(const Plane& s, const Group4& g) {
    const uint8_t* ra =
        s.base + static_cast<ptrdiff_t>(g.iy[I]) * s.step + static_cast<ptrdiff_t>(g.ix[I]) * C;
    const uint8_t* rb = ra + s.step;
    const __m128i zero = _mm_setzero_si128();
    const __m128i ab = _mm_unpacklo_epi8(_mm_unpacklo_epi8(LoadLeft(ra), LoadRight<C>(ra)), zero);
    const __m128i cd = _mm_unpacklo_epi8(_mm_unpacklo_epi8(LoadLeft(rb), LoadRight<C>(rb)), zero);
    constexpr int kLane = I * 0x55;
    const __m128i lo = _mm_add_epi32(_mm_madd_epi16(ab, _mm_shuffle_epi32(g.wAB[0], kLane)),
                                     _mm_madd_epi16(cd, _mm_shuffle_epi32(g.wCD[0], kLane)));
    const __m128i hi = _mm_add_epi32(_mm_madd_epi16(ab, _mm_shuffle_epi32(g.wAB[1], kLane)),
                                     _mm_madd_epi16(cd, _mm_shuffle_epi32(g.wCD[1], kLane)));
    const __m128i sum = _mm_add_epi32(_mm_add_epi32(_mm_slli_epi32(hi, 8), lo), _mm_set1_epi32(0x8000));
    return _mm_srli_epi32(sum, 16);
}

template <int C> inline void StoreGroup(uint8_t* out, __m128i p0, __m128i p1, __m128i p2, __m128i p3) {
    const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(p0, p1), _mm_packs_epi32(p2, p3));
    if constexpr (C == 4) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
    } else {
        alignas(16) uint32_t px[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(px), bytes);
        const uint64_t first = (px[0] & 0xFFFFFFu) | (static_cast<uint64_t>(px[1] & 0xFFFFFFu) << 24) |
                               (static_cast<uint64_t>(px[2]) << 48);
        const uint32_t rest = ((px[2] >> 16) & 0xFFu) | ((px[3] & 0xFFFFFFu) << 8);
        std::memcpy(out, &first, 8);
        std::memcpy(out + 8, &rest, 4);
    }
}

template <int C>
void RebuildRowVector(const Plane& s, uint8_t* out, const float* map, const unsigned char* touched, int x0,
                      int x1) {
    const int lastX = s.width - 1, lastY = s.height - 1;
    int x = x0;
    for (; x + 4 <= x1; x += 4) {
        uint32_t marks;
        std::memcpy(&marks, touched + x, 4);
        Group4 g;
        if (marks != 0xFFFFFFFFu || !PrepareGroup(map + 2 * x, lastX, lastY, g, C == 1)) {
            RebuildRowScalar<uint8_t, C>(s, out, map, touched, x, x + 4);
            continue;
        }
        if constexpr (C == 1) {
            for (int i = 0; i < 4; ++i) {
                const uint8_t* ra = s.base + static_cast<ptrdiff_t>(g.iy[i]) * s.step + g.ix[i];
                const uint8_t* rb = ra + s.step;
                const Weights4 w4{g.w[0][i], g.w[1][i], g.w[2][i], g.w[3][i]};
                Blend4<uint8_t, 1>(ra, ra + 1, rb, rb + 1, w4, out + x + i);
            }
        } else {
            StoreGroup<C>(out + x * C, BlendLane<C, 0>(s, g), BlendLane<C, 1>(s, g), BlendLane<C, 2>(s, g),
                          BlendLane<C, 3>(s, g));
        }
    }
    RebuildRowScalar<uint8_t, C>(s, out, map, touched, x, x1);
}

#endif

template <typename T, int C>
void RebuildRow(const Plane& s, T* out, const float* map, const unsigned char* touched, int x0, int x1,
                RebuildKernel kernel) {
#if defined(__SSE2__)
    if constexpr (sizeof(T) == 1) {
        if (kernel == RebuildKernel::Vector) {
            RebuildRowVector<C>(s, out, map, touched, x0, x1);
            return;
        }
    }
#endif
    (void)kernel;
    RebuildRowScalar<T, C>(s, out, map, touched, x0, x1);
}

} // namespace

void RebuildTouchedPixels(CImageDataInfo& dst, const CImageDataInfo& src, const LIQUIFY_MAP& map,
                          const IntRect& area, RebuildKernel kernel, void (*progress)(int, int)) {
    const Plane s = PlaneOf(src), d = PlaneOf(dst);
    DispatchFormat(s.channels, s.depth, [&]<typename T, int C>() {
        ParallelRows(area.height, static_cast<long long>(area.width) * area.height, progress,
                     [&](int r0, int r1) {
                         for (int j = r0; j < r1; ++j) {
                             const int y = area.y + j;
                             const ptrdiff_t o = static_cast<ptrdiff_t>(y) * map.width;
                             RebuildRow<T, C>(s, reinterpret_cast<T*>(d.Row(y)), map.map + 2 * o,
                                              map.touched + o, area.x, area.Right(), kernel);
                         }
                     });
    });
}

} // namespace ImageProcess::detail
