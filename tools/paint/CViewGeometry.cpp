#include "tools/paint/CViewGeometry.h"

#include <cmath>

namespace KELCTRL {
namespace IMGWND_TOOL {

TPoint<int> VIEW_GEOMETRY::ScreenToImage(TPoint<int> screen) const {
    const double cx = static_cast<double>(screen.x) - globalOrigin.x - drawPos.x;
    const double cy = static_cast<double>(screen.y) - globalOrigin.y - drawPos.y;
    return TPoint<int>(static_cast<int>(std::floor(cx / zoom + srcX)),
                       static_cast<int>(std::floor(cy / zoom + srcY)));
}

TPoint<int> VIEW_GEOMETRY::ImageToZoomed(TPoint<int> p) const {
    return TPoint<int>(static_cast<int>(std::floor(p.x * zoom + 0.5)),
                       static_cast<int>(std::floor(p.y * zoom + 0.5)));
}

IntRect VIEW_GEOMETRY::VisibleRect(int zoomed) const {
    if (!zoomed) {
        return IntRect{static_cast<int>(std::floor(srcX)), static_cast<int>(std::floor(srcY)),
                       static_cast<int>(std::ceil(srcWidth)), static_cast<int>(std::ceil(srcHeight))};
    }
    const int l = static_cast<int>(std::floor(srcX * zoom));
    const int t = static_cast<int>(std::floor(srcY * zoom));
    const int r = static_cast<int>(std::ceil((srcX + srcWidth) * zoom));
    const int b = static_cast<int>(std::ceil((srcY + srcHeight) * zoom));
    return IntRect{l, t, r - l, b - t};
}

void CViewGeometry::Publish(const VIEW_GEOMETRY& geometry) {
    std::lock_guard<std::mutex> guard(m_lock);
    m_geometry = geometry;
}

VIEW_GEOMETRY CViewGeometry::Get() const {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_geometry;
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
