#pragma once
// What every pressable control shares: it takes the keyboard focus, looks pressed while the left
// button is held over it, and is pressed by a click (button down and up inside it), by Space or by
// Enter. A press runs OnPressed and then sends the parent WM_COMMAND with BN_CLICKED.
#include "ui/CCtrlWnd.h"

namespace KELCTRL {

class CPushCtrl : public CCtrlWnd {
public:
    explicit CPushCtrl(QWidget* parent = nullptr);

    // Presses the control as a click would; nothing happens while it is disabled. Returns 1 when
    // it was pressed.
    int Press();
    // The left button went down inside and is still held over the control.
    int IsPushed() const { return m_down && m_inside ? 1 : 0; }

protected:
    // The face of a button for the current state (pushed, hot, normal) with its border.
    void PaintFace(QPainter& painter, int width, int height) const;
    // The colour of a text drawn on the face.
    QColor FaceTextColor() const;

    // What a press does before the parent hears of it (a check box toggles, a radio button checks).
    virtual void OnPressed() {}

    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnLButtonUp(unsigned flags, const QPoint& point) override;
    void OnLButtonDblClk(unsigned flags, const QPoint& point) override;
    void OnMouseMove(unsigned flags, const QPoint& point) override;
    void OnKeyDown(unsigned key, unsigned repeat, unsigned flags) override;
    void OnCaptureChanged(CBaseWnd* newOwner) override;

private:
    bool m_down = false;
    bool m_inside = false;
};

} // namespace KELCTRL
