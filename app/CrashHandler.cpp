#include "app/CrashHandler.h"

#include "common/AltSignalStack.h"

#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace KELCTRL {

namespace {

struct ExceptionEntry {
    uint32_t code;
    const char* name;
};

constexpr ExceptionEntry kExceptions[] = {
    {0x80000001, "Guard Page Violation"},
    {0x80000002, "DataType Misalignment"},
    {0x80000003, "Break Point"},
    {0x80000004, "Single Step"},
    {0xC0000005, "Access Violation"},
    {0xC0000006, "In Page Error"},
    {0xC0000008, "Invalid Handle"},
    {0xC000001D, "Illegal Instruction"},
    {0xC0000025, "Non-continuable Exception"},
    {0xC0000026, "Invalid Disposition"},
    {0xC000008C, "Array Bounds Exceeded"},
    {0xC000008D, "Float Denormal Operand"},
    {0xC000008E, "Float Divide By Zero"},
    {0xC000008F, "Float Inexact Result"},
    {0xC0000090, "Float Invalid Operation"},
    {0xC0000091, "Float Overflow"},
    {0xC0000092, "Float Stack Check"},
    {0xC0000093, "Float Underflow"},
    {0xC0000094, "Integer Divide By Zero"},
    {0xC0000095, "Integer Overflow"},
    {0xC0000096, "Privileged Instruction"},
    {0xC00000FD, "Stack Overflow"},
};

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
constexpr size_t kPathMax = 4096;

// Prepared before any crash: the handler reads these and allocates nothing.
char g_dumpPath[kPathMax];
CrashReporter g_reporter = nullptr;
char g_reporterProgram[kPathMax];
char g_reporterArgs[4][kPathMax];
int g_reporterArgCount = 0;
bool g_traceEnabled = false;
volatile sig_atomic_t g_inHandler = 0;

// Small async-signal-safe formatting into a fixed buffer.
struct Line {
    char text[1024];
    size_t length = 0;
    void Add(const char* s) {
        while (s && *s && length < sizeof text - 1)
            text[length++] = *s++;
    }
    void AddHex(uint64_t v, int digits) {
        char buf[17];
        for (int i = digits - 1; i >= 0; --i) {
            buf[i] = "0123456789ABCDEF"[v & 0xF];
            v >>= 4;
        }
        buf[digits] = 0;
        Add(buf);
    }
    void AddDec(long v) {
        char buf[24];
        int i = 23;
        buf[i] = 0;
        const bool neg = v < 0;
        unsigned long u = neg ? 0UL - static_cast<unsigned long>(v) : static_cast<unsigned long>(v);
        do {
            buf[--i] = static_cast<char>('0' + u % 10);
            u /= 10;
        } while (u);
        if (neg)
            buf[--i] = '-';
        Add(buf + i);
    }
    void WriteTo(int fd) const {
        size_t done = 0;
        while (done < length) {
            const ssize_t n = ::write(fd, text + done, length - done);
            if (n <= 0)
                return;
            done += static_cast<size_t>(n);
        }
    }
};

const char* SignalName(int sig) {
    switch (sig) {
    case SIGSEGV:
        return "SIGSEGV";
    case SIGBUS:
        return "SIGBUS";
    case SIGILL:
        return "SIGILL";
    case SIGFPE:
        return "SIGFPE";
    case SIGABRT:
        return "SIGABRT";
    default:
        return "signal";
    }
}

bool WriteRecord(const char* name, uint32_t code, int sig, uintptr_t address) {
    if (!g_dumpPath[0])
        return false;
    const int fd = ::open(g_dumpPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    Line l;
    l.Add("Type: ");
    l.Add(name);
    l.Add("\nCode: 0x");
    l.AddHex(code, 8);
    l.Add("\nSignal: ");
    l.AddDec(sig);
    l.Add(" (");
    l.Add(SignalName(sig));
    l.Add(")\nAddress: 0x");
    l.AddHex(address, 16);
    l.Add("\nProcess: ");
    l.AddDec(static_cast<long>(::getpid()));
    l.Add("\nBacktrace:\n");
    l.WriteTo(fd);
    void* frames[64];
    const int count = ::backtrace(frames, 64);
    ::backtrace_symbols_fd(frames, count, fd);
    const bool ok = ::close(fd) == 0;
    return ok;
}

// The reporter helper: a child forked when the reporter command is set, long before any crash. It
// waits on a pipe; the crashing process only writes the reporter's command line into it, and the
// helper execs the reporter. Forking inside the handler could hang on a lock the crash left held.
int g_helperPipe = -1;
pid_t g_helperPid = -1;
pid_t g_helperOwner = -1; // a forked child inherits the pipe but must start a helper of its own
// The message: a 32-bit length, then the arguments, each ended by a zero byte.
char g_message[(6 + 2) * kPathMax + 8];

void AppendArg(char* message, size_t& length, const char* text) {
    while (text && *text && length < sizeof g_message - 1)
        message[length++] = *text++;
    if (length < sizeof g_message)
        message[length++] = 0;
}

void WriteAll(int fd, const char* data, size_t length) {
    size_t done = 0;
    while (done < length) {
        const ssize_t n = ::write(fd, data + done, length - done);
        if (n <= 0)
            return;
        done += static_cast<size_t>(n);
    }
}

bool ReadAll(int fd, char* data, size_t length) {
    size_t done = 0;
    while (done < length) {
        const ssize_t n = ::read(fd, data + done, length - done);
        if (n == 0)
            return false;
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

// Runs in the forked helper: only async-signal-safe calls, since the parent may have had threads.
[[noreturn]] void HelperMain(int readFd) {
    struct sigaction dfl {};
    dfl.sa_handler = SIG_DFL;
    sigemptyset(&dfl.sa_mask);
    for (int sig : kSignals)
        ::sigaction(sig, &dfl, nullptr);
    // Keep nothing of the parent's open: a lock file held by the helper would outlive the parent.
    ::close_range(3, static_cast<unsigned>(readFd) - 1, 0);
    ::close_range(static_cast<unsigned>(readFd) + 1, ~0U, 0);
    uint32_t length = 0;
    if (!ReadAll(readFd, reinterpret_cast<char*>(&length), sizeof length) || length == 0 ||
        length > sizeof g_message - 1 || !ReadAll(readFd, g_message, length))
        ::_exit(0); // the parent ended without a crash
    g_message[length] = 0;
    const char* argv[10];
    int n = 0;
    for (size_t at = 0; at < length && n < 9; ++n) {
        argv[n] = g_message + at;
        while (at < length && g_message[at])
            ++at;
        ++at;
    }
    argv[n] = nullptr;
    if (n > 0)
        ::execv(argv[0], const_cast<char* const*>(argv));
    ::_exit(127);
}

void StopHelper() {
    if (g_helperPipe >= 0)
        ::close(g_helperPipe); // the helper reads the end of the pipe and leaves
    if (g_helperPid > 0 && g_helperOwner == ::getpid())
        ::waitpid(g_helperPid, nullptr, 0);
    g_helperPipe = -1;
    g_helperPid = -1;
    g_helperOwner = -1;
}

bool StartHelper() {
    if (g_helperPipe >= 0 && g_helperOwner == ::getpid())
        return true;
    if (g_helperPipe >= 0) { // inherited from the process that forked this one
        ::close(g_helperPipe);
        g_helperPipe = -1;
    }
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return false;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[1]);
        HelperMain(fds[0]);
    }
    ::close(fds[0]);
    if (pid < 0) {
        ::close(fds[1]);
        return false;
    }
    g_helperPipe = fds[1];
    g_helperPid = pid;
    g_helperOwner = ::getpid();
    return true;
}

void DefaultReporter(const char* typeName, const char* dumpPath) {
    if (!g_reporterProgram[0] || g_helperPipe < 0 || g_helperOwner != ::getpid())
        return;
    size_t length = sizeof(uint32_t);
    AppendArg(g_message, length, g_reporterProgram);
    for (int i = 0; i < g_reporterArgCount; ++i)
        AppendArg(g_message, length, g_reporterArgs[i]);
    AppendArg(g_message, length, typeName);
    AppendArg(g_message, length, dumpPath ? dumpPath : "");
    const uint32_t body = static_cast<uint32_t>(length - sizeof(uint32_t));
    std::memcpy(g_message, &body, sizeof body);
    WriteAll(g_helperPipe, g_message, length);
}

uintptr_t StackPointerOf(void* context) {
#if defined(__x86_64__)
    return static_cast<uintptr_t>(static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RSP]);
#elif defined(__aarch64__)
    return static_cast<uintptr_t>(static_cast<ucontext_t*>(context)->uc_mcontext.sp);
#else
    (void)context;
    return 0;
#endif
}

void Handler(int sig, siginfo_t* info, void* context) {
    if (g_inHandler) {
        // A fault inside the handler: give up at once with the same signal.
        ::signal(sig, SIG_DFL);
        ::raise(sig);
        return;
    }
    g_inHandler = 1;
    const uintptr_t address = reinterpret_cast<uintptr_t>(info ? info->si_addr : nullptr);
    const uint32_t code =
        ExceptionCodeForSignal(sig, info ? info->si_code : 0, address, StackPointerOf(context));
    const char* name = ExceptionName(code);
    const bool dumped = WriteRecord(name, code, sig, address);
    if (g_traceEnabled) {
        Line l;
        l.Add("[Exception Info] Type: ");
        l.Add(name);
        l.Add(", Address: 0x");
        l.AddHex(address, 16);
        l.Add(", Dump: ");
        l.Add(g_dumpPath);
        l.Add("\n");
        l.WriteTo(2);
    }
    CrashReporter reporter = g_reporter ? g_reporter : &DefaultReporter;
    reporter(name, dumped ? g_dumpPath : nullptr);
    // Die of the same signal so that the parent sees the real cause.
    ::signal(sig, SIG_DFL);
    ::raise(sig);
}

void CopyBounded(char* dst, const char* src) {
    if (!src) {
        dst[0] = 0;
        return;
    }
    std::strncpy(dst, src, kPathMax - 1);
    dst[kPathMax - 1] = 0;
}

} // namespace

uint32_t ExceptionCodeForSignal(int signal, int siCode, uintptr_t faultAddress, uintptr_t stackPointer) {
    switch (signal) {
    case SIGSEGV: {
        // A fault within a page or two of the stack pointer is the stack running out.
        const uintptr_t distance =
            faultAddress > stackPointer ? faultAddress - stackPointer : stackPointer - faultAddress;
        if (stackPointer != 0 && faultAddress != 0 && distance < 64 * 1024)
            return 0xC00000FD;
        return 0xC0000005;
    }
    case SIGBUS:
        return siCode == BUS_ADRALN ? 0x80000002 : 0xC0000006;
    case SIGILL:
        return (siCode == ILL_PRVOPC || siCode == ILL_PRVREG) ? 0xC0000096 : 0xC000001D;
    case SIGFPE:
        switch (siCode) {
        case FPE_INTDIV:
            return 0xC0000094;
        case FPE_INTOVF:
            return 0xC0000095;
        case FPE_FLTDIV:
            return 0xC000008E;
        case FPE_FLTOVF:
            return 0xC0000091;
        case FPE_FLTUND:
            return 0xC0000093;
        case FPE_FLTRES:
            return 0xC000008F;
        case FPE_FLTINV:
            return 0xC0000090;
        case FPE_FLTSUB:
            return 0xC000008C;
        default:
            return 0xC0000090;
        }
    case SIGABRT:
        return 0xC0000025;
    case SIGTRAP:
        return 0x80000003;
    default:
        return 0;
    }
}

const char* ExceptionName(uint32_t code) {
    for (const auto& e : kExceptions)
        if (e.code == code)
            return e.name;
    return "Unknown";
}

void InstallExceptionHandler() {
    const char* debug = std::getenv("KEL_DEBUG");
    g_traceEnabled = debug && std::strcmp(debug, "1") == 0;
    // The first backtrace() loads its unwinder; do it now, not inside a crash.
    void* warm[2];
    ::backtrace(warm, 2);
    GS_THREAD::EnsureAltSignalStack(); // lets a stack overflow still reach the handler
    struct sigaction sa {};
    sa.sa_sigaction = &Handler;
    sa.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&sa.sa_mask);
    for (int sig : kSignals)
        ::sigaction(sig, &sa, nullptr);
}

void SetCrashDumpPath(const char* path) {
    CopyBounded(g_dumpPath, path);
}

const char* GetCrashReporterProgram() {
    return g_reporterProgram;
}

const char* GetCrashDumpPath() {
    return g_dumpPath;
}

void SetCrashReporter(CrashReporter reporter) {
    g_reporter = reporter;
}

void SetCrashReporterCommand(const char* program, const char* const* args, int argCount) {
    CopyBounded(g_reporterProgram, program);
    g_reporterArgCount = 0;
    for (int i = 0; argCount > 0 && i < argCount && i < 4; ++i)
        CopyBounded(g_reporterArgs[g_reporterArgCount++], args[i]);
    if (g_reporterProgram[0])
        StartHelper();
    else
        StopHelper();
}

} // namespace KELCTRL
