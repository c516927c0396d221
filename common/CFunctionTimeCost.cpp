#include "common/CFunctionTimeCost.h"

#include "common/DebugTrace.h"

CFunctionTimeCost::CFunctionTimeCost(const char* functionName)
    : m_start(std::chrono::steady_clock::now()), m_function(functionName ? functionName : "") {}

CFunctionTimeCost::CFunctionTimeCost(const char* tag, const char* functionName)
    : m_start(std::chrono::steady_clock::now()), m_tag(tag ? tag : ""),
      m_function(functionName ? functionName : "") {}

long long CFunctionTimeCost::ElapsedMs() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - m_start)
        .count();
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
