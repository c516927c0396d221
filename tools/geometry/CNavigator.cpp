#include "tools/geometry/CNavigator.h"

#include "imagewnd/CImageWnd.h"
#include "ui/DllCursor.h"
#include "ui/WinDefs.h"

#include <QGuiApplication>

namespace KELCTRL::IMGWND_TOOL {

CNavigator::CNavigator() {
    m_toolName = "navigator";
    m_eventMask = EVENTMASK_ZOOMCHANGED | EVENTMASK_SETCURSOR | EVENTMASK_CLICK | EVENTMASK_MOUSEWHEEL |
                  EVENTMASK_DRAG | EVENTMASK_RDRAG | EVENTMASK_KEYDOWN;
}

CImageWnd* CNavigator::Wnd() const {
    return dynamic_cast<CImageWnd*>(m_imageWnd);
}

bool CNavigator::ClickZoomsIn() const {
    const CImageWnd* wnd = Wnd();
    return wnd && wnd->HasImage() && wnd->GetZoomType() == ZOOM_TYPE_FIT && wnd->GetZoomValue() < 1.0;
}

void CNavigator::OnZoomChanged() {
    if (CImageWnd* wnd = Wnd())
        wnd->UpdateCursor();
}

int CNavigator::OnSetCursor(QPoint) {
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage())
        return 0;
    if (m_panning)
        wnd->m_cursor = LoadDllCursor(CURSOR_GRABBING);
    else if (ClickZoomsIn())
        wnd->m_cursor = LoadDllCursor(CURSOR_ZOOM_IN); // a click brings the point up to one to one
    else
        wnd->m_cursor = LoadDllCursor(CURSOR_ZOOM);
    return 1;
}

int CNavigator::OnClick(unsigned flags, QPoint point) {
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage())
        return 0;
    if (flags & MK_CONTROL) {
        if (wnd->GetZoomType() != ZOOM_TYPE_NOZOOM)
            wnd->SetZoom(ZOOM_TYPE_NOZOOM, nullptr, &point);
        return 1;
    }
    if (flags & MK_SHIFT) {
        if (wnd->GetZoomType() != ZOOM_TYPE_SCALE)
            wnd->SetZoom(ZOOM_TYPE_SCALE, &m_fixedScale, &point);
        return 1;
    }
    if (ClickZoomsIn())
        wnd->SetZoom(ZOOM_TYPE_NOZOOM, nullptr, &point);
    else
        wnd->SetZoom(ZOOM_TYPE_FIT, nullptr, nullptr);
    return 1;
}

int CNavigator::OnMouseWheel(unsigned flags, short delta, QPoint point) {
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage())
        return 0;
    if (flags & MK_CONTROL) {
        // One step per notch; a turn of direction starts the count afresh.
        if ((m_zoomWheelDelta > 0 && delta < 0) || (m_zoomWheelDelta < 0 && delta > 0))
            m_zoomWheelDelta = 0;
        m_zoomWheelDelta += delta;
        for (; m_zoomWheelDelta >= WHEEL_DELTA; m_zoomWheelDelta -= WHEEL_DELTA)
            wnd->Zoom(1, &point);
        for (; m_zoomWheelDelta <= -WHEEL_DELTA; m_zoomWheelDelta += WHEEL_DELTA)
            wnd->Zoom(0, &point);
        return 1;
    }
    // The view moves against the wheel: rolling forward (positive) shows what lies above.
    const int move = -delta * kStep / WHEEL_DELTA;
    const TPoint<int> pos = wnd->GetDispPos();
    if (flags & MK_SHIFT)
        wnd->SetDispPos(pos.x + move, pos.y);
    else
        wnd->SetDispPos(pos.x, pos.y + move);
    return 1;
}

bool CNavigator::StartPan(QPoint downPoint) {
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage())
        return false;
    m_panning = true;
    m_panLast = downPoint;
    return true;
}

void CNavigator::Pan(QPoint point) {
    CImageWnd* wnd = Wnd();
    if (!m_panning || !wnd)
        return;
    // Dragging moves the image with the pointer: the display position moves the other way.
    const QPoint d = point - m_panLast;
    m_panLast = point;
    const TPoint<int> pos = wnd->GetDispPos();
    wnd->SetDispPos(pos.x - d.x(), pos.y - d.y());
}

int CNavigator::OnStartDrag(unsigned, QPoint downPoint) {
    return StartPan(downPoint) ? 1 : 0;
}
void CNavigator::OnDragging(unsigned, QPoint point) {
    Pan(point);
}
void CNavigator::OnEndDrag(unsigned, QPoint point, int&) {
    Pan(point);
    m_panning = false;
}
int CNavigator::OnStartRDrag(unsigned, QPoint downPoint) {
    return StartPan(downPoint) ? 1 : 0;
}
void CNavigator::OnRDragging(unsigned, QPoint point) {
    Pan(point);
}
void CNavigator::OnEndRDrag(unsigned, QPoint point, int&) {
    Pan(point);
    m_panning = false;
}

int CNavigator::OnKeyDown(unsigned key, unsigned, unsigned) {
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage())
        return 0;
    switch (key) {
    case VK_OEM_MINUS:
    case VK_SUBTRACT:
        wnd->Zoom(0, nullptr);
        return 1;
    case VK_OEM_PLUS:
    case VK_ADD:
        wnd->Zoom(1, nullptr);
        return 1;
    default:
        break;
    }
    const int step = (QGuiApplication::keyboardModifiers() & Qt::ControlModifier) ? 1 : kStep;
    const TPoint<int> pos = wnd->GetDispPos();
    switch (key) {
    case VK_LEFT:
        return wnd->SetDispPos(pos.x - step, pos.y), 1;
    case VK_RIGHT:
        return wnd->SetDispPos(pos.x + step, pos.y), 1;
    case VK_UP:
        return wnd->SetDispPos(pos.x, pos.y - step), 1;
    case VK_DOWN:
        return wnd->SetDispPos(pos.x, pos.y + step), 1;
    default:
        return 0;
    }
}

} // namespace KELCTRL::IMGWND_TOOL
