#pragma once
// Scope guard: locks on construction, unlocks on destruction.
#include "common/basic_lock.h"

class life_lock {
public:
    explicit life_lock(basic_lock& l) : m_lock(l) { m_lock.lock(); }
    ~life_lock() { m_lock.unlock(); }
    life_lock(const life_lock&) = delete;
    life_lock& operator=(const life_lock&) = delete;

private:
    basic_lock& m_lock;
};
