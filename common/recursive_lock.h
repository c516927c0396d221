#pragma once
// basic_lock over a recursive mutex: the image window re-enters its own locks on one thread.
#include "common/basic_lock.h"

#include <mutex>

class recursive_lock : public basic_lock {
public:
    void lock() override { m_mutex.lock(); }
    void unlock() override { m_mutex.unlock(); }
    bool try_lock() { return m_mutex.try_lock(); }

private:
    std::recursive_mutex m_mutex;
};
