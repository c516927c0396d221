// Guards the feed of a stroke: global positions of every move and the left release reach the
// tracker only while the filter is on, and Qt's move compression is off exactly then.
#include "common/MouseTracker.h"
#include "tools/paint/CStrokeInputFilter.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>
#include <gtest/gtest.h>

using namespace KELCTRL::IMGWND_TOOL;

namespace {

void SendMouse(QWidget& w, QEvent::Type type, QPoint local, QPoint global, Qt::MouseButton button) {
    QMouseEvent e(type, QPointF(local), QPointF(local), QPointF(global), button,
                  type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&w, &e);
}

} // namespace

TEST(StrokeInputFilter, FeedsGlobalMovesAndTheReleaseWhileOn) {
    GS_INPUT::MouseTracker tracker;
    ASSERT_TRUE(tracker.Run());
    QWidget widget;
    widget.resize(100, 100);
    const bool compressionBefore = QCoreApplication::testAttribute(Qt::AA_CompressHighFrequencyEvents);
    QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, true);
    CStrokeInputFilter filter(tracker);

    SendMouse(widget, QEvent::MouseMove, {1, 1}, {501, 301}, Qt::NoButton); // before the stroke: ignored
    tracker.Start(500, 300, 0);
    filter.Begin();
    EXPECT_TRUE(filter.IsActive());
    EXPECT_FALSE(QCoreApplication::testAttribute(Qt::AA_CompressHighFrequencyEvents));
    SendMouse(widget, QEvent::MouseMove, {5, 6}, {505, 306}, Qt::NoButton);
    SendMouse(widget, QEvent::MouseMove, {-50, 6}, {450, 306}, Qt::NoButton); // outside the widget
    SendMouse(widget, QEvent::MouseButtonRelease, {-50, 6}, {450, 306}, Qt::RightButton); // not ours
    EXPECT_TRUE(tracker.IsTracking());
    SendMouse(widget, QEvent::MouseButtonRelease, {-50, 6}, {450, 306}, Qt::LeftButton);
    ASSERT_EQ(tracker.StopSignal().wait(10000), 0);
    filter.End();
    EXPECT_FALSE(filter.IsActive());
    EXPECT_TRUE(QCoreApplication::testAttribute(Qt::AA_CompressHighFrequencyEvents));

    std::vector<TPoint<int>> pts;
    tracker.TakePoints(pts);
    ASSERT_EQ(pts.size(), 3u);
    EXPECT_EQ(pts[0], TPoint<int>(500, 300));
    EXPECT_EQ(pts[1], TPoint<int>(505, 306));
    EXPECT_EQ(pts[2], TPoint<int>(450, 306));

    // Off again: moves no longer reach the tracker.
    tracker.Start(0, 0, 0);
    SendMouse(widget, QEvent::MouseMove, {7, 7}, {9, 9}, Qt::NoButton);
    tracker.StopTracking();
    pts.clear();
    tracker.TakePoints(pts);
    EXPECT_EQ(pts.size(), 1u);
    QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, compressionBefore);
}
