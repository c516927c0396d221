#include "app/CProgressWait.h"

#include "ui/CProgressWnd.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QKeyEvent>
#include <QPointer>
#include <QThread>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <thread>

namespace KELCTRL {

CProgressWait::CProgressWait(QWidget* owner, HOOKS hooks) : m_owner(owner), m_hooks(std::move(hooks)) {}

int CProgressWait::Run(unsigned long delayMs) {
    auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (!app || QThread::currentThread() != app->thread()) {
        while (!CProgressWnd::IsProgressEnded())
            std::this_thread::sleep_for(std::chrono::milliseconds(kPollMs));
        return 0;
    }
    if (CProgressWnd::IsProgressEnded())
        return 0; // a job that ended before anyone waited shows nothing and blocks nothing

    // Disabled rather than modal: the window keeps painting, and only the wait's own keys get through.
    QPointer<QWidget> owner = m_owner;
    const bool ownerWasEnabled = owner && owner->isEnabled();
    if (ownerWasEnabled)
        owner->setEnabled(false);
    app->installEventFilter(this);

    QEventLoop loop;
    QElapsedTimer clock;
    clock.start();
    QTimer poll;
    poll.setInterval(kPollMs);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (CProgressWnd::IsProgressEnded()) {
            loop.quit();
            return;
        }
        if (!m_shown && static_cast<unsigned long>(clock.elapsed()) >= delayMs) {
            m_shown = true;
            if (m_hooks.showUI)
                m_hooks.showUI();
        }
    });
    poll.start();
    loop.exec();
    poll.stop();

    app->removeEventFilter(this);
    if (owner && ownerWasEnabled)
        owner->setEnabled(true);
    return m_shown ? 1 : 0;
}

bool CProgressWait::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape &&
        m_shown && m_hooks.isUIShown && m_hooks.isUIShown()) {
        if (m_hooks.cancel)
            m_hooks.cancel();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace KELCTRL
