#pragma once
// Thread interface with three signals: started, stop-request, finished. A derived class supplies
// main(); start() runs it on a new thread once "started" is set, unless a stop came first.
#include "common/event_signal.h"

namespace GS_THREAD {

class basic_thread {
public:
    virtual ~basic_thread() = default;
    // Started is set and finished is not.
    virtual bool is_running() { return m_started.is_set() && !m_finished.is_set(); }
    // Sets the stop request and waits until main has returned.
    virtual void stop() {
        if (is_running()) {
            m_stopRequest.set();
            m_finished.wait(-1);
        }
    }
    virtual void kill() = 0;
    // Priority -2 (lowest) … 2 (highest); anything else is normal.
    virtual bool start(void* argument, int priority) = 0;
    virtual int main(void* argument) = 0;

    basic_signal& started() { return m_started; }
    basic_signal& stop_request() { return m_stopRequest; }
    basic_signal& finished() { return m_finished; }
    // The thread body polls this; it waits up to the given time for a stop request.
    bool stop_requested(int waitMs = 0) { return m_stopRequest.wait(waitMs) == 0; }

protected:
    event_signal m_started;
    event_signal m_stopRequest;
    event_signal m_finished;
};

} // namespace GS_THREAD
