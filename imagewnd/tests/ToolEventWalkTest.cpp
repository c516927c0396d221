// Guards the event walks driven by real Qt input: mask filtering, stop rules, click and double-click
// logic, the left and right drag state machines, capture loss, wheel, cursor, keys and timers, and
// the notifications to the parent.
#include "CanvasTestSupport.h"

#include <QFocusEvent>

using namespace kel_canvas_test;
using kel_qt_test::PumpUntil;
using kel_qt_test::SendKey;
using Tool = IImageWndTool;

namespace {

class ToolWalk : public CanvasFixture {};

constexpr uint32_t kMouse = Tool::EVENTMASK_LBUTTON | Tool::EVENTMASK_CLICK | Tool::EVENTMASK_DBLCLICK |
                            Tool::EVENTMASK_RBUTTON | Tool::EVENTMASK_RCLICK | Tool::EVENTMASK_DRAG |
                            Tool::EVENTMASK_RDRAG;

} // namespace

TEST_F(ToolWalk, ToolsHearOnlyWhatTheirMaskAsksFor) {
    RecordingTool& all = LoadNew("all", Tool::EVENTMASK_ALL);
    RecordingTool& clicks = LoadNew("clicks", Tool::EVENTMASK_CLICK);
    (void)all;
    (void)clicks;
    log.Clear();
    mouse.Press(QPoint(40, 40));
    mouse.Release(QPoint(40, 40));
    for (const auto& entry : log.entries) {
        if (entry.text.rfind("clicks.", 0) == 0) {
            EXPECT_EQ(entry.text, "clicks.OnClick");
        }
    }
    EXPECT_EQ(log.Count("clicks.OnClick"), 1u);
    EXPECT_EQ(log.Count("all.OnClick"), 1u);
    EXPECT_EQ(log.Count("all.OnLButtonDown"), 1u);
}

TEST_F(ToolWalk, FirstAcceptingWalkStopsAndFirstWithBitCallsOnlyOne) {
    RecordingTool& back = LoadNew("back", kMouse);
    RecordingTool& front = LoadNew("front", kMouse);
    (void)back;
    front.answers["OnLButtonDown"] = 1;
    log.Clear();
    mouse.Press(QPoint(40, 40));
    EXPECT_EQ(log.Only({"OnLButtonDown"}), (Texts{"front.OnLButtonDown"}));
    mouse.Release(QPoint(40, 40));
    EXPECT_EQ(log.Only({"OnLButtonUp"}), (Texts{"front.OnLButtonUp", "back.OnLButtonUp"}))
        << "front declined the release, so it goes on";

    // The right button goes to the first tool with the bit, whatever it answers.
    log.Clear();
    mouse.Press(QPoint(50, 50), Qt::RightButton);
    mouse.Release(QPoint(50, 50), Qt::RightButton);
    EXPECT_EQ(log.Only({"OnRButtonDown", "OnRClick", "OnRButtonUp"}),
              (Texts{"front.OnRButtonDown", "front.OnRClick", "front.OnRButtonUp"}));
}

TEST_F(ToolWalk, ClickComesBeforeButtonUpAndIsReportedToTheParent) {
    LoadNew("T", kMouse);
    log.Clear();
    mouse.Press(QPoint(40, 41));
    mouse.Release(QPoint(40, 41));
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnClick", "OnLButtonUp", "NM 114"}),
              (Texts{"T.OnLButtonDown", "T.OnClick", "parent.NM 114", "T.OnLButtonUp"}));
    EXPECT_EQ(log.Find("parent.NM 114")->point, QPoint(40, 41));
    EXPECT_EQ(log.Find("T.OnLButtonDown")->flags & MK_LBUTTON, MK_LBUTTON);

    // One pixel of movement is no click; it is a drag.
    log.Clear();
    mouse.Press(QPoint(40, 41));
    mouse.Release(QPoint(41, 41));
    EXPECT_EQ(log.Count("T.OnClick"), 0u);
    EXPECT_EQ(log.Count("parent.NM 114"), 0u);
}

TEST_F(ToolWalk, DoubleClickGivesOnDblClkAndNoSecondClick) {
    LoadNew("T", kMouse);
    log.Clear();
    const QPoint p(60, 60);
    mouse.Press(p);
    mouse.Release(p);
    mouse.Press(p, Qt::LeftButton, {}, true);
    mouse.QtDoubleClick(p);
    mouse.Release(p);
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnClick", "OnDblClk", "OnLButtonUp"}),
              (Texts{"T.OnLButtonDown", "T.OnClick", "T.OnLButtonUp", "T.OnDblClk", "T.OnLButtonUp"}));
    EXPECT_EQ(log.Count("parent.NM 114"), 1u);

    // The next single click counts again.
    log.Clear();
    mouse.Press(p);
    mouse.Release(p);
    EXPECT_EQ(log.Count("T.OnClick"), 1u);
}

TEST_F(ToolWalk, LeftDragNeedsMovementAndStartsAtTheDownPoint) {
    RecordingTool& back = LoadNew("back", kMouse);
    RecordingTool& owner = LoadNew("owner", kMouse);
    (void)back;
    owner.answers["OnStartDrag"] = 1;
    log.Clear();
    mouse.Press(QPoint(30, 30));
    mouse.Move(QPoint(30, 30));
    EXPECT_EQ(log.Count("owner.OnStartDrag"), 0u) << "no movement, no drag";
    EXPECT_EQ(wnd.IsDragging(), 0);
    mouse.Move(QPoint(35, 32));
    ASSERT_EQ(log.Only({"OnStartDrag"}), (Texts{"owner.OnStartDrag"})) << "first accepting only";
    EXPECT_EQ(log.Find("owner.OnStartDrag")->point, QPoint(30, 30)) << "the down point, not the current one";
    EXPECT_EQ(wnd.GetDragOwner(), &owner);
    EXPECT_EQ(CBaseWnd::GetCapture(), &wnd);
    mouse.Move(QPoint(50, 40));
    EXPECT_EQ(log.Only({"OnDragging"}), (Texts{"owner.OnDragging", "owner.OnDragging"}));

    log.Clear();
    mouse.Release(QPoint(50, 40));
    EXPECT_EQ(log.Only({"OnEndDrag", "OnClick", "OnLButtonUp"}),
              (Texts{"owner.OnEndDrag", "owner.OnLButtonUp", "back.OnLButtonUp"}));
    EXPECT_EQ(CBaseWnd::GetCapture(), nullptr) << "the capture goes with the drag";
}

TEST_F(ToolWalk, OnEndDragCanKeepTheCapture) {
    RecordingTool& owner = LoadNew("owner", kMouse);
    owner.answers["OnStartDrag"] = 1;
    owner.releaseCaptureOnEnd = 0;
    mouse.Press(QPoint(30, 30));
    mouse.Move(QPoint(60, 30));
    mouse.Release(QPoint(60, 30));
    EXPECT_EQ(log.Count("owner.OnEndDrag"), 1u);
    EXPECT_EQ(CBaseWnd::GetCapture(), &wnd);
}

TEST_F(ToolWalk, RightDragStartsWithoutMovement) {
    RecordingTool& back = LoadNew("back", kMouse);
    RecordingTool& front = LoadNew("front", kMouse);
    (void)back;
    front.answers["OnStartRDrag"] = 1;
    log.Clear();
    mouse.Press(QPoint(30, 30), Qt::RightButton);
    mouse.Move(QPoint(30, 30));
    ASSERT_EQ(log.Only({"OnStartRDrag"}), (Texts{"front.OnStartRDrag"}));
    EXPECT_EQ(log.Find("front.OnStartRDrag")->point, QPoint(30, 30));
    EXPECT_EQ(wnd.GetDragOwner(), &front);
    EXPECT_EQ(log.Count("front.OnRDragging"), 1u);
    log.Clear();
    mouse.Release(QPoint(30, 30), Qt::RightButton);
    EXPECT_EQ(log.Only({"OnEndRDrag", "OnRClick", "OnRButtonUp", "NM 115"}),
              (Texts{"front.OnEndRDrag", "front.OnRButtonUp"}))
        << "a right drag, even without movement, is no right click";
}

TEST_F(ToolWalk, RightDragDeclinedByTheFirstToolHasNoOwner) {
    RecordingTool& back = LoadNew("back", kMouse);
    LoadNew("front", kMouse);
    back.answers["OnStartRDrag"] = 1; // never asked: only the first tool with the bit is
    mouse.Press(QPoint(30, 30), Qt::RightButton);
    mouse.Move(QPoint(40, 30));
    EXPECT_EQ(log.Only({"OnStartRDrag"}), (Texts{"front.OnStartRDrag"}));
    EXPECT_EQ(wnd.GetDragOwner(), nullptr);
    EXPECT_EQ(log.Only({"OnRDragging"}).size(), 0u);
    EXPECT_EQ(wnd.IsRDragging(), 1);
}

TEST_F(ToolWalk, RightClickIsReportedToTheParent) {
    LoadNew("T", kMouse);
    log.Clear();
    mouse.Press(QPoint(70, 20), Qt::RightButton);
    mouse.Release(QPoint(70, 20), Qt::RightButton);
    EXPECT_EQ(log.Only({"OnRButtonDown", "OnRClick", "OnRButtonUp", "NM 115"}),
              (Texts{"T.OnRButtonDown", "T.OnRClick", "parent.NM 115", "T.OnRButtonUp"}));
    EXPECT_EQ(log.Find("parent.NM 115")->point, QPoint(70, 20));
}

TEST_F(ToolWalk, CaptureLostDuringLeftDragGivesButtonUpBeforeEndDrag) {
    RecordingTool& owner = LoadNew("owner", kMouse | Tool::EVENTMASK_CAPTURECHANGED);
    owner.answers["OnStartDrag"] = 1;
    mouse.Press(QPoint(30, 30));
    mouse.Move(QPoint(60, 30));
    ASSERT_EQ(CBaseWnd::GetCapture(), &wnd);
    log.Clear();

    CBaseWnd thief;
    thief.Create(nullptr, QRect(0, 0, 20, 20), 9, 0);
    thief.SetCapture();
    EXPECT_EQ(log.Only({"OnLButtonUp", "OnEndDrag", "OnCaptureChanged"}),
              (Texts{"owner.OnLButtonUp", "owner.OnEndDrag", "owner.OnCaptureChanged"}));
    EXPECT_EQ(log.Find("owner.OnLButtonUp")->flags, MK_LBUTTON);
    EXPECT_EQ(log.Find("owner.OnEndDrag")->flags, 0u);
    EXPECT_EQ(wnd.IsDragging(), 0);

    // The release that may still come is a plain release: no second drag end, no click.
    log.Clear();
    mouse.Release(QPoint(60, 30));
    EXPECT_EQ(log.Count("owner.OnEndDrag"), 0u);
    EXPECT_EQ(log.Count("owner.OnClick"), 0u);
}

TEST_F(ToolWalk, FocusLossEndsARightDragAndWithoutCaptureStillTellsTheTools) {
    RecordingTool& owner = LoadNew("owner", kMouse | Tool::EVENTMASK_CAPTURECHANGED);
    owner.answers["OnStartRDrag"] = 1;
    mouse.Press(QPoint(30, 30), Qt::RightButton);
    mouse.Move(QPoint(30, 30));
    log.Clear();
    QFocusEvent focusOut(QEvent::FocusOut, Qt::OtherFocusReason);
    QApplication::sendEvent(&wnd, &focusOut);
    EXPECT_EQ(log.Only({"OnRButtonUp", "OnEndRDrag", "OnCaptureChanged"}),
              (Texts{"owner.OnRButtonUp", "owner.OnEndRDrag", "owner.OnCaptureChanged"}));
    EXPECT_EQ(log.Find("owner.OnRButtonUp")->flags, MK_RBUTTON);
    EXPECT_EQ(CBaseWnd::GetCapture(), nullptr);

    // Without the capture the same steps run directly.
    log.Clear();
    mouse.Press(QPoint(30, 30));
    QApplication::sendEvent(&wnd, &focusOut);
    EXPECT_EQ(log.Only({"OnLButtonUp", "OnCaptureChanged"}),
              (Texts{"owner.OnLButtonUp", "owner.OnCaptureChanged"}));
}

TEST_F(ToolWalk, WheelGoesToTheFirstAcceptingToolUnlessAButtonIsDown) {
    RecordingTool& back = LoadNew("back", Tool::EVENTMASK_MOUSEWHEEL | Tool::EVENTMASK_LBUTTON);
    RecordingTool& front = LoadNew("front", Tool::EVENTMASK_MOUSEWHEEL);
    back.answers["OnMouseWheel"] = 1;
    log.Clear();
    EXPECT_TRUE(mouse.Wheel(QPoint(10, 10), -120));
    EXPECT_EQ(log.Only({"OnMouseWheel"}), (Texts{"front.OnMouseWheel", "back.OnMouseWheel"}));
    EXPECT_EQ(back.m_lastDelta, -120);
    EXPECT_EQ(front.m_lastDelta, -120);

    log.Clear();
    mouse.Press(QPoint(10, 10));
    EXPECT_FALSE(mouse.Wheel(QPoint(10, 10), 240)) << "not handled while a button is down";
    EXPECT_EQ(log.Count("front.OnMouseWheel"), 0u);
    mouse.Release(QPoint(10, 10));
}

TEST_F(ToolWalk, MoveOrderEndsWithTheParentNotification) {
    RecordingTool& t = LoadNew("T", Tool::EVENTMASK_MOUSEMOVE | Tool::EVENTMASK_SETCURSOR |
                                        Tool::EVENTMASK_MOUSEENTER | Tool::EVENTMASK_MOUSELEAVE);
    t.answers["OnSetCursor"] = 1;
    log.Clear();
    mouse.Move(QPoint(15, 25));
    EXPECT_EQ(log.Texts(), (Texts{"T.OnMouseEnter", "T.OnSetCursor", "T.OnMouseMove", "parent.NM 116"}));
    EXPECT_EQ(log.Find("parent.NM 116")->point, QPoint(15, 25));
    EXPECT_EQ(wnd.cursor().shape(), Qt::CrossCursor);

    t.answers["OnSetCursor"] = 0;
    mouse.Move(QPoint(16, 25));
    EXPECT_EQ(wnd.cursor().shape(), Qt::ArrowCursor) << "nobody chose: the arrow";
    log.Clear();
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&wnd, &leave);
    EXPECT_EQ(log.Texts(), (Texts{"T.OnMouseLeave"}));
}

TEST_F(ToolWalk, KeysWalkByTheirRulesAndSpaceIsTheWindows) {
    RecordingTool& back =
        LoadNew("back", Tool::EVENTMASK_KEYDOWN | Tool::EVENTMASK_KEYUP | Tool::EVENTMASK_SYSKEYDOWN);
    LoadNew("front", Tool::EVENTMASK_KEYDOWN | Tool::EVENTMASK_KEYUP | Tool::EVENTMASK_SYSKEYDOWN |
                         Tool::EVENTMASK_LBUTTON);
    back.answers["OnKeyDown"] = 1;
    log.Clear();
    SendKey(wnd, QEvent::KeyPress, Qt::Key_B);
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_B);
    SendKey(wnd, QEvent::KeyPress, Qt::Key_F, Qt::AltModifier);
    EXPECT_EQ(log.Texts(),
              (Texts{"front.OnKeyDown", "back.OnKeyDown", "front.OnKeyUp", "front.OnSysKeyDown"}));
    EXPECT_EQ(log.Find("front.OnKeyDown")->point.x(), int('B'));

    log.Clear();
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier, true); // auto-repeated modifier
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Space);         // no before-image: still the window's
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_A, {}, true); // auto-repeat release
    EXPECT_TRUE(log.Texts().empty());
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier, false);
    EXPECT_EQ(log.Count("front.OnKeyDown"), 1u);

    log.Clear();
    mouse.Press(QPoint(5, 5));
    SendKey(wnd, QEvent::KeyPress, Qt::Key_C);
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_C);
    EXPECT_EQ(log.Only({"OnKeyDown", "OnKeyUp"}).size(), 0u) << "keys are ignored while a button is down";
    mouse.Release(QPoint(5, 5));
}

TEST_F(ToolWalk, ToolTimersReachToolsAndTheWindowsOwnTimersDoNot) {
    RecordingTool& t = LoadNew("T", Tool::EVENTMASK_TIMER);
    t.answers["OnTimer"] = 1;
    wnd.SetTimer(7, 1);
    ASSERT_TRUE(PumpUntil([&] { return log.Count("T.OnTimer") >= 1; }));
    EXPECT_EQ(log.Find("T.OnTimer")->flags, 7u);
    wnd.KillTimer(7);

    log.Clear();
    wnd.SetTimer(CImageWnd::TIMER_PROCESSIMAGE, 1);
    ASSERT_TRUE(PumpUntil([&] { return !wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE); }));
    EXPECT_EQ(log.Count("T.OnTimer"), 0u);
}

TEST_F(ToolWalk, WithoutAnImageNoToolHearsInput) {
    LoadNew("T", Tool::EVENTMASK_ALL);
    wnd.Clear(1);
    log.Clear();
    mouse.Press(QPoint(40, 40));
    mouse.Release(QPoint(40, 40));
    SendKey(wnd, QEvent::KeyPress, Qt::Key_B);
    for (const auto& entry : log.entries)
        EXPECT_EQ(entry.text.rfind("T.", 0), std::string::npos) << entry.text;
    EXPECT_EQ(log.Count("parent.NM 114"), 1u) << "the parent still hears the click";
}
