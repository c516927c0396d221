#include "ui/CSlider.h"

#include "ui/CUIColorSchema.h"
#include "ui/ScaledValue.h"

#include <QLinearGradient>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace KELCTRL {

CSlider::CSlider(QWidget* parent) : CCtrlWnd(parent) {
    CanGetFocus(1);
}

void CSlider::SetInfo(int minValue, int maxValue, unsigned step, unsigned decimals) {
    m_minValue = minValue;
    m_maxValue = ScaledValue::RangeMax(minValue, maxValue);
    const int64_t range = int64_t(m_maxValue) - m_minValue;
    m_step = static_cast<int>(std::clamp<int64_t>(int64_t(step), 1, range));
    m_decimals = ScaledValue::ClampDecimals(decimals);
    m_scale = ScaledValue::ScaleOf(m_decimals);
    m_defValue = int64_t(m_maxValue) * m_minValue < 1 ? 0 : m_minValue;
    m_value = std::clamp(m_value, m_minValue, m_maxValue);
    if (IsWindow()) {
        UpdateAspect();
        Invalidate();
    }
}

void CSlider::SetInfo(double minValue, double maxValue, double step, unsigned decimals) {
    const ScaledValue::SCALED_RANGE r = ScaledValue::ScaleRange(minValue, maxValue, step, decimals);
    SetInfo(r.minValue, r.maxValue, r.step, r.decimals);
}

void CSlider::SetInfo(float minValue, float maxValue, float step, unsigned decimals) {
    SetInfo(double(minValue), double(maxValue), double(step), decimals);
}

int CSlider::Scaled(double v) const {
    return ScaledValue::Round(v, m_scale);
}

void CSlider::SetDefValue(int value) {
    m_defValue = std::clamp(value, m_minValue, m_maxValue);
}
void CSlider::SetDefValue(float value) {
    SetDefValue(Scaled(double(value)));
}
void CSlider::SetDefValue(double value) {
    SetDefValue(Scaled(value));
}

void CSlider::SetValue(int value) {
    value = std::clamp(value, m_minValue, m_maxValue);
    if (value == m_value)
        return;
    m_value = value;
    UpdateThumbRect();
    NotifyBrothers(NOTIFY_VALUE_CHANGED, &m_value);
    Invalidate();
}
void CSlider::SetValue(float value) {
    SetValue(Scaled(double(value)));
}
void CSlider::SetValue(double value) {
    SetValue(Scaled(value));
}

void CSlider::ConnectLabelEdit(IConnectedCtrl* label, IConnectedCtrl* edit) {
    Connect(label, 1);
    Connect(edit, 1);
    if (label && edit)
        label->Connect(edit, 1);
}

void CSlider::SetWidth(int width) {
    MoveWindow(x(), y(), width, height(), 1);
}

void CSlider::SetGradient(const GRADIENT& gradient) {
    m_gradient = gradient;
    Invalidate();
}

void CSlider::OnSize(unsigned type, int cx, int cy) {
    CCtrlWnd::OnSize(type, cx, cy);
    UpdateAspect();
}

void CSlider::UpdateAspect() {
    const CUISizeInfo* si = GetUISizeInfo();
    m_thumbHalf = si ? si->ScaledSizeX(6) : 6;
    m_thumbSize = 2 * m_thumbHalf + 1;
    m_channelHalf = si ? si->ScaledSizeY(3) : 3;
    const double values = double(m_maxValue) - m_minValue + 1;
    m_pixelsPerValue = static_cast<float>((width() - m_thumbSize + 1) / values);
    UpdateThumbRect();
}

void CSlider::UpdateThumbRect() {
    int left = static_cast<int>(std::floor((double(m_value) - m_minValue) * m_pixelsPerValue + 0.5));
    // Rounding can put the last values a pixel past the end of a long range: keep the thumb whole.
    left = std::clamp(left, 0, std::max(0, width() - m_thumbSize));
    m_thumbRect = QRect(left, (height() - m_thumbSize) / 2, m_thumbSize, m_thumbSize);
}

int CSlider::PixelToValue(int x) const {
    if (m_pixelsPerValue <= 0.0f)
        return m_value;
    const double offset = std::floor((x - m_thumbHalf) / double(m_pixelsPerValue));
    const double v = std::clamp(double(m_minValue) + offset, double(m_minValue), double(m_maxValue));
    return static_cast<int>(v);
}

void CSlider::MoveToPixel(int x) {
    const int v = PixelToValue(x);
    if (v != m_value)
        SetValue(v);
}

void CSlider::SendScroll(unsigned code) {
    CBaseWnd* parent = GetParentWnd();
    if (!parent)
        return;
    parent->SendMessage(WM_HSCROLL, MakeCommandWParam(code, static_cast<unsigned>(m_value)),
                        reinterpret_cast<intptr_t>(static_cast<CBaseWnd*>(this)));
}

void CSlider::OnLButtonDown(unsigned, const QPoint& point) {
    if (!isEnabled())
        return;
    setFocus(Qt::MouseFocusReason);
    if (!m_tracking) {
        m_tracking = true;
        SetCapture();
    }
    m_lastX = point.x();
    if (m_thumbRect.contains(point)) {
        // Dragging holds the thumb where it was grabbed.
        m_dragOffset = m_thumbHalf - point.x() + m_thumbRect.left();
    } else {
        m_dragOffset = 0;
        if (PixelToValue(point.x()) != m_value) {
            SendScroll(SB_THUMBTRACK); // the value before the jump
            MoveToPixel(point.x());
        }
    }
    SendScroll(SB_THUMBTRACK);
}

void CSlider::OnMouseMove(unsigned flags, const QPoint& point) {
    CCtrlWnd::OnMouseMove(flags, point);
    // Only a horizontal move moves the thumb; a move back to where the press was is one too.
    if (!m_tracking || point.x() == m_lastX)
        return;
    m_lastX = point.x();
    MoveToPixel(point.x() + m_dragOffset);
    SendScroll(SB_THUMBTRACK);
}

void CSlider::OnLButtonUp(unsigned, const QPoint&) {
    EndTracking();
}

void CSlider::OnCaptureChanged(CBaseWnd* newOwner) {
    CCtrlWnd::OnCaptureChanged(newOwner);
    m_tracking = false;
}

void CSlider::EndTracking() {
    if (!m_tracking)
        return;
    m_tracking = false;
    if (GetCapture() == this)
        ReleaseCapture();
}

void CSlider::OnLButtonDblClk(unsigned, const QPoint&) {
    if (!isEnabled())
        return;
    SendScroll(SB_THUMBTRACK);
    SetValue(m_defValue);
    SendScroll(SB_THUMBTRACK);
    SendScroll(SB_ENDSCROLL);
}

int CSlider::OnMouseWheel(unsigned, short delta, const QPoint&) {
    if (!isEnabled())
        return 0;
    const int s = delta < 1 ? -m_step : m_step;
    SetValue(ScaledValue::StepThroughZero(m_value, s));
    SendScroll(SB_THUMBTRACK);
    return 1;
}

void CSlider::OnKeyDown(unsigned key, unsigned, unsigned) {
    int delta = 0;
    if (key == VK_LEFT || key == VK_DOWN)
        delta = -1;
    else if (key == VK_RIGHT || key == VK_UP)
        delta = 1;
    if (delta == 0 || !isEnabled())
        return;
    SetValue(static_cast<int>(std::clamp<int64_t>(int64_t(m_value) + delta, m_minValue, m_maxValue)));
    SendScroll(SB_THUMBTRACK);
}

int CSlider::OnBrotherNotify(IConnectedCtrl*, unsigned code, void* data) {
    if (code == NOTIFY_VALUE_CHANGED && data)
        SetValue(*static_cast<const int*>(data));
    return 0;
}

void CSlider::OnPaint(QPainter& painter, int width, int height) {
    const CUIColorSchema& c = UIColors();
    const bool enabled = isEnabled();
    const bool hot = enabled && IsHot();
    // The channel runs between the extreme thumb centres, with short rounded ends beyond them.
    const int endWidth =
        GetUISizeInfo() ? GetUISizeInfo()->ScaledSizeX(CHANNEL_END_WIDTH) : CHANNEL_END_WIDTH;
    const int left = std::max(0, ChannelLeft() - endWidth);
    const int right = std::min(width - 1, ChannelRight() + endWidth);
    const QRect channel(left, height / 2 - m_channelHalf, right - left + 1, 2 * m_channelHalf + 1);
    painter.setPen(QPen(CUIColorSchema::FromArgb(c.lineCtrlBorder), 0));
    if (m_gradient.from.isValid() && m_gradient.to.isValid()) {
        QLinearGradient fill(channel.left(), 0, channel.right(), 0);
        fill.setColorAt(0, m_gradient.from);
        fill.setColorAt(1, m_gradient.to);
        painter.setBrush(fill);
    } else {
        painter.setBrush(CUIColorSchema::FromColorRef(c.bkDefault));
    }
    painter.drawRect(channel.adjusted(0, 0, -1, -1));
    if (!m_gradient.from.isValid() && enabled) {
        // The part between the default and the value shows how far the setting is from it.
        const int from = std::clamp(m_defValue, m_minValue, m_maxValue);
        const int fromX =
            static_cast<int>(std::floor((double(from) - m_minValue) * m_pixelsPerValue + 0.5)) + m_thumbHalf;
        const int toX = m_thumbRect.left() + m_thumbHalf;
        const QColor fill = CUIColorSchema::FromColorRef(hot ? c.textHighlight : c.textNormal);
        painter.fillRect(
            QRect(std::min(fromX, toX), channel.top() + 1, std::abs(toX - fromX) + 1, channel.height() - 2),
            fill);
    }
    QColor thumb = CUIColorSchema::FromArgb(c.btnFacePressed);
    if (!enabled)
        thumb = CUIColorSchema::FromColorRef(c.btnFaceHighlight);
    else if (hot || m_tracking)
        thumb = CUIColorSchema::FromColorRef(c.textHighlight);
    painter.fillRect(m_thumbRect, thumb);
    painter.setPen(QPen(CUIColorSchema::FromArgb(c.lineCtrlBorder), 0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(m_thumbRect.adjusted(0, 0, -1, -1));
    DrawFocusMark(painter, width, height);
}

} // namespace KELCTRL
