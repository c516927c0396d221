#include "ui/CNoArrowScrollBar.h"

#include "ui/CUIColorSchema.h"

#include <QPainter>

#include <algorithm>

namespace KELCTRL {

CNoArrowScrollBar::CNoArrowScrollBar(QWidget* parent) : CBaseWnd(parent) {}

int CNoArrowScrollBar::GetMaxPos() const {
    return std::max(0, m_range - m_page);
}

void CNoArrowScrollBar::SetScrollInfo(int range, int page) {
    m_range = std::max(0, range);
    m_page = std::max(0, page);
    m_pos = std::clamp(m_pos, 0, GetMaxPos());
    Redraw(nullptr, 1);
}

void CNoArrowScrollBar::SetPos(int pos, int notify) {
    pos = std::clamp(pos, 0, GetMaxPos());
    if (pos == m_pos)
        return;
    m_pos = pos;
    Redraw(nullptr, 1);
    if (notify)
        if (CBaseWnd* parent = GetParentWnd())
            parent->SendMessage(WM_VSCROLL, static_cast<uintptr_t>(m_pos), reinterpret_cast<intptr_t>(this));
}

QRect CNoArrowScrollBar::GetThumbRect() const {
    const int h = GetClientHeight();
    if (m_range <= m_page || m_range <= 0 || h <= 0)
        return QRect();
    const int minThumb = std::min(h, std::max(8, GetClientWidth()));
    const int length = std::max(minThumb, static_cast<int>(static_cast<long long>(h) * m_page / m_range));
    const int top = static_cast<int>(static_cast<long long>(h - length) * m_pos / GetMaxPos());
    return QRect(0, top, GetClientWidth(), length);
}

void CNoArrowScrollBar::OnLButtonDown(unsigned, const QPoint& point) {
    const QRect thumb = GetThumbRect();
    if (thumb.isEmpty())
        return;
    m_inUse = true;
    KillTimer(TIMER_ENDSCROLL);
    SetCapture();
    if (thumb.contains(point)) {
        m_dragging = true;
        m_dragOffset = point.y() - thumb.top();
        Redraw(nullptr, 1);
        return;
    }
    m_pageTarget = point.y();
    PageTowards(m_pageTarget);
    SetTimer(TIMER_SCROLL, TIMER_SCROLL_INTERVAL);
}

void CNoArrowScrollBar::PageTowards(int y) {
    const QRect thumb = GetThumbRect();
    if (y < thumb.top())
        SetPos(m_pos - m_page, 1);
    else if (y > thumb.bottom())
        SetPos(m_pos + m_page, 1);
    else
        KillTimer(TIMER_SCROLL); // the thumb reached the pointer
}

void CNoArrowScrollBar::OnMouseMove(unsigned flags, const QPoint& point) {
    if (m_dragging) {
        const QRect thumb = GetThumbRect();
        const int travel = GetClientHeight() - thumb.height();
        if (travel > 0) {
            const int top = std::clamp(point.y() - m_dragOffset, 0, travel);
            SetPos(static_cast<int>((static_cast<long long>(top) * GetMaxPos() + travel / 2) / travel), 1);
        }
    }
    CBaseWnd::OnMouseMove(flags, point);
}

void CNoArrowScrollBar::OnLButtonUp(unsigned, const QPoint&) {
    if (GetCapture() == this)
        ReleaseCapture();
    EndScroll();
}

void CNoArrowScrollBar::OnCaptureChanged(CBaseWnd* newOwner) {
    EndScroll();
    CBaseWnd::OnCaptureChanged(newOwner);
}

void CNoArrowScrollBar::EndScroll() {
    m_dragging = false;
    KillTimer(TIMER_SCROLL);
    if (m_inUse)
        SetTimer(TIMER_ENDSCROLL, TIMER_ENDSCROLL_INTERVAL);
}

void CNoArrowScrollBar::OnTimer(uintptr_t id) {
    if (id == TIMER_SCROLL) {
        PageTowards(m_pageTarget);
        return;
    }
    if (id == TIMER_ENDSCROLL) {
        KillTimer(TIMER_ENDSCROLL);
        m_inUse = false;
        Redraw(nullptr, 1);
        return;
    }
    CBaseWnd::OnTimer(id);
}

void CNoArrowScrollBar::OnPaint(QPainter& painter, int, int) {
    const QRect thumb = GetThumbRect();
    if (thumb.isEmpty())
        return;
    const CUIColorSchema& colors = UIColors();
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.setBrush(
        CUIColorSchema::FromColorRef(m_inUse || IsMouseHover() ? colors.bkLight : colors.btnFaceHighlight));
    const qreal r = thumb.width() / 2.0;
    painter.drawRoundedRect(thumb.adjusted(1, 0, -1, 0), r, r);
}

} // namespace KELCTRL
