// Guards the window geometry: fit and centring, the scroll clamp and its margin, point conversions at
// every zoom, the anchor kept under zoom, DisplayRect, auto-move and its end, resize, synchronised
// partners that echo or cling, and navigator controls that hear the wrong window or order.
#include "CanvasTestSupport.h"

#include "imagewnd/INavigatorCtrl.h"

#include <cmath>

using namespace kel_canvas_test;
using std::tuple;

namespace {

class Geometry : public Canvas {
protected:
    // A `w` x `h` grey image in a canvas of `client` size.
    void Show(int w, int h, QSize client = QSize(400, 300)) {
        wnd.MoveWindow(0, 0, client.width(), client.height());
        wnd.Clear(0); // a zoomed copy may be building from the image about to be rewritten
        ASSERT_TRUE(MakeConstant(image, w, h, 1, 1, 128));
        ASSERT_EQ(wnd.SetImage(image), 1);
    }
    // A 4000 x 3000 image at 1:1 around its centre, with a tool that auto-moves.
    void ShowForAutoMove() {
        Show(4000, 3000);
        wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
        wnd.SetCenterPoint(2000, 1500);
        AddTool("T", 0).SetAutoMove(1);
        wnd.LoadTool(tools.back().get());
    }
    bool AutoMoving() { return wnd.IsTimerRunning(CImageWnd::TIMER_AUTOMOVE) == 1; }
};

TEST_F(Geometry, FitCentresSmallImagesAndShrinksLargeOnesInsideTheDpiMargin) {
    Show(100, 100, QSize(1000, 1000));
    EXPECT_EQ(tuple(wnd.GetZoomType(), wnd.GetZoomValue(), wnd.GetDrawPos(), wnd.GetDrawSize(),
                    wnd.GetCenterPoint(), wnd.IsZoomedOut()),
              tuple(ZOOM_TYPE_FIT, 1.0, TPoint<int>(450, 450), TSize<int>(100, 100), TPoint<int>(50, 50), 0));
    Show(4000, 3000, QSize(820, 620));
    EXPECT_EQ(tuple(wnd.GetZoomValue(), wnd.GetZoomedSize(), wnd.GetDrawPos(), wnd.IsZoomedOut()),
              tuple(0.2, TSize<int>(800, 600), TPoint<int>(10, 10), 1));
    EXPECT_EQ(wnd.SetDispPos(50, 50), 0) << "at fit there is nothing to scroll";
    EXPECT_EQ(wnd.GetSrcRect().size(), QSizeF(4000, 3000));
    CBaseWnd::SetDpiFunction([](const QWidget*) { return 192; });
    CImageWnd hiDpi;
    hiDpi.Create(&parent, QRect(0, 0, 840, 640), 1002);
    ASSERT_EQ(hiDpi.SetImage(image), 1);
    EXPECT_EQ(tuple(hiDpi.GetMargin(), hiDpi.GetZoomValue(), hiDpi.GetDrawPos()),
              tuple(20, 0.2, TPoint<int>(20, 20)));
    hiDpi.Clear(0);
}

TEST_F(Geometry, ScrollClampLeavesAtMostTheMarginAtTopAndLeft) {
    Show(2000, 2000);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    EXPECT_EQ(wnd.SetDispPos(-50, -50), 1);
    EXPECT_EQ(tuple(wnd.GetDispPos(), wnd.GetDrawPos(), wnd.GetDrawSize()),
              tuple(TPoint<int>(-10, -10), TPoint<int>(10, 10), TSize<int>(390, 290)));
    EXPECT_EQ(wnd.SetDispPos(-10, -10), 0) << "no change";
    EXPECT_EQ(wnd.SetDispPos(5000, 5000), 1);
    EXPECT_EQ(tuple(wnd.GetDispPos(), wnd.GetSrcRect().x()), tuple(TPoint<int>(1610, 1710), 1610.0));
}

TEST_F(Geometry, WindowImageRoundTripsAtEveryZoom) {
    Show(1234, 987);
    std::vector<std::pair<ZOOM_TYPE, int>> zooms = {
        {ZOOM_TYPE_FIT, 0}, {ZOOM_TYPE_FILL, 0}, {ZOOM_TYPE_NOZOOM, 0}};
    for (int s = 0; s < ZOOM_SCALE_COUNT; ++s)
        zooms.push_back({ZOOM_TYPE_SCALE, s});
    for (const auto& [type, s] : zooms) {
        const ZOOM_SCALE scale = static_cast<ZOOM_SCALE>(s);
        wnd.SetZoom(type, &scale, nullptr);
        wnd.SetCenterPoint(600, 500);
        for (int x = -5; x < 410; x += 13) {
            for (int y = -5; y < 310; y += 11) {
                TPoint<double> img, back;
                QPointF imgF, backF;
                wnd.PointWnd2Image(x, y, img);
                wnd.PointImage2Wnd(img.x, img.y, back);
                wnd.PointWnd2Image(x, y, imgF);
                wnd.PointImage2Wnd(float(imgF.x()), float(imgF.y()), backF);
                ASSERT_TRUE(std::abs(back.x - x) <= 0.5 && std::abs(back.y - y) <= 0.5) << type << "/" << s;
                ASSERT_TRUE(std::abs(backF.x() - x) <= 0.5 && std::abs(backF.y() - y) <= 0.5);
                ASSERT_NEAR(imgF.x(), img.x, 0.5) << "float and double forms agree";
            }
        }
        for (int ix = 0; ix < 1234; ix += 101) {
            TPoint<double> w, img;
            wnd.PointImage2Wnd(ix, 300, w);
            wnd.PointWnd2Image(w.x, w.y, img);
            ASSERT_NEAR(img.x, ix, 0.5 / wnd.GetZoomValue());
        }
        TPoint<double> centre; // the centre point is the image pixel at the client centre
        wnd.PointWnd2Image(200.0, 150.0, centre);
        EXPECT_EQ(wnd.GetCenterPoint().x, std::clamp(int(std::floor(centre.x)), 0, 1233));
    }
}

TEST_F(Geometry, ZoomKeepsTheAnchorAndStepsThroughTheWindowsOwnFactors) {
    Show(4000, 3000);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    wnd.SetCenterPoint(2000, 1500);
    const QPoint anchor(100, 80);
    for (int s : {4, 5, 6, 7, 8, 9, 10, 11, 12, 6, 4}) {
        TPoint<double> before, now;
        wnd.PointWnd2Image(anchor.x(), anchor.y(), before);
        Scale(static_cast<ZOOM_SCALE>(s), &anchor);
        wnd.PointImage2Wnd(before.x, before.y, now);
        EXPECT_NEAR(now.x, anchor.x(), 1.0) << "scale " << s;
        EXPECT_NEAR(now.y, anchor.y(), 1.0) << "scale " << s;
    }
    Show(1000, 1000, QSize(700, 700)); // fill 0.7, fit 0.68
    wnd.SetZoom(ZOOM_TYPE_FILL, nullptr, nullptr);
    ASSERT_DOUBLE_EQ(wnd.GetZoomValue(), 0.7);
    wnd.Zoom(1, nullptr);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM) << "0.7 zooms in to one to one";
    wnd.Zoom(0, nullptr);
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_1_2);
    for (int i = 0; i < 20; ++i)
        wnd.Zoom(1, nullptr);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 10.0);
    Scale(ZOOM_SCALE_1_16);
    wnd.Zoom(0, nullptr);
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_1_16) << "fill and fit are above 1:16: nothing";
    EXPECT_EQ(CImageWnd::ZoomScaleString(ZOOM_TYPE_NOZOOM, ZOOM_SCALE_1_16), "1:1");
    EXPECT_EQ(CImageWnd::ZoomScaleString(ZOOM_TYPE_SCALE, ZOOM_SCALE_10_1), "10:1");
    EXPECT_NE(CImageWnd::ZoomScaleString(ZOOM_TYPE_FIT, ZOOM_SCALE_2_1),
              CImageWnd::ZoomScaleString(ZOOM_TYPE_FILL, ZOOM_SCALE_2_1));
}

TEST_F(Geometry, DisplayRectShowsTheClippedRectangleCentred) {
    Show(4000, 3000);
    QRect r(1000, 1000, 200, 150), exact(100, 100, 400, 300), over(3900, 2950, 1000, 1000);
    wnd.DisplayRect(r);
    EXPECT_EQ(tuple(wnd.GetZoomScale(), wnd.GetCenterPoint()),
              tuple(ZOOM_SCALE_2_1, TPoint<int>(1100, 1075)));
    wnd.DisplayRect(exact);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM);
    wnd.DisplayRect(over);
    EXPECT_EQ(over, QRect(3900, 2950, 100, 50)) << "clipped to the image in place";
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_4_1);
}

TEST_F(Geometry, AutoMoveStepsGrowWithDistanceUpToForty) {
    ShowForAutoMove();
    const TPoint<int> start = wnd.GetDispPos();
    mouse.Move(QPoint(-200, 150));
    EXPECT_EQ(tuple(wnd.GetAutoMoveStep(), wnd.GetDispPos().x), tuple(TPoint<int>(-40, 0), start.x - 40));
    ASSERT_TRUE(PumpUntil([&] { return wnd.GetDispPos().x <= start.x - 80; })) << "the timer keeps scrolling";
    EXPECT_EQ((start.x - wnd.GetDispPos().x) % 40, 0);
    mouse.Move(QPoint(-3, 310));
    EXPECT_EQ(wnd.GetAutoMoveStep(), TPoint<int>(-1, 5)) << "halves truncate toward zero";
    mouse.Move(QPoint(200, 150));
    EXPECT_FALSE(AutoMoving()) << "back inside: no scrolling";
    const TPoint<int> before = wnd.GetDispPos();
    mouse.Move(QPoint(400, 150)); // exactly at the width
    EXPECT_EQ(wnd.GetAutoMoveStep(), TPoint<int>(0, 0));
    EXPECT_TRUE(AutoMoving()) << "the timer runs though the step is 0";
    ASSERT_TRUE(PumpUntil([&] { return !AutoMoving(); })) << "a zero step stops the timer at its first tick";
    EXPECT_EQ(wnd.GetDispPos(), before);
}

TEST_F(Geometry, AutoMoveStopsAtReleaseCaptureLossAndTheEndOfTheScrollRange) {
    ShowForAutoMove();
    const QPoint outside(-200, 150);
    mouse.Press(QPoint(200, 150));
    mouse.Move(outside);
    ASSERT_TRUE(AutoMoving());
    mouse.Release(outside);
    EXPECT_FALSE(AutoMoving()) << "a drag that ended outside scrolls on";
    mouse.Press(QPoint(200, 150));
    mouse.Move(outside);
    ASSERT_TRUE(AutoMoving());
    FocusOut();
    EXPECT_FALSE(AutoMoving()) << "the capture went and the view still scrolls";
    // At the left end of the range a step changes nothing: the timer stops by itself.
    wnd.SetDispPos(-10000, wnd.GetDispPos().y);
    const TPoint<int> end = wnd.GetDispPos();
    mouse.Move(outside);
    EXPECT_TRUE(PumpUntil([&] { return !AutoMoving(); })) << "scrolls at the end of the range for ever";
    EXPECT_EQ(wnd.GetDispPos(), end);
}

TEST_F(Geometry, ResizeAndZoomChangesAreWalkedAndReportedOnlyWhenTheyChange) {
    Show(4000, 3000);
    LoadNew("T", Tool::EVENTMASK_WNDRESIZE | Tool::EVENTMASK_ZOOMCHANGED);
    log.Clear();
    Scale(ZOOM_SCALE_1_4);
    EXPECT_EQ(log.Only(), (Texts{"T.OnZoomChanged", "parent.NM 117"}));
    log.Clear();
    Scale(ZOOM_SCALE_1_4);
    wnd.SetDispPos(100, 100);
    EXPECT_EQ(log.Only(), Texts{});
    wnd.SetCenterPoint(1200, 900);
    const TPoint<int> centre = wnd.GetCenterPoint();
    wnd.MoveWindow(0, 0, 500, 360);
    EXPECT_NEAR(wnd.GetCenterPoint().x, centre.x, 4);
    EXPECT_NEAR(wnd.GetCenterPoint().y, centre.y, 4);
    ASSERT_NE(log.Find("T.OnWndResize"), nullptr);
    EXPECT_EQ(log.Find("T.OnWndResize")->point, QPoint(500, 360));
    wnd.SetZoom(ZOOM_TYPE_FIT, nullptr, nullptr);
    wnd.MoveWindow(0, 0, 820, 620);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 0.2) << "fit follows the client";
}

TEST_F(Geometry, ZoomSurvivesANewImageAndClear) {
    Show(400, 300);
    Scale(ZOOM_SCALE_3_1);
    CImageDataInfo other;
    ASSERT_TRUE(MakeConstant(other, 640, 480, 3, 1, 7));
    ASSERT_EQ(wnd.SetImage(other), 1);
    DISPINFO info;
    EXPECT_EQ(tuple(wnd.GetZoomScale(), wnd.GetZoomValue(), wnd.GetImageSize(), wnd.GetDispInfo(info)),
              tuple(ZOOM_SCALE_3_1, 3.0, TSize<int>(640, 480), 1));
    wnd.Clear(1);
    EXPECT_EQ(tuple(wnd.GetDispInfo(info), wnd.GetZoomScale()), tuple(0, ZOOM_SCALE_3_1))
        << "Clear keeps the zoom";
}

// --- partners and navigators -------------------------------------------------------------------

TEST_F(Geometry, PartnersFollowEachOtherWithoutEchoUntilReleased) {
    Show(3000, 2000);
    CImageDataInfo other;
    ASSERT_TRUE(MakeConstant(other, 3000, 2000, 1, 1, 3));
    CImageWnd partner;
    partner.Create(&parent, QRect(0, 0, 400, 300), 1002);
    ASSERT_EQ(partner.SetImage(other), 1);
    wnd.SetSyncWnd(&partner, 1);
    EXPECT_EQ(partner.GetSyncWnd(), &wnd);
    LoadNew("A", Tool::EVENTMASK_DISPPOSCHANGED | Tool::EVENTMASK_ZOOMCHANGED);
    partner.LoadTool(&AddTool("B", Tool::EVENTMASK_DISPPOSCHANGED | Tool::EVENTMASK_ZOOMCHANGED));
    log.Clear();
    const QPoint anchor(120, 90);
    Scale(ZOOM_SCALE_1_2, &anchor);
    EXPECT_EQ(tuple(partner.GetZoomScale(), partner.GetDispPos(), log.Count("A.OnZoomChanged"),
                    log.Count("B.OnZoomChanged")),
              tuple(ZOOM_SCALE_1_2, wnd.GetDispPos(), 1u, 1u));
    log.Clear();
    EXPECT_EQ(wnd.SetDispPos(300, 200), 1);
    EXPECT_EQ(partner.GetDispPos(), TPoint<int>(300, 200));
    EXPECT_EQ(log.Count("A.OnDispPosChanged"), 1u) << "the partner must not drive its driver back";
    EXPECT_EQ(wnd.IsSynchronizing() + partner.IsSynchronizing(), 0);
    log.Clear();
    EXPECT_EQ(partner.SetDispPos(120, 80), 1);
    EXPECT_EQ(wnd.GetDispPos(), TPoint<int>(120, 80));
    EXPECT_EQ(log.Count("B.OnDispPosChanged"), 1u);
    partner.Zoom(1, nullptr);
    EXPECT_EQ(tuple(wnd.GetZoomType(), wnd.GetDispPos()), tuple(ZOOM_TYPE_NOZOOM, partner.GetDispPos()));
    wnd.SetSyncWnd(nullptr, 1);
    EXPECT_EQ(partner.GetSyncWnd(), nullptr);
    Scale(ZOOM_SCALE_2_1);
    EXPECT_EQ(partner.GetZoomType(), ZOOM_TYPE_NOZOOM);
    wnd.SetSyncWnd(&partner, 0);
    EXPECT_EQ(partner.GetSyncWnd(), nullptr) << "one-way pairing";
    partner.UnloadAllTools();
    {
        CImageWnd shortLived;
        shortLived.Create(&parent, QRect(0, 0, 100, 100), 1003);
        shortLived.SetSyncWnd(&wnd, 1);
        EXPECT_EQ(wnd.GetSyncWnd(), &shortLived);
    }
    EXPECT_EQ(wnd.GetSyncWnd(), nullptr) << "a destroyed partner is forgotten";
    partner.Clear(0);
}

class RecordingNavi : public INavigatorCtrl {
public:
    RecordingNavi(std::string tag, EventLog& log, CImageWnd* wnd) : m_tag(std::move(tag)), m_log(log) {
        SetNaviImageWnd(wnd);
    }
    void OnImageChange(int newImage, int cleared) override {
        Add(".OnImageChange " + std::to_string(newImage) + std::to_string(cleared));
    }
    void OnDispAreaChange(const QRectF& src, int w, int h, ZOOM_TYPE type, ZOOM_SCALE scale) override {
        lastSrc = src;
        Add(".OnDispAreaChange " + std::to_string(w) + "x" + std::to_string(h) + " " + std::to_string(type) +
            "/" + std::to_string(scale));
    }
    void OnLockView(int locked) override { Add(".OnLockView " + std::to_string(locked)); }
    QRectF lastSrc;

private:
    void Add(const std::string& text) { m_log.Add(m_tag + text); }
    std::string m_tag;
    EventLog& m_log;
};

TEST_F(Geometry, NavigatorControlsHearTheirWindowInRegistrationOrderUntilItGoes) {
    auto elsewhere = std::make_unique<CImageWnd>();
    elsewhere->Create(&parent, QRect(0, 0, 100, 100), 1009);
    auto first = std::make_unique<RecordingNavi>("n1", log, &wnd);
    RecordingNavi second("n2", log, &wnd), foreign("n3", log, elsewhere.get());
    log.Clear();
    wnd.LockView(1);
    wnd.LockView(1); // no real change, no notification
    EXPECT_EQ(log.Only(), (Texts{"n1.OnLockView 1", "n2.OnLockView 1"}));
    first.reset();
    RecordingNavi third("n4", log, &wnd);
    log.Clear();
    wnd.LockView(0);
    EXPECT_EQ(log.Only(), (Texts{"n2.OnLockView 0", "n4.OnLockView 0"}));
    log.Clear();
    wnd.EnableNaviCtrlNotification(0);
    wnd.LockView(1);
    EXPECT_EQ(log.Only(), Texts{});
    EXPECT_EQ(wnd.IsViewLocked(), 1);
    wnd.EnableNaviCtrlNotification(1);
    Show(800, 600);
    EXPECT_NE(log.Find("n2.OnImageChange 10"), nullptr);
    EXPECT_NE(log.Find("n2.OnDispAreaChange 800x600 0/7"), nullptr);
    // The whole image at fit, less what rounding the drawn width to window pixels costs.
    EXPECT_NEAR(second.lastSrc.width(), 800.0, 1.0 / wnd.GetZoomValue());
    log.Clear();
    wnd.Clear(1);
    EXPECT_EQ(log.Only(), (Texts{"n2.OnImageChange 01", "n4.OnImageChange 01"}));
    elsewhere.reset();
    EXPECT_EQ(foreign.GetNaviImageWnd(), nullptr) << "a gone window detaches its controls";
}

} // namespace
