#include "ui/CNoScrollPanelHost.h"

#include "ui/CSubPanel.h"
#include "ui/ChildOwnership.h"

#include <algorithm>

namespace KELCTRL {

CNoScrollPanelHost::CNoScrollPanelHost(QWidget* parent) : CBaseWnd(parent) {}

CNoScrollPanelHost::~CNoScrollPanelHost() {
    DetachCallerOwned(this, m_panels);
}

void CNoScrollPanelHost::Adopt(CSubPanel* panel, unsigned id) {
    if (!panel->IsWindow())
        panel->Create(this, QRect(0, 0, 0, panel->GetHeight(GetUISizeInfo())), id, 1);
    else if (panel->parentWidget() != this)
        panel->setParent(this);
    panel->SetDlgCtrlID(id);
    Fit(panel);
}

int CNoScrollPanelHost::AddPanel(CSubPanel* panel) {
    const unsigned id = IDC_PANEL_FIRST + static_cast<unsigned>(m_panels.size());
    if (!panel || id > IDC_PANEL_LAST || std::find(m_panels.begin(), m_panels.end(), panel) != m_panels.end())
        return -1;
    m_panels.push_back(panel);
    Adopt(panel, id);
    return static_cast<int>(m_panels.size()) - 1;
}

int CNoScrollPanelHost::SetPanel(int index, CSubPanel* panel) {
    if (!panel || index < 0 || index >= GetPanelCount())
        return 0;
    CSubPanel* old = m_panels[index];
    if (old != panel) {
        old->hide();
        old->setParent(nullptr);
    }
    m_panels[index] = panel;
    Adopt(panel, IDC_PANEL_FIRST + static_cast<unsigned>(index));
    return 1;
}

int CNoScrollPanelHost::ShowPanel(CSubPanel* panel, int show) {
    if (std::find(m_panels.begin(), m_panels.end(), panel) == m_panels.end())
        return 0;
    panel->setVisible(show != 0);
    return 1;
}

void CNoScrollPanelHost::SetWidth(int width) {
    const QRect g = geometry();
    MoveWindow(g.x(), g.y(), width, g.height(), 1);
}

void CNoScrollPanelHost::SetMargin(int margin) {
    m_margin = margin != 0;
    AdjustCtrls();
}

void CNoScrollPanelHost::Fit(CSubPanel* panel) {
    const CUISizeInfo* info = GetUISizeInfo();
    const int room = info ? info->scrollBarWidth + info->borderMedium : 0;
    const QRect g = panel->geometry();
    const int x = m_margin ? room : 0;
    const int width = std::max(0, GetClientWidth() - room);
    if (g.x() != x || g.width() != width)
        panel->MoveWindow(x, g.y(), width, g.height(), 1);
}

void CNoScrollPanelHost::AdjustCtrls(int, int) {
    for (CSubPanel* panel : m_panels)
        Fit(panel);
}

} // namespace KELCTRL
