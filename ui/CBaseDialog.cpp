#include "ui/CBaseDialog.h"

#include "ui/CBaseWnd.h"
#include "ui/CUIColorSchema.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QResizeEvent>
#include <QScreen>

#include <algorithm>
#include <vector>

namespace KELCTRL {

CBaseDialog::CBaseDialog(QWidget* parent)
    : QDialog(parent), m_dpiWatcher(this, [this] { UpdateDpiFromMonitor(); }) {
    m_bkColor = CUIColorSchema::FromColorRef(UIColors().bkPanel);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

CBaseDialog::~CBaseDialog() {
    m_timers.KillAll();
    // A dialog deleted while it runs must not leave its owner disabled.
    if (m_modalOwner)
        m_modalOwner->setEnabled(true);
}

int CBaseDialog::Create(QWidget* parent, const QRect& rect, int visible) {
    if (m_created)
        return 0;
    if (parent != parentWidget())
        setParent(parent, windowFlags() | Qt::Dialog);
    InitDialog(rect);
    if (visible)
        show();
    return 1;
}

void CBaseDialog::InitDialog(const QRect& rect) {
    m_created = true;
    const auto dpi = MonitorDpi(this);
    SetUISizeInfo(&FindUISizeInfo(dpi.first, dpi.second));
    if (rect.isValid())
        MoveWindow(rect, 0);
    else
        HandleSize(width(), height());
    OnInitDialog();
    m_dpiWatcher.WatchScreen();
}

QWidget* CBaseDialog::FindOwner() const {
    if (QWidget* parent = parentWidget())
        return parent->window();
    QWidget* active = QApplication::activeWindow();
    return active != this ? active : nullptr;
}

intptr_t CBaseDialog::DoModal() {
    if (m_modalOwner || (isVisible() && isModal()))
        return -1;
    QWidget* owner = FindOwner();
    if (!m_created)
        InitDialog(QRect());
    bool enableOwner = false;
    if (owner && owner->isEnabled()) {
        owner->setEnabled(false);
        enableOwner = true;
    }
    // Qt passes a parent's disabled state on to the dialogs it owns; this one must stay usable.
    setEnabled(true);
    m_modalOwner = owner;
    const int result = exec();
    m_modalOwner = nullptr;
    // The owner comes back before the dialog goes, so that it takes the activation.
    if (enableOwner && owner) {
        owner->setEnabled(true);
        if (owner->isVisible())
            owner->activateWindow();
    }
    DestroyWindow();
    return result;
}

void CBaseDialog::EndDialog(int result) {
    done(result);
}

void CBaseDialog::DestroyWindow() {
    if (!m_created)
        return;
    OnDestroy();
    m_timers.KillAll();
    m_dpiWatcher.Stop();
    std::vector<QWidget*> pending;
    auto addChildren = [&pending](const QWidget* w) {
        for (QObject* child : w->children())
            if (child->isWidgetType())
                pending.push_back(static_cast<QWidget*>(child));
    };
    addChildren(this);
    while (!pending.empty()) {
        QWidget* w = pending.back();
        pending.pop_back();
        if (w->isWindow())
            continue;
        if (auto* wnd = dynamic_cast<CBaseWnd*>(w))
            wnd->DestroyWindow();
        addChildren(w);
    }
    hide();
    m_created = false;
}

void CBaseDialog::MoveWindow(int x, int y, int width, int height, int repaint) {
    setGeometry(x, y, std::max(0, width), std::max(0, height));
    // Qt defers the resize event of a hidden window; layout must not wait for it.
    HandleSize(std::max(0, width), std::max(0, height));
    if (repaint)
        update();
}

void CBaseDialog::MoveWindow(const QRect& rect, int repaint) {
    MoveWindow(rect.x(), rect.y(), rect.width(), rect.height(), repaint);
}

void CBaseDialog::HandleSize(int width, int height) {
    if (width == m_clientWidth && height == m_clientHeight)
        return;
    m_clientWidth = width;
    m_clientHeight = height;
    OnSize(0, width, height);
}

void CBaseDialog::AdjustCtrls(int, int) {}

void CBaseDialog::OnSize(unsigned, int cx, int cy) {
    AdjustCtrls(cx, cy);
}

QColor CBaseDialog::SetBkColor(const QColor& color) {
    const QColor old = m_bkColor;
    m_bkColor = color;
    return old;
}

void CBaseDialog::AddToolTipForCtrl(QWidget* ctrl, const QString& text) {
    if (!ctrl)
        return;
    if (auto* wnd = dynamic_cast<CBaseWnd*>(ctrl))
        wnd->SetTooltipText(text);
    else
        ctrl->setToolTip(text);
}

void CBaseDialog::SetUISizeInfo(CUISizeInfo* info) {
    m_uiSizeInfo = info;
    if (info)
        setFont(info->fonts[FONT_STYLE_NORMAL]);
}

int CBaseDialog::UpdateDpiFromMonitor() {
    uintptr_t wParam = 0;
    QRect rect;
    if (!m_created || !CDpiWatcher::PendingChange(this, m_uiSizeInfo, wParam, rect))
        return 0;
    SendMessage(WM_DPICHANGED, wParam, reinterpret_cast<intptr_t>(&rect));
    return 1;
}

intptr_t CBaseDialog::SendMessage(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    if (!m_created)
        return 0;
    if (msg == WM_DPICHANGED)
        return OnDPIChanged(wParam, reinterpret_cast<const QRect*>(lParam));
    return 0;
}

intptr_t CBaseDialog::OnDPIChanged(uintptr_t wParam, const QRect* rect) {
    return CDpiWatcher::ApplyChange(*this, wParam, rect);
}

int CBaseDialog::OnIsDPIChanging() {
    return IsDpiChanging();
}

void CBaseDialog::OnWindowPosChanged(const QRect& rect) {
    if (!isVisible() || m_dpiChanging || (windowState() & Qt::WindowMinimized))
        return;
    if (windowState() & Qt::WindowMaximized) {
        m_popupInfo.maximized = 1;
        return;
    }
    const CUISizeInfo* info = m_uiSizeInfo;
    m_popupInfo.x = rect.x();
    m_popupInfo.y = rect.y();
    m_popupInfo.width = info ? info->UnscaledSizeX(rect.width()) : rect.width();
    m_popupInfo.height = info ? info->UnscaledSizeY(rect.height()) : rect.height();
    m_popupInfo.maximized = 0;
}

void CBaseDialog::RestoreLastWindowState() {
    const POPUP_WND_INFO saved = m_popupInfo;
    if (saved.width <= 0 || saved.height <= 0) {
        MoveWindow(geometry());
        return;
    }
    const QWidget* reference = parentWidget() ? parentWidget()->window() : this;
    QScreen* screen = reference->screen();
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const QRect work =
        screen ? screen->availableGeometry() : QRect(saved.x, saved.y, saved.width, saved.height);
    const auto dpi = MonitorDpi(this);
    const int width = std::min(CUISizeInfo::Scale(saved.width, dpi.first), work.width());
    const int height = std::min(CUISizeInfo::Scale(saved.height, dpi.second), work.height());
    const int x = std::clamp(saved.x, work.left(), work.left() + work.width() - width);
    const int y = std::clamp(saved.y, work.top(), work.top() + work.height() - height);
    MoveWindow(x, y, width, height);
    if (saved.maximized)
        setWindowState(windowState() | Qt::WindowMaximized);
}

uintptr_t CBaseDialog::SetTimer(uintptr_t id, unsigned elapse) {
    return m_timers.Set(this, id, elapse);
}

int CBaseDialog::KillTimer(uintptr_t id) {
    return m_timers.Kill(this, id);
}

int CBaseDialog::IsTimerRunning(uintptr_t id) const {
    return m_timers.IsRunning(id);
}

void CBaseDialog::OnTimer(uintptr_t) {}

int CBaseDialog::OnInitDialog() {
    return 1;
}

void CBaseDialog::OnDestroy() {}

void CBaseDialog::OnOK() {
    EndDialog(IDOK);
}

void CBaseDialog::OnCancel() {
    EndDialog(IDCANCEL);
}

void CBaseDialog::OnClose() {
    OnCancel();
}

void CBaseDialog::accept() {
    OnOK();
}

void CBaseDialog::reject() {
    OnCancel();
}

void CBaseDialog::OnPaint(QPainter&, int, int) {}

void CBaseDialog::PaintClient(QPainter& painter, int width, int height) {
    painter.fillRect(QRect(0, 0, width, height), m_bkColor);
    if (m_uiSizeInfo)
        painter.setFont(m_uiSizeInfo->fonts[FONT_STYLE_NORMAL]);
    painter.save();
    OnPaint(painter, width, height);
    painter.restore();
}

void CBaseDialog::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    PaintClient(painter, width(), height());
}

QImage CBaseDialog::RenderClient() {
    QImage image(std::max(0, width()), std::max(0, height()), QImage::Format_RGB32);
    if (image.isNull())
        return image;
    QPainter painter(&image);
    PaintClient(painter, image.width(), image.height());
    return image;
}

bool CBaseDialog::event(QEvent* e) {
    if (e->type() == QEvent::ScreenChangeInternal) {
        m_dpiWatcher.WatchScreen();
        UpdateDpiFromMonitor();
    }
    return QDialog::event(e);
}

void CBaseDialog::resizeEvent(QResizeEvent* e) {
    QDialog::resizeEvent(e);
    HandleSize(e->size().width(), e->size().height());
    OnWindowPosChanged(geometry());
}

void CBaseDialog::moveEvent(QMoveEvent* e) {
    QDialog::moveEvent(e);
    OnWindowPosChanged(geometry());
}

void CBaseDialog::keyPressEvent(QKeyEvent* e) {
    const Qt::KeyboardModifiers mods = e->modifiers() & ~Qt::KeypadModifier;
    if (mods == Qt::NoModifier) {
        if (e->key() == Qt::Key_Escape) {
            OnCancel();
            e->accept();
            return;
        }
        // A focused button takes Enter itself; anywhere else Enter is the dialog's OK.
        if ((e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter) &&
            !qobject_cast<QAbstractButton*>(QApplication::focusWidget())) {
            OnOK();
            e->accept();
            return;
        }
    }
    QDialog::keyPressEvent(e);
}

void CBaseDialog::closeEvent(QCloseEvent* e) {
    OnClose();
    // OnClose may decline to end the dialog; then the window stays.
    if (isVisible())
        e->ignore();
    else
        e->accept();
}

void CBaseDialog::timerEvent(QTimerEvent* e) {
    uintptr_t id = 0;
    if (m_timers.Find(e->timerId(), id)) {
        OnTimer(id);
        return;
    }
    QDialog::timerEvent(e);
}

void CBaseDialog::showEvent(QShowEvent* e) {
    QDialog::showEvent(e);
    m_dpiWatcher.WatchScreen();
}

void CBaseDialog::MoveToOwnerCentre(int width, int height) {
    const QWidget* reference = parentWidget() ? parentWidget()->window() : nullptr;
    QRect area;
    if (reference && reference->isVisible())
        area = reference->geometry();
    else if (QScreen* screen = QGuiApplication::primaryScreen())
        area = screen->availableGeometry();
    const QPoint topLeft = area.isValid() ? area.center() - QPoint(width / 2, height / 2) : QPoint();
    MoveWindow(topLeft.x(), topLeft.y(), width, height, 0);
}

} // namespace KELCTRL
