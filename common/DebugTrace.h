#pragma once
// The system's only log: narrow printf-style lines with their origin in square brackets, for example
// "[OnBatchRotate90] FileName: \"%s\", ErrorCode: %d\n". Written to stderr when KEL_DEBUG=1, else dropped.
#include <string>

void DebugTrace(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Whether traces are written (read once from KEL_DEBUG; tests may force it).
bool DebugTraceEnabled();
void SetDebugTraceEnabled(bool on);
// Test hook: when set, each formatted line goes here as well.
void SetDebugTraceSink(void (*sink)(const std::string& line));
