#pragma once
// One worker function on its own std::thread, for the progress dialogs. The UI thread polls
// HasEnded on its timer and joins only a worker that has already returned, so the UI never waits on a
// running worker and a worker never waits on the UI.
#include <atomic>
#include <thread>

namespace KELCTRL {

class CDialogWorker {
public:
    using WorkerFunction = unsigned (*)(void* param);

    CDialogWorker() = default;
    // A worker still running here is waited for: its memory must outlive it.
    ~CDialogWorker();
    CDialogWorker(const CDialogWorker&) = delete;
    CDialogWorker& operator=(const CDialogWorker&) = delete;

    // Starts the worker; a previous one is joined first. Returns 0 without a function.
    int Start(WorkerFunction worker, void* param);
    // A thread exists: started and not yet joined.
    int IsStarted() const { return m_thread.joinable() ? 1 : 0; }
    // The worker function has returned (its thread may still be finishing).
    int HasEnded() const { return m_ended.load(std::memory_order_acquire) ? 1 : 0; }
    // Joins the thread; blocks while the worker runs, so callers check HasEnded first.
    void Join();
    // The value the last worker returned; 0 before it ends.
    unsigned GetResult() const { return HasEnded() ? m_result : 0; }

private:
    std::thread m_thread;
    std::atomic<bool> m_ended{false};
    unsigned m_result = 0;
};

} // namespace KELCTRL
