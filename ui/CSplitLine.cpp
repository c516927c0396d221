#include "ui/CSplitLine.h"

#include "ui/CUIColorSchema.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>

namespace KELCTRL {

CSplitLine::CSplitLine(QWidget* parent) : CCtrlWnd(parent) {}

void CSplitLine::OnMouseEnter(unsigned, const QPoint&) {}
void CSplitLine::OnMouseLeave() {}

void CSplitLine::PaintEtch(QPainter& painter, const QRect& area, bool vertical) const {
    // A dark half and a light half make the line look cut into the panel.
    const CUIColorSchema& c = UIColors();
    const QColor dark = CUIColorSchema::FromArgb(c.lineCtrlBorder);
    const QColor light = CUIColorSchema::FromColorRef(c.btnFaceHighlight);
    if (vertical) {
        const int half = std::max(1, area.width() / 2);
        painter.fillRect(QRect(area.left(), area.top(), half, area.height()), dark);
        painter.fillRect(QRect(area.left() + half, area.top(), area.width() - half, area.height()), light);
    } else {
        const int half = std::max(1, area.height() / 2);
        painter.fillRect(QRect(area.left(), area.top(), area.width(), half), dark);
        painter.fillRect(QRect(area.left(), area.top() + half, area.width(), area.height() - half), light);
    }
}

void CSplitLine::OnPaint(QPainter& painter, int width, int height) {
    const int thickness = std::max(1, GetUISizeInfo() ? GetUISizeInfo()->splitLineHeight : 2);
    if (IsVertical()) {
        const int t = std::min(thickness, width);
        PaintEtch(painter, QRect((width - t) / 2, 0, t, height), true);
        return;
    }
    const int t = std::min(thickness, height);
    const QRect line(0, (height - t) / 2, width, t);
    const QString text = GetText();
    if (text.isEmpty()) {
        PaintEtch(painter, line, false);
        return;
    }
    const int gap = GetUISizeInfo() ? GetUISizeInfo()->ctrlGap : 4;
    const int textWidth = std::min(width, QFontMetrics(painter.font()).horizontalAdvance(text) + 2 * gap);
    const int textLeft = (width - textWidth) / 2;
    PaintEtch(painter, QRect(0, line.top(), textLeft, t), false);
    PaintEtch(painter, QRect(textLeft + textWidth, line.top(), width - textLeft - textWidth, t), false);
    painter.setPen(TextColor());
    painter.drawText(QRect(textLeft, 0, textWidth, height), Qt::AlignCenter | Qt::TextSingleLine, text);
}

} // namespace KELCTRL
