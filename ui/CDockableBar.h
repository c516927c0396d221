#pragma once
// The thin strip along one side of a CPanelHost that owns that side's panel. Hovering over a hidden
// bar reveals the panel over the centre for as long as the cursor stays on the bar or the panel; a
// click docks it (the host then gives it room) or, when docked, hides it.
#include "ui/CBaseWnd.h"
#include "ui/CDockablePanel.h"

#include <QPoint>

#include <functional>

namespace KELCTRL {

class CDockableBar : public CBaseWnd {
public:
    // The panel is hidden, shown over the centre, or docked beside it.
    enum BAR_STATE { BAR_HIDDEN = 0, BAR_SHOWN = 1, BAR_DOCKED = 2 };
    // While shown, the panel is checked this often and hidden once the cursor has left both.
    static constexpr uintptr_t TIMER_CHECK_PANEL = 100;
    static constexpr unsigned TIMER_CHECK_PANEL_INTERVAL = 500;
    // Sent to the parent (WM_NOTIFY) when the panel was docked or left its docked place.
    static constexpr unsigned NM_PANEL_CHANGED = 102;

    // Where the hover logic reads the cursor (global coordinates) and whether the application is
    // active. Tests install their own; an empty function falls back to the real one.
    struct HoverEnvironment {
        std::function<QPoint()> cursorPos;
        std::function<bool()> appActive;
    };
    static void SetHoverEnvironment(HoverEnvironment env);

    explicit CDockableBar(QWidget* parent = nullptr);

    // Creates the bar on a side of `host`: "TopBar", "BottomBar", "LeftBar" or "RightBar".
    int CreateForSide(CBaseWnd* host, DOCK_TYPE dockType);
    static const char* WindowName(DOCK_TYPE dockType);
    DOCK_TYPE GetDockType() const { return m_dockType; }

    void SetPanel(CDockablePanel* panel) { m_panel = panel; }
    CDockablePanel* GetPanel() const { return m_panel; }
    int GetBarState() const { return m_barState; }

    // Docks the panel and tells the parent (NM_PANEL_CHANGED) so that it lays out again.
    void DockPanel();
    // Shows the panel over the centre and starts watching the cursor.
    void ShowPanel();
    // Hides the panel; the parent hears of it when the panel was docked, else only the centre is
    // redrawn.
    void HidePanel();
    // One check of the shown panel, as the timer runs it: hides it once the cursor is on neither the
    // bar nor the panel, unless something inside the panel holds the capture or its edge is dragged.
    void CheckPanel();

protected:
    void OnTimer(uintptr_t id) override;
    void OnMouseEnter(unsigned flags, const QPoint& point) override;
    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    void SetState(int state);
    void NotifyChanged();

    DOCK_TYPE m_dockType = DOCK_LEFT;
    int m_barState = BAR_HIDDEN;
    CDockablePanel* m_panel = nullptr;
};

} // namespace KELCTRL
