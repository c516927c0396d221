// Guards the tone-curve spline against a wrong tridiagonal solve (kinks at knots, curved ends), missed
// knots, overshoot past 0..1, flat ends that do not hold, and malformed point lists.
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

using namespace ImageProcess;

namespace {

double Slope(const CubicSpline& s, double x, double e) {
    return (s.Evaluate(x + e) - s.Evaluate(x)) / e;
}

} // namespace

TEST(CubicSpline, PassesThroughKnotsWithContinuousSlopeAndStraightEnds) {
    const double x[] = {0.0, 0.15, 0.4, 0.45, 0.8, 1.0};
    const double y[] = {0.1, 0.3, 0.2, 0.6, 0.9, 0.7};
    CubicSpline s;
    ASSERT_TRUE(s.Create(x, y, 6));
    EXPECT_EQ(s.Intervals(), 5);
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(s.Evaluate(x[i]), y[i], 1e-12);
    const double e = 1e-6;
    for (int i = 1; i < 5; ++i) {
        // First and second derivatives agree from both sides of an inner knot.
        EXPECT_NEAR(Slope(s, x[i], e), Slope(s, x[i], -e), 1e-3) << i;
        const double left = (s.Evaluate(x[i] - 2e-4) - 2 * s.Evaluate(x[i] - 1e-4) + s.Evaluate(x[i])) / 1e-8;
        const double right =
            (s.Evaluate(x[i] + 2e-4) - 2 * s.Evaluate(x[i] + 1e-4) + s.Evaluate(x[i])) / 1e-8;
        EXPECT_NEAR(left, right, 0.05 * std::max(1.0, std::fabs(left)));
    }
    // Natural ends: no curvature at the first and last knot.
    const double c0 = (s.Evaluate(0.0) - 2 * s.Evaluate(1e-4) + s.Evaluate(2e-4)) / 1e-8;
    const double c1 = (s.Evaluate(1.0) - 2 * s.Evaluate(1.0 - 1e-4) + s.Evaluate(1.0 - 2e-4)) / 1e-8;
    EXPECT_NEAR(c0, 0.0, 0.5);
    EXPECT_NEAR(c1, 0.0, 0.5);
}

TEST(CubicSpline, CollinearKnotsGiveALine) {
    const double x[] = {0.0, 0.1, 0.35, 0.9, 1.0};
    double y[5];
    for (int i = 0; i < 5; ++i)
        y[i] = 0.2 + 0.5 * x[i];
    CubicSpline s;
    ASSERT_TRUE(s.Create(x, y, 5));
    for (double v = 0; v <= 1.0; v += 0.01)
        EXPECT_NEAR(s.Evaluate(v), 0.2 + 0.5 * v, 1e-12);
    std::vector<unsigned short> curve(SPLINE_CURVE_SIZE);
    ASSERT_TRUE(SplineToCurve(x, y, 5, curve.data()));
    for (int i = 0; i < SPLINE_CURVE_SIZE; i += 97)
        EXPECT_NEAR(curve[i], (0.2 + 0.5 * i / 65535.0) * 65535.0, 0.5 + 1e-9) << i;
}

TEST(CubicSpline, CurveHoldsEndsClampsAndPassesThroughPoints) {
    const double x[] = {0.2, 0.5, 0.7};
    const double y[] = {0.1, 0.9, 0.3};
    std::vector<unsigned short> curve(SPLINE_CURVE_SIZE);
    ASSERT_TRUE(SplineToCurve(x, y, 3, curve.data()));
    for (int i = 0; i <= 0.2 * 65535; ++i)
        ASSERT_EQ(curve[i], static_cast<unsigned short>(0.1 * 65535 + 0.5));
    for (int i = static_cast<int>(std::ceil(0.7 * 65535)); i < SPLINE_CURVE_SIZE; ++i)
        ASSERT_EQ(curve[i], static_cast<unsigned short>(0.3 * 65535 + 0.5));
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(curve[static_cast<int>(x[k] * 65535 + 0.5)], y[k] * 65535, 4.0);
    // A spline that overshoots is cut at full scale, not wrapped.
    const double ox[] = {0.0, 0.3, 0.35, 1.0};
    const double oy[] = {0.0, 0.95, 1.0, 1.0};
    CubicSpline s;
    ASSERT_TRUE(s.Create(ox, oy, 4));
    double peak = 0;
    for (double v = 0.35; v <= 1.0; v += 0.001)
        peak = std::max(peak, s.Evaluate(v));
    ASSERT_GT(peak, 1.0);
    ASSERT_TRUE(SplineToCurve(ox, oy, 4, curve.data()));
    for (int i = static_cast<int>(0.35 * 65535) + 1; i < SPLINE_CURVE_SIZE; ++i)
        ASSERT_GE(curve[i], 65000) << i;
}

TEST(CubicSpline, GentleMonotonicPointsGiveAMonotonicCurve) {
    // Points on smooth rising curves (gamma and a soft S), spaced evenly enough that a natural spline
    // does not overshoot; a steep step between close points can overshoot and is clamped instead.
    const std::vector<std::vector<double>> xs = {
        {0, 0.25, 0.5, 0.75, 1}, {0, 0.3, 0.7, 1}, {0, 0.5, 1}, {0, 1}};
    for (double gamma : {0.45, 1.0, 2.2})
        for (const auto& x : xs) {
            std::vector<double> y;
            for (double v : x)
                y.push_back(std::pow(v, gamma));
            std::vector<unsigned short> curve(SPLINE_CURVE_SIZE);
            ASSERT_TRUE(SplineToCurve(x.data(), y.data(), static_cast<int>(x.size()), curve.data()));
            for (int i = 1; i < SPLINE_CURVE_SIZE; ++i)
                ASSERT_GE(curve[i], curve[i - 1]) << gamma << " " << x.size() << " at " << i;
        }
    const double sx[] = {0, 0.25, 0.75, 1};
    const double sy[] = {0, 0.2, 0.8, 1};
    std::vector<unsigned short> curve(SPLINE_CURVE_SIZE);
    ASSERT_TRUE(SplineToCurve(sx, sy, 4, curve.data()));
    for (int i = 1; i < SPLINE_CURVE_SIZE; ++i)
        ASSERT_GE(curve[i], curve[i - 1]);
}

TEST(CubicSpline, RefusesMalformedPointsAndLeavesTheCurve) {
    std::vector<unsigned short> curve(SPLINE_CURVE_SIZE, 4242);
    const double x2[] = {0.3, 0.3}, y2[] = {0.1, 0.2};
    const double dx[] = {0.5, 0.2}, out[] = {0.2, 1.2}, ok[] = {0.2, 0.8};
    const double nanx[] = {0.1, std::nan("")};
    EXPECT_FALSE(SplineToCurve(ok, ok, 1, curve.data()));
    EXPECT_FALSE(SplineToCurve(x2, y2, 2, curve.data()));
    EXPECT_FALSE(SplineToCurve(dx, y2, 2, curve.data()));
    EXPECT_FALSE(SplineToCurve(ok, out, 2, curve.data()));
    EXPECT_FALSE(SplineToCurve(out, ok, 2, curve.data()));
    EXPECT_FALSE(SplineToCurve(nanx, ok, 2, curve.data()));
    EXPECT_FALSE(SplineToCurve(nullptr, ok, 2, curve.data()));
    EXPECT_FALSE(SplineToCurve(ok, ok, 2, nullptr));
    EXPECT_TRUE(std::all_of(curve.begin(), curve.end(), [](unsigned short v) { return v == 4242; }));
    CubicSpline s;
    ASSERT_TRUE(s.Create(ok, ok, 2));
    EXPECT_FALSE(s.Create(x2, y2, 2));
    EXPECT_EQ(s.Intervals(), 0);
    EXPECT_EQ(s.Evaluate(0.5), 0.0);
    // Two points: a straight line, also beyond the knots.
    ASSERT_TRUE(s.Create(ok, y2, 2));
    EXPECT_NEAR(s.Evaluate(0.5), 0.1 + 0.1 * (0.5 - 0.2) / 0.6, 1e-12);
}

TEST(CubicSpline, FuzzRandomPointSets) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> unit(0, 1);
    std::vector<unsigned short> curve(SPLINE_CURVE_SIZE);
    for (int round = 0; round < 200; ++round) {
        const int n = 2 + static_cast<int>(rng() % 12);
        std::vector<double> x(n), y(n);
        for (int i = 0; i < n; ++i)
            x[i] = unit(rng), y[i] = unit(rng);
        std::sort(x.begin(), x.end());
        if (std::adjacent_find(x.begin(), x.end()) != x.end())
            continue;
        if (round % 3 == 0)
            x.front() = 0, x.back() = 1; // knots on the ends of the range
        ASSERT_TRUE(SplineToCurve(x.data(), y.data(), n, curve.data()));
        CubicSpline s;
        ASSERT_TRUE(s.Create(x.data(), y.data(), n));
        for (int i = 0; i < n; ++i)
            ASSERT_NEAR(s.Evaluate(x[i]), y[i], 1e-9);
        EXPECT_EQ(curve[0], static_cast<unsigned short>(std::floor(y[0] * 65535 + 0.5)));
        EXPECT_EQ(curve[65535], static_cast<unsigned short>(std::floor(y[n - 1] * 65535 + 0.5)));
    }
}
