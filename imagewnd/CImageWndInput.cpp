// Input of CImageWnd: buttons, drags, moves, wheel, cursor, keys and the loss of capture or focus,
// each turned into its walk of the tool stack.
#include "imagewnd/CImageWnd.h"

#include <algorithm>
#include <chrono>

namespace KELCTRL {

namespace {

int64_t TickCount() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

using Tool = IImageWndTool;

} // namespace

// --- left button ----------------------------------------------------------------------------

void CImageWnd::OnLButtonDown(unsigned flags, const QPoint& point) {
    m_lButtonDownTick = TickCount();
    CBaseWnd::OnLButtonDown(flags, point);
    setFocus(Qt::MouseFocusReason);
    if (PressTag(point))
        return;
    m_lButtonDown = true;
    m_dblClicked = false;
    m_downPoint = point;
    WalkFirstAccepting(Tool::EVENTMASK_LBUTTON, [&](Tool* t) { return t->OnLButtonDown(flags, point); });
}

void CImageWnd::OnLButtonUp(unsigned flags, const QPoint& point) {
    if (m_tagPressed) {
        m_tagPressed = false;
        UpdateCursor();
        return;
    }
    m_lButtonDown = false;
    StopAutoMove();
    if (m_dragging) {
        m_dragging = false;
        int releaseCapture = 1;
        if (m_dragOwner)
            m_dragOwner->OnEndDrag(flags, point, releaseCapture);
        EndDragCapture(releaseCapture);
    } else if (point == m_downPoint && !m_dblClicked) {
        // No tolerance: one pixel of movement is not a click.
        WalkFirstAccepting(Tool::EVENTMASK_CLICK, [&](Tool* t) { return t->OnClick(flags, point); });
        NotifyParentPoint(NM_IMGWND_CLICK, point);
    }
    // A tool sees OnEndDrag or OnClick before OnLButtonUp.
    WalkFirstAccepting(Tool::EVENTMASK_LBUTTON, [&](Tool* t) { return t->OnLButtonUp(flags, point); });
    UpdateCursor();
    m_dblClicked = false;
}

bool CImageWnd::PressTag(const QPoint& point) {
    const TAGINFO* tag = HitTestTag(point);
    // A release that never came (another window took the mouse) must not swallow this press's.
    m_tagPressed = tag != nullptr;
    if (!tag)
        return false;
    // The tag takes the press: the parent hears of it, the tools do not.
    NMIMGWND_CLICKTAG payload;
    payload.tagId = tag->id;
    NotifyParent(NM_IMGWND_CLICKTAG, payload.hdr);
    return true;
}

void CImageWnd::OnLButtonDblClk(unsigned flags, const QPoint& point) {
    CBaseWnd::OnLButtonDblClk(flags, point);
    // The second press of a double click on a tag is a press on the tag.
    if (PressTag(point))
        return;
    // Keeps the release that follows from counting as a click.
    m_dblClicked = true;
    int result = 0;
    WalkFirstWithBit(
        Tool::EVENTMASK_DBLCLICK, [&](Tool* t) { return t->OnDblClk(flags, point); }, result);
}

void CImageWnd::EndDragCapture(int releaseCapture) {
    if (!releaseCapture || (m_showingBefore && m_beforeByKey))
        return;
    if (GetCapture() == this)
        ReleaseCapture();
}

// --- right button ---------------------------------------------------------------------------

void CImageWnd::OnRButtonDown(unsigned flags, const QPoint& point) {
    m_rButtonDownTick = TickCount();
    CBaseWnd::OnRButtonDown(flags, point);
    m_tagPressed = false;
    m_downPoint = point;
    m_rButtonDown = true;
    int result = 0;
    WalkFirstWithBit(
        Tool::EVENTMASK_RBUTTON, [&](Tool* t) { return t->OnRButtonDown(flags, point); }, result);
}

void CImageWnd::OnRButtonUp(unsigned flags, const QPoint& point) {
    m_rButtonDown = false;
    StopAutoMove();
    int result = 0;
    if (m_rDragging) {
        m_rDragging = false;
        int releaseCapture = 1;
        if (m_dragOwner)
            m_dragOwner->OnEndRDrag(flags, point, releaseCapture);
        EndDragCapture(releaseCapture);
    } else if (point == m_downPoint) {
        WalkFirstWithBit(
            Tool::EVENTMASK_RCLICK, [&](Tool* t) { return t->OnRClick(flags, point); }, result);
        NotifyParentPoint(NM_IMGWND_RCLICK, point);
    }
    WalkFirstWithBit(
        Tool::EVENTMASK_RBUTTON, [&](Tool* t) { return t->OnRButtonUp(flags, point); }, result);
    UpdateCursor();
}

// --- moves ----------------------------------------------------------------------------------

void CImageWnd::OnMouseMove(unsigned flags, const QPoint& point) {
    CBaseWnd::OnMouseMove(flags, point);
    if (m_image && AnyAutoMoveTool())
        AutoMove(point);

    if (m_lButtonDown && !m_dragging && point != m_downPoint) {
        m_dragging = true;
        SetCapture();
        m_dragOwner = nullptr;
        const QPoint down = m_downPoint;
        m_dragOwner =
            WalkFirstAccepting(Tool::EVENTMASK_DRAG, [&](Tool* t) { return t->OnStartDrag(flags, down); });
    }
    // The right drag needs no movement; the difference to the left button is deliberate.
    if (m_rButtonDown && !m_rDragging) {
        m_rDragging = true;
        SetCapture();
        m_dragOwner = nullptr;
        const QPoint down = m_downPoint;
        int result = 0;
        Tool* tool = WalkFirstWithBit(
            Tool::EVENTMASK_RDRAG, [&](Tool* t) { return t->OnStartRDrag(flags, down); }, result);
        if (result)
            m_dragOwner = tool;
    }

    m_cursor.reset();
    if (!m_dragging && !m_rDragging && HitTestTag(point))
        m_cursor = QCursor(Qt::PointingHandCursor);
    else
        WalkFirstAccepting(Tool::EVENTMASK_SETCURSOR, [&](Tool* t) { return t->OnSetCursor(point); });
    if (!m_cursor)
        m_cursor = QCursor(Qt::ArrowCursor);
    setCursor(*m_cursor);

    if (m_dragging && m_dragOwner)
        m_dragOwner->OnDragging(flags, point);
    if (m_rDragging && m_dragOwner)
        m_dragOwner->OnRDragging(flags, point);
    WalkAll(Tool::EVENTMASK_MOUSEMOVE, [&](Tool* t) { t->OnMouseMove(flags, point); });
    NotifyParentPoint(NM_IMGWND_MOUSEMOVE, point);
}

void CImageWnd::OnMouseEnter(unsigned flags, const QPoint& point) {
    CBaseWnd::OnMouseEnter(flags, point);
    if (m_tagsVisible && HasActiveTags())
        Invalidate();
    WalkAll(Tool::EVENTMASK_MOUSEENTER, [&](Tool* t) { t->OnMouseEnter(flags, point); });
}

void CImageWnd::OnMouseLeave() {
    CBaseWnd::OnMouseLeave();
    if (m_tagsVisible && HasActiveTags())
        Invalidate();
    WalkAll(Tool::EVENTMASK_MOUSELEAVE, [](Tool* t) { t->OnMouseLeave(); });
}

int CImageWnd::OnMouseWheel(unsigned flags, short delta, const QPoint& point) {
    if (m_lButtonDown || m_rButtonDown)
        return 0;
    // Zooming by wheel is a tool's business, not the window's.
    WalkFirstAccepting(Tool::EVENTMASK_MOUSEWHEEL,
                       [&](Tool* t) { return t->OnMouseWheel(flags, delta, point); });
    return 1;
}

int CImageWnd::OnSetCursor(CBaseWnd* wnd, unsigned hitTest, unsigned message) {
    // During a mouse move the move handler chooses the cursor itself.
    if (message == WM_MOUSEMOVE)
        return 1;
    const QPoint point = GetCursorClientPos();
    m_cursor.reset();
    if (!m_dragging && !m_rDragging && HitTestTag(point))
        m_cursor = QCursor(Qt::PointingHandCursor);
    else
        WalkFirstAccepting(Tool::EVENTMASK_SETCURSOR, [&](Tool* t) { return t->OnSetCursor(point); });
    if (m_cursor) {
        setCursor(*m_cursor);
        return 1;
    }
    return CBaseWnd::OnSetCursor(wnd, hitTest, message);
}

// --- auto-move ------------------------------------------------------------------------------

void CImageWnd::AutoMove(const QPoint& point) {
    KillTimer(TIMER_AUTOMOVE);
    m_autoMoveStep = TPoint<int>();
    const int width = GetClientWidth();
    const int height = GetClientHeight();
    int stepX = 0;
    int stepY = 0;
    if (point.x() < 0)
        stepX = std::max(point.x(), -AUTOMOVE_MAX_DISTANCE);
    else if (point.x() >= width)
        stepX = std::min(point.x() - width + 1, AUTOMOVE_MAX_DISTANCE);
    if (point.y() < 0)
        stepY = std::max(point.y(), -AUTOMOVE_MAX_DISTANCE);
    else if (point.y() >= height)
        stepY = std::min(point.y() - height + 1, AUTOMOVE_MAX_DISTANCE);
    // Integer halves truncate toward zero: right at the edge the step is 0 though the timer runs.
    m_autoMoveStep = TPoint<int>(stepX / 2, stepY / 2);
    const bool outside = point.x() < 0 || point.x() >= width || point.y() < 0 || point.y() >= height;
    if (outside) {
        SetDispPos(m_dispPos.x + m_autoMoveStep.x, m_dispPos.y + m_autoMoveStep.y);
        SetTimer(TIMER_AUTOMOVE, TIMER_AUTOMOVE_INTERVAL);
    }
}

bool CImageWnd::StepAutoMove() {
    const TPoint<int> before = m_dispPos;
    SetDispPos(before.x + m_autoMoveStep.x, before.y + m_autoMoveStep.y);
    return !(m_dispPos == before);
}

void CImageWnd::OnAutoMoveTimer() {
    // At the edge of the scroll range every further step would only restart the processing delay.
    if ((m_autoMoveStep.x == 0 && m_autoMoveStep.y == 0) || !StepAutoMove())
        StopAutoMove();
}

void CImageWnd::StopAutoMove() {
    KillTimer(TIMER_AUTOMOVE);
    m_autoMoveStep = TPoint<int>();
}

// --- keys -----------------------------------------------------------------------------------

void CImageWnd::OnKeyDown(unsigned key, unsigned repeat, unsigned flags) {
    if (m_lButtonDown || m_rButtonDown || m_adjusting)
        return;
    if ((key == VK_CONTROL || key == VK_SHIFT || key == VK_MENU) && (flags & KF_REPEAT))
        return;
    if (key == VK_SPACE && !m_showingBefore) {
        // Space holds the before view; no tool hears of it.
        if (m_image && m_beforeImage) {
            m_beforeByKey = true;
            ShowBeforeImage(1);
        }
        return;
    }
    // The auto-repeated presses of a held Space keep the view as it is.
    if (key == VK_SPACE && m_beforeByKey)
        return;
    WalkFirstAccepting(Tool::EVENTMASK_KEYDOWN, [&](Tool* t) { return t->OnKeyDown(key, repeat, flags); });
}

void CImageWnd::OnKeyUp(unsigned key, unsigned repeat, unsigned flags) {
    if (m_lButtonDown || m_rButtonDown)
        return;
    if (key == VK_SPACE && m_showingBefore) {
        ShowBeforeImage(0);
        return;
    }
    int result = 0;
    WalkFirstWithBit(
        Tool::EVENTMASK_KEYUP, [&](Tool* t) { return t->OnKeyUp(key, repeat, flags); }, result);
}

void CImageWnd::OnSysKeyDown(unsigned key, unsigned repeat, unsigned flags) {
    if (m_lButtonDown || m_rButtonDown)
        return;
    int result = 0;
    WalkFirstWithBit(
        Tool::EVENTMASK_SYSKEYDOWN, [&](Tool* t) { return t->OnSysKeyDown(key, repeat, flags); }, result);
    UpdateCursor();
}

void CImageWnd::OnSysKeyUp(unsigned key, unsigned repeat, unsigned flags) {
    if (m_lButtonDown || m_rButtonDown)
        return;
    int result = 0;
    WalkFirstWithBit(
        Tool::EVENTMASK_SYSKEYUP, [&](Tool* t) { return t->OnSysKeyUp(key, repeat, flags); }, result);
    UpdateCursor();
}

// --- capture and focus ----------------------------------------------------------------------

void CImageWnd::OnCaptureChanged(CBaseWnd* newOwner) {
    CBaseWnd::OnCaptureChanged(newOwner);
    if (newOwner != this)
        OnCaptureLost(newOwner);
}

void CImageWnd::OnKillFocus(QWidget* newFocus) {
    // With the capture, releasing it lands in OnCaptureChanged; without, the same steps run here.
    if (GetCapture() == this)
        ReleaseCapture();
    else
        OnCaptureLost(dynamic_cast<CBaseWnd*>(newFocus));
}

void CImageWnd::OnCaptureLost(CBaseWnd* newOwner) {
    const QPoint point = GetCursorClientPos();
    // The reverse of the normal order: the button goes up before the drag ends.
    if (m_lButtonDown)
        WalkFirstAccepting(Tool::EVENTMASK_LBUTTON,
                           [&](Tool* t) { return t->OnLButtonUp(MK_LBUTTON, point); });
    if (m_rButtonDown)
        WalkFirstAccepting(Tool::EVENTMASK_RBUTTON,
                           [&](Tool* t) { return t->OnRButtonUp(MK_RBUTTON, point); });
    m_lButtonDown = false;
    m_rButtonDown = false;
    m_tagPressed = false;
    StopAutoMove();
    if (m_showingBefore)
        ShowBeforeImage(0);
    int releaseCapture = 1; // has no effect here: the capture is already gone
    if (m_dragging) {
        m_dragging = false;
        if (m_dragOwner)
            m_dragOwner->OnEndDrag(0, point, releaseCapture);
    } else if (m_rDragging) {
        m_rDragging = false;
        if (m_dragOwner)
            m_dragOwner->OnEndRDrag(0, point, releaseCapture);
    }
    WalkAll(Tool::EVENTMASK_CAPTURECHANGED, [&](Tool* t) { t->OnCaptureChanged(newOwner); });
}

} // namespace KELCTRL
