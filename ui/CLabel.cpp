#include "ui/CLabel.h"

#include <QPainter>

namespace KELCTRL {

CLabel::CLabel(QWidget* parent) : CCtrlWnd(parent) {}

void CLabel::SetAlignment(Qt::Alignment alignment) {
    m_alignment = alignment;
    Invalidate();
}

void CLabel::OnPaint(QPainter& painter, int width, int height) {
    painter.setPen(TextColor());
    painter.drawText(QRect(0, 0, width, height), int(m_alignment) | Qt::TextSingleLine, GetText());
}

void CLabel::OnLButtonUp(unsigned, const QPoint& point) {
    if (isEnabled() && rect().contains(point))
        SendCommand(BN_CLICKED);
}

} // namespace KELCTRL
