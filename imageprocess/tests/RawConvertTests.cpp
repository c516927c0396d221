// Guards raw development and the fake raw form: white balance multipliers applied to the wrong channel,
// highlights clipped to a tint or the kept headroom not reported as exposure, negative matrix results
// wrapping round, the working profile ignored, and bad input that changes the image.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/TestProfiles.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

using namespace ImageProcess;
using namespace kel_testing;
using CP = ColorProfile;

namespace {

// Camera R, G, B multipliers 2, 1, 1.5 and a camera that sees as sRGB.
RAW_CONVERSION Record() {
    RAW_CONVERSION raw;
    raw.valid = 1;
    raw.cameraMultipliers[0] = 2.0f;
    raw.cameraMultipliers[1] = 1.0f;
    raw.cameraMultipliers[2] = 1.5f;
    raw.baselineExposure = 0.25;
    return raw;
}

// A 16-bit image whose pixel (x, 0) is given as R, G, B and stored B, G, R.
CImageDataInfo Pixels(const std::vector<std::array<uint32_t, 3>>& rgb) {
    CImageDataInfo img;
    EXPECT_TRUE(img.Create(static_cast<int>(rgb.size()), 1, 3, 2));
    for (size_t x = 0; x < rgb.size(); ++x)
        for (int c = 0; c < 3; ++c)
            SetValue(img, static_cast<int>(x), 0, 2 - c, rgb[x][c]);
    return img;
}

std::array<uint32_t, 3> Rgb(const CImageDataInfo& img, int x) {
    return {GetValue(img, x, 0, 2), GetValue(img, x, 0, 1), GetValue(img, x, 0, 0)};
}

// sRGB tone curve decoded, 0..1.
double SrgbToLinear(double v) {
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

} // namespace

TEST(RawConvert, MultipliersGoToTheirOwnChannels) {
    CImageDataInfo img = Pixels({{1000, 2000, 3000}});
    double exposure = 0;
    ASSERT_TRUE(ConvertCameraRawToWorkingProfile16Bit(img, Record(), RAW_CLIP_HIGHLIGHTS, exposure));
    const auto out = Rgb(img, 0);
    EXPECT_NEAR(out[0], 2000, 40);
    EXPECT_NEAR(out[1], 2000, 40);
    EXPECT_NEAR(out[2], 4500, 90);
    EXPECT_DOUBLE_EQ(exposure, 0.25);

    // The same pixel stored R, G, B.
    RAW_CONVERSION raw = Record();
    raw.redFirst = 1;
    CImageDataInfo swapped = Pixels({{3000, 2000, 1000}});
    ASSERT_TRUE(ConvertCameraRawToWorkingProfile16Bit(swapped, raw, RAW_CLIP_HIGHLIGHTS, exposure));
    EXPECT_EQ(Rgb(swapped, 0)[2], out[0]);
    EXPECT_EQ(Rgb(swapped, 0)[0], out[2]);
}

TEST(RawConvert, ClippingMakesBlownAreasWhiteAndKeepingReportsTheHeadroom) {
    const std::vector<std::array<uint32_t, 3>> px{{65535, 65535, 65535}, {8000, 12000, 10000}};
    CImageDataInfo clipped = Pixels(px), kept = Pixels(px);
    double eClip = 0, eKeep = 0;
    ASSERT_TRUE(ConvertCameraRawToWorkingProfile16Bit(clipped, Record(), RAW_CLIP_HIGHLIGHTS, eClip));
    ASSERT_TRUE(ConvertCameraRawToWorkingProfile16Bit(kept, Record(), RAW_CLIP_KEEP_HIGHLIGHTS, eKeep));
    // Saturated sensor: white, not the magenta that unequal multipliers would give.
    for (uint32_t v : Rgb(clipped, 0))
        EXPECT_GE(v, 65530u);
    // Kept highlights: scaled down by the strongest multiplier, which the exposure gives back.
    EXPECT_NEAR(eKeep - eClip, 1.0, 1e-9);
    EXPECT_GE(Rgb(kept, 0)[0], 65530u);
    EXPECT_LT(Rgb(kept, 0)[1], 33500u);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(Rgb(kept, 1)[c] * std::exp2(eKeep - eClip), Rgb(clipped, 1)[c], 3.0) << c;
}

TEST(RawConvert, MatrixMixesChannelsAndNegativeResultsClipAtBlack) {
    RAW_CONVERSION raw = Record();
    const float m[3][3] = {{1.6f, -0.4f, -0.2f}, {-0.2f, 1.4f, -0.2f}, {0.0f, -0.5f, 1.5f}};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            raw.cameraToSRGB[i][j] = m[i][j];
    for (float& v : raw.cameraMultipliers)
        v = 1.0f;
    // Rows sum to 1: neutral stays neutral. A pure green pulls red and blue below zero.
    CImageDataInfo img = Pixels({{20000, 20000, 20000}, {0, 30000, 0}, {10000, 6000, 3000}});
    double exposure = 0;
    ASSERT_TRUE(ConvertCameraRawToWorkingProfile16Bit(img, raw, RAW_CLIP_HIGHLIGHTS, exposure));
    for (uint32_t v : Rgb(img, 0))
        EXPECT_NEAR(v, 20000, 60);
    EXPECT_EQ(Rgb(img, 1)[0], 0u);
    EXPECT_NEAR(Rgb(img, 1)[1], 42000, 150);
    EXPECT_EQ(Rgb(img, 1)[2], 0u);
    EXPECT_NEAR(Rgb(img, 2)[0], 1.6 * 10000 - 0.4 * 6000 - 0.2 * 3000, 60);
    EXPECT_NEAR(Rgb(img, 2)[1], -0.2 * 10000 + 1.4 * 6000 - 0.2 * 3000, 60);
    EXPECT_NEAR(Rgb(img, 2)[2], -0.5 * 6000 + 1.5 * 3000, 60);
}

TEST(RawConvert, OutputFollowsTheWorkingProfile) {
    const std::string path = ::testing::TempDir() + "kel_raw_wide.icc";
    CP::Profile wide;
    ASSERT_TRUE(WriteWideGamutProfile(path) && CP::LoadProfileFile(path, wide));
    std::remove(path.c_str());
    RAW_CONVERSION raw = Record();
    for (float& v : raw.cameraMultipliers)
        v = 1.0f;
    const std::vector<std::array<uint32_t, 3>> px{{30000, 30000, 30000}, {30000, 0, 0}};
    CImageDataInfo inSrgb = Pixels(px), inWide = Pixels(px);
    double exposure = 0;
    ASSERT_TRUE(ConvertCameraRawToWorkingProfile16Bit(inSrgb, raw, RAW_CLIP_HIGHLIGHTS, exposure));
    ASSERT_TRUE(CP::SetWorkingProfile(wide));
    const bool converted = ConvertCameraRawToWorkingProfile16Bit(inWide, raw, RAW_CLIP_HIGHLIGHTS, exposure);
    ASSERT_TRUE(CP::SetWorkingProfile(CP::GetSRGBProfile()));
    ASSERT_TRUE(converted);
    // Neutral stays neutral in any working space; sRGB red lies inside the wide gamut, so it needs
    // less of the wide red primary and some of the others there.
    for (uint32_t v : Rgb(inWide, 0))
        EXPECT_NEAR(v, 30000, 150);
    EXPECT_EQ(Rgb(inSrgb, 1)[1], 0u);
    EXPECT_LT(Rgb(inWide, 1)[0], Rgb(inSrgb, 1)[0]);
    EXPECT_GT(Rgb(inWide, 1)[1] + Rgb(inWide, 1)[2], 300u);
}

TEST(RawConvert, BadInputLeavesTheImageAlone) {
    CImageDataInfo img = Pixels({{1000, 2000, 3000}});
    const CImageDataInfo before = img;
    double exposure = 7;
    RAW_CONVERSION raw = Record();
    EXPECT_FALSE(ConvertCameraRawToWorkingProfile16Bit(img, raw, 2, exposure));
    raw.cameraMultipliers[2] = 0.0f;
    EXPECT_FALSE(ConvertCameraRawToWorkingProfile16Bit(img, raw, RAW_CLIP_HIGHLIGHTS, exposure));
    raw = Record();
    raw.cameraToSRGB[1][1] = NAN;
    EXPECT_FALSE(ConvertCameraRawToWorkingProfile16Bit(img, raw, RAW_CLIP_HIGHLIGHTS, exposure));
    EXPECT_FALSE(ConvertCameraRawToWorkingProfile16Bit(img, RAW_CONVERSION(), RAW_CLIP_HIGHLIGHTS, exposure));
    EXPECT_TRUE(SamePixels(img, before));
    EXPECT_EQ(exposure, 7);
    CImageDataInfo eight;
    ASSERT_TRUE(MakeConstant(eight, 4, 4, 3, 1, 100));
    EXPECT_FALSE(ConvertCameraRawToWorkingProfile16Bit(eight, Record(), RAW_CLIP_HIGHLIGHTS, exposure));
    EXPECT_EQ(eight.depth, 1);
    CImageDataInfo empty;
    EXPECT_FALSE(ConvertImageToFakeRaw(empty, CP::GetSRGBProfile()));
}

TEST(FakeRaw, OrdinaryImagesBecomeLinearWorkingRgb) {
    // 8 bit, B, G, R = 40, 120, 200: each channel decoded from the sRGB curve, order kept.
    CImageDataInfo img;
    ASSERT_TRUE(img.Create(3, 2, 3, 1));
    const uint32_t bgr[3] = {40, 120, 200};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            for (int c = 0; c < 3; ++c)
                SetValue(img, x, y, c, bgr[c]);
    ASSERT_TRUE(ConvertImageToFakeRaw(img, CP::GetSRGBProfile()));
    ASSERT_EQ(img.channels, 3);
    ASSERT_EQ(img.depth, 2);
    ASSERT_EQ(img.width, 3);
    ASSERT_EQ(img.height, 2);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(GetValue(img, 1, 1, c) / 65535.0, SrgbToLinear(bgr[c] / 255.0), 0.004) << c;

    // 16 bit with alpha and an invalid profile (taken as sRGB): the alpha goes.
    CImageDataInfo rgba;
    ASSERT_TRUE(rgba.Create(2, 2, 4, 2));
    const uint32_t v16[4] = {10000, 30000, 50000, 65535};
    for (int c = 0; c < 4; ++c)
        SetValue(rgba, 0, 0, c, v16[c]);
    ASSERT_TRUE(ConvertImageToFakeRaw(rgba, CP::Profile()));
    ASSERT_EQ(rgba.channels, 3);
    for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(GetValue(rgba, 0, 0, c) / 65535.0, SrgbToLinear(v16[c] / 65535.0), 0.004) << c;

    // The quick sRGB path and the general transform agree: the same colours given as the bytes of
    // an sRGB profile that is not the built-in one take the general path.
    CImageDataInfo noise, viaTransform;
    ASSERT_TRUE(MakeNoise(noise, 64, 16, 3, 1, 9));
    viaTransform = noise;
    std::vector<unsigned char> icc = CP::GetSRGBProfile().Data();
    icc.push_back(0); // a different byte string, the same profile
    const CP::Profile copy(icc.data(), icc.size(), "copy");
    ASSERT_TRUE(copy.IsValid());
    ASSERT_FALSE(copy == CP::GetSRGBProfile());
    ASSERT_TRUE(ConvertImageToFakeRaw(noise, CP::GetSRGBProfile()));
    ASSERT_TRUE(ConvertImageToFakeRaw(viaTransform, copy));
    EXPECT_LE(MaxDifference(noise, viaTransform), 80); // 16-bit levels: 0.12 %

    // Grey spreads to three equal channels.
    CImageDataInfo grey;
    ASSERT_TRUE(MakeConstant(grey, 2, 2, 1, 1, 128));
    ASSERT_TRUE(ConvertImageToFakeRaw(grey, CP::GetSRGBProfile()));
    ASSERT_EQ(grey.channels, 3);
    EXPECT_NEAR(GetValue(grey, 1, 1, 0) / 65535.0, SrgbToLinear(128 / 255.0), 0.004);
    EXPECT_EQ(GetValue(grey, 1, 1, 0), GetValue(grey, 1, 1, 1));
    EXPECT_EQ(GetValue(grey, 1, 1, 1), GetValue(grey, 1, 1, 2));
}
