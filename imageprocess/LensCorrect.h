#pragma once
// Lens correction: radial distortion, keystone (perspective), rotation and scale in one resample,
// and the vignette as a separate brightness pass.
#include "common/CImageDataInfo.h"

#include <cstdint>

namespace ImageProcess {

// The geometry of a correction; every field is 64 bits wide. Positions are measured from the centre
// (centreX * width, centreY * height) in units of half the image diagonal, so the corners lie near
// radius 1.
struct LENSCORRECT_PARAMS {
    int64_t constrainScale = 0; // low byte nonzero: zoom in just enough that no corner shows empty space
    double distortion = 0;      // -1..1; positive removes barrel distortion (straight lines bowed outwards)
    double vertical = 0;        // -1..1; positive widens the top relative to the bottom
    double horizontal = 0;      // -1..1; positive widens the left side relative to the right
    double rotate = 0;          // degrees, positive turns clockwise on screen
    double scale = 1.0;         // above 1 enlarges
    double centreX = 0.5;       // optical centre as a fraction of the width
    double centreY = 0.5;       // and of the height
    double centreZ = 0.5;       // viewing distance of the keystone correction, in half diagonals (> 0)
};
static_assert(sizeof(LENSCORRECT_PARAMS) == 9 * 8);

// The distortion factor: a destination point at radius r (as above) takes its colour from radius
// r * (1 + LensDistortionK(distortion) * r * r) along the same ray.
inline double LensDistortionK(double distortion) {
    return -0.5 * distortion;
}

// Writes the corrected src into dst, created at the size, channels and depth of src (dst may not be
// src). The resample is bilinear; pixels that map outside the source are 0 (alpha 0 too). With every
// geometric field at rest (distortion, vertical, horizontal and rotate 0, scale 1) dst is an exact
// copy whatever the centre. False for an unusable image or parameters out of range (scale not
// positive, centreZ not positive, values not finite).
bool LensCorrect(CImageDataInfo& dst, const CImageDataInfo& src, const LENSCORRECT_PARAMS& params,
                 void (*progress)(int, int));

// Brightens (amount > 0) or darkens (amount < 0) the rim of the image in place: a pixel at radius r
// from the centre (in half diagonals) is multiplied by 1 + amount * q * q with
// q = clamp((r - (1 - range)) / range, 0, 1). amount lies in -1..1, range in 0..1; amount 0 or range 0
// leaves the image alone. Alpha is kept.
bool LensVignette(CImageDataInfo& image, double amount, double range, void (*progress)(int, int));

} // namespace ImageProcess
