// Guards the zoomed cache: builds of stale sizes, a cancel that loses to an older build, readiness that
// lies after a zoom change, builds at zoom 1 or more, a thread that outlives its window, a failed
// allocation that leaves waiters hanging, and zoomed-out processing that writes to the wrong buffer.
#include "PipelineTestSupport.h"

#include "common/life_lock.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CKeyStateTracker.h"

#include <mutex>

using namespace kel_pipeline_test;
using kel_qt_test::PumpUntil;
using kel_testing::GetValue;
using kel_testing::MakeConstant;
using kel_testing::MakeGradient;
using kel_testing::SamePixels;

namespace {

// What the zoom-content hook saw, and how it behaves.
struct ContentHook {
    std::mutex lock;
    std::vector<double> zooms;
    std::vector<std::thread::id> threads;
    event_signal entered{true, false};
    std::atomic<bool> waitForMessage{false};

    void Reset() {
        std::lock_guard<std::mutex> guard(lock);
        zooms.clear();
        threads.clear();
        entered.reset();
        waitForMessage.store(false);
    }
    std::vector<double> Zooms() {
        std::lock_guard<std::mutex> guard(lock);
        return zooms;
    }
} g_hook;

void HookFunc(CImageWnd* wnd, double zoom) {
    {
        std::lock_guard<std::mutex> guard(g_hook.lock);
        g_hook.zooms.push_back(zoom);
        g_hook.threads.push_back(std::this_thread::get_id());
    }
    g_hook.entered.set();
    // Holds the build here until the window posts its next message to the cache thread.
    if (g_hook.waitForMessage.load())
        WaitForQueuedMessage(static_cast<TestWnd*>(wnd)->CacheQueue());
}

class ZoomedCache : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        Fake().Reset();
        g_hook.Reset();
        CKeyStateTracker::Reset();
        parent.Create(nullptr, QRect(0, 0, 600, 500), 0);
        wnd.Create(&parent, QRect(0, 0, 400, 300), 1001);
        wnd.SetZoomContentFunc(HookFunc);
    }
    // A 2000 x 1500 image (fit gives 0.19) with a before-image, a display-before image and a mask.
    void ShowLarge(int channels = 3, int depth = 1) {
        ASSERT_TRUE(MakeGradient(before, 2000, 1500, channels, depth));
        ASSERT_TRUE(MakeConstant(image, 2000, 1500, channels, depth, 77));
        ASSERT_TRUE(kel_testing::MakeColorCube(dispBefore, 2000, 1500, channels, depth));
        ASSERT_TRUE(MakeConstant(mask, 2000, 1500, 1, 1, 200));
        ASSERT_EQ(wnd.SetImage(image, &before, &dispBefore, &mask), 1);
        ASSERT_EQ(wnd.IsZoomedOut(), 1);
    }
    bool WaitReady() { return wnd.WaitForZoomedCache(false) == 1; }
    // The large image cached, then a build at 1/4 started and held inside the zoom hook. `builds`
    // gets the count of complete builds before it.
    void StartHeldBuild(unsigned& builds) {
        ShowLarge();
        ASSERT_TRUE(WaitReady());
        builds = wnd.BuildCount();
        g_hook.Reset();
        g_hook.waitForMessage = true;
        const ZOOM_SCALE quarter = ZOOM_SCALE_1_4;
        wnd.SetZoom(ZOOM_TYPE_SCALE, &quarter, nullptr);
        ASSERT_EQ(g_hook.entered.wait(-1), 0);
    }

    CImageDataInfo image, before, dispBefore, mask;
    ProcessingParent parent;
    TestWnd wnd;
};

TEST_F(ZoomedCache, BuildsEveryCopyAtTheZoomedSize) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    const TSize<int> size = wnd.GetZoomedSize();
    EXPECT_EQ(size, TSize<int>(373, 280)); // fit: 280 / 1500
    EXPECT_EQ(wnd.CacheImage().Size(), size);
    EXPECT_EQ(wnd.CacheBefore().Size(), size);
    EXPECT_EQ(wnd.CacheDispBefore().Size(), size);
    EXPECT_EQ(wnd.CacheMask().Size(), size);
    EXPECT_EQ(wnd.CacheMask().channels, 1);
    EXPECT_EQ(GetValue(wnd.CacheMask(), 100, 100, 0), 200u);
    // Unprocessed until the pipeline runs: the image copy starts as the reduced before-image.
    EXPECT_TRUE(SamePixels(wnd.CacheImage(), wnd.CacheBefore()));
    EXPECT_NEAR(kel_testing::MeanValue(wnd.CacheBefore(), 0), kel_testing::MeanValue(before, 0), 1.0);
    EXPECT_EQ(wnd.BuildCount(), 1u);
    ASSERT_EQ(g_hook.Zooms().size(), 1u);
    EXPECT_DOUBLE_EQ(g_hook.Zooms()[0], wnd.GetZoomValue());
    EXPECT_NE(g_hook.threads[0], std::this_thread::get_id());
}

TEST_F(ZoomedCache, WithoutBeforeImageOnlyTheImageIsCopied) {
    ASSERT_TRUE(MakeGradient(image, 2000, 1500, 4, 2));
    ASSERT_EQ(wnd.SetImage(image, nullptr, nullptr, nullptr), 1);
    ASSERT_TRUE(WaitReady());
    EXPECT_EQ(wnd.CacheImage().channels, 4);
    EXPECT_EQ(wnd.CacheImage().depth, 2);
    EXPECT_FALSE(wnd.CacheBefore().IsValid());
    EXPECT_FALSE(wnd.CacheDispBefore().IsValid());
    EXPECT_FALSE(wnd.CacheMask().IsValid());
    // A display-before that is the before-image itself gets no copy of its own.
    ASSERT_TRUE(MakeGradient(before, 2000, 1500, 4, 2));
    ASSERT_EQ(wnd.UpdateImage(image, &before, &before, 0), 1);
    ASSERT_TRUE(WaitReady());
    EXPECT_TRUE(wnd.CacheBefore().IsValid());
    EXPECT_FALSE(wnd.CacheDispBefore().IsValid());
}

TEST_F(ZoomedCache, NothingIsBuiltAtZoomOneOrMore) {
    ASSERT_TRUE(MakeGradient(image, 300, 200, 3, 1));
    ASSERT_EQ(wnd.SetImage(image), 1);
    EXPECT_EQ(wnd.IsZoomedOut(), 0);
    const ZOOM_SCALE twoToOne = ZOOM_SCALE_2_1;
    wnd.SetZoom(ZOOM_TYPE_SCALE, &twoToOne, nullptr);
    wnd.UpdateZoomedCache();
    EXPECT_TRUE(wnd.CacheEventSet()) << "no request was made";
    EXPECT_EQ(wnd.BuildCount(), 0u);
    EXPECT_EQ(wnd.IsZoomedCacheReady(), 0);
    EXPECT_FALSE(wnd.CacheImage().IsValid());
}

TEST_F(ZoomedCache, OldCopiesStayAtOneToOneUntilClear) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    EXPECT_EQ(wnd.IsZoomedCacheReady(), 0);
    EXPECT_EQ(wnd.CacheImage().Size(), TSize<int>(373, 280));
    EXPECT_EQ(wnd.BuildCount(), 1u);
    wnd.Clear(0);
    EXPECT_FALSE(wnd.CacheImage().IsValid());
    EXPECT_FALSE(wnd.CacheMask().IsValid());
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM) << "Clear keeps the zoom type";
}

TEST_F(ZoomedCache, RapidZoomChangesBuildOnlyTheLastSize) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    g_hook.Reset();
    const unsigned builds = wnd.BuildCount();
    {
        // The cache thread takes the first request and then waits for this lock.
        life_lock hold(wnd.CacheLock());
        for (ZOOM_SCALE s :
             {ZOOM_SCALE_1_2, ZOOM_SCALE_1_3, ZOOM_SCALE_1_4, ZOOM_SCALE_1_6, ZOOM_SCALE_1_8}) {
            wnd.SetZoom(ZOOM_TYPE_SCALE, &s, nullptr);
            EXPECT_EQ(wnd.IsZoomedCacheReady(), 0);
        }
    }
    ASSERT_TRUE(WaitReady());
    EXPECT_EQ(wnd.GetZoomedSize(), TSize<int>(250, 188));
    EXPECT_EQ(wnd.CacheImage().Size(), TSize<int>(250, 188));
    EXPECT_EQ(wnd.BuildCount(), builds + 1);
    ASSERT_EQ(g_hook.Zooms().size(), 1u);
    EXPECT_DOUBLE_EQ(g_hook.Zooms()[0], 0.125);
}

TEST_F(ZoomedCache, CancelAfterRequestKeepsTheOldCopies) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    const CImageDataInfo oldCopy = wnd.CacheImage();
    const unsigned builds = wnd.BuildCount();
    g_hook.Reset();
    {
        life_lock hold(wnd.CacheLock());
        const ZOOM_SCALE quarter = ZOOM_SCALE_1_4;
        wnd.SetZoom(ZOOM_TYPE_SCALE, &quarter, nullptr);
        wnd.CancelZoomedCaching(0);
    }
    wnd.CancelZoomedCaching(1);
    EXPECT_TRUE(wnd.CacheEventSet());
    EXPECT_EQ(wnd.IsZoomedCacheReady(), 0) << "the copies are of the old size";
    EXPECT_TRUE(SamePixels(wnd.CacheImage(), oldCopy));
    EXPECT_EQ(wnd.BuildCount(), builds);
    EXPECT_TRUE(g_hook.Zooms().empty());

    // Entering adjusting mode asks for the copy it needs and waits for it.
    wnd.EnterAdjustingMode();
    EXPECT_EQ(wnd.IsAdjustingMode(), 1);
    EXPECT_EQ(wnd.IsZoomedCacheReady(), 1);
    EXPECT_EQ(wnd.CacheImage().Size(), TSize<int>(500, 375));
    wnd.ExitAdjustingMode();
}

TEST_F(ZoomedCache, CancelDuringABuildStopsItAtTheNextCheckpoint) {
    unsigned builds = 0;
    ASSERT_NO_FATAL_FAILURE(StartHeldBuild(builds));
    wnd.CancelZoomedCaching(1);
    EXPECT_EQ(wnd.BuildCount(), builds) << "the build did not complete";
    EXPECT_EQ(wnd.IsZoomedCacheReady(), 0) << "half-written copies are never ready";
    g_hook.waitForMessage = false;
}

TEST_F(ZoomedCache, ZoomingToOneToOneCancelsARunningBuild) {
    unsigned builds = 0;
    ASSERT_NO_FATAL_FAILURE(StartHeldBuild(builds));
    // The held build goes on only when a message reaches the cache thread: the cancel must come.
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    // No events run here: processing would wait for the cache lock that a held build keeps.
    EXPECT_EQ(wnd.WaitZoomedCacheIdle(5000), 1) << "the useless build was left running";
    EXPECT_EQ(wnd.BuildCount(), builds);
    g_hook.waitForMessage = false;
}

TEST_F(ZoomedCache, RebuiltCopyShowsTheProcessedPreviewUntilItsPass) {
    wnd.SetZoomContentFunc(nullptr);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    // Blue rises from 0 at the left edge: processed, it is near 255 there.
    ASSERT_TRUE(MakeGradient(before, 2000, 1500, 3, 1));
    ASSERT_TRUE(MakeConstant(image, 2000, 1500, 3, 1, 77));
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    ASSERT_TRUE(WaitReady());
    const auto blueAtLeft = [&] {
        const QImage shot = wnd.RenderClient();
        const QRect drawn = wnd.GetLastDrawRect();
        return qBlue(shot.pixel(drawn.left() + 2, drawn.center().y()));
    };
    // The copy waits for its pass (the timer is armed, not run): the preview stays.
    int blue = blueAtLeft();
    EXPECT_NE(wnd.GetLastSrcRect().width(), wnd.GetDrawSize().width) << "drawn from the unprocessed copy";
    EXPECT_GT(blue, 200);
    wnd.ProcessImage();
    blue = blueAtLeft();
    EXPECT_EQ(wnd.GetLastSrcRect().size(), QSize(wnd.GetDrawSize().width, wnd.GetDrawSize().height));
    EXPECT_GT(blue, 200);
}

TEST_F(ZoomedCache, DestroyingTheWindowDuringABuildEndsTheThread) {
    unsigned builds = 0;
    ASSERT_NO_FATAL_FAILURE(StartHeldBuild(builds));
    // Returns only once the cache thread has ended.
    wnd.DestroyWindow();
    EXPECT_FALSE(wnd.CacheThreadRuns());
    EXPECT_EQ(wnd.BuildCount(), builds);
    EXPECT_EQ(g_hook.Zooms().size(), 1u);
}

TEST_F(ZoomedCache, QuitDuringABuildEndsTheThreadAtTheNextCheckpoint) {
    unsigned builds = 0;
    ASSERT_NO_FATAL_FAILURE(StartHeldBuild(builds));
    wnd.StopCacheThread();
    EXPECT_FALSE(wnd.CacheThreadRuns());
    EXPECT_EQ(wnd.BuildCount(), builds);
    EXPECT_EQ(wnd.IsZoomedCacheReady(), 0);
    // Without the thread nothing is requested and nothing waits.
    wnd.UpdateZoomedCache();
    wnd.CancelZoomedCaching(1);
    EXPECT_EQ(wnd.WaitForZoomedCache(true), 0);
}

TEST_F(ZoomedCache, FailedAllocationReleasesEveryWaiter) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    wnd.RequestImpossibleCache();
    EXPECT_EQ(wnd.WaitForZoomedCache(true), 0);
    EXPECT_TRUE(wnd.CacheEventSet());
    EXPECT_FALSE(wnd.CacheImage().IsValid());
    // Adjusting needs the copy: it is refused instead of waiting forever, and so is processing.
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.EnterAdjustingMode();
    EXPECT_EQ(wnd.IsAdjustingMode(), 0);
    wnd.ProcessImage();
    EXPECT_EQ(Fake().calls.load(), 0);
    // The next zoom change retries.
    wnd.SetZoom(ZOOM_TYPE_FIT, nullptr, nullptr);
    EXPECT_TRUE(WaitReady());
}

TEST_F(ZoomedCache, AfterABuildWithBeforeImageTheProcessingTimerIsArmed) {
    ShowLarge();
    wnd.KillTimer(CImageWnd::TIMER_PROCESSIMAGE);
    ASSERT_TRUE(WaitReady());
    // The cache thread asks the UI thread to restart the timer.
    EXPECT_TRUE(PumpUntil([&] { return wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE) == 1; }));
}

TEST_F(ZoomedCache, ZoomedOutProcessingWritesTheCachedImageOnly) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    const CImageDataInfo untouched = image;
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    ASSERT_EQ(Fake().calls.load(), 1);
    const ProcessCall call = Fake().Log()[0];
    EXPECT_EQ(call.src, &wnd.CacheBefore());
    EXPECT_EQ(call.fullSource, &before);
    EXPECT_DOUBLE_EQ(call.zoom, wnd.GetZoomValue());
    EXPECT_EQ(call.x, 0);
    EXPECT_EQ(call.y, 0);
    EXPECT_EQ(TSize<int>(call.width, call.height), wnd.GetZoomedSize()) << "fit: the whole copy shows";
    CImageDataInfo expected;
    Inverted(wnd.CacheBefore(), expected);
    EXPECT_TRUE(SamePixels(wnd.CacheImage(), expected));
    EXPECT_TRUE(SamePixels(image, untouched));
}

TEST_F(ZoomedCache, ZoomedOutWorkingRectangleIsInCachePixels) {
    ShowLarge();
    const ZOOM_SCALE half = ZOOM_SCALE_1_2;
    wnd.SetZoom(ZOOM_TYPE_SCALE, &half, nullptr);
    ASSERT_EQ(wnd.SetDispPos(300, 200), 1);
    wnd.EnterAdjustingMode();
    ASSERT_EQ(wnd.IsAdjustingMode(), 1);
    const int e = ImageProcess::GetProcessExtend();
    EXPECT_EQ(wnd.GetAdjustRect(), QRect(300 - e, 200 - e, 400 + 2 * e, 300 + 2 * e));
    wnd.ExitAdjustingMode();
}

TEST_F(ZoomedCache, SynchronousZoomedOutRequestCarriesTheFullSource) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    wnd.EnterAdjustingMode();
    wnd.AdjustImage(0);
    wnd.ExitAdjustingMode();
    ASSERT_EQ(parent.notifications, 1);
    EXPECT_EQ(parent.last.src, &wnd.CacheBefore());
    EXPECT_EQ(parent.last.fullSource, &before);
    EXPECT_DOUBLE_EQ(parent.last.zoom, wnd.GetZoomValue());
}

TEST_F(ZoomedCache, ProcessZoomedCacheRunsOverTheWholeCopy) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    wnd.ProcessZoomedCache();
    ASSERT_EQ(parent.notifications, 1);
    EXPECT_EQ(parent.last.dst, &wnd.CacheImage());
    EXPECT_EQ(parent.last.fullSource, &before);
    EXPECT_EQ(parent.last.x, 0);
    CImageDataInfo expected;
    Inverted(wnd.CacheBefore(), expected);
    EXPECT_TRUE(SamePixels(wnd.CacheImage(), expected));
}

TEST_F(ZoomedCache, UpdateImageRebuildsTheCopyWithTheNewContent) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    const unsigned builds = wnd.BuildCount();
    ASSERT_TRUE(MakeConstant(before, 2000, 1500, 3, 1, 9));
    ASSERT_EQ(wnd.UpdateImage(image, &before, nullptr, 0), 1);
    ASSERT_TRUE(WaitReady());
    EXPECT_EQ(wnd.BuildCount(), builds + 1);
    EXPECT_EQ(GetValue(wnd.CacheBefore(), 5, 5, 1), 9u);
    EXPECT_FALSE(wnd.CacheDispBefore().IsValid()) << "no display-before any more";
}

TEST_F(ZoomedCache, PreviewFollowsTheEditWhileTheCopyBuilds) {
    ShowLarge();
    ASSERT_TRUE(WaitReady());
    wnd.SetProcessImageFunc(FakeProcessFunc);
    Fake().Reset();
    const ZOOM_SCALE quarter = ZOOM_SCALE_1_4;
    wnd.SetZoom(ZOOM_TYPE_SCALE, &quarter, nullptr);
    // The request processed the preview first, on this thread.
    ASSERT_GE(Fake().calls.load(), 1);
    const ProcessCall call = Fake().Log()[0];
    EXPECT_EQ(call.thread, std::this_thread::get_id());
    EXPECT_EQ(call.src, &wnd.PreviewBefore());
    EXPECT_EQ(call.fullSource, nullptr);
    EXPECT_DOUBLE_EQ(call.zoom, wnd.GetPreviewScale());
    ASSERT_TRUE(WaitReady());
}

} // namespace
