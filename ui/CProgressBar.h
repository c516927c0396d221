#pragma once
// A horizontal progress bar: the done part of the range filled from the left, and the text, if any,
// centred over it. It takes no input and sends nothing.
#include "ui/CCtrlWnd.h"

namespace KELCTRL {

class CProgressBar : public CCtrlWnd {
public:
    explicit CProgressBar(QWidget* parent = nullptr);

    // An empty range (max <= min) becomes min .. min + 1. The position is kept inside it.
    void SetRange(int minValue, int maxValue);
    int GetMin() const { return m_min; }
    int GetMax() const { return m_max; }
    // Clamped to the range. Returns the old position.
    int SetPos(int pos);
    int GetPos() const { return m_pos; }
    // The filled width for a client width: the done share of it, rounded down.
    int FilledWidth(int width) const;

protected:
    void OnPaint(QPainter& painter, int width, int height) override;
    void OnMouseEnter(unsigned flags, const QPoint& point) override;
    void OnMouseLeave() override;

private:
    int m_min = 0;
    int m_max = 100;
    int m_pos = 0;
};

} // namespace KELCTRL
