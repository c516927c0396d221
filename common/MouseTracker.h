#pragma once
// Records every pointer move of a stroke as a screen point until the button is released, on its own
// thread, so that points keep their full rate while the interface thread is busy and the stroke
// survives leaving the window. The platform side feeds it (FeedMove, FeedRelease) from any thread;
// the consumer takes the points under the tracker's lock.
#include "common/ValueTypes.h"
#include "common/event_signal.h"
#include "common/message_queue.h"
#include "common/std_thread.h"

#include <cstdint>
#include <mutex>
#include <vector>

namespace GS_INPUT {

class MouseTracker : public GS_THREAD::std_thread {
public:
    MouseTracker();
    ~MouseTracker() override;

    // Starts the recording thread (idle until a stroke starts). Returns false if it cannot run.
    bool Run();
    // Ends the thread; a stroke in progress ends with it.
    void Quit();

    // Begins a stroke at the screen point (x, y), which becomes the first point. With recordTime set,
    // the time between consecutive points is kept too.
    void Start(int x, int y, int recordTime);
    // Ends the stroke as the button release does, after every move fed before this call is recorded.
    void StopTracking();

    // Thread-safe feed from the platform side: a pointer move in screen coordinates, the release.
    void FeedMove(int x, int y);
    void FeedRelease();

    // Under the lock: when new points arrived, appends them all to out and empties the buffer.
    // With recordTime, deltas (when given) receives the milliseconds from each point to the next, 0
    // for the newest. Returns how many points were appended.
    size_t TakePoints(std::vector<TPoint<int>>& out, std::vector<uint32_t>* deltas = nullptr);

    // Set while a stroke records; the release resets it and sets the stop signal.
    basic_signal& StartSignal() { return m_startSignal; }
    basic_signal& StopSignal() { return m_stopSignal; }
    bool IsTracking() { return m_startSignal.is_set() && !m_stopSignal.is_set(); }

    int main(void* argument) override;

private:
    enum : unsigned { MSG_MOVE = 1, MSG_RELEASE = 2 };
    static constexpr size_t kGrowStep = 1024;
    static constexpr int kStopPollMs = 50;

    void AddPoint(uint32_t generation, int x, int y, int64_t tick);
    void Release(uint32_t generation);
    uint32_t Generation();
    void Post(unsigned id, int x, int y);
    static int64_t NowMs();

    std::mutex m_lock; // guards everything below
    std::vector<TPoint<int>> m_points;
    std::vector<uint32_t> m_timeDeltas;
    size_t m_count = 0;
    int m_updated = 0;
    TPoint<int> m_lastPoint = TPoint<int>::Invalid();
    int m_recordTime = 0;
    int64_t m_lastTick = 0;
    // Counts strokes, so that events fed for an earlier stroke never reach a later one.
    uint32_t m_generation = 0;

    event_signal m_startSignal;
    event_signal m_stopSignal;
    GS_THREAD::message_queue m_input; // raw events, in the order they were fed
};

} // namespace GS_INPUT
