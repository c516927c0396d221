// Guards the resampler against drifting means, broken row order, edge bleed and wrong kernel weights.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/ResizeKernel.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

using namespace ImageProcess;
using namespace kel_testing;

namespace {

constexpr RESIZE_ALGORITHM kAll[] = {RESIZE_NEAREST,  RESIZE_BILINEAR, RESIZE_BOX,     RESIZE_BICUBIC,
                                     RESIZE_LANCZOS2, RESIZE_AUTO,     RESIZE_LANCZOS3};

// Copies every logical pixel into an image of the other row order (4 channels stored top-down, then
// dropped to 3 channels gives bottom-up): the same pixels in both storages.
bool ToTopDown(const CImageDataInfo& bottomUp, CImageDataInfo& topDown) {
    // A 3-channel 16-bit image is top-down; compare through values scaled by 257.
    if (!topDown.Create(bottomUp.width, bottomUp.height, 3, 2))
        return false;
    for (int y = 0; y < bottomUp.height; ++y)
        for (int x = 0; x < bottomUp.width; ++x)
            for (int c = 0; c < 3; ++c)
                SetValue(topDown, x, y, c, GetValue(bottomUp, x, y, c) * 257);
    return true;
}

} // namespace

TEST(ResizeKernel, BicubicGoldenValues) {
    EXPECT_DOUBLE_EQ(BicubicWeight(0.0), 1.0);
    EXPECT_DOUBLE_EQ(BicubicWeight(0.5), 0.5625);
    EXPECT_DOUBLE_EQ(BicubicWeight(-0.5), 0.5625);
    EXPECT_DOUBLE_EQ(BicubicWeight(1.5), -0.0625);
    EXPECT_DOUBLE_EQ(BicubicWeight(1.0), 0.0);
    EXPECT_DOUBLE_EQ(BicubicWeight(2.0), 0.0);
    EXPECT_DOUBLE_EQ(BicubicWeight(3.0), 0.0);
}

TEST(ResizeKernel, LanczosGoldenValues) {
    EXPECT_DOUBLE_EQ(LanczosWeight(0.0, 3), 1.0);
    EXPECT_NEAR(LanczosWeight(1.0, 3), 0.0, 1e-15);
    EXPECT_NEAR(LanczosWeight(0.5, 2), 0.5731591682507563, 1e-12); // 2 sin(pi/2) sin(pi/4) / (pi/2)^2
    EXPECT_NEAR(LanczosWeight(0.5, 3), 0.6079271018540267, 1e-12); // 3 sin(pi/2) sin(pi/6) / (pi/2)^2
    EXPECT_NEAR(LanczosWeight(1.5, 3), -0.1350949115231170, 1e-12);
    EXPECT_EQ(LanczosWeight(3.0, 3), 0.0);
    EXPECT_EQ(LanczosWeight(2.5, 2), 0.0);
}

TEST(ResizeKernel, DoublingWithBicubicUsesQuarterPhaseWeights) {
    detail::Contributions c;
    ASSERT_TRUE(detail::MakeContributions(8, 16, RESIZE_BICUBIC, c));
    // Output 5 has its centre at source 2.75: taps at 1.5, 2.5, 3.5, 4.5 -> distances 1.25, 0.25, 0.75, 1.75.
    ASSERT_EQ(c.count[5], 4);
    EXPECT_EQ(c.start[5], 1);
    const float* w = c.Weights(5);
    EXPECT_NEAR(w[0], BicubicWeight(1.25), 1e-6);
    EXPECT_NEAR(w[1], BicubicWeight(0.25), 1e-6);
    EXPECT_NEAR(w[2], BicubicWeight(0.75), 1e-6);
    EXPECT_NEAR(w[3], BicubicWeight(1.75), 1e-6);
    EXPECT_NEAR(w[0] + w[1] + w[2] + w[3], 1.0, 1e-6);
}

TEST(ResizeKernel, BoxHalvingAveragesPairsAndIdentityReadsOnePixel) {
    detail::Contributions c;
    ASSERT_TRUE(detail::MakeContributions(10, 5, RESIZE_BOX, c));
    for (int x = 0; x < 5; ++x) {
        EXPECT_EQ(c.start[x], 2 * x);
        ASSERT_EQ(c.count[x], 2);
        EXPECT_FLOAT_EQ(c.Weights(x)[0], 0.5f);
    }
    for (RESIZE_ALGORITHM a : {RESIZE_BILINEAR, RESIZE_BOX, RESIZE_BICUBIC, RESIZE_LANCZOS3}) {
        ASSERT_TRUE(detail::MakeContributions(7, 7, a, c));
        for (int x = 0; x < 7; ++x) {
            EXPECT_EQ(c.count[x], 1) << a;
            EXPECT_EQ(c.start[x], x) << a;
        }
    }
}

TEST(ResizeImage, ConstantStaysConstantUnderEveryAlgorithm) {
    // Every channel at its own level: a resampler that mixes or swaps channels (B and R) shows.
    const std::array<uint32_t, 4> levels8 = {201, 37, 120, 250};
    const std::array<uint32_t, 4> levels16 = {51234, 9000, 30001, 65000};
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4})
            for (RESIZE_ALGORITHM a : kAll)
                for (auto size : {TSize<int>(13, 7), TSize<int>(97, 61), TSize<int>(3, 200)}) {
                    const auto& levels = depth == 1 ? levels8 : levels16;
                    CImageDataInfo src, dst;
                    ASSERT_TRUE(MakeChannelConstants(src, 40, 30, channels, depth, levels));
                    ASSERT_TRUE(ResizeImage(src, dst, size.width, size.height, a, nullptr));
                    ASSERT_EQ(dst.width, size.width);
                    ASSERT_EQ(dst.height, size.height);
                    ASSERT_EQ(dst.channels, channels);
                    ASSERT_EQ(dst.depth, depth);
                    CImageDataInfo expect;
                    ASSERT_TRUE(
                        MakeChannelConstants(expect, size.width, size.height, channels, depth, levels));
                    EXPECT_EQ(MaxDifference(dst, expect), 0)
                        << "alg " << a << " ch " << channels << " d " << depth;
                }
}

TEST(ResizeImage, AreaAverageReduceKeepsTheMean) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4})
            for (RESIZE_ALGORITHM a : {RESIZE_BOX, RESIZE_AUTO}) {
                CImageDataInfo src, dst;
                ASSERT_TRUE(MakeNoise(src, 120, 90, channels, depth, 7));
                ASSERT_TRUE(ResizeImage(src, dst, 30, 30, a, nullptr)); // 4 x 3 exact blocks
                for (int c = 0; c < channels; ++c)
                    EXPECT_NEAR(MeanValue(dst, c), MeanValue(src, c), 0.5 * MaxValue(depth) / 255.0)
                        << "ch " << c << " d " << depth;
                // An uneven ratio keeps the mean too, within rounding of a few edge weights.
                ASSERT_TRUE(ResizeImage(src, dst, 37, 23, a, nullptr));
                for (int c = 0; c < channels; ++c)
                    EXPECT_NEAR(MeanValue(dst, c), MeanValue(src, c), 0.01 * MaxValue(depth));
            }
}

TEST(ResizeImage, BoxReduceIsTheExactBlockAverage) {
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 8, 4, 1, 1, 3));
    ASSERT_TRUE(ResizeImage(src, dst, 4, 2, RESIZE_BOX, nullptr));
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x) {
            const double sum = GetValue(src, 2 * x, 2 * y, 0) + GetValue(src, 2 * x + 1, 2 * y, 0) +
                               GetValue(src, 2 * x, 2 * y + 1, 0) + GetValue(src, 2 * x + 1, 2 * y + 1, 0);
            EXPECT_EQ(GetValue(dst, x, y, 0), static_cast<uint32_t>(std::floor(sum / 4 + 0.5)));
        }
}

TEST(ResizeImage, BottomUpAndTopDownSourcesGiveTheSamePixels) {
    CImageDataInfo bu, td;
    ASSERT_TRUE(MakeColorCube(bu, 64, 48, 3, 1));
    ASSERT_TRUE(bu.IsBottomUp());
    ASSERT_TRUE(ToTopDown(bu, td));
    ASSERT_FALSE(td.IsBottomUp());
    for (RESIZE_ALGORITHM a : kAll) {
        CImageDataInfo r8, r16;
        ASSERT_TRUE(ResizeImage(bu, r8, 37, 29, a, nullptr));
        ASSERT_TRUE(ResizeImage(td, r16, 37, 29, a, nullptr));
        long worst = 0;
        for (int y = 0; y < 29; ++y)
            for (int x = 0; x < 37; ++x)
                for (int c = 0; c < 3; ++c) {
                    const long v16 = GetValue(r16, x, y, c);
                    const long v8 = GetValue(r8, x, y, c);
                    worst = std::max(worst, std::labs(v8 * 257 - v16));
                }
        // Same geometry in both orders: the results differ only by 8-bit rounding.
        EXPECT_LE(worst, 257) << "alg " << a;
    }
}

TEST(ResizeImage, NearestPicksCentrePixelsAndEnlargingByIntegerRepeats) {
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 5, 3, 4, 2, 11));
    ASSERT_TRUE(ResizeImage(src, dst, 15, 6, RESIZE_NEAREST, nullptr));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 15; ++x)
            for (int c = 0; c < 4; ++c)
                ASSERT_EQ(GetValue(dst, x, y, c), GetValue(src, x / 3, y / 2, c));
}

TEST(ResizeImage, BicubicEnlargeKeepsSourceSamplesAtOddFactorCentres) {
    // Tripling puts every third output centre exactly on a source centre.
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 6, 5, 1, 2, 5));
    for (RESIZE_ALGORITHM a :
         {RESIZE_BILINEAR, RESIZE_BICUBIC, RESIZE_LANCZOS2, RESIZE_LANCZOS3, RESIZE_AUTO}) {
        ASSERT_TRUE(ResizeImage(src, dst, 18, 15, a, nullptr));
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 6; ++x)
                EXPECT_NEAR(GetValue(dst, 3 * x + 1, 3 * y + 1, 0), GetValue(src, x, y, 0), 1) << a;
    }
}

TEST(ResizeImage, SameRecordAsSourceAndDestination) {
    CImageDataInfo img, copy;
    ASSERT_TRUE(MakeGradient(img, 40, 20, 3, 1));
    ASSERT_TRUE(ResizeImage(img, copy, 20, 10, RESIZE_AUTO, nullptr));
    ASSERT_TRUE(ResizeImage(img, img, 20, 10, RESIZE_AUTO, nullptr));
    EXPECT_TRUE(SamePixels(img, copy));
}

TEST(ResizeImage, JobsSplitOverThreadsMatchTheBlockAverageEverywhere) {
    // Large enough to be split into bands; every band must compute the same exact 4 x 4 averages.
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 1600, 1200, 1, 1, 9));
    ASSERT_TRUE(ResizeImage(src, dst, 400, 300, RESIZE_BOX, nullptr));
    long bad = 0;
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 400; ++x) {
            uint32_t sum = 0;
            for (int j = 0; j < 4; ++j)
                for (int i = 0; i < 4; ++i)
                    sum += GetValue(src, 4 * x + i, 4 * y + j, 0);
            bad += GetValue(dst, x, y, 0) != (sum + 8) / 16;
        }
    EXPECT_EQ(bad, 0);
}

namespace {
int g_lastDone = -1, g_lastTotal = -1, g_calls = 0;
void RecordProgress(int done, int total) {
    EXPECT_GE(done, g_lastDone);
    g_lastDone = done;
    g_lastTotal = total;
    ++g_calls;
}
} // namespace

TEST(ResizeImage, ProgressRunsUpToTheTotal) {
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeGradient(src, 300, 300, 1, 1));
    ASSERT_TRUE(ResizeImage(src, dst, 100, 150, RESIZE_BICUBIC, RecordProgress));
    EXPECT_GT(g_calls, 0);
    EXPECT_EQ(g_lastDone, 150);
    EXPECT_EQ(g_lastTotal, 150);
}

TEST(ResizeImage, BadInputFailsAndLeavesTheDestination) {
    CImageDataInfo src, dst, empty;
    ASSERT_TRUE(MakeConstant(src, 10, 10, 3, 1, 9));
    ASSERT_TRUE(MakeConstant(dst, 4, 4, 1, 2, 777));
    const CImageDataInfo before = dst;
    EXPECT_FALSE(ResizeImage(empty, dst, 5, 5, RESIZE_AUTO, nullptr));
    EXPECT_FALSE(ResizeImage(src, dst, 0, 5, RESIZE_AUTO, nullptr));
    EXPECT_FALSE(ResizeImage(src, dst, 5, -1, RESIZE_AUTO, nullptr));
    EXPECT_FALSE(ResizeImage(src, dst, 5, 5, static_cast<RESIZE_ALGORITHM>(7), nullptr));
    EXPECT_FALSE(ResizeImage(src, dst, 5, 5, static_cast<RESIZE_ALGORITHM>(-1), nullptr));
    CImageDataInfo deep = src;
    deep.depth = 4; // a record whose depth the library does not know
    deep.stride = 10 * 3 * 4;
    EXPECT_FALSE(ResizeImage(deep, dst, 5, 5, RESIZE_AUTO, nullptr));
    EXPECT_TRUE(SamePixels(dst, before));
}
