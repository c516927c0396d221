#pragma once
// The brush size slider is non-linear: its lower half covers 0 to 20% of the largest radius, the upper
// half 20% to 100%. Size is a radius in display pixels, so a brush keeps its apparent size across zoom.

namespace KELCTRL {
namespace IMGWND_TOOL {

struct BRUSH_RADII {
    double displayInner = 0.0; // hard radius in display pixels
    double displayOuter = 0.0; // with the feather
    double imageInner = 1.0;   // the same in image pixels
    double imageOuter = 1.0;
};

// The fraction of the largest radius for a size of 1..100 (any int is accepted).
double BrushSizeFraction(int size);
// The largest radius: an eighth of the smaller side of the whole (virtual) screen.
double MaxBrushRadius(int screenWidth, int screenHeight);
// Radii for a size, a feather of 0..100 percent and a zoom factor (> 0; otherwise 1 is used).
BRUSH_RADII CalcBrushRadii(int size, int feather, double zoom, double maxRadius);

} // namespace IMGWND_TOOL
} // namespace KELCTRL
