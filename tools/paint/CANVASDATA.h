#pragma once
// One mask that brush strokes paint on. A brush tool owns an array of them.
#include "common/CSelectedRegion.h"

namespace KELCTRL {
namespace IMGWND_TOOL {

struct CANVASDATA {
    const CSelectedRegion* srcRegion = nullptr; // the caller's starting mask, or null
    CSelectedRegion region;                     // at image size: what strokes paint on
    CSelectedRegion zoomedRegion;               // at display size, only while the zoomed cache shows
    int painted = 0;                            // set by the first stroke
};

} // namespace IMGWND_TOOL
} // namespace KELCTRL
