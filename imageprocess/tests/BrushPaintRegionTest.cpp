// Guards the mask blend against 32-bit overflow, wrong targets, wrong clipping and a colour range
// that lets the wrong pixels through.
#include "common/testing/TestImages.h"
#include "imageprocess/BrushPaint.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ImageProcess;

namespace {

CSelectedRegion Constant(int w, int h, uint16_t v, int x = 0, int y = 0) {
    CSelectedRegion r;
    r.Create(w, h, v);
    r.x = x;
    r.y = y;
    return r;
}

uint16_t PaintOne(uint16_t v, uint16_t m, BRUSH_MODE mode, int opacity) {
    CSelectedRegion canvas = Constant(1, 1, v), brush = Constant(1, 1, m);
    EXPECT_TRUE(PaintRegion(canvas, brush, mode, opacity, nullptr, nullptr, nullptr, nullptr));
    return canvas.Values()[0];
}

// The blend in 64-bit arithmetic, written out as the formula reads.
uint16_t Reference(uint64_t v, uint64_t m, uint64_t target) {
    return static_cast<uint16_t>((v * (0xFFFF - m) + 0x7FFF + m * target) / 0xFFFF);
}

INT4 Range(int32_t y, int32_t cb, int32_t cr) {
    INT4 r{};
    r.i[0] = y;
    r.i[1] = cb;
    r.i[2] = cr;
    return r;
}

} // namespace

TEST(BrushPaintRegion, GoldenValuesAtTheExtremes) {
    // v * (0xFFFF - m) + 0x7FFF + m * target reaches 0xFFFE8000: only unsigned 32-bit holds it.
    EXPECT_EQ(PaintOne(0xFFFF, 0, BRUSH_MODE_PAINT, 100), 0xFFFF);
    EXPECT_EQ(PaintOne(0xFFFF, 0xFFFF, BRUSH_MODE_PAINT, 100), 0xFFFF);
    EXPECT_EQ(PaintOne(0, 0xFFFF, BRUSH_MODE_PAINT, 100), 0xFFFF);
    EXPECT_EQ(PaintOne(0xFFFF, 0x8000, BRUSH_MODE_PAINT, 100), 0xFFFF);
    EXPECT_EQ(PaintOne(1, 0x7FFF, BRUSH_MODE_PAINT, 100), 32768);
    EXPECT_EQ(PaintOne(0, 0xFFFF, BRUSH_MODE_PAINT, 50), 32767); // target 50 * 65535 / 100
    EXPECT_EQ(PaintOne(0, 0xFFFF, BRUSH_MODE_PAINT, 1), 655);
    EXPECT_EQ(PaintOne(0xFFFF, 1, BRUSH_MODE_ERASE, 50), 65534);
    EXPECT_EQ(PaintOne(0xFFFF, 0xFFFF, BRUSH_MODE_ERASE, 50), 0);
    EXPECT_EQ(PaintOne(0, 0xFFFF, BRUSH_MODE_ERASE, 100), 0);
    EXPECT_EQ(PaintOne(0x8000, 0, BRUSH_MODE_ERASE, 100), 0x8000); // a zero weight keeps the value
}

TEST(BrushPaintRegion, MatchesTheWideFormulaOverEdgeValues) {
    const uint16_t edges[] = {0, 1, 2, 0x7FFE, 0x7FFF, 0x8000, 0x8001, 0xFFFD, 0xFFFE, 0xFFFF};
    for (int opacity : {0, 1, 33, 50, 99, 100})
        for (uint16_t v : edges)
            for (uint16_t m : edges) {
                const uint64_t target = uint64_t(opacity) * 0xFFFF / 100;
                ASSERT_EQ(PaintOne(v, m, BRUSH_MODE_PAINT, opacity), Reference(v, m, target))
                    << v << " " << m << " " << opacity;
                ASSERT_EQ(PaintOne(v, m, BRUSH_MODE_ERASE, opacity), Reference(v, m, 0));
            }
}

TEST(BrushPaintRegion, RepeatedDabsConvergeOnOpacityWithoutOvershoot) {
    for (uint16_t start : {uint16_t(0), uint16_t(0xFFFF)}) {
        CSelectedRegion canvas = Constant(4, 4, start), brush = Constant(4, 4, 0x8000);
        const uint16_t target = 37 * 0xFFFF / 100;
        uint16_t prev = start;
        for (int i = 0; i < 40; ++i) {
            ASSERT_TRUE(PaintRegion(canvas, brush, BRUSH_MODE_PAINT, 37, nullptr, nullptr, nullptr, nullptr));
            const uint16_t v = canvas.Values()[5];
            if (start == 0)
                ASSERT_TRUE(v >= prev && v <= target);
            else
                ASSERT_TRUE(v <= prev && v >= target);
            prev = v;
        }
        EXPECT_EQ(prev, target);
    }
}

TEST(BrushPaintRegion, EraseIgnoresOpacityWithoutRangeAndStopsAtHalfWithIt) {
    CImageDataInfo image;
    ASSERT_TRUE(kel_testing::MakeConstant(image, 8, 8, 1, 2, 30000));
    const INT4 lo = Range(30000, 0, 0), hi = Range(30000, 0, 0);

    CSelectedRegion plain = Constant(8, 8, 0xFFFF), ranged = Constant(8, 8, 0xFFFF);
    const CSelectedRegion brush = Constant(8, 8, 0xC000);
    for (int i = 0; i < 60; ++i) {
        ASSERT_TRUE(PaintRegion(plain, brush, BRUSH_MODE_ERASE, 50, &image, nullptr, nullptr, nullptr));
        ASSERT_TRUE(PaintRegion(ranged, brush, BRUSH_MODE_ERASE, 50, &image, nullptr, &lo, &hi));
    }
    EXPECT_EQ(plain.Values()[9], 0);
    EXPECT_EQ(ranged.Values()[9], 0xFFFF - 32767);
}

TEST(BrushPaintRegion, ClipsToCanvasBrushAndImage) {
    CImageDataInfo image;
    ASSERT_TRUE(kel_testing::MakeConstant(image, 12, 12, 3, 1, 0));
    CSelectedRegion canvas = Constant(10, 10, 0, 5, 5); // covers image pixels 5..14, only 5..11 exist
    const CSelectedRegion brush = Constant(20, 8, 0xFFFF, -3, 2);
    ASSERT_TRUE(PaintRegion(canvas, brush, BRUSH_MODE_PAINT, 100, &image, nullptr, nullptr, nullptr));
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x) {
            const int ix = x + 5, iy = y + 5;
            const bool inside = ix < 12 && iy < 12 && iy < 10; // brush rows 2..9
            ASSERT_EQ(canvas.Row(y)[x], inside ? 0xFFFF : 0) << x << "," << y;
        }
    // A brush that misses paints nothing and says so.
    const CSelectedRegion far = Constant(3, 3, 0xFFFF, 40, 40);
    EXPECT_FALSE(PaintRegion(canvas, far, BRUSH_MODE_PAINT, 100, &image, nullptr, nullptr, nullptr));
    CSelectedRegion empty;
    EXPECT_FALSE(PaintRegion(empty, brush, BRUSH_MODE_PAINT, 100, &image, nullptr, nullptr, nullptr));
    EXPECT_FALSE(PaintRegion(canvas, brush, BRUSH_MODE_PAINT, 101, &image, nullptr, nullptr, nullptr));
}

TEST(BrushPaintRegion, ColorDifferencesOfPrimaries) {
    auto check = [](uint32_t r, uint32_t g, uint32_t b, int y, int cb, int cr) {
        const BRUSH_YCC c = BrushYCbCr(r, g, b);
        EXPECT_EQ(c.y, y);
        EXPECT_EQ(c.cb, cb);
        EXPECT_EQ(c.cr, cr);
    };
    check(65535, 65535, 65535, 65535, 0, 0);
    check(0, 0, 0, 0, 0, 0);
    check(65535, 0, 0, 19596, -22116, 65535);
    check(0, 65535, 0, 38469, -43419, -54877);
    check(0, 0, 65535, 7470, 65535, -10658);
    check(12345, 54321, 777, 35667, -39379, -33268);
}

TEST(BrushPaintRegion, LumaToleranceFallsOffLinearly) {
    // Grey pixels have Y = v and no chroma, so the painted value equals the weight when the canvas
    // starts at 0, the mask is full and the target is 0xFFFF.
    const int32_t base = 30000;
    const std::vector<std::pair<int32_t, uint16_t>> cases = {
        {0, 0xFFFF}, {0xCCC, 0xFFFF}, {0xCCD, 65526},   {0x2000, 23399},
        {0x2AAA, 0}, {0x2AAB, 0},     {-0xCCC, 0xFFFF}, {-0x2AAB, 0},
    };
    for (int depth : {1, 2}) {
        CImageDataInfo image;
        ASSERT_TRUE(image.Create(static_cast<int>(cases.size()), 1, 1, 2));
        for (size_t i = 0; i < cases.size(); ++i)
            kel_testing::SetValue(image, static_cast<int>(i), 0, 0,
                                  static_cast<uint32_t>(base + cases[i].first));
        const unsigned short* lut = nullptr;
        std::vector<unsigned short> table;
        if (depth == 1) {
            // The same values reached through an 8-bit image and a lookup table: 8-bit v reads
            // table[v * 257].
            CImageDataInfo small;
            ASSERT_TRUE(small.Create(image.width, 1, 1, 1));
            table.assign(65536, 0);
            for (int i = 0; i < image.width; ++i) {
                kel_testing::SetValue(small, i, 0, 0, static_cast<uint32_t>(i));
                table[static_cast<size_t>(i) * 257] =
                    static_cast<unsigned short>(kel_testing::GetValue(image, i, 0, 0));
            }
            image = small;
            lut = table.data();
        }
        CSelectedRegion canvas = Constant(image.width, 1, 0);
        const CSelectedRegion brush = Constant(image.width, 1, 0xFFFF);
        const INT4 lo = Range(base, 0, 0), hi = Range(base, 0, 0);
        ASSERT_TRUE(PaintRegion(canvas, brush, BRUSH_MODE_PAINT, 100, &image, lut, &lo, &hi));
        for (size_t i = 0; i < cases.size(); ++i)
            EXPECT_EQ(canvas.Values()[i], cases[i].second)
                << "depth " << depth << " offset " << cases[i].first;
    }
}

TEST(BrushPaintRegion, RangeFollowsRowsOfBottomUpImagesAndSkipsOtherHues) {
    // 3-channel 8-bit images are stored bottom-up; the range must test the pixel under each canvas
    // value, not its mirror.
    CImageDataInfo image;
    ASSERT_TRUE(kel_testing::MakeConstant(image, 6, 6, 3, 1, 0));
    for (int x = 0; x < 6; ++x) {
        kel_testing::SetValue(image, x, 0, 2, 200); // top row red
        kel_testing::SetValue(image, x, 5, 1, 120); // bottom row green, a similar luma
    }
    BRUSH_YCC red{};
    ASSERT_TRUE(ReadBrushYCbCr(image, 0, 0, nullptr, red));
    INT4 lo{}, hi{};
    ResetBrushColorRange(lo, hi);
    WidenBrushColorRange(lo, hi, red);
    CSelectedRegion canvas = Constant(6, 6, 0);
    const CSelectedRegion brush = Constant(6, 6, 0xFFFF);
    ASSERT_TRUE(PaintRegion(canvas, brush, BRUSH_MODE_PAINT, 100, &image, nullptr, &lo, &hi));
    for (int x = 0; x < 6; ++x) {
        EXPECT_EQ(canvas.Row(0)[x], 0xFFFF);
        EXPECT_EQ(canvas.Row(5)[x], 0);
        EXPECT_EQ(canvas.Row(2)[x], 0); // black: far in luma
    }
    // An empty range (just reset) matches nothing.
    ResetBrushColorRange(lo, hi);
    CSelectedRegion untouched = Constant(6, 6, 0);
    ASSERT_TRUE(PaintRegion(untouched, brush, BRUSH_MODE_PAINT, 100, &image, nullptr, &lo, &hi));
    for (int i = 0; i < 36; ++i)
        ASSERT_EQ(untouched.Values()[i], 0);
}

TEST(BrushPaintRegion, LargeDabsSplitOverThreadsPaintEveryRowOnce) {
    CSelectedRegion brush;
    ASSERT_EQ(CreateBrushRegion(brush, 300.0, 600.0, 90), 600);
    brush.x = brush.y = 0;
    CImageDataInfo image;
    ASSERT_TRUE(kel_testing::MakeConstant(image, brush.width, brush.height, 3, 1, 100));
    BRUSH_YCC c{};
    ASSERT_TRUE(ReadBrushYCbCr(image, 0, 0, nullptr, c));
    INT4 lo{}, hi{};
    ResetBrushColorRange(lo, hi);
    WidenBrushColorRange(lo, hi, c);
    const uint64_t target = 70 * 0xFFFF / 100;
    for (bool ranged : {false, true}) {
        CSelectedRegion canvas = Constant(brush.width, brush.height, 0x4000);
        ASSERT_TRUE(PaintRegion(canvas, brush, BRUSH_MODE_PAINT, 70, &image, nullptr, ranged ? &lo : nullptr,
                                ranged ? &hi : nullptr));
        for (int i = 0; i < brush.width * brush.height; ++i)
            ASSERT_EQ(canvas.Values()[i], Reference(0x4000, brush.Values()[i], target))
                << i << " ranged " << ranged;
    }
}
