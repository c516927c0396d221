#pragma once
// Lock interface: callers depend on this, not on a particular mutex.
class basic_lock {
public:
    virtual ~basic_lock() = default;
    virtual void lock() = 0;
    virtual void unlock() = 0;
};
