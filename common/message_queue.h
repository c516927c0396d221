#pragma once
// A thread's message queue: strict first-in first-out, with the range filters of the classic
// message API (a range of 0, 0 means every message).
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

namespace GS_THREAD {

struct message {
    unsigned id = 0;
    intptr_t wparam = 0;
    intptr_t lparam = 0;
    std::shared_ptr<void> payload;
};

class message_queue {
public:
    void post(unsigned id, intptr_t wparam = 0, intptr_t lparam = 0, std::shared_ptr<void> payload = {});
    void post(message m);
    // Removes and returns the oldest message in [first, last], waiting up to timeoutMs for one
    // (negative: without limit). False on time-out.
    bool wait(message& out, int timeoutMs, unsigned first = 0, unsigned last = 0);
    // The oldest message in [first, last], removed when asked. False when there is none.
    bool peek(message& out, unsigned first = 0, unsigned last = 0, bool remove = false);
    // Removes every message in [first, last]; returns how many.
    size_t remove_all(unsigned first = 0, unsigned last = 0);
    size_t size() const;

private:
    static bool InRange(unsigned id, unsigned first, unsigned last) {
        return (first == 0 && last == 0) || (id >= first && id <= last);
    }
    bool TakeLocked(message& out, unsigned first, unsigned last, bool remove);

    mutable std::mutex m_mutex;
    std::condition_variable m_cond;
    std::deque<message> m_messages;
};

} // namespace GS_THREAD
