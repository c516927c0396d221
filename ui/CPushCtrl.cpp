#include "ui/CPushCtrl.h"

#include "ui/CUIColorSchema.h"

#include <QPainter>

namespace KELCTRL {

CPushCtrl::CPushCtrl(QWidget* parent) : CCtrlWnd(parent) {
    CanGetFocus(1);
}

int CPushCtrl::Press() {
    if (!isEnabled() || !IsWindow())
        return 0;
    OnPressed();
    Invalidate();
    SendCommand(BN_CLICKED);
    return 1;
}

void CPushCtrl::PaintFace(QPainter& painter, int width, int height) const {
    const CUIColorSchema& c = UIColors();
    QColor face = CUIColorSchema::FromColorRef(c.btnFaceShadow);
    if (!isEnabled())
        face = CUIColorSchema::FromColorRef(c.bkDefault); // sunk, with its dim caption still readable
    else if (IsPushed())
        face = CUIColorSchema::FromArgb(c.btnFacePressed);
    else if (IsHot())
        face = CUIColorSchema::FromColorRef(c.btnFaceHighlight);
    painter.fillRect(QRect(0, 0, width, height), face);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(CUIColorSchema::FromArgb(c.lineCtrlBorder), 0));
    painter.setBrush(Qt::NoBrush);
    if (width > 0 && height > 0)
        painter.drawRect(0, 0, width - 1, height - 1);
    painter.restore();
}

QColor CPushCtrl::FaceTextColor() const {
    if (isEnabled() && IsPushed())
        return CUIColorSchema::FromColorRef(UIColors().textOnLightDark);
    return TextColor();
}

void CPushCtrl::OnLButtonDown(unsigned, const QPoint& point) {
    if (!isEnabled())
        return;
    if (CanGetFocus())
        setFocus(Qt::MouseFocusReason);
    m_down = true;
    m_inside = rect().contains(point);
    SetCapture();
    Invalidate();
}

void CPushCtrl::OnLButtonDblClk(unsigned flags, const QPoint& point) {
    // A fast second click is a second press, not something else.
    OnLButtonDown(flags, point);
}

void CPushCtrl::OnLButtonUp(unsigned, const QPoint& point) {
    if (!m_down)
        return;
    const bool inside = rect().contains(point);
    m_down = false;
    m_inside = false;
    if (GetCapture() == this)
        ReleaseCapture();
    Invalidate();
    if (inside)
        Press();
}

void CPushCtrl::OnMouseMove(unsigned flags, const QPoint& point) {
    CCtrlWnd::OnMouseMove(flags, point);
    if (!m_down)
        return;
    const bool inside = rect().contains(point);
    if (inside != m_inside) {
        m_inside = inside;
        Invalidate();
    }
}

void CPushCtrl::OnKeyDown(unsigned key, unsigned, unsigned flags) {
    // One press per key stroke: auto-repeats of a held key do not press again.
    if ((key == VK_SPACE || key == VK_RETURN) && !(flags & KF_REPEAT))
        Press();
}

void CPushCtrl::OnCaptureChanged(CBaseWnd* newOwner) {
    CCtrlWnd::OnCaptureChanged(newOwner);
    if (m_down) {
        m_down = false;
        m_inside = false;
        Invalidate();
    }
}

} // namespace KELCTRL
