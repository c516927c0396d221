#pragma once
// The base of every tool's control panel. This is the part that a tool and its host rely on: the
// fixed button ids, the close and cancel requests to the parent, and the tool that a cancel marks.
#include "ui/CBaseWnd.h"

#include <functional>
#include <memory>
#include <vector>

namespace KELCTRL {

class CUISizeInfo;
class CTextPushButton;
class CImagePushButton;
class CSplitLine;

// Where a sub-panel shows its help button.
enum HELP_POSITION {
    HELP_POSITION_NONE = 0,
    HELP_POSITION_TOP_LEFT = 1,
    HELP_POSITION_TOP_RIGHT = 2,
    HELP_POSITION_BOTTOM_LEFT = 3,
    HELP_POSITION_BOTTOM_RIGHT = 4
};

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

    // PlaceTextButtonsRB flags: a split line across the panel above or below the button row.
    static constexpr int PLACE_LINE_ABOVE = 1;
    static constexpr int PLACE_LINE_BELOW = 2;

    explicit CSubPanel(QWidget* parent = nullptr);
    ~CSubPanel() override;

    // The text buttons the panel shows, by id (IDC_RESET .. IDC_CLOSE), left to right. Panels set
    // them in their constructor.
    void SetTextButtons(std::vector<unsigned> ids) { textButtons = std::move(ids); }
    const std::vector<unsigned>& GetTextButtons() const { return textButtons; }
    // The button with this id (IDC_RESET .. IDC_HELP), made on first use; null for another id or
    // before the panel exists.
    CBaseWnd* GetButton(unsigned id);
    // Places the listed text buttons in a row from `right` leftwards at `top`, each field 13 wide and
    // field 7 high with field 4 between them, plus the split lines the flag asks for; the buttons not
    // listed are hidden. Returns the row's left edge.
    int PlaceTextButtonsRB(int top, int right, int flag);
    // Shows the help button at a corner (HELP_POSITION_NONE hides it); a click runs the callback.
    void SetupHelp(HELP_POSITION position, std::function<void()> callback);
    HELP_POSITION GetHelpPosition() const { return helpPosition; }
    // Places the help button; panels call it first and place their own controls after.
    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

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
    // What the Reset and Apply buttons do; the base does nothing.
    virtual void OnReset() {}
    virtual void OnApply() {}
    // A text or help button was clicked: Reset and Apply go to the virtuals above, Cancel to
    // Cancel, Close to AskParentClose, Help to the help callback.
    virtual void OnTextButton(unsigned id);
    intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) override;

    std::vector<unsigned> textButtons;
    HELP_POSITION helpPosition = HELP_POSITION_NONE;
    std::function<void()> helpCallback;

private:
    CSplitLine* SplitLine(int index);

    std::unique_ptr<CTextPushButton> m_textButtons[4];
    std::unique_ptr<CImagePushButton> m_help;
    std::unique_ptr<CSplitLine> m_splitLines[2];
    const void* m_cancelOwner = nullptr;
    std::function<void()> m_cancelHook;
};

} // namespace KELCTRL
