#include "common/CFunctionTimeCost.h"
#include "imageprocess/BrushPaint.h"
#include "imageprocess/PixelAccess.h"

#include <algorithm>
#include <cstring>

namespace ImageProcess {

namespace {

// floor(x / 65535) for every x up to 0xFFFE8000, the largest value the blend below can reach:
// 65535 * 65535 + 0x7FFF. Written with shifts so that the row loop vectorises.
inline uint32_t Div65535(uint32_t x) {
    return (x + (x >> 16) + 1u) >> 16;
}

// One blend step towards target with weight m; unsigned, since v * (0xFFFF - m) + m * target alone
// reaches 0xFFFE0001 and would overflow a signed int.
inline uint32_t Blend(uint32_t v, uint32_t m, uint32_t target) {
    return Div65535(v * (0xFFFFu - m) + 0x7FFFu + m * target);
}

void BlendRow(uint16_t* __restrict canvas, const uint16_t* __restrict mask, int count, uint32_t target) {
    for (int i = 0; i < count; ++i)
        canvas[i] = static_cast<uint16_t>(Blend(canvas[i], mask[i], target));
}

// Cb and Cr are rounded to nearest, ties away from zero, then scaled down by 2^15 symmetrically.
inline int32_t ShiftRound15(int32_t v) {
    // |v| stays below 65535 * 32768 + 0x4000 < 2^31, so the sums cannot overflow.
    return v >= 0 ? (v + 0x4000) >> 15 : -((-v + 0x4000) >> 15);
}

inline uint32_t Distance(int32_t v, int32_t lo, int32_t hi) {
    if (v < lo)
        return static_cast<uint32_t>(lo - v);
    if (v > hi)
        return static_cast<uint32_t>(v - hi);
    return 0;
}

template <typename T> inline uint32_t Widen(T v) {
    if constexpr (sizeof(T) == 1)
        return static_cast<uint32_t>(v) * 257u;
    else
        return v;
}

template <typename T> inline BRUSH_YCC PixelYCbCr(const T* p, int channels, const unsigned short* lut) {
    uint32_t b, g, r;
    if (channels >= 3) {
        b = Widen(p[0]);
        g = Widen(p[1]);
        r = Widen(p[2]);
    } else {
        b = g = r = Widen(p[0]);
    }
    if (lut) {
        b = lut[b];
        g = lut[g];
        r = lut[r];
    }
    return BrushYCbCr(r, g, b);
}

struct RANGE_ROW {
    uint16_t* canvas;
    const uint16_t* mask;
    const unsigned char* image; // first pixel of the row in the image
    int count;
    int channels;
    const unsigned short* lut;
    const INT4* lo;
    const INT4* hi;
    uint32_t target;
};

template <typename T> void BlendRangeRow(const RANGE_ROW& r) {
    const T* px = reinterpret_cast<const T*>(r.image);
    for (int i = 0; i < r.count; ++i, px += r.channels) {
        uint32_t w = r.mask[i];
        if (w == 0)
            continue;
        const BRUSH_YCC c = PixelYCbCr(px, r.channels, r.lut);
        const uint32_t dY = Distance(c.y, r.lo->i[0], r.hi->i[0]);
        const uint32_t dC =
            std::max(Distance(c.cb, r.lo->i[1], r.hi->i[1]), Distance(c.cr, r.lo->i[2], r.hi->i[2]));
        if (dY >= 0x2AABu || dC >= 0x71Du)
            continue;
        // Linear fall-off over the outer part of each tolerance.
        if (dY > 0xCCCu)
            w = (0x2AAAu - dY) * w / 0x1DDEu;
        if (dC > 0x147u)
            w = (0x71Cu - dC) * w / 0x5D5u;
        r.canvas[i] = static_cast<uint16_t>(Blend(r.canvas[i], w, r.target));
    }
}

bool HasValues(const CSelectedRegion& r) {
    return r.IsUsable() && !r.data.empty();
}

} // namespace

BRUSH_YCC BrushYCbCr(uint32_t r, uint32_t g, uint32_t b) {
    BRUSH_YCC out;
    out.y = static_cast<int32_t>((g * 0x4B23u + r * 0x2646u + b * 0x0E97u + 0x4000u) >> 15);
    const int32_t ri = static_cast<int32_t>(r), gi = static_cast<int32_t>(g), bi = static_cast<int32_t>(b);
    out.cb = ShiftRound15(bi * 0x8000 - ri * 0x2B32 - gi * 0x54CE);
    out.cr = ShiftRound15(ri * 0x8000 - bi * 0x14D1 - gi * 0x6B2F);
    return out;
}

bool ReadBrushYCbCr(const CImageDataInfo& image, int x, int y, const unsigned short* lut, BRUSH_YCC& out) {
    if (!image.IsValid() || (image.depth != 1 && image.depth != 2) || x < 0 || y < 0 || x >= image.width ||
        y >= image.height)
        return false;
    const unsigned char* p = image.PixelPtr(x, y);
    if (!p)
        return false;
    if (image.depth == 2) {
        uint16_t v[3];
        std::memcpy(v, p, sizeof(uint16_t) * static_cast<size_t>(std::min(image.channels, 3)));
        out = PixelYCbCr(v, image.channels, lut);
    } else {
        out = PixelYCbCr(p, image.channels, lut);
    }
    return true;
}

void ResetBrushColorRange(INT4& colorMin, INT4& colorMax) {
    for (int i = 0; i < 4; ++i) {
        colorMin.i[i] = 0xFFFF;
        colorMax.i[i] = -65535;
    }
}

void WidenBrushColorRange(INT4& colorMin, INT4& colorMax, const BRUSH_YCC& value) {
    const int32_t v[3] = {value.y, value.cb, value.cr};
    for (int i = 0; i < 3; ++i) {
        colorMin.i[i] = std::min(colorMin.i[i], v[i]);
        colorMax.i[i] = std::max(colorMax.i[i], v[i]);
    }
}

bool PaintRegion(CSelectedRegion& canvas, const CSelectedRegion& brush, BRUSH_MODE mode, int opacity,
                 const CImageDataInfo* image, const unsigned short* lut, const INT4* colorMin,
                 const INT4* colorMax) {
    CFunctionTimeCost timeCost("KELCTRL::IMGWND_TOOL::CBrushTool::PaintRegion");
    if (!HasValues(canvas) || !HasValues(brush) || opacity < 0 || opacity > 100)
        return false;
    const bool ranged = colorMin && colorMax;
    if (ranged && (!image || !image->IsValid() || (image->depth != 1 && image->depth != 2)))
        return false;
    IntRect clip = canvas.Rect().Intersected(brush.Rect());
    if (image)
        clip = clip.Intersected(IntRect{0, 0, image->width, image->height});
    if (clip.IsEmpty())
        return false;

    uint32_t target = static_cast<uint32_t>(opacity) * 0xFFFFu / 100u;
    if (mode == BRUSH_MODE_ERASE)
        target = 0xFFFFu - target;

    // Large dabs split their rows over threads; the ranged path costs several times the plain one.
    const long long work = static_cast<long long>(clip.width) * clip.height * (ranged ? 8 : 1);
    detail::ParallelRows(clip.height, work, nullptr, [&](int begin, int end) {
        for (int y = clip.y + begin; y < clip.y + end; ++y) {
            uint16_t* cv = canvas.Row(y - canvas.y) + (clip.x - canvas.x);
            const uint16_t* mv = brush.Row(y - brush.y) + (clip.x - brush.x);
            if (!ranged) {
                // The plain eraser pulls towards 0 whatever the opacity.
                BlendRow(cv, mv, clip.width, mode == BRUSH_MODE_ERASE ? 0u : target);
                continue;
            }
            RANGE_ROW row{cv,
                          mv,
                          image->RowPtr(y) + static_cast<size_t>(clip.x) * image->PixelBytes(),
                          clip.width,
                          image->channels,
                          lut,
                          colorMin,
                          colorMax,
                          target};
            if (image->depth == 2)
                BlendRangeRow<uint16_t>(row);
            else
                BlendRangeRow<uint8_t>(row);
        }
    });
    return true;
}

} // namespace ImageProcess
