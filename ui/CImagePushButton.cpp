#include "ui/CImagePushButton.h"

#include "ui/CDpiAwareImage.h"
#include "ui/CImageResources.h"

#include <QPainter>

namespace KELCTRL {

CImagePushButton::CImagePushButton(QWidget* parent) : CPushCtrl(parent) {}

int CImagePushButton::SetImage(const QString& name) {
    const CDpiAwareImage* image = GetDpiAwareSkinImage(name);
    if (!image || image->GetResCount() == 0)
        image = GetDpiAwareIconImage(name);
    if (!image || image->GetResCount() == 0)
        return 0;
    SetImage(image);
    return 1;
}

void CImagePushButton::SetImage(const CDpiAwareImage* image) {
    m_image = image;
    Invalidate();
}

void CImagePushButton::SetText(const QString& text) {
    CPushCtrl::SetText(text);
    SetTooltipText(text);
}

void CImagePushButton::OnPaint(QPainter& painter, int width, int height) {
    PaintFace(painter, width, height);
    const unsigned dpi = GetUISizeInfo() ? GetUISizeInfo()->DpiX() : 96u;
    const QImage* image = m_image ? m_image->GetImage(dpi) : nullptr;
    if (image && !image->isNull()) {
        QSize size = m_image->GetScaledSize(dpi);
        if (size.isEmpty())
            size = image->size();
        const int shift = IsPushed() ? 1 : 0;
        const QRect target((width - size.width()) / 2 + shift, (height - size.height()) / 2 + shift,
                           size.width(), size.height());
        painter.save();
        if (!isEnabled())
            painter.setOpacity(0.35);
        painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
        painter.drawImage(target, *image);
        painter.restore();
    }
    DrawFocusMark(painter, width, height);
}

} // namespace KELCTRL
