#pragma once
// Timers under ids that the window chooses, as the classic SetTimer gives them, on top of Qt's timer
// ids. Shared by the window and the dialog base.
#include <QBasicTimer>

#include <cstdint>
#include <map>

class QObject;

namespace KELCTRL {

class CWndTimers {
public:
    // Starts or restarts the timer with this id on owner. Returns the id (1 for id 0), or 0 when
    // called off owner's thread, where Qt timers cannot start.
    uintptr_t Set(QObject* owner, uintptr_t id, unsigned elapse);
    // Returns 0 off owner's thread or when no such timer runs.
    int Kill(const QObject* owner, uintptr_t id);
    int IsRunning(uintptr_t id) const;
    void KillAll();
    // The chosen id behind a Qt timer event; false when the event is not one of ours.
    bool Find(int qtTimerId, uintptr_t& id) const;

private:
    std::map<uintptr_t, QBasicTimer> m_timers;
};

} // namespace KELCTRL
