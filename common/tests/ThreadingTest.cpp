// Guards against lost wake-ups (one waiter woken where all must be), out-of-order or wrongly filtered
// messages, locks that do not exclude, torn shared values and threads that never stop.
#include "common/event_signal.h"
#include "common/life_lock.h"
#include "common/message_queue.h"
#include "common/recursive_lock.h"
#include "common/std_thread.h"
#include "common/sync_val.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
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

TEST(locks, RecursiveLockExcludesOtherThreadsUntilTheLastUnlock) {
    recursive_lock l;
    auto otherThreadGetsIt = [&] {
        bool got = false;
        std::thread t([&] {
            got = l.try_lock();
            if (got)
                l.unlock();
        });
        t.join();
        return got;
    };
    l.lock();
    l.lock(); // re-entered on one thread
    EXPECT_FALSE(otherThreadGetsIt());
    l.unlock();
    EXPECT_FALSE(otherThreadGetsIt()); // still held once
    l.unlock();
    EXPECT_TRUE(otherThreadGetsIt());
    {
        life_lock a(l);
        life_lock b(l);
        EXPECT_FALSE(otherThreadGetsIt());
    }
    EXPECT_TRUE(otherThreadGetsIt()); // the guards released both levels
}

namespace {
// Large enough that an unguarded copy is often caught half way.
struct Block {
    std::array<long long, 64> v{};
    bool Whole() const {
        return std::all_of(v.begin(), v.end(), [&](long long x) { return x == v[0]; });
    }
};
} // namespace

TEST(locks, SyncValNeverShowsAHalfWrittenValue) {
    sync_val<Block> value;
    std::atomic<bool> done{false};
    std::thread writer([&] {
        Block b;
        for (long long i = 1; i <= 100000; ++i) {
            b.v.fill(i);
            value.set(b);
        }
        done = true;
    });
    long long torn = 0;
    long long reads = 0;
    while (!done.load()) {
        torn += !value.get().Whole();
        ++reads;
    }
    writer.join();
    EXPECT_EQ(torn, 0) << "of " << reads << " reads";
    EXPECT_EQ(value.get().v[63], 100000);
}

namespace {
// What the waiter threads report to the test thread. The test waits for a report with a generous
// limit that only a lost wake-up exceeds; the waiters' own limits are longer still, so a waiter that
// was never woken cannot pass by timing out with the condition already true.
struct Reports {
    std::mutex mutex;
    std::condition_variable cond;
    std::vector<int> counts;

    explicit Reports(size_t n) : counts(n, 0) {}
    void Add(size_t who) {
        std::lock_guard<std::mutex> g(mutex);
        ++counts[who];
        cond.notify_all();
    }
    int Total() {
        std::lock_guard<std::mutex> g(mutex);
        int total = 0;
        for (int c : counts)
            total += c;
        return total;
    }
    template <typename Pred> bool WaitUntil(Pred pred) {
        std::unique_lock<std::mutex> g(mutex);
        return cond.wait_for(g, std::chrono::seconds(10), [&] { return pred(counts); });
    }
};
constexpr int kWaiterLimitMs = 30000;
} // namespace

// A manual-reset signal releases every waiter at once.
TEST(event_signal, ManualSetReleasesEveryWaiter) {
    for (int round = 0; round < 3; ++round) {
        event_signal s(true);
        constexpr size_t kWaiters = 4;
        Reports reports(kWaiters);
        std::vector<std::thread> waiters;
        for (size_t i = 0; i < kWaiters; ++i)
            waiters.emplace_back([&, i] {
                if (s.wait(kWaiterLimitMs) == 0)
                    reports.Add(i);
            });
        // Give the waiters time to block; one that arrives after set() passes anyway.
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        s.set();
        const bool all = reports.WaitUntil([&](const std::vector<int>& c) {
            return std::count(c.begin(), c.end(), 1) == static_cast<long>(kWaiters);
        });
        for (auto& w : waiters)
            w.join();
        ASSERT_TRUE(all) << "round " << round << ": set() left waiters asleep";
    }
}

// Waiters on different ranges share one queue: a post must wake the waiter whose range it falls in,
// not just any one of them.
TEST(message_queue, PostWakesTheWaiterOfItsRange) {
    message_queue q;
    constexpr size_t kWaiters = 4;
    constexpr intptr_t kQuit = -1;
    Reports reports(kWaiters);
    auto idOf = [](size_t i) { return static_cast<unsigned>(100 + 10 * i); };
    std::vector<std::thread> waiters;
    for (size_t i = 0; i < kWaiters; ++i)
        waiters.emplace_back([&, i] {
            message m;
            while (q.wait(m, kWaiterLimitMs, idOf(i), idOf(i)) && m.wparam != kQuit)
                reports.Add(i);
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(30)); // let them block first
    bool woken = true;
    int round = 0;
    for (; round < 12 && woken; ++round) {
        const size_t target = kWaiters - 1 - static_cast<size_t>(round) % kWaiters;
        const int before = reports.Total();
        q.post(idOf(target));
        woken = reports.WaitUntil([&](const std::vector<int>& c) {
            int total = 0;
            for (int v : c)
                total += v;
            return total == before + 1 && c[target] == round / static_cast<int>(kWaiters) + 1;
        });
    }
    for (size_t i = 0; i < kWaiters; ++i)
        q.post(idOf(i), kQuit);
    for (auto& w : waiters)
        w.join();
    EXPECT_TRUE(woken) << "the post of round " << round - 1 << " did not reach its waiter";
    EXPECT_EQ(q.size(), 0u);
}
