#include "ui/CDockablePanel.h"

#include "ui/CDockablePanelChild.h"

#include <QCursor>

#include <algorithm>

namespace KELCTRL {

CDockablePanel::CDockablePanel(QWidget* parent) : CBaseWnd(parent) {}

CDockablePanel::~CDockablePanel() = default;

const char* CDockablePanel::WindowName(DOCK_TYPE dockType) {
    static const char* const names[DOCK_TYPE_COUNT] = {"TopPanel", "BottomPanel", "LeftPanel", "RightPanel"};
    return names[dockType];
}

int CDockablePanel::CreateForSide(CBaseWnd* host, DOCK_TYPE dockType) {
    m_dockType = dockType;
    setObjectName(QLatin1String(WindowName(dockType)));
    return Create(host, QRect(0, 0, 0, 0), IDC_TOP_PANEL + static_cast<unsigned>(dockType), 0);
}

int CDockablePanel::GetFixedSize(const CUISizeInfo* info) {
    if (!info)
        return m_fixedSize;
    return IsVertical() ? info->ScaledSizeX(m_fixedSize) : info->ScaledSizeY(m_fixedSize);
}

void CDockablePanel::AdjustDPI(const CUISizeInfo* oldInfo) {
    const CUISizeInfo* info = GetUISizeInfo();
    if (!info || !oldInfo || info == oldInfo)
        return;
    const int thickness = GetThickness();
    const int unscaled = IsVertical() ? oldInfo->UnscaledSizeX(thickness) : oldInfo->UnscaledSizeY(thickness);
    const int scaled = IsVertical() ? info->ScaledSizeX(unscaled) : info->ScaledSizeY(unscaled);
    const QRect g = geometry();
    if (IsVertical())
        MoveWindow(g.x(), g.y(), scaled, g.height(), 0);
    else
        MoveWindow(g.x(), g.y(), g.width(), scaled, 0);
}

void CDockablePanel::SetMinMax(int minWidth, int minHeight, int maxWidth, int maxHeight) {
    m_minWidth = std::max(0, minWidth);
    m_minHeight = std::max(0, minHeight);
    m_maxWidth = std::max(m_minWidth, maxWidth);
    m_maxHeight = std::max(m_minHeight, maxHeight);
}

QRect CDockablePanel::GetTrackRect() const {
    const CUISizeInfo* info = GetUISizeInfo();
    const int w = GetClientWidth();
    const int h = GetClientHeight();
    const int side = info ? info->borderSmall + info->borderMedium + 1 : 7;
    const int across = info ? info->borderSmall + 1 : 3;
    switch (m_dockType) {
    case DOCK_LEFT:
        return QRect(w - side, 0, side, h);
    case DOCK_RIGHT:
        return QRect(0, 0, side, h);
    case DOCK_TOP:
        return QRect(0, h - across, w, across);
    case DOCK_BOTTOM:
    default:
        return QRect(0, 0, w, across);
    }
}

int CDockablePanel::AddChild(CDockablePanelChild* child) {
    if (!child)
        return -1;
    const int index = static_cast<int>(m_children.size());
    m_children.push_back(child);
    if (!child->IsWindow())
        child->Create(this, QRect(0, 0, GetClientWidth(), GetClientHeight()),
                      IDC_CHILD_BASE + static_cast<unsigned>(index), 0);
    else if (child->parentWidget() != this)
        child->setParent(this);
    child->hide();
    if (m_current < 0)
        ShowPanel(index);
    return index;
}

int CDockablePanel::ShowPanel(int index) {
    if (index < 0 || index >= GetChildCount())
        return 0;
    m_current = index;
    for (int i = 0; i < GetChildCount(); ++i)
        if (i != index)
            m_children[i]->hide();
    m_children[index]->FillParent();
    m_children[index]->show();
    return 1;
}

void CDockablePanel::AdjustCtrls(int, int) {
    if (m_current >= 0)
        m_children[m_current]->FillParent();
}

void CDockablePanel::OnLButtonDown(unsigned flags, const QPoint& point) {
    if (m_adjustable && GetTrackRect().contains(point)) {
        m_adjusting = true;
        SetCapture();
        return;
    }
    CBaseWnd::OnLButtonDown(flags, point);
}

void CDockablePanel::OnLButtonUp(unsigned flags, const QPoint& point) {
    if (m_adjusting) {
        m_adjusting = false;
        if (GetCapture() == this)
            ReleaseCapture();
        return;
    }
    CBaseWnd::OnLButtonUp(flags, point);
}

void CDockablePanel::OnMouseMove(unsigned flags, const QPoint& point) {
    if (m_adjusting)
        TrackEdge(mapToParent(point));
    CBaseWnd::OnMouseMove(flags, point);
}

void CDockablePanel::OnCaptureChanged(CBaseWnd* newOwner) {
    m_adjusting = false;
    CBaseWnd::OnCaptureChanged(newOwner);
}

int CDockablePanel::OnSetCursor(CBaseWnd* wnd, unsigned hitTest, unsigned message) {
    if (m_adjustable && (m_adjusting || GetTrackRect().contains(GetCursorClientPos()))) {
        setCursor(IsVertical() ? Qt::SizeHorCursor : Qt::SizeVerCursor);
        return 1;
    }
    return CBaseWnd::OnSetCursor(wnd, hitTest, message);
}

void CDockablePanel::TrackEdge(const QPoint& p) {
    const CUISizeInfo* info = GetUISizeInfo();
    auto sx = [info](int v) { return info ? info->ScaledSizeX(v) : v; };
    auto sy = [info](int v) { return info ? info->ScaledSizeY(v) : v; };
    const QRect g = geometry();
    QRect next = g;
    switch (m_dockType) {
    case DOCK_LEFT:
        next.setRight(std::clamp(p.x(), g.left() + sx(m_minWidth), g.left() + sx(m_maxWidth)) - 1);
        break;
    case DOCK_RIGHT:
        next.setLeft(std::clamp(p.x(), g.right() + 1 - sx(m_maxWidth), g.right() + 1 - sx(m_minWidth)));
        break;
    case DOCK_TOP:
        next.setBottom(std::clamp(p.y(), g.top() + sy(m_minHeight), g.top() + sy(m_maxHeight)) - 1);
        break;
    case DOCK_BOTTOM:
        next.setTop(std::clamp(p.y(), g.bottom() + 1 - sy(m_maxHeight), g.bottom() + 1 - sy(m_minHeight)));
        break;
    }
    if (next == g)
        return;
    MoveWindow(next, 0);
    Redraw(nullptr, 1);
    // The host keeps this thickness from now on and gives the centre what is left.
    NMHDR header;
    NotifyParent(NM_PANEL_RESIZED, header);
}

} // namespace KELCTRL
