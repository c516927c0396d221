// Guards against a bitmap with its red and blue swapped, upside down (the bottom-up 8-bit layout), or
// with 16-bit values truncated instead of rounded, and against bad records that yield a picture.
#include "ui/ImageBitmap.h"
#include "common/CImageDataInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace KELCTRL;

namespace {
// Pixel (x, y) of channel c: a value of its own for every place and channel.
int Value(int x, int y, int c) {
    return (x * 37 + y * 11 + c * 71) % 256;
}

void Fill(CImageDataInfo& image) {
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < image.channels; ++c) {
                unsigned char* p = image.PixelPtr(x, y) + c * image.depth;
                if (image.depth == 1) {
                    *p = static_cast<unsigned char>(Value(x, y, c));
                } else {
                    // Blue lies 200/257 of a level above its 8-bit level: it must round up.
                    const int level = Value(x, y, c);
                    const uint16_t v = static_cast<uint16_t>(level * 257 + (c == 0 && level < 255 ? 200 : 0));
                    std::memcpy(p, &v, 2);
                }
            }
}
} // namespace

TEST(ImageBitmap, ChannelsRowsAndDepthsLandInPlace) {
    for (int channels : {1, 3, 4})
        for (int depth : {1, 2}) {
            CImageDataInfo image;
            ASSERT_TRUE(image.Create(7, 5, channels, depth));
            Fill(image);
            const QImage bitmap = ConvertImageToBitmap(image);
            ASSERT_FALSE(bitmap.isNull());
            ASSERT_EQ(bitmap.size(), QSize(7, 5));
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 7; ++x) {
                    const int level = Value(x, y, 0);
                    const int b = level + (depth == 2 && level < 255 ? 1 : 0);
                    if (channels == 1) {
                        EXPECT_EQ(qGray(bitmap.pixel(x, y)), b) << x << "," << y;
                        continue;
                    }
                    const QRgb px = bitmap.pixel(x, y);
                    EXPECT_EQ(qBlue(px), b) << channels << "/" << depth << " " << x << "," << y;
                    EXPECT_EQ(qGreen(px), Value(x, y, 1));
                    EXPECT_EQ(qRed(px), Value(x, y, 2));
                    EXPECT_EQ(qAlpha(px), channels == 4 ? Value(x, y, 3) : 255);
                }
        }
}

TEST(ImageBitmap, BadRecordsGiveNoBitmap) {
    CImageDataInfo empty;
    EXPECT_TRUE(ConvertImageToBitmap(empty).isNull());
    CImageDataInfo twoChannels;
    twoChannels.Create(4, 4, 2, 1);
    EXPECT_TRUE(ConvertImageToBitmap(twoChannels).isNull());
}
