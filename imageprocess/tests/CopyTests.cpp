// Guards copies and curves against bad clipping, writes outside the overlap, mask arithmetic overflow
// and curves that disturb alpha or the 8-bit rounding rule.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ImageProcess;
using namespace kel_testing;

namespace {

std::vector<unsigned short> IdentityCurve() {
    std::vector<unsigned short> c(65536);
    for (int i = 0; i < 65536; ++i)
        c[i] = static_cast<unsigned short>(i);
    return c;
}

} // namespace

TEST(CopyImage, CopiesTheRectangleAndNothingElse) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            CImageDataInfo src, dst;
            ASSERT_TRUE(MakeNoise(src, 30, 20, channels, depth, 1));
            ASSERT_TRUE(MakeConstant(dst, 25, 15, channels, depth, 7));
            ASSERT_TRUE(CopyImage(src, dst, 3, 4, 10, 2, 8, 5, nullptr));
            for (int y = 0; y < 15; ++y)
                for (int x = 0; x < 25; ++x)
                    for (int c = 0; c < channels; ++c) {
                        const bool inside = x >= 3 && x < 11 && y >= 4 && y < 9;
                        const uint32_t expect = inside ? GetValue(src, x - 3 + 10, y - 4 + 2, c) : 7;
                        ASSERT_EQ(GetValue(dst, x, y, c), expect) << x << "," << y;
                    }
        }
}

TEST(CopyImage, ClipsToBothImages) {
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 10, 10, 3, 1, 2));
    ASSERT_TRUE(MakeConstant(dst, 10, 10, 3, 1, 0));
    // Starts left of the source and runs past the destination's right and bottom edges.
    ASSERT_TRUE(CopyImage(src, dst, 6, 7, -2, 0, 8, 8, nullptr));
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x) {
            const bool inside = x >= 8 && y >= 7;
            EXPECT_EQ(GetValue(dst, x, y, 1), inside ? GetValue(src, x - 8, y - 7, 1) : 0u) << x << "," << y;
        }
}

TEST(CopyImage, OverlappingMoveWithinOneImage) {
    CImageDataInfo img, ref;
    ASSERT_TRUE(MakeNoise(img, 20, 20, 1, 2, 3));
    ref = img;
    ASSERT_TRUE(CopyImage(img, img, 2, 3, 0, 0, 15, 15, nullptr));
    for (int y = 0; y < 15; ++y)
        for (int x = 0; x < 15; ++x)
            ASSERT_EQ(GetValue(img, x + 2, y + 3, 0), GetValue(ref, x, y, 0));
}

TEST(CopyImage, BadInputFailsAndWritesNothing) {
    CImageDataInfo src, dst, other, invalid;
    ASSERT_TRUE(MakeNoise(src, 10, 10, 3, 1, 4));
    ASSERT_TRUE(MakeConstant(dst, 10, 10, 3, 1, 9));
    ASSERT_TRUE(MakeConstant(other, 10, 10, 4, 1, 9));
    const CImageDataInfo before = dst;
    EXPECT_FALSE(CopyImage(invalid, dst, 0, 0, 0, 0, 5, 5, nullptr));
    EXPECT_FALSE(CopyImage(other, dst, 0, 0, 0, 0, 5, 5, nullptr)); // channels differ
    CImageDataInfo deep;
    ASSERT_TRUE(MakeConstant(deep, 10, 10, 3, 2, 9));
    EXPECT_FALSE(CopyImage(deep, dst, 0, 0, 0, 0, 5, 5, nullptr)); // depth differs
    EXPECT_FALSE(CopyImage(src, dst, 0, 0, 0, 0, 0, 5, nullptr));
    EXPECT_FALSE(CopyImage(src, dst, 0, 0, 0, 0, 5, -3, nullptr));
    EXPECT_FALSE(CopyImage(src, dst, 0, 0, 10, 0, 5, 5, nullptr)); // source rectangle outside
    EXPECT_FALSE(CopyImage(src, dst, -5, 0, 0, 0, 5, 5, nullptr)); // destination rectangle outside
    EXPECT_FALSE(CopyImage(src, dst, 0, 0, -2147483647, 0, 5, 5, nullptr));
    EXPECT_FALSE(CopyImage(src, dst, 2147483600, 0, 0, 0, 2147483647, 5, nullptr));
    EXPECT_TRUE(SamePixels(dst, before));
}

TEST(CopyImageMasked, WeightsAtTheExtremesAndHalfway) {
    for (int depth : {1, 2}) {
        const uint32_t top = MaxValue(depth);
        CImageDataInfo src, dst;
        ASSERT_TRUE(MakeConstant(src, 4, 1, 4, depth, top));
        ASSERT_TRUE(MakeConstant(dst, 4, 1, 4, depth, 0));
        CSelectedRegion mask;
        ASSERT_TRUE(mask.Create(4, 1, 0));
        mask.Values()[1] = 65535;
        mask.Values()[2] = 32768;
        mask.Values()[3] = 1;
        ASSERT_TRUE(CopyImage(src, dst, 0, 0, 0, 0, 4, 1, &mask, true, nullptr));
        EXPECT_EQ(GetValue(dst, 0, 0, 0), 0u);
        EXPECT_EQ(GetValue(dst, 1, 0, 2), top); // full weight of the full value: no overflow
        EXPECT_EQ(GetValue(dst, 2, 0, 1), (top * 32768 + 32767) / 65535);
        EXPECT_EQ(GetValue(dst, 3, 0, 3), (top + 32767) / 65535);
        // The other way round: full destination, empty source.
        ASSERT_TRUE(MakeConstant(src, 4, 1, 4, depth, 0));
        ASSERT_TRUE(MakeConstant(dst, 4, 1, 4, depth, top));
        ASSERT_TRUE(CopyImage(src, dst, 0, 0, 0, 0, 4, 1, &mask, true, nullptr));
        EXPECT_EQ(GetValue(dst, 0, 0, 0), top);
        EXPECT_EQ(GetValue(dst, 1, 0, 0), 0u);
    }
}

TEST(CopyImageMasked, MaskPositionFollowsTheChosenSide) {
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 20, 20, 3, 1, 5));
    CSelectedRegion mask;
    ASSERT_TRUE(mask.Create(3, 3, 65535));
    mask.x = 10;
    mask.y = 12;
    // Destination coordinates: the copied block lands exactly on the mask.
    ASSERT_TRUE(MakeConstant(dst, 20, 20, 3, 1, 0));
    ASSERT_TRUE(CopyImage(src, dst, 0, 0, 4, 2, 20, 20, &mask, true, nullptr));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x) {
            const bool in = x >= 10 && x < 13 && y >= 12 && y < 15;
            ASSERT_EQ(GetValue(dst, x, y, 0), in ? GetValue(src, x + 4, y + 2, 0) : 0u) << x << "," << y;
        }
    // Source coordinates: the mask selects source pixels 10..12, which land 4 and 2 further up-left.
    ASSERT_TRUE(MakeConstant(dst, 20, 20, 3, 1, 0));
    ASSERT_TRUE(CopyImage(src, dst, 0, 0, 4, 2, 16, 18, &mask, false, nullptr));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x) {
            const bool in = x >= 6 && x < 9 && y >= 10 && y < 13;
            ASSERT_EQ(GetValue(dst, x, y, 2), in ? GetValue(src, x + 4, y + 2, 2) : 0u) << x << "," << y;
        }
}

TEST(CopyImageMasked, RefusesMissingMasksAndMasksOutsideTheCopy) {
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 8, 8, 1, 1, 5));
    ASSERT_TRUE(MakeConstant(dst, 8, 8, 1, 1, 3));
    const CImageDataInfo before = dst;
    CSelectedRegion mask, sizeOnly;
    ASSERT_TRUE(mask.Create(2, 2, 65535));
    mask.x = 50;
    sizeOnly.width = sizeOnly.height = 4; // a size without values
    EXPECT_FALSE(CopyImage(src, dst, 0, 0, 0, 0, 8, 8, nullptr, true, nullptr));
    EXPECT_FALSE(CopyImage(src, dst, 0, 0, 0, 0, 8, 8, &sizeOnly, true, nullptr));
    EXPECT_FALSE(CopyImage(src, dst, 0, 0, 0, 0, 8, 8, &mask, true, nullptr));
    EXPECT_TRUE(SamePixels(dst, before));
}

TEST(ApplyCurveToImage, IdentityCurveChangesNothing) {
    const auto curve = IdentityCurve();
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            CImageDataInfo src, dst, expect;
            ASSERT_TRUE(MakeNoise(src, 40, 30, channels, depth, 6));
            ASSERT_TRUE(dst.Create(20, 10, channels, depth));
            ASSERT_TRUE(ApplyCurveToImage(dst, src, curve.data(), 15, 17, nullptr));
            ASSERT_TRUE(expect.Create(20, 10, channels, depth));
            ASSERT_TRUE(CopyImage(src, expect, 0, 0, 15, 17, 20, 10, nullptr));
            EXPECT_TRUE(SamePixels(dst, expect)) << channels << " " << depth;
        }
}

TEST(ApplyCurveToImage, InvertingCurveFollowsTheEightBitRuleAndKeepsAlpha) {
    std::vector<unsigned short> invert(65536), steep(65536);
    for (int i = 0; i < 65536; ++i) {
        invert[i] = static_cast<unsigned short>(65535 - i);
        steep[i] = static_cast<unsigned short>(std::min(65535, i * 3));
    }
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 16, 16, 4, 1, 8));
    ASSERT_TRUE(dst.Create(16, 16, 4, 1));
    ASSERT_TRUE(ApplyCurveToImage(dst, src, steep.data(), 0, 0, nullptr));
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            for (int c = 0; c < 3; ++c) {
                const uint32_t v = GetValue(src, x, y, c);
                ASSERT_EQ(GetValue(dst, x, y, c), (std::min(65535u, v * 257 * 3) + 128) / 257);
            }
            ASSERT_EQ(GetValue(dst, x, y, 3), GetValue(src, x, y, 3));
        }
    CImageDataInfo s16, d16;
    ASSERT_TRUE(MakeNoise(s16, 8, 8, 3, 2, 9));
    ASSERT_TRUE(d16.Create(8, 8, 3, 2));
    ASSERT_TRUE(ApplyCurveToImage(d16, s16, invert.data(), 0, 0, nullptr));
    EXPECT_EQ(GetValue(d16, 3, 5, 1), 65535 - GetValue(s16, 3, 5, 1));
}

TEST(ApplyCurveToImage, BadInputFailsAndWritesNothing) {
    const auto curve = IdentityCurve();
    CImageDataInfo src, dst, wrong;
    ASSERT_TRUE(MakeNoise(src, 10, 10, 3, 1, 1));
    ASSERT_TRUE(MakeConstant(dst, 6, 6, 3, 1, 44));
    ASSERT_TRUE(MakeConstant(wrong, 6, 6, 3, 2, 44));
    const CImageDataInfo before = dst;
    EXPECT_FALSE(ApplyCurveToImage(dst, src, nullptr, 0, 0, nullptr));
    EXPECT_FALSE(ApplyCurveToImage(dst, src, curve.data(), 5, 0, nullptr)); // runs past the right edge
    EXPECT_FALSE(ApplyCurveToImage(dst, src, curve.data(), 0, -1, nullptr));
    EXPECT_FALSE(ApplyCurveToImage(dst, wrong, curve.data(), 0, 0, nullptr));
    EXPECT_TRUE(SamePixels(dst, before));
}
