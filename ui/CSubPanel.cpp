#include "ui/CSubPanel.h"

namespace KELCTRL {

CSubPanel::CSubPanel(QWidget* parent) : CBaseWnd(parent) {}

int CSubPanel::GetHeight(const CUISizeInfo*) {
    return 100;
}

void CSubPanel::Cancel() {
    if (m_cancelHook)
        m_cancelHook();
    AskParentClose();
}

void CSubPanel::AskParentClose() {
    if (CBaseWnd* parent = GetParentWnd())
        parent->SendMessage(WM_SUBPANEL_CLOSE, GetDlgCtrlID(), reinterpret_cast<intptr_t>(this));
}

void CSubPanel::SetCancelHook(const void* owner, std::function<void()> hook) {
    m_cancelOwner = owner;
    m_cancelHook = std::move(hook);
}

void CSubPanel::ClearCancelHook(const void* owner) {
    if (owner != m_cancelOwner)
        return;
    m_cancelOwner = nullptr;
    m_cancelHook = nullptr;
}

} // namespace KELCTRL
