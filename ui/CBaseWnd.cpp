#include "ui/CBaseWnd.h"

#include "ui/InputMapping.h"

#include <QApplication>
#include <QCursor>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QStyleHints>
#include <QThread>
#include <QTimerEvent>
#include <QWheelEvent>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <unordered_set>

namespace KELCTRL {

namespace {

// A message posted to a window, delivered to WindowProc on the UI thread.
class CMessageEvent : public QEvent {
public:
    static QEvent::Type EventType() {
        static const QEvent::Type type = static_cast<QEvent::Type>(QEvent::registerEventType());
        return type;
    }
    CMessageEvent(unsigned msg, uintptr_t wParam, intptr_t lParam)
        : QEvent(EventType()), m_msg(msg), m_wParam(wParam), m_lParam(lParam) {}
    unsigned m_msg;
    uintptr_t m_wParam;
    intptr_t m_lParam;
};

// Live windows, so that a worker posting to a window that is already gone posts nothing. A window
// leaves the set under the lock before QObject's destructor drops the events still queued for it.
std::mutex& LiveWindowsLock() {
    static std::mutex lock;
    return lock;
}
std::unordered_set<const CBaseWnd*>& LiveWindows() {
    static std::unordered_set<const CBaseWnd*> windows;
    return windows;
}
// Created windows among the live ones; read by workers before posting.
std::unordered_set<const CBaseWnd*>& CreatedWindows() {
    static std::unordered_set<const CBaseWnd*> windows;
    return windows;
}

CBaseWnd* g_capture = nullptr;
std::atomic<CBaseWnd::DpiFunction> g_dpiFunction{nullptr};

} // namespace

CBaseWnd::CBaseWnd(QWidget* parent) : QWidget(parent) {
    m_bkColor = palette().color(QPalette::Window);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    std::lock_guard<std::mutex> guard(LiveWindowsLock());
    LiveWindows().insert(this);
}

CBaseWnd::~CBaseWnd() {
    {
        std::lock_guard<std::mutex> guard(LiveWindowsLock());
        LiveWindows().erase(this);
        CreatedWindows().erase(this);
    }
    m_created = false;
    if (g_capture == this) {
        g_capture = nullptr;
        if (QWidget::mouseGrabber() == this)
            releaseMouse();
    }
}

int CBaseWnd::Create(QWidget* parent, const QRect& rect, unsigned id, int visible) {
    if (m_created)
        return 0;
    if (parent != parentWidget())
        setParent(parent);
    m_ctrlId = id;
    m_created = true;
    {
        std::lock_guard<std::mutex> guard(LiveWindowsLock());
        CreatedWindows().insert(this);
    }
    MoveWindow(rect, 0);
    OnInitWnd();
    PostInitWnd();
    if (visible)
        show();
    return 1;
}

void CBaseWnd::DestroyWindow() {
    if (!m_created)
        return;
    if (g_capture == this)
        ReleaseCapture();
    OnDestroy();
    for (auto& entry : m_timers)
        entry.second.stop();
    m_timers.clear();
    hide();
    std::lock_guard<std::mutex> guard(LiveWindowsLock());
    CreatedWindows().erase(this);
    m_created = false;
}

CBaseWnd* CBaseWnd::GetParentWnd() const {
    return dynamic_cast<CBaseWnd*>(parentWidget());
}

void CBaseWnd::MoveWindow(int x, int y, int width, int height, int repaint) {
    setGeometry(x, y, std::max(0, width), std::max(0, height));
    // Qt defers the resize event of a hidden window; layout must not wait for it.
    HandleSize(std::max(0, width), std::max(0, height));
    if (repaint)
        Invalidate();
}

void CBaseWnd::MoveWindow(const QRect& rect, int repaint) {
    MoveWindow(rect.x(), rect.y(), rect.width(), rect.height(), repaint);
}

QPoint CBaseWnd::GetCursorClientPos() const {
    return mapFromGlobal(QCursor::pos());
}

void CBaseWnd::HandleSize(int width, int height) {
    if (width == m_clientWidth && height == m_clientHeight)
        return;
    m_clientWidth = width;
    m_clientHeight = height;
    OnSize(0, width, height);
}

// --- messages -------------------------------------------------------------------------------

intptr_t CBaseWnd::SendMessage(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    if (!m_created)
        return 0;
    return WindowProc(msg, wParam, lParam);
}

int CBaseWnd::PostMessage(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    return PostMessage(this, msg, wParam, lParam);
}

int CBaseWnd::PostMessage(CBaseWnd* wnd, unsigned msg, uintptr_t wParam, intptr_t lParam) {
    if (!wnd)
        return 0;
    std::lock_guard<std::mutex> guard(LiveWindowsLock());
    if (!CreatedWindows().count(wnd))
        return 0;
    QCoreApplication::postEvent(wnd, new CMessageEvent(msg, wParam, lParam));
    return 1;
}

intptr_t CBaseWnd::NotifyParent(unsigned code, NMHDR& header) {
    header.hwndFrom = this;
    header.idFrom = m_ctrlId;
    header.code = code;
    CBaseWnd* parent = GetParentWnd();
    return parent ? parent->SendMessage(WM_NOTIFY, m_ctrlId, reinterpret_cast<intptr_t>(&header)) : 0;
}

intptr_t CBaseWnd::WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    switch (msg) {
    case WM_SETREDRAW:
        setUpdatesEnabled(wParam != 0);
        return 0;
    case WM_NOTIFY:
        return OnNotify(wParam, reinterpret_cast<NMHDR*>(lParam));
    case WM_BASEWND_REDRAW:
        return OnRedraw(wParam, lParam);
    default:
        return 0;
    }
}

intptr_t CBaseWnd::OnNotify(uintptr_t, NMHDR*) {
    return 0;
}

intptr_t CBaseWnd::OnRedraw(uintptr_t, intptr_t) {
    Redraw(nullptr, 1);
    return 1;
}

bool CBaseWnd::event(QEvent* e) {
    if (e->type() == CMessageEvent::EventType()) {
        auto* message = static_cast<CMessageEvent*>(e);
        if (m_created)
            WindowProc(message->m_msg, message->m_wParam, message->m_lParam);
        return true;
    }
    return QWidget::event(e);
}

// --- timers ---------------------------------------------------------------------------------

uintptr_t CBaseWnd::SetTimer(uintptr_t id, unsigned elapse) {
    if (QThread::currentThread() != thread())
        return 0;
    m_timers[id].start(static_cast<int>(std::min<unsigned>(elapse, 0x7FFFFFFF)), Qt::PreciseTimer, this);
    return id ? id : 1;
}

int CBaseWnd::KillTimer(uintptr_t id) {
    if (QThread::currentThread() != thread())
        return 0;
    auto it = m_timers.find(id);
    if (it == m_timers.end())
        return 0;
    it->second.stop();
    m_timers.erase(it);
    return 1;
}

int CBaseWnd::IsTimerRunning(uintptr_t id) const {
    auto it = m_timers.find(id);
    return it != m_timers.end() && it->second.isActive() ? 1 : 0;
}

void CBaseWnd::timerEvent(QTimerEvent* e) {
    for (const auto& entry : m_timers) {
        if (entry.second.timerId() == e->timerId()) {
            const uintptr_t id = entry.first; // OnTimer may change the map
            OnTimer(id);
            return;
        }
    }
    QWidget::timerEvent(e);
}

void CBaseWnd::OnTimer(uintptr_t) {}

// --- capture and focus ----------------------------------------------------------------------

CBaseWnd* CBaseWnd::SetCapture() {
    CBaseWnd* previous = g_capture;
    g_capture = this;
    // The offscreen platform has no pointer to grab.
    if (isVisible() && QGuiApplication::platformName() != QLatin1String("offscreen"))
        grabMouse();
    if (previous && previous != this)
        previous->OnCaptureChanged(this);
    return previous;
}

int CBaseWnd::ReleaseCapture() {
    CBaseWnd* previous = g_capture;
    if (!previous)
        return 1;
    g_capture = nullptr;
    if (QWidget::mouseGrabber() == previous)
        previous->releaseMouse();
    previous->OnCaptureChanged(nullptr);
    return 1;
}

CBaseWnd* CBaseWnd::GetCapture() {
    return g_capture;
}

void CBaseWnd::OnCaptureChanged(CBaseWnd*) {}

void CBaseWnd::OnSetFocus(QWidget*) {}

void CBaseWnd::OnKillFocus(QWidget*) {
    if (g_capture == this)
        ReleaseCapture();
}

void CBaseWnd::focusInEvent(QFocusEvent* e) {
    QWidget::focusInEvent(e);
    OnSetFocus(nullptr);
}

void CBaseWnd::focusOutEvent(QFocusEvent* e) {
    QWidget::focusOutEvent(e);
    QWidget* next = QApplication::focusWidget();
    OnKillFocus(next == this ? nullptr : next);
}

void CBaseWnd::changeEvent(QEvent* e) {
    QWidget::changeEvent(e);
    if (e->type() == QEvent::ActivationChange && !isActiveWindow() && g_capture &&
        (g_capture == this || isAncestorOf(g_capture)))
        ReleaseCapture();
}

// --- painting and size ----------------------------------------------------------------------

void CBaseWnd::Invalidate() {
    update();
}

void CBaseWnd::UpdateWindow() {
    if (isVisible() && updatesEnabled())
        repaint();
}

void CBaseWnd::Redraw(const QRect* rect, int now) {
    if (rect)
        update(*rect);
    else
        update();
    if (now && isVisible() && updatesEnabled()) {
        if (rect)
            repaint(*rect);
        else
            repaint();
    }
}

QColor CBaseWnd::SetBkColor(const QColor& color) {
    const QColor old = m_bkColor;
    m_bkColor = color;
    return old;
}

void CBaseWnd::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), m_bkColor);
    painter.save();
    OnPaint(painter, width(), height());
    painter.restore();
}

void CBaseWnd::OnPaint(QPainter&, int, int) {}

void CBaseWnd::resizeEvent(QResizeEvent* e) {
    QWidget::resizeEvent(e);
    HandleSize(e->size().width(), e->size().height());
}

void CBaseWnd::OnSize(unsigned, int cx, int cy) {
    AdjustCtrls(cx, cy);
}

void CBaseWnd::AdjustCtrls(int, int) {}

int CBaseWnd::GetDpi() const {
    if (const DpiFunction function = g_dpiFunction.load())
        return function(this);
    const int dpi = logicalDpiX();
    return dpi > 0 ? dpi : 96;
}

void CBaseWnd::SetDpiFunction(DpiFunction function) {
    g_dpiFunction.store(function);
}

int CBaseWnd::ScaleByDpi(int value) const {
    const int dpi = GetDpi();
    return dpi == 96 ? value : value * dpi / 96;
}

// --- mouse ----------------------------------------------------------------------------------

bool CBaseWnd::IsDoubleClick(const QMouseEvent* e) const {
    if (m_lastPress.button != e->button() || e->button() == Qt::NoButton)
        return false;
    const QStyleHints* hints = QGuiApplication::styleHints();
    const quint64 interval = static_cast<quint64>(std::max(0, hints->mouseDoubleClickInterval()));
    if (e->timestamp() < m_lastPress.timestamp || e->timestamp() - m_lastPress.timestamp > interval)
        return false;
    const QPoint delta = e->position().toPoint() - m_lastPress.pos;
    const int distance = hints->mouseDoubleClickDistance();
    return std::abs(delta.x()) <= distance && std::abs(delta.y()) <= distance;
}

void CBaseWnd::DeliverPress(QMouseEvent* e) {
    const QPoint pt = e->position().toPoint();
    const bool dblClk = IsDoubleClick(e);
    if (dblClk)
        m_lastPress = LastPress{}; // a third press starts a new pair
    else
        m_lastPress = LastPress{e->button(), e->timestamp(), pt};
    DeliverButton(e->button(), true, dblClk, MouseKeyFlags(e->buttons(), e->modifiers()), pt);
}

void CBaseWnd::DeliverButton(Qt::MouseButton button, bool down, bool dblClk, unsigned flags,
                             const QPoint& pt) {
    switch (button) {
    case Qt::LeftButton:
        if (!down)
            OnLButtonUp(flags, pt);
        else if (dblClk)
            OnLButtonDblClk(flags, pt);
        else
            OnLButtonDown(flags, pt);
        break;
    case Qt::RightButton:
        if (!down)
            OnRButtonUp(flags, pt);
        else if (dblClk)
            OnRButtonDblClk(flags, pt);
        else
            OnRButtonDown(flags, pt);
        break;
    case Qt::MiddleButton:
        if (down)
            OnMButtonDown(flags, pt);
        else
            OnMButtonUp(flags, pt);
        break;
    default:
        break;
    }
}

void CBaseWnd::mousePressEvent(QMouseEvent* e) {
    m_swallowQtDblClick = false;
    const bool dblClk = IsDoubleClick(e);
    DeliverPress(e);
    // The double click already went out with this press; Qt's own double-click event follows.
    m_swallowQtDblClick = dblClk;
    e->accept();
}

void CBaseWnd::mouseDoubleClickEvent(QMouseEvent* e) {
    if (m_swallowQtDblClick) {
        m_swallowQtDblClick = false;
        e->accept();
        return;
    }
    // Qt delivered the double click without the press that forms it.
    DeliverPress(e);
    e->accept();
}

void CBaseWnd::mouseReleaseEvent(QMouseEvent* e) {
    m_swallowQtDblClick = false;
    DeliverButton(e->button(), false, false, MouseKeyFlags(e->buttons(), e->modifiers()),
                  e->position().toPoint());
    e->accept();
}

void CBaseWnd::mouseMoveEvent(QMouseEvent* e) {
    const QPoint pt = e->position().toPoint();
    OnSetCursor(this, HTCLIENT, WM_MOUSEMOVE);
    OnMouseMove(MouseKeyFlags(e->buttons(), e->modifiers()), pt);
    e->accept();
}

void CBaseWnd::leaveEvent(QEvent* e) {
    QWidget::leaveEvent(e);
    if (m_mouseHover) {
        m_mouseHover = false;
        OnMouseLeave();
    }
}

void CBaseWnd::wheelEvent(QWheelEvent* e) {
    const int handled =
        OnMouseWheel(MouseKeyFlags(e->buttons(), e->modifiers()), WheelDelta(*e), e->position().toPoint());
    if (handled)
        e->accept();
    else
        e->ignore();
}

int CBaseWnd::OnSetCursor(CBaseWnd*, unsigned, unsigned) {
    setCursor(Qt::ArrowCursor);
    return 1;
}

void CBaseWnd::OnLButtonDown(unsigned, const QPoint&) {}
void CBaseWnd::OnLButtonUp(unsigned, const QPoint&) {}
void CBaseWnd::OnLButtonDblClk(unsigned, const QPoint&) {}
void CBaseWnd::OnRButtonDown(unsigned, const QPoint&) {}
void CBaseWnd::OnRButtonUp(unsigned, const QPoint&) {}
void CBaseWnd::OnRButtonDblClk(unsigned, const QPoint&) {}
void CBaseWnd::OnMButtonDown(unsigned, const QPoint&) {}
void CBaseWnd::OnMButtonUp(unsigned, const QPoint&) {}

void CBaseWnd::OnMouseMove(unsigned flags, const QPoint& point) {
    // The first move after the pointer came in is the enter.
    if (!m_mouseHover) {
        m_mouseHover = true;
        OnMouseEnter(flags, point);
    }
}

void CBaseWnd::OnMouseEnter(unsigned, const QPoint&) {}
void CBaseWnd::OnMouseLeave() {}
int CBaseWnd::OnMouseWheel(unsigned, short, const QPoint&) {
    return 0;
}

// --- keys -----------------------------------------------------------------------------------

void CBaseWnd::DeliverKey(QKeyEvent* e, bool down) {
    // X11 auto-repeat sends a release before every repeated press; the key is still down.
    if (!down && e->isAutoRepeat()) {
        e->accept();
        return;
    }
    const unsigned vk = VirtualKeyFromQt(e->key(), e->modifiers());
    if (vk == 0) {
        e->ignore();
        return;
    }
    const bool altDown = (e->modifiers() & Qt::AltModifier) || (down && vk == VK_MENU);
    const unsigned flags = KeyMessageFlags(down, e->isAutoRepeat(), altDown);
    const unsigned repeat = static_cast<unsigned>(std::max(1, e->count()));
    if (IsSystemKey(vk, e->modifiers())) {
        if (down)
            OnSysKeyDown(vk, repeat, flags);
        else
            OnSysKeyUp(vk, repeat, flags);
    } else {
        if (down)
            OnKeyDown(vk, repeat, flags);
        else
            OnKeyUp(vk, repeat, flags);
    }
    e->accept();
}

void CBaseWnd::keyPressEvent(QKeyEvent* e) {
    DeliverKey(e, true);
}
void CBaseWnd::keyReleaseEvent(QKeyEvent* e) {
    DeliverKey(e, false);
}

void CBaseWnd::OnKeyDown(unsigned, unsigned, unsigned) {}
void CBaseWnd::OnKeyUp(unsigned, unsigned, unsigned) {}
void CBaseWnd::OnSysKeyDown(unsigned, unsigned, unsigned) {}
void CBaseWnd::OnSysKeyUp(unsigned, unsigned, unsigned) {}

} // namespace KELCTRL
