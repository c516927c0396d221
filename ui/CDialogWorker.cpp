#include "ui/CDialogWorker.h"

namespace KELCTRL {

CDialogWorker::~CDialogWorker() {
    Join();
}

int CDialogWorker::Start(WorkerFunction worker, void* param) {
    Join();
    if (!worker)
        return 0;
    m_ended.store(false, std::memory_order_relaxed);
    m_result = 0;
    m_thread = std::thread([this, worker, param] {
        const unsigned result = worker(param);
        m_result = result;
        // Release: the result and everything the worker wrote are seen by whoever sees the end.
        m_ended.store(true, std::memory_order_release);
    });
    return 1;
}

void CDialogWorker::Join() {
    if (m_thread.joinable())
        m_thread.join();
}

} // namespace KELCTRL
