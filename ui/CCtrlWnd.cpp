#include "ui/CCtrlWnd.h"

#include "ui/CUIColorSchema.h"

#include <QPainter>
#include <QPen>

namespace KELCTRL {

CCtrlWnd::CCtrlWnd(QWidget* parent) : CBaseWnd(parent) {}

int CCtrlWnd::Create(QWidget* parent, const QRect& rect, unsigned id, const QString& text, int visible) {
    SetText(text);
    return CBaseWnd::Create(parent, rect, id, visible);
}

void CCtrlWnd::Show(int show) {
    setVisible(show != 0);
}

void CCtrlWnd::Enable(int enable) {
    if ((enable != 0) == isEnabled())
        return;
    setEnabled(enable != 0);
    Invalidate();
}

void CCtrlWnd::SetText(const QString& text) {
    if (text == m_text)
        return;
    m_text = text;
    Invalidate();
}

void CCtrlWnd::SetHighlight(int highlight) {
    if ((highlight != 0) == (IsHighlighted() != 0))
        return;
    IConnectedCtrl::SetHighlight(highlight);
    Invalidate();
}

intptr_t CCtrlWnd::SendCommand(unsigned code) {
    CBaseWnd* parent = GetParentWnd();
    if (!parent)
        return 0;
    return parent->SendMessage(WM_COMMAND, MakeCommandWParam(GetDlgCtrlID(), code),
                               reinterpret_cast<intptr_t>(static_cast<CBaseWnd*>(this)));
}

QColor CCtrlWnd::TextColor() const {
    const CUIColorSchema& c = UIColors();
    if (!isEnabled())
        return CUIColorSchema::FromColorRef(c.textDisabled);
    return CUIColorSchema::FromColorRef(IsHot() ? c.textHighlight : c.textNormal);
}

void CCtrlWnd::DrawFocusMark(QPainter& painter, int width, int height) const {
    if (!hasFocus() || width < 5 || height < 5)
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(CUIColorSchema::FromColorRef(UIColors().textHighlight), 0, Qt::DotLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(2, 2, width - 5, height - 5);
    painter.restore();
}

void CCtrlWnd::OnMouseEnter(unsigned, const QPoint&) {
    HighlightBrothers(1);
    Invalidate();
}

void CCtrlWnd::OnMouseLeave() {
    HighlightBrothers(0);
    Invalidate();
}

void CCtrlWnd::OnSetFocus(QWidget* oldFocus) {
    CBaseWnd::OnSetFocus(oldFocus);
    Invalidate();
}

void CCtrlWnd::OnKillFocus(QWidget* newFocus) {
    CBaseWnd::OnKillFocus(newFocus);
    Invalidate();
}

} // namespace KELCTRL
