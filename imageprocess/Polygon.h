#pragma once
// Selection masks from polygons, and combining one mask into another by mode, opacity and feather.
#include "common/CSelectedRegion.h"
#include "common/ValueTypes.h"

#include <cstddef>

namespace ImageProcess {

enum REGION_COMBINE : int { REGION_ADD = 0, REGION_SUBTRACT = 1, REGION_INTERSECT = 2 };

// Fills the closed polygon of `count` points (image pixels, a pixel covering [x, x + 1)) into region as
// exact area coverage, 0 to 0xFFFF, rows top-down. The region is placed at the floor of the
// polygon's bounds and sized to their ceiling, then cut to clip when clip is given. Overlapping
// windings count once. False (region untouched) for fewer than 3 points, a coordinate that is not
// finite or beyond +-2^30, or bounds that miss clip or are empty.
bool PolygonToRegion(const TPoint<double>* points, size_t count, CSelectedRegion& region,
                     const IntRect* clip = nullptr);

// Combines shape into selection inside the selection's own rectangle (both at their own x, y):
// the shape, scaled by opacity (1..100) and blurred over about `feather` pixels, is added
// (clamped sum), subtracted (clamped difference) or intersected (product). Adding and then
// subtracting the same shape restores the selection wherever the sum did not saturate. Intersect
// clears the selection outside the shape. False (nothing written) on unusable masks, opacity outside
// 1..100 or a feather negative, not finite or above 1000.
bool CombineRegions(CSelectedRegion& selection, const CSelectedRegion& shape, REGION_COMBINE mode,
                    int opacity, double feather);

} // namespace ImageProcess
