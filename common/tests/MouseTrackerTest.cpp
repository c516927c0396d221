// Guards the stroke recorder against lost, reordered, duplicated or stale points across threads.
#include "common/MouseTracker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using GS_INPUT::MouseTracker;

namespace {

std::vector<TPoint<int>> Drain(MouseTracker& t) {
    std::vector<TPoint<int>> out;
    t.TakePoints(out);
    return out;
}

} // namespace

TEST(MouseTracker, RecordsMovesFedFromAnotherThreadInOrderWithoutRepeats) {
    MouseTracker tracker;
    ASSERT_TRUE(tracker.Run());
    tracker.Start(10, 20, 0);
    EXPECT_TRUE(tracker.IsTracking());
    std::thread feeder([&] {
        tracker.FeedMove(10, 20); // equal to the start point: dropped
        for (int i = 1; i <= 500; ++i) {
            tracker.FeedMove(10 + i, 20);
            tracker.FeedMove(10 + i, 20); // repeats of the last point add nothing
        }
    });
    feeder.join();
    tracker.StopTracking();
    EXPECT_FALSE(tracker.IsTracking());
    EXPECT_TRUE(tracker.StopSignal().is_set());
    const auto pts = Drain(tracker);
    ASSERT_EQ(pts.size(), 501u);
    for (int i = 0; i <= 500; ++i)
        ASSERT_EQ(pts[i], TPoint<int>(10 + i, 20));
    EXPECT_TRUE(Drain(tracker).empty()); // taken once
}

TEST(MouseTracker, ReleaseEndsTheStrokeAndLaterMovesAreIgnored) {
    MouseTracker tracker;
    ASSERT_TRUE(tracker.Run());
    tracker.Start(0, 0, 0);
    std::thread feeder([&] {
        tracker.FeedMove(1, 0);
        tracker.FeedRelease();
        tracker.FeedMove(2, 0);
    });
    feeder.join();
    ASSERT_EQ(tracker.StopSignal().wait(5000), 0);
    EXPECT_FALSE(tracker.StartSignal().is_set());
    tracker.StopTracking(); // already ended: returns at once
    // The move after the release may or may not have been handled yet; either way it is not kept.
    tracker.Quit();
    const auto pts = Drain(tracker);
    ASSERT_EQ(pts.size(), 2u);
    EXPECT_EQ(pts[1], TPoint<int>(1, 0));
}

TEST(MouseTracker, EventsOfAnEarlierStrokeNeverReachTheNextOne) {
    MouseTracker tracker;
    ASSERT_TRUE(tracker.Run());
    tracker.Start(0, 0, 0);
    for (int i = 1; i < 2000; ++i)
        tracker.FeedMove(i, i);
    tracker.Start(-5, -5, 0);
    tracker.StopTracking();
    const auto pts = Drain(tracker);
    ASSERT_EQ(pts.size(), 1u);
    EXPECT_EQ(pts[0], TPoint<int>(-5, -5));
}

TEST(MouseTracker, ConcurrentConsumerSeesEveryPointOnce) {
    MouseTracker tracker;
    ASSERT_TRUE(tracker.Run());
    tracker.Start(0, 0, 1);
    std::atomic<bool> fed{false};
    std::vector<TPoint<int>> seen;
    std::vector<uint32_t> deltas;
    std::thread consumer([&] {
        while (!fed.load() || tracker.IsTracking()) {
            tracker.TakePoints(seen, &deltas);
            std::this_thread::yield();
        }
        tracker.TakePoints(seen, &deltas);
    });
    std::thread feeder([&] {
        for (int i = 1; i <= 3000; ++i)
            tracker.FeedMove(i % 7 == 0 ? -i : i, i / 3);
        tracker.FeedRelease();
        fed.store(true);
    });
    feeder.join();
    consumer.join();
    ASSERT_EQ(seen.size(), 3001u);
    ASSERT_EQ(deltas.size(), seen.size());
    EXPECT_EQ(deltas.back(), 0u);
    for (int i = 1; i <= 3000; ++i)
        ASSERT_EQ(seen[i], TPoint<int>(i % 7 == 0 ? -i : i, i / 3));
}

TEST(MouseTracker, WorksWithoutItsThreadOnlyForTheStartPoint) {
    MouseTracker tracker; // never run: moves stay queued, the stop still ends the stroke
    tracker.Start(3, 4, 0);
    tracker.FeedMove(5, 6);
    tracker.StopTracking();
    EXPECT_FALSE(tracker.IsTracking());
    const auto pts = Drain(tracker);
    ASSERT_EQ(pts.size(), 1u);
    EXPECT_EQ(pts[0], TPoint<int>(3, 4));
}
