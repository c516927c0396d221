// Guards the scrolling frame: the range covers content and tail, the hints show only where more
// content lies, ShowInView scrolls the least distance and never past an end, and a content that
// changes height or a scroll bar moved to the left keeps the layout right.
#include "QtTestSupport.h"
#include "ui/CAccordionPanelHost.h"
#include "ui/CAccordionTitlePanel.h"
#include "ui/CFixedHeightPanel.h"
#include "ui/CNoArrowScrollBar.h"
#include "ui/CNoScrollPanelHost.h"
#include "ui/CScrollAccordionPanelHost.h"
#include "ui/CScrollWnd.h"
#include "ui/CScrollWnd_HintWnd.h"
#include "ui/CScrollWnd_TailWnd.h"
#include "ui/CUISizeInfo.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace KELCTRL;

namespace {

class ScrollDpi : public ::testing::TestWithParam<unsigned> {
protected:
    void SetUp() override {
        kel_qt_test::App();
        dpi = GetParam();
        SetDpiProvider([this](const QWidget*) { return std::make_pair(dpi, dpi); });
    }
    void TearDown() override { SetDpiProvider(nullptr); }
    unsigned dpi = 96;
};

struct Scroller {
    CFixedHeightPanel content;
    CScrollWnd wnd;
    explicit Scroller(int contentHeight) {
        wnd.Create(nullptr, QRect(0, 0, 200, 300), 1, 1);
        content.SetFixedHeight(contentHeight);
        wnd.SetPanel(&content);
    }
};

// What must hold at any scroll position.
void CheckFrame(const CScrollWnd& wnd, const CFixedHeightPanel& content) {
    const CUISizeInfo& info = *wnd.GetUISizeInfo();
    const int pos = wnd.GetScrollPos();
    EXPECT_GE(pos, 0);
    EXPECT_LE(pos, std::max(0, wnd.GetScrollRange() - wnd.GetPage()));
    EXPECT_EQ(wnd.GetScrollRange(), content.height() + wnd.GetTail()->height());
    EXPECT_EQ(wnd.GetPage(), wnd.GetClientHeight());
    EXPECT_EQ(content.y(), -pos);
    EXPECT_EQ(wnd.GetTail()->y(), content.geometry().bottom() + 1);
    EXPECT_EQ(wnd.GetTail()->height(), 2 * info.panelMargin);
    EXPECT_EQ(content.width(), wnd.GetClientWidth() - info.scrollBarWidth - info.borderMedium);
    EXPECT_EQ(wnd.GetTopHint()->isHidden(), pos == 0);
    EXPECT_EQ(wnd.GetBottomHint()->isHidden(), pos + wnd.GetPage() >= wnd.GetScrollRange());
    EXPECT_EQ(wnd.GetTopHint()->height(), info.ScaledSizeY(6));
    EXPECT_EQ(wnd.GetBottomHint()->geometry().bottom(), wnd.GetClientHeight() - 1);
}

} // namespace

TEST_P(ScrollDpi, HintsAndTailFollowThePosition) {
    Scroller s(1000);
    const int maxPos = s.wnd.GetScrollRange() - s.wnd.GetPage();
    ASSERT_GT(maxPos, 0);
    for (int pos : {0, 1, 100, maxPos - 1, maxPos, maxPos + 500, -20, 0}) {
        SCOPED_TRACE(pos);
        s.wnd.ScrollTo(pos);
        EXPECT_EQ(s.wnd.GetScrollPos(), std::clamp(pos, 0, maxPos));
        CheckFrame(s.wnd, s.content);
    }
    // Content that fits shows no hint at all.
    s.content.SetFixedHeight(100);
    s.content.Update();
    EXPECT_EQ(s.wnd.GetScrollPos(), 0);
    EXPECT_TRUE(s.wnd.GetBottomHint()->isHidden());
    CheckFrame(s.wnd, s.content);
}

TEST_P(ScrollDpi, AContentThatGrowsOrShrinksKeepsTheRangeAndPositionValid) {
    Scroller s(1000);
    s.wnd.ScrollTo(600);
    s.content.SetFixedHeight(500);
    s.content.Update();
    CheckFrame(s.wnd, s.content);
    EXPECT_EQ(s.wnd.GetScrollPos(), s.wnd.GetScrollRange() - s.wnd.GetPage()) << "held at the new end";
    s.content.SetFixedHeight(3000);
    s.content.Update();
    CheckFrame(s.wnd, s.content);
}

TEST_P(ScrollDpi, ShowInViewScrollsTheLeastAndStopsAtTheEnds) {
    Scroller s(1000);
    const int page = s.wnd.GetPage();
    const int maxPos = s.wnd.GetScrollRange() - page;
    struct Case {
        int from, top, bottom;
    };
    const Case cases[] = {{0, 10, 50},     {0, 280, 350},   {0, 500, 520},  {400, 100, 150}, {400, 380, 420},
                          {400, 650, 800}, {0, 900, 1012},  {600, 0, 5},    {0, 40, 30},     {300, 200, 900},
                          {0, 1005, 1010}, {200, 195, 196}, {200, 500, 500}};
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.from << ": " << c.top << ".." << c.bottom);
        s.wnd.ScrollTo(c.from);
        const int from = s.wnd.GetScrollPos();
        s.wnd.ShowInView(c.top, c.bottom);
        const int pos = s.wnd.GetScrollPos();
        CheckFrame(s.wnd, s.content);
        const int b = std::max(c.top + 1, c.bottom);
        auto bottomShows = [&](int p) { return b - p <= page; };
        auto topShows = [&](int p) { return c.top - p >= 0; };
        if (bottomShows(from) && topShows(from)) {
            EXPECT_EQ(pos, from) << "already in view: no scroll";
            continue;
        }
        if (pos == 0 || pos == maxPos) {
            // Held at an end: the end is as near as it could get.
            EXPECT_TRUE(bottomShows(pos) || pos == maxPos);
        } else if (b - c.top <= page) {
            EXPECT_TRUE(bottomShows(pos) && topShows(pos));
        } else {
            EXPECT_TRUE(bottomShows(pos)) << "the bottom wins when both do not fit";
        }
        // Least distance: one pixel less of scrolling leaves the wanted edge out of view.
        const int back = pos > from ? pos - 1 : pos + 1;
        if (pos != from && pos != 0 && pos != maxPos) {
            EXPECT_FALSE(bottomShows(back) && (b - c.top > page || topShows(back)));
        }
    }
}

TEST_P(ScrollDpi, ScrollBarOnTheLeftMovesTheContentRight) {
    Scroller s(1000);
    const CUISizeInfo& info = *s.wnd.GetUISizeInfo();
    EXPECT_EQ(s.wnd.GetScrollBar()->geometry().right(), s.wnd.GetClientWidth() - 1);
    EXPECT_EQ(s.content.x(), 0);
    s.wnd.SetScrollBarLeft(1);
    EXPECT_EQ(s.wnd.GetScrollBar()->x(), 0);
    EXPECT_EQ(s.wnd.GetScrollBar()->width(), info.scrollBarWidth);
    EXPECT_EQ(s.content.x(), info.scrollBarWidth + info.borderMedium);
    EXPECT_EQ(s.wnd.GetTail()->x(), s.content.x());
    CheckFrame(s.wnd, s.content);
    // The wheel scrolls, within the ends.
    kel_qt_test::Mouse(s.wnd).Wheel(QPoint(50, 50), -120);
    EXPECT_GT(s.wnd.GetScrollPos(), 0);
    CheckFrame(s.wnd, s.content);
    kel_qt_test::Mouse(s.wnd).Wheel(QPoint(50, 50), 120 * 50);
    EXPECT_EQ(s.wnd.GetScrollPos(), 0);
}

TEST_P(ScrollDpi, ScrollBarDragAndTrackClickScrollTheFrame) {
    Scroller s(2000);
    CNoArrowScrollBar& bar = *s.wnd.GetScrollBar();
    const QRect thumb = bar.GetThumbRect();
    ASSERT_FALSE(thumb.isEmpty());
    kel_qt_test::Mouse mouse(bar);
    // A click on the track below the thumb pages down by one page.
    mouse.Press(QPoint(thumb.center().x(), bar.height() - 2));
    EXPECT_EQ(s.wnd.GetScrollPos(), s.wnd.GetPage());
    EXPECT_TRUE(bar.IsTimerRunning(CNoArrowScrollBar::TIMER_SCROLL));
    mouse.Release(QPoint(thumb.center().x(), bar.height() - 2));
    EXPECT_FALSE(bar.IsTimerRunning(CNoArrowScrollBar::TIMER_SCROLL));
    EXPECT_TRUE(bar.IsTimerRunning(CNoArrowScrollBar::TIMER_ENDSCROLL));
    CheckFrame(s.wnd, s.content);
    // Dragging the thumb to the bottom reaches the end.
    const QRect t = bar.GetThumbRect();
    mouse.Press(t.center());
    mouse.Move(QPoint(t.center().x(), bar.height() * 3));
    mouse.Release(QPoint(t.center().x(), bar.height() * 3));
    EXPECT_EQ(s.wnd.GetScrollPos(), s.wnd.GetScrollRange() - s.wnd.GetPage());
    CheckFrame(s.wnd, s.content);
}

TEST_P(ScrollDpi, ScrollToPanelBringsAnAccordionEntryIntoView) {
    class Sized : public CSubPanel {
    public:
        int GetHeight(const CUISizeInfo*) override { return 150; }
    };
    std::vector<std::unique_ptr<Sized>> subs;
    CScrollAccordionPanelHost host;
    host.Create(nullptr, QRect(0, 0, 250, 300), 1, 1);
    for (int i = 0; i < 8; ++i) {
        subs.push_back(std::make_unique<Sized>());
        host.AddPanel(subs.back().get(), QStringLiteral("p%1").arg(i), 1);
    }
    CAccordionPanelHost& acc = *host.GetAccordion();
    EXPECT_EQ(host.GetScrollRange(), acc.GetPanelTotalHeight() + host.GetTail()->height());
    host.ScrollToPanel(6, 0);
    const QRect entry = acc.GetPanelByPos(6)->geometry();
    EXPECT_GE(entry.top() - host.GetScrollPos(), 0);
    EXPECT_LE(entry.bottom() + 1 - host.GetScrollPos(), host.GetPage());
    EXPECT_EQ(entry.bottom() + 1 - host.GetScrollPos(), host.GetPage())
        << "least scroll puts it at the bottom";
    host.ScrollToPanel(0, 0);
    EXPECT_EQ(host.GetScrollPos(), 0);
    // Collapsing entries shrinks the range and keeps the position valid.
    host.ScrollToPanel(7, 0);
    for (int i = 0; i < 8; ++i)
        acc.Collapse(i);
    EXPECT_EQ(host.GetScrollRange(), acc.GetPanelTotalHeight() + host.GetTail()->height());
    EXPECT_LE(host.GetScrollPos(), std::max(0, host.GetScrollRange() - host.GetPage()));
    subs.clear();
}

TEST_P(ScrollDpi, NoScrollHostGivesWidthOnlyAndStopsAt101Panels) {
    CNoScrollPanelHost host;
    host.Create(nullptr, QRect(0, 0, 300, 200), 1, 1);
    const CUISizeInfo& info = *host.GetUISizeInfo();
    const int room = info.scrollBarWidth + info.borderMedium;
    std::vector<std::unique_ptr<CSubPanel>> panels;
    for (int i = 0; i < 102; ++i) {
        panels.push_back(std::make_unique<CSubPanel>());
        const int index = host.AddPanel(panels.back().get());
        EXPECT_EQ(index, i < 101 ? i : -1) << i;
    }
    panels[3]->MoveWindow(0, 40, 10, 25);
    host.SetWidth(400);
    EXPECT_EQ(panels[3]->geometry(), QRect(0, 40, 400 - room, 25)) << "y and height stay";
    host.SetMargin(1);
    EXPECT_EQ(panels[3]->geometry(), QRect(room, 40, 400 - room, 25));
    EXPECT_EQ(panels[5]->GetDlgCtrlID(), CNoScrollPanelHost::IDC_PANEL_FIRST + 5);
    EXPECT_EQ(host.ShowPanel(panels[5].get(), 0), 1);
    EXPECT_TRUE(panels[5]->isHidden());
    EXPECT_EQ(host.ShowPanel(panels[101].get(), 1), 0) << "not in this host";
    panels.clear();
}

INSTANTIATE_TEST_SUITE_P(Dpi, ScrollDpi, ::testing::Values(96u, 144u));
