#include "common/WindowPlacement.h"

#include <algorithm>
#include <cstdint>

namespace KELCTRL {
namespace {

int64_t Area(const IntRect& r) {
    return r.IsEmpty() ? 0 : int64_t(r.width) * r.height;
}

// Squared distance between two rectangles; 0 when they touch or overlap.
int64_t DistanceSquared(const IntRect& a, const IntRect& b) {
    const int64_t dx = std::max<int64_t>({0, int64_t(b.x) - a.Right(), int64_t(a.x) - b.Right()});
    const int64_t dy = std::max<int64_t>({0, int64_t(b.y) - a.Bottom(), int64_t(a.y) - b.Bottom()});
    return dx * dx + dy * dy;
}

} // namespace

IntRect DefaultWindowRect(const IntRect& primary) {
    const int left = primary.x + primary.width / 4;
    const int top = primary.y + primary.height / 4;
    const int right = primary.x + primary.width * 3 / 4;
    const int bottom = primary.y + primary.height * 3 / 4;
    return IntRect{left, top, right - left, bottom - top};
}

int NearestScreen(const IntRect& rect, const std::vector<SCREEN_AREA>& screens) {
    int best = -1;
    int64_t bestOverlap = 0;
    for (size_t i = 0; i < screens.size(); ++i) {
        const int64_t overlap = Area(rect.Intersected(screens[i].geometry));
        if (overlap > bestOverlap)
            best = int(i), bestOverlap = overlap;
    }
    if (best >= 0)
        return best;
    int64_t bestDistance = INT64_MAX;
    for (size_t i = 0; i < screens.size(); ++i) {
        const int64_t d = DistanceSquared(rect, screens[i].geometry);
        if (d < bestDistance)
            best = int(i), bestDistance = d;
    }
    return best;
}

int FitWindowRect(IntRect& rect, const std::vector<SCREEN_AREA>& screens) {
    if (rect.IsEmpty())
        return 0;
    const int index = NearestScreen(rect, screens);
    if (index < 0)
        return 0;
    const IntRect& work = screens[size_t(index)].workArea;
    if (work.IsEmpty())
        return 0;
    IntRect fitted = rect;
    fitted.width = std::min(fitted.width, work.width);
    fitted.height = std::min(fitted.height, work.height);
    if (fitted.Intersected(work).IsEmpty())
        return 0;
    fitted.x = std::clamp(fitted.x, work.x, work.Right() - fitted.width);
    fitted.y = std::clamp(fitted.y, work.y, work.Bottom() - fitted.height);
    rect = fitted;
    return 1;
}

} // namespace KELCTRL
