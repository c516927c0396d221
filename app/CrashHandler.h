#pragma once
// The last-chance handler for fatal signals. It names the fault after the exception names the
// products have always shown, writes a text crash record to the dump path, traces one line, and
// hands the name and the record's path to a reporter, then lets the process die of its signal.
//
// Everything the handler does at crash time is async-signal-safe: state is prepared up front in
// fixed buffers, the record is written with open/write, and the default reporter only writes the
// reporter's command line into a pipe. A helper process forked when the command is set (not at crash
// time, when a lock the crash left held could hang a fork) reads it and execs the reporter.
#include <cstdint>

namespace KELCTRL {

// Reporter: exception name and the record's path, or null when no record was written.
using CrashReporter = void (*)(const char* typeName, const char* dumpPath);

// Installs the handler for SIGSEGV, SIGBUS, SIGILL, SIGFPE and SIGABRT (again on every call, so a
// library that replaced it is overridden).
void InstallExceptionHandler();
// Where the crash record goes; empty or null: no record.
void SetCrashDumpPath(const char* path);
const char* GetCrashDumpPath();
// Null restores the default reporter.
void SetCrashReporter(CrashReporter reporter);
// The default reporter runs `program args... typeName dumpPath` (dumpPath "" when none); until a
// program is set it reports nothing. Up to 4 leading arguments. Setting a program starts the helper
// process once per process; an empty or null program stops it.
void SetCrashReporterCommand(const char* program, const char* const* args, int argCount);
// The reporter program set last; "" when none.
const char* GetCrashReporterProgram();

// The exception code nearest to a signal: SIGSEGV 0xC0000005 (0xC00000FD when the fault lies at the
// stack pointer), SIGBUS 0xC0000006 or 0x80000002 (misaligned), SIGILL 0xC000001D or 0xC0000096,
// SIGFPE by its si_code, SIGABRT 0xC0000025 (the program cannot continue), SIGTRAP 0x80000003.
uint32_t ExceptionCodeForSignal(int signal, int siCode, uintptr_t faultAddress, uintptr_t stackPointer);
// The name of an exception code; "Unknown" for any other.
const char* ExceptionName(uint32_t code);

} // namespace KELCTRL
