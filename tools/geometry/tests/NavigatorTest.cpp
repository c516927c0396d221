// Guards against the default pan and zoom tool zooming the wrong way, scrolling with the wheel,
// panning against the pointer, or ignoring its modifier keys.
#include "common/testing/TestImages.h"
#include "imagewnd/CImageWnd.h"
#include "tools/geometry/CNavigator.h"
#include "ui/tests/QtTestSupport.h"

#include <gtest/gtest.h>

using namespace KELCTRL;
using kel_qt_test::Mouse;
using kel_qt_test::SendKey;
using KELCTRL::IMGWND_TOOL::CNavigator;

namespace {

class NavigatorTest : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        parent.Create(nullptr, QRect(0, 0, 900, 700), 0);
        wnd.Create(&parent, QRect(0, 0, 800, 600), 1001);
        ASSERT_TRUE(kel_testing::MakeGradient(image, 4000, 3000, 3, 1));
        ASSERT_EQ(wnd.SetImage(image), 1);
        wnd.LoadTool(&nav);
    }
    void TearDown() override { wnd.UnloadAllTools(); }

    // The image point under a window point.
    QPointF ImageAt(QPoint p) const {
        TPoint<double> out;
        wnd.PointWnd2Image(p.x(), p.y(), out);
        return QPointF(out.x, out.y);
    }

    // The image outlives the window that shows it.
    CImageDataInfo image;
    CBaseWnd parent;
    CImageWnd wnd;
    CNavigator nav;
};

} // namespace

TEST_F(NavigatorTest, ClickTogglesFitAndOneToOneAtThePoint) {
    ASSERT_EQ(wnd.GetZoomType(), ZOOM_TYPE_FIT);
    EXPECT_TRUE(nav.ClickZoomsIn());
    const QPoint at(600, 150);
    const QPointF before = ImageAt(at);
    Mouse m(wnd);
    m.Press(at);
    m.Release(at);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 1.0);
    const QPointF after = ImageAt(at);
    EXPECT_NEAR(after.x(), before.x(), 1.0); // the clicked image point stays under the pointer
    EXPECT_NEAR(after.y(), before.y(), 1.0);
    EXPECT_FALSE(nav.ClickZoomsIn());
    m.Press(at);
    m.Release(at);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_FIT);
}

TEST_F(NavigatorTest, CtrlAndShiftClicksChooseOneToOneAndTheFixedZoom) {
    Mouse m(wnd);
    nav.SetFixedScale(ZOOM_SCALE_3_1);
    m.Press({100, 100}, Qt::LeftButton, Qt::ShiftModifier);
    m.Release({100, 100}, Qt::LeftButton, Qt::ShiftModifier);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_SCALE);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 3.0);
    m.Press({100, 100}, Qt::LeftButton, Qt::ControlModifier);
    m.Release({100, 100}, Qt::LeftButton, Qt::ControlModifier);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM);
}

TEST_F(NavigatorTest, WheelScrollsAgainstTheDeltaAndZoomsWithCtrl) {
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    Mouse m(wnd);
    const TPoint<int> start = wnd.GetDispPos();
    m.Wheel({400, 300}, -120); // roll back: the view moves down by one step
    EXPECT_EQ(wnd.GetDispPos().y, start.y + CNavigator::kStep);
    EXPECT_EQ(wnd.GetDispPos().x, start.x);
    m.Wheel({400, 300}, -240, Qt::ShiftModifier); // sideways, two notches
    EXPECT_EQ(wnd.GetDispPos().x, start.x + 2 * CNavigator::kStep);

    m.Wheel({400, 300}, 120, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 2.0); // the next step above one to one
    m.Wheel({400, 300}, -120, Qt::ControlModifier);
    m.Wheel({400, 300}, -120, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 0.5);
}

TEST_F(NavigatorTest, CtrlWheelZoomsOneStepPerNotchOfAccumulatedDelta) {
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    Mouse m(wnd);
    // A touchpad sends a notch in small parts.
    for (int i = 0; i < 3; ++i)
        m.Wheel({400, 300}, 30, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 1.0);
    m.Wheel({400, 300}, 30, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 2.0);
    m.Wheel({400, 300}, -60, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 2.0);
    m.Wheel({400, 300}, -60, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 1.0);
    // Two notches at once are two steps.
    m.Wheel({400, 300}, -240, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 1.0 / 3);
}

TEST_F(NavigatorTest, DragMovesTheImageWithThePointer) {
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    Mouse m(wnd);
    const QPointF grabbed = ImageAt({400, 300});
    m.Press({400, 300});
    m.Move({380, 290});
    m.Move({340, 260});
    m.Release({340, 260});
    // The image point that was under the pointer went along with it.
    const QPointF now = ImageAt({340, 260});
    EXPECT_NEAR(now.x(), grabbed.x(), 1.0);
    EXPECT_NEAR(now.y(), grabbed.y(), 1.0);
    EXPECT_EQ(wnd.GetZoomType(), ZOOM_TYPE_NOZOOM); // a drag is no click
}

TEST_F(NavigatorTest, KeysZoomAndMove) {
    wnd.SetZoom(ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    const TPoint<int> start = wnd.GetDispPos();
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Right);
    EXPECT_EQ(wnd.GetDispPos().x, start.x + CNavigator::kStep);
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Up);
    EXPECT_EQ(wnd.GetDispPos().y, start.y - CNavigator::kStep);
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Plus, Qt::KeypadModifier);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 2.0);
    SendKey(wnd, QEvent::KeyPress, Qt::Key_Minus);
    EXPECT_DOUBLE_EQ(wnd.GetZoomValue(), 1.0);
}

TEST_F(NavigatorTest, AtFitTheViewDoesNotScroll) {
    const TPoint<int> start = wnd.GetDispPos();
    Mouse m(wnd);
    m.Wheel({400, 300}, -120);
    EXPECT_EQ(wnd.GetDispPos().y, start.y); // SetDispPos is refused at fit
}
