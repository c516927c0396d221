#include "ui/CSubPanel.h"

#include "ui/CAccordionTitlePanel.h"

#include <QThread>

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

void CSubPanel::Update() {
    if (QThread::currentThread() != thread()) {
        PostMessage(WM_SUBPANEL_UPDATE);
        return;
    }
    CSubPanel* outermost = this;
    for (QWidget* w = parentWidget(); w; w = w->parentWidget())
        if (auto* panel = dynamic_cast<CSubPanel*>(w))
            outermost = panel;
    if (outermost != this) {
        outermost->Update();
        return;
    }
    const int height = GetHeight(GetUISizeInfo());
    if (height == GetClientHeight()) {
        Redraw(nullptr, 1);
        return;
    }
    const QRect g = geometry();
    MoveWindow(g.x(), g.y(), g.width(), height, 1);
    NMHDR header;
    NotifyParent(NM_HEIGHT_CHANGED, header);
}

namespace {

CAccordionTitlePanel* TitlePanelOf(const QWidget* panel) {
    for (QWidget* w = panel->parentWidget(); w; w = w->parentWidget())
        if (auto* title = dynamic_cast<CAccordionTitlePanel*>(w))
            return title;
    return nullptr;
}

} // namespace

QString CSubPanel::GetAccordionTitlePanelTitle() const {
    const CAccordionTitlePanel* title = TitlePanelOf(this);
    return title ? title->GetTitle() : QString();
}

intptr_t CSubPanel::SendMessageToAccordionTitlePanel(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    CAccordionTitlePanel* title = TitlePanelOf(this);
    return title ? title->SendMessage(msg, wParam, lParam) : 0;
}

intptr_t CSubPanel::WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    if (msg == WM_SUBPANEL_UPDATE) {
        Update();
        return 1;
    }
    return CBaseWnd::WindowProc(msg, wParam, lParam);
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
