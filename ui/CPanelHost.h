#pragma once
// The editor's frame: a centre window with a bar on each of the four sides, and behind each bar an
// optional dockable panel. A docked panel takes room from the centre; a panel that is only shown
// floats over the centre. Several centre windows can be registered by name, one shown at a time.
#include "ui/CBaseWnd.h"
#include "ui/CDockableBar.h"
#include "ui/CDockablePanel.h"

#include <memory>
#include <vector>

namespace KELCTRL {

class CPanelHost : public CBaseWnd {
public:
    // Thickness of every bar at 96 dpi.
    static constexpr int BAR_SIZE = 18;

    explicit CPanelHost(QWidget* parent = nullptr);
    ~CPanelHost() override;

    // Creates the host ("PanelHost") with its four bars.
    int Create(QWidget* parent, const QRect& rect, unsigned id, int visible = 1) override;

    // Lays out bars, panels and the current centre window. Ignored while it runs already, while the
    // host is locked, before the host exists, and when a bar is missing.
    void Reposition();
    // Stops layout while several changes are made; unlocking lays out once.
    void Lock(int locked);
    int IsLocked() const { return m_locked ? 1 : 0; }

    // The bar thickness in pixels at the host's dpi.
    int GetBarThickness() const;
    CDockableBar* GetBar(DOCK_TYPE dockType) const { return m_bars[dockType].get(); }
    // Puts a panel on a side in a state (CDockableBar::BAR_STATE). The host creates the panel as its
    // child when it does not exist yet and gives it its fixed thickness. Null removes the panel.
    void SetPanel(DOCK_TYPE dockType, CDockablePanel* panel, int state);
    CDockablePanel* GetPanel(DOCK_TYPE dockType) const;

    // Centre windows by name. The first one added becomes current.
    void AddCenterWnd(CBaseWnd* wnd, const QString& name);
    // Returns 0 for an unknown name.
    int ShowCenterWnd(const QString& name);
    CBaseWnd* GetCenterWnd() const { return m_current; }
    void RedrawCenterWnd();

    void DockAllPanels();
    void HideAllPanels();
    void DockSidePanels();
    void HideSidePanels();
    // Hides every panel when any is docked, else docks them all; the side variant for left and right.
    void ToggleAllPanels();
    void ToggleSidePanels();

    // A bar docked or undocked its panel, or a panel's edge moved.
    virtual void OnPanelChanged();

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

protected:
    // Makes the four bars; a host may leave some out, and then does no layout.
    virtual void CreateBars();
    void MakeBar(DOCK_TYPE dockType);
    intptr_t OnNotify(uintptr_t ctrlId, NMHDR* header) override;
    // Carries every panel's thickness to the new dpi and lays out once at the end.
    intptr_t OnDPIChanged(uintptr_t wParam, const QRect* rect) override;

private:
    void SetStates(const std::vector<DOCK_TYPE>& sides, int state);
    int AnyDocked(const std::vector<DOCK_TYPE>& sides) const;
    static void Place(CBaseWnd* wnd, const QRect& rect);

    std::unique_ptr<CDockableBar> m_bars[DOCK_TYPE_COUNT];
    struct CenterWnd {
        QString name;
        CBaseWnd* wnd;
    };
    std::vector<CenterWnd> m_centers;
    CBaseWnd* m_current = nullptr;
    bool m_repositioning = false;
    bool m_locked = false;
};

} // namespace KELCTRL
