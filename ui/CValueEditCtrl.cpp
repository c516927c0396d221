#include "ui/CValueEditCtrl.h"

#include "ui/CValueEdit.h"
#include "ui/InputMapping.h"

#include <QKeyEvent>
#include <QWheelEvent>

namespace KELCTRL {

CValueEditCtrl::CValueEditCtrl(CValueEdit* owner) : QLineEdit(owner), m_owner(owner) {
    setFrame(false);
    setAlignment(Qt::AlignCenter);
    setContextMenuPolicy(Qt::NoContextMenu);
}

void CValueEditCtrl::keyPressEvent(QKeyEvent* e) {
    switch (e->key()) {
    case Qt::Key_Up:
        m_owner->OnEditCtrlScroll(1, 0);
        e->accept();
        return;
    case Qt::Key_Down:
        m_owner->OnEditCtrlScroll(-1, 0);
        e->accept();
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Escape:
        m_owner->OnEndEdit();
        e->accept();
        return;
    default:
        QLineEdit::keyPressEvent(e);
    }
}

void CValueEditCtrl::wheelEvent(QWheelEvent* e) {
    // Without the focus the wheel belongs to whatever scrolls around the edit.
    const short delta = WheelDelta(*e);
    if (!hasFocus() || delta == 0) {
        e->ignore();
        return;
    }
    m_owner->OnEditCtrlScroll(delta > 0 ? 1 : -1, 1);
    e->accept();
}

void CValueEditCtrl::focusOutEvent(QFocusEvent* e) {
    QLineEdit::focusOutEvent(e);
    m_owner->OnEnKillFocus();
}

void CValueEditCtrl::enterEvent(QEnterEvent* e) {
    QLineEdit::enterEvent(e);
    m_owner->OnEditHover(1);
}

void CValueEditCtrl::leaveEvent(QEvent* e) {
    QLineEdit::leaveEvent(e);
    m_owner->OnEditHover(0);
}

} // namespace KELCTRL
