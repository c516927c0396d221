#pragma once
// The heal blend of the clone tool: the source's texture in the target's tone.
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"

namespace ImageProcess {

// Blends, through mask (in destination coordinates, at its own x, y), the width x height rectangle
// of src at (srcX, srcY) into dst at (dstX, dstY) as a heal: each colour channel becomes the source
// value plus the low-frequency difference target - source, a weighted box average that draws mostly
// on the unmasked pixels around the mask, over a radius of half the masked area's larger side. A flat
// target so takes the source's texture at its own tone. The rectangle is clipped to both images and to
// the mask; dst outside the mask and alpha are unchanged; src may be dst. False, nothing written,
// for unusable images or mask, formats that differ, or nothing left after clipping.
bool HealBlend(const CImageDataInfo& src, CImageDataInfo& dst, int dstX, int dstY, int srcX, int srcY,
               int width, int height, const CSelectedRegion& mask,
               void (*progress)(int done, int total) = nullptr);

} // namespace ImageProcess
