#include "imageprocess/BrushPaint.h"

#include <cstdlib>

namespace ImageProcess {

// The steps follow the line y = m x + c with m = dy / dx. Which side of the line a pixel lies on is
// decided by the exact integer cross product e = (y - y0) dx - (x - x0) dy instead of the floating
// slope, so the walk always lands on the end point and terminates.
void AppendBrushLine(TPoint<int> a, TPoint<int> b, std::vector<TPoint<int>>& out) {
    const int64_t dx = static_cast<int64_t>(b.x) - a.x;
    const int64_t dy = static_cast<int64_t>(b.y) - a.y;
    out.push_back(a);
    if (dx == 0 && dy == 0)
        return;
    const int sx = dx > 0 ? 1 : (dx < 0 ? -1 : 0);
    const int sy = dy > 0 ? 1 : (dy < 0 ? -1 : 0);
    int x = a.x, y = a.y;
    if (dx == 0 || dy == 0) {
        while (x != b.x || y != b.y) {
            x += sx;
            y += sy;
            out.emplace_back(x, y);
        }
        return;
    }
    const int64_t s = static_cast<int64_t>(sx) * sy;
    auto cross = [&]() {
        return (static_cast<int64_t>(y) - a.y) * dx - (static_cast<int64_t>(x) - a.x) * dy;
    };
    if (std::llabs(dy) > std::llabs(dx)) {
        // Steep: one y step each time, an x step once y has passed the line at the current x.
        while (y != b.y) {
            y += sy;
            out.emplace_back(x, y);
            if (cross() * s > 0) {
                x += sx;
                out.emplace_back(x, y);
            }
        }
    } else {
        // Flat: one x step each time, a y step once the line at the new x lies beyond y.
        while (x != b.x) {
            x += sx;
            out.emplace_back(x, y);
            if (cross() * s < 0) {
                y += sy;
                out.emplace_back(x, y);
            }
        }
    }
}

} // namespace ImageProcess
