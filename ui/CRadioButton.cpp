#include "ui/CRadioButton.h"

#include <QPainter>

namespace KELCTRL {

CRadioButton::CRadioButton(QWidget* parent) : CCheckBox(parent) {}

void CRadioButton::SetCheck(int check) {
    CCheckBox::SetCheck(check);
    if (!check || !parentWidget())
        return;
    // The controls carry no meta-object of their own, so the type is checked by dynamic_cast.
    for (QObject* child : parentWidget()->children()) {
        auto* other = dynamic_cast<CRadioButton*>(child);
        if (other && other != this && other->m_group == m_group)
            other->CCheckBox::SetCheck(0);
    }
}

void CRadioButton::OnPressed() {
    SetCheck(1);
}

void CRadioButton::OnPaint(QPainter& painter, int width, int height) {
    PaintMarkAndText(painter, width, height, true);
}

} // namespace KELCTRL
