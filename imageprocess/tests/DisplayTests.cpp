// Guards the display conversion against wrong channel order, lost curves, misplaced clipping marks,
// and the row driver and chequer against writes outside their rectangles.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ImageProcess;
using namespace kel_testing;

namespace {

struct Display {
    int width = 0, height = 0;
    std::vector<uint8_t> pixels;
    Display(int w, int h) : width(w), height(h), pixels(static_cast<size_t>(w) * h * 4, 0x5A) {}
    const uint8_t* At(int x, int y) const { return pixels.data() + (static_cast<size_t>(y) * width + x) * 4; }
};

uint32_t To8(uint32_t v, int depth) {
    return depth == 1 ? v : (v * 255 + 32767) / 65535;
}

} // namespace

TEST(DisplayConversion, PlainConversionKeepsTheValues) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            CImageDataInfo img;
            ASSERT_TRUE(MakeNoise(img, 50, 40, channels, depth, 21));
            Display d(20, 10);
            const IntRect rect{25, 30, 20, 10};
            DISPLAY_PARAMS params;
            ASSERT_TRUE(ConvertImageForDisplay(img, rect, d.pixels.data(), d.width * 4, params));
            for (int y = 0; y < 10; ++y)
                for (int x = 0; x < 20; ++x)
                    for (int c = 0; c < 3; ++c) {
                        const uint32_t v = GetValue(img, x + 25, y + 30, channels == 1 ? 0 : c);
                        ASSERT_EQ(d.At(x, y)[c], To8(v, depth)) << channels << " " << depth;
                        ASSERT_EQ(d.At(x, y)[3], 255);
                    }
        }
}

TEST(DisplayConversion, IdentityCurveChangesNothingAndACurveApplies) {
    std::vector<unsigned short> identity(65536), invert(65536);
    for (int i = 0; i < 65536; ++i) {
        identity[i] = static_cast<unsigned short>(i);
        invert[i] = static_cast<unsigned short>(65535 - i);
    }
    for (int depth : {1, 2}) {
        CImageDataInfo img;
        ASSERT_TRUE(MakeNoise(img, 16, 16, 3, depth, 2));
        Display plain(16, 16), curved(16, 16), inverted(16, 16);
        DISPLAY_PARAMS p;
        ASSERT_TRUE(ConvertImageForDisplay(img, {0, 0, 16, 16}, plain.pixels.data(), 64, p));
        p.curve = identity.data();
        ASSERT_TRUE(ConvertImageForDisplay(img, {0, 0, 16, 16}, curved.pixels.data(), 64, p));
        EXPECT_EQ(plain.pixels, curved.pixels);
        p.curve = invert.data();
        ASSERT_TRUE(ConvertImageForDisplay(img, {0, 0, 16, 16}, inverted.pixels.data(), 64, p));
        EXPECT_EQ(inverted.At(3, 4)[1], 255 - plain.At(3, 4)[1]);
    }
}

TEST(DisplayConversion, ClippingMarksExactlyWhereAChannelReachesAnEnd) {
    for (int depth : {1, 2}) {
        const uint32_t top = MaxValue(depth);
        CImageDataInfo img;
        ASSERT_TRUE(MakeConstant(img, 6, 1, 3, depth, top / 2));
        SetValue(img, 1, 0, 0, 0);       // blue at 0: shadow
        SetValue(img, 2, 0, 2, top);     // red at the top: highlight
        SetValue(img, 3, 0, 1, 1);       // one level above 0: no mark
        SetValue(img, 4, 0, 1, top - 1); // one level below the top: no mark
        SetValue(img, 5, 0, 0, 0);       // both: highlight wins
        SetValue(img, 5, 0, 1, top);
        const uint8_t blue[4] = {255, 0, 0, 255}, red[4] = {0, 0, 255, 255};
        for (unsigned bits : {0u, 1u, 2u, 3u}) {
            Display d(6, 1);
            DISPLAY_PARAMS p;
            p.clipping = bits;
            ASSERT_TRUE(ConvertImageForDisplay(img, {0, 0, 6, 1}, d.pixels.data(), 24, p));
            for (int x = 0; x < 6; ++x) {
                const bool shadow = (bits & 1) && x == 1;
                const bool highlight = (bits & 2) && (x == 2 || x == 5);
                const bool shadowOnly5 = (bits == 1) && x == 5;
                if (highlight)
                    EXPECT_EQ(0, std::memcmp(d.At(x, 0), red, 4)) << x << " bits " << bits;
                else if (shadow || shadowOnly5)
                    EXPECT_EQ(0, std::memcmp(d.At(x, 0), blue, 4)) << x << " bits " << bits;
                else
                    EXPECT_EQ(d.At(x, 0)[0], To8(GetValue(img, x, 0, 0), depth)) << x << " bits " << bits;
            }
        }
    }
}

TEST(DisplayConversion, ClippingIsJudgedAfterTheCurve) {
    std::vector<unsigned short> lift(65536);
    for (int i = 0; i < 65536; ++i)
        lift[i] = static_cast<unsigned short>(std::min(65535, i + 5000));
    CImageDataInfo img;
    ASSERT_TRUE(MakeConstant(img, 2, 1, 3, 1, 0)); // black, but lifted by the curve
    SetValue(img, 1, 0, 2, 250);                   // pushed to the top by the curve
    Display d(2, 1);
    DISPLAY_PARAMS p;
    p.curve = lift.data();
    p.clipping = CLIPPING_SHADOW | CLIPPING_HIGHLIGHT;
    ASSERT_TRUE(ConvertImageForDisplay(img, {0, 0, 2, 1}, d.pixels.data(), 8, p));
    EXPECT_EQ(d.At(0, 0)[0], (5000 + 128) / 257); // no shadow mark
    EXPECT_EQ(d.At(1, 0)[2], 255);
    EXPECT_EQ(d.At(1, 0)[0], 0); // red highlight mark
}

TEST(ProcessImage2, BottomUpDestinationAndRowPositions) {
    CImageDataInfo img;
    ASSERT_TRUE(MakeGradient(img, 30, 20, 3, 1));
    Display d(10, 5);
    ROW_BUFFER buf;
    buf.data = d.pixels.data() + 4 * 10 * 4; // last stored row is the top row
    buf.stride = -40;
    buf.channels = 4;
    buf.depth = 1;
    DISPLAY_PARAMS p;
    ASSERT_TRUE(ProcessImage2(DisplayRowFunc, img, {5, 7, 10, 5}, buf, &p, nullptr));
    for (int y = 0; y < 5; ++y)
        EXPECT_EQ(d.At(0, 4 - y)[1], GetValue(img, 5, 7 + y, 1)) << y;
}

TEST(ProcessImage2, LargeRectanglesVisitEveryRowOnce) {
    CImageDataInfo img;
    ASSERT_TRUE(MakeConstant(img, 1500, 1000, 1, 1, 0));
    std::vector<uint8_t> out(1500 * 1000, 0);
    ROW_BUFFER buf{out.data(), 1500, 1, 1};
    auto count = [](const PROCESS_ROW& row) {
        for (int x = 0; x < row.width; ++x)
            row.dst[x] = static_cast<uint8_t>(row.dst[x] + 1 + (row.y & 1));
    };
    ASSERT_TRUE(ProcessImage2(count, img, {0, 0, 1500, 1000}, buf, nullptr, nullptr));
    for (int y = 0; y < 1000; ++y)
        ASSERT_EQ(out[static_cast<size_t>(y) * 1500 + 777], 1 + (y & 1)) << y;
}

TEST(ProcessImage2, BadInputWritesNothing) {
    CImageDataInfo img, invalid;
    ASSERT_TRUE(MakeConstant(img, 10, 10, 3, 1, 9));
    Display d(10, 10);
    const auto before = d.pixels;
    ROW_BUFFER buf{d.pixels.data(), 40, 4, 1};
    DISPLAY_PARAMS p;
    EXPECT_FALSE(ProcessImage2(nullptr, img, {0, 0, 10, 10}, buf, &p, nullptr));
    EXPECT_FALSE(ProcessImage2(DisplayRowFunc, invalid, {0, 0, 10, 10}, buf, &p, nullptr));
    EXPECT_FALSE(ProcessImage2(DisplayRowFunc, img, {1, 0, 10, 10}, buf, &p, nullptr));
    EXPECT_FALSE(ProcessImage2(DisplayRowFunc, img, {0, -1, 10, 5}, buf, &p, nullptr));
    EXPECT_FALSE(ProcessImage2(DisplayRowFunc, img, {0, 0, 0, 5}, buf, &p, nullptr));
    ROW_BUFFER narrow{d.pixels.data(), 20, 4, 1};
    EXPECT_FALSE(ProcessImage2(DisplayRowFunc, img, {0, 0, 10, 10}, narrow, &p, nullptr));
    ROW_BUFFER odd{d.pixels.data(), 40, 2, 1};
    EXPECT_FALSE(ProcessImage2(DisplayRowFunc, img, {0, 0, 10, 10}, odd, &p, nullptr));
    EXPECT_EQ(d.pixels, before);
}

TEST(PaintOnTransparencyBlocks, ChequerUnderOpenMaskAnchoredToTheImage) {
    const int w = 8, h = 4;
    std::vector<uint8_t> mask(20 * 10, 255);
    for (int y = 0; y < 10; ++y)
        for (int x = 10; x < 20; ++x)
            mask[y * 20 + x] = 0; // right half of the image is transparent
    mask[3 * 20 + 9] = 128;       // one half-open pixel
    Display d(w, h);
    std::fill(d.pixels.begin(), d.pixels.end(), 0);
    // The display shows image pixels (6..13, 2..5) with blocks of 4.
    ASSERT_TRUE(PaintOnTransparencyBlocks(4, w, h, 4, 1, d.pixels.data(), w * 4, mask.data(), 20, 10, 6, 2));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int ix = x + 6, iy = y + 2;
            uint8_t expect = 0;
            if (ix >= 10)
                expect = ((ix / 4 + iy / 4) & 1) ? 0xCC : 0xFF;
            else if (ix == 9 && iy == 3)
                expect = static_cast<uint8_t>((0xFF * 127 + 127) / 255); // (9/4 + 3/4) even: lighter square
            EXPECT_EQ(d.At(x, y)[0], expect) << x << "," << y;
            EXPECT_EQ(d.At(x, y)[3], 0); // alpha of the display is left alone
        }
}

TEST(PaintOnTransparencyBlocks, BadInputWritesNothing) {
    std::vector<uint8_t> mask(10 * 10, 0);
    Display d(10, 10);
    const auto before = d.pixels;
    EXPECT_FALSE(PaintOnTransparencyBlocks(0, 10, 10, 4, 1, d.pixels.data(), 40, mask.data(), 10, 10, 0, 0));
    EXPECT_FALSE(PaintOnTransparencyBlocks(8, 10, 10, 4, 1, d.pixels.data(), 40, mask.data(), 10, 10, 1, 0));
    EXPECT_FALSE(PaintOnTransparencyBlocks(8, 10, 10, 4, 1, d.pixels.data(), 40, mask.data(), 10, 9, 0, 0));
    EXPECT_FALSE(PaintOnTransparencyBlocks(8, 10, 10, 4, 2, d.pixels.data(), 40, mask.data(), 10, 10, 0, 0));
    EXPECT_FALSE(PaintOnTransparencyBlocks(8, 10, 10, 4, 1, d.pixels.data(), 40, nullptr, 10, 10, 0, 0));
    EXPECT_EQ(d.pixels, before);
}
