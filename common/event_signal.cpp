#include "common/event_signal.h"

#include <chrono>

void event_signal::set() {
    // Notify under the lock: a waiter may destroy the signal as soon as it wakes (a self-deleting
    // thread does), so set() must not touch the object after the lock is released.
    std::lock_guard<std::mutex> g(m_mutex);
    m_set = true;
    if (m_manual)
        m_cond.notify_all();
    else
        m_cond.notify_one();
}

void event_signal::reset() {
    std::lock_guard<std::mutex> g(m_mutex);
    m_set = false;
}

int event_signal::wait(int milliseconds) {
    std::unique_lock<std::mutex> g(m_mutex);
    auto ready = [this] { return m_set; };
    if (milliseconds < 0) {
        m_cond.wait(g, ready);
    } else if (!m_cond.wait_for(g, std::chrono::milliseconds(milliseconds), ready)) {
        return 1;
    }
    if (!m_manual)
        m_set = false;
    return 0;
}

bool event_signal::is_set() {
    std::lock_guard<std::mutex> g(m_mutex);
    return m_set;
}
