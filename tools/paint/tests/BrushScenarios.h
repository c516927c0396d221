#pragma once
// Stroke scenarios run both by the painter alone (BrushStrokeTest) and through the tool on a real
// canvas (BrushToolTest), with the checks of their result in one place.
#include "common/CSelectedRegion.h"
#include "common/ValueTypes.h"
#include "imageprocess/BrushPaint.h"

#include <gtest/gtest.h>

#include <vector>

namespace brush_scenarios {

// The canvas of every scenario: a 200 x 150 image.
constexpr int kW = 200, kH = 150;

// A stroke with bends, a repeated joint and a long last leg.
inline const TPoint<int> kStrokeStart{20, 30};
inline const std::vector<TPoint<int>> kStrokeFed = {{23, 30}, {26, 33}, {40, 33}, {40, 60},
                                                    {90, 75}, {91, 75}, {150, 20}};

// A stroke that leaves the image to the right, comes back on another row and leaves over the top.
inline const TPoint<int> kLeavingStart{150, 20};
inline const std::vector<TPoint<int>> kLeavingFed = {{600, 20}, {600, 100}, {150, 100}, {150, -40}};

// The pixels from `from` along every fed point, as the painter steps them.
inline std::vector<TPoint<int>> Path(TPoint<int> from, const std::vector<TPoint<int>>& to) {
    std::vector<TPoint<int>> path;
    for (const auto& p : to) {
        ImageProcess::AppendBrushLine(from, p, path);
        from = p;
    }
    if (to.empty())
        path.push_back(from);
    return path;
}

// The mask holds 0xFFFF exactly within `outer` of some path pixel, and 0 elsewhere.
inline void ExpectUnionOfDiscs(const CSelectedRegion& mask, const std::vector<TPoint<int>>& path,
                               double outer) {
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            bool inside = false;
            for (const auto& c : path)
                if (double(x - c.x) * (x - c.x) + double(y - c.y) * (y - c.y) <= outer * outer) {
                    inside = true;
                    break;
                }
            ASSERT_EQ(mask.Row(y)[x], inside ? 0xFFFF : 0) << x << "," << y;
        }
}

// What the leaving stroke must leave with a hard brush of radius 3: painting went on outside and
// stayed clipped to the image.
inline void ExpectLeavingStrokeClipped(const CSelectedRegion& mask) {
    EXPECT_EQ(mask.Row(20)[199], 0xFFFF);  // on the way out
    EXPECT_EQ(mask.Row(100)[199], 0xFFFF); // back in on another row: the stroke went on outside
    EXPECT_EQ(mask.Row(100)[160], 0xFFFF);
    EXPECT_EQ(mask.Row(0)[150], 0xFFFF); // and out over the top
    EXPECT_EQ(mask.Row(60)[199], 0);     // the leg outside left nothing inside
    EXPECT_EQ(mask.Row(60)[100], 0);
}

} // namespace brush_scenarios
