// Guards colour management against transforms that drift on identity, wrong channel order, linear
// profiles that are not linear, a fast display path that strays from the engine, and bad input that
// writes into the output.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/TestProfiles.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

using namespace ImageProcess;
using namespace kel_testing;
using CP = ColorProfile;

TEST(ColorProfile, WellKnownProfilesAreValid) {
    EXPECT_TRUE(CP::GetSRGBProfile().IsValid());
    EXPECT_FALSE(CP::GetSRGBProfile().IsGray());
    EXPECT_TRUE(CP::GetWorkingProfile() == CP::GetSRGBProfile());
    EXPECT_TRUE(CP::GetLinearWorkingProfile().IsValid());
    EXPECT_FALSE(CP::GetLinearWorkingProfile() == CP::GetSRGBProfile());
    // A display that does not exist falls back to sRGB.
    EXPECT_TRUE(CP::GetMonitorProfile(":987") == CP::GetSRGBProfile());
    EXPECT_EQ(CP::GetProfileByName("SRGB"), &CP::GetSRGBProfile());
    EXPECT_EQ(CP::GetProfileByName("no such profile"), nullptr);
    const auto names = CP::GetProfileNames();
    ASSERT_GE(names.size(), 2u);
    EXPECT_EQ(CP::GetProfileByName(names[1]), &CP::GetLinearWorkingProfile());
}

TEST(ColorProfile, PixelSizesOfFormats) {
    EXPECT_EQ(CP::TransformFormatToPixelSize(CP::FORMAT_GRAY_8), 1);
    EXPECT_EQ(CP::TransformFormatToPixelSize(CP::FORMAT_GRAY_16), 2);
    EXPECT_EQ(CP::TransformFormatToPixelSize(CP::FORMAT_BGR_8), 3);
    EXPECT_EQ(CP::TransformFormatToPixelSize(CP::FORMAT_BGR_16), 6);
    EXPECT_EQ(CP::TransformFormatToPixelSize(CP::FORMAT_BGRA_8), 4);
    EXPECT_EQ(CP::TransformFormatToPixelSize(CP::FORMAT_BGRA_16), 8);
    EXPECT_EQ(CP::TransformFormatToPixelSize(CP::FORMAT_RGB_DBL), 24);
    EXPECT_EQ(CP::TransformFormatToPixelSize(CP::FORMAT_NONE), 0);
}

TEST(ColorProfile, TransformsAreCachedAndRefuseUnsuitableFormats) {
    const auto& s = CP::GetSRGBProfile();
    const auto* a = CP::GetTransform(s, s, CP::FORMAT_BGR_8, CP::FORMAT_BGRA_8);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a, CP::GetTransform(s, s, CP::FORMAT_BGR_8, CP::FORMAT_BGRA_8));
    EXPECT_EQ(a->InputFormat(), CP::FORMAT_BGR_8);
    EXPECT_EQ(a->OutputFormat(), CP::FORMAT_BGRA_8);
    EXPECT_EQ(CP::GetTransform(s, s, CP::FORMAT_GRAY_8, CP::FORMAT_BGR_8), nullptr);
    EXPECT_EQ(CP::GetTransform(s, CP::Profile(), CP::FORMAT_BGR_8, CP::FORMAT_BGR_8), nullptr);
    const unsigned char junk[200] = {1, 2, 3};
    EXPECT_FALSE(CP::Profile(junk, sizeof(junk)).IsValid());
}

TEST(ColorProfile, SRGBToSRGBIsTheIdentityWithinOneLevel) {
    const auto& s = CP::GetSRGBProfile();
    for (int depth : {1, 2})
        for (int channels : {3, 4}) {
            CImageDataInfo in, out;
            ASSERT_TRUE(MakeColorCube(in, 64, 48, channels, depth));
            ASSERT_TRUE(out.Create(64, 48, channels, depth));
            ASSERT_TRUE(CP::TransformImage(out, in, CP::INTENT_PERCEPTUAL, 0, s, s, nullptr, nullptr));
            EXPECT_LE(MaxDifference(in, out), depth == 1 ? 1 : 257) << channels << " " << depth;
        }
}

TEST(ColorProfile, TransformImageChangesDepthAndSpreadsGrey) {
    const auto& s = CP::GetSRGBProfile();
    CImageDataInfo grey, out;
    ASSERT_TRUE(MakeGradient(grey, 32, 8, 1, 1));
    ASSERT_TRUE(out.Create(32, 8, 4, 2));
    ASSERT_TRUE(CP::TransformImage(out, grey, 0, 0, s, s, nullptr, nullptr));
    for (int x = 0; x < 32; x += 5)
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(GetValue(out, x, 3, c), GetValue(grey, x, 3, 0) * 257.0, 300.0) << x;
    EXPECT_EQ(GetValue(out, 0, 0, 3), 65535u); // no alpha in the input: opaque
}

TEST(ColorProfile, LinearWorkingProfileIsLinear) {
    const auto* toLinear = CP::GetTransform(CP::GetSRGBProfile(), CP::GetLinearWorkingProfile(),
                                            CP::FORMAT_RGB_DBL, CP::FORMAT_RGB_DBL, CP::INTENT_RELATIVE);
    ASSERT_NE(toLinear, nullptr);
    COLORVALS in[3], out[3];
    in[0].v[0] = in[0].v[1] = in[0].v[2] = 0.5; // sRGB 0.5 is linear 0.214
    in[1].v[0] = in[1].v[1] = in[1].v[2] = 1.0; // white stays white
    in[2].v[0] = 1.0;                           // pure red keeps its primaries: stays pure red
    ASSERT_TRUE(CP::DoTransform(toLinear, in, out, 3));
    for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(out[0].v[c], 0.2140, 0.003);
        EXPECT_NEAR(out[1].v[c], 1.0, 0.002);
    }
    EXPECT_NEAR(out[2].v[0], 1.0, 0.003);
    EXPECT_NEAR(out[2].v[1], 0.0, 0.003);
    EXPECT_NEAR(out[2].v[2], 0.0, 0.003);
}

TEST(ColorProfile, ColourSamplesInTheirOwnScale) {
    const auto& s = CP::GetSRGBProfile();
    const auto* t = CP::GetTransform(s, s, CP::FORMAT_BGR_8, CP::FORMAT_BGR_8);
    COLORVALS in[2], out[2];
    in[0].v[0] = 200;
    in[0].v[1] = 10;
    in[0].v[2] = 90;
    in[1].v[1] = 255;
    ASSERT_TRUE(CP::DoTransform(t, in, out, 2, 255.0));
    for (int i = 0; i < 2; ++i)
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(out[i].v[c], in[i].v[c], 0.5);
    EXPECT_FALSE(CP::DoTransform(nullptr, in, out, 2, 255.0));
    EXPECT_FALSE(CP::DoTransform(t, in, out, 2, 0.0));
}

TEST(ColorProfile, DisplayConversionThroughTheTransformIsTheIdentityForSRGB) {
    const auto& s = CP::GetSRGBProfile();
    CImageDataInfo img;
    ASSERT_TRUE(MakeColorCube(img, 300, 200, 3, 1));
    std::vector<uint8_t> plain(300 * 200 * 4), managed(300 * 200 * 4);
    DISPLAY_PARAMS p;
    ASSERT_TRUE(ConvertImageForDisplay(img, {0, 0, 300, 200}, plain.data(), 1200, p));
    p.transform = CP::GetTransform(s, CP::GetMonitorProfile(":987"), CP::FORMAT_BGR_16, CP::FORMAT_BGR_16);
    ASSERT_NE(p.transform, nullptr);
    ASSERT_TRUE(ConvertImageForDisplay(img, {0, 0, 300, 200}, managed.data(), 1200, p));
    int worst = 0;
    for (size_t i = 0; i < plain.size(); ++i)
        worst = std::max(worst, std::abs(plain[i] - managed[i]));
    EXPECT_LE(worst, 1);
}

TEST(ColorProfile, TransformImageBadInputWritesNothing) {
    const auto& s = CP::GetSRGBProfile();
    CImageDataInfo in, out, small, invalid;
    ASSERT_TRUE(MakeNoise(in, 8, 8, 3, 1, 1));
    ASSERT_TRUE(MakeConstant(out, 8, 8, 3, 1, 77));
    ASSERT_TRUE(MakeConstant(small, 7, 8, 3, 1, 77));
    const CImageDataInfo before = out;
    EXPECT_FALSE(CP::TransformImage(out, invalid, 0, 0, s, s, nullptr, nullptr));
    EXPECT_FALSE(CP::TransformImage(small, in, 0, 0, s, s, nullptr, nullptr));
    EXPECT_FALSE(CP::TransformImage(out, in, 0, 0, CP::Profile(), s, nullptr, nullptr));
    EXPECT_FALSE(CP::TransformImage(out, in, 9, 0, s, s, nullptr, nullptr));
    const CP::Profile bad;
    EXPECT_FALSE(CP::TransformImage(out, in, 0, 0, s, s, &bad, nullptr));
    EXPECT_TRUE(SamePixels(out, before));
}

namespace {

// The largest difference between the display path and the engine, over every red and green value
// with eight blue levels.
long WorstDisplayError(const CP::Profile& from, const CP::Profile& to) {
    CImageDataInfo img, direct;
    if (!MakeColorCube(img, 256, 256, 3, 1) || !direct.Create(256, 256, 3, 1) ||
        !CP::TransformImage(direct, img, CP::INTENT_PERCEPTUAL, 0, from, to, nullptr, nullptr))
        return -1;
    std::vector<uint8_t> shown(256 * 256 * 4);
    DISPLAY_PARAMS p;
    p.transform = CP::GetTransform(from, to, CP::FORMAT_BGRA_8, CP::FORMAT_BGRA_8);
    if (!p.transform || !ConvertImageForDisplay(img, {0, 0, 256, 256}, shown.data(), 1024, p))
        return -1;
    long worst = 0;
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x)
            for (int c = 0; c < 3; ++c)
                worst = std::max(worst, std::labs(static_cast<long>(shown[(y * 256 + x) * 4 + c]) -
                                                  static_cast<long>(GetValue(direct, x, y, c))));
    return worst;
}

} // namespace

TEST(ColorProfile, DisplayPathFollowsTheEngineWithinOneLevel) {
    // Both directions between gamma-encoded and linear data (the steepest curves a screen meets), and
    // to and from a wide gamut. These profiles are matrix-shaper, so this checks the
    // curve-matrix-curve fast path against the engine.
    const auto& s = CP::GetSRGBProfile();
    const auto& lin = CP::GetLinearWorkingProfile();
    const std::string path = ::testing::TempDir() + "kel_wide_gamut.icc";
    CP::Profile wide;
    ASSERT_TRUE(WriteWideGamutProfile(path) && CP::LoadProfileFile(path, wide));
    std::remove(path.c_str());
    const std::pair<const CP::Profile*, const CP::Profile*> pairs[] = {
        {&s, &lin}, {&lin, &s}, {&s, &wide}, {&wide, &s}};
    for (const auto& [from, to] : pairs) {
        const long worst = WorstDisplayError(*from, *to);
        EXPECT_GE(worst, 0) << from->Name() << " to " << to->Name();
        EXPECT_LE(worst, 1) << from->Name() << " to " << to->Name();
    }
}
