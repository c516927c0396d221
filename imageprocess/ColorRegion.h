#pragma once
// Growing a selection from the colours under a brush stroke.
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"

namespace ImageProcess {

// What two colours are compared by. Luminance is Y of (R, G, B); colour is the pair of differences
// B - Y and R - Y, which stays the same when every channel moves by one amount.
enum COLOR_REGION_COMPARE : int {
    COLOR_REGION_LUMINANCE_COLOR = 0,
    COLOR_REGION_LUMINANCE = 1,
    COLOR_REGION_COLOR = 2,
};

// Selects the pixels of image whose colour lies within the range of the seed colours, widened by
// tolerance (0..100; 100 widens by half of full scale each side). Seeds are the pixels where the
// stroke mask (at its own x, y) holds at least half of its largest value. contiguous keeps only
// pixels 4-connected to a seed through selected pixels; otherwise every matching pixel is selected.
// out becomes an image-sized mask at (0, 0): 0xFFFF selected, 0 not. Alpha is ignored; a grey image
// has no colour, so the colour parts of a comparison always match there. False, and out untouched,
// for an unusable image or mask, a tolerance out of range, or no seed inside the image.
bool GrowColorRegion(const CImageDataInfo& image, const CSelectedRegion& stroke, CSelectedRegion& out,
                     COLOR_REGION_COMPARE compare, int tolerance, bool contiguous,
                     void (*progress)(int done, int total) = nullptr);

} // namespace ImageProcess
