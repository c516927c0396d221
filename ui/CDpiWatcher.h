#pragma once
// Turns Qt's screen signals into the DPI-change path of a window: the screen a window lies on may
// change its logical dpi, or the window may move to another screen. Only the outermost window of
// this library in a Qt window listens; it hands the change down to the windows inside it.
#include "ui/CUISizeInfo.h"

#include <QMetaObject>
#include <QPointer>
#include <QRect>
#include <QScreen>
#include <QSize>

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

    // WM_DPICHANGED's parameters when the monitor of `wnd` no longer has the dpi `current` was made
    // for (96 before there is any): 1 with wParam and the rectangle to take, the suggested one for a
    // window and its own for a child; 0 when nothing changed.
    static int PendingChange(const QWidget* wnd, const CUISizeInfo* current, uintptr_t& wParam, QRect& rect);
    // What the base window and the base dialog do on WM_DPICHANGED: take the size information of the
    // new dpi, hand the change to the windows inside, move to `rect` (the current geometry when
    // null), and lay out even when the size stays, since sizes and fonts changed. Returns 1 when
    // that dpi was already in use, else 0.
    template <class Wnd> static intptr_t ApplyChange(Wnd& wnd, uintptr_t wParam, const QRect* rect);

private:
    QWidget* m_owner;
    Callback m_callback;
    QPointer<QScreen> m_screen;
    QMetaObject::Connection m_connection;
};

template <class Wnd> intptr_t CDpiWatcher::ApplyChange(Wnd& wnd, uintptr_t wParam, const QRect* rect) {
    CUISizeInfo* info = &FindUISizeInfo(wParam & 0xFFFF, (wParam >> 16) & 0xFFFF);
    if (info == wnd.GetUISizeInfo())
        return 1;
    wnd.m_dpiChanging = true;
    wnd.SetUISizeInfo(info);
    SendDpiToChildren(&wnd, wParam);
    const QRect target = rect ? *rect : wnd.geometry();
    const QSize oldSize(wnd.GetClientWidth(), wnd.GetClientHeight());
    wnd.MoveWindow(target, 1);
    if (target.size() == oldSize)
        wnd.OnSize(0, target.width(), target.height());
    wnd.m_dpiChanging = false;
    return 0;
}

} // namespace KELCTRL
