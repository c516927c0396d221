#pragma once
// A value guarded by its own lock; get and set hold it.
#include "common/recursive_lock.h"

template <typename T> class sync_val {
public:
    sync_val() = default;
    explicit sync_val(const T& v) : m_value(v) {}
    virtual ~sync_val() = default;
    T get() const {
        m_lock.lock();
        T v = m_value;
        m_lock.unlock();
        return v;
    }
    void set(const T& v) {
        m_lock.lock();
        m_value = v;
        m_lock.unlock();
    }

private:
    mutable recursive_lock m_lock;
    T m_value{};
};
