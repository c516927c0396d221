#pragma once
// One interface image in several resolutions, keyed by the screen dpi it was drawn for. Drawing code
// asks for the dpi of its screen and gets the nearest image, preferring the larger one.
#include <QImage>
#include <QSize>
#include <map>

namespace KELCTRL {

class CDpiAwareImage {
public:
    virtual ~CDpiAwareImage() = default;

    // Adds (or replaces) the image for dpi. A null image is not added.
    void AddRes(unsigned dpi, const QImage& image);
    // Null for an empty set. A dpi at or below the first key gives the first image, at or above the
    // last key the last; in between, of the two neighbouring keys k1 <= dpi < k2, the k2 image when
    // chooseLarger is set, else the k1 image.
    const QImage* GetRes(unsigned dpi, int chooseLarger) const;
    int GetResCount() const { return int(m_images.size()); }
    void Clear() { m_images.clear(); }

    // GetRes(dpi, 1), or null when no image for 96 dpi or above exists.
    const QImage* GetImage(unsigned dpi) const;
    // The 96-dpi image's size scaled to dpi (v * dpi / 96, truncated; unchanged at 96). Empty without
    // a 96-dpi image.
    QSize GetScaledSize(unsigned dpi) const;

private:
    std::map<unsigned, QImage> m_images;
};

} // namespace KELCTRL
