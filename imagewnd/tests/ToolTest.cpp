// Guards the tool stack and its event walks under real Qt input: load order, replacement by name,
// walks that skip or repeat a tool when a handler loads or unloads one, stop rules, clicks, drags,
// capture loss, wheel, cursor, keys, timers and the notifications to the parent and the panels.
#include "CanvasTestSupport.h"

using namespace kel_canvas_test;
using kel_qt_test::SendKey;
using std::tuple;

namespace {

constexpr uint32_t kMouse = Tool::EVENTMASK_LBUTTON | Tool::EVENTMASK_CLICK | Tool::EVENTMASK_DBLCLICK |
                            Tool::EVENTMASK_RBUTTON | Tool::EVENTMASK_RCLICK | Tool::EVENTMASK_DRAG |
                            Tool::EVENTMASK_RDRAG;

class Tools : public Canvas {
protected:
    void SetUp() override {
        Canvas::SetUp();
        Show(200, 150, 1);
    }
    void Click(QPoint p, Qt::MouseButton b = Qt::LeftButton) {
        mouse.Press(p, b);
        mouse.Release(p, b);
    }
};

TEST_F(Tools, NewestIsFirstMasksFilterAndTheFirstAcceptingStopsTheWalk) {
    RecordingTool& a = LoadNew("A", kMouse);
    RecordingTool& clicks = LoadNew("clicks", Tool::EVENTMASK_CLICK);
    RecordingTool& c = LoadNew("C", kMouse);
    wnd.LoadTool(&a);
    // A repeated load moves nothing to the front.
    EXPECT_EQ(tuple(log.Count("A.OnLoad"), wnd.FindTool(&c), wnd.FindTool(&clicks), wnd.FindTool(&a),
                    wnd.FindTool(&AddTool("X", 0)), wnd.FindTool(nullptr), a.GetImageWnd()),
              tuple(1u, 0, 1, 2, -1, -1, &wnd));
    log.Clear();
    Click(QPoint(40, 41));
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnClick", "OnLButtonUp", "NM 114"}),
              (Texts{"C.OnLButtonDown", "A.OnLButtonDown", "C.OnClick", "clicks.OnClick", "A.OnClick",
                     "parent.NM 114", "C.OnLButtonUp", "A.OnLButtonUp"}))
        << "declining tools pass every event on; the click comes before the button up";
    EXPECT_EQ(tuple(log.Find("parent.NM 114")->point, log.Find("C.OnLButtonDown")->flags & MK_LBUTTON),
              tuple(QPoint(40, 41), unsigned(MK_LBUTTON)));
    c.answers["OnLButtonDown"] = 1;
    log.Clear();
    mouse.Press(QPoint(40, 40));
    mouse.Release(QPoint(41, 40)); // one pixel of movement is no click but a drag
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnClick", "NM 114"}), (Texts{"C.OnLButtonDown"}));
    // The right button goes to the first tool with the bit, whatever it answers.
    log.Clear();
    Click(QPoint(70, 20), Qt::RightButton);
    EXPECT_EQ(log.Only({"OnRButtonDown", "OnRClick", "OnRButtonUp", "NM 115"}),
              (Texts{"C.OnRButtonDown", "C.OnRClick", "parent.NM 115", "C.OnRButtonUp"}));
    EXPECT_EQ(log.Find("parent.NM 115")->point, QPoint(70, 20));
}

TEST_F(Tools, DoubleClickGivesOnDblClkAndNoSecondClick) {
    LoadNew("T", kMouse);
    log.Clear();
    const QPoint p(60, 60);
    Click(p);
    mouse.Press(p, Qt::LeftButton, {}, true);
    mouse.QtDoubleClick(p);
    mouse.Release(p);
    EXPECT_EQ(log.Only({"OnLButtonDown", "OnClick", "OnDblClk", "OnLButtonUp"}),
              (Texts{"T.OnLButtonDown", "T.OnClick", "T.OnLButtonUp", "T.OnDblClk", "T.OnLButtonUp"}));
    EXPECT_EQ(log.Count("parent.NM 114"), 1u);
    log.Clear();
    Click(p);
    EXPECT_EQ(log.Count("T.OnClick"), 1u) << "the next single click counts again";
}

TEST_F(Tools, LeftDragNeedsMovementStartsAtTheDownPointAndMayKeepTheCapture) {
    LoadNew("back", kMouse);
    RecordingTool& owner = LoadNew("owner", kMouse);
    owner.answers["OnStartDrag"] = 1;
    log.Clear();
    mouse.Press(QPoint(30, 30));
    mouse.Move(QPoint(30, 30));
    EXPECT_EQ(wnd.IsDragging(), 0) << "no movement, no drag";
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
    owner.releaseCaptureOnEnd = 0;
    mouse.Press(QPoint(30, 30));
    mouse.Move(QPoint(60, 30));
    mouse.Release(QPoint(60, 30));
    EXPECT_EQ(CBaseWnd::GetCapture(), &wnd) << "OnEndDrag kept it";
}

TEST_F(Tools, RightDragStartsWithoutMovementAndOnlyTheFirstToolWithTheBitMayOwnIt) {
    RecordingTool& back = LoadNew("back", kMouse);
    RecordingTool& front = LoadNew("front", kMouse);
    back.answers["OnStartRDrag"] = 1; // never asked: only the first tool with the bit is
    mouse.Press(QPoint(30, 30), Qt::RightButton);
    mouse.Move(QPoint(40, 30));
    EXPECT_EQ(log.Only({"OnStartRDrag", "OnRDragging"}), (Texts{"front.OnStartRDrag"}));
    EXPECT_EQ(wnd.GetDragOwner(), nullptr);
    EXPECT_EQ(wnd.IsRDragging(), 1);
    mouse.Release(QPoint(40, 30), Qt::RightButton);
    front.answers["OnStartRDrag"] = 1;
    log.Clear();
    mouse.Press(QPoint(30, 30), Qt::RightButton);
    mouse.Move(QPoint(30, 30));
    EXPECT_EQ(log.Only({"OnStartRDrag", "OnRDragging"}), (Texts{"front.OnStartRDrag", "front.OnRDragging"}));
    EXPECT_EQ(log.Find("front.OnStartRDrag")->point, QPoint(30, 30));
    EXPECT_EQ(wnd.GetDragOwner(), &front);
    log.Clear();
    mouse.Release(QPoint(30, 30), Qt::RightButton);
    EXPECT_EQ(log.Only({"OnEndRDrag", "OnRClick", "OnRButtonUp", "NM 115"}),
              (Texts{"front.OnEndRDrag", "front.OnRButtonUp"}))
        << "a right drag, even without movement, is no right click";
}

TEST_F(Tools, CaptureOrFocusLossEndsADragWithTheButtonUpFirst) {
    RecordingTool& owner = LoadNew("owner", kMouse | Tool::EVENTMASK_CAPTURECHANGED);
    owner.answers["OnStartDrag"] = 1;
    owner.answers["OnStartRDrag"] = 1;
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
    log.Clear();
    mouse.Release(QPoint(60, 30));
    EXPECT_EQ(log.Only({"OnEndDrag", "OnClick"}), Texts{}) << "the late release is a plain release";
    mouse.Press(QPoint(30, 30), Qt::RightButton);
    mouse.Move(QPoint(30, 30));
    log.Clear();
    FocusOut();
    EXPECT_EQ(log.Only({"OnRButtonUp", "OnEndRDrag", "OnCaptureChanged"}),
              (Texts{"owner.OnRButtonUp", "owner.OnEndRDrag", "owner.OnCaptureChanged"}));
    EXPECT_EQ(log.Find("owner.OnRButtonUp")->flags, MK_RBUTTON);
    EXPECT_EQ(CBaseWnd::GetCapture(), nullptr);
    // Without the capture the same steps run directly.
    log.Clear();
    mouse.Press(QPoint(30, 30));
    FocusOut();
    EXPECT_EQ(log.Only({"OnLButtonUp", "OnCaptureChanged"}),
              (Texts{"owner.OnLButtonUp", "owner.OnCaptureChanged"}));
}

TEST_F(Tools, WheelMovesCursorAndLeaveWalkByTheirRules) {
    RecordingTool& back = LoadNew("back", Tool::EVENTMASK_MOUSEWHEEL | Tool::EVENTMASK_LBUTTON);
    RecordingTool& front =
        LoadNew("front", Tool::EVENTMASK_MOUSEWHEEL | Tool::EVENTMASK_MOUSEMOVE | Tool::EVENTMASK_SETCURSOR |
                             Tool::EVENTMASK_MOUSEENTER | Tool::EVENTMASK_MOUSELEAVE);
    back.answers["OnMouseWheel"] = 1;
    front.answers["OnSetCursor"] = 1;
    log.Clear();
    EXPECT_TRUE(mouse.Wheel(QPoint(10, 10), -120));
    EXPECT_EQ(log.Only({"OnMouseWheel"}), (Texts{"front.OnMouseWheel", "back.OnMouseWheel"}));
    EXPECT_EQ(back.lastDelta, -120);
    mouse.Press(QPoint(10, 10));
    log.Clear();
    EXPECT_FALSE(mouse.Wheel(QPoint(10, 10), 240)) << "not handled while a button is down";
    EXPECT_EQ(log.Only({"OnMouseWheel"}), Texts{});
    mouse.Release(QPoint(10, 10));
    Leave();
    log.Clear();
    mouse.Move(QPoint(15, 25));
    EXPECT_EQ(log.Only(),
              (Texts{"front.OnMouseEnter", "front.OnSetCursor", "front.OnMouseMove", "parent.NM 116"}));
    EXPECT_EQ(log.Find("parent.NM 116")->point, QPoint(15, 25));
    EXPECT_EQ(wnd.cursor().shape(), Qt::CrossCursor);
    front.answers["OnSetCursor"] = 0;
    mouse.Move(QPoint(16, 25));
    EXPECT_EQ(wnd.cursor().shape(), Qt::ArrowCursor) << "nobody chose: the arrow";
    log.Clear();
    Leave();
    EXPECT_EQ(log.Only(), (Texts{"front.OnMouseLeave"}));
}

TEST_F(Tools, KeysWalkByTheirRulesAndSpaceIsTheWindows) {
    const uint32_t keys = Tool::EVENTMASK_KEYDOWN | Tool::EVENTMASK_KEYUP | Tool::EVENTMASK_SYSKEYDOWN;
    LoadNew("back", keys).answers["OnKeyDown"] = 1;
    LoadNew("front", keys | Tool::EVENTMASK_LBUTTON);
    log.Clear();
    SendKey(wnd, QEvent::KeyPress, Qt::Key_B);
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_B);
    SendKey(wnd, QEvent::KeyPress, Qt::Key_F, Qt::AltModifier);
    EXPECT_EQ(log.Only(),
              (Texts{"front.OnKeyDown", "back.OnKeyDown", "front.OnKeyUp", "front.OnSysKeyDown"}));
    EXPECT_EQ(log.Find("front.OnKeyDown")->point.x(), int('B'));
    log.Clear();
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier, true); // auto-repeated modifier
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Space);         // no before-image: still the window's
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_A, {}, true); // auto-repeat release
    EXPECT_EQ(log.Only(), Texts{});
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier, false);
    EXPECT_EQ(log.Count("front.OnKeyDown"), 1u);
    log.Clear();
    mouse.Press(QPoint(5, 5));
    SendKey(wnd, QEvent::KeyPress, Qt::Key_C);
    SendKey(wnd, QEvent::KeyRelease, Qt::Key_C);
    EXPECT_EQ(log.Only({"OnKeyDown", "OnKeyUp"}), Texts{}) << "keys are ignored while a button is down";
    mouse.Release(QPoint(5, 5));
}

TEST_F(Tools, ToolTimersReachToolsAndTheWindowsOwnTimersDoNot) {
    LoadNew("T", Tool::EVENTMASK_TIMER).answers["OnTimer"] = 1;
    wnd.SetTimer(7, 1);
    ASSERT_TRUE(PumpUntil([&] { return log.Count("T.OnTimer") >= 1; }));
    EXPECT_EQ(log.Find("T.OnTimer")->flags, 7u);
    wnd.KillTimer(7);
    log.Clear();
    wnd.SetTimer(CImageWnd::TIMER_PROCESSIMAGE, 1);
    ASSERT_TRUE(PumpUntil([&] { return !wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE); }));
    EXPECT_EQ(log.Count("T.OnTimer"), 0u);
}

TEST_F(Tools, WithoutAnImageNoToolHearsInputButTheParentDoes) {
    LoadNew("T", Tool::EVENTMASK_ALL);
    wnd.Clear(1);
    log.Clear();
    Click(QPoint(40, 40));
    SendKey(wnd, QEvent::KeyPress, Qt::Key_B);
    EXPECT_EQ(log.Only(), (Texts{"parent.NM 114"}));
}

// --- handlers that change the stack -----------------------------------------------------------

TEST_F(Tools, UnloadingInsideAWalkSkipsNoTool) {
    RecordingTool& a = LoadNew("A", Tool::EVENTMASK_CLICK | Tool::EVENTMASK_MOUSEMOVE);
    RecordingTool& b = LoadNew("B", Tool::EVENTMASK_CLICK | Tool::EVENTMASK_MOUSEMOVE);
    RecordingTool& c = LoadNew("C", Tool::EVENTMASK_CLICK | Tool::EVENTMASK_MOUSEMOVE);
    b.action = [&](RecordingTool& self, const std::string& event) {
        if (event == "OnMouseMove")
            wnd.UnloadTool(&c, 0); // an earlier one, in a walk of all
        if (event == "OnClick")
            wnd.UnloadTool(&self, 1); // itself, in a first-accepting walk
    };
    log.Clear();
    mouse.Move(QPoint(30, 30));
    EXPECT_EQ(log.Only({"OnMouseMove"}), (Texts{"C.OnMouseMove", "B.OnMouseMove", "A.OnMouseMove"}));
    wnd.LoadTool(&c);
    log.Clear();
    Click(QPoint(30, 30));
    EXPECT_EQ(log.Only({"OnClick"}), (Texts{"C.OnClick", "B.OnClick", "A.OnClick"}));
    EXPECT_EQ(wnd.FindTool(&b), -1);
    EXPECT_EQ(wnd.FindTool(&a), 1);
}

TEST_F(Tools, LoadingAnotherInsideAWalkCallsNoToolTwice) {
    // Both kinds of walk: every tool with the bit, and the first accepting one.
    const uint32_t mask = Tool::EVENTMASK_MOUSEMOVE | Tool::EVENTMASK_CLICK;
    LoadNew("A", mask);
    RecordingTool& b = LoadNew("B", mask);
    RecordingTool& first = AddTool("N1", mask);
    RecordingTool& second = AddTool("N2", mask);
    b.action = [&](RecordingTool&, const std::string& event) {
        if (event == "OnMouseMove")
            wnd.LoadTool(&first);
        if (event == "OnClick")
            wnd.LoadTool(&second);
    };
    log.Clear();
    mouse.Move(QPoint(30, 30));
    Click(QPoint(30, 30));
    EXPECT_EQ(log.Only({"OnMouseMove", "OnClick"}),
              (Texts{"B.OnMouseMove", "A.OnMouseMove", "N1.OnClick", "B.OnClick", "A.OnClick"}));
    b.action = nullptr;
    log.Clear();
    mouse.Move(QPoint(40, 30));
    EXPECT_EQ(log.Only({"OnMouseMove"}),
              (Texts{"N2.OnMouseMove", "N1.OnMouseMove", "B.OnMouseMove", "A.OnMouseMove"}))
        << "a newcomer hears the next event";
}

TEST_F(Tools, UnloadingTheDragOwnerMidDragLeavesNoDanglingOwner) {
    RecordingTool& owner = LoadNew("O", Tool::EVENTMASK_DRAG);
    owner.answers["OnStartDrag"] = 1;
    mouse.Press(QPoint(10, 10));
    mouse.Move(QPoint(20, 20));
    ASSERT_EQ(wnd.GetDragOwner(), &owner);
    wnd.UnloadTool(&owner, 1);
    EXPECT_EQ(wnd.GetDragOwner(), nullptr);
    log.Clear();
    mouse.Move(QPoint(30, 30));
    mouse.Release(QPoint(30, 30));
    EXPECT_EQ(log.Only({"OnDragging", "OnEndDrag"}), Texts{});
}

TEST_F(Tools, ExclusiveNewcomerReplacesEveryNamesakeAndTheUnloadIsReportedFirst) {
    RecordingPanel oldPanel("oldPanel", log), newPanel("newPanel", log);
    oldPanel.Create(&parent, QRect(0, 0, 50, 50), 1, 0);
    newPanel.Create(&parent, QRect(0, 0, 50, 50), 2, 0);
    RecordingTool& first = AddTool("first", 0, "shape_tool");
    RecordingTool& other = AddTool("other", 0, "crop_tool");
    RecordingTool& second = AddTool("second", 0, "shape_tool");
    first.SetNotifyWnd(&oldPanel);
    second.SetNotifyWnd(&newPanel);
    wnd.LoadTool(&first);
    wnd.LoadTool(&other);
    log.Clear();
    wnd.LoadTool(&second);
    EXPECT_EQ(log.Only(), (Texts{"first.OnUnload", "oldPanel.notify 101 first", "newPanel.notify 100 second",
                                 "second.OnLoad"}));
    EXPECT_EQ(wnd.FindTool(&first), -1);
    EXPECT_EQ(wnd.FindTool(&other), 1);
    EXPECT_EQ(first.GetImageWnd(), nullptr);
    // A newcomer that is not exclusive joins its namesake; the loaded one's flag plays no part.
    RecordingTool& third = AddTool("third", 0, "shape_tool");
    third.SetExclusive(0);
    wnd.LoadTool(&third);
    EXPECT_EQ(wnd.FindTool(&second), 1);
    wnd.LoadTool(&AddTool("fourth", 0, "shape_tool"));
    EXPECT_EQ(wnd.FindTool(&second) + wnd.FindTool(&third), -2) << "every namesake goes";
    EXPECT_EQ(wnd.GetToolCount(), 2u);
}

TEST_F(Tools, ImageEventsReachToolsThatAskAndUnloadAllNeedsAnImage) {
    RecordingTool& a =
        LoadNew("A", Tool::EVENTMASK_SETIMAGE | Tool::EVENTMASK_CLEARIMAGE | Tool::EVENTMASK_UPDATEIMAGE);
    RecordingTool& deaf = LoadNew("deaf", 0);
    EXPECT_EQ(log.Only(), (Texts{"A.OnLoad", "A.OnSetImage", "deaf.OnLoad"}));
    log.Clear();
    CImageDataInfo next;
    MakeGradient(next, 120, 80, 3, 1);
    ASSERT_EQ(wnd.SetImage(next), 1);
    ASSERT_EQ(wnd.UpdateImage(next, nullptr, nullptr, 1), 1);
    EXPECT_EQ(log.Only(), (Texts{"A.OnClearImage", "A.OnSetImage", "A.OnUpdateImage"}));
    EXPECT_EQ(wnd.FindTool(&a), 1) << "tools survive image changes";
    log.Clear();
    wnd.UnloadAllTools();
    EXPECT_EQ(log.Only(), (Texts{"deaf.OnUnload", "A.OnUnload"}));
    wnd.LoadTool(&a);
    wnd.LoadTool(&deaf);
    wnd.Clear(1);
    log.Clear();
    wnd.UnloadAllTools();
    EXPECT_EQ(log.Only(), Texts{}) << "no image, no OnUnload";
    EXPECT_EQ(wnd.GetToolCount(), 0u);
}

void CountCallback(IImageWndTool* tool, unsigned code, void*) {
    static_cast<RecordingTool*>(tool)->answers["callback " + std::to_string(code)]++;
}

TEST_F(Tools, PanelAnswerDecidesWhetherTheCallbackRunsAndGoneReceiversAreSilent) {
    RecordingPanel panel("panel", log);
    panel.Create(&parent, QRect(0, 0, 50, 50), 5, 0);
    RecordingTool& tool = AddTool("T", 0);
    tool.SetNotifyWnd(&panel);
    tool.SetNotifyCallback(&CountCallback);
    panel.answer = 0;
    wnd.LoadTool(&tool);
    tool.SendNotify(150, nullptr);
    EXPECT_EQ(tool.answers["callback 100"] + tool.answers["callback 150"], 0) << "answer 0 vetoes";
    panel.answer = 1;
    tool.SendNotify(150, nullptr);
    wnd.UnloadTool(&tool, 0);
    EXPECT_EQ(tool.answers["callback 150"], 1);
    EXPECT_EQ(tool.answers["callback 101"], 1);
    panel.DestroyWindow();
    log.Clear();
    tool.SendNotify(150, nullptr);
    {
        RecordingPanel shortLived("gone", log);
        shortLived.Create(&parent, QRect(0, 0, 50, 50), 6, 0);
        tool.SetNotifyWnd(&shortLived);
    }
    EXPECT_EQ(tool.GetNotifyWnd(), nullptr);
    tool.SendNotify(150, nullptr);
    EXPECT_EQ(log.Only(), Texts{});
}

TEST_F(Tools, CloseAndCancelReachThePanelsParentAndCancelMarksTheTool) {
    struct Host : public CBaseWnd {
        std::vector<uintptr_t> closeIds;
        intptr_t WindowProc(unsigned msg, uintptr_t w, intptr_t l) override {
            if (msg == CSubPanel::WM_SUBPANEL_CLOSE)
                closeIds.push_back(w);
            return CBaseWnd::WindowProc(msg, w, l);
        }
    } host;
    host.Create(nullptr, QRect(0, 0, 100, 100), 0, 0);
    RecordingPanel panel("panel", log);
    panel.Create(&host, QRect(0, 0, 50, 50), 1007, 0);
    RecordingTool& tool = AddTool("T", 0);
    tool.SetNotifyWnd(&panel);
    wnd.LoadTool(&tool);
    tool.CloseToolPanel();
    EXPECT_EQ(host.closeIds, (std::vector<uintptr_t>{1007}));
    EXPECT_EQ(tool.IsUserCancelled(), 0);
    tool.CancelToolPanel();
    EXPECT_EQ(tool.IsUserCancelled(), 1);
    panel.Cancel(); // the panel's own cancel button closes just the same
    EXPECT_EQ(host.closeIds.size(), 3u);
    wnd.UnloadTool(&tool, 0);
    wnd.LoadTool(&tool);
    EXPECT_EQ(tool.IsUserCancelled(), 0) << "OnLoad clears the flag";
    // A receiver that is not a panel is neither closed nor cancelled.
    RecordingTool& loose = AddTool("L", 0);
    loose.SetNotifyWnd(&host);
    loose.CancelToolPanel();
    EXPECT_EQ(host.closeIds.size(), 3u);
    EXPECT_EQ(loose.IsUserCancelled(), 0);
}

TEST_F(Tools, LockViewOnLoadFitsAndLocksUntilUnload) {
    Scale(ZOOM_SCALE_4_1);
    RecordingTool& tool = AddTool("T", 0);
    tool.SetLockViewOnLoad(1);
    wnd.LoadTool(&tool);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_FIT);
    EXPECT_EQ(wnd.IsViewLocked(), 1);
    wnd.UnloadTool(&tool, 1);
    EXPECT_EQ(wnd.IsViewLocked(), 0);
}

} // namespace
