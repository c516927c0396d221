#include "ui/CWndTimers.h"

#include <QObject>
#include <QThread>

#include <algorithm>

namespace KELCTRL {

uintptr_t CWndTimers::Set(QObject* owner, uintptr_t id, unsigned elapse) {
    if (!owner || QThread::currentThread() != owner->thread())
        return 0;
    m_timers[id].start(static_cast<int>(std::min<unsigned>(elapse, 0x7FFFFFFF)), Qt::PreciseTimer, owner);
    return id ? id : 1;
}

int CWndTimers::Kill(const QObject* owner, uintptr_t id) {
    if (!owner || QThread::currentThread() != owner->thread())
        return 0;
    auto it = m_timers.find(id);
    if (it == m_timers.end())
        return 0;
    it->second.stop();
    m_timers.erase(it);
    return 1;
}

int CWndTimers::IsRunning(uintptr_t id) const {
    auto it = m_timers.find(id);
    return it != m_timers.end() && it->second.isActive() ? 1 : 0;
}

void CWndTimers::KillAll() {
    for (auto& entry : m_timers)
        entry.second.stop();
    m_timers.clear();
}

bool CWndTimers::Find(int qtTimerId, uintptr_t& id) const {
    for (const auto& entry : m_timers) {
        if (entry.second.timerId() == qtTimerId) {
            id = entry.first;
            return true;
        }
    }
    return false;
}

} // namespace KELCTRL
