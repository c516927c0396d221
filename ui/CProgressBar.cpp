#include "ui/CProgressBar.h"

#include "ui/CUIColorSchema.h"

#include <QPainter>

#include <algorithm>

namespace KELCTRL {

CProgressBar::CProgressBar(QWidget* parent) : CCtrlWnd(parent) {}

void CProgressBar::SetRange(int minValue, int maxValue) {
    m_min = minValue;
    m_max = maxValue > minValue ? maxValue : minValue + 1;
    m_pos = std::clamp(m_pos, m_min, m_max);
    Invalidate();
}

int CProgressBar::SetPos(int pos) {
    const int old = m_pos;
    m_pos = std::clamp(pos, m_min, m_max);
    if (m_pos != old)
        Invalidate();
    return old;
}

int CProgressBar::FilledWidth(int width) const {
    const long long done = static_cast<long long>(m_pos) - m_min;
    const long long range = static_cast<long long>(m_max) - m_min;
    return static_cast<int>(done * std::max(0, width) / range);
}

void CProgressBar::OnMouseEnter(unsigned, const QPoint&) {}
void CProgressBar::OnMouseLeave() {}

void CProgressBar::OnPaint(QPainter& painter, int width, int height) {
    const CUIColorSchema& c = UIColors();
    painter.fillRect(QRect(0, 0, width, height), CUIColorSchema::FromColorRef(c.bkDefault));
    const QColor done =
        isEnabled() ? CUIColorSchema::FromColorRef(c.textNormal) : CUIColorSchema::FromColorRef(c.bkSubPanel);
    painter.fillRect(QRect(0, 0, FilledWidth(width), height), done);
    if (!GetText().isEmpty()) {
        painter.setPen(CUIColorSchema::FromColorRef(c.textHighlight));
        painter.drawText(QRect(0, 0, width, height), Qt::AlignCenter | Qt::TextSingleLine, GetText());
    }
}

} // namespace KELCTRL
