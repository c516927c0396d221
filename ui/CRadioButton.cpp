#include "ui/CRadioButton.h"

#include <QPainter>

namespace KELCTRL {

CRadioButton::CRadioButton(QWidget* parent) : CCheckBox(parent) {}

void CRadioButton::SetCheck(int check) {
    CCheckBox::SetCheck(check);
    if (!check || !parentWidget())
        return;
    for (CRadioButton* other : parentWidget()->findChildren<CRadioButton*>(Qt::FindDirectChildrenOnly))
        if (other != this && other->m_group == m_group)
            other->CCheckBox::SetCheck(0);
}

void CRadioButton::OnPressed() {
    SetCheck(1);
}

void CRadioButton::OnPaint(QPainter& painter, int width, int height) {
    PaintMarkAndText(painter, width, height, true);
}

} // namespace KELCTRL
