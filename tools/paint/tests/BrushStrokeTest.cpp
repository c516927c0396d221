// Guards a stroke's path from fed screen points through the tracker, the mask thread and the painting
// thread to the canvas: dab counts, steps, clipping, display-scale painting and thread hand-overs.
#include "BrushScenarios.h"
#include "BrushTestHost.h"
#include "common/MouseTracker.h"
#include "common/testing/TestImages.h"
#include "imageprocess/BrushPaint.h"
#include "tools/paint/CBrushMaskBuilder.h"
#include "tools/paint/CBrushStrokePainter.h"

#include <gtest/gtest.h>

#include <thread>

using namespace KELCTRL::IMGWND_TOOL;
using brush_testing::FakeHost;
using namespace brush_scenarios;

namespace {

const TPoint<int> kOrigin{1000, 500}; // the view's client origin on the screen

class BrushStroke : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(kel_testing::MakeConstant(host.image, kW, kH, 3, 1, 128));
        host.geometry.globalOrigin = kOrigin;
        host.geometry.srcWidth = kW;
        host.geometry.srcHeight = kH;
        ASSERT_TRUE(canvas.region.Create(kW, kH, 0));
        ASSERT_TRUE(tracker.Run());
        ASSERT_TRUE(masks.Run());
        ASSERT_TRUE(painter.StartThread());
    }
    void TearDown() override {
        painter.StopThread();
        masks.Quit();
        tracker.Quit();
    }
    // A hard disc: repeated dabs on a pixel give the same value, so the result does not depend on
    // how the painting thread happened to batch the points.
    void UseHardBrush(double radius) {
        masks.SetWanted({radius, radius, 100}, {radius, radius, 100});
        ASSERT_EQ(masks.WaitBuilt(10000), 1);
    }
    static TPoint<int> Screen(int x, int y) { return TPoint<int>(kOrigin.x + x, kOrigin.y + y); }
    void Feed(const std::vector<TPoint<int>>& imagePoints) {
        std::thread feeder([&] {
            for (const auto& p : imagePoints)
                tracker.FeedMove(kOrigin.x + p.x, kOrigin.y + p.y);
        });
        feeder.join();
    }
    FakeHost host;
    CANVASDATA canvas;
    GS_INPUT::MouseTracker tracker;
    CBrushMaskBuilder masks;
    CBrushStrokePainter painter{tracker, masks, host};
    STROKE_SETTINGS settings;
};

} // namespace

TEST_F(BrushStroke, ClickWithoutMovementMakesExactlyOneDabAtThePixel) {
    masks.SetWanted({5.0, 9.0, 80}, {5.0, 9.0, 80});
    ASSERT_EQ(masks.WaitBuilt(10000), 1);
    settings.imageOuter = 9.0;
    ASSERT_EQ(painter.StartStroke(&canvas, settings, Screen(60, 40)), 1);
    EXPECT_EQ(painter.StartStroke(&canvas, settings, Screen(1, 1)), 0); // a second press is ignored
    painter.EndStroke(nullptr);
    EXPECT_EQ(painter.GetDabCount(), 1u);
    EXPECT_EQ(canvas.painted, 1);
    CSelectedRegion mask;
    ASSERT_EQ(ImageProcess::CreateBrushRegion(mask, 5.0, 9.0, 80), 9);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const int mx = x - 60 + 9, my = y - 40 + 9;
            const bool in = mx >= 0 && my >= 0 && mx < mask.width && my < mask.height;
            // From 0 towards 0xFFFF with weight m gives exactly m.
            ASSERT_EQ(canvas.region.Row(y)[x], in ? mask.Row(my)[mx] : 0) << x << "," << y;
        }
    const auto refreshes = host.Refreshes();
    ASSERT_EQ(refreshes.size(), 1u);
    EXPECT_EQ(refreshes[0].rect, (IntRect{51, 31, 19, 19}));
    EXPECT_EQ(refreshes[0].zoomed, 0);
}

TEST_F(BrushStroke, EndToEndStrokeFromAThreadPaintsTheExpectedMask) {
    UseHardBrush(4.0);
    settings.imageOuter = 4.0; // spacing 1: a dab on every step
    ASSERT_EQ(painter.StartStroke(&canvas, settings, Screen(kStrokeStart.x, kStrokeStart.y)), 1);
    Feed(kStrokeFed);
    painter.EndStroke(nullptr);
    const auto path = Path(kStrokeStart, kStrokeFed);
    ExpectUnionOfDiscs(canvas.region, path, 4.0);
    // One dab per step; a joint between two legs may count once or twice, the start twice (press
    // and first leg) at most: never a dab that no step asked for.
    EXPECT_GE(painter.GetDabCount(), path.size() - kStrokeFed.size());
    EXPECT_LE(painter.GetDabCount(), path.size() + 1);
}

TEST_F(BrushStroke, EqualConsecutivePointsAddNoStep) {
    UseHardBrush(3.0);
    settings.imageOuter = 400.0; // spacing 100: the step count alone decides, one dab per 100 steps
    auto stepsFor = [&](const std::vector<TPoint<int>>& moves) {
        tracker.Start(kOrigin.x, kOrigin.y + 10, 0);
        Feed(moves);
        tracker.StopTracking();
        std::vector<TPoint<int>> track;
        tracker.TakePoints(track);
        CANVASDATA fresh;
        fresh.region.Create(kW, kH, 0);
        EXPECT_EQ(painter.PrepareStroke(&fresh, settings), 1);
        const uint64_t before = painter.GetDabCount();
        std::lock_guard<std::mutex> lock(masks.StrokeLock());
        painter.ProcessTrack(track);
        return std::pair<size_t, uint64_t>(track.size(), painter.GetDabCount() - before);
    };
    // 0 -> 99 on a row in one-pixel segments; each segment gives both its ends, so 198 steps: a dab at
    // the first step and one at step 101.
    std::vector<TPoint<int>> plain, repeated;
    for (int x = 1; x <= 99; ++x) {
        plain.push_back({x, 10});
        repeated.push_back({x, 10});
        repeated.push_back({x, 10});
    }
    const auto a = stepsFor(plain);
    const auto b = stepsFor(repeated);
    EXPECT_EQ(a.first, 100u);
    EXPECT_EQ(b.first, a.first);
    EXPECT_EQ(a.second, 2u);
    EXPECT_EQ(b.second, a.second);
    // Six more steps reach step 201 and a third dab.
    plain.push_back({100, 10});
    plain.push_back({100, 11});
    plain.push_back({100, 12});
    EXPECT_EQ(stepsFor(plain).second, 3u);
}

TEST_F(BrushStroke, StrokeLeavingTheImageKeepsPaintingClippedToIt) {
    UseHardBrush(3.0);
    settings.imageOuter = 3.0;
    settings.dirtyMargin = 5;
    ASSERT_EQ(painter.StartStroke(&canvas, settings, Screen(kLeavingStart.x, kLeavingStart.y)), 1);
    Feed(kLeavingFed);
    painter.EndStroke(nullptr);
    ExpectLeavingStrokeClipped(canvas.region);
    for (const auto& r : host.Refreshes()) {
        EXPECT_GE(r.rect.x, 0);
        EXPECT_GE(r.rect.y, 0);
        EXPECT_LE(r.rect.Right(), kW);
        EXPECT_LE(r.rect.Bottom(), kH);
    }
}

TEST_F(BrushStroke, ZoomedOutViewPaintsTheDisplayMaskToo) {
    host.geometry.zoom = 0.5;
    host.geometry.zoomedCache = 1;
    ASSERT_TRUE(kel_testing::MakeConstant(host.cache, kW / 2, kH / 2, 3, 1, 128));
    ASSERT_TRUE(canvas.zoomedRegion.Create(kW / 2, kH / 2, 0));
    masks.SetWanted({8.0, 8.0, 100}, {4.0, 4.0, 100});
    ASSERT_EQ(masks.WaitBuilt(10000), 1);
    settings.imageOuter = 8.0;
    // Screen offset 30, 20 at zoom 0.5 is image pixel 60, 40, display pixel 30, 20.
    ASSERT_EQ(painter.StartStroke(&canvas, settings, Screen(30, 20)), 1);
    painter.EndStroke(nullptr);
    EXPECT_EQ(painter.GetDabCount(), 1u);
    EXPECT_EQ(canvas.region.Row(40)[60], 0xFFFF);
    EXPECT_EQ(canvas.region.Row(40)[68], 0xFFFF);
    EXPECT_EQ(canvas.region.Row(40)[69], 0);
    EXPECT_EQ(canvas.zoomedRegion.Row(20)[34], 0xFFFF);
    EXPECT_EQ(canvas.zoomedRegion.Row(20)[35], 0);
    const auto refreshes = host.Refreshes();
    ASSERT_EQ(refreshes.size(), 1u);
    EXPECT_EQ(refreshes[0].zoomed, 1);
    EXPECT_EQ(refreshes[0].rect, (IntRect{26, 16, 9, 9}));
}

TEST_F(BrushStroke, AutoMaskPaintsOnlyColoursLikeTheOneClicked) {
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            kel_testing::SetValue(host.image, x, y, 0, 0);
            kel_testing::SetValue(host.image, x, y, 1, x < 100 ? 0 : 140);
            kel_testing::SetValue(host.image, x, y, 2, x < 100 ? 220 : 0);
        }
    UseHardBrush(20.0);
    settings.imageOuter = 20.0;
    settings.autoMask = 1;
    ASSERT_EQ(painter.StartStroke(&canvas, settings, Screen(95, 50)), 1);
    painter.EndStroke(nullptr);
    EXPECT_EQ(canvas.region.Row(50)[80], 0xFFFF);
    EXPECT_EQ(canvas.region.Row(50)[99], 0xFFFF);
    EXPECT_EQ(canvas.region.Row(50)[100], 0);
    EXPECT_EQ(canvas.region.Row(50)[110], 0);
}

TEST_F(BrushStroke, EndWaitsWhilePumpingAndStoppingTheThreadEndsAStroke) {
    UseHardBrush(2.0);
    settings.imageOuter = 2.0;
    ASSERT_EQ(painter.StartStroke(&canvas, settings, Screen(10, 10)), 1);
    Feed({{11, 10}, {12, 10}});
    painter.EndStroke([] {}); // may or may not need to pump; it must return with the stroke painted
    EXPECT_EQ(painter.IsPainting(), 0);
    EXPECT_EQ(canvas.region.Row(10)[12], 0xFFFF);

    // Unloading during a stroke: the thread ends the stroke, and a late EndStroke returns.
    ASSERT_EQ(painter.StartStroke(&canvas, settings, Screen(50, 50)), 1);
    painter.StopThread();
    painter.EndStroke(nullptr);
    EXPECT_EQ(painter.IsPainting(), 0);
    EXPECT_FALSE(tracker.IsTracking());
}

TEST_F(BrushStroke, MasksAreNotRebuiltUnderAStroke) {
    UseHardBrush(2.0);
    {
        std::lock_guard<std::mutex> stroke(masks.StrokeLock());
        masks.SetWanted({6.0, 6.0, 100}, {6.0, 6.0, 100});
        EXPECT_EQ(masks.WaitBuilt(150), 0);
        EXPECT_EQ(masks.BrushRegion().width, 5); // still the old mask
    }
    ASSERT_EQ(masks.WaitBuilt(10000), 1);
    std::lock_guard<std::mutex> stroke(masks.StrokeLock());
    EXPECT_EQ(masks.BrushRegion().width, 13);
    EXPECT_EQ(masks.ZoomedBrushRegion().width, 13);
}
