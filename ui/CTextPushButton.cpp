#include "ui/CTextPushButton.h"

#include <QPainter>

namespace KELCTRL {

CTextPushButton::CTextPushButton(QWidget* parent) : CPushCtrl(parent) {}

void CTextPushButton::OnPaint(QPainter& painter, int width, int height) {
    PaintFace(painter, width, height);
    painter.setPen(FaceTextColor());
    // A pushed caption sinks by a pixel.
    const int shift = IsPushed() ? 1 : 0;
    painter.drawText(QRect(shift, shift, width, height), Qt::AlignCenter | Qt::TextSingleLine, GetText());
    DrawFocusMark(painter, width, height);
}

} // namespace KELCTRL
