// Guards the processing pipeline: requests that do not coalesce or get lost at quit, results written
// outside the working rectangle, the synchronous route and its payload, two passes in the adjust
// buffer at once, a tool unloaded while the adjust thread walks it, a host's session ended by the
// timer, an unload or the before view, held letter keys, the preview, the before view and bad records.
#include "CanvasTestSupport.h"

#include <cmath>

using namespace kel_canvas_test;
using kel_qt_test::SendKey;
using std::tuple;

namespace {

// How long a slow pass waits for something that must not happen during it.
constexpr int kSlowPassMs = 400;

class Pipeline : public Canvas {
protected:
    void Key(QEvent::Type type, int key, bool autoRepeat = false) { SendKey(wnd, type, key, {}, autoRepeat); }
    // Every value of the working rectangle `r` is the inverted before-image.
    bool ShowsInvertedBefore(const QRect& r) const {
        for (int y = r.top(); y <= r.bottom(); y += 7)
            for (int x = r.left(); x <= r.right(); x += 7)
                for (int c = 0; c < image.channels; ++c)
                    if (GetValue(image, x, y, c) != 255u - GetValue(before, x, y, c))
                        return false;
        return !r.isEmpty();
    }
    int ShownRed(int x, int y) {
        return qRed(wnd.RenderClient().pixel(wnd.GetDrawPos().x + x, wnd.GetDrawPos().y + y));
    }
    void StartSession(QRect& rect) {
        wnd.EnterAdjustingMode();
        ASSERT_EQ(wnd.IsAdjustingMode(), 1);
        rect = wnd.GetAdjustRect();
    }
};

TEST_F(Pipeline, BurstOfRequestsRunsTwiceOnTheAdjustThreadAndAQueuedOneSurvivesTheQuit) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    for (const auto hold : {FakeProcess::HOLD_FIRST_UNTIL_RELEASE, FakeProcess::HOLD_FIRST_UNTIL_QUIT}) {
        Fake().Reset();
        Fake().hold = hold;
        Fake().queue = &wnd.m_adjustQueue;
        wnd.EnterAdjustingMode();
        wnd.AdjustImage(1);
        ASSERT_EQ(Fake().entered.wait(-1), 0);
        // Held first call: 49 requests queue behind it and drain into one; or one waits for the quit.
        for (int i = 0; i < (hold == FakeProcess::HOLD_FIRST_UNTIL_RELEASE ? 49 : 1); ++i)
            wnd.AdjustImage(1);
        Fake().release.set();
        wnd.ExitAdjustingMode();
        EXPECT_EQ(tuple(Fake().calls.load(), wnd.IsAdjustingMode()), tuple(2, 0)) << hold;
        for (const ProcessCall& call : Fake().Log())
            EXPECT_NE(call.thread, std::this_thread::get_id()) << "the edit runs on the adjust thread";
    }
}

TEST_F(Pipeline, ProcessImageHandsTheWholeImageAndCopiesTheResultBack) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ProcessImage();
    ASSERT_EQ(Fake().calls.load(), 1);
    const ProcessCall c = Fake().Log()[0];
    EXPECT_EQ(tuple(c.wnd, c.src, c.fullSource, c.zoom, c.x, c.y, c.width, c.height),
              tuple((const void*)&wnd, (const void*)&before, (const void*)&before, 1.0, 0, 0, 200, 150));
    EXPECT_TRUE(IsInvertedOf(image, before));
    // Without a function the parent processes, on this thread, with src as the full source.
    wnd.SetProcessImageFunc(nullptr);
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 0));
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    wnd.ProcessImage();
    ASSERT_GE(parent.processed, 1);
    EXPECT_EQ(
        tuple(parent.thread, parent.last.hdr.code, parent.last.wnd, parent.last.src, parent.last.fullSource),
        tuple(std::this_thread::get_id(), unsigned(NM_IMGWND_PROCESSIMAGE), (CImageWnd*)&wnd,
              (const CImageDataInfo*)&before, (const CImageDataInfo*)nullptr));
    EXPECT_TRUE(IsInvertedOf(image, before));
}

TEST_F(Pipeline, SourceCurveShapesWhatTheFunctionReceives) {
    ShowWithBefore(64, 48, 1, 2);
    std::vector<unsigned short> curve(65536);
    for (size_t i = 0; i < curve.size(); ++i)
        curve[i] = static_cast<unsigned short>(i / 2);
    wnd.SetLinearImageParams(nullptr, curve.data());
    EXPECT_EQ(wnd.GetLinearImageParams().sourceCurve, curve.data());
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ProcessImage();
    for (int x : {0, 13, 63})
        EXPECT_EQ(GetValue(image, x, 20, 0), 65535u - GetValue(before, x, 20, 0) / 2);
}

TEST_F(Pipeline, WorkingRectangleIsTheViewPlusTheExtendAndOnlyItChanges) {
    ShowWithBefore(1000, 800, 1, 1);
    ASSERT_EQ(wnd.SetDispPos(300, 200), 1);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.EnterAdjustingMode();
    EXPECT_EQ(wnd.GetAdjustRect(), QRect(284, 184, 432, 332));
    wnd.AdjustImage(1);
    wnd.ExitAdjustingMode();
    EXPECT_TRUE(wnd.GetAdjustRect().isNull());
    ASSERT_EQ(Fake().calls.load(), 1);
    EXPECT_EQ(tuple(Fake().Log()[0].x, Fake().Log()[0].y), tuple(284, 184));
    EXPECT_TRUE(ShowsInvertedBefore(QRect(284, 184, 432, 332)));
    EXPECT_EQ(GetValue(image, 283, 184, 0), GetValue(before, 283, 184, 0)) << "left of the rectangle";
    EXPECT_EQ(GetValue(image, 284 + 432, 300, 0), GetValue(before, 284 + 432, 300, 0)) << "right of it";
    // At the far corner the rectangle stops at the image.
    ASSERT_EQ(wnd.SetDispPos(5000, 5000), 1);
    ImageProcess::SetProcessExtend(40);
    wnd.EnterAdjustingMode();
    const int left = int(std::floor(wnd.GetSrcRect().x())) - 40,
              top = int(std::floor(wnd.GetSrcRect().y())) - 40;
    EXPECT_EQ(wnd.GetAdjustRect(), QRect(left, top, 1000 - left, 800 - top));
    wnd.ExitAdjustingMode();
    // Enlarged, the view's fractional edges round outward.
    Scale(ZOOM_SCALE_3_1);
    ASSERT_EQ(wnd.SetDispPos(301, 151), 1);
    ImageProcess::SetProcessExtend(0);
    wnd.EnterAdjustingMode();
    const QRectF v = wnd.GetSrcRect();
    const int l = int(std::floor(v.x())), t = int(std::floor(v.y()));
    EXPECT_EQ(wnd.GetAdjustRect(),
              QRect(l, t, int(std::ceil(v.x() + v.width())) - l, int(std::ceil(v.y() + v.height())) - t));
    wnd.ExitAdjustingMode();
}

TEST_F(Pipeline, RequestsNeedTheModeAndTheModeNeedsABeforeImage) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.AdjustImage(1);
    wnd.AdjustImage(0);
    EXPECT_EQ(tuple(Fake().calls.load(), parent.processed), tuple(0, 0));
    wnd.EnterAdjustingMode();
    wnd.AdjustImage(0);
    EXPECT_EQ(Fake().calls.load(), 1) << "done before AdjustImage returns";
    EXPECT_EQ(tuple(Fake().Log()[0].thread, Fake().Log()[0].fullSource),
              tuple(std::this_thread::get_id(), (const CImageDataInfo*)nullptr));
    wnd.ExitAdjustingMode();
    EXPECT_EQ(Fake().calls.load(), 1);
    Show(200, 150);
    wnd.EnterAdjustingMode();
    EXPECT_EQ(wnd.IsAdjustingMode(), 0);
    wnd.ProcessImage();
    EXPECT_EQ(Fake().calls.load(), 1);
}

// A tool whose post-processing reads data that its OnUnload frees, slowly enough for an unload to
// land in the middle; it also checks that it runs on the adjust thread after the edit.
class SlowPostTool : public RecordingTool {
public:
    using RecordingTool::RecordingTool;
    void OnPostProcessImage(CImageDataInfo& dst, const CImageDataInfo& src, int x, int y) override {
        sawEdit = std::this_thread::get_id() != uiThread &&
                  GetValue(dst, 10, 10, 0) == 255u - GetValue(src, x + 10, y + 10, 0);
        entered.set();
        unloadedSignal.wait(slow ? kSlowPassMs : 0); // returns at once when OnUnload runs meanwhile
        if (unloaded.load())
            readAfterUnload.fetch_add(1);
        else
            sum += (*data)[0];
    }
    void OnUnload() override {
        data.reset();
        unloaded.store(true);
        unloadedSignal.set();
        RecordingTool::OnUnload();
    }
    std::thread::id uiThread = std::this_thread::get_id();
    bool slow = true;
    std::atomic<bool> sawEdit{false};
    std::unique_ptr<std::vector<int>> data = std::make_unique<std::vector<int>>(16, 1);
    int sum = 0;
    event_signal entered{true, false}, unloadedSignal{true, false};
    std::atomic<bool> unloaded{false};
    std::atomic<int> readAfterUnload{0};
};

TEST_F(Pipeline, ToolsPostProcessAfterTheEditAndUnloadWaitsForTheThreadsWalkAndKeepsTheSession) {
    ShowWithBefore(200, 150);
    SlowPostTool tool("S", "slow", Tool::EVENTMASK_POSTPROCESSIMAGE, log);
    wnd.LoadTool(&tool);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    tool.slow = false;
    wnd.ProcessImage();
    EXPECT_EQ(tuple(tool.sum, tool.sawEdit.load()), tuple(1, true));
    tool.slow = true;
    QRect rect;
    ASSERT_NO_FATAL_FAILURE(StartSession(rect));
    Fake().Reset();
    tool.entered.reset();
    wnd.AdjustImage(1);
    ASSERT_EQ(tool.entered.wait(10000), 0);
    wnd.UnloadTool(&tool, 1);
    EXPECT_EQ(tool.readAfterUnload.load(), 0) << "OnUnload ran while the adjust thread was in the tool";
    EXPECT_EQ(tool.sum, 2);
    EXPECT_EQ(wnd.IsAdjustingMode(), 1) << "unloading ended the host's session";
    wnd.ExitAdjustingMode();
    // The unload posted the working rectangle again: that pass ran without the tool.
    EXPECT_EQ(Fake().calls.load(), 2);
    EXPECT_TRUE(ShowsInvertedBefore(rect));
}

// A processing function that counts the passes inside it at once. The first pass waits for a second
// to come in, which it never should.
struct OverlapProbe {
    std::atomic<int> inside{0}, overlaps{0}, calls{0};
    event_signal entered{true, false}, second{true, false};
} g_probe;

void OverlapFunc(const CImageWnd* wnd, CImageDataInfo& dst, const CImageDataInfo& src, double zoom, int x,
                 int y, const CImageDataInfo* fullSource) {
    if (g_probe.inside.fetch_add(1) > 0) {
        g_probe.overlaps.fetch_add(1);
        g_probe.second.set();
    }
    if (g_probe.calls.fetch_add(1) == 0) {
        g_probe.entered.set();
        g_probe.second.wait(kSlowPassMs);
    }
    FakeProcessFunc(wnd, dst, src, zoom, x, y, fullSource);
    g_probe.inside.fetch_sub(1);
}

TEST_F(Pipeline, SynchronousRequestWaitsForThePostedPass) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(OverlapFunc);
    QRect rect;
    ASSERT_NO_FATAL_FAILURE(StartSession(rect));
    wnd.AdjustImage(1);
    ASSERT_EQ(g_probe.entered.wait(10000), 0);
    wnd.AdjustImage(0);
    EXPECT_EQ(g_probe.calls.load(), 2);
    wnd.ExitAdjustingMode();
    EXPECT_EQ(g_probe.overlaps.load(), 0) << "both passes filled the adjust buffer at once";
    EXPECT_TRUE(ShowsInvertedBefore(rect));
}

TEST_F(Pipeline, TimerAndLeavingTheBeforeViewProcessAgainInsideTheSession) {
    ShowWithBefore(200, 150);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    QRect rect;
    ASSERT_NO_FATAL_FAILURE(StartSession(rect));
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(wnd.IsAdjustingMode(), 1) << "the processing timer ended the session";
    // Waiting without running events: the adjust thread posts while it lives.
    ASSERT_EQ(Fake().entered.wait(10000), 0);
    wnd.ShowBeforeImage(1);
    wnd.ShowBeforeImage(0);
    EXPECT_EQ(wnd.IsAdjustingMode(), 1) << "leaving the before view ended the session";
    wnd.ExitAdjustingMode();
    EXPECT_EQ(Fake().calls.load(), 2);
    EXPECT_TRUE(ShowsInvertedBefore(rect));
}

TEST_F(Pipeline, UpdateAndViewChangesProcessAfterTheViewStandsStillAndHeldLettersPostponeIt) {
    ShowWithBefore(1000, 800);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    ASSERT_EQ(wnd.UpdateImage(image, &before, nullptr, 1), 1);
    EXPECT_EQ(Fake().calls.load(), 1) << "at once";
    wnd.KillTimer(CImageWnd::TIMER_PROCESSIMAGE);
    ASSERT_EQ(wnd.UpdateImage(image, &before, nullptr, 0), 1);
    EXPECT_EQ(tuple(Fake().calls.load(), wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE)), tuple(1, 1));
    wnd.KillTimer(CImageWnd::TIMER_PROCESSIMAGE);
    ASSERT_EQ(wnd.SetDispPos(100, 100), 1);
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE), 1) << "a view change restarts it";
    Key(QEvent::KeyPress, Qt::Key_B);
    for (int i = 0; i < 2; ++i)
        wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    // The release that X11 sends before each auto-repeated press does not count.
    Key(QEvent::KeyRelease, Qt::Key_B, true);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(tuple(Fake().calls.load(), wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE)), tuple(1, 1));
    Key(QEvent::KeyRelease, Qt::Key_B);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(tuple(Fake().calls.load(), wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE)), tuple(2, 0));
    Key(QEvent::KeyPress, Qt::Key_Shift);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(Fake().calls.load(), 3) << "only letters postpone";
    Key(QEvent::KeyRelease, Qt::Key_Shift);
    wnd.ShowBeforeImage(1);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(Fake().calls.load(), 3) << "nothing while the before view shows";
    wnd.ShowBeforeImage(0);
    EXPECT_EQ(Fake().calls.load(), 4) << "leaving the before view processes";
    Key(QEvent::KeyPress, Qt::Key_Q);
    QEvent deactivate(QEvent::ApplicationDeactivate);
    QApplication::sendEvent(qApp, &deactivate);
    EXPECT_EQ(CKeyStateTracker::IsAnyLetterKeyDown(), 0) << "leaving the application forgets held keys";
}

TEST_F(Pipeline, SpaceHoldsTheBeforeViewThroughAutoRepeatAndNoToolHearsIt) {
    ASSERT_TRUE(MakeGradient(before, 200, 150, 3, 1));
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 0));
    wnd.SetProcessImageFunc(FakeProcessFunc);
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    wnd.ProcessImage();
    LoadNew("A", Tool::EVENTMASK_KEYDOWN | Tool::EVENTMASK_KEYUP);
    const int beforeRed = int(GetValue(before, 150, 100, 2));
    ASSERT_EQ(ShownRed(150, 100), 255 - beforeRed) << "the processed result is on show";
    Key(QEvent::KeyPress, Qt::Key_Space);
    EXPECT_EQ(tuple(wnd.IsShowingBefore(), wnd.IsBeforeByKey(), ShownRed(150, 100)), tuple(1, 1, beforeRed));
    for (int i = 0; i < 3; ++i) { // X11 repeats a held key as release and press pairs
        Key(QEvent::KeyRelease, Qt::Key_Space, true);
        Key(QEvent::KeyPress, Qt::Key_Space, true);
    }
    EXPECT_EQ(tuple(wnd.IsShowingBefore(), ShownRed(150, 100)), tuple(1, beforeRed));
    EXPECT_EQ(log.Only({"OnKeyDown", "OnKeyUp"}), Texts{}) << "no tool hears Space";
    Key(QEvent::KeyRelease, Qt::Key_Space);
    EXPECT_EQ(tuple(wnd.IsShowingBefore(), wnd.IsBeforeByKey(), ShownRed(150, 100)),
              tuple(0, 0, 255 - beforeRed));
    Show(200, 150); // without a before-image Space and the call do nothing
    const int shown = ShownRed(150, 100);
    Key(QEvent::KeyPress, Qt::Key_Space);
    EXPECT_EQ(tuple(wnd.IsShowingBefore(), ShownRed(150, 100)), tuple(0, shown));
    Key(QEvent::KeyRelease, Qt::Key_Space);
    wnd.ShowBeforeImage(1);
    EXPECT_EQ(wnd.IsShowingBefore(), 0);
}

TEST_F(Pipeline, BeforeViewByCallShowsTheDisplayBeforeImageAndItsZoomedCopies) {
    ASSERT_TRUE(MakeConstant(before, 200, 150, 3, 1, 10));
    ASSERT_TRUE(MakeConstant(dispBefore, 200, 150, 3, 1, 90));
    ASSERT_TRUE(MakeConstant(image, 200, 150, 3, 1, 170));
    ASSERT_EQ(wnd.SetImage(image, &before, &dispBefore), 1);
    EXPECT_EQ(ShownRed(5, 5), 170);
    wnd.ShowBeforeImage(1);
    EXPECT_EQ(tuple(ShownRed(5, 5), wnd.IsBeforeByKey()), tuple(90, 0));
    log.Clear();
    wnd.ShowBeforeImage(0);
    EXPECT_EQ(log.Count("parent.NM 118"), 1u) << "leaving it processes; without a function the parent does";
    EXPECT_EQ(ShownRed(5, 5), 245);
    for (CImageDataInfo* img : {&before, &dispBefore, &image})
        ASSERT_TRUE(MakeConstant(*img, 800, 600, 3, 1, img == &before ? 10 : img == &image ? 170 : 90));
    for (CImageDataInfo* disp : {&dispBefore, (CImageDataInfo*)nullptr}) {
        wnd.ShowBeforeImage(0);
        ASSERT_EQ(wnd.SetImage(image, &before, disp), 1);
        ASSERT_TRUE(wnd.IsZoomedOut());
        ASSERT_TRUE(WaitForCache());
        wnd.ShowBeforeImage(1);
        EXPECT_EQ(qRed(wnd.RenderClient().pixel(200, 150)), disp ? 90 : 10);
        EXPECT_EQ(wnd.GetLastSrcRect().size(), QSize(wnd.GetDrawSize().width, wnd.GetDrawSize().height));
    }
}

// --- the preview ----------------------------------------------------------------------------

TEST_F(Pipeline, PreviewHalvesTheLongerSideUpTo512ByAreaAveraging) {
    const auto shown = [&](int w, int h, int channels, int depth) {
        Show(w, h, channels, depth);
        return tuple(wnd.GetPreviewScale(), wnd.m_preview.width, wnd.m_preview.height, wnd.m_preview.depth);
    };
    EXPECT_EQ(shown(1, 1, 3, 1), tuple(1.0, 1, 1, 1));
    EXPECT_TRUE(SamePixels(wnd.m_preview, image));
    EXPECT_EQ(shown(300, 200, 3, 1), tuple(0.5, 150, 100, 1));
    EXPECT_EQ(shown(2000, 3000, 1, 2), tuple(512.0 / 3000.0, 341, 512, 2));
    EXPECT_NEAR(kel_testing::MeanValue(wnd.m_preview, 0), kel_testing::MeanValue(image, 0), 65535 * 0.002);
    EXPECT_EQ(shown(2, 1, 4, 1), tuple(0.5, 1, 1, 1)) << "each side at least 1";
    wnd.Clear(0);
    EXPECT_EQ(tuple(wnd.m_preview.IsValid(), wnd.GetPreviewScale()), tuple(false, 1.0));
}

TEST_F(Pipeline, PreviewIsProcessedOnThisThreadFromItsBeforeImageThroughTheSourceCurve) {
    std::vector<unsigned short> curve(65536);
    for (size_t i = 0; i < curve.size(); ++i)
        curve[i] = static_cast<unsigned short>(65535 - i);
    wnd.SetLinearImageParams(nullptr, curve.data());
    ASSERT_TRUE(MakeConstant(mask, 400, 300, 1, 1, 128));
    Show(400, 300, 3, 1, true);
    ASSERT_EQ(wnd.SetImage(image, &before, nullptr, &mask), 1);
    ASSERT_EQ(
        tuple(wnd.m_previewBefore.width, wnd.m_previewMask.width, GetValue(wnd.m_previewMask, 50, 50, 0)),
        tuple(200, 200, 128u));
    for (int x : {0, 77, 199})
        EXPECT_EQ(GetValue(wnd.m_preview, x, 40, 2), 255u - GetValue(wnd.m_previewBefore, x, 40, 2));
    wnd.SetLinearImageParams(nullptr, nullptr);
    wnd.ProcessPreview();
    EXPECT_EQ(Fake().calls.load(), 0) << "no function, no preview processing";
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.ProcessPreview();
    wnd.ProcessPreview(); // each run starts again from the before-image
    ASSERT_EQ(Fake().calls.load(), 2);
    const ProcessCall c = Fake().Log()[0];
    EXPECT_EQ(tuple(c.thread, c.dst, c.src, c.fullSource, c.zoom),
              tuple(std::this_thread::get_id(), &wnd.m_preview, &wnd.m_previewBefore,
                    (const CImageDataInfo*)nullptr, 0.5));
    EXPECT_EQ(wnd.IsProcessingPreview(), 0);
    EXPECT_TRUE(IsInvertedOf(wnd.m_preview, wnd.m_previewBefore));
    Show(400, 300);
    wnd.ProcessPreview();
    EXPECT_EQ(tuple(Fake().calls.load(), wnd.m_previewBefore.IsValid()), tuple(2, false));
}

// --- the image record -----------------------------------------------------------------------

TEST_F(Pipeline, BadImageRecordsAreRefusedAndAResizedUpdateLosesTheMask) {
    ShowWithBefore(200, 150);
    CImageDataInfo empty, wrong, other;
    EXPECT_EQ(tuple(wnd.SetImage(empty), wnd.UpdateImage(empty, nullptr, nullptr, 1)), tuple(0, 0));
    EXPECT_EQ(tuple(wnd.GetImage(), wnd.GetBeforeImage()), tuple(&image, &before)) << "nothing changed";
    ASSERT_TRUE(MakeGradient(wrong, 150, 200, 3, 1));
    ASSERT_EQ(wnd.SetImage(image, &wrong, &wrong), 1);
    EXPECT_EQ(tuple(wnd.GetBeforeImage(), wnd.GetDispBeforeImage()), tuple(nullptr, nullptr))
        << "before-images of another size are dropped";
    // A mask of the wrong size or of two channels leaves the window empty.
    ASSERT_TRUE(MakeGradient(other, 100, 80, 3, 1));
    for (const auto& [w, channels] : {std::pair(99, 1), std::pair(100, 3)}) {
        ASSERT_TRUE(MakeConstant(mask, w, 80, channels, 1, 255));
        EXPECT_EQ(wnd.SetImage(other, nullptr, nullptr, &mask), 0);
        EXPECT_EQ(tuple(wnd.HasImage(), wnd.GetImageSize(), wnd.m_preview.IsValid()),
                  tuple(0, TSize<int>(0, 0), false));
    }
    ASSERT_TRUE(MakeConstant(mask, 200, 150, 1, 1, 255));
    ASSERT_EQ(wnd.SetImage(image, nullptr, nullptr, &mask), 1);
    ASSERT_EQ(wnd.UpdateImage(image, nullptr, nullptr, 0), 1);
    EXPECT_EQ(wnd.GetTransMaskimage(), &mask) << "same size keeps it";
    ASSERT_EQ(wnd.UpdateImage(other, nullptr, nullptr, 0), 1);
    EXPECT_EQ(tuple(wnd.GetImage(), wnd.GetTransMaskimage(), wnd.m_previewMask.IsValid()),
              tuple(&other, nullptr, false));
}

} // namespace
