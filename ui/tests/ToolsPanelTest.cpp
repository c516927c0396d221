// Guards the tool grid: icons tile rows that fit the width without overlapping, activating a tool
// shows only its panel and tells the parent once, and a click on an icon activates its tool.
#include "QtTestSupport.h"
#include "ui/CSubPanel.h"
#include "ui/CToolsPanel.h"
#include "ui/CUISizeInfo.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace KELCTRL;

namespace {

class Parent : public CBaseWnd {
public:
    std::vector<unsigned> activated;
    CToolsPanel* tools = nullptr;

protected:
    intptr_t OnNotify(uintptr_t, NMHDR* header) override {
        if (header->code == CToolsPanel::NM_TOOL_ACTIVATED)
            activated.push_back(tools->GetActiveToolCmd());
        return 1;
    }
};

} // namespace

TEST(ToolsPanel, IconsTileTheWidthAndActivationShowsOnlyTheToolsPanel) {
    kel_qt_test::App();
    for (unsigned dpi : {96u, 144u}) {
        SCOPED_TRACE(dpi);
        SetDpiProvider([dpi](const QWidget*) { return std::make_pair(dpi, dpi); });
        Parent parent;
        parent.Create(nullptr, QRect(0, 0, 400, 400), 1, 1);
        CToolsPanel tools;
        parent.tools = &tools;
        tools.Create(&parent, QRect(0, 0, 150, 300), 7, 1);
        std::vector<std::unique_ptr<CSubPanel>> panels;
        QImage icon(32, 32, QImage::Format_ARGB32);
        icon.fill(Qt::red);
        for (unsigned i = 0; i < 7; ++i) {
            panels.push_back(std::make_unique<CSubPanel>());
            panels.back()->Create(&parent, QRect(0, 0, 10, 10), 100 + i, 1);
            EXPECT_EQ(
                tools.AddTool(icon, QImage(), 500 + i, panels.back().get(), QStringLiteral("t%1").arg(i)),
                static_cast<int>(i));
        }
        EXPECT_EQ(tools.AddTool(icon, QImage(), 503, nullptr, QString()), -1) << "duplicate command";
        const CUISizeInfo& info = *tools.GetUISizeInfo();
        const int columns = tools.GetColumnCount();
        EXPECT_EQ(columns, (150 - info.ScaledSizeX(2)) / (info.ScaledSizeX(32) + info.ScaledSizeX(2)));
        for (int i = 0; i < tools.GetToolCount(); ++i) {
            const QRect r = tools.GetIconRect(i);
            EXPECT_EQ(r.size(), QSize(info.ScaledSizeX(32), info.ScaledSizeY(32)));
            EXPECT_LE(r.right(), tools.GetClientWidth() - 1);
            for (int k = 0; k < i; ++k)
                EXPECT_FALSE(r.intersects(tools.GetIconRect(k))) << i << " overlaps " << k;
        }
        EXPECT_EQ(tools.GetIconRect(columns).y(), tools.GetIconRect(0).bottom() + 1 + info.ScaledSizeY(2));
        for (auto& p : panels)
            EXPECT_TRUE(p->isHidden());

        EXPECT_EQ(tools.ActivateTool(504, 1, 1), 1);
        EXPECT_EQ(tools.GetActiveToolCmd(), 504u);
        for (unsigned i = 0; i < 7; ++i)
            EXPECT_EQ(panels[i]->isHidden(), i != 4) << i;
        EXPECT_EQ(tools.ActivateTool(504, 1, 1), 1);
        EXPECT_EQ(parent.activated, std::vector<unsigned>{504}) << "no notice without a change";
        EXPECT_EQ(tools.ActivateTool(999, 1, 1), 0);
        EXPECT_EQ(tools.GetActiveToolCmd(), 504u);

        kel_qt_test::Mouse(tools).Press(tools.GetIconRect(1).center());
        EXPECT_EQ(tools.GetActiveToolCmd(), 501u);
        EXPECT_FALSE(panels[1]->isHidden());
        EXPECT_TRUE(panels[4]->isHidden());
        EXPECT_EQ(parent.activated.back(), 501u);
        tools.ActivateTool(0, 0, 0);
        EXPECT_EQ(tools.GetActiveToolCmd(), 0u);
        for (auto& p : panels)
            EXPECT_TRUE(p->isHidden());
        panels.clear();
    }
    SetDpiProvider(nullptr);
}
