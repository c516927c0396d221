#pragma once
// A push button showing an interface image, picked for the button's dpi from a set of resolutions.
// The image comes by name from the published skin images, else the icon images, or is handed over
// directly. The text is the button's tooltip.
#include "ui/CPushCtrl.h"

namespace KELCTRL {

class CDpiAwareImage;

class CImagePushButton : public CPushCtrl {
public:
    explicit CImagePushButton(QWidget* parent = nullptr);

    // Looks the name up among the skin images, then the icon images. Returns 1 when an image set
    // with at least one image was found; otherwise the button keeps its image.
    int SetImage(const QString& name);
    // The caller keeps ownership of the set; null removes the image.
    void SetImage(const CDpiAwareImage* image);
    const CDpiAwareImage* GetImage() const { return m_image; }
    void SetText(const QString& text) override;

protected:
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    const CDpiAwareImage* m_image = nullptr;
};

} // namespace KELCTRL
