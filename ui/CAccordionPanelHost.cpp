#include "ui/CAccordionPanelHost.h"

#include "ui/CAccordionTitlePanel.h"
#include "ui/CSubPanel.h"
#include "ui/ChildOwnership.h"

#include <algorithm>

namespace KELCTRL {

CAccordionPanelHost::CAccordionPanelHost(QWidget* parent) : CBaseWnd(parent) {}

CAccordionPanelHost::~CAccordionPanelHost() {
    DetachCallerOwned(this, m_callerOwned);
    // Owned entries go before the host's QWidget part would delete them.
    m_entries.clear();
    m_owned.clear();
}

int CAccordionPanelHost::AddPanel(CSubPanel* panel, const QString& title, int expand,
                                  CAccordionTitlePanel* titlePanel) {
    const int position = GetPanelCount();
    if (titlePanel) {
        m_callerOwned.push_back(titlePanel);
    } else {
        m_owned.push_back(std::make_unique<CAccordionTitlePanel>());
        titlePanel = m_owned.back().get();
    }
    const int y = GetPanelTotalHeight();
    const unsigned id = IDC_ENTRY_BASE + static_cast<unsigned>(position);
    if (!titlePanel->IsWindow()) {
        titlePanel->Create(this, QRect(0, y, GetClientWidth(), 0), id, 1);
    } else {
        if (titlePanel->parentWidget() != this)
            titlePanel->setParent(this);
        titlePanel->SetDlgCtrlID(id);
        titlePanel->show();
    }
    titlePanel->SetTitle(title);
    titlePanel->MoveWindow(0, y, GetClientWidth(), titlePanel->GetWantedHeight(), 1);
    if (panel)
        titlePanel->GetCollapsible()->AddPanel(panel);
    m_entries.push_back(titlePanel);
    const bool open = m_singleOpen ? (position == 0 || expand) : expand != 0;
    if (open)
        titlePanel->Expand(); // restacks through the notice
    else
        ArrangePanels(std::max(0, position - 1));
    return position;
}

int CAccordionPanelHost::GetPanelBySubPanel(const CSubPanel* panel) const {
    if (!panel)
        return -1;
    for (int i = 0; i < GetPanelCount(); ++i) {
        const CCollapsibleWnd* body = m_entries[i]->GetCollapsible();
        for (int k = 0; body && k < body->GetPanelCount(); ++k)
            if (body->GetPanel(k) == panel)
                return i;
    }
    return -1;
}

void CAccordionPanelHost::Expand(int position) {
    GetPanelByPos(position)->Expand();
}

void CAccordionPanelHost::Collapse(int position) {
    GetPanelByPos(position)->Collapse();
}

int CAccordionPanelHost::IsCollapsed(int position) const {
    return GetPanelByPos(position)->IsCollapsed();
}

int CAccordionPanelHost::GetPanelTotalHeight() const {
    int total = 0;
    for (const CAccordionTitlePanel* entry : m_entries)
        total += entry->height();
    return total;
}

void CAccordionPanelHost::SizeToTotal(int total) {
    const QRect g = geometry();
    if (g.height() == total && GetClientHeight() == total)
        return;
    MoveWindow(g.x(), g.y(), g.width(), total, 1);
    NMHDR header;
    NotifyParent(CSubPanel::NM_HEIGHT_CHANGED, header);
}

void CAccordionPanelHost::ArrangePanels(int position) {
    if (m_batch)
        return;
    if (m_entries.empty()) {
        SizeToTotal(0);
        return;
    }
    position = std::clamp(position, 0, GetPanelCount() - 1);
    int y = m_entries[position]->geometry().bottom() + 1;
    for (int i = position + 1; i < GetPanelCount(); ++i) {
        CAccordionTitlePanel* entry = m_entries[i];
        const QRect g = entry->geometry();
        if (g.y() != y)
            entry->MoveWindow(g.x(), y, g.width(), g.height(), 1);
        y += g.height();
    }
    SizeToTotal(y);
}

void CAccordionPanelHost::OnPanelExpanded(int position) {
    if (m_singleOpen) {
        m_batch = true;
        for (int i = 0; i < GetPanelCount(); ++i)
            if (i != position && !m_entries[i]->IsPinned())
                m_entries[i]->Collapse();
        m_batch = false;
        ArrangePanels(0);
        return;
    }
    ArrangePanels(position);
}

int CAccordionPanelHost::PositionOf(const CBaseWnd* entry) const {
    auto it = std::find(m_entries.begin(), m_entries.end(), entry);
    return it == m_entries.end() ? -1 : static_cast<int>(it - m_entries.begin());
}

intptr_t CAccordionPanelHost::OnNotify(uintptr_t ctrlId, NMHDR* header) {
    const int position = header ? PositionOf(header->hwndFrom) : -1;
    if (position < 0)
        return CBaseWnd::OnNotify(ctrlId, header);
    switch (header->code) {
    case CCollapsibleWnd::NM_EXPANDED:
        OnPanelExpanded(position);
        return 1;
    case CCollapsibleWnd::NM_COLLAPSED:
    case CSubPanel::NM_HEIGHT_CHANGED:
        ArrangePanels(position);
        return 1;
    default:
        return CBaseWnd::OnNotify(ctrlId, header);
    }
}

intptr_t CAccordionPanelHost::OnDPIChanged(uintptr_t wParam, const QRect* rect) {
    m_batch = true;
    const intptr_t result = CBaseWnd::OnDPIChanged(wParam, rect);
    m_batch = false;
    if (!m_entries.empty() && m_entries[0]->y() != 0) {
        const QRect g = m_entries[0]->geometry();
        m_entries[0]->MoveWindow(g.x(), 0, g.width(), g.height(), 1);
    }
    ArrangePanels(0);
    return result;
}

void CAccordionPanelHost::AdjustCtrls(int width, int height) {
    for (CAccordionTitlePanel* entry : m_entries) {
        const QRect g = entry->geometry();
        if (g.width() != width)
            entry->MoveWindow(g.x(), g.y(), width, g.height(), 1);
    }
    const int total = GetPanelTotalHeight();
    if (total != height) {
        SizeToTotal(total);
        return;
    }
    if (width == m_lastWidth)
        return;
    m_lastWidth = width;
    // Panels whose height follows their width measure themselves again.
    for (CAccordionTitlePanel* entry : m_entries)
        if (!entry->IsCollapsed() && entry->GetCollapsible())
            if (CSubPanel* panel = entry->GetCollapsible()->GetCurrentPanel())
                panel->PostMessage(CSubPanel::WM_SUBPANEL_UPDATE);
}

} // namespace KELCTRL
