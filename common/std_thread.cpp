#include "common/std_thread.h"

#include "common/AltSignalStack.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace GS_THREAD {

std_thread::~std_thread() {
    if (m_thread.joinable()) {
        m_stopRequest.set();
        m_thread.join();
    }
}

bool std_thread::is_running() {
    return m_thread.joinable() && !m_finished.is_set();
}

void std_thread::stop() {
    if (!m_thread.joinable())
        return;
    m_stopRequest.set();
    m_thread.join();
}

void std_thread::kill() {
    stop();
}

int std_thread::NiceForPriority(int priority) {
    switch (priority) {
    case -2:
        return 10;
    case -1:
        return 5;
    case 1:
        return -5;
    case 2:
        return -10;
    default:
        return 0;
    }
}

bool std_thread::start(void* argument, int priority) {
    if (m_thread.joinable())
        return false;
    m_started.reset();
    m_stopRequest.reset();
    m_finished.reset();
    try {
        m_thread = std::thread(&std_thread::Procedure, this, argument, priority);
    } catch (...) {
        return false;
    }
    m_started.set();
    return true;
}

void std_thread::Procedure(std_thread* self, void* argument, int priority) {
    EnsureAltSignalStack();
    const int nice = NiceForPriority(priority);
    if (nice != 0) {
        // Raising the priority needs privileges; without them the thread keeps the normal one.
        setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), nice);
    }
    // Wait for the go-ahead unless a stop request arrives first.
    bool stopped = false;
    while (self->m_started.wait(50) != 0) {
        if (self->m_stopRequest.is_set()) {
            stopped = true;
            break;
        }
    }
    if (!stopped)
        self->main(argument);
    const bool autoDelete = self->m_autoDelete;
    self->m_finished.set();
    if (autoDelete) {
        self->m_thread.detach();
        delete self;
    }
}

} // namespace GS_THREAD
