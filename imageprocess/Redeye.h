#pragma once
// Red-eye correction of eyes marked as ellipses.
#include "common/CImageDataInfo.h"

#include <cstddef>
#include <cstdint>

namespace ImageProcess {

// One marked eye in image pixels: the bounding box of its ellipse, the share of the ellipse's radius
// corrected at full strength (1..100; the rest fades to the rim) and how much the corrected pupil is
// darkened (0..100). Six 32-bit integers, the order the red-eye tool keeps them in.
struct REDEYE {
    int32_t x = 0, y = 0, width = 0, height = 0;
    int32_t pupilSize = 50;
    int32_t darken = 100;
};
static_assert(sizeof(REDEYE) == 24);

// Pulls the red of red-dominated pixels inside each ellipse towards the mean of green and blue and
// darkens them by `darken`, both in proportion to how red the pixel is; grey, blue or green pixels and
// everything outside the ellipses keep their values. image holds the part of the picture whose top-left
// pixel is (offsetX, offsetY); eyes are given in picture pixels and may reach outside that part.
// Needs 3 or 4 channels (alpha is kept). False, nothing written, for an unusable or grey image, a
// null list with a count, or an eye with an empty box or values out of range.
bool CorrectRedeye(CImageDataInfo& image, const REDEYE* eyes, size_t count, int offsetX = 0, int offsetY = 0,
                   void (*progress)(int done, int total) = nullptr);

} // namespace ImageProcess
