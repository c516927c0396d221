#include "ui/CDpiWatcher.h"

#include "ui/CBaseDialog.h"
#include "ui/CBaseWnd.h"
#include "ui/WinDefs.h"

#include <QScreen>
#include <QWidget>

#include <vector>

namespace KELCTRL {

CDpiWatcher::CDpiWatcher(QWidget* owner, Callback onScreenChange)
    : m_owner(owner), m_callback(std::move(onScreenChange)) {}

CDpiWatcher::~CDpiWatcher() {
    Stop();
}

void CDpiWatcher::WatchScreen() {
    if (!m_owner || !IsDpiRoot(m_owner)) {
        Stop();
        return;
    }
    QScreen* screen = m_owner->screen();
    if (screen == m_screen && m_connection)
        return;
    Stop();
    if (!screen)
        return;
    m_screen = screen;
    m_connection = QObject::connect(screen, &QScreen::logicalDotsPerInchChanged, m_owner, [this] {
        if (m_callback)
            m_callback();
    });
}

void CDpiWatcher::Stop() {
    if (m_connection)
        QObject::disconnect(m_connection);
    m_connection = {};
    m_screen = nullptr;
}

bool CDpiWatcher::IsDpiRoot(const QWidget* widget) {
    if (!widget)
        return false;
    if (widget->isWindow())
        return true;
    for (const QWidget* w = widget->parentWidget(); w; w = w->parentWidget()) {
        if (dynamic_cast<const CBaseWnd*>(w) || dynamic_cast<const CBaseDialog*>(w))
            return false;
        if (w->isWindow())
            break;
    }
    return true;
}

void CDpiWatcher::SendDpiToChildren(QWidget* parent, uintptr_t wParam) {
    std::vector<QWidget*> pending;
    auto addChildren = [&pending](const QWidget* w) {
        for (QObject* child : w->children())
            if (child->isWidgetType())
                pending.push_back(static_cast<QWidget*>(child));
    };
    addChildren(parent);
    while (!pending.empty()) {
        QWidget* w = pending.back();
        pending.pop_back();
        if (w->isWindow())
            continue; // another window follows its own screen
        if (auto* wnd = dynamic_cast<CBaseWnd*>(w))
            wnd->SendMessage(WM_DPICHANGED, wParam, 0);
        else
            addChildren(w);
    }
}

QRect CDpiWatcher::SuggestedRect(const QRect& rect, std::pair<unsigned, unsigned> from,
                                 std::pair<unsigned, unsigned> to) {
    auto carry = [](int v, unsigned oldDpi, unsigned newDpi) {
        if (oldDpi == 0 || oldDpi == newDpi)
            return v;
        return static_cast<int>(static_cast<long long>(v) * newDpi / oldDpi);
    };
    return QRect(rect.topLeft(), QSize(carry(rect.width(), from.first, to.first),
                                       carry(rect.height(), from.second, to.second)));
}

int CDpiWatcher::PendingChange(const QWidget* wnd, const CUISizeInfo* current, uintptr_t& wParam,
                               QRect& rect) {
    const auto dpi = MonitorDpi(wnd);
    const std::pair<unsigned, unsigned> old =
        current ? std::pair<unsigned, unsigned>(current->DpiX(), current->DpiY())
                : std::pair<unsigned, unsigned>(96, 96);
    if (current && dpi == old)
        return 0;
    wParam = MakeDpiWParam(dpi.first, dpi.second);
    rect = wnd->isWindow() ? SuggestedRect(wnd->geometry(), old, dpi) : wnd->geometry();
    return 1;
}

} // namespace KELCTRL
