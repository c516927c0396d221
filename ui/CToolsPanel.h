#pragma once
// A grid of tool icons. Clicking one activates its tool: its icon shows the active image, its
// sub-panel is shown and the other tools' panels hidden, and the parent hears of the change.
#include "ui/CBaseWnd.h"

#include <QImage>
#include <QRect>
#include <QString>

#include <vector>

namespace KELCTRL {

class CSubPanel;

class CToolsPanel : public CBaseWnd {
public:
    // Icon side and the gap around icons at 96 dpi.
    static constexpr int ICON_SIZE = 32;
    static constexpr int MARGIN = 2;
    // Sent to the parent (WM_NOTIFY) after a tool was activated; idFrom is this panel's id and the
    // command is read with GetActiveToolCmd.
    static constexpr unsigned NM_TOOL_ACTIVATED = 106;

    explicit CToolsPanel(QWidget* parent = nullptr);

    // Adds a tool; `panel` (caller-owned, may be null) is shown while the tool is active. Returns the
    // tool's index, or -1 for a command of 0 or one already present.
    int AddTool(const QImage& icon, const QImage& activeIcon, unsigned command, CSubPanel* panel,
                const QString& text);
    int GetToolCount() const { return static_cast<int>(m_tools.size()); }
    // Activates the tool with this command (0 deactivates all). With `notify` the parent hears of a
    // change; with `redraw` the grid repaints. Returns 0 for an unknown command.
    int ActivateTool(unsigned command, int notify, int redraw);
    unsigned GetActiveToolCmd() const { return m_active; }
    // The icon of a tool in client coordinates.
    QRect GetIconRect(int index) const { return m_tools.at(index).rect; }
    // Lays the icons out in rows that fit the width.
    void UpdateIconRects();
    int GetColumnCount() const;

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;
    QString GetCtrlTooltip(unsigned id) override;

protected:
    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnMouseMove(unsigned flags, const QPoint& point) override;
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    struct Tool {
        QImage icon;
        QImage activeIcon;
        unsigned command;
        CSubPanel* panel;
        QString text;
        QRect rect;
    };
    int HitTest(const QPoint& point) const;

    std::vector<Tool> m_tools;
    unsigned m_active = 0;
};

} // namespace KELCTRL
