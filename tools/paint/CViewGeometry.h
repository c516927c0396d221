#pragma once
// What the painting thread needs to know of the view to turn screen points into image points: the
// interface thread publishes a copy under a lock whenever the view changes, and the painting thread
// reads that copy instead of asking the window.
#include "common/ValueTypes.h"

#include <mutex>

namespace KELCTRL {
namespace IMGWND_TOOL {

struct VIEW_GEOMETRY {
    TPoint<int> globalOrigin; // screen position of the client area's top-left corner
    TPoint<int> drawPos;      // where the image starts in the client area
    double srcX = 0.0;        // visible image rectangle, image pixels
    double srcY = 0.0;
    double srcWidth = 0.0;
    double srcHeight = 0.0;
    double zoom = 1.0;
    int zoomedCache = 0; // the view shows the zoomed cache, not the image

    // floor((screen - globalOrigin - drawPos) / zoom + visible origin) on each axis.
    TPoint<int> ScreenToImage(TPoint<int> screen) const;
    // An image point on the zoomed cache: floor(p * zoom + 0.5).
    TPoint<int> ImageToZoomed(TPoint<int> p) const;
    // The visible rectangle in whole pixels: at image scale the origin rounds down and the size up;
    // at zoomed scale the edges are scaled and rounded outwards.
    IntRect VisibleRect(int zoomed) const;
};

class CViewGeometry {
public:
    void Publish(const VIEW_GEOMETRY& geometry);
    VIEW_GEOMETRY Get() const;

private:
    mutable std::mutex m_lock;
    VIEW_GEOMETRY m_geometry;
};

} // namespace IMGWND_TOOL
} // namespace KELCTRL
