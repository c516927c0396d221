#pragma once
// Rotation by any angle into an image of the same size, and the largest upright rectangle of the
// result that holds only source pixels (for cropping after straightening).
#include "common/CImageDataInfo.h"
#include "common/ValueTypes.h"

namespace ImageProcess {

enum ROTATE_INTERPOLATION {
    ROTATE_BILINEAR = 0,
    ROTATE_BICUBIC = 1, // Catmull-Rom (a = -0.5), clamped to the value range
};

// Rotates src about its centre by `degrees` (positive turns clockwise on screen) into dst, created at
// the size, channels and depth of src; dst may be src. Destination pixels whose centre falls outside
// the source take `fill` (16-bit images scale it by 257; grey images take its luminance
// (2126 R + 7152 G + 722 B) / 10000; 4-channel images take its alpha too, so alpha 0 clears). Pixels
// near the edge sample the edge repeated. Multiples of 90 degrees are exact on square images.
bool RotateImageAngle(const CImageDataInfo& src, CImageDataInfo& dst, double degrees,
                      ROTATE_INTERPOLATION interpolation, ARGB32 fill, void (*progress)(int, int));

// The largest upright pixel rectangle of a width x height image rotated by `degrees` as
// RotateImageAngle does, whose every pixel takes its colour from inside the source. Without keepAspect
// it has (close to) the largest area, is centred as far as whole pixels allow, and no side can move out
// by one pixel without taking in a filled pixel. With keepAspect it is the largest centred rectangle
// whose height is the width scaled by the image's proportions, rounded. An empty rectangle when
// nothing fits. False for an empty size or an angle that is not finite.
bool CalcRotatedCropRect(int width, int height, double degrees, bool keepAspect, IntRect& rect);

} // namespace ImageProcess
