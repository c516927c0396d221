// The row-wise driver and what the canvas runs through it: conversion of any image row to 32-bit
// B, G, R, 255 for the screen, and the chequer under transparent pixels.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ImageProcess {

bool ProcessImage2(PROCESS_ROW_FUNC func, const CImageDataInfo& src, const IntRect& srcRect,
                   const ROW_BUFFER& dst, const void* params, PROGRESS_CALLBACK progress) {
    if (!func || !detail::IsUsable(src) || srcRect.IsEmpty() || srcRect.x < 0 || srcRect.y < 0 ||
        srcRect.Right() > src.width || srcRect.Bottom() > src.height || !dst.data ||
        (dst.channels != 1 && dst.channels != 3 && dst.channels != 4) || (dst.depth != 1 && dst.depth != 2))
        return false;
    const long long rowBytes = static_cast<long long>(srcRect.width) * dst.channels * dst.depth;
    if ((dst.stride < 0 ? -static_cast<long long>(dst.stride) : dst.stride) < rowBytes)
        return false;
    const detail::Plane s = detail::PlaneOf(src);
    const ptrdiff_t xOff = static_cast<ptrdiff_t>(srcRect.x) * s.PixelBytes();
    // Work counted as 4 units a pixel: the display conversion is heavier than a copy.
    detail::ParallelRows(srcRect.height, static_cast<long long>(srcRect.width) * srcRect.height * 4, progress,
                         [&](int r0, int r1) {
                             PROCESS_ROW row;
                             row.width = srcRect.width;
                             row.srcChannels = src.channels;
                             row.srcDepth = src.depth;
                             row.dstChannels = dst.channels;
                             row.dstDepth = dst.depth;
                             row.x = srcRect.x;
                             row.params = params;
                             for (int r = r0; r < r1; ++r) {
                                 row.src = s.Row(srcRect.y + r) + xOff;
                                 row.dst = dst.data + static_cast<ptrdiff_t>(r) * dst.stride;
                                 row.y = srcRect.y + r;
                                 func(row);
                             }
                         });
    return true;
}

namespace {

constexpr uint8_t kShadowMark = 1, kHighlightMark = 2;

// Source row -> B, G, R, 255 with the curve; clip flags per pixel when asked.
template <int CH>
void ToBGRA8(const uint8_t* __restrict s, uint8_t* __restrict d, int width, const uint8_t* __restrict lut,
             uint8_t* __restrict marks) {
    for (int x = 0; x < width; ++x) {
        const uint8_t b = lut[s[x * CH]];
        const uint8_t g = CH == 1 ? b : lut[s[x * CH + 1]];
        const uint8_t r = CH == 1 ? b : lut[s[x * CH + 2]];
        d[4 * x] = b;
        d[4 * x + 1] = g;
        d[4 * x + 2] = r;
        d[4 * x + 3] = 255;
        if (marks) {
            const uint8_t lo = std::min(b, std::min(g, r)), hi = std::max(b, std::max(g, r));
            marks[x] = static_cast<uint8_t>((hi == 255 ? kHighlightMark : 0) | (lo == 0 ? kShadowMark : 0));
        }
    }
}

template <int CH>
void ToBGRA8(const uint16_t* __restrict s, uint8_t* __restrict d, int width,
             const unsigned short* __restrict curve, uint8_t* __restrict marks) {
    for (int x = 0; x < width; ++x) {
        uint32_t v[3];
        for (int c = 0; c < 3; ++c) {
            const uint16_t raw = s[x * CH + (CH == 1 ? 0 : c)];
            v[c] = curve ? curve[raw] : raw;
            d[4 * x + c] = static_cast<uint8_t>((v[c] * 255u + 32767u) / 65535u);
        }
        d[4 * x + 3] = 255;
        if (marks) {
            const uint32_t lo = std::min(v[0], std::min(v[1], v[2])),
                           hi = std::max(v[0], std::max(v[1], v[2]));
            marks[x] = static_cast<uint8_t>((hi == 65535 ? kHighlightMark : 0) | (lo == 0 ? kShadowMark : 0));
        }
    }
}

void ConvertRow(const PROCESS_ROW& row, const DISPLAY_PARAMS& p, uint8_t* out, uint8_t* marks) {
    const int w = row.width;
    if (row.srcDepth == 1) {
        uint8_t lut[256];
        for (int v = 0; v < 256; ++v)
            lut[v] =
                p.curve ? static_cast<uint8_t>((p.curve[v * 257] + 128u) / 257u) : static_cast<uint8_t>(v);
        switch (row.srcChannels) {
        case 1:
            return ToBGRA8<1>(row.src, out, w, lut, marks);
        case 3:
            return ToBGRA8<3>(row.src, out, w, lut, marks);
        default:
            return ToBGRA8<4>(row.src, out, w, lut, marks);
        }
    }
    const auto* s = reinterpret_cast<const uint16_t*>(row.src);
    switch (row.srcChannels) {
    case 1:
        return ToBGRA8<1>(s, out, w, p.curve, marks);
    case 3:
        return ToBGRA8<3>(s, out, w, p.curve, marks);
    default:
        return ToBGRA8<4>(s, out, w, p.curve, marks);
    }
}

// Per 8-bit value: grid cell and position inside it in 1/256 steps (256 at the last grid point).
// The grid is not even (see DisplayLutGrid), so the cells are found by walking it once.
struct LutAxis {
    uint16_t cell[256];
    uint16_t frac[256];
    LutAxis() {
        constexpr int last = detail::kDisplayLutSide - 1;
        int i = 0;
        for (int v = 0; v < 256; ++v) {
            const double t = v / 255.0;
            while (i < last - 1 && detail::DisplayLutGrid(i + 1) <= t)
                ++i;
            const double lo = detail::DisplayLutGrid(i), hi = detail::DisplayLutGrid(i + 1);
            cell[v] = static_cast<uint16_t>(i);
            frac[v] = static_cast<uint16_t>(std::min(256.0, std::floor((t - lo) / (hi - lo) * 256.0 + 0.5)));
        }
    }
};

// Tetrahedral interpolation of the sampled transform, in place on B, G, R, A rows. Much faster than
// evaluating the profiles per pixel, and within a level of it for display.
void ApplyDisplayLut(uint8_t* __restrict px, int width, const uint16_t* __restrict lut) {
    static const LutAxis axis;
    constexpr int n = detail::kDisplayLutSide;
    constexpr int sb = 4, sg = 4 * n, sr = 4 * n * n; // steps in the table, in uint16 values
    static constexpr int kStep[3] = {sb, sg, sr};
    // Axes (0 blue, 1 green, 2 red) by falling fraction, for each outcome of r>=g, g>=b, r>=b. The
    // two impossible outcomes map to any order: their fractions are then equal.
    static constexpr uint8_t kOrder[8][3] = {
        {0, 1, 2}, // r < g, g < b, r < b: b > g > r
        {0, 1, 2}, // cannot happen
        {1, 0, 2}, // r < g, g >= b, r < b: g >= b > r
        {1, 2, 0}, // r < g, g >= b, r >= b: g > r >= b
        {0, 2, 1}, // r >= g, g < b, r < b: b > r >= g
        {2, 0, 1}, // r >= g, g < b, r >= b: r >= b > g
        {2, 1, 0}, // cannot happen
        {2, 1, 0}, // r >= g >= b
    };
    for (int x = 0; x < width; ++x) {
        uint8_t* p = px + 4 * x;
        const int fb = axis.frac[p[0]], fg = axis.frac[p[1]], fr = axis.frac[p[2]];
        const uint16_t* c0 = lut + axis.cell[p[2]] * sr + axis.cell[p[1]] * sg + axis.cell[p[0]] * sb;
        // The tetrahedron holding the point: walk the axes from the largest fraction to the smallest.
        // Chosen by table rather than branches, which noisy images would mispredict.
        const int f[3] = {fb, fg, fr};
        const int order = (fr >= fg) << 2 | (fg >= fb) << 1 | (fr >= fb);
        const uint8_t* o = kOrder[order];
        const int f1 = f[o[0]], f2 = f[o[1]], f3 = f[o[2]];
        const int s1 = kStep[o[0]], s2 = s1 + kStep[o[1]];
        const uint16_t* c1 = c0 + s1;
        const uint16_t* c2 = c0 + s2;
        const uint16_t* c3 = c0 + sr + sg + sb;
        for (int c = 0; c < 3; ++c) {
            const int v = c0[c] * 256 + (c1[c] - c0[c]) * f1 + (c2[c] - c1[c]) * f2 + (c3[c] - c2[c]) * f3;
            // v is a 16-bit value times 256: to 8 bits with rounding.
            p[c] =
                static_cast<uint8_t>((static_cast<uint32_t>(std::max(v, 0)) * 255u + 8388480u) / 16776960u);
        }
    }
}

// Curves, matrix, inverse curves, in place on B, G, R, A rows: three table rows summed, the square
// root of the clamped sum indexing the output curves. A pixel's three channels go through together.
#if defined(__SSE2__)
void ApplyDisplayShaper(uint8_t* __restrict px, int width, const detail::DisplayShaper& sh) {
    const __m128 zero = _mm_setzero_ps(), one = _mm_set1_ps(1.0f);
    const __m128 scale = _mm_set1_ps(detail::DisplayShaper::kOutSize), half = _mm_set1_ps(0.5f);
    for (int x = 0; x < width; ++x) {
        uint8_t* p = px + 4 * x;
        __m128 v = _mm_add_ps(_mm_add_ps(_mm_load_ps(sh.in[0][p[0]]), _mm_load_ps(sh.in[1][p[1]])),
                              _mm_load_ps(sh.in[2][p[2]]));
        v = _mm_sqrt_ps(_mm_min_ps(_mm_max_ps(v, zero), one));
        alignas(16) int32_t k[4];
        _mm_store_si128(reinterpret_cast<__m128i*>(k),
                        _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(v, scale), half)));
        // B, G, R and the opaque alpha the row already holds, in one store.
        const uint32_t bgra = sh.out[0][k[0]] | static_cast<uint32_t>(sh.out[1][k[1]]) << 8 |
                              static_cast<uint32_t>(sh.out[2][k[2]]) << 16 | 0xFF000000u;
        std::memcpy(p, &bgra, 4);
    }
}
#else // the same steps a channel at a time
void ApplyDisplayShaper(uint8_t* __restrict px, int width, const detail::DisplayShaper& sh) {
    constexpr float scale = detail::DisplayShaper::kOutSize;
    for (int x = 0; x < width; ++x) {
        uint8_t* p = px + 4 * x;
        const float* b = sh.in[0][p[0]];
        const float* g = sh.in[1][p[1]];
        const float* r = sh.in[2][p[2]];
        for (int c = 0; c < 3; ++c) {
            const float v = std::sqrt(std::min(std::max((b[c] + g[c]) + r[c], 0.0f), 1.0f));
            p[c] = sh.out[c][static_cast<int>(v * scale + 0.5f)];
        }
    }
}
#endif

} // namespace

void DisplayRowFunc(const PROCESS_ROW& row) {
    static const DISPLAY_PARAMS kNone;
    const DISPLAY_PARAMS& p = row.params ? *static_cast<const DISPLAY_PARAMS*>(row.params) : kNone;
    if (row.dstChannels != 4 || row.dstDepth != 1 || row.width < 1)
        return;
    thread_local std::vector<uint8_t> scratch, marks;
    const detail::DisplayShaper* shaper = p.transform ? detail::DisplayShaperOf(p.transform) : nullptr;
    const uint16_t* lut = p.transform && !shaper ? detail::DisplayLut(p.transform) : nullptr;
    void* handle = p.transform && !lut && !shaper ? detail::DisplayTransformHandle(p.transform) : nullptr;
    const bool mark = (p.clipping & (CLIPPING_SHADOW | CLIPPING_HIGHLIGHT)) != 0;
    if (mark && marks.size() < static_cast<size_t>(row.width))
        marks.resize(row.width);
    uint8_t* out = row.dst;
    if (handle) {
        if (scratch.size() < static_cast<size_t>(row.width) * 4)
            scratch.resize(static_cast<size_t>(row.width) * 4);
        out = scratch.data();
    }
    ConvertRow(row, p, out, mark ? marks.data() : nullptr);
    if (shaper)
        ApplyDisplayShaper(row.dst, row.width, *shaper);
    else if (lut)
        ApplyDisplayLut(row.dst, row.width, lut);
    else if (handle)
        cmsDoTransform(static_cast<cmsHTRANSFORM>(handle), out, row.dst,
                       static_cast<cmsUInt32Number>(row.width));
    if (!mark)
        return;
    const bool shadow = p.clipping & CLIPPING_SHADOW, highlight = p.clipping & CLIPPING_HIGHLIGHT;
    uint32_t* d = reinterpret_cast<uint32_t*>(row.dst);
    for (int x = 0; x < row.width; ++x) {
        if ((marks[x] & kHighlightMark) && highlight) {
            const ARGB32 red(255, 255, 0, 0);
            std::memcpy(&d[x], &red.value, 4);
        } else if ((marks[x] & kShadowMark) && shadow) {
            const ARGB32 blue(255, 0, 0, 255);
            std::memcpy(&d[x], &blue.value, 4);
        }
    }
}

bool ConvertImageForDisplay(const CImageDataInfo& src, const IntRect& srcRect, unsigned char* display,
                            int displayStride, const DISPLAY_PARAMS& params) {
    ROW_BUFFER dst;
    dst.data = display;
    dst.stride = displayStride;
    dst.channels = 4;
    dst.depth = 1;
    return ProcessImage2(DisplayRowFunc, src, srcRect, dst, &params, nullptr);
}

bool PaintOnTransparencyBlocks(int blockSize, int width, int height, int channels, int depth,
                               unsigned char* display, int stride, const unsigned char* mask, int maskStride,
                               int maskHeight, int x, int y) {
    if (blockSize < 1 || width < 1 || height < 1 || (channels != 3 && channels != 4) || depth != 1 ||
        !display || !mask || x < 0 || y < 0 || maskHeight < 1)
        return false;
    const long long maskWidth = maskStride < 0 ? -static_cast<long long>(maskStride) : maskStride;
    const long long rowBytes = static_cast<long long>(width) * channels;
    if ((stride < 0 ? -static_cast<long long>(stride) : stride) < rowBytes ||
        x + static_cast<long long>(width) > maskWidth || y + static_cast<long long>(height) > maskHeight)
        return false;
    for (int j = 0; j < height; ++j) {
        unsigned char* d = display + static_cast<ptrdiff_t>(j) * stride;
        const unsigned char* m = mask + static_cast<ptrdiff_t>(y + j) * maskStride + x;
        const int by = (y + j) / blockSize;
        for (int i = 0; i < width; ++i) {
            const uint32_t a = m[i];
            if (a == 255)
                continue;
            // Light and lighter squares, fixed to image coordinates.
            const uint32_t chequer = (((x + i) / blockSize + by) & 1) ? 0xCC : 0xFF;
            for (int c = 0; c < 3; ++c) {
                unsigned char& v = d[i * channels + c];
                v = static_cast<unsigned char>((v * a + chequer * (255 - a) + 127) / 255);
            }
        }
    }
    return true;
}

} // namespace ImageProcess
