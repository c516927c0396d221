// Gradient fill of a mask, row by row.
#include "imageprocess/Gradient.h"

#include "imageprocess/PixelAccess.h"
#include "imageprocess/RetouchAccess.h"

#include <algorithm>
#include <cmath>

namespace ImageProcess {

namespace {

bool InRange(int v) {
    return v >= 0 && v <= 100;
}

bool Valid(const GRADIENT_PARAMS& p) {
    using detail::Finite;
    if (p.mode != CSelectedRegion::GRADIENT_LINEAR && p.mode != CSelectedRegion::GRADIENT_RADIAL)
        return false;
    if (!Finite(p.startX) || !Finite(p.startY) || !Finite(p.dirX) || !Finite(p.dirY) ||
        !Finite(p.midDistance) || !Finite(p.endDistance) || !Finite(p.aspect))
        return false;
    if (std::hypot(p.dirX, p.dirY) <= 1e-12 || !(p.endDistance > 0.0) || !(p.aspect > 0.0))
        return false;
    if (p.useMid && (p.midDistance < 0.0 || p.midDistance > p.endDistance))
        return false;
    return InRange(p.startOpacity) && InRange(p.midOpacity) && InRange(p.endOpacity) && InRange(p.opacity);
}

// Value in 0..1 of full scale at distance t from the start.
struct Profile {
    double start, mid, end, midAt, endAt;
    bool useMid;

    double At(double t) const {
        if (t <= 0.0)
            return start;
        if (t >= endAt)
            return end;
        if (!useMid)
            return start + (end - start) * (t / endAt);
        if (t <= midAt)
            return midAt > 0.0 ? start + (mid - start) * (t / midAt) : mid;
        return mid + (end - mid) * ((t - midAt) / (endAt - midAt));
    }
};

} // namespace

bool FillGradientRegion(CSelectedRegion& region, const GRADIENT_PARAMS& p) {
    if (!detail::HasValues(region) || !Valid(p))
        return false;
    const double len = std::hypot(p.dirX, p.dirY);
    const double ux = p.dirX / len, uy = p.dirY / len;
    const double scale = p.opacity / 100.0;
    const Profile prof{p.startOpacity / 100.0 * scale,
                       p.midOpacity / 100.0 * scale,
                       p.endOpacity / 100.0 * scale,
                       p.midDistance,
                       p.endDistance,
                       p.useMid};
    const bool radial = p.mode == CSelectedRegion::GRADIENT_RADIAL;
    const int w = region.width;
    detail::ParallelRows(region.height, static_cast<long long>(w) * region.height * 4, nullptr,
                         [&](int r0, int r1) {
                             for (int y = r0; y < r1; ++y) {
                                 uint16_t* o = region.Row(y);
                                 const double py = region.y + y + 0.5 - p.startY;
                                 for (int x = 0; x < w; ++x) {
                                     const double px = region.x + x + 0.5 - p.startX;
                                     const double along = px * ux + py * uy;
                                     double t = along;
                                     if (radial) {
                                         const double across = (py * ux - px * uy) / p.aspect;
                                         t = std::sqrt(along * along + across * across);
                                     }
                                     o[x] = static_cast<uint16_t>(prof.At(t) * 65535.0 + 0.5);
                                 }
                             }
                         });
    return true;
}

} // namespace ImageProcess
