#include "tools/paint/BrushSizeScale.h"

#include <algorithm>
#include <cmath>

namespace KELCTRL {
namespace IMGWND_TOOL {

double BrushSizeFraction(int size) {
    const double s = size / 100.0;
    return s > 0.5 ? (s - 0.5) * 2.0 * 0.8 + 0.2 : s * 0.2 * 2.0;
}

double MaxBrushRadius(int screenWidth, int screenHeight) {
    return 0.125 * std::min(screenWidth, screenHeight);
}

BRUSH_RADII CalcBrushRadii(int size, int feather, double zoom, double maxRadius) {
    if (!(zoom > 0.0) || !std::isfinite(zoom))
        zoom = 1.0;
    BRUSH_RADII r;
    r.displayInner = maxRadius * BrushSizeFraction(size);
    r.displayOuter = feather * 0.01 * r.displayInner + r.displayInner;
    r.imageInner = r.displayInner / zoom;
    r.imageOuter = r.displayOuter / zoom;
    return r;
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
