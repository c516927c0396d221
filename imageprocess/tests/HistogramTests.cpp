// Guards the histogram against swapped channels, wrong 16-bit binning, lost rows across threads and
// rectangles outside the image.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

#include <numeric>

using namespace ImageProcess;
using namespace kel_testing;

TEST(Histogram, ChannelsLandInTheirOwnBins) {
    CImageDataInfo img;
    ASSERT_TRUE(MakeConstant(img, 10, 4, 3, 1, 0));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 10; ++x) {
            SetValue(img, x, y, 0, 10); // blue
            SetValue(img, x, y, 1, 20); // green
            SetValue(img, x, y, 2, x < 5 ? 30 : 255);
        }
    HISTOGRAM h;
    uint32_t lum[256];
    ASSERT_TRUE(CalcHistogram(img, h, nullptr, lum));
    EXPECT_EQ(h.total, 40u);
    EXPECT_EQ(h.blue[10], 40u);
    EXPECT_EQ(h.green[20], 40u);
    EXPECT_EQ(h.red[30], 20u);
    EXPECT_EQ(h.red[255], 20u);
    EXPECT_EQ(h.redPeak, 20u);
    EXPECT_EQ(h.bluePeak, 40u);
    EXPECT_EQ(lum[(2126 * 30 + 7152 * 20 + 722 * 10 + 5000) / 10000], 20u);
    EXPECT_EQ(lum[(2126 * 255 + 7152 * 20 + 722 * 10 + 5000) / 10000], 20u);
}

TEST(Histogram, SixteenBitBinsAndGreyAndRectangles) {
    CImageDataInfo img;
    ASSERT_TRUE(MakeConstant(img, 4, 4, 1, 2, 255)); // bin 0
    SetValue(img, 3, 3, 0, 256);                     // bin 1
    SetValue(img, 2, 3, 0, 65535);                   // bin 255
    HISTOGRAM h;
    ASSERT_TRUE(CalcHistogram(img, h));
    EXPECT_EQ(h.red[0], 14u);
    EXPECT_EQ(h.green[1], 1u);
    EXPECT_EQ(h.blue[255], 1u);
    const IntRect r{2, 3, 2, 1};
    ASSERT_TRUE(CalcHistogram(img, h, &r));
    EXPECT_EQ(h.total, 2u);
    EXPECT_EQ(h.red[0], 0u);
    const IntRect outside{3, 3, 2, 1};
    EXPECT_FALSE(CalcHistogram(img, h, &outside));
    CImageDataInfo invalid;
    EXPECT_FALSE(CalcHistogram(invalid, h));
}

TEST(Histogram, LargeImagesCountEveryPixelOnce) {
    CImageDataInfo img;
    ASSERT_TRUE(MakeNoise(img, 1500, 1100, 4, 1, 3));
    HISTOGRAM h;
    ASSERT_TRUE(CalcHistogram(img, h));
    EXPECT_EQ(h.total, 1500u * 1100u);
    EXPECT_EQ(std::accumulate(h.red, h.red + 256, 0ull), 1500ull * 1100ull);
    EXPECT_EQ(std::accumulate(h.blue, h.blue + 256, 0ull), 1500ull * 1100ull);
    double mean = 0;
    for (int i = 0; i < 256; ++i)
        mean += static_cast<double>(i) * h.green[i];
    EXPECT_NEAR(mean / h.total, MeanValue(img, 1), 1e-6);
}
