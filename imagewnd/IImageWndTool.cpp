#include "imagewnd/IImageWndTool.h"

#include "imagewnd/CImageWnd.h"
#include "ui/CSubPanel.h"

namespace KELCTRL {

IImageWndTool::IImageWndTool() = default;

IImageWndTool::~IImageWndTool() {
    if (auto* panel = dynamic_cast<CSubPanel*>(m_notifyWnd.data()))
        panel->ClearCancelHook(this);
}

void IImageWndTool::OnLoad(CBaseWnd* imageWnd) {
    m_userCancelled = 0;
    m_imageWnd = imageWnd;
    if (m_lockViewOnLoad) {
        if (auto* wnd = dynamic_cast<CImageWnd*>(imageWnd)) {
            wnd->SetZoom(ZOOM_TYPE_FIT, nullptr, nullptr);
            wnd->LockView(1);
        }
    }
    SendNotify(NOTIFY_LOADED, this);
}

void IImageWndTool::OnUnload() {
    if (m_lockViewOnLoad) {
        if (auto* wnd = dynamic_cast<CImageWnd*>(m_imageWnd))
            wnd->LockView(0);
    }
    m_imageWnd = nullptr;
    // The panel hears of the unload after the window pointer is gone.
    SendNotify(NOTIFY_UNLOADED, this);
}

void IImageWndTool::SetNotifyWnd(CBaseWnd* wnd) {
    if (auto* old = dynamic_cast<CSubPanel*>(m_notifyWnd.data()))
        old->ClearCancelHook(this);
    m_notifyWnd = wnd;
    if (auto* panel = dynamic_cast<CSubPanel*>(wnd))
        panel->SetCancelHook(this, [this] { SetUserCancelled(); });
}

void IImageWndTool::SendNotify(unsigned code, void* data) {
    CBaseWnd* wnd = m_notifyWnd.data();
    if (!wnd || !wnd->IsWindow())
        return;
    const intptr_t answer = wnd->SendMessage(WM_IWT_NOTIFY, code, reinterpret_cast<intptr_t>(data));
    if (answer != 0 && m_notifyCallback)
        m_notifyCallback(this, code, data);
}

void IImageWndTool::CloseToolPanel() {
    if (auto* panel = dynamic_cast<CSubPanel*>(m_notifyWnd.data()))
        panel->AskParentClose();
}

void IImageWndTool::CancelToolPanel() {
    if (auto* panel = dynamic_cast<CSubPanel*>(m_notifyWnd.data()))
        panel->Cancel();
}

} // namespace KELCTRL
