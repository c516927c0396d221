#include "ui/CToolsPanel.h"

#include "ui/CSubPanel.h"
#include "ui/CUIColorSchema.h"

#include <QPainter>

#include <algorithm>

namespace KELCTRL {

CToolsPanel::CToolsPanel(QWidget* parent) : CBaseWnd(parent) {}

int CToolsPanel::AddTool(const QImage& icon, const QImage& activeIcon, unsigned command, CSubPanel* panel,
                         const QString& text) {
    if (command == 0 || std::any_of(m_tools.begin(), m_tools.end(),
                                    [command](const Tool& t) { return t.command == command; }))
        return -1;
    m_tools.push_back({icon, activeIcon.isNull() ? icon : activeIcon, command, panel, text, QRect()});
    if (panel)
        panel->hide();
    UpdateIconRects();
    Redraw(nullptr, 1);
    return GetToolCount() - 1;
}

int CToolsPanel::GetColumnCount() const {
    const CUISizeInfo* info = GetUISizeInfo();
    const int icon = info ? info->ScaledSizeX(ICON_SIZE) : ICON_SIZE;
    const int margin = info ? info->ScaledSizeX(MARGIN) : MARGIN;
    return std::max(1, (GetClientWidth() - margin) / (icon + margin));
}

void CToolsPanel::UpdateIconRects() {
    const CUISizeInfo* info = GetUISizeInfo();
    const int iconX = info ? info->ScaledSizeX(ICON_SIZE) : ICON_SIZE;
    const int iconY = info ? info->ScaledSizeY(ICON_SIZE) : ICON_SIZE;
    const int marginX = info ? info->ScaledSizeX(MARGIN) : MARGIN;
    const int marginY = info ? info->ScaledSizeY(MARGIN) : MARGIN;
    const int columns = GetColumnCount();
    for (int i = 0; i < GetToolCount(); ++i) {
        const int row = i / columns;
        const int column = i % columns;
        m_tools[i].rect =
            QRect(marginX + column * (iconX + marginX), marginY + row * (iconY + marginY), iconX, iconY);
    }
}

int CToolsPanel::ActivateTool(unsigned command, int notify, int redraw) {
    if (command != 0 && std::none_of(m_tools.begin(), m_tools.end(),
                                     [command](const Tool& t) { return t.command == command; }))
        return 0;
    const bool changed = command != m_active;
    m_active = command;
    for (const Tool& t : m_tools)
        if (t.panel && t.command != command)
            t.panel->hide();
    for (const Tool& t : m_tools)
        if (t.panel && t.command == command)
            t.panel->show();
    if (redraw)
        Redraw(nullptr, 1);
    if (notify && changed) {
        NMHDR header;
        NotifyParent(NM_TOOL_ACTIVATED, header);
    }
    return 1;
}

void CToolsPanel::AdjustCtrls(int, int) {
    UpdateIconRects();
}

int CToolsPanel::HitTest(const QPoint& point) const {
    for (int i = 0; i < GetToolCount(); ++i)
        if (m_tools[i].rect.contains(point))
            return i;
    return -1;
}

QString CToolsPanel::GetCtrlTooltip(unsigned) {
    const int i = HitTest(GetCursorClientPos());
    return i >= 0 ? m_tools[i].text : QString();
}

void CToolsPanel::OnLButtonDown(unsigned, const QPoint& point) {
    const int i = HitTest(point);
    if (i >= 0)
        ActivateTool(m_tools[i].command, 1, 1);
}

void CToolsPanel::OnMouseMove(unsigned flags, const QPoint& point) {
    const int i = HitTest(point);
    SetTooltipText(i >= 0 ? m_tools[i].text : QString());
    CBaseWnd::OnMouseMove(flags, point);
}

void CToolsPanel::OnPaint(QPainter& painter, int, int) {
    const CUIColorSchema& colors = UIColors();
    painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
    for (const Tool& t : m_tools) {
        const bool active = t.command == m_active;
        if (active)
            painter.fillRect(t.rect, CUIColorSchema::FromArgb(colors.maskHighlightPro));
        const QImage& image = active ? t.activeIcon : t.icon;
        if (!image.isNull())
            painter.drawImage(t.rect, image);
    }
}

} // namespace KELCTRL
