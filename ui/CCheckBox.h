#pragma once
// A check box: a small box with a tick and a text to its right. A press toggles it and then tells
// the parent (WM_COMMAND, BN_CLICKED); SetCheck changes it silently.
#include "ui/CPushCtrl.h"

namespace KELCTRL {

class CCheckBox : public CPushCtrl {
public:
    explicit CCheckBox(QWidget* parent = nullptr);

    virtual void SetCheck(int check);
    int GetCheck() const { return m_checked ? 1 : 0; }

protected:
    void OnPressed() override;
    void OnPaint(QPainter& painter, int width, int height) override;
    // The square of the box, vertically centred at the left.
    QRect MarkRect(int height) const;
    // The box, the mark inside it when checked, and the text beside it.
    void PaintMarkAndText(QPainter& painter, int width, int height, bool round) const;

private:
    bool m_checked = false;
};

} // namespace KELCTRL
