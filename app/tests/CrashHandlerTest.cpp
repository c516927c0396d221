// Guards against a crash that leaves no readable record (also a stack overflow on a worker thread), a
// wrong exception name, a handler that keeps the process alive after a fatal signal, and a reporter
// that is started by forking inside the handler, which hangs when the crash left a lock held.
#include "app/CrashHandler.h"
#include "common/std_thread.h"

#include <gtest/gtest.h>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

using namespace KELCTRL;
namespace fs = std::filesystem;

namespace {

// Written from the handler of the child: async-signal-safe, one write.
int g_reportFd = -1;
void PipeReporter(const char* typeName, const char* dumpPath) {
    char buf[512];
    size_t n = 0;
    for (const char* s = typeName; *s && n < 200; ++s)
        buf[n++] = *s;
    buf[n++] = '|';
    for (const char* s = dumpPath ? dumpPath : "(null)"; *s && n < 500; ++s)
        buf[n++] = *s;
    ssize_t w = ::write(g_reportFd, buf, n);
    (void)w;
}

volatile int g_zero = 0;

// The faults must reach the signal handler, not the undefined-behaviour checker of a sanitizer build.
__attribute__((no_sanitize("undefined"), noinline)) void NullStore() {
    // The pointer itself is volatile, so the optimiser cannot see that it is null and drop the store.
    volatile int* volatile p = nullptr;
    *p = 1;
}
volatile int g_quotient = 0;
__attribute__((no_sanitize("undefined"), noinline)) void DivideByZero() {
    volatile int a = 1;
    g_quotient = a / g_zero; // stored, so the division cannot be dropped
}

volatile bool g_keepRecursing = true;
__attribute__((no_sanitize("address", "undefined"), noinline)) int Recurse(int depth) {
    volatile char pad[512];
    pad[0] = static_cast<char>(depth);
    if (g_keepRecursing)
        return Recurse(depth + 1) + pad[0];
    return pad[0];
}

// A worker whose stack runs out.
class OverflowingThread : public GS_THREAD::std_thread {
    int main(void*) override { return Recurse(0); }
};

struct CrashResult {
    int signal = 0;
    std::string report;
    std::string record;
};

// Runs `crash` in a child with the handler installed and the dump path set; returns what the parent sees.
template <typename F> CrashResult RunCrashingChild(const fs::path& dumpPath, F crash) {
    int fds[2];
    EXPECT_EQ(::pipe(fds), 0);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        g_reportFd = fds[1];
        InstallExceptionHandler();
        SetCrashDumpPath(dumpPath.c_str());
        SetCrashReporter(&PipeReporter);
        crash();
        ::_exit(0); // not reached when the crash happens
    }
    ::close(fds[1]);
    CrashResult r;
    char buf[1024];
    ssize_t n;
    while ((n = ::read(fds[0], buf, sizeof buf)) > 0)
        r.report.append(buf, static_cast<size_t>(n));
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    r.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    std::ifstream in(dumpPath);
    std::stringstream ss;
    ss << in.rdbuf();
    r.record = ss.str();
    return r;
}

fs::path DumpPath(const char* name) {
    return fs::temp_directory_path() / ("kel_crash_" + std::to_string(::getpid()) + "_" + name + ".dmp");
}

} // namespace

TEST(CrashHandler, NullDereferenceWritesAccessViolationRecord) {
    const fs::path dump = DumpPath("segv");
    CrashResult r = RunCrashingChild(dump, [] { NullStore(); });
    EXPECT_EQ(r.signal, SIGSEGV);
    EXPECT_EQ(r.report, "Access Violation|" + dump.string());
    EXPECT_NE(
        r.record.find(
            "Type: Access Violation\nCode: 0xC0000005\nSignal: 11 (SIGSEGV)\nAddress: 0x0000000000000000"),
        std::string::npos)
        << r.record;
    EXPECT_NE(r.record.find("Backtrace:\n"), std::string::npos);
    fs::remove(dump);
}

TEST(CrashHandler, IntegerDivideByZeroAndAbortAreNamed) {
    const fs::path dump = DumpPath("fpe");
    CrashResult div = RunCrashingChild(dump, [] { DivideByZero(); });
    EXPECT_EQ(div.signal, SIGFPE);
    EXPECT_EQ(div.report.substr(0, div.report.find('|')), "Integer Divide By Zero");
    EXPECT_NE(div.record.find("Type: Integer Divide By Zero"), std::string::npos);

    CrashResult abrt = RunCrashingChild(dump, [] { std::abort(); });
    EXPECT_EQ(abrt.signal, SIGABRT);
    EXPECT_NE(abrt.record.find("Type: Non-continuable Exception"), std::string::npos);
    fs::remove(dump);
}

TEST(CrashHandler, UnwritableDumpPathStillReportsWithNullPath) {
    const fs::path dump = fs::temp_directory_path() / "kel_no_such_folder" / "x" / "crash.dmp";
    CrashResult r = RunCrashingChild(dump, [] { std::raise(SIGSEGV); });
    EXPECT_EQ(r.signal, SIGSEGV);
    EXPECT_EQ(r.report.substr(r.report.find('|') + 1), "(null)");
}

TEST(CrashHandler, SignalToExceptionNames) {
    EXPECT_STREQ(ExceptionName(0x12345678), "Unknown");
    EXPECT_STREQ(ExceptionName(ExceptionCodeForSignal(SIGBUS, BUS_ADRERR, 0x1000, 0x7f0000)),
                 "In Page Error");
    EXPECT_STREQ(ExceptionName(ExceptionCodeForSignal(SIGBUS, BUS_ADRALN, 0x1001, 0x7f0000)),
                 "DataType Misalignment");
    EXPECT_STREQ(ExceptionName(ExceptionCodeForSignal(SIGILL, ILL_ILLOPC, 0, 0)), "Illegal Instruction");
    EXPECT_STREQ(ExceptionName(ExceptionCodeForSignal(SIGFPE, FPE_FLTDIV, 0, 0)), "Float Divide By Zero");
    // A fault just below the stack pointer is the stack running out.
    EXPECT_STREQ(ExceptionName(ExceptionCodeForSignal(SIGSEGV, SEGV_MAPERR, 0x7ffe0000 - 64, 0x7ffe0000)),
                 "Stack Overflow");
    EXPECT_STREQ(ExceptionName(ExceptionCodeForSignal(SIGSEGV, SEGV_MAPERR, 0, 0x7ffe0000)),
                 "Access Violation");
}

TEST(CrashHandler, StackOverflowOnAWorkerThreadLeavesARecord) {
    const fs::path dump = DumpPath("overflow");
    CrashResult r = RunCrashingChild(dump, [] {
        static OverflowingThread worker; // never destroyed: the process dies inside it
        worker.start(nullptr, 0);
        worker.finished().wait(-1);
    });
    EXPECT_EQ(r.signal, SIGSEGV);
    EXPECT_EQ(r.report.substr(0, r.report.find('|')), "Stack Overflow") << r.report;
    EXPECT_NE(r.record.find("Type: Stack Overflow"), std::string::npos) << r.record;
    fs::remove(dump);
}

namespace {
volatile sig_atomic_t g_blockForks = 0;
void BlockingForkPrepare() {
    while (g_blockForks) // stands for a lock the crashed code still holds
        ::pause();
}

// Waits for a file's first line, for up to five seconds.
std::string WaitForLine(const fs::path& path) {
    std::string line;
    for (int i = 0; i < 500 && line.empty(); ++i) {
        std::ifstream in(path);
        std::getline(in, line);
        if (line.empty())
            ::usleep(10000);
    }
    return line;
}

// Waits for a child for up to five seconds; kills it when it hangs. True when it ended by itself.
bool ReapChild(pid_t pid, int& status) {
    for (int i = 0; i < 500; ++i) {
        if (::waitpid(pid, &status, WNOHANG) == pid)
            return true;
        ::usleep(10000);
    }
    ::kill(pid, SIGKILL);
    ::waitpid(pid, &status, 0);
    return false;
}

struct ReporterOutcome {
    bool endedByItself = false;
    bool signalled = false;
    std::string reporterLine; // what the reporter program wrote: "name|record"
};

// Crashes a child with `sig` after `beforeCrash`, with the default reporter set to a shell that writes
// its two last arguments to a file; returns what the parent sees.
template <typename F> ReporterOutcome CrashWithDefaultReporter(const fs::path& dump, int sig, F beforeCrash) {
    const fs::path out = dump.string() + ".out";
    const std::string script = "echo \"$1|$2\" > " + out.string();
    const char* args[] = {"-c", script.c_str(), "sh"};
    const pid_t pid = ::fork();
    if (pid == 0) {
        InstallExceptionHandler();
        SetCrashDumpPath(dump.c_str());
        SetCrashReporter(nullptr);
        SetCrashReporterCommand("/bin/sh", args, 3);
        beforeCrash();
        std::raise(sig);
        ::_exit(0);
    }
    ReporterOutcome r;
    int status = 0;
    r.endedByItself = ReapChild(pid, status);
    r.signalled = WIFSIGNALED(status);
    r.reporterLine = WaitForLine(out); // the reporter writes after the crash
    fs::remove(dump);
    fs::remove(out);
    return r;
}
} // namespace

TEST(CrashHandler, ReporterStartsWhenAForkWouldHang) {
    const fs::path dump = DumpPath("nofork");
    const ReporterOutcome r = CrashWithDefaultReporter(dump, SIGSEGV, [] {
        ::pthread_atfork(&BlockingForkPrepare, nullptr, nullptr);
        g_blockForks = 1; // from here on a fork() would never return
    });
    EXPECT_TRUE(r.endedByItself) << "the crashing process hung";
    EXPECT_TRUE(r.signalled);
    EXPECT_EQ(r.reporterLine, "Access Violation|" + dump.string());
}

TEST(CrashHandler, DefaultReporterStartsTheReporterProcess) {
    // The default reporter runs a separate program with the name and the record's path appended.
    const fs::path dump = DumpPath("rep");
    const ReporterOutcome r = CrashWithDefaultReporter(dump, SIGILL, [] {});
    EXPECT_TRUE(r.signalled);
    EXPECT_EQ(r.reporterLine, "Illegal Instruction|" + dump.string());
}
