// Guards the zoomed cache: builds of stale sizes, a cancel that loses to an older build, readiness that
// lies after a zoom change, builds at zoom 1 or more (and one left running on zooming there), a thread
// that outlives its window, a failed allocation that leaves waiters hanging, the unprocessed copy shown
// before its pass, and zoomed-out processing that writes to the wrong buffer.
#include "CanvasTestSupport.h"

#include "common/life_lock.h"

using namespace kel_canvas_test;
using std::tuple;

namespace {

// What the zoom-content hook saw, and whether it holds the build until the next message to the thread.
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
    if (g_hook.waitForMessage.load())
        WaitForQueuedMessage(static_cast<TestWnd*>(wnd)->m_cacheQueue);
}

class Cache : public Canvas {
protected:
    void SetUp() override {
        Canvas::SetUp();
        g_hook.Reset();
        wnd.SetZoomContentFunc(HookFunc);
    }
    void TearDown() override {
        g_hook.waitForMessage = false;
        Canvas::TearDown();
    }
    // A 2000 x 1500 image (fit gives 0.19) with a before-image, a display-before image and a mask, cached.
    void ShowLarge() {
        ASSERT_TRUE(MakeGradient(before, 2000, 1500, 3, 1));
        ASSERT_TRUE(MakeConstant(image, 2000, 1500, 3, 1, 77));
        ASSERT_TRUE(kel_testing::MakeColorCube(dispBefore, 2000, 1500, 3, 1));
        ASSERT_TRUE(MakeConstant(mask, 2000, 1500, 1, 1, 200));
        ASSERT_EQ(wnd.SetImage(image, &before, &dispBefore, &mask), 1);
        ASSERT_EQ(wnd.IsZoomedOut(), 1);
        ASSERT_TRUE(WaitReady());
    }
    bool WaitReady() { return wnd.WaitForZoomedCache(false) == 1; }
    // Then a build at 1/4 held inside the zoom hook; `builds` gets the count of builds before it.
    void StartHeldBuild(unsigned& builds) {
        ShowLarge();
        builds = wnd.BuildCount();
        g_hook.Reset();
        g_hook.waitForMessage = true;
        Scale(ZOOM_SCALE_1_4);
        ASSERT_EQ(g_hook.entered.wait(-1), 0);
    }
    TSize<int> Size(const CImageDataInfo& i) const { return i.Size(); }
};

TEST_F(Cache, BuildsEveryCopyAtTheZoomedSizeOnItsThreadAndKeepsThemAtOneToOneUntilClear) {
    ShowLarge();
    const TSize<int> size = wnd.GetZoomedSize();
    EXPECT_EQ(size, TSize<int>(373, 280)); // fit: 280 / 1500
    EXPECT_EQ(tuple(Size(wnd.m_cacheImage), Size(wnd.m_cacheBefore), Size(wnd.m_cacheDispBefore),
                    Size(wnd.m_cacheMask), wnd.m_cacheMask.channels, GetValue(wnd.m_cacheMask, 100, 100, 0)),
              tuple(size, size, size, size, 1, 200u));
    // Unprocessed until the pipeline runs: the image copy starts as the reduced before-image.
    EXPECT_TRUE(SamePixels(wnd.m_cacheImage, wnd.m_cacheBefore));
    EXPECT_NEAR(kel_testing::MeanValue(wnd.m_cacheBefore, 0), kel_testing::MeanValue(before, 0), 1.0);
    EXPECT_EQ(tuple(wnd.BuildCount(), g_hook.Zooms()), tuple(1u, std::vector<double>{wnd.GetZoomValue()}));
    EXPECT_NE(g_hook.threads[0], std::this_thread::get_id());
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    EXPECT_EQ(tuple(wnd.IsZoomedCacheReady(), Size(wnd.m_cacheImage), wnd.BuildCount()), tuple(0, size, 1u));
    wnd.Clear(0);
    EXPECT_EQ(tuple(wnd.m_cacheImage.IsValid(), wnd.m_cacheMask.IsValid()), tuple(false, false));
}

TEST_F(Cache, WithoutBeforeImageOnlyTheImageIsCopiedAndNothingAtZoomOneOrMore) {
    ASSERT_TRUE(MakeGradient(image, 2000, 1500, 4, 2));
    ASSERT_EQ(wnd.SetImage(image), 1);
    ASSERT_TRUE(WaitReady());
    EXPECT_EQ(tuple(wnd.m_cacheImage.channels, wnd.m_cacheImage.depth, wnd.m_cacheBefore.IsValid(),
                    wnd.m_cacheDispBefore.IsValid(), wnd.m_cacheMask.IsValid()),
              tuple(4, 2, false, false, false));
    // A display-before that is the before-image itself gets no copy of its own.
    ASSERT_TRUE(MakeGradient(before, 2000, 1500, 4, 2));
    ASSERT_EQ(wnd.UpdateImage(image, &before, &before, 0), 1);
    ASSERT_TRUE(WaitReady());
    EXPECT_EQ(tuple(wnd.m_cacheBefore.IsValid(), wnd.m_cacheDispBefore.IsValid()), tuple(true, false));
    Show(300, 200);
    Scale(ZOOM_SCALE_2_1);
    const unsigned builds = wnd.BuildCount();
    wnd.UpdateZoomedCache();
    EXPECT_TRUE(wnd.m_cacheReady.is_set()) << "no request was made";
    EXPECT_EQ(tuple(wnd.BuildCount(), wnd.IsZoomedCacheReady(), wnd.m_cacheImage.IsValid()),
              tuple(builds, 0, false));
}

TEST_F(Cache, RapidZoomChangesBuildOnlyTheLastSize) {
    ShowLarge();
    g_hook.Reset();
    const unsigned builds = wnd.BuildCount();
    {
        // The cache thread takes the first request and then waits for this lock.
        life_lock hold(wnd.m_cacheLock);
        for (ZOOM_SCALE s :
             {ZOOM_SCALE_1_2, ZOOM_SCALE_1_3, ZOOM_SCALE_1_4, ZOOM_SCALE_1_6, ZOOM_SCALE_1_8}) {
            Scale(s);
            EXPECT_EQ(wnd.IsZoomedCacheReady(), 0);
        }
    }
    ASSERT_TRUE(WaitReady());
    EXPECT_EQ(tuple(wnd.GetZoomedSize(), Size(wnd.m_cacheImage), wnd.BuildCount(), g_hook.Zooms()),
              tuple(TSize<int>(250, 188), TSize<int>(250, 188), builds + 1, std::vector<double>{0.125}));
}

TEST_F(Cache, CancelAfterRequestKeepsTheOldCopiesAndAdjustingAsksAgain) {
    ShowLarge();
    const CImageDataInfo oldCopy = wnd.m_cacheImage;
    const unsigned builds = wnd.BuildCount();
    g_hook.Reset();
    {
        life_lock hold(wnd.m_cacheLock);
        Scale(ZOOM_SCALE_1_4);
        wnd.CancelZoomedCaching(0);
    }
    wnd.CancelZoomedCaching(1);
    EXPECT_TRUE(wnd.m_cacheReady.is_set());
    EXPECT_EQ(wnd.IsZoomedCacheReady(), 0) << "the copies are of the old size";
    EXPECT_TRUE(SamePixels(wnd.m_cacheImage, oldCopy));
    EXPECT_EQ(tuple(wnd.BuildCount(), g_hook.Zooms().size()), tuple(builds, size_t(0)));
    wnd.EnterAdjustingMode();
    EXPECT_EQ(tuple(wnd.IsAdjustingMode(), wnd.IsZoomedCacheReady(), Size(wnd.m_cacheImage)),
              tuple(1, 1, TSize<int>(500, 375)));
    wnd.ExitAdjustingMode();
}

TEST_F(Cache, CancelQuitAndDestroyDuringABuildStopItAtTheNextCheckpoint) {
    unsigned builds = 0;
    ASSERT_NO_FATAL_FAILURE(StartHeldBuild(builds));
    wnd.CancelZoomedCaching(1);
    EXPECT_EQ(tuple(wnd.BuildCount(), wnd.IsZoomedCacheReady()), tuple(builds, 0)) << "half-written copies";
    g_hook.Reset();
    g_hook.waitForMessage = true;
    Scale(ZOOM_SCALE_1_3);
    ASSERT_EQ(g_hook.entered.wait(-1), 0);
    wnd.StopCacheThread();
    EXPECT_EQ(tuple((wnd.m_cacheThread != nullptr), wnd.BuildCount(), wnd.IsZoomedCacheReady()),
              tuple(false, builds, 0));
    // Without the thread nothing is requested and nothing waits.
    wnd.UpdateZoomedCache();
    wnd.CancelZoomedCaching(1);
    EXPECT_EQ(wnd.WaitForZoomedCache(true), 0);
}

TEST_F(Cache, DestroyingTheWindowDuringABuildEndsTheThread) {
    unsigned builds = 0;
    ASSERT_NO_FATAL_FAILURE(StartHeldBuild(builds));
    wnd.DestroyWindow(); // returns only once the cache thread has ended
    EXPECT_EQ(tuple((wnd.m_cacheThread != nullptr), wnd.BuildCount(), g_hook.Zooms().size()),
              tuple(false, builds, size_t(1)));
}

TEST_F(Cache, ZoomingToOneToOneCancelsARunningBuild) {
    unsigned builds = 0;
    ASSERT_NO_FATAL_FAILURE(StartHeldBuild(builds));
    // The held build goes on only when a message reaches the cache thread: the cancel must come.
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    // No events run here: processing would wait for the cache lock that a held build keeps.
    EXPECT_EQ(wnd.WaitZoomedCacheIdle(5000), 1) << "the useless build was left running";
    EXPECT_EQ(wnd.BuildCount(), builds);
}

TEST_F(Cache, FailedAllocationReleasesEveryWaiterAndTheNextZoomRetries) {
    ShowLarge();
    wnd.RequestImpossibleCache();
    EXPECT_EQ(wnd.WaitForZoomedCache(true), 0);
    EXPECT_EQ(tuple(wnd.m_cacheReady.is_set(), wnd.m_cacheImage.IsValid()), tuple(true, false));
    // Adjusting needs the copy: it is refused instead of waiting forever, and so is processing.
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.EnterAdjustingMode();
    wnd.ProcessImage();
    EXPECT_EQ(tuple(wnd.IsAdjustingMode(), Fake().calls.load()), tuple(0, 0));
    wnd.SetZoom(ZOOM_TYPE_FIT, nullptr, nullptr);
    EXPECT_TRUE(WaitReady());
}

TEST_F(Cache, RebuiltCopyShowsTheProcessedPreviewUntilItsPassWhichTheThreadArms) {
    wnd.SetZoomContentFunc(nullptr);
    wnd.SetProcessImageFunc(FakeProcessFunc);
    // Blue rises from 0 at the left edge: processed, it is near 255 there.
    ASSERT_TRUE(MakeGradient(before, 2000, 1500, 3, 1));
    ASSERT_TRUE(MakeConstant(image, 2000, 1500, 3, 1, 77));
    ASSERT_EQ(wnd.SetImage(image, &before), 1);
    wnd.KillTimer(CImageWnd::TIMER_PROCESSIMAGE);
    ASSERT_TRUE(WaitReady());
    const auto blueAtLeft = [&] {
        const QImage shot = wnd.RenderClient();
        return qBlue(shot.pixel(wnd.GetLastDrawRect().left() + 2, wnd.GetLastDrawRect().center().y()));
    };
    // The copy waits for its pass: the processed preview stays.
    EXPECT_GT(blueAtLeft(), 200);
    EXPECT_NE(wnd.GetLastSrcRect().width(), wnd.GetDrawSize().width) << "drawn from the unprocessed copy";
    // The cache thread asks the UI thread to arm the processing timer.
    EXPECT_TRUE(PumpUntil([&] { return wnd.IsTimerRunning(CImageWnd::TIMER_PROCESSIMAGE) == 1; }));
    wnd.ProcessImage();
    EXPECT_GT(blueAtLeft(), 200);
    EXPECT_EQ(wnd.GetLastSrcRect().size(), QSize(wnd.GetDrawSize().width, wnd.GetDrawSize().height));
}

TEST_F(Cache, ZoomedOutProcessingWritesTheCachedImageOnlyAndCarriesTheFullSource) {
    ShowLarge();
    const CImageDataInfo untouched = image;
    wnd.SetProcessImageFunc(FakeProcessFunc);
    wnd.OnTimer(CImageWnd::TIMER_PROCESSIMAGE);
    ASSERT_EQ(Fake().calls.load(), 1);
    const ProcessCall c = Fake().Log()[0];
    EXPECT_EQ(tuple(c.src, c.fullSource, c.zoom, c.x, c.y, TSize<int>(c.width, c.height)),
              tuple(&wnd.m_cacheBefore, &before, wnd.GetZoomValue(), 0, 0, wnd.GetZoomedSize()));
    EXPECT_TRUE(IsInvertedOf(wnd.m_cacheImage, wnd.m_cacheBefore));
    EXPECT_TRUE(SamePixels(image, untouched));
    // Without a function: the synchronous request and ProcessZoomedCache ask the parent the same way.
    wnd.SetProcessImageFunc(nullptr);
    wnd.EnterAdjustingMode();
    wnd.AdjustImage(0);
    wnd.ExitAdjustingMode();
    ASSERT_EQ(parent.processed, 1);
    EXPECT_EQ(tuple(parent.last.src, parent.last.fullSource, parent.last.zoom),
              tuple(&wnd.m_cacheBefore, &before, wnd.GetZoomValue()));
    wnd.ProcessZoomedCache();
    ASSERT_EQ(parent.processed, 2);
    EXPECT_EQ(tuple(parent.last.dst, parent.last.fullSource, parent.last.x),
              tuple(&wnd.m_cacheImage, &before, 0));
    EXPECT_TRUE(IsInvertedOf(wnd.m_cacheImage, wnd.m_cacheBefore));
    // The working rectangle is in cache pixels.
    Scale(ZOOM_SCALE_1_2);
    ASSERT_EQ(wnd.SetDispPos(300, 200), 1);
    wnd.EnterAdjustingMode();
    const int e = ImageProcess::GetProcessExtend();
    EXPECT_EQ(wnd.GetAdjustRect(), QRect(300 - e, 200 - e, 400 + 2 * e, 300 + 2 * e));
    wnd.ExitAdjustingMode();
}

TEST_F(Cache, UpdateRebuildsWithTheNewContentAndThePreviewFollowsTheEditMeanwhile) {
    ShowLarge();
    const unsigned builds = wnd.BuildCount();
    ASSERT_TRUE(MakeConstant(before, 2000, 1500, 3, 1, 9));
    ASSERT_EQ(wnd.UpdateImage(image, &before, nullptr, 0), 1);
    ASSERT_TRUE(WaitReady());
    EXPECT_EQ(tuple(wnd.BuildCount(), GetValue(wnd.m_cacheBefore, 5, 5, 1), wnd.m_cacheDispBefore.IsValid()),
              tuple(builds + 1, 9u, false));
    wnd.SetProcessImageFunc(FakeProcessFunc);
    Fake().Reset();
    Scale(ZOOM_SCALE_1_4);
    // The request processed the preview first, on this thread.
    ASSERT_GE(Fake().calls.load(), 1);
    const ProcessCall c = Fake().Log()[0];
    EXPECT_EQ(tuple(c.thread, c.src, c.fullSource, c.zoom),
              tuple(std::this_thread::get_id(), &wnd.m_previewBefore, nullptr, wnd.GetPreviewScale()));
    ASSERT_TRUE(WaitReady());
}

} // namespace
