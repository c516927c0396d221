#include "ui/CCheckBox.h"

#include "ui/CUIColorSchema.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace KELCTRL {

CCheckBox::CCheckBox(QWidget* parent) : CPushCtrl(parent) {}

void CCheckBox::SetCheck(int check) {
    if ((check != 0) == m_checked)
        return;
    m_checked = check != 0;
    Invalidate();
}

void CCheckBox::OnPressed() {
    SetCheck(!m_checked);
}

QRect CCheckBox::MarkRect(int height) const {
    const int side = std::min(height, GetUISizeInfo() ? GetUISizeInfo()->ScaledSizeY(13) : 13);
    return QRect(0, (height - side) / 2, side, side);
}

void CCheckBox::PaintMarkAndText(QPainter& painter, int width, int height, bool round) const {
    const CUIColorSchema& c = UIColors();
    const QRect box = MarkRect(height);
    const QColor face =
        CUIColorSchema::FromColorRef(isEnabled() && IsHot() ? c.btnFaceHighlight : c.bkDefault);
    const QColor mark = isEnabled() ? CUIColorSchema::FromColorRef(IsHot() ? c.textHighlight : c.textNormal)
                                    : CUIColorSchema::FromColorRef(c.bkSubPanel);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, round);
    painter.setPen(QPen(CUIColorSchema::FromColorRef(c.btnFaceHighlight), 0));
    painter.setBrush(face);
    const QRect frame = box.adjusted(0, 0, -1, -1);
    if (round)
        painter.drawEllipse(frame);
    else
        painter.drawRect(frame);
    if (m_checked) {
        const int inset = std::max(2, box.width() / 4);
        const QRect inner = box.adjusted(inset, inset, -inset, -inset);
        painter.setPen(Qt::NoPen);
        painter.setBrush(mark);
        if (round)
            painter.drawEllipse(inner);
        else
            painter.fillRect(inner, mark);
    }
    painter.restore();
    const int gap = GetUISizeInfo() ? GetUISizeInfo()->ctrlGap : 4;
    const QRect textRect(box.right() + 1 + gap, 0, std::max(0, width - box.width() - gap), height);
    painter.setPen(TextColor());
    painter.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, GetText());
    if (hasFocus()) {
        // The focus mark frames the text, as the box itself is too small to hold it.
        painter.save();
        painter.setPen(QPen(CUIColorSchema::FromColorRef(c.textHighlight), 0, Qt::DotLine));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(textRect.adjusted(0, 1, -1, -2));
        painter.restore();
    }
}

void CCheckBox::OnPaint(QPainter& painter, int width, int height) {
    PaintMarkAndText(painter, width, height, false);
}

} // namespace KELCTRL
