#include "ui/CDpiAwareImage.h"

namespace KELCTRL {
namespace {

int ScaleByDpi(int v, unsigned dpi) {
    if (dpi == 96)
        return v;
    const long long scaled = (v < 0 ? -(-(long long)v * dpi / 96) : (long long)v * dpi / 96);
    return int(scaled);
}

} // namespace

void CDpiAwareImage::AddRes(unsigned dpi, const QImage& image) {
    if (!image.isNull())
        m_images[dpi] = image;
}

const QImage* CDpiAwareImage::GetRes(unsigned dpi, int chooseLarger) const {
    if (m_images.empty())
        return nullptr;
    if (dpi <= m_images.begin()->first)
        return &m_images.begin()->second;
    if (dpi >= m_images.rbegin()->first)
        return &m_images.rbegin()->second;
    const auto above = m_images.upper_bound(dpi); // first key > dpi; exists, dpi < last key
    const auto below = std::prev(above);
    return chooseLarger ? &above->second : &below->second;
}

const QImage* CDpiAwareImage::GetImage(unsigned dpi) const {
    if (m_images.empty() || m_images.rbegin()->first < 96)
        return nullptr;
    return GetRes(dpi, 1);
}

QSize CDpiAwareImage::GetScaledSize(unsigned dpi) const {
    const auto it = m_images.find(96);
    if (it == m_images.end())
        return QSize();
    return QSize(ScaleByDpi(it->second.width(), dpi), ScaleByDpi(it->second.height(), dpi));
}

} // namespace KELCTRL
