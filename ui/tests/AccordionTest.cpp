// Guards the accordion: entries must stay stacked without gap or overlap whichever one changes
// height, opening one in single-open mode closes the unpinned others, and the parent hears of every
// collapse (104) and expand (103).
#include "QtTestSupport.h"
#include "ui/CAccordionPanelHost.h"
#include "ui/CAccordionTitlePanel.h"
#include "ui/CCollapsibleWnd.h"
#include "ui/CSubPanel.h"
#include "ui/CUISizeInfo.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace KELCTRL;

namespace {

class Sized : public CSubPanel {
public:
    explicit Sized(int h) : want(h) {}
    int want;
    int GetHeight(const CUISizeInfo*) override { return want; }
};

class Spy : public CAccordionPanelHost {
public:
    std::vector<std::pair<uintptr_t, unsigned>> notices;

protected:
    intptr_t OnNotify(uintptr_t id, NMHDR* header) override {
        notices.emplace_back(id, header->code);
        return CAccordionPanelHost::OnNotify(id, header);
    }
};

struct Accordion {
    Spy host;
    std::vector<std::unique_ptr<Sized>> subs;
    Accordion(const std::vector<int>& heights, bool singleOpen, bool expandAll) {
        host.Create(nullptr, QRect(0, 0, 300, 10), 1, 1);
        host.SetSingleOpen(singleOpen);
        for (int h : heights) {
            subs.push_back(std::make_unique<Sized>(h));
            host.AddPanel(subs.back().get(), QStringLiteral("entry %1").arg(subs.size()), expandAll);
        }
    }
    ~Accordion() {
        // The caller-owned sub-panels leave first; the host must not have deleted them.
        subs.clear();
    }
};

// Entries tile the host from the top, each exactly as tall as its strip and open body.
void CheckStacked(const Accordion& a) {
    const CAccordionPanelHost& host = a.host;
    int y = 0;
    for (int i = 0; i < host.GetPanelCount(); ++i) {
        SCOPED_TRACE(i);
        const CAccordionTitlePanel* entry = host.GetPanelByPos(i);
        const CUISizeInfo& info = *entry->GetUISizeInfo();
        EXPECT_EQ(entry->geometry().y(), y) << "gap or overlap above entry";
        EXPECT_EQ(entry->width(), host.GetClientWidth());
        const int body = host.IsCollapsed(i) ? 0 : info.splitLineHeight + a.subs[i]->want;
        EXPECT_EQ(entry->height(), entry->GetTitleHeight() + body);
        EXPECT_EQ(a.subs[i]->isHidden(), host.IsCollapsed(i) != 0);
        if (!host.IsCollapsed(i)) {
            EXPECT_EQ(a.subs[i]->height(), a.subs[i]->want);
            EXPECT_EQ(a.subs[i]->width(), host.GetClientWidth());
        }
        y += entry->height();
    }
    EXPECT_EQ(host.GetClientHeight(), y);
    EXPECT_EQ(host.GetPanelTotalHeight(), y);
}

class AccordionDpi : public ::testing::TestWithParam<unsigned> {
protected:
    void SetUp() override {
        kel_qt_test::App();
        dpi = GetParam();
        SetDpiProvider([this](const QWidget*) { return std::make_pair(dpi, dpi); });
    }
    void TearDown() override { SetDpiProvider(nullptr); }
    unsigned dpi = 96;
};

} // namespace

TEST_P(AccordionDpi, EntriesStayStackedWhicheverChangesHeight) {
    Accordion a({40, 80, 120, 60}, false, true);
    CheckStacked(a);
    struct Step {
        int entry;
        int height; // new wanted height, or -1 to collapse, -2 to expand
    };
    const Step steps[] = {{1, 200}, {0, 10}, {3, 300}, {2, -1}, {1, 5}, {2, -2}, {0, -1}, {2, 90}, {0, -2}};
    for (const Step& s : steps) {
        SCOPED_TRACE(::testing::Message() << "entry " << s.entry << " -> " << s.height);
        if (s.height == -1)
            a.host.Collapse(s.entry);
        else if (s.height == -2)
            a.host.Expand(s.entry);
        else {
            a.subs[s.entry]->want = s.height;
            a.subs[s.entry]->Update();
        }
        CheckStacked(a);
    }
    // A wider host widens every entry and keeps the stack.
    a.host.MoveWindow(0, 0, 420, a.host.height());
    CheckStacked(a);
    EXPECT_EQ(a.host.GetPanelBySubPanel(a.subs[2].get()), 2);
    Sized stranger(5);
    EXPECT_EQ(a.host.GetPanelBySubPanel(&stranger), -1);
    EXPECT_THROW(a.host.GetPanelByPos(4), std::out_of_range);
}

TEST_P(AccordionDpi, CollapseAndExpandReachTheParentWithTheirCodes) {
    Accordion a({40, 80}, false, true);
    a.host.notices.clear();
    a.host.Collapse(1);
    ASSERT_EQ(a.host.notices.size(), 1u);
    EXPECT_EQ(a.host.notices[0], std::make_pair(uintptr_t{CAccordionPanelHost::IDC_ENTRY_BASE + 1}, 104u));
    a.host.Collapse(1);
    EXPECT_EQ(a.host.notices.size(), 1u) << "collapsing a collapsed entry says nothing";
    a.host.Expand(1);
    ASSERT_EQ(a.host.notices.size(), 2u);
    EXPECT_EQ(a.host.notices[1].second, 103u);

    // A click on the title strip toggles the entry.
    CAccordionTitlePanel& entry = *a.host.GetPanelByPos(0);
    kel_qt_test::Mouse(entry).Press(QPoint(5, 3));
    EXPECT_TRUE(a.host.IsCollapsed(0));
    EXPECT_EQ(a.host.notices.back(), std::make_pair(uintptr_t{CAccordionPanelHost::IDC_ENTRY_BASE}, 104u));
    CheckStacked(a);
}

TEST_P(AccordionDpi, SingleOpenClosesTheOthersButThePinned) {
    Accordion a({40, 80, 120, 60}, true, false);
    // The first entry opens at once, the rest stay closed.
    EXPECT_FALSE(a.host.IsCollapsed(0));
    for (int i = 1; i < 4; ++i)
        EXPECT_TRUE(a.host.IsCollapsed(i)) << i;
    a.host.GetPanelByPos(3)->SetPinned(1);
    a.host.Expand(3);
    EXPECT_TRUE(a.host.IsCollapsed(0));
    a.host.Expand(1);
    EXPECT_TRUE(a.host.IsCollapsed(0));
    EXPECT_FALSE(a.host.IsCollapsed(1));
    EXPECT_TRUE(a.host.IsCollapsed(2));
    EXPECT_FALSE(a.host.IsCollapsed(3)) << "a pinned entry stays open";
    CheckStacked(a);
    // A new entry added open closes the unpinned ones.
    a.subs.push_back(std::make_unique<Sized>(33));
    EXPECT_EQ(a.host.AddPanel(a.subs.back().get(), QStringLiteral("late"), 1), 4);
    EXPECT_TRUE(a.host.IsCollapsed(1));
    EXPECT_FALSE(a.host.IsCollapsed(3));
    EXPECT_FALSE(a.host.IsCollapsed(4));
    CheckStacked(a);
}

TEST_P(AccordionDpi, ASubPanelReachesItsTitlePanel) {
    Accordion a({40, 80}, false, true);
    EXPECT_EQ(a.subs[1]->GetAccordionTitlePanelTitle(), QStringLiteral("entry 2"));
    const QString title = QStringLiteral("renamed");
    EXPECT_EQ(a.subs[1]->SendMessageToAccordionTitlePanel(CAccordionTitlePanel::WM_ATP_SETTITLE, 0,
                                                          reinterpret_cast<intptr_t>(&title)),
              1);
    EXPECT_EQ(a.host.GetPanelByPos(1)->GetTitle(), title);
    a.subs[1]->SendMessageToAccordionTitlePanel(CAccordionTitlePanel::WM_ATP_EXPAND, 0, 0);
    EXPECT_TRUE(a.host.IsCollapsed(1));
    CheckStacked(a);
    Sized loose(10);
    EXPECT_EQ(loose.GetAccordionTitlePanelTitle(), QString());
    EXPECT_EQ(loose.SendMessageToAccordionTitlePanel(CAccordionTitlePanel::WM_ATP_EXPAND, 1, 0), 0);
}

TEST_P(AccordionDpi, ADpiChangeKeepsTheStack) {
    class Scaled : public Sized {
    public:
        Scaled() : Sized(0) {}
        int GetHeight(const CUISizeInfo* info) override { return want = info->ScaledSizeY(50); }
    };
    Spy host;
    host.Create(nullptr, QRect(0, 0, 300, 10), 1, 1);
    std::vector<std::unique_ptr<Scaled>> subs;
    for (int i = 0; i < 3; ++i) {
        subs.push_back(std::make_unique<Scaled>());
        host.AddPanel(subs.back().get(), QStringLiteral("s"), i != 1);
    }
    const int before = host.GetPanelTotalHeight();
    const unsigned next = dpi == 96 ? 192 : 96;
    dpi = next;
    const QRect same = host.geometry();
    host.SendMessage(WM_DPICHANGED, MakeDpiWParam(next, next), reinterpret_cast<intptr_t>(&same));
    int y = 0;
    for (int i = 0; i < 3; ++i) {
        const CAccordionTitlePanel* entry = host.GetPanelByPos(i);
        EXPECT_EQ(entry->y(), y) << i;
        const int body = host.IsCollapsed(i) ? 0 : entry->GetUISizeInfo()->splitLineHeight + subs[i]->want;
        EXPECT_EQ(entry->height(), entry->GetTitleHeight() + body) << i;
        EXPECT_EQ(subs[i]->height(), host.IsCollapsed(i) ? subs[i]->height() : subs[i]->want);
        y += entry->height();
    }
    EXPECT_EQ(host.GetClientHeight(), y);
    EXPECT_NE(y, before);
    subs.clear();
}

INSTANTIATE_TEST_SUITE_P(Dpi, AccordionDpi, ::testing::Values(96u, 144u));
