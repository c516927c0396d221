// Guards the stroke's line walk against endless loops, diagonal jumps and missed end points.
#include "imageprocess/BrushPaint.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>

using ImageProcess::AppendBrushLine;

namespace {

void CheckPath(TPoint<int> a, TPoint<int> b) {
    std::vector<TPoint<int>> path;
    AppendBrushLine(a, b, path);
    const long dx = std::labs(long(b.x) - a.x), dy = std::labs(long(b.y) - a.y);
    // Monotone and 4-connected: exactly one pixel per unit step on either axis, plus the start.
    ASSERT_EQ(static_cast<long>(path.size()), dx + dy + 1)
        << a.x << "," << a.y << " -> " << b.x << "," << b.y;
    ASSERT_EQ(path.front(), a);
    ASSERT_EQ(path.back(), b);
    const double len = std::hypot(double(b.x - a.x), double(b.y - a.y));
    for (size_t i = 0; i < path.size(); ++i) {
        if (i > 0) {
            const int sx = std::abs(path[i].x - path[i - 1].x), sy = std::abs(path[i].y - path[i - 1].y);
            ASSERT_EQ(sx + sy, 1) << "jump at " << i;
        }
        if (len > 0) {
            const double dist =
                std::fabs(double(b.x - a.x) * (path[i].y - a.y) - double(b.y - a.y) * (path[i].x - a.x)) /
                len;
            ASSERT_LE(dist, 1.0 + 1e-9) << "strays at " << i;
        }
    }
}

} // namespace

TEST(BrushLine, SpecialCases) {
    std::vector<TPoint<int>> path;
    AppendBrushLine({4, 7}, {4, 7}, path);
    ASSERT_EQ(path.size(), 1u);
    EXPECT_EQ(path[0], TPoint<int>(4, 7));
    path.clear();
    AppendBrushLine({3, 1}, {-2, 1}, path);
    ASSERT_EQ(path.size(), 6u);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(path[i], TPoint<int>(3 - i, 1));
    path.clear();
    AppendBrushLine({0, 0}, {0, 3}, path);
    ASSERT_EQ(path.size(), 4u);
    EXPECT_EQ(path[3], TPoint<int>(0, 3));
    // Appending keeps what was there: joints of a polyline appear twice.
    AppendBrushLine({0, 3}, {1, 3}, path);
    ASSERT_EQ(path.size(), 6u);
    EXPECT_EQ(path[3], path[4]);
    CheckPath({0, 0}, {5, 5});
    CheckPath({0, 0}, {-5, 5});
    CheckPath({10, 10}, {9, -20});
}

TEST(BrushLine, RandomEndpointsTerminateFourConnectedWithBothEnds) {
    std::mt19937 rng(20240611);
    std::uniform_int_distribution<int> near(-40, 40), far(-100000, 100000);
    for (int i = 0; i < 4000; ++i) {
        TPoint<int> a{near(rng), near(rng)}, b{near(rng), near(rng)};
        CheckPath(a, b);
        if (HasFatalFailure())
            return;
    }
    for (int i = 0; i < 60; ++i) {
        TPoint<int> a{far(rng), far(rng)};
        TPoint<int> b{a.x + near(rng) * 97, a.y + near(rng) * 89};
        CheckPath(a, b);
        if (HasFatalFailure())
            return;
    }
}
