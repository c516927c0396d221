#pragma once
// The base of the owner-drawn controls: a window with a text, shown and enabled through one call
// each, that tells its parent of a click or change with WM_COMMAND, and lights up while the pointer
// is over it or over a control connected to it.
#include "ui/CBaseWnd.h"
#include "ui/CtrlDefs.h"
#include "ui/IConnectedCtrl.h"

#include <QColor>
#include <QString>

namespace KELCTRL {

class CCtrlWnd : public CBaseWnd, public IConnectedCtrl {
public:
    explicit CCtrlWnd(QWidget* parent = nullptr);

    using CBaseWnd::Create;
    // Creates the control with its text.
    int Create(QWidget* parent, const QRect& rect, unsigned id, const QString& text, int visible = 1);

    void Show(int show);
    // A disabled control ignores the mouse and the keyboard and paints itself greyed.
    void Enable(int enable);
    int IsEnabled() const { return isEnabled() ? 1 : 0; }
    virtual void SetText(const QString& text);
    virtual QString GetText() const { return m_text; }

    void SetHighlight(int highlight) override;
    // Hovered, or lit up by a connected control.
    int IsHot() const { return IsMouseHover() || IsHighlighted() ? 1 : 0; }

protected:
    // Sends the parent WM_COMMAND with this control's id and the code; returns the parent's answer.
    intptr_t SendCommand(unsigned code);
    // The colour of the text for the current state.
    QColor TextColor() const;
    // A dotted frame inside the client area, drawn while the control has the keyboard focus.
    void DrawFocusMark(QPainter& painter, int width, int height) const;
    int HasFocusMark() const { return hasFocus() ? 1 : 0; }

    void OnMouseEnter(unsigned flags, const QPoint& point) override;
    void OnMouseLeave() override;
    void OnSetFocus(QWidget* oldFocus) override;
    void OnKillFocus(QWidget* newFocus) override;

private:
    QString m_text;
};

} // namespace KELCTRL
