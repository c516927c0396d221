// Guards mask scaling, overlap copies and mirrors against misplaced values and writes out of range.
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

using namespace ImageProcess;

namespace {

void Fill(CSelectedRegion& r, int w, int h) {
    ASSERT_TRUE(r.Create(w, h));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            r.Row(y)[x] = static_cast<uint16_t>(y * 1000 + x);
}

} // namespace

TEST(ResizeRegion, ScalesPositionAndSizeAndKeepsConstants) {
    CSelectedRegion r, z;
    ASSERT_TRUE(r.Create(101, 40, 40000));
    r.x = 13;
    r.y = -7;
    ASSERT_TRUE(ResizeRegion(r, z, 0.5, RESIZE_AUTO, nullptr));
    EXPECT_EQ(z.width, 51);
    EXPECT_EQ(z.height, 20);
    EXPECT_EQ(z.x, 7);
    EXPECT_EQ(z.y, -3);
    for (int i = 0; i < z.width * z.height; ++i)
        ASSERT_EQ(z.Values()[i], 40000);
    ASSERT_TRUE(ResizeRegion(r, r, 2.0, RESIZE_BOX, nullptr));
    EXPECT_EQ(r.width, 202);
    EXPECT_EQ(r.x, 26);
    EXPECT_EQ(r.Values()[202 * 80 - 1], 40000);
    ASSERT_TRUE(ResizeRegion(r, z, 1e-6, RESIZE_BOX, nullptr)); // never below one value
    EXPECT_EQ(z.width, 1);
    EXPECT_EQ(z.height, 1);
}

TEST(ResizeRegion, BoxHalvingAveragesFullAndEmptyColumns) {
    CSelectedRegion r, z;
    ASSERT_TRUE(r.Create(4, 2, 0));
    r.Row(0)[0] = r.Row(1)[0] = 65535; // left column full, the rest empty
    ASSERT_TRUE(ResizeRegion(r, z, 0.5, RESIZE_BOX, nullptr));
    ASSERT_EQ(z.width, 2);
    EXPECT_EQ(z.Values()[0], 32768);
    EXPECT_EQ(z.Values()[1], 0);
}

TEST(ResizeRegion, BadInput) {
    CSelectedRegion r, z, empty;
    ASSERT_TRUE(r.Create(4, 4, 1));
    EXPECT_FALSE(ResizeRegion(empty, z, 1.0, RESIZE_BOX, nullptr));
    EXPECT_FALSE(ResizeRegion(r, z, 0.0, RESIZE_BOX, nullptr));
    EXPECT_FALSE(ResizeRegion(r, z, -1.0, RESIZE_BOX, nullptr));
    EXPECT_FALSE(ResizeRegion(r, z, 1e12, RESIZE_BOX, nullptr));
    EXPECT_FALSE(ResizeRegion(r, z, 1.0, static_cast<RESIZE_ALGORITHM>(9), nullptr));
    EXPECT_EQ(z.width, 0);
}

TEST(CopyRegion, CopiesOnlyTheOverlap) {
    CSelectedRegion dst, src;
    ASSERT_TRUE(dst.Create(10, 10, 0));
    Fill(src, 6, 4);
    src.x = 7;
    src.y = -1;
    ASSERT_TRUE(CopyRegion(dst, src));
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x) {
            const bool in = x >= 7 && y < 3;
            ASSERT_EQ(dst.Row(y)[x], in ? src.Row(y + 1)[x - 7] : 0) << x << "," << y;
        }
    src.x = 10; // touching at the edge is no overlap
    EXPECT_FALSE(CopyRegion(dst, src));
}

TEST(FlipRegion, MirrorsInPlaceAndTwiceIsTheIdentity) {
    CSelectedRegion r, ref;
    Fill(r, 5, 3);
    ref = r;
    ASSERT_TRUE(FlipRegion(r, true, 5, 3, nullptr));
    EXPECT_EQ(r.Row(0)[4], ref.Row(2)[4]);
    EXPECT_EQ(r.Row(1)[2], ref.Row(1)[2]);
    ASSERT_TRUE(FlipRegion(r, true, 5, 3, nullptr));
    ASSERT_TRUE(FlipRegion(r, false, 5, 3, nullptr));
    EXPECT_EQ(r.Row(2)[0], ref.Row(2)[4]);
    ASSERT_TRUE(FlipRegion(r, false, 5, 3, nullptr));
    for (int i = 0; i < 15; ++i)
        ASSERT_EQ(r.Values()[i], ref.Values()[i]);
    EXPECT_FALSE(FlipRegion(r, true, 6, 3, nullptr));
    EXPECT_FALSE(FlipRegion(r, true, 0, 3, nullptr));
}
