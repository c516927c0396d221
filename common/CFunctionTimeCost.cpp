#include "common/CFunctionTimeCost.h"

#include "common/DebugTrace.h"

#include <atomic>

namespace {
std::atomic<CFunctionTimeCost::Clock> g_clock{nullptr};

std::chrono::steady_clock::time_point Now() {
    const CFunctionTimeCost::Clock clock = g_clock.load(std::memory_order_acquire);
    return clock ? clock() : std::chrono::steady_clock::now();
}
} // namespace

void CFunctionTimeCost::SetClock(Clock clock) {
    g_clock.store(clock, std::memory_order_release);
}

CFunctionTimeCost::CFunctionTimeCost(const char* functionName)
    : m_start(Now()), m_function(functionName ? functionName : "") {}

CFunctionTimeCost::CFunctionTimeCost(const char* tag, const char* functionName)
    : m_start(Now()), m_tag(tag ? tag : ""), m_function(functionName ? functionName : "") {}

long long CFunctionTimeCost::ElapsedMs() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Now() - m_start).count();
}

CFunctionTimeCost::~CFunctionTimeCost() {
    const long long ms = ElapsedMs();
    if (ms <= kThresholdMs)
        return;
    if (m_tag.empty())
        DebugTrace("[%s] Time Cost: %d\n", m_function.c_str(), static_cast<int>(ms));
    else
        DebugTrace("%s [%s] Time Cost: %d\n", m_tag.c_str(), m_function.c_str(), static_cast<int>(ms));
}
