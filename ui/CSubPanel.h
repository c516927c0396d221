#pragma once
// The base of every tool's control panel. This is the part that a tool and its host rely on: the
// fixed button ids, the close and cancel requests to the parent, and the tool that a cancel marks.
#include "ui/CBaseWnd.h"

#include <functional>

namespace KELCTRL {

class CUISizeInfo;

class CSubPanel : public CBaseWnd {
public:
    // Child ids of panels start here.
    static constexpr unsigned IDC_BASE = 1000;
    // Fixed ids of the text buttons.
    static constexpr unsigned IDC_RESET = 2000;
    static constexpr unsigned IDC_APPLY = 2001;
    static constexpr unsigned IDC_CANCEL = 2002;
    static constexpr unsigned IDC_CLOSE = 2003;
    static constexpr unsigned IDC_HELP = 2004;
    // Sent to the parent by AskParentClose and Cancel: wParam the panel's id, lParam the panel.
    static constexpr unsigned WM_SUBPANEL_CLOSE = 1029;
    // Posted to itself by Update when called off the UI thread.
    static constexpr unsigned WM_SUBPANEL_UPDATE = 1039;
    // Sent to the parent (WM_NOTIFY) when Update gave the panel a new height, so that whatever
    // stacks panels can move the ones below.
    static constexpr unsigned NM_HEIGHT_CHANGED = 105;

    explicit CSubPanel(QWidget* parent = nullptr);

    // The height the panel wants; the base asks for 100.
    virtual int GetHeight(const CUISizeInfo* sizeInfo);
    // Marks the panel's tool as cancelled by the user, then asks the parent to close the panel.
    virtual void Cancel();
    // Asks the parent to close the panel.
    void AskParentClose();
    // Brings the panel to the height GetHeight asks for, or redraws it when the height is right.
    // Inside another sub-panel the outermost one does this for the whole. Callable from any thread:
    // off the UI thread it posts WM_SUBPANEL_UPDATE to itself and returns.
    virtual void Update();

    // The title of the accordion entry holding this panel; empty outside an accordion.
    QString GetAccordionTitlePanelTitle() const;
    // Sends a message to the accordion entry holding this panel; 0 outside an accordion.
    intptr_t SendMessageToAccordionTitlePanel(unsigned msg, uintptr_t wParam, intptr_t lParam);

    // The tool a panel controls marks itself here, so that Cancel can flag it; `owner` identifies
    // the binding so that only its owner can remove it.
    void SetCancelHook(const void* owner, std::function<void()> hook);
    void ClearCancelHook(const void* owner);

protected:
    intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) override;

private:
    const void* m_cancelOwner = nullptr;
    std::function<void()> m_cancelHook;
};

} // namespace KELCTRL
