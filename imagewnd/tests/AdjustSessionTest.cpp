// Guards a host's live adjusting session: a tool unloaded while the adjust thread still walks it, two
// passes filling the adjust buffer at once, and the timer, an unload or the before view ending the
// session instead of processing it again.
#include "PipelineTestSupport.h"

#include "imageprocess/ImageProcess.h"
#include "imagewnd/CKeyStateTracker.h"

#include <memory>

using namespace kel_pipeline_test;
using kel_canvas_test::EventLog;
using kel_canvas_test::RecordingTool;
using kel_testing::GetValue;
using kel_testing::MakeGradient;

namespace {

// How long a slow pass waits for something that must not happen during it.
constexpr int kSlowPassMs = 400;

class AdjustSession : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        Fake().Reset();
        ImageProcess::SetProcessExtend(ImageProcess::DEFAULT_PROCESS_EXTEND);
        CKeyStateTracker::Reset();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
        ASSERT_TRUE(MakeGradient(before, 200, 150, 3, 1));
        ASSERT_TRUE(MakeGradient(image, 200, 150, 3, 1));
        ASSERT_EQ(wnd.SetImage(image, &before), 1);
        wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    }
    void TearDown() override { CKeyStateTracker::Reset(); }

    // Every value of the working rectangle `r` is the inverted before-image.
    bool ShowsInvertedBefore(const QRect& r) const {
        for (int y = r.top(); y <= r.bottom(); y += 7)
            for (int x = r.left(); x <= r.right(); x += 7)
                for (int c = 0; c < 3; ++c)
                    if (GetValue(image, x, y, c) != 255u - GetValue(before, x, y, c))
                        return false;
        return !r.isEmpty();
    }

    CImageDataInfo image;
    CImageDataInfo before;
    ProcessingParent parent;
    TestWnd wnd;
};

// A tool whose post-processing reads data that its OnUnload frees, slowly enough for an unload to
// land in the middle.
class SlowPostTool : public RecordingTool {
public:
    using RecordingTool::RecordingTool;
    void OnPostProcessImage(CImageDataInfo&, const CImageDataInfo&, int, int) override {
        entered.set();
        // Returns at once when OnUnload runs meanwhile.
        unloadedSignal.wait(kSlowPassMs);
        if (unloaded.load()) {
            readAfterUnload.fetch_add(1);
            return;
        }
        sum += (*data)[0];
    }
    void OnUnload() override {
        data.reset();
        unloaded.store(true);
        unloadedSignal.set();
        RecordingTool::OnUnload();
    }
    std::unique_ptr<std::vector<int>> data = std::make_unique<std::vector<int>>(16, 1);
    int sum = 0;
    event_signal entered{true, false};
    event_signal unloadedSignal{true, false};
    std::atomic<bool> unloaded{false};
    std::atomic<int> readAfterUnload{0};
};

TEST_F(AdjustSession, UnloadWaitsForTheThreadsWalkAndKeepsTheSession) {
    EventLog log;
    SlowPostTool tool("S", "slow", IImageWndTool::EVENTMASK_POSTPROCESSIMAGE, log);
    wnd.LoadTool(&tool);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.EnterAdjustingMode();
    ASSERT_EQ(wnd.IsAdjustingMode(), 1);
    const QRect rect = wnd.GetAdjustRect();
    wnd.AdjustImage(1);
    ASSERT_EQ(tool.entered.wait(10000), 0);
    wnd.UnloadTool(&tool, 1);
    EXPECT_EQ(tool.readAfterUnload.load(), 0) << "OnUnload ran while the adjust thread was in the tool";
    EXPECT_EQ(tool.sum, 1);
    EXPECT_EQ(wnd.FindTool(&tool), -1);
    EXPECT_EQ(wnd.IsAdjustingMode(), 1) << "unloading ended the host's session";
    wnd.ExitAdjustingMode();
    // The unload posted the working rectangle again: that pass ran without the tool.
    EXPECT_EQ(Fake().calls.load(), 2);
    EXPECT_TRUE(ShowsInvertedBefore(rect));
}

// A processing function that counts the passes inside it at once. The first pass waits for a second
// to come in, which it never should.
struct OverlapProbe {
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    std::atomic<int> calls{0};
    event_signal entered{true, false};
    event_signal second{true, false};
    void Reset() {
        inside.store(0);
        overlaps.store(0);
        calls.store(0);
        entered.reset();
        second.reset();
    }
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

TEST_F(AdjustSession, SynchronousRequestWaitsForThePostedPass) {
    g_probe.Reset();
    wnd.SetProcessImageFunc(OverlapFunc);
    wnd.EnterAdjustingMode();
    ASSERT_EQ(wnd.IsAdjustingMode(), 1);
    const QRect rect = wnd.GetAdjustRect();
    wnd.AdjustImage(1);
    ASSERT_EQ(g_probe.entered.wait(10000), 0);
    wnd.AdjustImage(0);
    EXPECT_EQ(g_probe.calls.load(), 2);
    wnd.ExitAdjustingMode();
    EXPECT_EQ(g_probe.overlaps.load(), 0) << "both passes filled the adjust buffer at once";
    EXPECT_TRUE(ShowsInvertedBefore(rect));
}

TEST_F(AdjustSession, TimerAndLeavingTheBeforeViewProcessAgainInsideTheSession) {
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.EnterAdjustingMode();
    ASSERT_EQ(wnd.IsAdjustingMode(), 1);
    const QRect rect = wnd.GetAdjustRect();
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    EXPECT_EQ(wnd.IsAdjustingMode(), 1) << "the processing timer ended the session";
    // Waiting without running events: the adjust thread posts while it lives.
    ASSERT_EQ(Fake().entered.wait(10000), 0);
    // The first pass took its request: this one is a second.
    wnd.ShowBeforeImage(1);
    wnd.ShowBeforeImage(0);
    EXPECT_EQ(wnd.IsAdjustingMode(), 1) << "leaving the before view ended the session";
    wnd.ExitAdjustingMode();
    EXPECT_EQ(Fake().calls.load(), 2);
    EXPECT_TRUE(ShowsInvertedBefore(rect));
}

} // namespace
