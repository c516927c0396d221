#pragma once
// A plain column of caller-owned panels that never scrolls: children keep their own y and height and
// only take the host's width, optionally leaving room at the left where a scroll bar would be. A host
// that does not fit simply overflows.
#include "ui/CBaseWnd.h"

#include <vector>

namespace KELCTRL {

class CSubPanel;

class CNoScrollPanelHost : public CBaseWnd {
public:
    // Panel ids run from here to IDC_PANEL_LAST, which bounds a host at 101 panels.
    static constexpr unsigned IDC_PANEL_FIRST = 1000;
    static constexpr unsigned IDC_PANEL_LAST = 1100;

    explicit CNoScrollPanelHost(QWidget* parent = nullptr);
    ~CNoScrollPanelHost() override;

    // Adds a panel at the end; returns its index, or -1 when the host is full or the panel null.
    int AddPanel(CSubPanel* panel);
    // Replaces the panel at an index; returns 0 for an index outside the list.
    int SetPanel(int index, CSubPanel* panel);
    int GetPanelCount() const { return static_cast<int>(m_panels.size()); }
    CSubPanel* GetPanel(int index) const { return m_panels.at(index); }
    // Returns 0 when the panel is not in this host.
    int ShowPanel(CSubPanel* panel, int show);
    void SetWidth(int width);
    // Leaves the scroll bar's room (field 2 + field 1) at the left of every panel.
    void SetMargin(int margin);

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

private:
    void Adopt(CSubPanel* panel, unsigned id);
    void Fit(CSubPanel* panel);

    std::vector<CSubPanel*> m_panels;
    bool m_margin = false;
};

} // namespace KELCTRL
