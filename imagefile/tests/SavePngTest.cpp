// Guards SaveToPNGFile: channels swapped or 16 bits cut on the way, and a failed write that leaves a
// partial file or a temporary behind.
#include "FileTestUtil.h"

#include "common/testing/TestImages.h"

#include <gtest/gtest.h>

using namespace ImageFile;
using namespace iftest;
using namespace kel_testing;

TEST(SaveToPng, KeepsEveryChannelAndDepth) {
    TempDir dir;
    for (int channels : {1, 3, 4}) {
        for (int depth : {1, 2}) {
            CImageDataInfo image;
            ASSERT_TRUE(
                MakeNoise(image, 37, 21, channels, depth, static_cast<uint32_t>(channels * 10 + depth)));
            // One pixel with a different value per channel, so that a channel swap shows.
            for (int c = 0; c < channels; ++c)
                SetValue(image, 5, 7, c, static_cast<uint32_t>((c + 1) * (depth == 2 ? 9000 : 50)));
            const auto path = dir / ("out" + std::to_string(channels) + std::to_string(depth) + ".png");
            ASSERT_EQ(SaveToPNGFile(image, path), ERR_OK);
            FILEINFO info;
            CImageDataInfo back;
            ASSERT_EQ(LoadFile(info, back, path), ERR_OK);
            EXPECT_EQ(info.format, IMAGE_FORMAT_PNG);
            EXPECT_TRUE(info.iccProfile.empty());
            ASSERT_EQ(back.channels, channels);
            ASSERT_EQ(back.depth, depth);
            EXPECT_TRUE(SamePixels(image, back)) << channels << " channels, depth " << depth;
        }
    }
}

TEST(SaveToPng, FailureLeavesTargetAndNoTemporary) {
    TempDir dir;
    const auto target = dir / "keep.png";
    WriteAll(target, std::vector<unsigned char>(100, 3));
    CImageDataInfo invalid;
    EXPECT_EQ(SaveToPNGFile(invalid, target), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(ReadAll(target), std::vector<unsigned char>(100, 3));
    EXPECT_EQ(dir.Entries().size(), 1u);
    CImageDataInfo image;
    ASSERT_TRUE(MakeGradient(image, 8, 8, 3, 1));
    EXPECT_EQ(SaveToPNGFile(image, ""), ERR_INVALID_ARGUMENT);
    EXPECT_NE(SaveToPNGFile(image, dir / "missing" / "x.png"), ERR_OK);
    EXPECT_EQ(dir.Entries().size(), 1u);
}
