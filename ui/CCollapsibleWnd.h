#pragma once
// The body of an accordion entry: one of its sub-panels below a thin split line when expanded,
// nothing at all when collapsed. Expanding and collapsing tell the parent, which restacks.
#include "ui/CBaseWnd.h"

#include <vector>

namespace KELCTRL {

class CSubPanel;

class CCollapsibleWnd : public CBaseWnd {
public:
    // WM_NOTIFY codes sent to the parent.
    static constexpr unsigned NM_EXPANDED = 103;
    static constexpr unsigned NM_COLLAPSED = 104;

    explicit CCollapsibleWnd(QWidget* parent = nullptr);
    ~CCollapsibleWnd() override;

    // Takes a caller-owned sub-panel as a child; the first becomes current. Returns its index.
    int AddPanel(CSubPanel* panel);
    int GetPanelCount() const { return static_cast<int>(m_panels.size()); }
    CSubPanel* GetPanel(int index) const { return m_panels.at(index); }
    CSubPanel* GetCurrentPanel() const { return m_current >= 0 ? m_panels[m_current] : nullptr; }
    // Returns 0 for an index outside the list.
    int SetCurrentPanel(int index);

    // Grows to the current panel's height plus the split line and shows the panel.
    void Expand();
    // Shrinks to nothing and hides the panel.
    void Collapse();
    int IsCollapsed() const { return m_collapsed ? 1 : 0; }
    // Measures the open panel again and fits round it, telling nobody (after a dpi change).
    void Refit();

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

protected:
    intptr_t OnNotify(uintptr_t ctrlId, NMHDR* header) override;
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    int LineHeight() const;
    // Puts the current panel under the split line at its wanted height and fits the window round it.
    void FitCurrent();
    void Resize(int height);

    std::vector<CSubPanel*> m_panels;
    int m_current = -1;
    bool m_collapsed = true;
};

} // namespace KELCTRL
