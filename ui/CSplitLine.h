#pragma once
// An etched separator line between groups of controls: horizontal when the window is wider than
// high, else vertical, as thick as the split-line size of the dpi. A text, if any, interrupts a
// horizontal line in its middle. It takes no input.
#include "ui/CCtrlWnd.h"

namespace KELCTRL {

class CSplitLine : public CCtrlWnd {
public:
    explicit CSplitLine(QWidget* parent = nullptr);

    int IsVertical() const { return height() > width() ? 1 : 0; }

protected:
    void OnPaint(QPainter& painter, int width, int height) override;
    // The line does not light up under the pointer.
    void OnMouseEnter(unsigned flags, const QPoint& point) override;
    void OnMouseLeave() override;

private:
    void PaintEtch(QPainter& painter, const QRect& area, bool vertical) const;
};

} // namespace KELCTRL
