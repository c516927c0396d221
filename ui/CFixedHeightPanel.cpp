#include "ui/CFixedHeightPanel.h"

namespace KELCTRL {

CFixedHeightPanel::CFixedHeightPanel(QWidget* parent) : CSubPanel(parent) {}

int CFixedHeightPanel::GetHeight(const CUISizeInfo*) {
    return m_height;
}

} // namespace KELCTRL
