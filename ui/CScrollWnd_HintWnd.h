#pragma once
// A soft shadow at the top or bottom edge of a CScrollWnd that says more content lies that way.
#include "ui/CBaseWnd.h"

namespace KELCTRL {

class CScrollWnd_HintWnd : public CBaseWnd {
public:
    // Heights at 96 dpi.
    static constexpr int TOP_HEIGHT = 6;
    static constexpr int BOTTOM_HEIGHT = 6;

    explicit CScrollWnd_HintWnd(int atTop, QWidget* parent = nullptr);
    int IsTop() const { return m_top ? 1 : 0; }
    // The height at the window's dpi.
    int GetHintHeight() const;

protected:
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    bool m_top;
};

} // namespace KELCTRL
