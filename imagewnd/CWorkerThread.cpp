#include "imagewnd/CWorkerThread.h"

namespace KELCTRL {

CWorkerThread::~CWorkerThread() {
    stop();
}

bool CWorkerThread::WaitFinished(int milliseconds) {
    if (!started().is_set())
        return true;
    return finished().wait(milliseconds) == 0;
}

int CWorkerThread::main(void*) {
    m_body();
    return 0;
}

} // namespace KELCTRL
