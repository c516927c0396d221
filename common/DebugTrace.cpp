#include "common/DebugTrace.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {
std::atomic<int> g_enabled{-1};
std::atomic<void (*)(const std::string&)> g_sink{nullptr};
} // namespace

bool DebugTraceEnabled() {
    int e = g_enabled.load();
    if (e < 0) {
        const char* v = std::getenv("KEL_DEBUG");
        e = (v && std::strcmp(v, "1") == 0) ? 1 : 0;
        g_enabled.store(e);
    }
    return e == 1;
}

void SetDebugTraceEnabled(bool on) {
    g_enabled.store(on ? 1 : 0);
}

void SetDebugTraceSink(void (*sink)(const std::string&)) {
    g_sink.store(sink);
}

void DebugTrace(const char* format, ...) {
    if (!format || !*format)
        return;
    auto sink = g_sink.load();
    if (!sink && !DebugTraceEnabled())
        return;
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int size = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (size < 0) {
        va_end(args);
        return;
    }
    std::vector<char> buffer(static_cast<size_t>(size) + 1);
    std::vsnprintf(buffer.data(), buffer.size(), format, args);
    va_end(args);
    const std::string line(buffer.data(), static_cast<size_t>(size));
    if (sink)
        sink(line);
    if (DebugTraceEnabled())
        std::fputs(line.c_str(), stderr);
}
