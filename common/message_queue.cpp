#include "common/message_queue.h"

#include <algorithm>
#include <chrono>

namespace GS_THREAD {

void message_queue::post(unsigned id, intptr_t wparam, intptr_t lparam, std::shared_ptr<void> payload) {
    post(message{id, wparam, lparam, std::move(payload)});
}

void message_queue::post(message m) {
    // Waiters may filter on different ranges, so every one of them looks again. Notified under the
    // lock so that a receiver that ends the queue's owner on this message cannot race the notify.
    std::lock_guard<std::mutex> g(m_mutex);
    m_messages.push_back(std::move(m));
    m_cond.notify_all();
}

bool message_queue::TakeLocked(message& out, unsigned first, unsigned last, bool remove) {
    auto it = std::find_if(m_messages.begin(), m_messages.end(),
                           [&](const message& m) { return InRange(m.id, first, last); });
    if (it == m_messages.end())
        return false;
    if (remove) {
        out = std::move(*it);
        m_messages.erase(it);
    } else {
        out = *it;
    }
    return true;
}

bool message_queue::wait(message& out, int timeoutMs, unsigned first, unsigned last) {
    std::unique_lock<std::mutex> g(m_mutex);
    auto has = [&] {
        return std::any_of(m_messages.begin(), m_messages.end(),
                           [&](const message& m) { return InRange(m.id, first, last); });
    };
    if (timeoutMs < 0)
        m_cond.wait(g, has);
    else if (!m_cond.wait_for(g, std::chrono::milliseconds(timeoutMs), has))
        return false;
    return TakeLocked(out, first, last, true);
}

bool message_queue::peek(message& out, unsigned first, unsigned last, bool remove) {
    std::lock_guard<std::mutex> g(m_mutex);
    return TakeLocked(out, first, last, remove);
}

size_t message_queue::remove_all(unsigned first, unsigned last) {
    std::lock_guard<std::mutex> g(m_mutex);
    const size_t before = m_messages.size();
    m_messages.erase(std::remove_if(m_messages.begin(), m_messages.end(),
                                    [&](const message& m) { return InRange(m.id, first, last); }),
                     m_messages.end());
    return before - m_messages.size();
}

size_t message_queue::size() const {
    std::lock_guard<std::mutex> g(m_mutex);
    return m_messages.size();
}

} // namespace GS_THREAD
