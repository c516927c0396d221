#pragma once
// A line of text on the panel background. It lights up with the controls it is connected to (the
// label of a slider row), and a click on it sends the parent WM_COMMAND with BN_CLICKED.
#include "ui/CCtrlWnd.h"

namespace KELCTRL {

class CLabel : public CCtrlWnd {
public:
    explicit CLabel(QWidget* parent = nullptr);

    // Horizontal and vertical placement of the text; left and vertically centred by default.
    void SetAlignment(Qt::Alignment alignment);
    Qt::Alignment GetAlignment() const { return m_alignment; }

protected:
    void OnPaint(QPainter& painter, int width, int height) override;
    void OnLButtonUp(unsigned flags, const QPoint& point) override;

private:
    Qt::Alignment m_alignment = Qt::AlignLeft | Qt::AlignVCenter;
};

} // namespace KELCTRL
