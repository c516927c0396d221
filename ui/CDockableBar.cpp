#include "ui/CDockableBar.h"

#include "ui/CPanelHost.h"
#include "ui/CUIColorSchema.h"

#include <QApplication>
#include <QCursor>
#include <QPainter>
#include <QPolygon>

namespace KELCTRL {

namespace {

CDockableBar::HoverEnvironment& Environment() {
    static CDockableBar::HoverEnvironment env;
    return env;
}

QPoint CursorPos() {
    const auto& env = Environment();
    return env.cursorPos ? env.cursorPos() : QCursor::pos();
}

bool AppActive() {
    const auto& env = Environment();
    return env.appActive ? env.appActive() : QApplication::applicationState() == Qt::ApplicationActive;
}

bool ContainsGlobal(const QWidget* w, const QPoint& global) {
    return w && !w->isHidden() && QRect(w->mapToGlobal(QPoint(0, 0)), w->size()).contains(global);
}

} // namespace

void CDockableBar::SetHoverEnvironment(HoverEnvironment env) {
    Environment() = std::move(env);
}

CDockableBar::CDockableBar(QWidget* parent) : CBaseWnd(parent) {
    SetBkColor(CUIColorSchema::FromColorRef(UIColors().bkPanel));
}

const char* CDockableBar::WindowName(DOCK_TYPE dockType) {
    static const char* const names[DOCK_TYPE_COUNT] = {"TopBar", "BottomBar", "LeftBar", "RightBar"};
    return names[dockType];
}

int CDockableBar::CreateForSide(CBaseWnd* host, DOCK_TYPE dockType) {
    m_dockType = dockType;
    setObjectName(QLatin1String(WindowName(dockType)));
    return Create(host, QRect(0, 0, 0, 0), 0, 1);
}

void CDockableBar::SetState(int state) {
    m_barState = state;
    Redraw(nullptr, 1);
}

void CDockableBar::NotifyChanged() {
    NMHDR header;
    NotifyParent(NM_PANEL_CHANGED, header);
}

void CDockableBar::DockPanel() {
    KillTimer(TIMER_CHECK_PANEL);
    const bool changed = m_barState != BAR_DOCKED;
    SetState(BAR_DOCKED);
    if (m_panel)
        m_panel->show();
    if (changed)
        NotifyChanged();
}

void CDockableBar::ShowPanel() {
    const bool wasDocked = m_barState == BAR_DOCKED;
    SetState(BAR_SHOWN);
    if (m_panel) {
        m_panel->show();
        m_panel->raise();
        raise(); // the bar stays on top of its own panel
    }
    SetTimer(TIMER_CHECK_PANEL, TIMER_CHECK_PANEL_INTERVAL);
    if (wasDocked)
        NotifyChanged();
}

void CDockableBar::HidePanel() {
    KillTimer(TIMER_CHECK_PANEL);
    const bool wasDocked = m_barState == BAR_DOCKED;
    SetState(BAR_HIDDEN);
    if (m_panel)
        m_panel->hide();
    if (wasDocked)
        NotifyChanged();
    else if (auto* host = dynamic_cast<CPanelHost*>(parentWidget()))
        host->RedrawCenterWnd();
}

void CDockableBar::CheckPanel() {
    if (m_barState != BAR_SHOWN) {
        KillTimer(TIMER_CHECK_PANEL);
        return;
    }
    if (m_panel) {
        CBaseWnd* capture = GetCapture();
        if (capture && (capture == m_panel || m_panel->isAncestorOf(capture)))
            return;
        if (m_panel->IsAdjusting())
            return;
    }
    const QPoint cursor = CursorPos();
    if (ContainsGlobal(this, cursor) || ContainsGlobal(m_panel, cursor))
        return;
    HidePanel();
}

void CDockableBar::OnTimer(uintptr_t id) {
    if (id == TIMER_CHECK_PANEL) {
        CheckPanel();
        return;
    }
    CBaseWnd::OnTimer(id);
}

void CDockableBar::OnMouseEnter(unsigned flags, const QPoint& point) {
    CBaseWnd::OnMouseEnter(flags, point);
    if (m_barState == BAR_HIDDEN && m_panel && AppActive())
        ShowPanel();
}

void CDockableBar::OnLButtonDown(unsigned, const QPoint&) {
    if (!m_panel)
        return;
    if (m_barState == BAR_DOCKED)
        HidePanel();
    else
        DockPanel();
}

void CDockableBar::OnPaint(QPainter& painter, int width, int height) {
    // A small arrow in the middle points to where a click sends the panel: out of the frame when
    // docked, into it otherwise.
    if (!m_panel || width <= 0 || height <= 0)
        return;
    const int s = std::max(2, std::min(width, height) / 4);
    const QPoint c(width / 2, height / 2);
    const bool out = m_barState == BAR_DOCKED;
    QPolygon arrow;
    const bool towardsLowEdge = (m_dockType == DOCK_LEFT || m_dockType == DOCK_TOP) != out;
    if (m_dockType == DOCK_LEFT || m_dockType == DOCK_RIGHT) {
        const int d = towardsLowEdge ? -s : s;
        arrow << QPoint(c.x() - d / 2, c.y() - s) << QPoint(c.x() + d / 2, c.y())
              << QPoint(c.x() - d / 2, c.y() + s);
    } else {
        const int d = towardsLowEdge ? -s : s;
        arrow << QPoint(c.x() - s, c.y() - d / 2) << QPoint(c.x(), c.y() + d / 2)
              << QPoint(c.x() + s, c.y() - d / 2);
    }
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.setBrush(
        CUIColorSchema::FromColorRef(IsMouseHover() ? UIColors().textHighlight : UIColors().textNormal));
    painter.drawPolygon(arrow);
}

} // namespace KELCTRL
