#pragma once
// A vertical stack of accordion entries, each a title strip over a collapsible sub-panel. Entries
// stay stacked without gaps or overlaps whatever changes height, and the host's own height is the
// sum of theirs. In single-open mode opening an entry closes every other one that is not pinned.
#include "ui/CBaseWnd.h"

#include <memory>
#include <vector>

namespace KELCTRL {

class CAccordionTitlePanel;
class CSubPanel;

class CAccordionPanelHost : public CBaseWnd {
public:
    // Entry ids are this plus the position.
    static constexpr unsigned IDC_ENTRY_BASE = 1000;

    explicit CAccordionPanelHost(QWidget* parent = nullptr);
    ~CAccordionPanelHost() override;

    void SetSingleOpen(int singleOpen) { m_singleOpen = singleOpen != 0; }
    int IsSingleOpen() const { return m_singleOpen ? 1 : 0; }

    // Adds an entry at the end for a caller-owned sub-panel, in a title panel of the caller's or one
    // the host makes. In single-open mode the first entry and any added with `expand` set open at
    // once (closing the others); otherwise `expand` alone decides. Returns the position.
    int AddPanel(CSubPanel* panel, const QString& title, int expand,
                 CAccordionTitlePanel* titlePanel = nullptr);
    int GetPanelCount() const { return static_cast<int>(m_entries.size()); }
    // Throws std::out_of_range for a position outside the list.
    CAccordionTitlePanel* GetPanelByPos(int position) const { return m_entries.at(position); }
    // The position of the entry holding this sub-panel, -1 when none does.
    int GetPanelBySubPanel(const CSubPanel* panel) const;

    void Expand(int position);
    void Collapse(int position);
    int IsCollapsed(int position) const;

    // Restacks the entries below the one at `position` and sizes the host to the total.
    void ArrangePanels(int position);
    int GetPanelTotalHeight() const;

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

protected:
    // An entry opened: in single-open mode the others close unless pinned; then all restack.
    virtual void OnPanelExpanded(int position);
    intptr_t OnNotify(uintptr_t ctrlId, NMHDR* header) override;
    // Entries take their new heights first; one restack follows.
    intptr_t OnDPIChanged(uintptr_t wParam, const QRect* rect) override;

private:
    int PositionOf(const CBaseWnd* entry) const;
    void SizeToTotal(int total);

    std::vector<CAccordionTitlePanel*> m_entries;
    std::vector<std::unique_ptr<CAccordionTitlePanel>> m_owned;
    std::vector<CAccordionTitlePanel*> m_callerOwned;
    bool m_singleOpen = false;
    // Set while several entries change together, so that one restack follows at the end.
    bool m_batch = false;
    int m_lastWidth = -1;
};

} // namespace KELCTRL
