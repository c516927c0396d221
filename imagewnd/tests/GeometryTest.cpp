// Guards the window geometry: fit and centring, the scroll clamp with its margin, point conversion
// round trips at every zoom, zoom kept under the anchor, DisplayRect, auto-move (and its end) and resize.
#include "CanvasTestSupport.h"

#include <QFocusEvent>

#include <cmath>

using namespace kel_canvas_test;
using kel_qt_test::PumpUntil;
using Tool = IImageWndTool;

namespace {

// A canvas of `client` size showing a `w` x `h` grey image.
class Geometry : public ::testing::Test {
protected:
    void Show(int w, int h, QSize client = QSize(400, 300)) {
        kel_qt_test::App();
        if (!parent.IsWindow())
            parent.Create(nullptr, QRect(0, 0, 1200, 1200), 0);
        if (!wnd.IsWindow())
            wnd.Create(&parent, QRect(QPoint(0, 0), client), 1001);
        else
            wnd.MoveWindow(0, 0, client.width(), client.height());
        // A zoomed copy may be building from the image that is about to be rewritten.
        wnd.Clear(0);
        ASSERT_TRUE(kel_testing::MakeConstant(image, w, h, 1, 1, 128));
        ASSERT_EQ(wnd.SetImage(image), 1);
    }
    void Scale(ZOOM_SCALE s, const QPoint* anchor = nullptr) { wnd.SetZoom(ZOOM_TYPE_SCALE, &s, anchor); }
    void TearDown() override { CBaseWnd::SetDpiFunction(nullptr); }

    EventLog log;
    std::deque<std::unique_ptr<RecordingTool>> tools;
    CImageDataInfo image;
    RecordingParent parent{log};
    CImageWnd wnd;
};

} // namespace

TEST_F(Geometry, SmallImageAtFitKeepsFactorOneAndIsCentred) {
    Show(100, 100, QSize(1000, 1000));
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_FIT);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 1.0);
    EXPECT_EQ(wnd.GetDrawPos(), TPoint<int>(450, 450));
    EXPECT_EQ(wnd.GetDrawSize(), TSize<int>(100, 100));
    EXPECT_EQ(wnd.GetCenterPoint(), TPoint<int>(50, 50));
    EXPECT_EQ(wnd.IsZoomedOut(), 0);
}

TEST_F(Geometry, LargeImageAtFitInsideTheMargin) {
    Show(4000, 3000, QSize(820, 620));
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 0.2);
    EXPECT_EQ(wnd.GetZoomedSize(), TSize<int>(800, 600));
    EXPECT_EQ(wnd.GetDrawPos(), TPoint<int>(10, 10));
    EXPECT_EQ(wnd.IsZoomedOut(), 1);
    EXPECT_EQ(wnd.SetDispPos(50, 50), 0) << "at fit there is nothing to scroll";
    const QRectF src = wnd.GetSrcRect();
    EXPECT_FLOAT_EQ(src.width(), 4000.f);
    EXPECT_FLOAT_EQ(src.height(), 3000.f);
}

TEST_F(Geometry, FitMarginFollowsTheDpi) {
    CBaseWnd::SetDpiFunction([](const QWidget*) { return 192; });
    Show(4000, 3000, QSize(840, 640));
    EXPECT_EQ(wnd.GetMargin(), 20);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 0.2);
    EXPECT_EQ(wnd.GetDrawPos(), TPoint<int>(20, 20));
}

TEST_F(Geometry, ScrollClampLeavesAtMostTheMarginAtTopAndLeft) {
    Show(2000, 2000);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    EXPECT_EQ(wnd.SetDispPos(-50, -50), 1);
    EXPECT_EQ(wnd.GetDispPos(), TPoint<int>(-10, -10));
    EXPECT_EQ(wnd.GetDrawPos(), TPoint<int>(10, 10));
    EXPECT_EQ(wnd.GetDrawSize(), TSize<int>(390, 290));
    EXPECT_EQ(wnd.SetDispPos(-10, -10), 0) << "no change";
    EXPECT_EQ(wnd.SetDispPos(5000, 5000), 1);
    EXPECT_EQ(wnd.GetDispPos(), TPoint<int>(2000 - 400 + 10, 2000 - 300 + 10));
    EXPECT_FLOAT_EQ(static_cast<float>(wnd.GetSrcRect().x()), 1610.f);
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
                wnd.PointWnd2Image(x, y, img);
                wnd.PointImage2Wnd(img.x, img.y, back);
                ASSERT_NEAR(back.x, x, 0.5) << "type " << type << " scale " << s;
                ASSERT_NEAR(back.y, y, 0.5);
                QPointF imgF, backF;
                wnd.PointWnd2Image(x, y, imgF);
                wnd.PointImage2Wnd(static_cast<float>(imgF.x()), static_cast<float>(imgF.y()), backF);
                ASSERT_NEAR(backF.x(), x, 0.5);
                ASSERT_NEAR(backF.y(), y, 0.5);
                ASSERT_NEAR(imgF.x(), img.x, 0.5) << "float and double forms agree";
            }
        }
        // Image to window to image, and the centre point is the image pixel at the client centre.
        for (int ix = 0; ix < 1234; ix += 101) {
            TPoint<double> w, img;
            wnd.PointImage2Wnd(ix, 300, w);
            wnd.PointWnd2Image(w.x, w.y, img);
            ASSERT_NEAR(img.x, ix, 0.5 / wnd.GetZoomValue());
        }
        TPoint<double> centre;
        wnd.PointWnd2Image(200.0, 150.0, centre);
        EXPECT_EQ(wnd.GetCenterPoint().x, std::clamp(static_cast<int>(std::floor(centre.x)), 0, 1233));
    }
}

TEST_F(Geometry, SetZoomKeepsTheImagePointUnderTheAnchor) {
    Show(4000, 3000);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    wnd.SetCenterPoint(2000, 1500);
    const QPoint anchor(100, 80);
    for (int s : {4, 5, 6, 7, 8, 9, 10, 11, 12, 6, 4}) {
        TPoint<double> before;
        wnd.PointWnd2Image(anchor.x(), anchor.y(), before);
        Scale(static_cast<ZOOM_SCALE>(s), &anchor);
        TPoint<double> now;
        wnd.PointImage2Wnd(before.x, before.y, now);
        EXPECT_NEAR(now.x, anchor.x(), 1.0) << "scale " << s;
        EXPECT_NEAR(now.y, anchor.y(), 1.0) << "scale " << s;
    }
}

TEST_F(Geometry, ZoomStepsThroughTheWindow) {
    Show(1000, 1000, QSize(700, 700)); // fill 0.7, fit 0.68
    wnd.SetZoom(ZOOM_TYPE_FILL, nullptr, nullptr);
    ASSERT_DOUBLE_EQ(wnd.GetZoomValue(), 0.7);
    wnd.Zoom(1, nullptr);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM) << "0.7 zooms in to one to one";
    wnd.Zoom(0, nullptr);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_SCALE);
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_1_2);
    for (int i = 0; i < 20; ++i)
        wnd.Zoom(1, nullptr);
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_10_1);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 10.0);
    Scale(ZOOM_SCALE_1_16);
    wnd.Zoom(0, nullptr);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_SCALE) << "fill and fit are above 1:16: nothing";
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_1_16);
}

TEST_F(Geometry, DisplayRectShowsTheRectangleCentred) {
    Show(4000, 3000);
    QRect r(1000, 1000, 200, 150);
    wnd.DisplayRect(r);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_SCALE);
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_2_1);
    EXPECT_NEAR(wnd.GetCenterPoint().x, 1100, 1);
    EXPECT_NEAR(wnd.GetCenterPoint().y, 1075, 1);

    QRect exact(100, 100, 400, 300);
    wnd.DisplayRect(exact);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM);

    QRect over(3900, 2950, 1000, 1000);
    wnd.DisplayRect(over);
    EXPECT_EQ(over, QRect(3900, 2950, 100, 50)) << "clipped to the image in place";
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_4_1);
}

TEST_F(Geometry, AutoMoveStepsGrowWithDistanceUpToForty) {
    Show(4000, 3000);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    wnd.SetCenterPoint(2000, 1500);
    auto& tool = *tools.emplace_back(std::make_unique<RecordingTool>("T", "auto", 0, log));
    tool.SetAutoMove(1);
    wnd.LoadTool(&tool);
    kel_qt_test::Mouse mouse(wnd);

    const TPoint<int> start = wnd.GetDispPos();
    mouse.Move(QPoint(-200, 150));
    EXPECT_EQ(wnd.GetAutoMoveStep(), TPoint<int>(-40, 0));
    EXPECT_EQ(wnd.GetDispPos().x, start.x - 40);
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_AUTOMOVE), 1);
    ASSERT_TRUE(PumpUntil([&] { return wnd.GetDispPos().x <= start.x - 80; })) << "the timer keeps scrolling";
    EXPECT_EQ((start.x - wnd.GetDispPos().x) % 40, 0);

    mouse.Move(QPoint(-3, 310));
    EXPECT_EQ(wnd.GetAutoMoveStep(), TPoint<int>(-1, 5)) << "halves truncate toward zero";
    mouse.Move(QPoint(200, 150));
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_AUTOMOVE), 0) << "back inside: no scrolling";

    const TPoint<int> before = wnd.GetDispPos();
    mouse.Move(QPoint(400, 150)); // exactly at the width
    EXPECT_EQ(wnd.GetAutoMoveStep(), TPoint<int>(0, 0));
    EXPECT_EQ(wnd.GetDispPos(), before);
    EXPECT_EQ(wnd.IsTimerRunning(CImageWnd::TIMER_AUTOMOVE), 1) << "the timer runs though the step is 0";
    ASSERT_TRUE(PumpUntil([&] { return !wnd.IsTimerRunning(CImageWnd::TIMER_AUTOMOVE); }))
        << "a zero step stops the timer at its first tick";
    EXPECT_EQ(wnd.GetDispPos(), before);
}

TEST_F(Geometry, AutoMoveStopsAtReleaseCaptureLossAndTheEndOfTheScrollRange) {
    Show(4000, 3000);
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    wnd.SetCenterPoint(2000, 1500);
    auto& tool = *tools.emplace_back(std::make_unique<RecordingTool>("T", "auto", 0, log));
    tool.SetAutoMove(1);
    wnd.LoadTool(&tool);
    kel_qt_test::Mouse mouse(wnd);
    const auto running = [&] { return wnd.IsTimerRunning(CImageWnd::TIMER_AUTOMOVE) == 1; };
    const QPoint outside(-200, 150);

    mouse.Press(QPoint(200, 150));
    mouse.Move(outside);
    ASSERT_TRUE(running());
    mouse.Release(outside);
    EXPECT_FALSE(running()) << "a drag that ended outside scrolls on";

    mouse.Press(QPoint(200, 150));
    mouse.Move(outside);
    ASSERT_TRUE(running());
    QFocusEvent focusOut(QEvent::FocusOut, Qt::OtherFocusReason);
    QApplication::sendEvent(&wnd, &focusOut);
    EXPECT_FALSE(running()) << "the capture went and the view still scrolls";

    // At the left end of the range a step changes nothing: the timer stops by itself.
    wnd.SetDispPos(-10000, wnd.GetDispPos().y);
    const TPoint<int> end = wnd.GetDispPos();
    mouse.Move(outside);
    EXPECT_TRUE(PumpUntil([&] { return !running(); })) << "scrolls at the end of the range for ever";
    EXPECT_EQ(wnd.GetDispPos(), end);
}

TEST_F(Geometry, ResizeKeepsTheCentreAndTellsTheTools) {
    Show(4000, 3000);
    Scale(ZOOM_SCALE_1_4);
    wnd.SetCenterPoint(1200, 900);
    auto& tool =
        *tools.emplace_back(std::make_unique<RecordingTool>("T", "resize", Tool::EVENTMASK_WNDRESIZE, log));
    wnd.LoadTool(&tool);
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

TEST_F(Geometry, ZoomChangeIsWalkedAndReportedOnlyWhenItChanges) {
    Show(4000, 3000);
    auto& tool =
        *tools.emplace_back(std::make_unique<RecordingTool>("T", "zoom", Tool::EVENTMASK_ZOOMCHANGED, log));
    wnd.LoadTool(&tool);
    log.Clear();
    Scale(ZOOM_SCALE_1_4);
    EXPECT_EQ(log.Texts(), (Texts{"T.OnZoomChanged", "parent.NM 117"}));
    log.Clear();
    Scale(ZOOM_SCALE_1_4);
    EXPECT_TRUE(log.Texts().empty());
    wnd.SetDispPos(100, 100);
    EXPECT_TRUE(log.Texts().empty());
}

// Refused image records are the pipeline tests' business; here only the zoom they must keep.
TEST_F(Geometry, ZoomSurvivesANewImageAndClear) {
    Show(400, 300);
    Scale(ZOOM_SCALE_3_1);
    CImageDataInfo other;
    ASSERT_TRUE(kel_testing::MakeConstant(other, 640, 480, 3, 1, 7));
    ASSERT_EQ(wnd.SetImage(other), 1);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_SCALE);
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_3_1);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 3.0);
    EXPECT_EQ(wnd.GetImageSize(), TSize<int>(640, 480));
    DISPINFO info;
    EXPECT_EQ(wnd.GetDispInfo(info), 1);
    wnd.Clear(1);
    EXPECT_EQ(wnd.GetDispInfo(info), 0);
    EXPECT_EQ(wnd.GetZoomScale(), ZOOM_SCALE_3_1) << "Clear keeps type and scale";
}

TEST(ImageWndText, ZoomScaleStrings) {
    EXPECT_EQ(CImageWnd::ZoomScaleString(ZOOM_TYPE_NOZOOM, ZOOM_SCALE_1_16), "1:1");
    EXPECT_EQ(CImageWnd::ZoomScaleString(ZOOM_TYPE_SCALE, ZOOM_SCALE_1_16), "1:16");
    EXPECT_EQ(CImageWnd::ZoomScaleString(ZOOM_TYPE_SCALE, ZOOM_SCALE_10_1), "10:1");
    EXPECT_FALSE(CImageWnd::ZoomScaleString(ZOOM_TYPE_FIT, ZOOM_SCALE_2_1).isEmpty());
    EXPECT_NE(CImageWnd::ZoomScaleString(ZOOM_TYPE_FIT, ZOOM_SCALE_2_1),
              CImageWnd::ZoomScaleString(ZOOM_TYPE_FILL, ZOOM_SCALE_2_1));
}
