// Guards polygon masks against lost or doubled edge coverage, misplacement and bad clipping, and the
// mask combination against modes that do not undo each other, writes outside the selection and
// feathering that loses coverage.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/RetouchTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

using namespace ImageProcess;
using retouch_test::Rng;

namespace {

using Pt = TPoint<double>;

double Sum(const CSelectedRegion& r) {
    double s = 0;
    for (int i = 0; i < r.width * r.height; ++i)
        s += r.Values()[i] / 65535.0;
    return s;
}

double ShoelaceArea(const std::vector<Pt>& p) {
    double a = 0;
    for (size_t i = 0; i < p.size(); ++i) {
        const Pt& u = p[i];
        const Pt& v = p[(i + 1) % p.size()];
        a += u.x * v.y - v.x * u.y;
    }
    return std::fabs(a) / 2;
}

bool Same(const CSelectedRegion& a, const CSelectedRegion& b) {
    return a.Rect() == b.Rect() &&
           std::memcmp(a.data.data(), b.data.data(), static_cast<size_t>(a.width) * a.height * 2) == 0;
}

} // namespace

TEST(PolygonToRegion, ARectangleGivesExactlyTheRectangle) {
    for (bool reversed : {false, true}) {
        std::vector<Pt> pts{{3, 2}, {13, 2}, {13, 9}, {3, 9}};
        if (reversed)
            std::reverse(pts.begin(), pts.end());
        CSelectedRegion r;
        ASSERT_TRUE(PolygonToRegion(pts.data(), pts.size(), r));
        EXPECT_EQ(r.Rect(), (IntRect{3, 2, 10, 7}));
        for (int i = 0; i < r.width * r.height; ++i)
            ASSERT_EQ(r.Values()[i], 0xFFFF) << i;
    }
}

TEST(PolygonToRegion, ClipsToTheGivenRectangle) {
    const std::vector<Pt> pts{{-5, -4}, {8, -4}, {8, 6}, {-5, 6}};
    const IntRect image{0, 0, 6, 20};
    CSelectedRegion r;
    ASSERT_TRUE(PolygonToRegion(pts.data(), pts.size(), r, &image));
    EXPECT_EQ(r.Rect(), (IntRect{0, 0, 6, 6}));
    for (int i = 0; i < r.width * r.height; ++i)
        ASSERT_EQ(r.Values()[i], 0xFFFF) << i;
    const IntRect far{100, 100, 5, 5};
    EXPECT_FALSE(PolygonToRegion(pts.data(), pts.size(), r, &far));
    EXPECT_EQ(r.Rect(), (IntRect{0, 0, 6, 6}));
}

TEST(PolygonToRegion, EdgePixelsHoldTheirCoveredFraction) {
    // Left edge at x = 3.25 and a diagonal through pixel centres along the top.
    const std::vector<Pt> pts{{3.25, 2}, {10, 2}, {10, 6}, {3.25, 6}};
    CSelectedRegion r;
    ASSERT_TRUE(PolygonToRegion(pts.data(), pts.size(), r));
    EXPECT_EQ(r.x, 3);
    EXPECT_NEAR(r.Row(1)[0], 0.75 * 65535, 2);
    EXPECT_EQ(r.Row(1)[1], 0xFFFF);
    const std::vector<Pt> tri{{0, 0}, {4, 0}, {0, 4}};
    ASSERT_TRUE(PolygonToRegion(tri.data(), tri.size(), r));
    EXPECT_NEAR(r.Row(0)[3], 0.5 * 65535, 2); // the diagonal halves the pixel
    EXPECT_EQ(r.Row(3)[3], 0);
}

TEST(PolygonToRegion, CoverageSumsToTheAreaOfRandomConvexPolygons) {
    Rng rng{7};
    for (int n = 0; n < 40; ++n) {
        const double cx = rng.Unit() * 40 - 10, cy = rng.Unit() * 40 - 10, rad = 0.3 + rng.Unit() * 25;
        const int count = rng.Range(3, 12);
        std::vector<double> angles;
        for (int i = 0; i < count; ++i)
            angles.push_back(rng.Unit() * 6.283185307179586);
        std::sort(angles.begin(), angles.end());
        std::vector<Pt> pts;
        for (double a : angles)
            pts.emplace_back(cx + rad * std::cos(a), cy + rad * std::sin(a));
        CSelectedRegion r;
        if (ShoelaceArea(pts) < 1e-6)
            continue;
        ASSERT_TRUE(PolygonToRegion(pts.data(), pts.size(), r));
        EXPECT_NEAR(Sum(r), ShoelaceArea(pts), 1e-3 * ShoelaceArea(pts) + 0.01) << n;
    }
}

TEST(PolygonToRegion, RefusesDegenerateInput) {
    CSelectedRegion r;
    ASSERT_TRUE(r.Create(2, 2, 5));
    const std::vector<Pt> two{{0, 0}, {5, 5}};
    EXPECT_FALSE(PolygonToRegion(two.data(), two.size(), r));
    const std::vector<Pt> bad{{0, 0}, {NAN, 5}, {5, 0}};
    EXPECT_FALSE(PolygonToRegion(bad.data(), bad.size(), r));
    const std::vector<Pt> line{{0, 0}, {5, 0}, {9, 0}};
    EXPECT_FALSE(PolygonToRegion(line.data(), line.size(), r));
    EXPECT_FALSE(PolygonToRegion(nullptr, 3, r));
    EXPECT_EQ(r.Rect(), (IntRect{0, 0, 2, 2}));
    EXPECT_EQ(r.Values()[3], 5);
}

TEST(CombineRegions, AddThenSubtractOfTheSamePolygonRestoresTheMask) {
    // A selection that overlaps the polygon but never saturates the sum.
    CSelectedRegion sel;
    ASSERT_TRUE(sel.Create(60, 50));
    sel.x = -5;
    sel.y = 3;
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < 60; ++x)
            sel.Row(y)[x] = static_cast<uint16_t>((x * 531 + y * 217) % 32000);
    const CSelectedRegion initial = sel;
    const std::vector<Pt> star{{10, 5}, {40.5, 12.25}, {25, 30}, {52, 48}, {3.7, 40}};
    CSelectedRegion shape;
    ASSERT_TRUE(PolygonToRegion(star.data(), star.size(), shape));
    for (double feather : {0.0, 5.0})
        for (int opacity : {50, 45}) {
            ASSERT_TRUE(CombineRegions(sel, shape, REGION_ADD, opacity, feather));
            EXPECT_FALSE(Same(sel, initial));
            ASSERT_TRUE(CombineRegions(sel, shape, REGION_SUBTRACT, opacity, feather));
            EXPECT_TRUE(Same(sel, initial)) << feather << " " << opacity;
        }
}

TEST(CombineRegions, FullOpacityAddThenSubtractRestoresAMaskBesideThePolygon) {
    CSelectedRegion sel;
    ASSERT_TRUE(sel.Create(50, 40, 0));
    for (int y = 30; y < 40; ++y)
        for (int x = 35; x < 50; ++x)
            sel.Row(y)[x] = static_cast<uint16_t>(1000 + x * y * 20);
    const CSelectedRegion initial = sel;
    const std::vector<Pt> tri{{2.5, 1}, {30.25, 4.5}, {12, 25.75}};
    CSelectedRegion shape;
    ASSERT_TRUE(PolygonToRegion(tri.data(), tri.size(), shape));
    for (double feather : {0.0, 4.0}) {
        ASSERT_TRUE(CombineRegions(sel, shape, REGION_ADD, 100, feather));
        EXPECT_GT(sel.Row(10)[14], 60000);
        ASSERT_TRUE(CombineRegions(sel, shape, REGION_SUBTRACT, 100, feather));
        EXPECT_TRUE(Same(sel, initial)) << feather;
    }
}

TEST(CombineRegions, IntersectKeepsOnlyTheSharedPart) {
    CSelectedRegion sel;
    ASSERT_TRUE(sel.Create(30, 30, 40000));
    const std::vector<Pt> rect{{5, 5}, {15, 5}, {15, 12}, {5, 12}};
    CSelectedRegion shape;
    ASSERT_TRUE(PolygonToRegion(rect.data(), rect.size(), shape));
    ASSERT_TRUE(CombineRegions(sel, shape, REGION_INTERSECT, 100, 0));
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 30; ++x)
            ASSERT_EQ(sel.Row(y)[x], (x >= 5 && x < 15 && y >= 5 && y < 12) ? 40000 : 0) << x << "," << y;
}

TEST(CombineRegions, FeatherSpreadsTheEdgeButKeepsTheCoverage) {
    const std::vector<Pt> rect{{20, 20}, {40, 20}, {40, 35}, {20, 35}};
    CSelectedRegion shape, hard, soft;
    ASSERT_TRUE(PolygonToRegion(rect.data(), rect.size(), shape));
    ASSERT_TRUE(hard.Create(60, 60, 0));
    soft = hard;
    ASSERT_TRUE(CombineRegions(hard, shape, REGION_ADD, 100, 0));
    ASSERT_TRUE(CombineRegions(soft, shape, REGION_ADD, 100, 6));
    EXPECT_NEAR(Sum(soft), Sum(hard), 0.01 * Sum(hard));
    EXPECT_GT(soft.Row(27)[18], 0);      // outside the hard edge
    EXPECT_LT(soft.Row(27)[21], 0xFFFF); // inside it
    for (int x = 10; x < 30; ++x)        // rising across the left edge
        EXPECT_LE(soft.Row(27)[x], soft.Row(27)[x + 1]) << x;
}

TEST(CombineRegions, TouchesNothingOutsideTheSelectionAndRefusesBadInput) {
    CSelectedRegion sel, shape;
    ASSERT_TRUE(sel.Create(10, 10, 100));
    ASSERT_TRUE(shape.Create(50, 50, 0xFFFF));
    shape.x = -20;
    ASSERT_TRUE(CombineRegions(sel, shape, REGION_ADD, 100, 3));
    EXPECT_EQ(sel.Rect(), (IntRect{0, 0, 10, 10}));
    EXPECT_EQ(sel.Row(5)[5], 0xFFFF);
    const CSelectedRegion before = sel;
    EXPECT_FALSE(CombineRegions(sel, shape, REGION_ADD, 0, 0));
    EXPECT_FALSE(CombineRegions(sel, shape, REGION_ADD, 101, 0));
    EXPECT_FALSE(CombineRegions(sel, shape, REGION_ADD, 50, -1));
    EXPECT_FALSE(CombineRegions(sel, shape, REGION_ADD, 50, NAN));
    EXPECT_FALSE(CombineRegions(sel, shape, static_cast<REGION_COMBINE>(5), 50, 0));
    CSelectedRegion empty;
    EXPECT_FALSE(CombineRegions(sel, empty, REGION_ADD, 50, 0));
    EXPECT_TRUE(Same(sel, before));
}
