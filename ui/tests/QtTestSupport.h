#pragma once
// The one QApplication of the test program, real Qt events sent to widgets, and a bounded wait
// for timers and posted events.
#include <QApplication>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

#include <functional>

namespace kel_qt_test {

// The program's QApplication: the shared test main makes one; a program without it gets one here.
inline QApplication& App() {
    if (auto* existing = qobject_cast<QApplication*>(QCoreApplication::instance()))
        return *existing;
    static int argc = 1;
    static char name[] = "kel_tests";
    static char* argv[] = {name, nullptr};
    static QApplication* app = new QApplication(argc, argv);
    return *app;
}

// Pumps events until the condition holds; gives up after a generous bound so that a fault fails
// the test instead of hanging it. Returns the condition.
inline bool PumpUntil(const std::function<bool()>& condition, int boundMs = 5000) {
    QElapsedTimer clock;
    clock.start();
    while (!condition()) {
        if (clock.elapsed() > boundMs)
            return false;
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
}

// Drives a widget with mouse events; every press is far from the last one in time unless `soon`.
class Mouse {
public:
    explicit Mouse(QWidget& target) : m_target(target) {}
    void Press(QPoint p, Qt::MouseButton b = Qt::LeftButton, Qt::KeyboardModifiers mods = {},
               bool soon = false) {
        m_time += soon ? 20 : 5000;
        m_buttons |= b;
        Send(QEvent::MouseButtonPress, p, b, mods);
    }
    // The event Qt adds after the second press of a double click.
    void QtDoubleClick(QPoint p, Qt::MouseButton b = Qt::LeftButton) {
        m_time += 1;
        m_buttons |= b;
        Send(QEvent::MouseButtonDblClick, p, b, {});
    }
    void Release(QPoint p, Qt::MouseButton b = Qt::LeftButton, Qt::KeyboardModifiers mods = {}) {
        m_time += 20;
        m_buttons &= ~Qt::MouseButtons(b);
        Send(QEvent::MouseButtonRelease, p, b, mods);
    }
    void Move(QPoint p) {
        m_time += 20;
        Send(QEvent::MouseMove, p, Qt::NoButton, {});
    }
    // Returns whether the widget accepted the wheel.
    bool Wheel(QPoint p, int angleY, Qt::KeyboardModifiers mods = {}) {
        QWheelEvent e(QPointF(p), QPointF(m_target.mapToGlobal(p)), QPoint(), QPoint(0, angleY), m_buttons,
                      mods, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&m_target, &e);
        return e.isAccepted();
    }

private:
    void Send(QEvent::Type type, QPoint p, Qt::MouseButton b, Qt::KeyboardModifiers mods) {
        QMouseEvent e(type, QPointF(p), QPointF(m_target.mapToGlobal(p)), b, m_buttons, mods);
        e.setTimestamp(m_time);
        QApplication::sendEvent(&m_target, &e);
    }
    QWidget& m_target;
    Qt::MouseButtons m_buttons;
    quint64 m_time = 100000;
};

inline void SendKey(QWidget& target, QEvent::Type type, int key, Qt::KeyboardModifiers mods = {},
                    bool autoRepeat = false) {
    QKeyEvent e(type, key, mods, QString(), autoRepeat);
    QApplication::sendEvent(&target, &e);
}

} // namespace kel_qt_test
