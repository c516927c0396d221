#pragma once
// A horizontal owner-drawn slider over a range of scaled integers (value x 10^decimals, at most two
// decimals; the float and double forms convert). The parent hears WM_HSCROLL with SB_THUMBTRACK on
// every change the user makes, and SB_ENDSCROLL after a double click has reset the value to its
// default. The high word of wParam carries only the low 16 bits of the value: receivers read the
// whole value with GetValue(). Connected to a label and a value edit, it keeps the edit in step and
// lights up with them.
#include "ui/CCtrlWnd.h"

#include <QColor>
#include <QRect>

namespace KELCTRL {

class CSlider : public CCtrlWnd {
public:
    // Colours of the channel from the low end to the high end; an invalid pair draws no gradient.
    struct GRADIENT {
        QColor from;
        QColor to;
    };

    static constexpr int HEIGHT = 16;
    static constexpr int CHANNEL_HEIGHT = 7;
    static constexpr int CHANNEL_END_WIDTH = 3;

    explicit CSlider(QWidget* parent = nullptr);

    // The range becomes at least one unit wide, the step at most the range and at least 1, the
    // decimals at most 2. The default becomes 0 when the range holds 0, else its low end. The value
    // is kept inside the range.
    void SetInfo(int minValue, int maxValue, unsigned step, unsigned decimals);
    // Each of min, max and step is scaled by 10^decimals and rounded (floor(v x scale + 0.5)).
    void SetInfo(float minValue, float maxValue, float step, unsigned decimals);
    void SetInfo(double minValue, double maxValue, double step, unsigned decimals);
    // Clamped to the range.
    void SetDefValue(int value);
    void SetDefValue(float value);
    void SetDefValue(double value);
    // Clamped; an unchanged value does nothing. A change repaints and tells the connected controls,
    // but not the parent.
    void SetValue(int value);
    void SetValue(float value);
    void SetValue(double value);
    int GetValue() const { return m_value; }
    float GetValueF() const { return static_cast<float>(m_value / m_scale); }
    double GetValueD() const { return m_value / m_scale; }

    int GetMin() const { return m_minValue; }
    int GetMax() const { return m_maxValue; }
    int GetStep() const { return m_step; }
    int GetDecimals() const { return m_decimals; }
    int GetDefValue() const { return m_defValue; }
    double GetScale() const { return m_scale; }
    int IsTracking() const { return m_tracking ? 1 : 0; }
    QRect GetThumbRect() const { return m_thumbRect; }
    // Left and right end of the channel: the range of the thumb's centre.
    int ChannelLeft() const { return m_thumbHalf; }
    int ChannelRight() const { return width() - m_thumbHalf - 1; }

    // Connects the row: label, slider and edit each tell and light up the other two.
    void ConnectLabelEdit(IConnectedCtrl* label, IConnectedCtrl* edit);
    void SetWidth(int width);
    void SetGradient(const GRADIENT& gradient);

    // The value under a client x coordinate, in the range.
    int PixelToValue(int x) const;

    int OnBrotherNotify(IConnectedCtrl* from, unsigned code, void* data) override;

protected:
    void OnPaint(QPainter& painter, int width, int height) override;
    void OnSize(unsigned type, int cx, int cy) override;
    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnLButtonUp(unsigned flags, const QPoint& point) override;
    void OnLButtonDblClk(unsigned flags, const QPoint& point) override;
    void OnMouseMove(unsigned flags, const QPoint& point) override;
    int OnMouseWheel(unsigned flags, short delta, const QPoint& point) override;
    void OnKeyDown(unsigned key, unsigned repeat, unsigned flags) override;
    void OnCaptureChanged(CBaseWnd* newOwner) override;

private:
    int Scaled(double v) const;
    void UpdateAspect();
    void UpdateThumbRect();
    void MoveToPixel(int x);
    void SendScroll(unsigned code);
    void EndTracking();

    bool m_tracking = false;
    int m_minValue = -100;
    int m_maxValue = 100;
    int m_step = 1;
    int m_decimals = 0;
    int m_defValue = 0;
    int m_value = 0;
    double m_scale = 1.0;
    int m_thumbHalf = 3;
    int m_thumbSize = 3;
    int m_channelHalf = 3;
    float m_pixelsPerValue = 1.0f;
    GRADIENT m_gradient;
    QRect m_thumbRect;
    int m_dragOffset = 0;
    int m_lastX = 0;
};

} // namespace KELCTRL
