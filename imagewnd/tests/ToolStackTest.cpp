// Guards the tool stack: loading order, replacement by name, the unload that skips a tool, the
// notifications to the panel with their veto, and the asymmetry of UnloadAllTools without an image.
#include "CanvasTestSupport.h"

using namespace kel_canvas_test;
using Tool = IImageWndTool;

namespace {

class ToolStack : public CanvasFixture {};

void VetoCallback(IImageWndTool* tool, unsigned code, void*) {
    static_cast<RecordingTool*>(tool)->answers["callback " + std::to_string(code)]++;
}

} // namespace

TEST_F(ToolStack, NewestToolIsFirstAndLoadingTwiceChangesNothing) {
    RecordingTool& a = LoadNew("A", Tool::EVENTMASK_LBUTTON);
    RecordingTool& b = LoadNew("B", Tool::EVENTMASK_LBUTTON);
    RecordingTool& c = LoadNew("C", Tool::EVENTMASK_LBUTTON);
    wnd.LoadTool(&a);
    EXPECT_EQ(log.Count("A.OnLoad"), 1u);
    EXPECT_EQ(wnd.GetToolCount(), 3u);
    EXPECT_EQ(wnd.FindTool(&c), 0);
    EXPECT_EQ(wnd.FindTool(&b), 1);
    EXPECT_EQ(wnd.FindTool(&a), 2) << "a repeated load moves nothing to the front";
    EXPECT_EQ(wnd.FindTool(nullptr), -1);
    RecordingTool& stranger = AddTool("X", 0);
    EXPECT_EQ(wnd.FindTool(&stranger), -1);
    EXPECT_EQ(a.GetImageWnd(), &wnd);

    log.Clear();
    mouse.Press(QPoint(10, 10));
    EXPECT_EQ(log.Texts(), (Texts{"C.OnLButtonDown", "B.OnLButtonDown", "A.OnLButtonDown"}));
}

TEST_F(ToolStack, ExclusiveNewcomerReplacesByNameAndTheUnloadIsReportedFirst) {
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
    // The recording tool logs OnLoad after the base, which already notified.
    EXPECT_EQ(log.Texts(), (Texts{"first.OnUnload", "oldPanel.notify 101 first", "newPanel.notify 100 second",
                                  "second.OnLoad"}));
    EXPECT_EQ(wnd.FindTool(&first), -1);
    EXPECT_EQ(wnd.FindTool(&second), 0);
    EXPECT_EQ(wnd.FindTool(&other), 1);
    EXPECT_EQ(first.GetImageWnd(), nullptr);

    // A newcomer that is not exclusive joins its namesake; the loaded one's flag plays no part.
    RecordingTool& third = AddTool("third", 0, "shape_tool");
    third.SetExclusive(0);
    wnd.LoadTool(&third);
    EXPECT_EQ(wnd.FindTool(&second), 1);
    EXPECT_EQ(wnd.FindTool(&third), 0);
    RecordingTool& fourth = AddTool("fourth", 0, "shape_tool");
    wnd.LoadTool(&fourth);
    EXPECT_EQ(wnd.FindTool(&second), -1);
    EXPECT_EQ(wnd.FindTool(&third), -1) << "every namesake goes, the walk restarts after each removal";
    EXPECT_EQ(wnd.GetToolCount(), 2u);
}

TEST_F(ToolStack, ToolUnloadingItselfInOnClickSkipsNoTool) {
    RecordingTool& a = LoadNew("A", Tool::EVENTMASK_CLICK);
    RecordingTool& b = LoadNew("B", Tool::EVENTMASK_CLICK);
    RecordingTool& c = LoadNew("C", Tool::EVENTMASK_CLICK);
    (void)a;
    (void)c;
    b.action = [this](RecordingTool& self, const std::string& event) {
        if (event == "OnClick")
            wnd.UnloadTool(&self, 1);
    };
    log.Clear();
    mouse.Press(QPoint(30, 30));
    mouse.Release(QPoint(30, 30));
    EXPECT_EQ(log.Only({"OnClick"}), (Texts{"C.OnClick", "B.OnClick", "A.OnClick"}));
    EXPECT_EQ(wnd.FindTool(&b), -1);
}

TEST_F(ToolStack, ToolUnloadingAnEarlierToolInAnAllWalkSkipsNoLaterTool) {
    RecordingTool& a = LoadNew("A", Tool::EVENTMASK_MOUSEMOVE);
    RecordingTool& b = LoadNew("B", Tool::EVENTMASK_MOUSEMOVE);
    RecordingTool& c = LoadNew("C", Tool::EVENTMASK_MOUSEMOVE);
    (void)a;
    b.action = [this, &c](RecordingTool&, const std::string& event) {
        if (event == "OnMouseMove")
            wnd.UnloadTool(&c, 0);
    };
    log.Clear();
    mouse.Move(QPoint(30, 30));
    EXPECT_EQ(log.Only({"OnMouseMove"}), (Texts{"C.OnMouseMove", "B.OnMouseMove", "A.OnMouseMove"}));
}

TEST_F(ToolStack, ToolLoadingAnotherInAWalkGetsNoEventTwice) {
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
    mouse.Press(QPoint(30, 30));
    mouse.Release(QPoint(30, 30));
    EXPECT_EQ(log.Only({"OnMouseMove", "OnClick"}),
              (Texts{"B.OnMouseMove", "A.OnMouseMove", "N1.OnClick", "B.OnClick", "A.OnClick"}));
    // A newcomer hears the next event.
    b.action = nullptr;
    log.Clear();
    mouse.Move(QPoint(40, 30));
    EXPECT_EQ(log.Only({"OnMouseMove"}),
              (Texts{"N2.OnMouseMove", "N1.OnMouseMove", "B.OnMouseMove", "A.OnMouseMove"}));
}

TEST_F(ToolStack, UnloadAllToolsCallsOnUnloadOnlyWithAnImage) {
    RecordingTool& a = LoadNew("A", 0);
    RecordingTool& b = LoadNew("B", 0);
    log.Clear();
    wnd.UnloadAllTools();
    EXPECT_EQ(log.Texts(), (Texts{"B.OnUnload", "A.OnUnload"}));
    EXPECT_EQ(wnd.GetToolCount(), 0u);

    wnd.LoadTool(&a);
    wnd.LoadTool(&b);
    wnd.Clear(1);
    log.Clear();
    wnd.UnloadAllTools();
    EXPECT_TRUE(log.Texts().empty()) << "no image, no OnUnload";
    EXPECT_EQ(wnd.GetToolCount(), 0u);
}

TEST_F(ToolStack, ImageEventsReachToolsThatAskAndToolsSurviveImageChanges) {
    RecordingTool& a =
        LoadNew("A", Tool::EVENTMASK_SETIMAGE | Tool::EVENTMASK_CLEARIMAGE | Tool::EVENTMASK_UPDATEIMAGE);
    RecordingTool& deaf = LoadNew("deaf", 0);
    EXPECT_EQ(log.Texts(), (Texts{"A.OnLoad", "A.OnSetImage", "deaf.OnLoad"}))
        << "a tool loaded on an image hears it";
    log.Clear();
    CImageDataInfo next;
    kel_testing::MakeNoise(next, 120, 80, 3, 1, 7);
    ASSERT_EQ(wnd.SetImage(next), 1);
    EXPECT_EQ(log.Texts(), (Texts{"A.OnClearImage", "A.OnSetImage"}));
    log.Clear();
    ASSERT_EQ(wnd.UpdateImage(next, nullptr, nullptr, 1), 1);
    EXPECT_EQ(log.Texts(), (Texts{"A.OnUpdateImage"}));
    EXPECT_EQ(wnd.FindTool(&a), 1);
    EXPECT_EQ(wnd.FindTool(&deaf), 0);
}

TEST_F(ToolStack, PanelAnswerDecidesWhetherTheCallbackRuns) {
    RecordingPanel panel("panel", log);
    panel.Create(&parent, QRect(0, 0, 50, 50), 5, 0);
    RecordingTool& tool = AddTool("T", 0);
    tool.SetNotifyWnd(&panel);
    tool.SetNotifyCallback(&VetoCallback);

    panel.answer = 0;
    wnd.LoadTool(&tool);
    tool.SendNotify(150, nullptr);
    EXPECT_EQ(tool.answers["callback 100"], 0) << "a panel answering 0 vetoes the callback";
    EXPECT_EQ(tool.answers["callback 150"], 0);
    panel.answer = 1;
    tool.SendNotify(150, nullptr);
    EXPECT_EQ(tool.answers["callback 150"], 1);
    wnd.UnloadTool(&tool, 0);
    EXPECT_EQ(tool.answers["callback 101"], 1);

    // No receiver, a destroyed receiver and a deleted one: silent.
    panel.DestroyWindow();
    log.Clear();
    tool.SendNotify(150, nullptr);
    EXPECT_TRUE(log.Texts().empty());
    {
        RecordingPanel shortLived("gone", log);
        shortLived.Create(&parent, QRect(0, 0, 50, 50), 6, 0);
        tool.SetNotifyWnd(&shortLived);
    }
    EXPECT_EQ(tool.GetNotifyWnd(), nullptr);
    tool.SendNotify(150, nullptr);
    EXPECT_TRUE(log.Texts().empty());
}

TEST_F(ToolStack, CloseAndCancelReachThePanelsParentAndCancelMarksTheTool) {
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
    EXPECT_EQ(host.closeIds.size(), 2u);
    EXPECT_EQ(tool.IsUserCancelled(), 1);
    panel.Cancel(); // the panel's own cancel button marks its tool just the same
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

TEST_F(ToolStack, LockViewOnLoadFitsAndLocksUntilUnload) {
    ZOOM_SCALE scale = ZOOM_SCALE_4_1;
    wnd.SetZoom(ZOOM_TYPE_SCALE, &scale, nullptr);
    RecordingTool& tool = AddTool("T", 0);
    tool.SetLockViewOnLoad(1);
    wnd.LoadTool(&tool);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_FIT);
    EXPECT_EQ(wnd.IsViewLocked(), 1);
    wnd.UnloadTool(&tool, 1);
    EXPECT_EQ(wnd.IsViewLocked(), 0);
}

TEST_F(ToolStack, UnloadingTheDragOwnerMidDragLeavesNoDanglingOwner) {
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
    EXPECT_TRUE(log.Only({"OnDragging", "OnEndDrag"}).empty());
}
