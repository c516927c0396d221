#pragma once
// One wait of the interface thread for a long job that reports through CProgressWnd's shared state.
// While it waits the owner window is disabled (no input reaches it, but it keeps painting), the
// progress window is asked for only once the delay has passed and never when the job ended first,
// and Escape while that window shows asks the job to cancel. The job ends the wait by ending the
// progress (CProgressWnd::EndProgress), which it must do on every way out.
#include <QObject>

#include <functional>

class QWidget;

namespace KELCTRL {

class CProgressWait : public QObject {
public:
    struct HOOKS {
        std::function<void()> showUI;    // shows the progress window, once
        std::function<bool()> isUIShown; // whether that window is visible now
        std::function<void()> cancel;    // Escape while it shows
    };

    CProgressWait(QWidget* owner, HOOKS hooks);

    // Waits until the progress has ended; returns 1 when the window was shown. On a thread other
    // than the interface thread it only waits, without windows.
    int Run(unsigned long delayMs);

    // How often the interface thread looks at the shared state while it waits.
    static constexpr int kPollMs = 10;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* m_owner;
    HOOKS m_hooks;
    bool m_shown = false;
};

} // namespace KELCTRL
