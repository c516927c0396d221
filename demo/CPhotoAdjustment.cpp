#include "demo/CPhotoAdjustment.h"

#include "imageprocess/ImageProcess.h"

#include <algorithm>
#include <cmath>

namespace kelphoto {

namespace {
double ToLinear(double v) {
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}
double ToEncoded(double v) {
    return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055;
}
} // namespace

CPhotoAdjustment::CPhotoAdjustment() : m_curve(BuildCurve(ADJUSTMENT())) {}

std::vector<unsigned short> CPhotoAdjustment::BuildCurve(const ADJUSTMENT& a) {
    std::vector<unsigned short> curve(65536);
    const double gain = std::pow(2.0, a.exposure);
    const double k = std::clamp(a.contrast, -100, 100) / 100.0;
    for (int i = 0; i < 65536; ++i) {
        double v = ToEncoded(std::min(1.0, ToLinear(i / 65535.0) * gain));
        // Contrast: blend towards a smoothstep S around 0.5 (k > 0) or towards flat grey (k < 0).
        const double s = v * v * (3.0 - 2.0 * v);
        v = k >= 0 ? v + k * (s - v) : v + k * 0.5 * (v - 0.5);
        curve[i] = static_cast<unsigned short>(std::lround(std::clamp(v, 0.0, 1.0) * 65535.0));
    }
    // Rounding must never make the curve step backwards.
    for (int i = 1; i < 65536; ++i)
        curve[i] = std::max(curve[i], curve[i - 1]);
    return curve;
}

void CPhotoAdjustment::Set(const ADJUSTMENT& adjustment) {
    std::vector<unsigned short> curve = BuildCurve(adjustment);
    std::lock_guard<std::mutex> g(m_lock);
    m_adjustment = adjustment;
    m_curve.swap(curve);
}

ADJUSTMENT CPhotoAdjustment::Get() const {
    std::lock_guard<std::mutex> g(m_lock);
    return m_adjustment;
}

void CPhotoAdjustment::SetLocalMask(const CSelectedRegion* mask, const CSelectedRegion* zoomedMask,
                                    double exposure) {
    ADJUSTMENT local = Get();
    local.exposure += exposure;
    std::vector<unsigned short> curve = BuildCurve(local);
    std::lock_guard<std::mutex> g(m_lock);
    m_mask = mask;
    m_zoomedMask = zoomedMask;
    m_localCurve.swap(curve);
}

bool CPhotoAdjustment::Process(CImageDataInfo& dst, const CImageDataInfo& src, int x, int y,
                               double zoom) const {
    if (!src.IsValid(true))
        return false;
    if (!dst.IsValid(true) && !dst.Create(src.width - x, src.height - y, src.channels, src.depth))
        return false;
    if (!dst.SameFormat(src) || x < 0 || y < 0 || x + dst.width > src.width || y + dst.height > src.height)
        return false;
    std::lock_guard<std::mutex> g(m_lock);
    if (!ImageProcess::ApplyCurveToImage(dst, src, m_curve.data(), x, y, nullptr))
        return false;
    const CSelectedRegion* mask = zoom < 1.0 ? m_zoomedMask : m_mask;
    if (!mask || mask->data.empty() || m_localCurve.empty())
        return true;
    // The local adjustment: the brighter result blended in through the part of the painted mask
    // that covers this rectangle.
    CSelectedRegion part;
    if (!part.Create(dst.width, dst.height, 0))
        return false;
    part.x = x;
    part.y = y;
    if (!ImageProcess::CopyRegion(part, *mask))
        return true; // the mask does not reach this rectangle
    part.x = 0;
    part.y = 0;
    CImageDataInfo local;
    if (!local.Create(dst.width, dst.height, dst.channels, dst.depth) ||
        !ImageProcess::ApplyCurveToImage(local, src, m_localCurve.data(), x, y, nullptr))
        return false;
    return ImageProcess::CopyImage(local, dst, 0, 0, 0, 0, dst.width, dst.height, &part, true, nullptr);
}

} // namespace kelphoto
