// Guards gradient fills against values that do not reach their stops, run backwards along the axis,
// vary across it, or are written on bad input.
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace ImageProcess;

namespace {

uint16_t Level(int opacity) {
    return static_cast<uint16_t>(opacity / 100.0 * 65535 + 0.5);
}

} // namespace

TEST(FillGradientRegion, LinearHitsItsStopsAndFallsMonotonically) {
    CSelectedRegion r;
    ASSERT_TRUE(r.Create(100, 20));
    r.x = 10;
    r.y = 5;
    GRADIENT_PARAMS p;
    p.startX = 30.5; // the centre of column 20 of the region
    p.startY = 0;
    p.dirX = 3; // normalised inside
    p.endDistance = 40;
    p.startOpacity = 90;
    p.endOpacity = 10;
    ASSERT_TRUE(FillGradientRegion(r, p));
    for (int y = 0; y < 20; ++y) {
        EXPECT_EQ(r.Row(y)[0], Level(90));
        EXPECT_EQ(r.Row(y)[20], Level(90));
        EXPECT_EQ(r.Row(y)[60], Level(10));
        EXPECT_EQ(r.Row(y)[99], Level(10));
        for (int x = 0; x + 1 < 100; ++x)
            ASSERT_GE(r.Row(y)[x], r.Row(y)[x + 1]);
        ASSERT_EQ(r.Row(y)[40], r.Row(0)[40]); // constant across the axis
    }
    EXPECT_NEAR(r.Row(3)[40], 0.5 * 65535, 1);
}

TEST(FillGradientRegion, MidStopIsReachedAtItsDistance) {
    CSelectedRegion r;
    ASSERT_TRUE(r.Create(40, 40));
    GRADIENT_PARAMS p;
    p.startX = 0.5;
    p.startY = 0.5;
    p.dirX = 0;
    p.dirY = 1; // downwards
    p.useMid = true;
    p.midDistance = 10;
    p.endDistance = 30;
    p.startOpacity = 0;
    p.midOpacity = 80;
    p.endOpacity = 20;
    ASSERT_TRUE(FillGradientRegion(r, p));
    EXPECT_EQ(r.Row(0)[7], 0);
    EXPECT_EQ(r.Row(10)[7], Level(80));
    EXPECT_EQ(r.Row(30)[7], Level(20));
    for (int y = 0; y < 10; ++y)
        EXPECT_LT(r.Row(y)[3], r.Row(y + 1)[3]);
    for (int y = 10; y < 30; ++y)
        EXPECT_GT(r.Row(y)[3], r.Row(y + 1)[3]);
}

TEST(FillGradientRegion, RadialRisesWithTheEllipticRadius) {
    CSelectedRegion r;
    ASSERT_TRUE(r.Create(61, 61));
    GRADIENT_PARAMS p;
    p.mode = CSelectedRegion::GRADIENT_RADIAL;
    p.startX = 30.5;
    p.startY = 30.5;
    p.endDistance = 20;
    p.aspect = 0.5; // half as wide across the direction (y) as along it (x)
    p.startOpacity = 100;
    p.endOpacity = 0;
    ASSERT_TRUE(FillGradientRegion(r, p));
    EXPECT_EQ(r.Row(30)[30], Level(100));
    EXPECT_EQ(r.Row(30)[50], 0);
    EXPECT_EQ(r.Row(35)[30], r.Row(30)[40]); // 5 across = 10 along
    EXPECT_GT(r.Row(35)[30], 0);
    EXPECT_EQ(r.Row(0)[0], 0); // outside the ellipse
    for (int d = 0; d < 25; ++d)
        EXPECT_GE(r.Row(30)[30 + d], r.Row(30)[31 + d]) << d;
    EXPECT_EQ(r.Row(30)[20], r.Row(30)[40]); // symmetric
}

TEST(FillGradientRegion, OpacityScalesAndBadInputIsRefused) {
    CSelectedRegion r;
    ASSERT_TRUE(r.Create(10, 3));
    GRADIENT_PARAMS p;
    p.startX = 0.5;
    p.endDistance = 9;
    p.opacity = 50;
    ASSERT_TRUE(FillGradientRegion(r, p));
    EXPECT_EQ(r.Row(1)[0], Level(50));
    EXPECT_EQ(r.Row(1)[9], 0);
    const CSelectedRegion before = r;
    GRADIENT_PARAMS bad = p;
    bad.dirX = bad.dirY = 0;
    EXPECT_FALSE(FillGradientRegion(r, bad));
    bad = p;
    bad.endDistance = 0;
    EXPECT_FALSE(FillGradientRegion(r, bad));
    bad = p;
    bad.useMid = true;
    bad.midDistance = 10;
    EXPECT_FALSE(FillGradientRegion(r, bad));
    bad = p;
    bad.startOpacity = 101;
    EXPECT_FALSE(FillGradientRegion(r, bad));
    bad = p;
    bad.startX = NAN;
    EXPECT_FALSE(FillGradientRegion(r, bad));
    CSelectedRegion empty;
    EXPECT_FALSE(FillGradientRegion(empty, p));
    EXPECT_EQ(std::memcmp(r.data.data(), before.data.data(), 60), 0);
}
