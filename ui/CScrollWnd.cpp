#include "ui/CScrollWnd.h"

#include "ui/CFixedHeightPanel.h"
#include "ui/CNoArrowScrollBar.h"
#include "ui/CScrollWnd_HintWnd.h"
#include "ui/CScrollWnd_TailWnd.h"
#include "ui/ChildOwnership.h"

#include <algorithm>
#include <array>

namespace KELCTRL {

CScrollWnd::CScrollWnd(QWidget* parent) : CBaseWnd(parent) {}

CScrollWnd::~CScrollWnd() {
    DetachCallerOwned(this, std::array<QWidget*, 1>{m_callerContent});
}

void CScrollWnd::OnInitWnd() {
    m_bar = std::make_unique<CNoArrowScrollBar>();
    m_bar->Create(this, QRect(0, 0, 0, 0), 1, 1);
    m_tail = std::make_unique<CScrollWnd_TailWnd>();
    m_tail->Create(this, QRect(0, 0, 0, 0), 2, 1);
    m_topHint = std::make_unique<CScrollWnd_HintWnd>(1);
    m_topHint->Create(this, QRect(0, 0, 0, 0), 3, 0);
    m_bottomHint = std::make_unique<CScrollWnd_HintWnd>(0);
    m_bottomHint->Create(this, QRect(0, 0, 0, 0), 4, 0);
    AdjustCtrls();
}

int CScrollWnd::ContentLeft() const {
    const CUISizeInfo* info = GetUISizeInfo();
    return m_barLeft && info ? info->scrollBarWidth + info->borderMedium : 0;
}

int CScrollWnd::ContentWidth() const {
    const CUISizeInfo* info = GetUISizeInfo();
    return std::max(0, GetClientWidth() - (info ? info->scrollBarWidth + info->borderMedium : 0));
}

void CScrollWnd::SetPanel(CFixedHeightPanel* panel) {
    m_callerContent = panel;
    if (panel && !panel->IsWindow())
        panel->Create(this, QRect(ContentLeft(), 0, ContentWidth(), 0), 1000, 1);
    if (panel)
        panel->MoveWindow(ContentLeft(), 0, ContentWidth(), panel->GetHeight(panel->GetUISizeInfo()), 1);
    SetContent(panel);
}

void CScrollWnd::SetContent(CBaseWnd* content) {
    if (m_content && m_content != content)
        m_content->hide();
    m_content = content;
    if (content) {
        if (content->parentWidget() != this)
            content->setParent(this);
        content->show();
        // The hints lie over the content.
        if (m_topHint)
            m_topHint->raise();
        if (m_bottomHint)
            m_bottomHint->raise();
    }
    AdjustCtrls();
}

void CScrollWnd::SetScrollBarLeft(int left) {
    m_barLeft = left != 0;
    AdjustCtrls();
}

int CScrollWnd::GetScrollPos() const {
    return m_bar ? m_bar->GetPos() : 0;
}

int CScrollWnd::GetScrollRange() const {
    return m_bar ? m_bar->GetRange() : 0;
}

int CScrollWnd::GetPage() const {
    return m_bar ? m_bar->GetPage() : 0;
}

void CScrollWnd::AdjustCtrls(int width, int height) {
    const CUISizeInfo* info = GetUISizeInfo();
    if (!m_bar || !info)
        return;
    const int barWidth = info->scrollBarWidth;
    const int left = ContentLeft();
    const int contentWidth = ContentWidth();
    m_bar->MoveWindow(m_barLeft ? 0 : width - barWidth, 0, barWidth, height, 1);
    int contentHeight = 0;
    if (m_content) {
        const QRect g = m_content->geometry();
        contentHeight = g.height();
        if (g.x() != left || g.width() != contentWidth)
            m_content->MoveWindow(left, g.y(), contentWidth, g.height(), 1);
    }
    const int tailHeight = m_tail->GetTailHeight();
    m_tail->MoveWindow(left, (m_content ? m_content->y() : 0) + contentHeight, contentWidth, tailHeight, 1);
    const int topHeight = m_topHint->GetHintHeight();
    const int bottomHeight = m_bottomHint->GetHintHeight();
    m_topHint->MoveWindow(left, 0, contentWidth, topHeight, 1);
    m_bottomHint->MoveWindow(left, height - bottomHeight, contentWidth, bottomHeight, 1);
    m_bar->SetScrollInfo(contentHeight + tailHeight, height);
    OnVScroll(m_bar->GetPos());
}

void CScrollWnd::OnVScroll(int pos) {
    if (!m_bar)
        return;
    if (m_content) {
        const QRect g = m_content->geometry();
        if (g.y() != -pos)
            m_content->MoveWindow(g.x(), -pos, g.width(), g.height(), 1);
    }
    const int contentBottom = m_content ? m_content->geometry().bottom() + 1 : -pos;
    const QRect t = m_tail->geometry();
    if (t.y() != contentBottom)
        m_tail->MoveWindow(t.x(), contentBottom, t.width(), t.height(), 1);
    m_topHint->setVisible(pos >= 1);
    m_bottomHint->setVisible(pos + m_bar->GetPage() < m_bar->GetRange());
}

void CScrollWnd::ScrollTo(int pos) {
    if (!m_bar)
        return;
    m_bar->SetPos(pos, 0);
    OnVScroll(m_bar->GetPos());
}

void CScrollWnd::ShowInView(int top, int bottom) {
    if (!m_bar)
        return;
    const int pos = m_bar->GetPos();
    const int page = m_bar->GetPage();
    const int b = std::max(top + 1, bottom);
    int next = pos;
    if (b - pos > page)
        next = b - page;
    else if (top - pos < 0)
        next = top;
    ScrollTo(next); // clamped to the ends by the bar
}

intptr_t CScrollWnd::WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    if (msg == CNoArrowScrollBar::WM_VSCROLL) {
        OnVScroll(static_cast<int>(wParam));
        return 1;
    }
    return CBaseWnd::WindowProc(msg, wParam, lParam);
}

intptr_t CScrollWnd::OnNotify(uintptr_t ctrlId, NMHDR* header) {
    if (header && header->hwndFrom && header->hwndFrom == m_content &&
        header->code == CSubPanel::NM_HEIGHT_CHANGED) {
        AdjustCtrls();
        return 1;
    }
    return CBaseWnd::OnNotify(ctrlId, header);
}

intptr_t CScrollWnd::OnDPIChanged(uintptr_t wParam, const QRect* rect) {
    const intptr_t result = CBaseWnd::OnDPIChanged(wParam, rect);
    // The content may have changed height with the dpi after this window was laid out.
    AdjustCtrls();
    return result;
}

int CScrollWnd::OnMouseWheel(unsigned, short delta, const QPoint&) {
    const CUISizeInfo* info = GetUISizeInfo();
    if (!m_bar || m_bar->GetMaxPos() == 0)
        return 0;
    const int step = 3 * (info ? info->rowHeight : 16);
    ScrollTo(m_bar->GetPos() - delta * step / WHEEL_DELTA);
    return 1;
}

} // namespace KELCTRL
