#pragma once
// Internal: the pixel rebuild of liquify, with a choice of kernel so that the vector kernel can be
// checked against the plain one. Both give the same bytes.
#include "common/CImageDataInfo.h"
#include "common/ValueTypes.h"
#include "imageprocess/Liquify.h"

namespace ImageProcess::detail {

enum class RebuildKernel {
    Scalar, // one pixel at a time, any format
    Vector, // four 8-bit pixels at a time where the processor allows; the scalar kernel elsewhere
};

// Rebuilds the touched pixels of dst inside area (image coordinates, inside the image and the map)
// from src at the map's positions. The touched marks are left as they are. Rows go to threads by
// size; progress as in ParallelRows.
void RebuildTouchedPixels(CImageDataInfo& dst, const CImageDataInfo& src, const LIQUIFY_MAP& map,
                          const IntRect& area, RebuildKernel kernel, void (*progress)(int, int));

} // namespace ImageProcess::detail
