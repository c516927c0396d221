#pragma once
// Signal (event) interface. wait returns 0 when signalled, 1 on time-out, -1 on failure;
// a negative timeout waits without limit.
class basic_signal {
public:
    virtual ~basic_signal() = default;
    virtual void set() = 0;
    virtual void reset() = 0;
    virtual int wait(int milliseconds) = 0;
    virtual bool is_set() { return wait(1) == 0; }
};
