#include "ui/CBaseWnd.h"

#include "ui/CUIColorSchema.h"
#include "ui/InputMapping.h"

#include <QApplication>
#include <QCursor>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFocusEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QStyleHints>
#include <QThread>
#include <QTimerEvent>
#include <QToolTip>
#include <QUrl>
#include <QWheelEvent>

#include <algorithm>
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

bool IsInputEvent(QEvent::Type type) {
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        return true;
    default:
        return false;
    }
}

// The limit as the platform takes it: Qt caps sizes far below the "no limit" value.
int QtSizeLimit(int v) {
    return std::clamp(v, 0, QWIDGETSIZE_MAX);
}

} // namespace

CBaseWnd::CBaseWnd(QWidget* parent)
    : QWidget(parent), m_dpiWatcher(this, [this] { UpdateDpiFromMonitor(); }) {
    m_bkColor = CUIColorSchema::FromColorRef(UIColors().bkPanel);
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
    if (objectName().isEmpty())
        setObjectName(QLatin1String(DEF_WND_CLASS_NAME));
    m_ctrlId = id;
    m_created = true;
    {
        std::lock_guard<std::mutex> guard(LiveWindowsLock());
        CreatedWindows().insert(this);
    }
    const auto dpi = MonitorDpi(this);
    SetUISizeInfo(&FindUISizeInfo(dpi.first, dpi.second));
    MoveWindow(rect, 0);
    OnInitWnd();
    PostInitWnd();
    m_inited = true;
    m_dpiWatcher.WatchScreen();
    if (visible)
        show();
    return 1;
}

int CBaseWnd::PreTranslateMessage(QEvent*) {
    return 0;
}

void CBaseWnd::ResetFocus() {
    if (m_canGetFocus)
        setFocus(Qt::OtherFocusReason);
    else if (CBaseWnd* parent = GetParentWnd())
        parent->ResetFocus();
}

void CBaseWnd::UpdateCtrlStates(int) {}

void CBaseWnd::SetupCtrls() {}

QString CBaseWnd::GetCtrlTooltip(unsigned) {
    return QString();
}

void CBaseWnd::OnDropObjects(const QStringList&) {}

void CBaseWnd::DestroyWindow() {
    if (!m_created)
        return;
    if (g_capture == this)
        ReleaseCapture();
    OnDestroy();
    m_timers.KillAll();
    m_fadeTimer.stop();
    m_dpiWatcher.Stop();
    m_inited = false;
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
    // A top-level window learns its monitor at its first sizing, where its position is known.
    if (m_created && isWindow() && m_clientWidth == 0 && m_clientHeight == 0) {
        const auto dpi = MonitorDpi(this);
        SetUISizeInfo(&FindUISizeInfo(dpi.first, dpi.second));
    }
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
    case WM_DPICHANGED:
        return OnDPIChanged(wParam, reinterpret_cast<const QRect*>(lParam));
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
    if (IsInputEvent(e->type()) && PreTranslateMessage(e)) {
        e->accept();
        return true;
    }
    switch (e->type()) {
    case QEvent::ToolTip: {
        const QString text = GetTooltipText();
        if (text.isEmpty())
            break;
        QToolTip::showText(static_cast<QHelpEvent*>(e)->globalPos(), text, this);
        return true;
    }
    case QEvent::ScreenChangeInternal:
        // The window moved to another screen.
        m_dpiWatcher.WatchScreen();
        UpdateDpiFromMonitor();
        break;
    case QEvent::ChildAdded: {
        QObject* child = static_cast<QChildEvent*>(e)->child();
        if (child && child->isWidgetType())
            child->installEventFilter(this);
        break;
    }
    case QEvent::ChildRemoved: {
        QObject* child = static_cast<QChildEvent*>(e)->child();
        if (child)
            child->removeEventFilter(this);
        break;
    }
    default:
        break;
    }
    return QWidget::event(e);
}

bool CBaseWnd::eventFilter(QObject* watched, QEvent* e) {
    // The pointer went on into a child window: that counts as leaving this one, so hover effects
    // here end and only the child reacts to the pointer.
    if (e->type() == QEvent::Enter && watched->isWidgetType() && watched->parent() == this &&
        !static_cast<QWidget*>(watched)->isWindow())
        LeaveHover();
    return QWidget::eventFilter(watched, e);
}

// --- timers ---------------------------------------------------------------------------------

uintptr_t CBaseWnd::SetTimer(uintptr_t id, unsigned elapse) {
    return m_timers.Set(this, id, elapse);
}

int CBaseWnd::KillTimer(uintptr_t id) {
    return m_timers.Kill(this, id);
}

int CBaseWnd::IsTimerRunning(uintptr_t id) const {
    return m_timers.IsRunning(id);
}

void CBaseWnd::timerEvent(QTimerEvent* e) {
    // Fading runs on its own timer, so that no id a subclass chooses can collide with it.
    if (e->timerId() == m_fadeTimer.timerId()) {
        FadeStep();
        return;
    }
    uintptr_t id = 0;
    if (m_timers.Find(e->timerId(), id)) {
        OnTimer(id); // may change the map
        return;
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

const QBrush& CBaseWnd::GetBkBrush() {
    if (m_bkBrush.style() == Qt::NoBrush || m_bkBrushColor != m_bkColor) {
        m_bkBrush = QBrush(m_bkColor);
        m_bkBrushColor = m_bkColor;
    }
    return m_bkBrush;
}

FONT_STYLE CBaseWnd::SetFont(FONT_STYLE style) {
    const FONT_STYLE old = m_fontStyle;
    if (style == old || style < 0 || style >= FONT_STYLE_COUNT)
        return old;
    m_fontStyle = style;
    ApplyFont();
    if (isVisible())
        Redraw(nullptr, 1);
    return old;
}

const QFont* CBaseWnd::GetFontPtr() const {
    return m_uiSizeInfo ? &m_uiSizeInfo->fonts[m_fontStyle] : nullptr;
}

void CBaseWnd::ApplyFont() {
    if (const QFont* f = GetFontPtr())
        QWidget::setFont(*f);
}

void CBaseWnd::SetOpacity(unsigned opacity) {
    m_opacity = std::min(opacity, 255u);
    // Like a layered window, only a top-level window has an opacity of its own.
    if (isWindow())
        setWindowOpacity(m_opacity / 255.0);
}

void CBaseWnd::FadeIn(unsigned ms) {
    if (!isVisible()) {
        SetOpacity(0);
        show();
    }
    FadeTo(255, ms);
}

void CBaseWnd::FadeOut(unsigned ms) {
    FadeTo(0, ms);
}

void CBaseWnd::FadeTo(unsigned target, unsigned ms) {
    m_fadeTarget = target;
    const unsigned distance = target > m_opacity ? target - m_opacity : m_opacity - target;
    const unsigned steps = std::max(1u, ms / TIMER_FADING_INTERVAL);
    m_fadeStep = std::max(1u, (distance + steps - 1) / steps);
    if (ms == 0 || distance == 0) {
        m_fadeStep = distance;
        FadeStep();
        return;
    }
    m_fadeTimer.start(static_cast<int>(TIMER_FADING_INTERVAL), Qt::PreciseTimer, this);
}

void CBaseWnd::FadeStep() {
    unsigned next = m_fadeTarget;
    if (m_opacity < m_fadeTarget)
        next = std::min(m_fadeTarget, m_opacity + m_fadeStep);
    else if (m_opacity > m_fadeTarget)
        next = m_opacity - std::min(m_opacity - m_fadeTarget, m_fadeStep);
    SetOpacity(next);
    if (m_opacity != m_fadeTarget)
        return;
    m_fadeTimer.stop();
    if (m_fadeTarget == 0)
        hide();
}

int CBaseWnd::CanGetFocus(int can) {
    const int old = m_canGetFocus ? 1 : 0;
    m_canGetFocus = can != 0;
    setFocusPolicy(m_canGetFocus ? Qt::StrongFocus : Qt::NoFocus);
    return old;
}

void CBaseWnd::SetBorder(int border) {
    m_hasBorder = border != 0;
    Invalidate();
}

void CBaseWnd::SetTransparent(int transparent) {
    m_transparent = transparent != 0;
    setAttribute(Qt::WA_OpaquePaintEvent, !m_transparent);
    Invalidate();
}

void CBaseWnd::SetMinSize(const QSize& size) {
    m_minSize = size;
    ApplySizeLimits();
}

void CBaseWnd::SetMaxSize(const QSize& size) {
    m_maxSize = size;
    ApplySizeLimits();
}

void CBaseWnd::SetMaxTrackSize(const QSize& size) {
    m_maxTrackSize = size;
    ApplySizeLimits();
}

void CBaseWnd::OnGetMinMaxInfo(QSize& minTrackSize, QSize& maxTrackSize) const {
    auto scaleX = [this](int v) {
        return v == kNoSizeLimit || !m_uiSizeInfo ? v : m_uiSizeInfo->ScaledSizeX(v);
    };
    auto scaleY = [this](int v) {
        return v == kNoSizeLimit || !m_uiSizeInfo ? v : m_uiSizeInfo->ScaledSizeY(v);
    };
    minTrackSize = QSize(scaleX(m_minSize.width()), scaleY(m_minSize.height()));
    maxTrackSize = QSize(std::min(scaleX(m_maxSize.width()), scaleX(m_maxTrackSize.width())),
                         std::min(scaleY(m_maxSize.height()), scaleY(m_maxTrackSize.height())));
}

void CBaseWnd::ApplySizeLimits() {
    // Child windows are placed by their parents; the limits bind what the user can do to a window.
    // A window that became a child drops the limits it had.
    if (!isWindow()) {
        if (m_limitsApplied) {
            setMinimumSize(0, 0);
            setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
            m_limitsApplied = false;
        }
        return;
    }
    m_limitsApplied = true;
    QSize minSize, maxSize;
    OnGetMinMaxInfo(minSize, maxSize);
    setMinimumSize(QtSizeLimit(minSize.width()), QtSizeLimit(minSize.height()));
    setMaximumSize(QtSizeLimit(maxSize.width()), QtSizeLimit(maxSize.height()));
}

void CBaseWnd::SetUISizeInfo(CUISizeInfo* info) {
    m_uiSizeInfo = info;
    ApplyFont();
    ApplySizeLimits();
}

int CBaseWnd::UpdateDpiFromMonitor() {
    uintptr_t wParam = 0;
    QRect rect;
    if (!m_created || !CDpiWatcher::IsDpiRoot(this) ||
        !CDpiWatcher::PendingChange(this, m_uiSizeInfo, wParam, rect))
        return 0;
    SendMessage(WM_DPICHANGED, wParam, reinterpret_cast<intptr_t>(&rect));
    return 1;
}

intptr_t CBaseWnd::OnDPIChanged(uintptr_t wParam, const QRect* rect) {
    return CDpiWatcher::ApplyChange(*this, wParam, rect);
}

void CBaseWnd::SetTooltipText(const QString& text) {
    m_tooltipText = text;
}

QString CBaseWnd::GetTooltipText() const {
    if (!m_tooltipText.isEmpty())
        return m_tooltipText;
    if (CBaseWnd* parent = GetParentWnd()) {
        const QString text = parent->GetCtrlTooltip(m_ctrlId);
        if (!text.isEmpty())
            return text;
    }
    return toolTip();
}

void CBaseWnd::DragAcceptFiles(int accept) {
    setAcceptDrops(accept != 0);
}

void CBaseWnd::dragEnterEvent(QDragEnterEvent* e) {
    const QMimeData* data = e->mimeData();
    bool anyFile = false;
    if (data && data->hasUrls())
        for (const QUrl& url : data->urls())
            anyFile = anyFile || url.isLocalFile();
    if (anyFile)
        e->acceptProposedAction();
    else
        e->ignore();
}

void CBaseWnd::dropEvent(QDropEvent* e) {
    QStringList paths;
    if (const QMimeData* data = e->mimeData())
        for (const QUrl& url : data->urls())
            if (url.isLocalFile())
                paths << url.toLocalFile();
    if (paths.isEmpty()) {
        e->ignore();
        return;
    }
    e->acceptProposedAction();
    OnDropObjects(paths);
}

void CBaseWnd::PaintClient(QPainter& painter, int width, int height) {
    if (!m_transparent)
        painter.fillRect(QRect(0, 0, width, height), m_bkColor);
    if (const QFont* f = GetFontPtr())
        painter.setFont(*f);
    painter.save();
    OnPaint(painter, width, height);
    painter.restore();
    if (m_hasBorder && width > 0 && height > 0) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(QPen(m_bkColor, 0));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(0, 0, width - 1, height - 1);
        painter.restore();
    }
}

void CBaseWnd::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PaintClient(painter, width(), height());
}

QImage CBaseWnd::RenderClient() {
    QImage image(std::max(0, width()), std::max(0, height()),
                 m_transparent ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    if (image.isNull())
        return image;
    if (m_transparent)
        image.fill(Qt::transparent);
    QPainter painter(&image);
    PaintClient(painter, image.width(), image.height());
    return image;
}

void CBaseWnd::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    m_dpiWatcher.WatchScreen();
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
    if (m_uiSizeInfo)
        return static_cast<int>(m_uiSizeInfo->DpiX());
    return static_cast<int>(MonitorDpi(this).first);
}

void CBaseWnd::SetDpiFunction(DpiFunction function) {
    if (!function) {
        SetDpiProvider(nullptr);
        return;
    }
    SetDpiProvider([function](const QWidget* wnd) {
        const int dpi = function(wnd);
        const unsigned value = dpi > 0 ? static_cast<unsigned>(dpi) : 0u;
        return std::pair<unsigned, unsigned>(value, value);
    });
}

int CBaseWnd::ScaleByDpi(int value) const {
    return m_uiSizeInfo ? m_uiSizeInfo->ScaledSizeX(value)
                        : CUISizeInfo::Scale(value, static_cast<unsigned>(GetDpi()));
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
    // A move that a child let pass is the child's; only a captured pointer reaches the window there.
    if (e->buttons() == Qt::NoButton && IsOverChild(pt)) {
        e->accept();
        return;
    }
    OnSetCursor(this, HTCLIENT, WM_MOUSEMOVE);
    OnMouseMove(MouseKeyFlags(e->buttons(), e->modifiers()), pt);
    e->accept();
}

void CBaseWnd::leaveEvent(QEvent* e) {
    QWidget::leaveEvent(e);
    LeaveHover();
}

void CBaseWnd::LeaveHover() {
    if (!m_mouseHover)
        return;
    m_mouseHover = false;
    OnMouseLeave();
}

bool CBaseWnd::IsOverChild(const QPoint& point) const {
    return childAt(point) != nullptr;
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
