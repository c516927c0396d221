#include "ui/CComboBox.h"

#include "ui/CUIColorSchema.h"

#include <QAction>
#include <QMenu>
#include <QPainter>
#include <QPolygon>

#include <algorithm>

namespace KELCTRL {

CComboBox::CComboBox(QWidget* parent) : CCtrlWnd(parent) {
    CanGetFocus(1);
}

CComboBox::~CComboBox() {
    delete m_dropDown;
}

int CComboBox::AddString(const QString& text) {
    m_items.push_back(text);
    return int(m_items.size()) - 1;
}

void CComboBox::ResetContent() {
    m_items.clear();
    m_curSel = -1;
    Invalidate();
}

int CComboBox::SetCurSel(int index) {
    if (index < -1 || index >= int(m_items.size()))
        return -1;
    m_curSel = index;
    Invalidate();
    return index;
}

QString CComboBox::GetLBText(int index) const {
    return index >= 0 && index < int(m_items.size()) ? m_items[index] : QString();
}

void CComboBox::SelectByUser(int index) {
    if (!isEnabled() || index < 0 || index >= int(m_items.size()) || index == m_curSel)
        return;
    m_curSel = index;
    Invalidate();
    SendCommand(CBN_SELCHANGE);
}

void CComboBox::ShowDropDown() {
    if (!isEnabled() || m_items.isEmpty())
        return;
    if (!m_dropDown)
        m_dropDown = new QMenu();
    m_dropDown->clear();
    for (int i = 0; i < int(m_items.size()); ++i) {
        QAction* action = m_dropDown->addAction(m_items[i]);
        action->setCheckable(true);
        action->setChecked(i == m_curSel);
        QObject::connect(action, &QAction::triggered, this, [this, i] { SelectByUser(i); });
    }
    m_dropDown->setMinimumWidth(width());
    m_dropDown->popup(mapToGlobal(QPoint(0, height())));
}

void CComboBox::OnLButtonDown(unsigned, const QPoint&) {
    if (!isEnabled())
        return;
    setFocus(Qt::MouseFocusReason);
    ShowDropDown();
}

void CComboBox::OnKeyDown(unsigned key, unsigned, unsigned) {
    switch (key) {
    case VK_UP:
    case VK_LEFT:
        SelectByUser(std::max(0, m_curSel - 1));
        break;
    case VK_DOWN:
    case VK_RIGHT:
        SelectByUser(std::min(int(m_items.size()) - 1, m_curSel + 1));
        break;
    case VK_SPACE:
    case VK_RETURN:
    case VK_F1 + 3: // F4
        ShowDropDown();
        break;
    default:
        break;
    }
}

int CComboBox::OnMouseWheel(unsigned, short delta, const QPoint&) {
    if (!isEnabled() || m_items.isEmpty())
        return 0;
    // Wheel up goes to the item above.
    const int next = delta > 0 ? std::max(0, m_curSel - 1) : std::min(int(m_items.size()) - 1, m_curSel + 1);
    SelectByUser(next);
    return 1;
}

void CComboBox::OnPaint(QPainter& painter, int width, int height) {
    const CUIColorSchema& c = UIColors();
    const QColor face =
        CUIColorSchema::FromColorRef(isEnabled() && IsHot() ? c.btnFaceHighlight : c.bkDefault);
    painter.fillRect(QRect(0, 0, width, height), face);
    painter.setPen(QPen(CUIColorSchema::FromArgb(c.lineCtrlBorder), 0));
    if (width > 0 && height > 0)
        painter.drawRect(0, 0, width - 1, height - 1);
    const int arrowWidth = std::min(width, height);
    const int gap = GetUISizeInfo() ? GetUISizeInfo()->ctrlGap : 4;
    const QString text = m_curSel >= 0 ? m_items[m_curSel] : GetText();
    painter.setPen(TextColor());
    painter.drawText(QRect(gap, 0, std::max(0, width - arrowWidth - gap), height),
                     Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text);
    // The arrow: a small triangle pointing down, centred in the square at the right.
    const int half = std::max(2, arrowWidth / 6);
    const QPoint centre(width - arrowWidth / 2, height / 2);
    const QPolygon arrow({centre + QPoint(-half, -half / 2), centre + QPoint(half, -half / 2),
                          centre + QPoint(0, half / 2 + 1)});
    painter.setPen(Qt::NoPen);
    painter.setBrush(TextColor());
    painter.drawPolygon(arrow);
    DrawFocusMark(painter, width, height);
}

} // namespace KELCTRL
