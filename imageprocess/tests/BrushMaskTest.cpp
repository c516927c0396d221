// Guards the brush mask against wrong fall-off, strength, radius or a bad mirror of its quadrant.
#include "imageprocess/BrushPaint.h"

#include <gtest/gtest.h>

#include <cmath>

using ImageProcess::CreateBrushRegion;

namespace {

uint16_t At(const CSelectedRegion& r, int dx, int dy) {
    const int R = -r.x;
    return r.Row(R + dy)[R + dx];
}

// Cell value evaluated directly from the mask's definition, cell by cell, for comparison.
uint16_t Reference(int dx, int dy, double inner, double outer, int flow) {
    const double strength = std::pow(flow * 0.01, 3) * 65535.0;
    const double d = outer - inner;
    const double core = inner - d;
    const double q = double(dx) * dx + double(dy) * dy;
    if (q > outer * outer)
        return 0;
    if (q > core * core)
        return static_cast<uint16_t>(std::floor(
            (outer - std::sqrt(q)) * (outer - std::sqrt(q)) * strength / ((2 * d) * (2 * d)) + 0.5));
    return static_cast<uint16_t>(std::floor(strength + 0.5));
}

} // namespace

TEST(BrushMask, GeometryAndValuesAtCoreSoftZoneAndRim) {
    CSelectedRegion r;
    ASSERT_EQ(CreateBrushRegion(r, 15.0, 20.0, 100), 20);
    EXPECT_EQ(r.x, -20);
    EXPECT_EQ(r.y, -20);
    EXPECT_EQ(r.width, 41);
    EXPECT_EQ(r.height, 41);
    // Core: flat full strength out to core = inner - (outer - inner) = 10.
    EXPECT_EQ(At(r, 0, 0), 65535);
    EXPECT_EQ(At(r, 10, 0), 65535);
    EXPECT_EQ(At(r, 6, 8), 65535);
    // Soft zone: (outer - dist)^2 * strength / (2d)^2, rounded.
    EXPECT_EQ(At(r, 11, 0), 53083); // 81 * 655.35
    EXPECT_EQ(At(r, 15, 0), 16384); // 25 * 655.35 = 16383.75
    EXPECT_EQ(At(r, 19, 0), 655);
    EXPECT_EQ(At(r, 12, 15), 410); // dist sqrt(369)
    // Rim and beyond.
    EXPECT_EQ(At(r, 20, 0), 0);
    EXPECT_EQ(At(r, 12, 16), 0);
    EXPECT_EQ(At(r, 20, 20), 0);
    EXPECT_EQ(At(r, -20, -20), 0);
}

TEST(BrushMask, FractionalRadiusMatchesTheDefinitionEverywhere) {
    // Every cell, in all four quadrants, equals the direct evaluation: so the mirrored quadrants are
    // right too, and the rounding of the radius up to the next pixel keeps the whole rim.
    for (const auto& [inner, outer, flow] : {std::tuple{3.3, 6.6, 100}, std::tuple{12.25, 17.5, 63},
                                             std::tuple{0.4, 0.8, 100}, std::tuple{40.0, 41.5, 90}}) {
        CSelectedRegion r;
        const int R = CreateBrushRegion(r, inner, outer, flow);
        ASSERT_EQ(R, static_cast<int>(std::ceil(outer)));
        for (int dy = -R; dy <= R; ++dy)
            for (int dx = -R; dx <= R; ++dx)
                ASSERT_EQ(At(r, dx, dy), Reference(dx, dy, inner, outer, flow))
                    << "inner " << inner << " outer " << outer << " at " << dx << "," << dy;
    }
}

TEST(BrushMask, QuadrantEqualsItsMirrorsAndFallsOffOutwards) {
    CSelectedRegion r;
    const int R = CreateBrushRegion(r, 37.2, 70.9, 80);
    ASSERT_EQ(R, 71);
    for (int dy = 0; dy <= R; ++dy)
        for (int dx = 0; dx <= R; ++dx) {
            const uint16_t v = At(r, dx, dy);
            ASSERT_EQ(At(r, -dx, dy), v);
            ASSERT_EQ(At(r, dx, -dy), v);
            ASSERT_EQ(At(r, -dx, -dy), v);
            ASSERT_EQ(At(r, dy, dx), v); // round, so also symmetric about the diagonal
            if (dx > 0) {
                ASSERT_LE(v, At(r, dx - 1, dy)); // never rises away from the centre
            }
        }
}

TEST(BrushMask, FeatherZeroIsAHardDisc) {
    CSelectedRegion r;
    ASSERT_EQ(CreateBrushRegion(r, 7.3, 7.3, 100), 8);
    for (int dy = -8; dy <= 8; ++dy)
        for (int dx = -8; dx <= 8; ++dx) {
            const bool inside = dx * dx + dy * dy <= 7.3 * 7.3;
            ASSERT_EQ(At(r, dx, dy), inside ? 65535 : 0) << dx << "," << dy;
        }
    EXPECT_EQ(At(r, 7, 2), 65535);
    EXPECT_EQ(At(r, 7, 3), 0);
}

TEST(BrushMask, FlowIsCubic) {
    CSelectedRegion r;
    ASSERT_EQ(CreateBrushRegion(r, 4.0, 6.0, 50), 6);
    EXPECT_EQ(At(r, 0, 0), 8192); // 65535 / 8 = 8191.875
    // Flow 1: 0.01^3 * 65535 rounds to 0, so the brush paints nothing at all.
    ASSERT_EQ(CreateBrushRegion(r, 4.0, 6.0, 1), 6);
    for (int i = 0; i < r.width * r.height; ++i)
        ASSERT_EQ(r.Values()[i], 0);
}

TEST(BrushMask, RefusesBadParameters) {
    CSelectedRegion r;
    EXPECT_EQ(CreateBrushRegion(r, 0.0, 0.0, 100), 0);
    EXPECT_EQ(CreateBrushRegion(r, 5.0, 4.0, 100), 0);
    EXPECT_EQ(CreateBrushRegion(r, -1.0, 4.0, 100), 0);
    EXPECT_EQ(CreateBrushRegion(r, 2.0, 4.0, 0), 0);
    EXPECT_EQ(CreateBrushRegion(r, 2.0, 4.0, 101), 0);
    EXPECT_EQ(CreateBrushRegion(r, 2.0, std::nan(""), 100), 0);
    EXPECT_EQ(CreateBrushRegion(r, 2.0, 1e9, 100), 0);
    // A tiny brush is still one full pixel.
    ASSERT_EQ(CreateBrushRegion(r, 0.5, 0.5, 100), 1);
    EXPECT_EQ(At(r, 0, 0), 65535);
    EXPECT_EQ(At(r, 1, 0), 0);
}
