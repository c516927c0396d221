// Guards the quick-select growth against leaking across borders, stopping short of a patch's edge,
// comparing the wrong property in a compare mode, and writing on bad input.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/RetouchTestUtil.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace ImageProcess;
using namespace retouch_test;

namespace {

// A small square stroke at (x, y).
CSelectedRegion Stroke(int x, int y, int side = 3) {
    CSelectedRegion s;
    s.Create(side, side, 0xFFFF);
    s.x = x;
    s.y = y;
    return s;
}

void PaintRect(CImageDataInfo& img, IntRect r, Level v) {
    for (int y = r.y; y < r.Bottom(); ++y)
        for (int x = r.x; x < r.Right(); ++x)
            Put(img, x, y, v);
}

// Every value of the mask is 0xFFFF inside `expected` and 0 outside.
void ExpectExactly(const CSelectedRegion& m, const CImageDataInfo& img, const IntRect& expected) {
    ASSERT_EQ(m.x, 0);
    ASSERT_EQ(m.y, 0);
    ASSERT_EQ(m.width, img.width);
    ASSERT_EQ(m.height, img.height);
    for (int y = 0; y < m.height; ++y)
        for (int x = 0; x < m.width; ++x)
            ASSERT_EQ(m.Row(y)[x], expected.Contains(x, y) ? 0xFFFF : 0) << x << "," << y;
}

} // namespace

TEST(GrowColorRegion, FillsAFlatPatchToItsEdgeAndNoFurther) {
    const IntRect patch{10, 8, 30, 22};
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4})
            for (auto compare : {COLOR_REGION_LUMINANCE_COLOR, COLOR_REGION_LUMINANCE}) {
                CImageDataInfo img;
                ASSERT_TRUE(Flat(img, 60, 40, channels, depth, Level{40, 90, 200, 255}));
                PaintRect(img, patch, Level{180, 60, 30, 128});
                CSelectedRegion out;
                ASSERT_TRUE(GrowColorRegion(img, Stroke(20, 15), out, compare, 20, true));
                ExpectExactly(out, img, patch);
            }
}

TEST(GrowColorRegion, ContiguousStopsAtABorderWhereGlobalDoesNot) {
    CImageDataInfo img;
    ASSERT_TRUE(Flat(img, 50, 20, 3, 1, Level{20, 30, 40, 0}));
    PaintRect(img, IntRect{2, 2, 10, 10}, Level{200, 150, 100, 0});
    PaintRect(img, IntRect{30, 5, 8, 8}, Level{200, 150, 100, 0});
    CSelectedRegion out;
    ASSERT_TRUE(GrowColorRegion(img, Stroke(4, 4), out, COLOR_REGION_LUMINANCE_COLOR, 10, true));
    EXPECT_EQ(out.Row(6)[6], 0xFFFF);
    EXPECT_EQ(out.Row(8)[33], 0);
    ASSERT_TRUE(GrowColorRegion(img, Stroke(4, 4), out, COLOR_REGION_LUMINANCE_COLOR, 10, false));
    EXPECT_EQ(out.Row(6)[6], 0xFFFF);
    EXPECT_EQ(out.Row(8)[33], 0xFFFF);
    EXPECT_EQ(out.Row(0)[20], 0);
}

TEST(GrowColorRegion, ToleranceWidensTheRange) {
    // Steps of 8 levels in luminance: tolerance 0 keeps the seeded step, 10 (about 13 levels) one more.
    CImageDataInfo img;
    ASSERT_TRUE(img.Create(40, 4, 1, 2));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 40; ++x)
            kel_testing::SetValue(img, x, y, 0, (100 + (x / 10) * 8) * 257);
    CSelectedRegion out;
    ASSERT_TRUE(GrowColorRegion(img, Stroke(2, 0, 2), out, COLOR_REGION_LUMINANCE, 0, true));
    EXPECT_EQ(out.Row(1)[9], 0xFFFF);
    EXPECT_EQ(out.Row(1)[10], 0);
    ASSERT_TRUE(GrowColorRegion(img, Stroke(2, 0, 2), out, COLOR_REGION_LUMINANCE, 10, true));
    EXPECT_EQ(out.Row(1)[19], 0xFFFF);
    EXPECT_EQ(out.Row(1)[20], 0);
}

TEST(GrowColorRegion, LuminanceModeIgnoresHueAtEqualLuma) {
    // Orange and teal of the same luma (within a third of a level) side by side.
    const Level orange{50, 100, 200, 255}, teal{200, 129, 50, 255};
    for (int depth : {1, 2}) {
        CImageDataInfo img;
        ASSERT_TRUE(Flat(img, 40, 10, 3, depth, orange));
        PaintRect(img, IntRect{20, 0, 20, 10}, teal);
        CSelectedRegion out;
        ASSERT_TRUE(GrowColorRegion(img, Stroke(3, 3), out, COLOR_REGION_LUMINANCE, 5, true));
        ExpectExactly(out, img, IntRect{0, 0, 40, 10});
        for (auto compare : {COLOR_REGION_LUMINANCE_COLOR, COLOR_REGION_COLOR}) {
            ASSERT_TRUE(GrowColorRegion(img, Stroke(3, 3), out, compare, 5, true));
            ExpectExactly(out, img, IntRect{0, 0, 20, 10});
        }
    }
}

TEST(GrowColorRegion, ColorModeIgnoresBrightnessAtEqualChroma) {
    // The same colour 40 levels darker in every channel: equal colour differences, other luma.
    const Level bright{50, 100, 200, 255}, dark{10, 60, 160, 255};
    for (int depth : {1, 2}) {
        CImageDataInfo img;
        ASSERT_TRUE(Flat(img, 40, 10, 4, depth, bright));
        PaintRect(img, IntRect{0, 5, 40, 5}, dark);
        CSelectedRegion out;
        ASSERT_TRUE(GrowColorRegion(img, Stroke(3, 1), out, COLOR_REGION_COLOR, 5, true));
        ExpectExactly(out, img, IntRect{0, 0, 40, 10});
        for (auto compare : {COLOR_REGION_LUMINANCE_COLOR, COLOR_REGION_LUMINANCE}) {
            ASSERT_TRUE(GrowColorRegion(img, Stroke(3, 1), out, compare, 5, true));
            ExpectExactly(out, img, IntRect{0, 0, 40, 5});
        }
    }
}

TEST(GrowColorRegion, SeedsAreTheStrongHalfOfTheStroke) {
    // A faint rim of the stroke over the dark side must not pull the dark colour into the range.
    CImageDataInfo img;
    ASSERT_TRUE(Flat(img, 20, 10, 3, 1, Level{30, 20, 10, 0}));
    PaintRect(img, IntRect{10, 0, 10, 10}, Level{220, 210, 200, 0});
    CSelectedRegion stroke;
    ASSERT_TRUE(stroke.Create(6, 6, 1000));
    for (int y = 1; y < 5; ++y)
        for (int x = 3; x < 5; ++x)
            stroke.Row(y)[x] = 60000;
    stroke.x = 8; // the faint part covers x 8..9 (dark), the strong part x 11..12 (bright)
    CSelectedRegion out;
    ASSERT_TRUE(GrowColorRegion(img, stroke, out, COLOR_REGION_LUMINANCE_COLOR, 10, false));
    ExpectExactly(out, img, IntRect{10, 0, 10, 10});
}

TEST(GrowColorRegion, RefusesBadInputAndLeavesTheOutputAlone) {
    CImageDataInfo img;
    ASSERT_TRUE(Flat(img, 10, 10, 3, 1, Level{1, 2, 3, 0}));
    CSelectedRegion out;
    ASSERT_TRUE(out.Create(2, 2, 77));
    const CSelectedRegion before = out;
    EXPECT_FALSE(
        GrowColorRegion(img, Stroke(20, 20), out, COLOR_REGION_LUMINANCE, 10, true)); // off the image
    EXPECT_FALSE(GrowColorRegion(img, Stroke(2, 2), out, COLOR_REGION_LUMINANCE, 101, true));
    EXPECT_FALSE(GrowColorRegion(img, Stroke(2, 2), out, static_cast<COLOR_REGION_COMPARE>(3), 10, true));
    CSelectedRegion empty;
    ASSERT_TRUE(empty.Create(3, 3, 0));
    EXPECT_FALSE(GrowColorRegion(img, empty, out, COLOR_REGION_LUMINANCE, 10, true));
    CImageDataInfo none;
    EXPECT_FALSE(GrowColorRegion(none, Stroke(2, 2), out, COLOR_REGION_LUMINANCE, 10, true));
    ASSERT_EQ(out.width, 2);
    EXPECT_EQ(std::memcmp(out.data.data(), before.data.data(), 8), 0);
}
