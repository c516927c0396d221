// Mask (CSelectedRegion) operations: scaling with the image resampler, overlap copies and mirrors.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"
#include "imageprocess/ResizeKernel.h"

#include <cmath>
#include <cstring>
#include <new>

namespace ImageProcess {

namespace {

detail::Plane PlaneOf(const CSelectedRegion& r) {
    detail::Plane p;
    p.base = const_cast<unsigned char*>(r.data.data());
    p.step = static_cast<ptrdiff_t>(r.width) * 2;
    p.width = r.width;
    p.height = r.height;
    p.channels = 1;
    p.depth = 2;
    return p;
}

bool HasValues(const CSelectedRegion& r) {
    return r.IsUsable() && !r.data.empty();
}

} // namespace

bool ResizeRegion(const CSelectedRegion& region, CSelectedRegion& dst, double zoom,
                  RESIZE_ALGORITHM algorithm, PROGRESS_CALLBACK progress) {
    if (!HasValues(region) || !(zoom > 0) || !std::isfinite(zoom) || algorithm < RESIZE_NEAREST ||
        algorithm > RESIZE_LANCZOS3)
        return false;
    const double w = std::floor(region.width * zoom + 0.5), h = std::floor(region.height * zoom + 0.5);
    const double px = std::floor(region.x * zoom + 0.5), py = std::floor(region.y * zoom + 0.5);
    if (w > 1e9 || h > 1e9 || w * h * 2 > 4e9 || std::fabs(px) > 2e9 || std::fabs(py) > 2e9)
        return false;
    try {
        CSelectedRegion fresh;
        CSelectedRegion& target = &region == &dst ? fresh : dst;
        if (!target.Create(std::max(1, static_cast<int>(w)), std::max(1, static_cast<int>(h))))
            return false;
        if (!detail::ResizePlaneForRegion(PlaneOf(region), PlaneOf(target), algorithm, progress))
            return false;
        target.x = static_cast<int>(px);
        target.y = static_cast<int>(py);
        if (&target == &fresh) {
            dst.data.swap(fresh.data);
            dst.width = fresh.width;
            dst.height = fresh.height;
            dst.x = fresh.x;
            dst.y = fresh.y;
        }
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool CopyRegion(CSelectedRegion& dst, const CSelectedRegion& src) {
    if (!HasValues(dst) || !HasValues(src))
        return false;
    const IntRect o = dst.Rect().Intersected(src.Rect());
    if (o.IsEmpty())
        return false;
    if (&dst == &src)
        return true;
    for (int y = o.y; y < o.Bottom(); ++y)
        std::memcpy(dst.Row(y - dst.y) + (o.x - dst.x), src.Row(y - src.y) + (o.x - src.x),
                    static_cast<size_t>(o.width) * 2);
    return true;
}

bool FlipRegion(CSelectedRegion& region, bool vertical, int width, int height, PROGRESS_CALLBACK progress) {
    if (!HasValues(region) || width < 1 || height < 1 || width > region.width || height > region.height)
        return false;
    if (vertical) {
        for (int y = 0; y < height / 2; ++y)
            std::swap_ranges(region.Row(y), region.Row(y) + width, region.Row(height - 1 - y));
    } else {
        for (int y = 0; y < height; ++y)
            std::reverse(region.Row(y), region.Row(y) + width);
    }
    if (progress)
        progress(height, height);
    return true;
}

} // namespace ImageProcess
