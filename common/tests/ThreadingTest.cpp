// Guards against lost wake-ups, out-of-order or wrongly filtered messages and threads that never stop.
#include "common/event_signal.h"
#include "common/life_lock.h"
#include "common/message_queue.h"
#include "common/recursive_lock.h"
#include "common/std_thread.h"
#include "common/sync_val.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using GS_THREAD::message;
using GS_THREAD::message_queue;

TEST(message_queue, StrictFifoAcrossRanges) {
    message_queue q;
    q.post(101, 1);
    q.post(18, 0);
    q.post(101, 2);
    q.post(102, 3);
    message m;
    ASSERT_TRUE(q.peek(m, 101, 102, false));
    EXPECT_EQ(m.wparam, 1);
    EXPECT_EQ(q.size(), 4u);
    ASSERT_TRUE(q.wait(m, 0));
    EXPECT_EQ(m.id, 101u);
    ASSERT_TRUE(q.wait(m, 0));
    EXPECT_EQ(m.id, 18u); // a quit posted after a request is seen after it
    EXPECT_EQ(q.remove_all(101, 101), 1u);
    ASSERT_TRUE(q.peek(m, 0, 0, true));
    EXPECT_EQ(m.id, 102u);
    EXPECT_FALSE(q.peek(m, 0, 0, false));
    EXPECT_FALSE(q.wait(m, 10));
}

TEST(message_queue, RangeWaitSkipsOtherMessagesWithoutLosingThem) {
    message_queue q;
    q.post(5);
    q.post(200, 9);
    message m;
    ASSERT_TRUE(q.wait(m, 0, 100, 300));
    EXPECT_EQ(m.wparam, 9);
    ASSERT_TRUE(q.peek(m));
    EXPECT_EQ(m.id, 5u);
}

TEST(message_queue, WaitWakesOnPostFromAnotherThread) {
    message_queue q;
    std::thread producer([&] {
        for (int i = 0; i < 1000; ++i)
            q.post(100 + (i % 3), i);
    });
    std::vector<intptr_t> seen;
    message m;
    while (seen.size() < 1000 && q.wait(m, 5000))
        seen.push_back(m.wparam);
    producer.join();
    ASSERT_EQ(seen.size(), 1000u);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(seen[i], i);
}

TEST(event_signal, ManualAndAutoReset) {
    event_signal manual(true);
    EXPECT_EQ(manual.wait(0), 1);
    manual.set();
    EXPECT_EQ(manual.wait(0), 0);
    EXPECT_EQ(manual.wait(0), 0);
    EXPECT_TRUE(manual.is_set());
    manual.reset();
    EXPECT_FALSE(manual.is_set());

    event_signal autoReset(false);
    autoReset.set();
    EXPECT_EQ(autoReset.wait(0), 0);
    EXPECT_EQ(autoReset.wait(0), 1);
}

TEST(event_signal, NegativeTimeoutWaitsForSet) {
    event_signal s;
    std::thread t([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        s.set();
    });
    EXPECT_EQ(s.wait(-1), 0);
    t.join();
}

namespace {
class CountingThread : public GS_THREAD::std_thread {
public:
    std::atomic<int> loops{0};
    int main(void*) override {
        while (!stop_requested(5))
            ++loops;
        return 0;
    }
};
class OneShot : public GS_THREAD::std_thread {
public:
    std::atomic<bool>* ran = nullptr;
    int main(void*) override {
        *ran = true;
        return 0;
    }
};
} // namespace

TEST(std_thread, StartsRunsAndStops) {
    CountingThread t;
    EXPECT_FALSE(t.is_running());
    ASSERT_TRUE(t.start(nullptr, 0));
    EXPECT_FALSE(t.start(nullptr, 0)); // already running
    while (t.loops.load() < 3)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(t.is_running());
    t.stop();
    EXPECT_FALSE(t.is_running());
    EXPECT_TRUE(t.finished().is_set());
}

TEST(std_thread, AutoDeleteAndPriorityMapping) {
    std::atomic<bool> ran{false};
    auto* t = new OneShot;
    t->ran = &ran;
    t->set_auto_delete(true);
    ASSERT_TRUE(t->start(nullptr, 2)); // raising may fail silently without privileges
    for (int i = 0; i < 500 && !ran; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_TRUE(ran);
    EXPECT_EQ(GS_THREAD::std_thread::NiceForPriority(-2), 10);
    EXPECT_EQ(GS_THREAD::std_thread::NiceForPriority(7), 0);
}

TEST(locks, RecursiveLockAndSyncVal) {
    recursive_lock l;
    {
        life_lock a(l);
        life_lock b(l); // re-entered on one thread
    }
    std::atomic<int> done{0};
    std::thread t([&] {
        life_lock g(l);
        ++done;
    });
    t.join();
    EXPECT_EQ(done, 1);

    sync_val<bool> flag(false);
    std::thread w([&] { flag.set(true); });
    w.join();
    EXPECT_TRUE(flag.get());
}
