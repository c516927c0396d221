// Guards the frame layout: bars tiling the edges, docked panels taking room and shown ones not, the
// hover machine that reveals and hides a panel, and the dragged panel edge held within its limits.
#include "QtTestSupport.h"
#include "ui/CDockableBar.h"
#include "ui/CDockablePanel.h"
#include "ui/CDockablePanelChild.h"
#include "ui/CPanelHost.h"
#include "ui/CUISizeInfo.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>

using namespace KELCTRL;

namespace {

constexpr std::array<int, DOCK_TYPE_COUNT> kFixed = {60, 50, 150, 120}; // unscaled, by side

class CountingHost : public CPanelHost {
public:
    int panelChanges = 0;
    void OnPanelChanged() override {
        ++panelChanges;
        CPanelHost::OnPanelChanged();
    }
};

class Centre : public CBaseWnd {
public:
    int sizes = 0;
    std::function<void()> onSize;

protected:
    void OnSize(unsigned type, int cx, int cy) override {
        ++sizes;
        CBaseWnd::OnSize(type, cx, cy);
        if (onSize)
            onSize();
    }
};

struct Frame {
    CountingHost host;
    Centre centre;
    std::array<std::unique_ptr<CDockablePanel>, DOCK_TYPE_COUNT> panels;

    explicit Frame(QSize size = QSize(800, 600)) {
        host.Create(nullptr, QRect(QPoint(0, 0), size), 1, 1);
        centre.Create(&host, QRect(0, 0, 10, 10), 2, 1);
        host.AddCenterWnd(&centre, QStringLiteral("canvas"));
        for (int side = 0; side < DOCK_TYPE_COUNT; ++side) {
            panels[side] = std::make_unique<CDockablePanel>();
            panels[side]->SetFixedSize(kFixed[side]);
            host.SetPanel(static_cast<DOCK_TYPE>(side), panels[side].get(), CDockableBar::BAR_HIDDEN);
        }
    }
    ~Frame() {
        // Panels go before the host that parents them.
        for (auto& p : panels)
            p.reset();
    }
    CDockableBar* Bar(int side) const { return host.GetBar(static_cast<DOCK_TYPE>(side)); }
    void Apply(const std::array<int, DOCK_TYPE_COUNT>& states) {
        for (int side = 0; side < DOCK_TYPE_COUNT; ++side) {
            if (states[side] == CDockableBar::BAR_DOCKED)
                Bar(side)->DockPanel();
            else if (states[side] == CDockableBar::BAR_SHOWN)
                Bar(side)->ShowPanel();
            else
                Bar(side)->HidePanel();
        }
        host.Reposition();
    }
};

class HostDpi : public ::testing::TestWithParam<unsigned> {
protected:
    void SetUp() override {
        kel_qt_test::App();
        dpi = GetParam();
        SetDpiProvider([this](const QWidget*) { return std::make_pair(dpi, dpi); });
        CDockableBar::SetHoverEnvironment({[this] { return cursor; }, [this] { return active; }});
    }
    void TearDown() override {
        SetDpiProvider(nullptr);
        CDockableBar::SetHoverEnvironment({});
    }
    unsigned dpi = 96;
    QPoint cursor{-1000, -1000};
    bool active = true;
};

std::array<int, DOCK_TYPE_COUNT> StatesOf(int combo) {
    std::array<int, DOCK_TYPE_COUNT> s{};
    for (int side = 0; side < DOCK_TYPE_COUNT; ++side, combo /= 3)
        s[side] = combo % 3;
    return s;
}

// Checks what every layout must satisfy; `t` is the bar thickness expected at the host's dpi.
void CheckLayout(const Frame& f, const std::array<int, DOCK_TYPE_COUNT>& s, int t, const CUISizeInfo& info) {
    const int w = f.host.GetClientWidth();
    const int h = f.host.GetClientHeight();
    const QRect top = f.Bar(DOCK_TOP)->geometry(), bottom = f.Bar(DOCK_BOTTOM)->geometry();
    const QRect left = f.Bar(DOCK_LEFT)->geometry(), right = f.Bar(DOCK_RIGHT)->geometry();
    EXPECT_EQ(top, QRect(0, 0, w, t));
    EXPECT_EQ(bottom, QRect(0, h - t, w, t));
    EXPECT_EQ(left.x(), 0);
    EXPECT_EQ(left.width(), t);
    EXPECT_EQ(right.right(), w - 1);
    EXPECT_EQ(right.width(), t);
    EXPECT_EQ(left.y(), right.y());
    EXPECT_EQ(left.height(), right.height());
    // The side bars run from the top bar (or the docked top panel) down to the bottom one.
    const QRect topPanel = f.panels[DOCK_TOP]->geometry(), bottomPanel = f.panels[DOCK_BOTTOM]->geometry();
    EXPECT_EQ(left.top(), s[DOCK_TOP] == 2 ? topPanel.bottom() + 1 : top.bottom() + 1);
    EXPECT_EQ(left.bottom(), s[DOCK_BOTTOM] == 2 ? bottomPanel.top() - 1 : bottom.top() - 1);

    const QRect centre = f.centre.geometry();
    for (int side = 0; side < DOCK_TYPE_COUNT; ++side) {
        const CDockablePanel& p = *f.panels[side];
        const int fixed = p.IsVertical() ? info.ScaledSizeX(kFixed[side]) : info.ScaledSizeY(kFixed[side]);
        EXPECT_EQ(p.GetThickness(), fixed) << "layout keeps a panel's thickness, side " << side;
        EXPECT_EQ(p.isHidden(), s[side] == 0) << "side " << side;
        // A panel lies right against its bar.
        const QRect g = p.geometry(), bar = f.Bar(side)->geometry();
        switch (side) {
        case DOCK_TOP:
            EXPECT_EQ(g.top(), bar.bottom() + 1);
            break;
        case DOCK_BOTTOM:
            EXPECT_EQ(g.bottom(), bar.top() - 1);
            break;
        case DOCK_LEFT:
            EXPECT_EQ(g.left(), bar.right() + 1);
            break;
        case DOCK_RIGHT:
            EXPECT_EQ(g.right(), bar.left() - 1);
            break;
        }
        if (s[side] == 2) {
            EXPECT_FALSE(centre.intersects(g)) << "centre overlaps docked side " << side;
        }
        if (s[side] == 1) {
            EXPECT_TRUE(centre.intersects(g)) << "a shown panel floats over the centre, side " << side;
        }
    }
    // The centre reaches the docked panel, else the bar, on each side.
    EXPECT_EQ(centre.top(), s[DOCK_TOP] == 2 ? topPanel.bottom() + 1 : t);
    EXPECT_EQ(centre.bottom(), s[DOCK_BOTTOM] == 2 ? bottomPanel.top() - 1 : h - t - 1);
    EXPECT_EQ(centre.left(),
              s[DOCK_LEFT] == 2 ? f.panels[DOCK_LEFT]->geometry().right() + 1 : left.right() + 1);
    EXPECT_EQ(centre.right(),
              s[DOCK_RIGHT] == 2 ? f.panels[DOCK_RIGHT]->geometry().left() - 1 : right.left() - 1);
    for (int side = 0; side < DOCK_TYPE_COUNT; ++side)
        EXPECT_FALSE(centre.intersects(f.Bar(side)->geometry())) << side;
}

} // namespace

TEST_P(HostDpi, EveryBarStateCombinationLaysOutConsistently) {
    Frame f;
    const CUISizeInfo& info = *f.host.GetUISizeInfo();
    const int t = static_cast<int>(18 * dpi / 96);
    ASSERT_EQ(f.host.GetBarThickness(), t);
    for (int combo = 0; combo < 81; ++combo) {
        SCOPED_TRACE(combo);
        const auto s = StatesOf(combo);
        f.Apply(s);
        CheckLayout(f, s, t, info);
        // A shown panel takes no room: hiding it instead leaves the centre where it is.
        const QRect centre = f.centre.geometry();
        auto hiddenInstead = s;
        for (int& state : hiddenInstead)
            if (state == CDockableBar::BAR_SHOWN)
                state = CDockableBar::BAR_HIDDEN;
        f.Apply(hiddenInstead);
        EXPECT_EQ(f.centre.geometry(), centre);
    }
}

TEST_P(HostDpi, ReentryAndAMissingBarChangeNothing) {
    Frame f;
    f.Apply({2, 2, 2, 2});
    // A centre window that lays the host out again while being sized is not sized twice.
    f.centre.sizes = 0;
    f.centre.onSize = [&] {
        f.panels[DOCK_LEFT]->MoveWindow(f.panels[DOCK_LEFT]->geometry().adjusted(0, 0, 30, 0), 0);
        f.host.Reposition();
    };
    f.host.MoveWindow(0, 0, 900, 700);
    f.centre.onSize = nullptr;
    EXPECT_EQ(f.centre.sizes, 1);

    class ThreeBars : public CPanelHost {
    protected:
        void CreateBars() override {
            MakeBar(DOCK_TOP);
            MakeBar(DOCK_BOTTOM);
            MakeBar(DOCK_LEFT);
        }
    } partial;
    partial.Create(nullptr, QRect(0, 0, 400, 300), 1, 0);
    Centre c;
    c.Create(&partial, QRect(5, 6, 7, 8), 2, 1);
    partial.AddCenterWnd(&c, QStringLiteral("c"));
    partial.MoveWindow(0, 0, 500, 400);
    EXPECT_EQ(c.geometry(), QRect(5, 6, 7, 8));
    EXPECT_EQ(partial.GetBar(DOCK_TOP)->geometry().size(), QSize(0, 0));
    EXPECT_EQ(partial.GetBar(DOCK_RIGHT), nullptr);
}

TEST_P(HostDpi, DpiChangeCarriesThicknessesAndLaysOutOnce) {
    Frame f;
    const auto s = std::array<int, DOCK_TYPE_COUNT>{2, 1, 2, 0};
    f.Apply(s);
    const unsigned next = dpi == 96 ? 144 : 96;
    const QRect same = f.host.geometry();
    dpi = next;
    EXPECT_EQ(f.host.SendMessage(WM_DPICHANGED, MakeDpiWParam(next, next), reinterpret_cast<intptr_t>(&same)),
              0);
    const CUISizeInfo& info = *f.host.GetUISizeInfo();
    ASSERT_EQ(info.DpiX(), next);
    CheckLayout(f, s, static_cast<int>(18 * next / 96), info);
}

TEST_P(HostDpi, HoverRevealsAndTheTimerTickHides) {
    Frame f;
    CDockableBar& bar = *f.Bar(DOCK_LEFT);
    CDockablePanel& panel = *f.panels[DOCK_LEFT];
    const QPoint onBar = bar.mapToGlobal(QPoint(1, 1));
    const QPoint onPanel = panel.mapToGlobal(QPoint(5, 5));
    const QPoint elsewhere = f.centre.mapToGlobal(QPoint(f.centre.width() - 5, 5));

    // An inactive application reveals nothing.
    active = false;
    cursor = onBar;
    kel_qt_test::Mouse(bar).Move(QPoint(1, 1));
    EXPECT_EQ(bar.GetBarState(), CDockableBar::BAR_HIDDEN);
    EXPECT_TRUE(panel.isHidden());
    QEvent leave(QEvent::Leave); // the pointer leaves the bar
    QApplication::sendEvent(&bar, &leave);

    active = true;
    kel_qt_test::Mouse(bar).Move(QPoint(1, 2));
    ASSERT_EQ(bar.GetBarState(), CDockableBar::BAR_SHOWN);
    EXPECT_FALSE(panel.isHidden());
    EXPECT_TRUE(bar.IsTimerRunning(CDockableBar::TIMER_CHECK_PANEL));
    const QRect centre = f.centre.geometry();

    // The cursor on the bar or on the panel keeps it.
    bar.CheckPanel();
    cursor = onPanel;
    bar.CheckPanel();
    EXPECT_EQ(bar.GetBarState(), CDockableBar::BAR_SHOWN);

    // A child of the panel holding the capture keeps it even with the cursor elsewhere.
    CDockablePanelChild child;
    panel.AddChild(&child);
    cursor = elsewhere;
    child.SetCapture();
    bar.CheckPanel();
    EXPECT_EQ(bar.GetBarState(), CDockableBar::BAR_SHOWN);
    CBaseWnd::ReleaseCapture();

    // Leaving both hides it on the next tick.
    bar.CheckPanel();
    EXPECT_EQ(bar.GetBarState(), CDockableBar::BAR_HIDDEN);
    EXPECT_TRUE(panel.isHidden());
    EXPECT_FALSE(bar.IsTimerRunning(CDockableBar::TIMER_CHECK_PANEL));
    EXPECT_EQ(f.centre.geometry(), centre) << "showing and hiding never moved the centre";
    panel.hide();
    child.setParent(nullptr);
}

TEST_P(HostDpi, AnEdgeDragKeepsAShownPanel) {
    Frame f;
    CDockableBar& bar = *f.Bar(DOCK_RIGHT);
    CDockablePanel& panel = *f.panels[DOCK_RIGHT];
    panel.SetAdjustable(1);
    bar.ShowPanel();
    kel_qt_test::Mouse mouse(panel);
    mouse.Press(panel.GetTrackRect().center());
    ASSERT_TRUE(panel.IsAdjusting());
    cursor = QPoint(-500, -500);
    bar.CheckPanel();
    EXPECT_EQ(bar.GetBarState(), CDockableBar::BAR_SHOWN);
    mouse.Release(panel.GetTrackRect().center());
    EXPECT_FALSE(panel.IsAdjusting());
    bar.CheckPanel();
    EXPECT_EQ(bar.GetBarState(), CDockableBar::BAR_HIDDEN);
}

TEST_P(HostDpi, ClickDocksAndUndocksAndTheHostRelayouts) {
    Frame f;
    for (int side = 0; side < DOCK_TYPE_COUNT; ++side) {
        SCOPED_TRACE(side);
        CDockableBar& bar = *f.Bar(side);
        const QRect before = f.centre.geometry();
        const int changes = f.host.panelChanges;
        kel_qt_test::Mouse mouse(bar); // one mouse: two presses far apart in time, not a double click
        mouse.Press(QPoint(2, 2));
        mouse.Release(QPoint(2, 2));
        EXPECT_EQ(bar.GetBarState(), CDockableBar::BAR_DOCKED);
        EXPECT_EQ(f.host.panelChanges, changes + 1);
        const QRect docked = f.centre.geometry();
        EXPECT_FALSE(docked.intersects(f.panels[side]->geometry()));
        EXPECT_TRUE(before.contains(docked) && docked != before) << "docking shrinks the centre";
        mouse.Press(QPoint(2, 2));
        mouse.Release(QPoint(2, 2));
        EXPECT_EQ(bar.GetBarState(), CDockableBar::BAR_HIDDEN);
        EXPECT_EQ(f.host.panelChanges, changes + 2);
        EXPECT_EQ(f.centre.geometry(), before);
    }
}

TEST_P(HostDpi, PanelEdgeDragStaysBetweenScaledLimits) {
    Frame f;
    f.Apply({2, 2, 2, 2});
    const CUISizeInfo& info = *f.host.GetUISizeInfo();
    for (int side = 0; side < DOCK_TYPE_COUNT; ++side) {
        SCOPED_TRACE(side);
        CDockablePanel& p = *f.panels[side];
        p.SetAdjustable(1);
        p.SetMinMax(40, 30, 200, 90);
        const int lo = p.IsVertical() ? info.ScaledSizeX(40) : info.ScaledSizeY(30);
        const int hi = p.IsVertical() ? info.ScaledSizeX(200) : info.ScaledSizeY(90);
        // One mouse for all drags of a side, so that two presses are never taken for a double click.
        kel_qt_test::Mouse mouse(p);
        // The edge follows the pointer by `d` pixels towards the centre (positive) or away.
        auto dragBy = [&](int d) {
            const QPoint start = p.GetTrackRect().center();
            QPoint delta;
            switch (side) {
            case DOCK_TOP:
                delta = QPoint(0, d);
                break;
            case DOCK_BOTTOM:
                delta = QPoint(0, -d);
                break;
            case DOCK_LEFT:
                delta = QPoint(d, 0);
                break;
            case DOCK_RIGHT:
                delta = QPoint(-d, 0);
                break;
            }
            mouse.Press(start);
            const QPoint startInParent = p.mapToParent(start);
            mouse.Move(p.mapFromParent(startInParent + delta));
            mouse.Release(p.mapFromParent(startInParent + delta));
        };
        dragBy(5000);
        EXPECT_EQ(p.GetThickness(), hi);
        dragBy(-5000);
        EXPECT_EQ(p.GetThickness(), lo);
        const int before = p.GetThickness();
        dragBy(10);
        EXPECT_NEAR(p.GetThickness(), before + 10,
                    1 + (p.IsVertical() ? info.borderSmall + info.borderMedium : info.borderSmall));
        // The docked panel's new thickness is what the centre gives way to.
        EXPECT_FALSE(f.centre.geometry().intersects(p.geometry()));
        const QRect c = f.centre.geometry();
        const QRect g = p.geometry();
        const bool touching = c.left() == g.right() + 1 || c.right() == g.left() - 1 ||
                              c.top() == g.bottom() + 1 || c.bottom() == g.top() - 1;
        EXPECT_TRUE(touching);
    }
}

INSTANTIATE_TEST_SUITE_P(Dpi, HostDpi, ::testing::Values(96u, 144u));
