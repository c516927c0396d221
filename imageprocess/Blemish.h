#pragma once
// Blemish repair: a circle over the flaw takes the texture of a clean circle elsewhere, matched in tone.
#include "common/CImageDataInfo.h"

#include <cstddef>
#include <cstdint>

namespace ImageProcess {

// One blemish, in image pixels; also the stored form of the blemish tool (32 bytes, little-endian).
struct BLEMISH {
    int32_t targetX = 0, targetY = 0; // centre of the flaw
    int32_t sourceX = 0, sourceY = 0; // centre of the clean patch
    double radius = 0.0;
    double opacity = 1.0; // 0..1
};
static_assert(sizeof(BLEMISH) == 32);

// Looks around the target for a source circle of the same radius whose tone and texture best match
// the ring just outside the flaw, preferring nearer ones. The source never overlaps the target circle
// and lies wholly inside the image. Writes sourceX and sourceY and returns true; false (record
// untouched) for an unusable image, a target outside it, a radius not above 0 or not finite, or when
// no such circle fits in the image.
bool DetectBlemishSource(BLEMISH& blemish, const CImageDataInfo& image);

// Repairs each blemish in turn: inside the target circle the pixels become the source circle's,
// shifted by the smooth (planar) tone difference between the rings around the two circles, blended
// by opacity with an edge that softens over the outer part of the radius. Pixels are read from src;
// dst is the part of src whose top-left pixel is (x, y), of the same format and lying inside src, and
// may be src itself (x = y = 0). Source pixels outside src repeat its border. Only the colour
// channels inside target circles change. False, nothing written, for unusable images, formats that
// differ, dst not inside src, a null list with a count, or a blemish with a radius not above 0, not
// finite or above 100000, or an opacity outside 0..1.
bool RepairBlemishes(const CImageDataInfo& src, CImageDataInfo& dst, int x, int y, const BLEMISH* blemishes,
                     size_t count, void (*progress)(int done, int total) = nullptr);

} // namespace ImageProcess
