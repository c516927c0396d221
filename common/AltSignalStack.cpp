#include "common/AltSignalStack.h"

#include <signal.h>
#include <sys/mman.h>

#include <cstddef>

namespace GS_THREAD {

namespace {

constexpr size_t kStackBytes = 64 * 1024;

// Owns the thread's stack; at thread exit the stack is switched off before its memory goes.
struct ThreadAltStack {
    void* memory = nullptr;
    ~ThreadAltStack() {
        if (!memory)
            return;
        stack_t off{};
        off.ss_flags = SS_DISABLE;
        ::sigaltstack(&off, nullptr);
        ::munmap(memory, kStackBytes);
    }
};

} // namespace

bool EnsureAltSignalStack() {
    thread_local ThreadAltStack own;
    if (own.memory)
        return true;
    stack_t current{};
    if (::sigaltstack(nullptr, &current) == 0 && !(current.ss_flags & SS_DISABLE) && current.ss_sp)
        return true; // someone already gave this thread one
    void* memory = ::mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return false;
    stack_t ss{};
    ss.ss_sp = memory;
    ss.ss_size = kStackBytes;
    if (::sigaltstack(&ss, nullptr) != 0) {
        ::munmap(memory, kStackBytes);
        return false;
    }
    own.memory = memory;
    return true;
}

} // namespace GS_THREAD
