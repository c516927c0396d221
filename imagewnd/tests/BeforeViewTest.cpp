// Guards the before view: Space not showing the before-image, X11 auto-repeat releases or presses
// ending it or reaching the tools, Space acting without a before-image, and the wrong zoomed copy
// shown in the before view when zoomed out.
#include "PaintTestSupport.h"

using namespace kel_paint_test;
using kel_pipeline_test::FakeProcessFunc;
using kel_qt_test::SendKey;
using kel_testing::MakeConstant;
using kel_testing::MakeGradient;

namespace {

class BeforeView : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        kel_pipeline_test::Fake().Reset();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
        wnd.setFocus();
    }
    void TearDown() override { CKeyStateTracker::Reset(); }

    // The red value shown at image pixel (x, y) at zoom 1.
    int ShownRed(int x, int y) {
        const QImage shot = wnd.RenderClient();
        return qRed(shot.pixel(wnd.GetDrawPos().x + x, wnd.GetDrawPos().y + y));
    }
    void Space(QEvent::Type type, bool autoRepeat = false) {
        SendKey(wnd, type, Qt::Key_Space, {}, autoRepeat);
    }

    CImageDataInfo image, before, dispBefore;
    kel_canvas_test::EventLog log;
    kel_canvas_test::RecordingParent parent{log};
    PaintWnd wnd;
};

TEST_F(BeforeView, SpaceHoldsTheBeforeImageThroughAutoRepeat) {
    ASSERT_TRUE(MakeGradient(before, 200, 150, 3, 1));
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 0));
    wnd.SetProcessImageFunc(FakeProcessFunc);
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    wnd.ProcessImage();
    kel_canvas_test::RecordingTool tool(
        "A", "tool_A", IImageWndTool::EVENTMASK_KEYDOWN | IImageWndTool::EVENTMASK_KEYUP, log);
    wnd.LoadTool(&tool);
    const int shownAfter = ShownRed(150, 100);
    const int beforeRed = static_cast<int>(kel_testing::GetValue(before, 150, 100, 2));
    ASSERT_EQ(shownAfter, 255 - beforeRed) << "the processed result is on show";

    Space(QEvent::KeyPress);
    EXPECT_EQ(wnd.IsShowingBefore(), 1);
    EXPECT_EQ(wnd.IsBeforeByKey(), 1);
    EXPECT_EQ(ShownRed(150, 100), beforeRed);
    // X11 repeats a held key as release and press pairs.
    for (int i = 0; i < 3; ++i) {
        Space(QEvent::KeyRelease, true);
        Space(QEvent::KeyPress, true);
    }
    EXPECT_EQ(wnd.IsShowingBefore(), 1);
    EXPECT_EQ(ShownRed(150, 100), beforeRed);
    EXPECT_EQ(log.Count("A.OnKeyDown") + log.Count("A.OnKeyUp"), 0u) << "no tool hears Space";

    Space(QEvent::KeyRelease);
    EXPECT_EQ(wnd.IsShowingBefore(), 0);
    EXPECT_EQ(wnd.IsBeforeByKey(), 0);
    EXPECT_EQ(ShownRed(150, 100), 255 - beforeRed);
    wnd.UnloadTool(&tool, 0);
}

TEST_F(BeforeView, SpaceWithoutABeforeImageDoesNothing) {
    ASSERT_TRUE(MakeGradient(image, 200, 150, 3, 1));
    ASSERT_EQ(wnd.SetImage(image), 1);
    const int shown = ShownRed(150, 100);
    Space(QEvent::KeyPress);
    EXPECT_EQ(wnd.IsShowingBefore(), 0);
    EXPECT_EQ(ShownRed(150, 100), shown);
    Space(QEvent::KeyRelease);
    wnd.ShowBeforeImage(1);
    EXPECT_EQ(wnd.IsShowingBefore(), 0);
}

TEST_F(BeforeView, ByCallShowsTheDisplayBeforeImageWhenThereIsOne) {
    ASSERT_TRUE(MakeConstant(before, 200, 150, 3, 1, 10));
    ASSERT_TRUE(MakeConstant(dispBefore, 200, 150, 3, 1, 90));
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 170));
    ASSERT_EQ(wnd.SetImage(image, &before, &dispBefore), 1);
    EXPECT_EQ(ShownRed(5, 5), 170);
    wnd.ShowBeforeImage(1);
    EXPECT_EQ(ShownRed(5, 5), 90);
    EXPECT_EQ(wnd.IsBeforeByKey(), 0);
    // Leaving it processes again; without a process function the parent is asked.
    log.Clear();
    wnd.ShowBeforeImage(0);
    EXPECT_EQ(log.Count("parent.NM 118"), 1u);
    wnd.ShowBeforeImage(1);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ShowBeforeImage(0);
    // Leaving the before view processes again: the edit inverts the before-image.
    EXPECT_EQ(ShownRed(5, 5), 245);
}

TEST_F(BeforeView, ZoomedOutShowsTheZoomedBeforeCopies) {
    ASSERT_TRUE(MakeConstant(before, 800, 600, 3, 1, 10));
    ASSERT_TRUE(MakeConstant(dispBefore, 800, 600, 3, 1, 90));
    ASSERT_TRUE(MakeConstant(image, 800, 600, 3, 1, 170));
    ASSERT_EQ(wnd.SetImage(image, &before, &dispBefore), 1);
    ASSERT_TRUE(wnd.IsZoomedOut());
    ASSERT_TRUE(WaitForCache(wnd));
    // A build with a before-image shows unprocessed content until processing runs; show the result.
    wnd.ShowBeforeImage(1);
    const QPoint centre(200, 150);
    EXPECT_EQ(qRed(wnd.RenderClient().pixel(centre)), 90);
    EXPECT_EQ(wnd.GetLastSrcRect().size(), QSize(wnd.GetDrawSize().width, wnd.GetDrawSize().height));

    // Without a display-before image, the zoomed before-image.
    wnd.ShowBeforeImage(0);
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    ASSERT_TRUE(WaitForCache(wnd));
    wnd.ShowBeforeImage(1);
    EXPECT_EQ(qRed(wnd.RenderClient().pixel(centre)), 10);
}

} // namespace
