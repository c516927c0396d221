// Guards lens correction against a moved image at rest, distortion that is not radial or not of the
// stated amount, turning the wrong way, empty corners despite the scale constraint, and vignettes that
// touch the centre or alpha.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

using namespace ImageProcess;
using namespace kel_testing;

namespace {

// Centroid of channel c in the square of radius r around (x, y).
bool Centroid(const CImageDataInfo& img, int c, double x, double y, int r, double& cx, double& cy) {
    double sx = 0, sy = 0, sum = 0;
    for (int j = static_cast<int>(y) - r; j <= static_cast<int>(y) + r; ++j)
        for (int i = static_cast<int>(x) - r; i <= static_cast<int>(x) + r; ++i) {
            if (i < 0 || j < 0 || i >= img.width || j >= img.height)
                return false;
            const double v = GetValue(img, i, j, c);
            sx += v * (i + 0.5), sy += v * (j + 0.5), sum += v;
        }
    if (sum <= 0)
        return false;
    cx = sx / sum, cy = sy / sum;
    return true;
}

void Dot(CImageDataInfo& img, int x, int y) {
    const uint32_t values[3] = {90, 160, 230};
    for (int j = -1; j <= 1; ++j)
        for (int i = -1; i <= 1; ++i)
            for (int c = 0; c < img.channels; ++c)
                SetValue(img, x + i, y + j, c, values[c % 3]);
}

} // namespace

TEST(LensCorrect, AtRestIsTheIdentity) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            CImageDataInfo img, out;
            ASSERT_TRUE(MakeNoise(img, 53, 31, channels, depth, 9));
            LENSCORRECT_PARAMS p;
            ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
            EXPECT_TRUE(SamePixels(out, img));
            p.centreX = 0.2, p.centreY = 0.9, p.constrainScale = 1;
            ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
            EXPECT_TRUE(SamePixels(out, img));
        }
}

TEST(LensCorrect, QuarterTurnMatchesTheExactRotation) {
    for (int channels : {1, 3, 4}) {
        CImageDataInfo img, out, ref;
        ASSERT_TRUE(MakeNoise(img, 40, 40, channels, 2, 4));
        LENSCORRECT_PARAMS p;
        p.rotate = 90;
        ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
        ASSERT_TRUE(RotateImage90(img, ref, true, nullptr));
        EXPECT_TRUE(SamePixels(out, ref)) << channels;
    }
}

TEST(LensCorrect, DistortionMovesDotsRadiallyByTheModel) {
    for (double distortion : {0.6, -0.4})
        for (int channels : {1, 3}) {
            CImageDataInfo img, out;
            const int w = 241, h = 181;
            ASSERT_TRUE(MakeConstant(img, w, h, channels, 1, 0));
            for (int y = 20; y < h - 10; y += 25)
                for (int x = 20; x < w - 10; x += 25)
                    Dot(img, x, y);
            LENSCORRECT_PARAMS p;
            p.distortion = distortion;
            ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
            const double cx = w / 2.0, cy = h / 2.0, norm = std::hypot(w, h) / 2;
            const double k = LensDistortionK(distortion);
            int checked = 0;
            for (int y = 20; y < h - 10; y += 25)
                for (int x = 20; x < w - 10; x += 25) {
                    // Where the dot must land: the destination radius rd with rd (1 + k rd^2) = rs.
                    const double sx = (x + 0.5 - cx) / norm, sy = (y + 0.5 - cy) / norm;
                    const double rs = std::hypot(sx, sy);
                    double rd = rs;
                    for (int i = 0; i < 50; ++i)
                        rd -= (rd * (1 + k * rd * rd) - rs) / (1 + 3 * k * rd * rd);
                    const double f = rs > 0 ? rd / rs : 1.0;
                    const double ex = cx + sx * f * norm, ey = cy + sy * f * norm;
                    for (int c = 0; c < channels; ++c) {
                        double mx, my;
                        if (!Centroid(out, c, ex, ey, 4, mx, my))
                            continue;
                        ++checked;
                        EXPECT_NEAR(mx, ex, 0.35) << x << "," << y << " c" << c;
                        EXPECT_NEAR(my, ey, 0.35) << x << "," << y << " c" << c;
                        // Along the ray through the centre, outwards for a positive amount.
                        const double cross = (mx - cx) * (y + 0.5 - cy) - (my - cy) * (x + 0.5 - cx);
                        EXPECT_NEAR(cross / norm, 0.0, 0.6);
                        if (rs > 0.3) {
                            EXPECT_EQ(std::hypot(mx - cx, my - cy) > rs * norm, distortion > 0);
                        }
                    }
                }
            EXPECT_GT(checked, 30 * channels);
        }
}

TEST(LensCorrect, ScaleAndKeystone) {
    CImageDataInfo img, out;
    ASSERT_TRUE(MakeConstant(img, 101, 101, 3, 1, 0));
    Dot(img, 60, 50);
    LENSCORRECT_PARAMS p;
    p.scale = 2.0;
    ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
    double mx, my;
    ASSERT_TRUE(Centroid(out, 2, 70.5, 50.5, 5, mx, my));
    EXPECT_NEAR(mx, 50.5 + 2 * 10, 0.3);
    EXPECT_NEAR(my, 50.5, 0.3);
    // A positive vertical correction widens the top: a row near the top shows less of the source.
    ASSERT_TRUE(MakeGradient(img, 101, 101, 3, 1));
    p = LENSCORRECT_PARAMS{};
    p.vertical = 0.5;
    ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
    const double topSpan = double(GetValue(out, 90, 10, 0)) - GetValue(out, 10, 10, 0);
    const double bottomSpan = double(GetValue(out, 90, 90, 0)) - GetValue(out, 10, 90, 0);
    EXPECT_LT(topSpan, bottomSpan * 0.9);
}

TEST(LensCorrect, ConstrainedScaleLeavesNoEmptyCorner) {
    for (auto setup : {std::array{-0.6, 0.0, 0.0}, std::array{0.0, 4.0, 0.0}, std::array{0.0, 0.0, 0.7}}) {
        CImageDataInfo img, out;
        ASSERT_TRUE(MakeConstant(img, 90, 60, 4, 1, 200));
        LENSCORRECT_PARAMS p;
        p.distortion = setup[0], p.rotate = setup[1], p.horizontal = setup[2];
        ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
        long empty = 0;
        for (int y = 0; y < 60; ++y)
            for (int x = 0; x < 90; ++x)
                empty += GetValue(out, x, y, 3) == 0;
        EXPECT_GT(empty, 0);
        p.constrainScale = 1;
        ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
        for (int y = 0; y < 60; ++y)
            for (int x = 0; x < 90; ++x)
                ASSERT_EQ(GetValue(out, x, y, 3), 200u) << x << "," << y;
    }
}

TEST(LensCorrect, VignetteBrightensOrDarkensTheRimOnly) {
    for (int depth : {1, 2}) {
        const uint32_t k = depth == 2 ? 257 : 1;
        CImageDataInfo img;
        ASSERT_TRUE(MakeConstant(img, 80, 60, 4, depth, 0));
        for (int y = 0; y < 60; ++y)
            for (int x = 0; x < 80; ++x)
                for (int c = 0; c < 4; ++c)
                    SetValue(img, x, y, c, (40 + 30 * c) * k);
        CImageDataInfo bright = img, dark = img, same = img;
        ASSERT_TRUE(LensVignette(same, 0.0, 0.5, nullptr));
        EXPECT_TRUE(SamePixels(same, img));
        ASSERT_TRUE(LensVignette(same, 0.5, 0.0, nullptr));
        EXPECT_TRUE(SamePixels(same, img));
        ASSERT_TRUE(LensVignette(bright, 0.5, 0.5, nullptr));
        ASSERT_TRUE(LensVignette(dark, -0.5, 0.5, nullptr));
        for (int c = 0; c < 4; ++c) {
            EXPECT_EQ(GetValue(bright, 40, 30, c), GetValue(img, 40, 30, c));
            EXPECT_EQ(GetValue(dark, 40, 30, c), GetValue(img, 40, 30, c));
            if (c == 3) {
                EXPECT_EQ(GetValue(bright, 0, 0, c), GetValue(img, 0, 0, c));
                continue;
            }
            EXPECT_GT(GetValue(bright, 0, 0, c), GetValue(img, 0, 0, c) * 1.3);
            EXPECT_LT(GetValue(dark, 0, 0, c), GetValue(img, 0, 0, c) * 0.7);
            // Monotonic along the diagonal.
            EXPECT_GE(GetValue(bright, 5, 4, c), GetValue(bright, 20, 15, c));
        }
    }
}

TEST(LensCorrect, BadInputWritesNothing) {
    CImageDataInfo img, out, invalid;
    ASSERT_TRUE(MakeGradient(img, 20, 10, 3, 1));
    ASSERT_TRUE(MakeConstant(out, 4, 4, 1, 1, 9));
    const CImageDataInfo before = out;
    LENSCORRECT_PARAMS p;
    EXPECT_FALSE(LensCorrect(out, invalid, p, nullptr));
    p.scale = 0;
    EXPECT_FALSE(LensCorrect(out, img, p, nullptr));
    p = LENSCORRECT_PARAMS{};
    p.centreZ = 0;
    EXPECT_FALSE(LensCorrect(out, img, p, nullptr));
    p = LENSCORRECT_PARAMS{};
    p.distortion = std::nan("");
    EXPECT_FALSE(LensCorrect(out, img, p, nullptr));
    EXPECT_FALSE(LensCorrect(img, img, LENSCORRECT_PARAMS{}, nullptr));
    EXPECT_TRUE(SamePixels(out, before));
    EXPECT_FALSE(LensVignette(out, 1.5, 0.5, nullptr));
    EXPECT_FALSE(LensVignette(out, 0.5, -0.1, nullptr));
    EXPECT_FALSE(LensVignette(invalid, 0.5, 0.5, nullptr));
    EXPECT_TRUE(SamePixels(out, before));
}

TEST(LensCorrect, FuzzRandomSizesAndParameters) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> unit(-1, 1);
    for (int round = 0; round < 200; ++round) {
        const int w = round == 0 ? 1 : 1 + static_cast<int>(rng() % 40);
        const int h = round == 0 ? 1 : 1 + static_cast<int>(rng() % 40);
        const int channels = std::array{1, 3, 4}[rng() % 3];
        const int depth = 1 + static_cast<int>(rng() % 2);
        LENSCORRECT_PARAMS p;
        p.distortion = unit(rng), p.vertical = unit(rng), p.horizontal = unit(rng);
        p.rotate = 10 * unit(rng), p.scale = 1 + 0.5 * unit(rng);
        p.centreX = 0.5 + 0.5 * unit(rng), p.centreY = 0.5 + 0.5 * unit(rng),
        p.centreZ = 0.3 + unit(rng) * 0.2;
        p.constrainScale = rng() % 2;
        SCOPED_TRACE(testing::Message()
                     << w << "x" << h << " " << channels << "/" << depth << " round " << round);
        CImageDataInfo img, out;
        ASSERT_TRUE(MakeConstant(img, w, h, channels, depth, 0));
        const uint32_t k = depth == 2 ? 257 : 1;
        const uint32_t values[4] = {11 * k, 22 * k, 33 * k, 44 * k};
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < channels; ++c)
                    SetValue(img, x, y, c, values[c]);
        ASSERT_TRUE(LensCorrect(out, img, p, nullptr));
        ASSERT_EQ(out.width, w);
        ASSERT_EQ(out.height, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const bool empty = GetValue(out, x, y, 0) == 0;
                for (int c = 0; c < channels; ++c)
                    ASSERT_EQ(GetValue(out, x, y, c), empty ? 0 : values[c]);
            }
        ASSERT_TRUE(LensVignette(out, unit(rng), 0.5 + 0.5 * unit(rng), nullptr));
    }
}
