// Guards the processing pipeline: requests that do not coalesce or get lost at quit, results copied to
// the wrong place, a working rectangle that misses the view, the synchronous route and its payload,
// processing that starts under a held letter key, and image records accepted when they must not be.
#include "PipelineTestSupport.h"

#include "imageprocess/ImageProcess.h"
#include "imagewnd/CKeyStateTracker.h"

#include <QKeyEvent>

#include <cmath>

using namespace kel_pipeline_test;
using kel_qt_test::PumpUntil;
using kel_testing::GetValue;
using kel_testing::MakeGradient;
using kel_testing::SamePixels;

namespace {

// A 400 x 300 canvas in a parent that answers the processing notification.
class Pipeline : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        Fake().Reset();
        ImageProcess::SetProcessExtend(ImageProcess::DEFAULT_PROCESS_EXTEND);
        CKeyStateTracker::Reset();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
    }
    void TearDown() override { CKeyStateTracker::Reset(); }

    // An image and its before-image, both gradients of the given size, shown at 1:1.
    void ShowWithBefore(int w, int h, int channels = 3, int depth = 1) {
        ASSERT_TRUE(MakeGradient(before, w, h, channels, depth));
        ASSERT_TRUE(MakeGradient(image, w, h, channels, depth));
        ASSERT_EQ(wnd.SetImage(image, &before), 1);
        wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    }
    void SendKey(QEvent::Type type, int key, bool autoRepeat = false) {
        QKeyEvent e(type, key, Qt::NoModifier, QString(), autoRepeat);
        QApplication::sendEvent(&wnd, &e);
    }

    CImageDataInfo image;
    CImageDataInfo before;
    ProcessingParent parent;
    TestWnd wnd;
};

TEST_F(Pipeline, BurstOfRequestsRunsTheFunctionTwiceNotFifty) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    Fake().hold = FakeProcess::HOLD_FIRST_UNTIL_RELEASE;
    wnd.EnterAdjustingMode();
    ASSERT_EQ(wnd.IsAdjustingMode(), 1);
    wnd.AdjustImage(1);
    ASSERT_EQ(Fake().entered.wait(-1), 0);
    for (int i = 0; i < 49; ++i)
        wnd.AdjustImage(1);
    Fake().release.set();
    wnd.ExitAdjustingMode();
    // The first request, then the 49 that queued behind it, drained into one.
    EXPECT_EQ(Fake().calls.load(), 2);
    EXPECT_EQ(wnd.IsAdjustingMode(), 0);
    for (const ProcessCall& call : Fake().Log())
        EXPECT_NE(call.thread, std::this_thread::get_id()) << "the edit runs on the adjust thread";
}

TEST_F(Pipeline, RequestPostedBeforeQuitStillRuns) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    Fake().queue = &wnd.AdjustQueue();
    Fake().hold = FakeProcess::HOLD_FIRST_UNTIL_QUIT;
    wnd.EnterAdjustingMode();
    wnd.AdjustImage(1);
    ASSERT_EQ(Fake().entered.wait(-1), 0);
    // The first call now waits for the quit; this request is queued before it.
    wnd.AdjustImage(1);
    wnd.ExitAdjustingMode();
    EXPECT_EQ(Fake().calls.load(), 2);
}

TEST_F(Pipeline, ProcessImageCopiesTheResultIntoTheImage) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ProcessImage();
    ASSERT_EQ(Fake().calls.load(), 1);
    const ProcessCall call = Fake().Log()[0];
    EXPECT_EQ(call.wnd, &wnd);
    EXPECT_EQ(call.src, &before);
    EXPECT_EQ(call.fullSource, &before);
    EXPECT_DOUBLE_EQ(call.zoom, 1.0);
    EXPECT_EQ(call.x, 0);
    EXPECT_EQ(call.y, 0);
    EXPECT_EQ(call.width, 200);
    EXPECT_EQ(call.height, 150);
    CImageDataInfo expected;
    Inverted(before, expected);
    EXPECT_TRUE(SamePixels(image, expected));
    EXPECT_EQ(wnd.IsAdjustingMode(), 0);
}

TEST_F(Pipeline, SourceCurveShapesWhatTheFunctionReceives) {
    ShowWithBefore(64, 48, 1, 2);
    std::vector<unsigned short> curve(65536);
    for (size_t i = 0; i < curve.size(); ++i)
        curve[i] = static_cast<unsigned short>(i / 2);
    wnd.SetLinearImageParams(nullptr, curve.data());
    EXPECT_EQ(wnd.GetLinearImageParams().sourceCurve, curve.data());
    EXPECT_EQ(wnd.GetLinearImageParams().displayCurve, nullptr);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ProcessImage();
    ASSERT_EQ(Fake().calls.load(), 1);
    for (int x : {0, 13, 63})
        EXPECT_EQ(GetValue(image, x, 20, 0), 65535u - GetValue(before, x, 20, 0) / 2);
}

TEST_F(Pipeline, WorkingRectangleIsTheViewPlusTheExtend) {
    ShowWithBefore(1000, 800, 1, 1);
    ASSERT_EQ(wnd.SetDispPos(300, 200), 1);
    wnd.EnterAdjustingMode();
    EXPECT_EQ(wnd.GetAdjustRect(), QRect(284, 184, 432, 332));
    EXPECT_EQ(wnd.AdjustBuffer().channels, 1);
    wnd.ExitAdjustingMode();
    EXPECT_TRUE(wnd.GetAdjustRect().isNull());

    // At the far corner the rectangle stops at the image.
    ASSERT_EQ(wnd.SetDispPos(5000, 5000), 1);
    ImageProcess::SetProcessExtend(40);
    wnd.EnterAdjustingMode();
    const QRectF src = wnd.GetSrcRect();
    const int left = static_cast<int>(std::floor(src.x())) - 40;
    const int top = static_cast<int>(std::floor(src.y())) - 40;
    EXPECT_EQ(wnd.GetAdjustRect(), QRect(left, top, 1000 - left, 800 - top));
    wnd.ExitAdjustingMode();

    // Enlarged, the view's fractional edges round outward.
    const ZOOM_SCALE threeToOne = ZOOM_SCALE_3_1;
    wnd.SetZoom(ZOOM_TYPE_SCALE, &threeToOne, nullptr);
    ASSERT_EQ(wnd.SetDispPos(301, 151), 1);
    ImageProcess::SetProcessExtend(0);
    wnd.EnterAdjustingMode();
    const QRectF view = wnd.GetSrcRect();
    const int l = static_cast<int>(std::floor(view.x()));
    const int t = static_cast<int>(std::floor(view.y()));
    const int r = static_cast<int>(std::ceil(view.x() + view.width()));
    const int b = static_cast<int>(std::ceil(view.y() + view.height()));
    EXPECT_EQ(wnd.GetAdjustRect(), QRect(l, t, r - l, b - t));
    wnd.ExitAdjustingMode();
}

TEST_F(Pipeline, OnlyTheWorkingRectangleOfTheImageChanges) {
    ShowWithBefore(1000, 800, 1, 1);
    ASSERT_EQ(wnd.SetDispPos(300, 200), 1);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.EnterAdjustingMode();
    wnd.AdjustImage(1);
    wnd.ExitAdjustingMode();
    ASSERT_EQ(Fake().calls.load(), 1);
    const ProcessCall call = Fake().Log()[0];
    EXPECT_EQ(call.x, 284);
    EXPECT_EQ(call.y, 184);
    EXPECT_EQ(GetValue(image, 300, 200, 0), 255u - GetValue(before, 300, 200, 0));
    EXPECT_EQ(GetValue(image, 284, 184, 0), 255u - GetValue(before, 284, 184, 0));
    EXPECT_EQ(GetValue(image, 283, 184, 0), GetValue(before, 283, 184, 0)) << "left of the rectangle";
    EXPECT_EQ(GetValue(image, 284 + 432, 300, 0), GetValue(before, 284 + 432, 300, 0)) << "right of it";
}

TEST_F(Pipeline, WithoutFunctionTheParentProcessesOnTheUIThread) {
    ShowWithBefore(200, 150);
    wnd.ProcessImage();
    ASSERT_EQ(parent.notifications, 1);
    EXPECT_EQ(parent.thread, std::this_thread::get_id());
    EXPECT_EQ(parent.last.hdr.code, NM_IMGWND_PROCESSIMAGE);
    EXPECT_EQ(parent.last.wnd, &wnd);
    EXPECT_EQ(parent.last.src, &before);
    EXPECT_EQ(parent.last.fullSource, nullptr) << "src is the full source";
    EXPECT_DOUBLE_EQ(parent.last.zoom, 1.0);
    CImageDataInfo expected;
    Inverted(before, expected);
    EXPECT_TRUE(SamePixels(image, expected));
}

TEST_F(Pipeline, SynchronousAdjustRunsOnTheCallingThread) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.EnterAdjustingMode();
    wnd.AdjustImage(0);
    EXPECT_EQ(Fake().calls.load(), 1) << "done before AdjustImage returns";
    EXPECT_EQ(Fake().Log()[0].thread, std::this_thread::get_id());
    EXPECT_EQ(Fake().Log()[0].fullSource, nullptr);
    wnd.ExitAdjustingMode();
    EXPECT_EQ(Fake().calls.load(), 1);
}

TEST_F(Pipeline, RequestsOutsideAdjustingModeDoNothing) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.AdjustImage(1);
    wnd.AdjustImage(0);
    EXPECT_EQ(Fake().calls.load(), 0);
    EXPECT_EQ(parent.notifications, 0);
}

TEST_F(Pipeline, AdjustingNeedsABeforeImage) {
    ASSERT_TRUE(MakeGradient(image, 200, 150, 3, 1));
    ASSERT_EQ(wnd.SetImage(image), 1);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.EnterAdjustingMode();
    EXPECT_EQ(wnd.IsAdjustingMode(), 0);
    wnd.ProcessImage();
    EXPECT_EQ(Fake().calls.load(), 0);
}

TEST_F(Pipeline, ToolsPostProcessOnTheAdjustThreadAfterTheFunction) {
    using kel_canvas_test::EventLog;
    using kel_canvas_test::RecordingTool;
    ShowWithBefore(200, 150);
    // Records the thread and whether the function ran first, by the inverted value it sees.
    class PostTool : public RecordingTool {
    public:
        using RecordingTool::RecordingTool;
        void OnPostProcessImage(CImageDataInfo& dst, const CImageDataInfo& src, int x, int y) override {
            thread = std::this_thread::get_id();
            sawInverted = GetValue(dst, 10, 10, 0) == 255u - GetValue(src, x + 10, y + 10, 0);
            ++calls;
        }
        std::thread::id thread;
        bool sawInverted = false;
        int calls = 0;
    };
    EventLog log;
    PostTool tool("P", "post", IImageWndTool::EVENTMASK_POSTPROCESSIMAGE, log);
    wnd.LoadTool(&tool);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ProcessImage();
    EXPECT_EQ(tool.calls, 1);
    EXPECT_NE(tool.thread, std::this_thread::get_id());
    EXPECT_TRUE(tool.sawInverted);
    wnd.UnloadTool(&tool, 0);
}

TEST_F(Pipeline, UpdateImageProcessesAtOnceOrAfterTheViewStandsStill) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    ASSERT_EQ(wnd.UpdateImage(image, &before, nullptr, 1), 1);
    EXPECT_EQ(Fake().calls.load(), 1);
    wnd.KillTimer(CImageWnd::TIMER_PROCESSIMAGE);
    ASSERT_EQ(wnd.UpdateImage(image, &before, nullptr, 0), 1);
    EXPECT_EQ(Fake().calls.load(), 1);
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE), 1);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(Fake().calls.load(), 2);
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE), 0);
}

TEST_F(Pipeline, ViewChangeRestartsTheProcessingTimer) {
    ShowWithBefore(1000, 800);
    wnd.KillTimer(CImageWnd::TIMER_PROCESSIMAGE);
    ASSERT_EQ(wnd.SetDispPos(100, 100), 1);
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE), 1);
}

TEST_F(Pipeline, HeldLetterKeyPostponesProcessing) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.SetTimer(CImageWnd::TIMER_PROCESSIMAGE, CImageWnd::TIMER_PROCESSIMAGE_INTERVAL);
    SendKey(QEvent::KeyPress, Qt::Key_B);
    EXPECT_EQ(CKeyStateTracker::GetKeyState('B'), 0x8000);
    for (int i = 0; i < 3; ++i)
        wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(Fake().calls.load(), 0);
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE), 1) << "fires again later";

    // The release that X11 sends before each auto-repeated press does not count.
    SendKey(QEvent::KeyRelease, Qt::Key_B, true);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(Fake().calls.load(), 0);

    SendKey(QEvent::KeyRelease, Qt::Key_B);
    EXPECT_EQ(CKeyStateTracker::GetKeyState('B'), 0);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(Fake().calls.load(), 1);
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE), 0);
}

TEST_F(Pipeline, OtherKeysAndTheBeforeViewDecideToo) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    SendKey(QEvent::KeyPress, Qt::Key_Shift);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(Fake().calls.load(), 1) << "only letters postpone";
    SendKey(QEvent::KeyRelease, Qt::Key_Shift);

    wnd.ShowBeforeImage(1);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(Fake().calls.load(), 1) << "nothing while the before view shows";
    wnd.ShowBeforeImage(0);
    EXPECT_EQ(Fake().calls.load(), 2) << "leaving the before view processes";
}

TEST_F(Pipeline, LeavingTheApplicationForgetsHeldKeys) {
    SendKey(QEvent::KeyPress, Qt::Key_Q);
    EXPECT_EQ(CKeyStateTracker::IsAnyLetterKeyDown(), 1);
    QEvent deactivate(QEvent::ApplicationDeactivate);
    QApplication::sendEvent(qApp, &deactivate);
    EXPECT_EQ(CKeyStateTracker::IsAnyLetterKeyDown(), 0);
}

// --- the image record -----------------------------------------------------------------------

TEST_F(Pipeline, BadImageRecordsAreRefused) {
    ShowWithBefore(200, 150);
    CImageDataInfo empty;
    EXPECT_EQ(wnd.SetImage(empty), 0);
    EXPECT_EQ(wnd.GetImage(), &image) << "an invalid image changes nothing";
    EXPECT_EQ(wnd.UpdateImage(empty, nullptr, nullptr, 1), 0);
    EXPECT_EQ(wnd.GetImage(), &image);
    EXPECT_EQ(wnd.GetBeforeImage(), &before);

    // Before-images of another size are dropped, the image stays.
    CImageDataInfo wrong;
    ASSERT_TRUE(MakeGradient(wrong, 150, 200, 3, 1));
    ASSERT_EQ(wnd.SetImage(image, &wrong, &wrong), 1);
    EXPECT_EQ(wnd.GetBeforeImage(), nullptr);
    EXPECT_EQ(wnd.GetDispBeforeImage(), nullptr);

    // A mask of the wrong size or of two channels leaves the window empty.
    CImageDataInfo other, mask;
    ASSERT_TRUE(MakeGradient(other, 100, 80, 3, 1));
    ASSERT_TRUE(kel_testing::MakeConstant(mask, 99, 80, 1, 1, 255));
    EXPECT_EQ(wnd.SetImage(other, nullptr, nullptr, &mask), 0);
    EXPECT_EQ(wnd.HasImage(), 0);
    EXPECT_EQ(wnd.GetImageSize(), TSize<int>(0, 0));
    EXPECT_FALSE(wnd.Preview().IsValid());
    ASSERT_TRUE(MakeGradient(mask, 100, 80, 3, 1));
    EXPECT_EQ(wnd.SetImage(other, nullptr, nullptr, &mask), 0);
    EXPECT_EQ(wnd.HasImage(), 0);
}

TEST_F(Pipeline, UpdateImageWithAnotherSizeLosesTheMask) {
    CImageDataInfo mask, bigger;
    ASSERT_TRUE(MakeGradient(image, 200, 150, 3, 1));
    ASSERT_TRUE(kel_testing::MakeConstant(mask, 200, 150, 1, 1, 255));
    ASSERT_EQ(wnd.SetImage(image, nullptr, nullptr, &mask), 1);
    EXPECT_EQ(wnd.GetTransMaskimage(), &mask);
    ASSERT_EQ(wnd.UpdateImage(image, nullptr, nullptr, 0), 1);
    EXPECT_EQ(wnd.GetTransMaskimage(), &mask) << "same size keeps it";
    ASSERT_TRUE(MakeGradient(bigger, 210, 150, 3, 1));
    ASSERT_EQ(wnd.UpdateImage(bigger, nullptr, nullptr, 0), 1);
    EXPECT_EQ(wnd.GetImage(), &bigger);
    EXPECT_EQ(wnd.GetTransMaskimage(), nullptr);
    EXPECT_FALSE(wnd.PreviewMask().IsValid());
}

} // namespace
