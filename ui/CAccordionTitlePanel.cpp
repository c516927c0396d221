#include "ui/CAccordionTitlePanel.h"

#include "ui/CSubPanel.h"
#include "ui/CUIColorSchema.h"

#include <QPainter>

namespace KELCTRL {

CAccordionTitlePanel::CAccordionTitlePanel(QWidget* parent) : CBaseWnd(parent) {
    SetBkColor(CUIColorSchema::FromColorRef(UIColors().bkRaisedPanel));
}

CAccordionTitlePanel::~CAccordionTitlePanel() = default;

void CAccordionTitlePanel::OnInitWnd() {
    m_body = std::make_unique<CCollapsibleWnd>();
    m_body->Create(this, QRect(0, GetTitleHeight(), GetClientWidth(), 0), 1, 1);
}

void CAccordionTitlePanel::SetTitle(const QString& title) {
    m_title = title;
    Redraw(nullptr, 1);
}

void CAccordionTitlePanel::SetPinned(int pinned) {
    m_pinned = pinned != 0;
    Redraw(nullptr, 1);
}

void CAccordionTitlePanel::Expand() {
    if (m_body)
        m_body->Expand();
}

void CAccordionTitlePanel::Collapse() {
    if (m_body)
        m_body->Collapse();
}

int CAccordionTitlePanel::IsCollapsed() const {
    return m_body ? m_body->IsCollapsed() : 1;
}

int CAccordionTitlePanel::GetTitleHeight() const {
    const CUISizeInfo* info = GetUISizeInfo();
    return info ? info->rowHeight + 2 * info->borderMedium : 24;
}

int CAccordionTitlePanel::GetWantedHeight() const {
    return GetTitleHeight() + (m_body && !m_body->IsCollapsed() ? m_body->GetClientHeight() : 0);
}

void CAccordionTitlePanel::AdjustCtrls(int width, int) {
    if (m_body) {
        const int bodyHeight = m_body->IsCollapsed() ? 0 : m_body->GetClientHeight();
        m_body->MoveWindow(0, GetTitleHeight(), width, bodyHeight, 1);
    }
}

intptr_t CAccordionTitlePanel::WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    switch (msg) {
    case WM_ATP_SETTITLE:
        if (lParam)
            SetTitle(*reinterpret_cast<const QString*>(lParam));
        return 1;
    case WM_ATP_EXPAND:
        if (wParam)
            Expand();
        else
            Collapse();
        return 1;
    case WM_ATP_PIN:
        SetPinned(wParam != 0);
        return 1;
    default:
        return CBaseWnd::WindowProc(msg, wParam, lParam);
    }
}

intptr_t CAccordionTitlePanel::OnNotify(uintptr_t ctrlId, NMHDR* header) {
    if (header && m_body && header->hwndFrom == m_body.get() &&
        (header->code == CCollapsibleWnd::NM_EXPANDED || header->code == CCollapsibleWnd::NM_COLLAPSED ||
         header->code == CSubPanel::NM_HEIGHT_CHANGED)) {
        const QRect g = geometry();
        MoveWindow(g.x(), g.y(), g.width(), GetWantedHeight(), 1);
        NMHDR up;
        NotifyParent(header->code, up);
        return 1;
    }
    return CBaseWnd::OnNotify(ctrlId, header);
}

intptr_t CAccordionTitlePanel::OnDPIChanged(uintptr_t wParam, const QRect* rect) {
    const intptr_t result = CBaseWnd::OnDPIChanged(wParam, rect);
    if (m_body)
        m_body->Refit();
    const QRect g = geometry();
    MoveWindow(g.x(), g.y(), g.width(), GetWantedHeight(), 1);
    AdjustCtrls();
    return result;
}

QRect CAccordionTitlePanel::SwitchRect() const {
    const CUISizeInfo* info = GetUISizeInfo();
    const int w = info ? info->ScaledSizeX(SWITCH_WIDTH) : SWITCH_WIDTH;
    const int h = info ? info->ScaledSizeY(SWITCH_HEIGHT) : SWITCH_HEIGHT;
    const int margin = info ? info->panelMargin : 6;
    return QRect(GetClientWidth() - margin - w, (GetTitleHeight() - h) / 2, w, h);
}

void CAccordionTitlePanel::OnLButtonDown(unsigned, const QPoint& point) {
    if (point.y() >= GetTitleHeight())
        return;
    if (SwitchRect().contains(point)) {
        SetPinned(!m_pinned);
        return;
    }
    if (IsCollapsed())
        Expand();
    else
        Collapse();
}

void CAccordionTitlePanel::OnPaint(QPainter& painter, int width, int) {
    const CUISizeInfo* info = GetUISizeInfo();
    const int margin = info ? info->panelMargin : 6;
    const int titleHeight = GetTitleHeight();
    const CUIColorSchema& colors = UIColors();
    painter.setPen(CUIColorSchema::FromColorRef(IsMouseHover() ? colors.textHighlight : colors.textNormal));
    painter.drawText(QRect(margin, 0, width - 2 * margin, titleHeight), Qt::AlignVCenter | Qt::AlignLeft,
                     m_title);
    // The pin switch: a rounded track with its knob at the right when pinned.
    const QRect sw = SwitchRect();
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.setBrush(CUIColorSchema::FromColorRef(m_pinned ? colors.bkLight : colors.bkDefault));
    painter.drawRoundedRect(sw, sw.height() / 2.0, sw.height() / 2.0);
    const int knob = sw.height() - 2;
    const int knobX = m_pinned ? sw.right() - knob : sw.left() + 1;
    painter.setBrush(CUIColorSchema::FromColorRef(colors.textHighlight));
    painter.drawEllipse(QRect(knobX, sw.top() + 1, knob, knob));
}

} // namespace KELCTRL
