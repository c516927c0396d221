#include "app/CAppEventFilter.h"

#include "app/CPhotoEditorApp.h"
#include "ui/InputMapping.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QWheelEvent>
#include <QWidget>

namespace KELCTRL {

CAppEventFilter::CAppEventFilter(CPhotoEditorApp& app) : m_app(app) {}

bool CAppEventFilter::IsEditControl(const QWidget* widget) {
    if (!widget)
        return false;
    if (qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QTextEdit*>(widget) ||
        qobject_cast<const QPlainTextEdit*>(widget) || qobject_cast<const QAbstractSpinBox*>(widget))
        return true;
    const auto* combo = qobject_cast<const QComboBox*>(widget);
    return combo && combo->isEditable();
}

bool CAppEventFilter::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
        return OnKeyPress(watched, static_cast<QKeyEvent*>(event));
    case QEvent::Wheel:
        return OnWheel(watched, static_cast<QWheelEvent*>(event));
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::WindowStateChange:
        if (watched == m_app.GetMainWnd())
            m_app.OnMainWindowPlacementChanged();
        return false;
    default:
        return false;
    }
}

bool CAppEventFilter::OnKeyPress(QObject* watched, QKeyEvent* event) {
    // A key event goes first to the focus widget (or the window when nothing has the focus); one
    // that it ignores is offered to its parents and passes here again. Only the first delivery
    // counts. (The event's address cannot tell them apart: Qt reuses it for the next key.)
    auto* widget = qobject_cast<QWidget*>(watched);
    if (!widget)
        return false;
    QWidget* focus = QApplication::focusWidget();
    if (focus ? widget != focus : !widget->isWindow())
        return false;
    if (IsEditControl(widget))
        return false;
    const unsigned vk = VirtualKeyFromQt(event->key(), event->modifiers());
    if (vk == 0)
        return false;
    unsigned short mods = 0;
    if (event->modifiers() & Qt::ShiftModifier)
        mods |= FSHIFT;
    if (event->modifiers() & Qt::ControlModifier)
        mods |= FCONTROL;
    if (event->modifiers() & Qt::AltModifier)
        mods |= FALT;
    return m_app.TranslateAccelerator(static_cast<unsigned short>(vk), mods);
}

bool CAppEventFilter::OnWheel(QObject* watched, QWheelEvent* event) {
    if (m_redirecting)
        return false;
    auto* target = qobject_cast<QWidget*>(watched);
    if (!target || !target->isWindow())
        return false; // only the first delivery (to a top level under a grab) can go astray
    QWidget* under = QApplication::widgetAt(event->globalPosition().toPoint());
    if (!under || under == target || target->isAncestorOf(under))
        return false;
    // Panels scroll under the pointer without having the focus.
    QWheelEvent copy(under->mapFromGlobal(event->globalPosition()), event->globalPosition(),
                     event->pixelDelta(), event->angleDelta(), event->buttons(), event->modifiers(),
                     event->phase(), event->inverted());
    m_redirecting = true;
    QApplication::sendEvent(under, &copy);
    m_redirecting = false;
    return true;
}

} // namespace KELCTRL
