#include "ui/CValueEdit.h"

#include "ui/CUIColorSchema.h"
#include "ui/CValueEditCtrl.h"
#include "ui/ScaledValue.h"

#include <QPainter>
#include <QPalette>

#include <algorithm>
#include <cstdint>

namespace KELCTRL {

CValueEdit::CValueEdit(QWidget* parent) : CCtrlWnd(parent) {}

CValueEdit::~CValueEdit() = default;

void CValueEdit::OnInitWnd() {
    m_edit = new CValueEditCtrl(this);
    QObject::connect(m_edit, &QLineEdit::textChanged, this, [this] { OnEnChange(); });
    ApplyColors();
    m_internalChange = true;
    m_edit->setText(m_lastText);
    m_internalChange = false;
    OutputValue();
    AdjustCtrls(GetClientWidth(), GetClientHeight());
}

void CValueEdit::AdjustCtrls(int width, int height) {
    if (!m_edit)
        return;
    // A one-pixel frame around the field, painted by OnPaint.
    m_edit->setGeometry(1, 1, std::max(0, width - 2), std::max(0, height - 2));
    if (const QFont* f = GetFontPtr())
        m_edit->setFont(*f);
}

void CValueEdit::SetInfo(int minValue, int maxValue, unsigned step, unsigned decimals) {
    m_minValue = minValue;
    m_maxValue = ScaledValue::RangeMax(minValue, maxValue);
    const int64_t range = int64_t(m_maxValue) - m_minValue;
    m_step = static_cast<int>(std::clamp<int64_t>(int64_t(step), 1, range));
    m_decimals = ScaledValue::ClampDecimals(decimals);
    m_scale = ScaledValue::ScaleOf(m_decimals);
    m_value = std::clamp(m_value, m_minValue, m_maxValue);
    if (m_edit)
        OutputValue();
}

void CValueEdit::SetInfo(double minValue, double maxValue, double step, unsigned decimals) {
    const ScaledValue::SCALED_RANGE r = ScaledValue::ScaleRange(minValue, maxValue, step, decimals);
    SetInfo(r.minValue, r.maxValue, r.step, r.decimals);
}

void CValueEdit::SetInfo(float minValue, float maxValue, float step, unsigned decimals) {
    SetInfo(double(minValue), double(maxValue), double(step), decimals);
}

void CValueEdit::SetValue(int value) {
    m_value = std::clamp(value, m_minValue, m_maxValue);
    if (m_edit)
        OutputValue();
}
void CValueEdit::SetValue(float value) {
    SetValue(ScaledValue::Round(double(value), m_scale));
}
void CValueEdit::SetValue(double value) {
    SetValue(ScaledValue::Round(value, m_scale));
}

QString CValueEdit::GetText() const {
    return m_edit ? m_edit->text() : m_lastText;
}

void CValueEdit::SetText(const QString&) {}

void CValueEdit::OutputValue() {
    const QString text = ScaledValue::Format(m_value, m_decimals, m_minValue < 0);
    m_lastText = text;
    if (m_edit) {
        m_internalChange = true;
        if (m_edit->text() != text)
            m_edit->setText(text);
        m_edit->selectAll();
        m_internalChange = false;
    }
    NotifyBrothers(NOTIFY_VALUE_CHANGED, &m_value);
}

int CValueEdit::CalcInput() {
    int scaled = 0;
    if (!ScaledValue::Parse(m_edit->text(), m_decimals, scaled))
        return 0;
    m_value = std::clamp(scaled, m_minValue, m_maxValue);
    return 1;
}

void CValueEdit::Notify(unsigned code) {
    NMHDR header;
    NotifyParent(code, header);
}

void CValueEdit::OnEnChange() {
    if (m_internalChange || !CalcInput())
        return;
    NotifyBrothers(NOTIFY_VALUE_CHANGED, &m_value);
    Notify(NOTIFY_EDIT_CHANGE);
}

void CValueEdit::OnEnKillFocus() {
    OutputValue();
    Invalidate();
    if (!m_endingEdit)
        Notify(NOTIFY_END_EDIT);
}

void CValueEdit::OnEndEdit() {
    OutputValue();
    Notify(NOTIFY_END_EDIT);
    m_endingEdit = true;
    m_edit->clearFocus();
    if (CBaseWnd* parent = GetParentWnd())
        parent->ResetFocus();
    m_endingEdit = false;
}

void CValueEdit::OnEditCtrlScroll(int direction, int useStep) {
    if (!isEnabled())
        return;
    const int amount = useStep ? m_step : 1;
    const int next = ScaledValue::StepThroughZero(m_value, direction < 0 ? -amount : amount);
    m_value = std::clamp(next, m_minValue, m_maxValue);
    OutputValue();
    Notify(NOTIFY_EDIT_CHANGE);
}

void CValueEdit::OnEditHover(int hover) {
    HighlightBrothers(hover);
}

int CValueEdit::OnBrotherNotify(IConnectedCtrl*, unsigned code, void* data) {
    if (code != NOTIFY_VALUE_CHANGED || !data)
        return 0;
    const int value = std::clamp(*static_cast<const int*>(data), m_minValue, m_maxValue);
    if (value != m_value) {
        m_value = value;
        if (m_edit)
            OutputValue();
    }
    return 0;
}

void CValueEdit::SetHighlight(int highlight) {
    CCtrlWnd::SetHighlight(highlight);
    ApplyColors();
}

void CValueEdit::ApplyColors() {
    if (!m_edit)
        return;
    const CUIColorSchema& c = UIColors();
    QPalette palette = m_edit->palette();
    palette.setColor(QPalette::Base, CUIColorSchema::FromColorRef(c.bkDefault));
    palette.setColor(QPalette::Text, CUIColorSchema::FromColorRef(IsHot() ? c.textHighlight : c.textNormal));
    palette.setColor(QPalette::Disabled, QPalette::Text, CUIColorSchema::FromColorRef(c.bkSubPanel));
    m_edit->setPalette(palette);
}

void CValueEdit::OnPaint(QPainter& painter, int width, int height) {
    const CUIColorSchema& c = UIColors();
    const QColor frame =
        CUIColorSchema::FromColorRef(IsHot() && isEnabled() ? c.btnFaceHighlight : c.bkDefault);
    painter.setPen(QPen(frame, 0));
    painter.setBrush(Qt::NoBrush);
    if (width > 0 && height > 0)
        painter.drawRect(0, 0, width - 1, height - 1);
}

} // namespace KELCTRL
