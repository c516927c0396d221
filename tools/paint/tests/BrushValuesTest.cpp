// Guards the brush record's ranges and order, the size scale and the screen-to-image conversion.
#include "tools/paint/BrushSizeScale.h"
#include "tools/paint/CBrush.h"
#include "tools/paint/CViewGeometry.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace KELCTRL::IMGWND_TOOL;

TEST(BrushRecord, DefaultsConstructorOrderRangesAndEquality) {
    const CBrush d;
    EXPECT_EQ(d.size, 20);
    EXPECT_EQ(d.feather, 100);
    EXPECT_EQ(d.flow, 100);
    EXPECT_EQ(d.opacity, 100);
    EXPECT_EQ(d.autoMask, 0);
    EXPECT_EQ(d.mode, CBrush::MODE_PAINT);
    EXPECT_TRUE(d.IsValid());

    // The four values come as size, feather, opacity, flow.
    const CBrush b(30, 40, 50, 60);
    EXPECT_EQ(b.size, 30);
    EXPECT_EQ(b.feather, 40);
    EXPECT_EQ(b.opacity, 50);
    EXPECT_EQ(b.flow, 60);
    EXPECT_NO_THROW(CBrush(1, 0, 1, 1));
    EXPECT_NO_THROW(CBrush(100, 100, 100, 100));
    EXPECT_THROW(CBrush(0, 50, 50, 50), std::out_of_range);
    EXPECT_THROW(CBrush(101, 50, 50, 50), std::out_of_range);
    EXPECT_THROW(CBrush(50, -1, 50, 50), std::out_of_range);
    EXPECT_THROW(CBrush(50, 101, 50, 50), std::out_of_range);
    EXPECT_THROW(CBrush(50, 50, 0, 50), std::out_of_range);
    EXPECT_THROW(CBrush(50, 50, 101, 50), std::out_of_range);
    EXPECT_THROW(CBrush(50, 50, 50, 0), std::out_of_range);
    EXPECT_THROW(CBrush(50, 50, 50, 101), std::out_of_range);

    CBrush c = b;
    EXPECT_TRUE(c == b);
    c.autoMask = 1;
    EXPECT_FALSE(c == b);
    c = b;
    c.mode = CBrush::MODE_ERASE;
    EXPECT_FALSE(c == b);
    EXPECT_TRUE(c.IsValid());
    c.mode = 2;
    EXPECT_FALSE(c.IsValid());
    c = b;
    c.flow = 0;
    EXPECT_FALSE(c.IsValid());
}

TEST(BrushSizeScale, LowerHalfToTwentyPercentUpperHalfToAll) {
    EXPECT_DOUBLE_EQ(BrushSizeFraction(1), 0.004);
    EXPECT_DOUBLE_EQ(BrushSizeFraction(25), 0.1);
    EXPECT_DOUBLE_EQ(BrushSizeFraction(50), 0.2);
    EXPECT_NEAR(BrushSizeFraction(51), 0.216, 1e-12);
    EXPECT_DOUBLE_EQ(BrushSizeFraction(100), 1.0);
    for (int s = 2; s <= 100; ++s)
        ASSERT_GT(BrushSizeFraction(s), BrushSizeFraction(s - 1));

    EXPECT_DOUBLE_EQ(MaxBrushRadius(1920, 1080), 135.0);
    const BRUSH_RADII r = CalcBrushRadii(100, 100, 0.5, 135.0);
    EXPECT_DOUBLE_EQ(r.displayInner, 135.0);
    EXPECT_DOUBLE_EQ(r.displayOuter, 270.0);
    EXPECT_DOUBLE_EQ(r.imageInner, 270.0);
    EXPECT_DOUBLE_EQ(r.imageOuter, 540.0);
    const BRUSH_RADII h = CalcBrushRadii(50, 0, 2.0, 100.0);
    EXPECT_DOUBLE_EQ(h.displayInner, 20.0);
    EXPECT_DOUBLE_EQ(h.displayOuter, 20.0); // feather 0: no soft edge
    EXPECT_DOUBLE_EQ(h.imageOuter, 10.0);
    // A broken zoom must not give infinite radii.
    EXPECT_DOUBLE_EQ(CalcBrushRadii(50, 0, 0.0, 100.0).imageInner, 20.0);
}

TEST(ViewGeometry, ScreenToImageFloorsAndSnapshotsCopy) {
    VIEW_GEOMETRY g;
    g.globalOrigin = {100, 50};
    g.drawPos = {10, 20};
    g.srcX = 5;
    g.srcY = 7;
    g.zoom = 2.0;
    EXPECT_EQ(g.ScreenToImage({113, 75}), TPoint<int>(6, 9));
    EXPECT_EQ(g.ScreenToImage({109, 69}),
              TPoint<int>(4, 6)); // left of the image start: floor, not truncation
    g.srcX = g.srcY = 0;
    g.zoom = 1.0;
    EXPECT_EQ(g.ScreenToImage({109, 69}), TPoint<int>(-1, -1));
    g.zoom = 0.25;
    EXPECT_EQ(g.ImageToZoomed({6, 10}), TPoint<int>(2, 3)); // 1.5 rounds up, 2.5 rounds up
    g.srcX = 1.5;
    g.srcWidth = 10.2;
    g.srcY = 0;
    g.srcHeight = 4;
    EXPECT_EQ(g.VisibleRect(0), (IntRect{1, 0, 11, 4}));
    g.zoom = 0.5;
    EXPECT_EQ(g.VisibleRect(1), (IntRect{0, 0, 6, 2})); // 0.75 .. 5.85 outwards

    CViewGeometry shared;
    shared.Publish(g);
    EXPECT_DOUBLE_EQ(shared.Get().srcWidth, 10.2);
}
