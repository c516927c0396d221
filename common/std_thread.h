#pragma once
// basic_thread on std::thread, with per-thread nice values standing in for priorities.
#include "common/basic_thread.h"

#include <thread>

namespace GS_THREAD {

class std_thread : public basic_thread {
public:
    ~std_thread() override;
    bool is_running() override;
    void stop() override;
    // Threads cannot be ended safely from outside here: kill asks the thread to stop and waits.
    void kill() override;
    bool start(void* argument, int priority) override;
    // When set before start, the object deletes itself after main returns.
    void set_auto_delete(bool on) { m_autoDelete = on; }
    // Nice value for a priority of -2 … 2 (other values: normal).
    static int NiceForPriority(int priority);

private:
    static void Procedure(std_thread* self, void* argument, int priority);
    std::thread m_thread;
    bool m_autoDelete = false;
};

} // namespace GS_THREAD
