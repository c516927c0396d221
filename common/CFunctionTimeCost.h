#pragma once
// Scope timer: logs a call that took more than 10 ms as "[%s] Time Cost: %d\n" (milliseconds of a
// steady clock; CPU time would hide waits).
#include <chrono>
#include <string>

class CFunctionTimeCost {
public:
    explicit CFunctionTimeCost(const char* functionName);
    CFunctionTimeCost(const char* tag, const char* functionName);
    virtual ~CFunctionTimeCost();
    CFunctionTimeCost(const CFunctionTimeCost&) = delete;
    CFunctionTimeCost& operator=(const CFunctionTimeCost&) = delete;
    // Milliseconds since construction.
    long long ElapsedMs() const;

    static constexpr long long kThresholdMs = 10;

    // The clock every timer reads; nullptr restores the steady clock. Lets tests decide how long a
    // call "took" instead of sleeping and hoping the machine keeps up.
    using Clock = std::chrono::steady_clock::time_point (*)();
    static void SetClock(Clock clock);

private:
    std::chrono::steady_clock::time_point m_start;
    std::string m_tag;
    std::string m_function;
};
