#pragma once
// Turns Qt's screen signals into the DPI-change path of a window: the screen a window lies on may
// change its logical dpi, or the window may move to another screen. Only the outermost window of
// this library in a Qt window listens; it hands the change down to the windows inside it.
#include <QMetaObject>
#include <QPointer>
#include <QRect>
#include <QScreen>

#include <cstdint>
#include <functional>
#include <utility>

class QWidget;

namespace KELCTRL {

class CDpiWatcher {
public:
    using Callback = std::function<void()>;

    CDpiWatcher(QWidget* owner, Callback onScreenChange);
    ~CDpiWatcher();
    CDpiWatcher(const CDpiWatcher&) = delete;
    CDpiWatcher& operator=(const CDpiWatcher&) = delete;

    // Follows the screen of the owner's window from now on; called again when that screen may have
    // changed. Listens only while the owner is a dpi root.
    void WatchScreen();
    void Stop();
    int IsWatching() const { return m_screen ? 1 : 0; }

    // A widget reacts to screen changes itself when it is a window, or when no window of this
    // library contains it inside the same Qt window.
    static bool IsDpiRoot(const QWidget* widget);
    // Sends WM_DPICHANGED with the current rectangle to the library's windows inside parent (not
    // into other Qt windows); each hands it on to the windows inside it.
    static void SendDpiToChildren(QWidget* parent, uintptr_t wParam);
    // What the platform suggests for a window whose dpi changes: the top-left kept and the size
    // carried from the old dpi to the new one.
    static QRect SuggestedRect(const QRect& rect, std::pair<unsigned, unsigned> from,
                               std::pair<unsigned, unsigned> to);

private:
    QWidget* m_owner;
    Callback m_callback;
    QPointer<QScreen> m_screen;
    QMetaObject::Connection m_connection;
};

} // namespace KELCTRL
