// Quarter turns, half turns and mirrors. Quarter turns walk tiles so that both images stay in cache.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace ImageProcess {

using detail::Plane;

namespace {

template <int PB> struct Pixel { unsigned char b[PB]; };

template <int PB> void Rotate90Tiles(const Plane& s, const Plane& d, bool clockwise, int r0, int r1) {
    using P = Pixel<PB>;
    constexpr int kTile = 64;
    // Rows r0..r1 of the destination; dst(i, j) = src(j, H - 1 - i) clockwise, src(W - 1 - j, i) otherwise.
    for (int tj = r0; tj < r1; tj += kTile)
        for (int ti = 0; ti < d.width; ti += kTile) {
            const int je = std::min(r1, tj + kTile), ie = std::min(d.width, ti + kTile);
            for (int j = tj; j < je; ++j) {
                P* out = reinterpret_cast<P*>(d.Row(j));
                for (int i = ti; i < ie; ++i) {
                    const int sx = clockwise ? j : s.width - 1 - j;
                    const int sy = clockwise ? s.height - 1 - i : i;
                    std::memcpy(&out[i], s.Row(sy) + static_cast<ptrdiff_t>(sx) * PB, PB);
                }
            }
        }
}

void Rotate90Rows(const Plane& s, const Plane& d, bool clockwise, int r0, int r1) {
    switch (s.PixelBytes()) {
    case 1:
        return Rotate90Tiles<1>(s, d, clockwise, r0, r1);
    case 2:
        return Rotate90Tiles<2>(s, d, clockwise, r0, r1);
    case 3:
        return Rotate90Tiles<3>(s, d, clockwise, r0, r1);
    case 4:
        return Rotate90Tiles<4>(s, d, clockwise, r0, r1);
    case 6:
        return Rotate90Tiles<6>(s, d, clockwise, r0, r1);
    default:
        return Rotate90Tiles<8>(s, d, clockwise, r0, r1);
    }
}

void ReverseRow(const unsigned char* s, unsigned char* d, int width, int pb) {
    for (int x = 0; x < width; ++x)
        std::memcpy(d + static_cast<ptrdiff_t>(width - 1 - x) * pb, s + static_cast<ptrdiff_t>(x) * pb, pb);
}

// Runs make(target) into a fresh image when src and dst are one record.
template <typename Make> bool IntoDestination(const CImageDataInfo& src, CImageDataInfo& dst, Make make) {
    try {
        if (&src != &dst)
            return make(dst);
        CImageDataInfo fresh;
        fresh.alignment = src.alignment;
        if (!make(fresh))
            return false;
        detail::TakeOver(dst, fresh);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace

bool RotateImage90(const CImageDataInfo& src, CImageDataInfo& dst, bool clockwise,
                   PROGRESS_CALLBACK progress) {
    if (!detail::IsUsable(src))
        return false;
    return IntoDestination(src, dst, [&](CImageDataInfo& target) {
        if (!target.Create(src.height, src.width, src.channels, src.depth))
            return false;
        const Plane s = detail::PlaneOf(src), d = detail::PlaneOf(target);
        detail::ParallelRows(d.height, static_cast<long long>(d.width) * d.height, progress,
                             [&](int r0, int r1) { Rotate90Rows(s, d, clockwise, r0, r1); });
        return true;
    });
}

bool RotateImage180(const CImageDataInfo& src, CImageDataInfo& dst, PROGRESS_CALLBACK progress) {
    if (!detail::IsUsable(src))
        return false;
    return IntoDestination(src, dst, [&](CImageDataInfo& target) {
        if (!target.Create(src.width, src.height, src.channels, src.depth))
            return false;
        const Plane s = detail::PlaneOf(src), d = detail::PlaneOf(target);
        detail::ParallelRows(d.height, static_cast<long long>(d.width) * d.height, progress,
                             [&](int r0, int r1) {
                                 for (int r = r0; r < r1; ++r)
                                     ReverseRow(s.Row(s.height - 1 - r), d.Row(r), d.width, d.PixelBytes());
                             });
        return true;
    });
}

bool FlipImage(CImageDataInfo& image, bool vertical, PROGRESS_CALLBACK progress) {
    if (!detail::IsUsable(image))
        return false;
    const Plane p = detail::PlaneOf(image);
    const int pb = p.PixelBytes();
    const size_t rowBytes = static_cast<size_t>(p.width) * pb;
    if (vertical) {
        detail::ParallelRows(p.height / 2, static_cast<long long>(p.width) * p.height, progress,
                             [&](int r0, int r1) {
                                 unsigned char tmp[256];
                                 for (int r = r0; r < r1; ++r) {
                                     unsigned char* a = p.Row(r);
                                     unsigned char* b = p.Row(p.height - 1 - r);
                                     for (size_t o = 0; o < rowBytes; o += sizeof(tmp)) {
                                         const size_t n = std::min(sizeof(tmp), rowBytes - o);
                                         std::memcpy(tmp, a + o, n);
                                         std::memcpy(a + o, b + o, n);
                                         std::memcpy(b + o, tmp, n);
                                     }
                                 }
                             });
        return true;
    }
    detail::ParallelRows(p.height, static_cast<long long>(p.width) * p.height, progress, [&](int r0, int r1) {
        unsigned char tmp[8];
        for (int r = r0; r < r1; ++r) {
            unsigned char* row = p.Row(r);
            for (int x = 0, e = p.width - 1; x < e; ++x, --e) {
                std::memcpy(tmp, row + static_cast<ptrdiff_t>(x) * pb, pb);
                std::memcpy(row + static_cast<ptrdiff_t>(x) * pb, row + static_cast<ptrdiff_t>(e) * pb, pb);
                std::memcpy(row + static_cast<ptrdiff_t>(e) * pb, tmp, pb);
            }
        }
    });
    return true;
}

} // namespace ImageProcess
