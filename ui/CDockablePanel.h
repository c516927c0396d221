#pragma once
// A side panel of a CPanelHost. It keeps a thickness (its width on the left and right, its height at
// the top and bottom) that the host preserves when it lays out, shows one of its child panels at a
// time, and, when adjustable, lets the user drag the edge that faces the centre between a minimum
// and a maximum thickness.
#include "ui/CBaseWnd.h"

#include <vector>

namespace KELCTRL {

class CDockablePanelChild;

// The side of the host a bar and its panel sit on.
enum DOCK_TYPE { DOCK_TOP = 0, DOCK_BOTTOM = 1, DOCK_LEFT = 2, DOCK_RIGHT = 3 };
constexpr int DOCK_TYPE_COUNT = 4;

class CDockablePanel : public CBaseWnd {
public:
    // Ids of the child panels start here.
    static constexpr unsigned IDC_CHILD_BASE = 1000;
    // Control ids of the four panels in a host, by side.
    static constexpr unsigned IDC_TOP_PANEL = 1004;
    // Sent to the parent (WM_NOTIFY) when a drag changed the thickness.
    static constexpr unsigned NM_PANEL_RESIZED = 102;

    explicit CDockablePanel(QWidget* parent = nullptr);
    ~CDockablePanel() override;

    // Creates the panel for a side of `host`: name "TopPanel", "BottomPanel", "LeftPanel" or
    // "RightPanel", id 1004 + side, hidden.
    int CreateForSide(CBaseWnd* host, DOCK_TYPE dockType);
    static const char* WindowName(DOCK_TYPE dockType);

    DOCK_TYPE GetDockType() const { return m_dockType; }
    void SetDockType(DOCK_TYPE dockType) { m_dockType = dockType; }
    int IsVertical() const { return m_dockType == DOCK_LEFT || m_dockType == DOCK_RIGHT; }

    // The thickness the panel starts with at this size info; the base scales the unscaled
    // thickness set by SetFixedSize (200 by default).
    virtual int GetFixedSize(const CUISizeInfo* info);
    void SetFixedSize(int unscaled) { m_fixedSize = unscaled; }
    // The current thickness in pixels.
    int GetThickness() const { return IsVertical() ? GetClientWidth() : GetClientHeight(); }
    // After a dpi change: carries the thickness from the old record's scale to the current one.
    virtual void AdjustDPI(const CUISizeInfo* oldInfo);

    // Edge dragging. Limits are unscaled; the drag holds the thickness between them scaled by dpi.
    void SetAdjustable(int adjustable) { m_adjustable = adjustable != 0; }
    int IsAdjustable() const { return m_adjustable ? 1 : 0; }
    int IsAdjusting() const { return m_adjusting ? 1 : 0; }
    void SetMinMax(int minWidth, int minHeight, int maxWidth, int maxHeight);
    // The band along the edge that faces the centre, in client coordinates.
    QRect GetTrackRect() const;

    // Child panels: the panel takes them as children and fills itself with the one shown.
    int AddChild(CDockablePanelChild* child);
    int GetChildCount() const { return static_cast<int>(m_children.size()); }
    CDockablePanelChild* GetChild(int index) const { return m_children.at(index); }
    // Shows the child at this index and hides the others; returns 0 for an index outside the list.
    int ShowPanel(int index);
    int GetCurrentIndex() const { return m_current; }

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

protected:
    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnLButtonUp(unsigned flags, const QPoint& point) override;
    void OnMouseMove(unsigned flags, const QPoint& point) override;
    void OnCaptureChanged(CBaseWnd* newOwner) override;
    int OnSetCursor(CBaseWnd* wnd, unsigned hitTest, unsigned message) override;

private:
    // Moves the edge facing the centre to `edge` (parent coordinates), within the limits.
    void TrackEdge(const QPoint& parentPoint);

    DOCK_TYPE m_dockType = DOCK_LEFT;
    bool m_adjustable = false;
    bool m_adjusting = false;
    int m_fixedSize = 200;
    int m_minWidth = 50;
    int m_minHeight = 30;
    int m_maxWidth = 600;
    int m_maxHeight = 400;
    std::vector<CDockablePanelChild*> m_children;
    int m_current = -1;
};

} // namespace KELCTRL
