#pragma once
// A thread that runs one function and ends with it; the window's cache and adjust threads are these.
// The body ends by itself (on a quit message), so stop() here only waits.
#include "common/std_thread.h"

#include <functional>

namespace KELCTRL {

class CWorkerThread : public GS_THREAD::std_thread {
public:
    explicit CWorkerThread(std::function<void()> body) : m_body(std::move(body)) {}
    ~CWorkerThread() override;
    // Waits until the body has returned, at most `milliseconds` (negative: without limit). Returns
    // whether it has.
    bool WaitFinished(int milliseconds);

protected:
    int main(void* argument) override;

private:
    std::function<void()> m_body;
};

} // namespace KELCTRL
