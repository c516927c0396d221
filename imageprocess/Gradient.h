#pragma once
// Filling a mask with a linear or radial gradient of opacity.
#include "common/CSelectedRegion.h"

namespace ImageProcess {

// A gradient in image pixels. Values are opacities 0..100 of full scale.
struct GRADIENT_PARAMS {
    CSelectedRegion::GRADIENT_MODE mode = CSelectedRegion::GRADIENT_LINEAR;
    double startX = 0.0, startY = 0.0; // a pixel covers [x, x + 1); values are taken at pixel centres
    double dirX = 1.0, dirY = 0.0;     // direction from the start; normalised here, must not be zero
    double midDistance = 0.0;          // used with useMid: 0 <= mid <= end
    double endDistance = 1.0;          // must be above 0
    bool useMid = false;
    int startOpacity = 100, midOpacity = 50, endOpacity = 0;
    // Radial only: the radius across the direction divided by the radius along it (an ellipse).
    double aspect = 1.0;
    // Scales every value, 0..100.
    int opacity = 100;
};

// Fills the whole rectangle of region (at its own x, y) with the gradient. Linear: the distance is
// measured along the direction, with the start value behind the start line and the end value beyond
// the end. Radial: the distance is the elliptic radius around the start, the end value outside the
// ellipse. Between stops the value is interpolated linearly. False (region untouched) for a region
// without values, a zero or non-finite direction, distances out of order, values out of range.
bool FillGradientRegion(CSelectedRegion& region, const GRADIENT_PARAMS& params);

} // namespace ImageProcess
