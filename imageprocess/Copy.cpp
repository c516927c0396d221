// Rectangle copies, with and without a 16-bit weight mask, and copies through a tone curve.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"

#include <cstring>

namespace ImageProcess {

using detail::Plane;

namespace {

// The part of a width x height copy that lies in both images, as offsets into the request.
struct Span {
    int ox = 0, oy = 0, w = 0, h = 0;
};

bool ClipCopy(const CImageDataInfo& src, const CImageDataInfo& dst, int dstX, int dstY, int srcX, int srcY,
              int width, int height, Span& s) {
    if (width < 1 || height < 1)
        return false;
    const long long ox =
        std::max<long long>({0LL, -static_cast<long long>(srcX), -static_cast<long long>(dstX)});
    const long long oy =
        std::max<long long>({0LL, -static_cast<long long>(srcY), -static_cast<long long>(dstY)});
    const long long w = std::min<long long>(
        {static_cast<long long>(width) - ox, src.width - (srcX + ox), dst.width - (dstX + ox)});
    const long long h = std::min<long long>(
        {static_cast<long long>(height) - oy, src.height - (srcY + oy), dst.height - (dstY + oy)});
    if (w < 1 || h < 1)
        return false;
    s = Span{static_cast<int>(ox), static_cast<int>(oy), static_cast<int>(w), static_cast<int>(h)};
    return true;
}

bool Compatible(const CImageDataInfo& src, const CImageDataInfo& dst) {
    return detail::IsUsable(src) && detail::IsUsable(dst) && src.SameFormat(dst);
}

template <typename T>
void BlendRow(const T* __restrict s, T* __restrict d, const uint16_t* __restrict m, int width, int channels) {
    for (int x = 0; x < width; ++x) {
        const uint32_t a = m[x], b = 65535u - a;
        if (a == 0)
            continue;
        for (int c = 0; c < channels; ++c) {
            const int i = x * channels + c;
            // At most 65535 * 65535 + 32767: fits unsigned 32-bit.
            d[i] = static_cast<T>((s[i] * a + d[i] * b + 32767u) / 65535u);
        }
    }
}

} // namespace

bool CopyImage(const CImageDataInfo& src, CImageDataInfo& dst, int dstX, int dstY, int srcX, int srcY,
               int width, int height, PROGRESS_CALLBACK progress) {
    Span s;
    if (!Compatible(src, dst) || !ClipCopy(src, dst, dstX, dstY, srcX, srcY, width, height, s))
        return false;
    const Plane sp = detail::PlaneOf(src), dp = detail::PlaneOf(dst);
    const size_t bytes = static_cast<size_t>(s.w) * sp.PixelBytes();
    const ptrdiff_t sOff = static_cast<ptrdiff_t>(srcX + s.ox) * sp.PixelBytes();
    const ptrdiff_t dOff = static_cast<ptrdiff_t>(dstX + s.ox) * dp.PixelBytes();
    const int sy0 = srcY + s.oy, dy0 = dstY + s.oy;
    if (&src == &dst) {
        // Overlapping rows within one image: walk against the direction of the move.
        const bool up = dy0 > sy0;
        for (int i = 0; i < s.h; ++i) {
            const int r = up ? s.h - 1 - i : i;
            std::memmove(dp.Row(dy0 + r) + dOff, sp.Row(sy0 + r) + sOff, bytes);
        }
        if (progress)
            progress(s.h, s.h);
        return true;
    }
    detail::ParallelRows(s.h, static_cast<long long>(s.w) * s.h * sp.PixelBytes() / 4, progress,
                         [&](int r0, int r1) {
                             for (int r = r0; r < r1; ++r)
                                 std::memcpy(dp.Row(dy0 + r) + dOff, sp.Row(sy0 + r) + sOff, bytes);
                         });
    return true;
}

bool CopyImage(const CImageDataInfo& src, CImageDataInfo& dst, int dstX, int dstY, int srcX, int srcY,
               int width, int height, const CSelectedRegion* mask, bool maskAtDestination,
               PROGRESS_CALLBACK progress) {
    if (!mask || !mask->IsUsable() || mask->data.empty() || &src == &dst)
        return false;
    // Clip the request to the mask as well: pixels outside it are not touched.
    const int ax = maskAtDestination ? dstX : srcX, ay = maskAtDestination ? dstY : srcY;
    const int l = std::max(ax, mask->x), t = std::max(ay, mask->y);
    const long long r = std::min<long long>(static_cast<long long>(ax) + width,
                                            static_cast<long long>(mask->x) + mask->width);
    const long long b = std::min<long long>(static_cast<long long>(ay) + height,
                                            static_cast<long long>(mask->y) + mask->height);
    if (width < 1 || height < 1 || r <= l || b <= t)
        return false;
    dstX += l - ax;
    srcX += l - ax;
    dstY += t - ay;
    srcY += t - ay;
    width = static_cast<int>(r - l);
    height = static_cast<int>(b - t);
    Span s;
    if (!Compatible(src, dst) || !ClipCopy(src, dst, dstX, dstY, srcX, srcY, width, height, s))
        return false;
    const Plane sp = detail::PlaneOf(src), dp = detail::PlaneOf(dst);
    const int ch = sp.channels;
    // Position of the first copied pixel in the mask.
    const int mx = (maskAtDestination ? dstX : srcX) + s.ox - mask->x;
    const int my = (maskAtDestination ? dstY : srcY) + s.oy - mask->y;
    const int sx0 = srcX + s.ox, sy0 = srcY + s.oy, dx0 = dstX + s.ox, dy0 = dstY + s.oy;
    detail::ParallelRows(s.h, static_cast<long long>(s.w) * s.h * ch, progress, [&](int r0, int r1) {
        for (int r = r0; r < r1; ++r) {
            const uint16_t* m = mask->Row(my + r) + mx;
            if (sp.depth == 1)
                BlendRow<uint8_t>(sp.Row(sy0 + r) + sx0 * ch, dp.Row(dy0 + r) + dx0 * ch, m, s.w, ch);
            else
                BlendRow<uint16_t>(reinterpret_cast<const uint16_t*>(sp.Row(sy0 + r)) + sx0 * ch,
                                   reinterpret_cast<uint16_t*>(dp.Row(dy0 + r)) + dx0 * ch, m, s.w, ch);
        }
    });
    return true;
}

namespace {

template <typename T, typename Lut>
void CurveRow(const T* __restrict s, T* __restrict d, int width, int channels, const Lut* __restrict lut) {
    if (channels == 4) {
        for (int x = 0; x < width; ++x) {
            d[4 * x] = lut[s[4 * x]];
            d[4 * x + 1] = lut[s[4 * x + 1]];
            d[4 * x + 2] = lut[s[4 * x + 2]];
            d[4 * x + 3] = s[4 * x + 3];
        }
        return;
    }
    const int n = width * channels;
    for (int i = 0; i < n; ++i)
        d[i] = lut[s[i]];
}

} // namespace

bool ApplyCurveToImage(CImageDataInfo& dst, const CImageDataInfo& src, const unsigned short* curve, int x,
                       int y, PROGRESS_CALLBACK progress) {
    if (!curve || !Compatible(src, dst) || x < 0 || y < 0 ||
        static_cast<long long>(x) + dst.width > src.width ||
        static_cast<long long>(y) + dst.height > src.height)
        return false;
    if (&src == &dst && (x != 0 || y != 0))
        return false;
    const Plane sp = detail::PlaneOf(src), dp = detail::PlaneOf(dst);
    const int ch = sp.channels;
    uint8_t lut8[256];
    if (sp.depth == 1)
        for (int v = 0; v < 256; ++v)
            lut8[v] = static_cast<uint8_t>((curve[v * 257] + 128u) / 257u);
    detail::ParallelRows(
        dp.height, static_cast<long long>(dp.width) * dp.height * ch, progress, [&](int r0, int r1) {
            for (int r = r0; r < r1; ++r) {
                if (sp.depth == 1)
                    CurveRow<uint8_t>(sp.Row(y + r) + static_cast<ptrdiff_t>(x) * ch, dp.Row(r), dp.width, ch,
                                      lut8);
                else
                    CurveRow<uint16_t>(reinterpret_cast<const uint16_t*>(sp.Row(y + r)) +
                                           static_cast<ptrdiff_t>(x) * ch,
                                       reinterpret_cast<uint16_t*>(dp.Row(r)), dp.width, ch, curve);
            }
        });
    return true;
}

} // namespace ImageProcess
