// Guards the zoom arithmetic: a wrong rung on either ladder, a fit that enlarges, a fill with a
// margin, or a display scale that lets one side overflow.
#include "imagewnd/ZoomMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace KELCTRL;
using namespace KELCTRL::ZoomMath;

namespace {

ZoomTarget S(int scale) {
    return ZoomTarget{true, ZOOM_TYPE_SCALE, static_cast<ZOOM_SCALE>(scale)};
}
ZoomTarget T(ZOOM_TYPE type) {
    return ZoomTarget{true, type, ZOOM_SCALE_2_1};
}
double ValueOf(const ZoomTarget& t) {
    return t.type == ZOOM_TYPE_NOZOOM ? 1.0 : ScaleFactor(t.scale);
}

} // namespace

TEST(ZoomMath, ScaleTableAndTexts) {
    EXPECT_DOUBLE_EQ(ScaleFactor(0), 1.0 / 16);
    EXPECT_DOUBLE_EQ(ScaleFactor(6), 0.5);
    EXPECT_DOUBLE_EQ(ScaleFactor(7), 2.0);
    EXPECT_DOUBLE_EQ(ScaleFactor(12), 10.0);
    EXPECT_DOUBLE_EQ(ScaleFactor(13), 10.0) << "anything else counts as 10";
    EXPECT_DOUBLE_EQ(ScaleFactor(-1), 10.0);
    EXPECT_STREQ(ScaleText(0), "1:16");
    EXPECT_STREQ(ScaleText(5), "1:3");
    EXPECT_STREQ(ScaleText(10), "6:1");
    for (int s = 1; s < ZOOM_SCALE_COUNT; ++s)
        EXPECT_LT(ScaleFactor(s - 1), ScaleFactor(s));
}

TEST(ZoomMath, FitNeverEnlargesAndFillHasNoMargin) {
    EXPECT_DOUBLE_EQ(FitFactor(1000, 1000, 100, 100, 10), 1.0);
    EXPECT_DOUBLE_EQ(FitFactor(820, 620, 4000, 3000, 10), 0.2);
    EXPECT_DOUBLE_EQ(FitFactor(720, 1000, 1000, 100, 10), 0.7);
    EXPECT_DOUBLE_EQ(FitFactor(5, 5, 100, 100, 10), 0.01) << "the room is at least one pixel";
    EXPECT_DOUBLE_EQ(FillFactor(800, 300, 4000, 3000), 0.2) << "the larger ratio, no margin";
    EXPECT_DOUBLE_EQ(FillFactor(8000, 300, 4000, 3000), 1.0);
    EXPECT_EQ(DpiMargin(96), 10);
    EXPECT_EQ(DpiMargin(120), 12);
    EXPECT_EQ(DpiMargin(144), 15);
    EXPECT_EQ(DpiMargin(100), 10); // 10.4 truncated
}

TEST(ZoomMath, ZoomInLadderStepForStep) {
    // From the smallest scale up: every scale, one to one between 1:2 and 2:1, nothing above 10:1.
    std::vector<ZoomTarget> expected;
    for (int s = 1; s <= 6; ++s)
        expected.push_back(S(s));
    expected.push_back(T(ZOOM_TYPE_NOZOOM));
    for (int s = 7; s <= 12; ++s)
        expected.push_back(S(s));
    ZoomTarget at = S(0);
    for (const ZoomTarget& want : expected) {
        at = ZoomInStep(at.type, at.scale, ValueOf(at), 0.05, 0.05);
        ASSERT_EQ(at, want) << "stepping in from " << ValueOf(at);
    }
    EXPECT_FALSE(ZoomInStep(ZOOM_TYPE_SCALE, ZOOM_SCALE_10_1, 10.0, 0.05, 0.05).change);
    EXPECT_FALSE(ZoomInStep(ZOOM_TYPE_SCALE, static_cast<ZOOM_SCALE>(13), 10.0, 0.05, 0.05).change);
    EXPECT_EQ(ZoomInStep(ZOOM_TYPE_SCALE, ZOOM_SCALE_8_1, 8.0, 0.05, 0.05), S(12)) << "from 8 to 10:1";
    EXPECT_EQ(ZoomInStep(ZOOM_TYPE_FILL, ZOOM_SCALE_2_1, 0.7, 0.68, 0.7), T(ZOOM_TYPE_NOZOOM))
        << "from 0.7 to one to one, not 2:1";
    EXPECT_EQ(ZoomInStep(ZOOM_TYPE_FIT, ZOOM_SCALE_2_1, 0.1, 0.1, 0.12), T(ZOOM_TYPE_FILL))
        << "fit goes to fill first";
    EXPECT_EQ(ZoomInStep(ZOOM_TYPE_FIT, ZOOM_SCALE_2_1, 0.1, 0.1, 0.1), S(2)) << "unless fill is no larger";
    EXPECT_EQ(ZoomInStep(ZOOM_TYPE_FIT, ZOOM_SCALE_2_1, 0.02, 0.02, 0.03), T(ZOOM_TYPE_FILL));
    EXPECT_EQ(ZoomInStep(ZOOM_TYPE_FILL, ZOOM_SCALE_2_1, 0.02, 0.01, 0.02), S(0));
    EXPECT_EQ(ZoomInStep(ZOOM_TYPE_SCALE, ZOOM_SCALE_1_3, 1.0 / 3, 0.1, 0.1), S(6))
        << "strictly below the next rung";
}

TEST(ZoomMath, ZoomOutLadderStepForStep) {
    std::vector<ZoomTarget> expected;
    for (int s = 11; s >= 7; --s)
        expected.push_back(S(s));
    expected.push_back(T(ZOOM_TYPE_NOZOOM));
    for (int s = 6; s >= 0; --s)
        expected.push_back(S(s));
    ZoomTarget at = S(12);
    for (const ZoomTarget& want : expected) {
        at = ZoomOutStep(at.type, ValueOf(at), 0.01, 0.02);
        ASSERT_EQ(at, want);
    }
    // At or below 1:16 only the window's own factors remain: fill, then fit, then nothing.
    EXPECT_EQ(ZoomOutStep(ZOOM_TYPE_SCALE, 1.0 / 16, 0.01, 0.02), T(ZOOM_TYPE_FILL));
    EXPECT_EQ(ZoomOutStep(ZOOM_TYPE_FILL, 0.02, 0.01, 0.02), T(ZOOM_TYPE_FIT)) << "fill with fit below it";
    EXPECT_FALSE(ZoomOutStep(ZOOM_TYPE_FIT, 0.01, 0.01, 0.02).change);
    EXPECT_EQ(ZoomOutStep(ZOOM_TYPE_SCALE, 1.0 / 16, 0.07, 0.08).change, false)
        << "fit and fill above the value are no steps out";
    EXPECT_EQ(ZoomOutStep(ZOOM_TYPE_NOZOOM, 1.0, 0.5, 0.6), S(6)) << "from one to one to 1:2";
    EXPECT_EQ(ZoomOutStep(ZOOM_TYPE_FIT, 0.7, 0.7, 0.72), S(6));
    EXPECT_EQ(ZoomOutStep(ZOOM_TYPE_FILL, 0.72, 0.7, 0.72), T(ZOOM_TYPE_FIT));
    EXPECT_EQ(ZoomOutStep(ZOOM_TYPE_FILL, 0.72, 0.72, 0.72), S(6)) << "fill equal to fit steps on the ladder";
}

TEST(ZoomMath, DisplayRectChoosesTheLargestStepWhereBothSidesFit) {
    EXPECT_EQ(DisplayRectZoom(400, 300, 400, 300), T(ZOOM_TYPE_NOZOOM));
    EXPECT_EQ(DisplayRectZoom(200, 150, 400, 300), S(7));
    EXPECT_EQ(DisplayRectZoom(201, 150, 400, 300), T(ZOOM_TYPE_NOZOOM)) << "2:1 would overflow the width";
    EXPECT_EQ(DisplayRectZoom(40, 30, 400, 300), S(12));
    EXPECT_EQ(DisplayRectZoom(800, 600, 400, 300), S(6));
    EXPECT_EQ(DisplayRectZoom(800, 10, 400, 300), S(6)) << "the smaller scale of the two sides wins";
    EXPECT_EQ(DisplayRectZoom(10, 1200, 400, 300), S(4));
    EXPECT_EQ(DisplayRectZoom(4000, 3000, 400, 300), S(1));
    EXPECT_EQ(DisplayRectZoom(4000, 3000, 300, 300), S(0));
    EXPECT_EQ(DisplayRectZoom(4000, 3000, 21, 21), S(1)) << "nothing fits: 1:10";
    // Property: the chosen factor fits both sides, and the next rung up does not fit one of them.
    for (int w = 1; w < 3000; w += 97) {
        for (int h = 1; h < 3000; h += 89) {
            const ZoomTarget t = DisplayRectZoom(w, h, 400, 300);
            const double f = ValueOf(t);
            if (std::ceil(w / 10.0) <= 400 && std::ceil(h / 10.0) <= 300) {
                EXPECT_LE(std::ceil(w * f), 400) << w << "x" << h;
                EXPECT_LE(std::ceil(h * f), 300) << w << "x" << h;
            }
        }
    }
}
