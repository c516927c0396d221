#pragma once
// The line edit inside a CValueEdit. It turns what concerns the value into calls on its owner: Up
// and Down step by one unit, the wheel (while the edit has the focus) by the owner's step, Enter and
// Escape end the editing and give the focus away, and the pointer coming in or going out lights the
// row up or down.
#include <QLineEdit>

namespace KELCTRL {

class CValueEdit;

class CValueEditCtrl : public QLineEdit {
public:
    explicit CValueEditCtrl(CValueEdit* owner);

protected:
    void keyPressEvent(QKeyEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void focusOutEvent(QFocusEvent* e) override;
    void enterEvent(QEnterEvent* e) override;
    void leaveEvent(QEvent* e) override;

private:
    CValueEdit* m_owner;
};

} // namespace KELCTRL
