#pragma once
// basic_signal over a mutex and condition variable. Manual-reset by default: once set it stays set
// and releases every waiter until reset. An auto-reset signal releases one waiter and clears itself.
#include "common/basic_signal.h"

#include <condition_variable>
#include <mutex>

class event_signal : public basic_signal {
public:
    explicit event_signal(bool manualReset = true, bool initiallySet = false)
        : m_manual(manualReset), m_set(initiallySet) {}
    void set() override;
    void reset() override;
    int wait(int milliseconds) override;
    // A non-blocking look that does not consume an auto-reset signal.
    bool is_set() override;

private:
    std::mutex m_mutex;
    std::condition_variable m_cond;
    const bool m_manual;
    bool m_set;
};
