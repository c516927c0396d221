#include "ui/CAdjustSubPanel.h"

namespace KELCTRL {

CAdjustSubPanel::CAdjustSubPanel(QWidget* parent) : CSubPanel(parent) {}

void CAdjustSubPanel::SetupCtrls(CValueEdit*) {}

void CAdjustSubPanel::StartAdjusting(CValueEdit* edit) {
    m_adjusting = edit;
}

void CAdjustSubPanel::EndAdjusting(CValueEdit* edit) {
    if (edit == m_adjusting)
        m_adjusting = nullptr;
}

void CAdjustSubPanel::Adjust(CValueEdit*) {}

} // namespace KELCTRL
