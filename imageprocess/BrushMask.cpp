#include "common/CFunctionTimeCost.h"
#include "imageprocess/BrushPaint.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace ImageProcess {

namespace {

// The right half (dx = 0..R) of the mask row at vertical distance dy from the centre.
void HalfRow(uint16_t* half, int R, int dy, double outer2, double core2, double outer, double strength,
             double soft2, uint16_t full) {
    const double dy2 = static_cast<double>(dy) * dy;
    for (int dx = 0; dx <= R; ++dx) {
        const double q = dy2 + static_cast<double>(dx) * dx;
        if (q > outer2) {
            half[dx] = 0;
        } else if (q > core2) {
            const double t = outer - std::sqrt(q);
            half[dx] = static_cast<uint16_t>(std::floor(t * t * strength / soft2 + 0.5));
        } else {
            half[dx] = full;
        }
    }
}

} // namespace

int CreateBrushRegion(CSelectedRegion& region, double inner, double outer, int flow) {
    CFunctionTimeCost timeCost("CreateBrushRegion");
    if (!std::isfinite(outer) || !std::isfinite(inner) || outer <= 0.0 || inner < 0.0 || inner > outer ||
        flow < 1 || flow > 100)
        return 0;
    const double ceilOuter = std::ceil(outer);
    if (ceilOuter > 16384.0) // a 32k-pixel square of 16-bit values is more than any screen can use
        return 0;
    const int R = static_cast<int>(ceilOuter);
    const int side = 2 * R + 1;
    if (!region.Create(side, side))
        return 0;
    region.x = -R;
    region.y = -R;

    const double f = flow * 0.01;
    const double strength = f * f * f * 65535.0;
    const uint16_t full = static_cast<uint16_t>(std::floor(strength + 0.5));
    const double d = outer - inner;
    // With feather 0, d is 0: the core reaches the rim and the soft-zone test never passes.
    const double core = std::max(0.0, inner - d);
    const double outer2 = outer * outer;
    const double core2 = core * core;
    const double soft2 = (2.0 * d) * (2.0 * d);

    std::vector<uint16_t> half(static_cast<size_t>(R) + 1);
    for (int dy = 0; dy <= R; ++dy) {
        uint16_t* below = region.Row(R + dy);
        if (static_cast<double>(dy) * dy > outer2) {
            std::memset(below, 0, static_cast<size_t>(side) * 2);
        } else {
            HalfRow(half.data(), R, dy, outer2, core2, outer, strength, soft2, full);
            // Mirror left to right.
            uint16_t* centre = below + R;
            for (int dx = 0; dx <= R; ++dx) {
                centre[dx] = half[dx];
                centre[-dx] = half[dx];
            }
        }
        // Mirror top to bottom.
        if (dy > 0)
            std::memcpy(region.Row(R - dy), below, static_cast<size_t>(side) * 2);
    }
    return R;
}

} // namespace ImageProcess
