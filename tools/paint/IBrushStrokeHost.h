#pragma once
// What a stroke's painting thread needs of the view it paints for. The brush tool implements it over
// its image window; tests implement it without one. Every call comes from the painting thread, so an
// implementation must not touch widgets: it reads published copies and posts repaint requests.
#include "common/CImageDataInfo.h"
#include "common/CSelectedRegion.h"
#include "common/ValueTypes.h"
#include "common/basic_signal.h"
#include "tools/paint/CViewGeometry.h"

namespace KELCTRL {
namespace IMGWND_TOOL {

class IBrushStrokeHost {
public:
    virtual ~IBrushStrokeHost() = default;

    virtual VIEW_GEOMETRY GetViewGeometry() = 0;
    // The image at full size, and the zoomed cache when the view shows it (else null).
    virtual const CImageDataInfo* GetSourceImage() = 0;
    virtual const CImageDataInfo* GetZoomedCache() = 0;
    // The 16-bit lookup table of 65,536 entries the view draws through, or null.
    virtual const unsigned short* GetLookupTable() = 0;
    // Blocks until the zoomed cache is ready, or abort is set, or the cache failed. 1 when ready.
    virtual int WaitZoomedCacheReady(basic_signal& abort) = 0;
    // After the dabs of one batch: rect is the dirty rectangle already grown and clipped (it may be
    // empty), at display scale when zoomed is set. The host reprocesses that part of the view through
    // the canvas and asks for a repaint.
    virtual void RefreshRect(const IntRect& rect, int zoomed, const CSelectedRegion& canvas) = 0;
};

} // namespace IMGWND_TOOL
} // namespace KELCTRL
