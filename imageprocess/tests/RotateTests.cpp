// Guards rotations and flips against lost or misplaced pixels in every format and row order.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

using namespace ImageProcess;
using namespace kel_testing;

TEST(Rotate, FourQuarterTurnsAndTwoFlipsAreTheIdentity) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4})
            for (bool clockwise : {true, false}) {
                CImageDataInfo img, a, b;
                ASSERT_TRUE(MakeNoise(img, 131, 67, channels, depth, 12));
                ASSERT_TRUE(RotateImage90(img, a, clockwise, nullptr));
                ASSERT_EQ(a.width, 67);
                ASSERT_EQ(a.height, 131);
                ASSERT_TRUE(RotateImage90(a, b, clockwise, nullptr));
                ASSERT_TRUE(RotateImage90(b, a, clockwise, nullptr));
                ASSERT_TRUE(RotateImage90(a, b, clockwise, nullptr));
                EXPECT_TRUE(SamePixels(img, b)) << channels << " " << depth;
                for (bool vertical : {true, false}) {
                    CImageDataInfo f = img;
                    ASSERT_TRUE(FlipImage(f, vertical, nullptr));
                    EXPECT_FALSE(SamePixels(f, img));
                    ASSERT_TRUE(FlipImage(f, vertical, nullptr));
                    EXPECT_TRUE(SamePixels(f, img));
                }
            }
}

TEST(Rotate, CornersGoWhereTheyShould) {
    CImageDataInfo img, cw, ccw, half;
    ASSERT_TRUE(MakeConstant(img, 5, 3, 3, 1, 0));
    SetValue(img, 0, 0, 0, 200); // top-left marker in blue
    ASSERT_TRUE(RotateImage90(img, cw, true, nullptr));
    EXPECT_EQ(GetValue(cw, 2, 0, 0), 200u); // now top-right
    ASSERT_TRUE(RotateImage90(img, ccw, false, nullptr));
    EXPECT_EQ(GetValue(ccw, 0, 4, 0), 200u); // now bottom-left
    ASSERT_TRUE(RotateImage180(img, half, nullptr));
    EXPECT_EQ(GetValue(half, 4, 2, 0), 200u);
    CImageDataInfo f = img;
    ASSERT_TRUE(FlipImage(f, true, nullptr));
    EXPECT_EQ(GetValue(f, 0, 2, 0), 200u);
    f = img;
    ASSERT_TRUE(FlipImage(f, false, nullptr));
    EXPECT_EQ(GetValue(f, 4, 0, 0), 200u);
}

TEST(Rotate, HalfTurnEqualsTwoQuarterTurnsAndBothFlips) {
    for (int channels : {1, 3, 4}) {
        CImageDataInfo img, a, b, half;
        ASSERT_TRUE(MakeColorCube(img, 1200, 900, channels, 1)); // large enough to be split over threads
        ASSERT_TRUE(RotateImage90(img, a, true, nullptr));
        ASSERT_TRUE(RotateImage90(a, b, true, nullptr));
        ASSERT_TRUE(RotateImage180(img, half, nullptr));
        EXPECT_TRUE(SamePixels(b, half));
        CImageDataInfo f = img;
        ASSERT_TRUE(FlipImage(f, true, nullptr));
        ASSERT_TRUE(FlipImage(f, false, nullptr));
        EXPECT_TRUE(SamePixels(f, half));
    }
}

TEST(Rotate, SameRecordAndBadInput) {
    CImageDataInfo img, ref, invalid, out;
    ASSERT_TRUE(MakeGradient(img, 7, 4, 4, 2));
    ASSERT_TRUE(RotateImage90(img, ref, false, nullptr));
    ASSERT_TRUE(RotateImage90(img, img, false, nullptr));
    EXPECT_TRUE(SamePixels(img, ref));
    ASSERT_TRUE(MakeConstant(out, 3, 3, 1, 1, 5));
    const CImageDataInfo before = out;
    EXPECT_FALSE(RotateImage90(invalid, out, true, nullptr));
    EXPECT_FALSE(RotateImage180(invalid, out, nullptr));
    EXPECT_FALSE(FlipImage(invalid, true, nullptr));
    EXPECT_TRUE(SamePixels(out, before));
}
