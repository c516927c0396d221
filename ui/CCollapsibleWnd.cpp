#include "ui/CCollapsibleWnd.h"

#include "ui/CSubPanel.h"
#include "ui/CUIColorSchema.h"
#include "ui/ChildOwnership.h"

#include <QPainter>

namespace KELCTRL {

CCollapsibleWnd::CCollapsibleWnd(QWidget* parent) : CBaseWnd(parent) {}

CCollapsibleWnd::~CCollapsibleWnd() {
    DetachCallerOwned(this, m_panels);
}

int CCollapsibleWnd::LineHeight() const {
    const CUISizeInfo* info = GetUISizeInfo();
    return info ? info->splitLineHeight : 2;
}

int CCollapsibleWnd::AddPanel(CSubPanel* panel) {
    if (!panel)
        return -1;
    const int index = static_cast<int>(m_panels.size());
    m_panels.push_back(panel);
    if (!panel->IsWindow())
        panel->Create(this, QRect(0, LineHeight(), GetClientWidth(), 0), CSubPanel::IDC_BASE + index, 0);
    else if (panel->parentWidget() != this)
        panel->setParent(this);
    panel->hide();
    if (m_current < 0)
        SetCurrentPanel(index);
    return index;
}

int CCollapsibleWnd::SetCurrentPanel(int index) {
    if (index < 0 || index >= GetPanelCount())
        return 0;
    m_current = index;
    for (int i = 0; i < GetPanelCount(); ++i)
        if (i != index)
            m_panels[i]->hide();
    if (!m_collapsed)
        FitCurrent();
    return 1;
}

void CCollapsibleWnd::Resize(int height) {
    const QRect g = geometry();
    MoveWindow(g.x(), g.y(), g.width(), height, 1);
}

void CCollapsibleWnd::FitCurrent() {
    CSubPanel* panel = GetCurrentPanel();
    const int line = LineHeight();
    if (!panel) {
        Resize(line);
        return;
    }
    const int height = panel->GetHeight(panel->GetUISizeInfo());
    panel->MoveWindow(0, line, GetClientWidth(), height, 1);
    panel->show();
    Resize(line + height);
}

void CCollapsibleWnd::Refit() {
    if (!m_collapsed)
        FitCurrent();
}

void CCollapsibleWnd::Expand() {
    const bool changed = m_collapsed;
    m_collapsed = false;
    FitCurrent();
    if (changed) {
        NMHDR header;
        NotifyParent(NM_EXPANDED, header);
    }
}

void CCollapsibleWnd::Collapse() {
    if (m_collapsed)
        return;
    m_collapsed = true;
    if (CSubPanel* panel = GetCurrentPanel())
        panel->hide();
    Resize(0);
    NMHDR header;
    NotifyParent(NM_COLLAPSED, header);
}

void CCollapsibleWnd::AdjustCtrls(int width, int) {
    if (CSubPanel* panel = GetCurrentPanel()) {
        const QRect g = panel->geometry();
        if (g.width() != width)
            panel->MoveWindow(g.x(), g.y(), width, g.height(), 1);
    }
}

intptr_t CCollapsibleWnd::OnNotify(uintptr_t ctrlId, NMHDR* header) {
    // The current panel took a new height: follow it and pass the news up.
    if (header && header->code == CSubPanel::NM_HEIGHT_CHANGED && header->hwndFrom &&
        header->hwndFrom == GetCurrentPanel()) {
        if (!m_collapsed) {
            Resize(LineHeight() + GetCurrentPanel()->GetClientHeight());
            NMHDR up;
            NotifyParent(CSubPanel::NM_HEIGHT_CHANGED, up);
        }
        return 1;
    }
    return CBaseWnd::OnNotify(ctrlId, header);
}

void CCollapsibleWnd::OnPaint(QPainter& painter, int width, int) {
    painter.fillRect(QRect(0, 0, width, LineHeight()), CUIColorSchema::FromArgb(UIColors().lineCtrlBorder));
}

} // namespace KELCTRL
