// Guards rotation by any angle against a wrong turning direction, lost exactness at quarter turns,
// drift on a round trip, and crop rectangles that take in filled corners or could be larger.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

using namespace ImageProcess;
using namespace kel_testing;

namespace {

const ARGB32 kClear(0, 0, 0, 0);

// Smooth waves of a different phase per channel: interpolation error stays small, swaps show.
void MakeWaves(CImageDataInfo& img, int w, int h, int channels, int depth) {
    ASSERT_TRUE(MakeConstant(img, w, h, channels, depth, 0));
    const double maxV = MaxValue(depth);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < channels; ++c) {
                const double v = 0.5 + 0.4 * std::sin(x * 0.05 * (c + 1) + c) * std::cos(y * 0.04 + 0.7 * c);
                SetValue(img, x, y, c, static_cast<uint32_t>(v * maxV));
            }
}

// Rows of the fill: alpha 0 where no source pixel landed (the source keeps alpha above 0).
bool IsFilled(const CImageDataInfo& img, int x, int y) {
    return GetValue(img, x, y, 3) == 0;
}

bool RectHasFill(const CImageDataInfo& img, int l, int t, int r, int b) {
    for (int y = t; y < b; ++y)
        for (int x = l; x < r; ++x)
            if (IsFilled(img, x, y))
                return true;
    return false;
}

// The crop rectangle holds no fill, and each side either touches the image edge or cannot move out by
// one pixel without taking some in (with keepAspect: not all four at once).
void ExpectTightCrop(const CImageDataInfo& rotated, const IntRect& rc, bool keepAspect) {
    const int l = rc.x, t = rc.y, r = rc.Right(), b = rc.Bottom();
    ASSERT_FALSE(RectHasFill(rotated, l, t, r, b)) << l << "," << t << " " << rc.width << "x" << rc.height;
    const int W = rotated.width, H = rotated.height;
    if (keepAspect) {
        // The next larger rectangle of the same proportions, centred, takes in fill or leaves the image.
        const int w = rc.width + 1, h = std::max(1, static_cast<int>(std::floor(double(w) * H / W + 0.5)));
        const int nl = (W - w) / 2, nt = (H - h) / 2;
        if (w <= W && h <= H) {
            EXPECT_TRUE(RectHasFill(rotated, nl, nt, nl + w, nt + h));
        }
        return;
    }
    if (l > 0) {
        EXPECT_TRUE(RectHasFill(rotated, l - 1, t, r, b));
    }
    if (t > 0) {
        EXPECT_TRUE(RectHasFill(rotated, l, t - 1, r, b));
    }
    if (r < W) {
        EXPECT_TRUE(RectHasFill(rotated, l, t, r + 1, b));
    }
    if (b < H) {
        EXPECT_TRUE(RectHasFill(rotated, l, t, r, b + 1));
    }
}

// The largest area over every rectangle of unfilled pixels, by brute force over row pairs.
long BruteLargestArea(const CImageDataInfo& img) {
    std::vector<int> u0(img.height), u1(img.height);
    for (int y = 0; y < img.height; ++y) {
        u0[y] = img.width, u1[y] = 0;
        for (int x = 0; x < img.width; ++x)
            if (!IsFilled(img, x, y))
                u0[y] = std::min(u0[y], x), u1[y] = x + 1;
    }
    long best = 0;
    for (int t = 0; t < img.height; ++t) {
        int lo = 0, hi = img.width;
        for (int b = t; b < img.height; ++b) {
            lo = std::max(lo, u0[b]), hi = std::min(hi, u1[b]);
            if (hi <= lo)
                break;
            best = std::max(best, static_cast<long>(hi - lo) * (b - t + 1));
        }
    }
    return best;
}

} // namespace

TEST(RotateAngle, NoTurnAndQuarterTurnsAreExact) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4})
            for (int side : {37, 36})
                for (auto interp : {ROTATE_BILINEAR, ROTATE_BICUBIC}) {
                    CImageDataInfo img, out, ref;
                    ASSERT_TRUE(MakeNoise(img, side, side, channels, depth, 3));
                    ASSERT_TRUE(RotateImageAngle(img, out, 0.0, interp, kClear, nullptr));
                    EXPECT_TRUE(SamePixels(out, img));
                    ASSERT_TRUE(RotateImage90(img, ref, true, nullptr));
                    ASSERT_TRUE(RotateImageAngle(img, out, 90.0, interp, kClear, nullptr));
                    EXPECT_TRUE(SamePixels(out, ref)) << channels << " " << depth << " " << side;
                    ASSERT_TRUE(RotateImageAngle(img, out, -270.0, interp, kClear, nullptr));
                    EXPECT_TRUE(SamePixels(out, ref));
                    ASSERT_TRUE(RotateImage90(img, ref, false, nullptr));
                    ASSERT_TRUE(RotateImageAngle(img, out, -90.0, interp, kClear, nullptr));
                    EXPECT_TRUE(SamePixels(out, ref));
                    ASSERT_TRUE(RotateImage180(img, ref, nullptr));
                    ASSERT_TRUE(RotateImageAngle(img, out, 180.0, interp, kClear, nullptr));
                    EXPECT_TRUE(SamePixels(out, ref));
                }
}

TEST(RotateAngle, PositiveAnglesTurnClockwise) {
    CImageDataInfo img, out;
    ASSERT_TRUE(MakeConstant(img, 81, 81, 3, 1, 0));
    // A dot right of the centre, one value per channel.
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            SetValue(img, 60 + dx, 40 + dy, 0, 90);
            SetValue(img, 60 + dx, 40 + dy, 1, 160);
            SetValue(img, 60 + dx, 40 + dy, 2, 230);
        }
    ASSERT_TRUE(RotateImageAngle(img, out, 30.0, ROTATE_BILINEAR, kClear, nullptr));
    for (int c = 0; c < 3; ++c) {
        double sx = 0, sy = 0, sum = 0;
        for (int y = 0; y < 81; ++y)
            for (int x = 0; x < 81; ++x) {
                const double v = GetValue(out, x, y, c);
                sx += v * x, sy += v * y, sum += v;
            }
        ASSERT_GT(sum, 0);
        // Clockwise on screen, y down: (20, 0) from the centre goes to (20 cos 30, 20 sin 30).
        EXPECT_NEAR(sx / sum, 40 + 20 * std::cos(M_PI / 6), 0.3) << c;
        EXPECT_NEAR(sy / sum, 40 + 20 * std::sin(M_PI / 6), 0.3) << c;
    }
}

TEST(RotateAngle, TurningBackRestoresTheInterior) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4})
            for (auto interp : {ROTATE_BILINEAR, ROTATE_BICUBIC})
                for (double angle : {3.0, -17.5, 44.0}) {
                    CImageDataInfo img, a, b;
                    MakeWaves(img, 120, 90, channels, depth);
                    ASSERT_TRUE(RotateImageAngle(img, a, angle, interp, kClear, nullptr));
                    ASSERT_TRUE(RotateImageAngle(a, b, -angle, interp, kClear, nullptr));
                    double worst = 0;
                    for (int y = 0; y < 90; ++y)
                        for (int x = 0; x < 120; ++x) {
                            // Pixels well inside the circle that stays inside the source both ways.
                            if (std::hypot(x + 0.5 - 60, y + 0.5 - 45) > 45 - 3)
                                continue;
                            for (int c = 0; c < channels; ++c)
                                worst = std::max(
                                    worst, std::fabs(double(GetValue(b, x, y, c)) - GetValue(img, x, y, c)));
                        }
                    EXPECT_LE(worst, 0.02 * MaxValue(depth)) << angle << " " << channels << " " << depth;
                    EXPECT_GT(MaxDifference(a, img), 0); // the turn did something
                }
}

TEST(RotateAngle, FillTakesTheGivenColourPerFormat) {
    const ARGB32 fill(40, 200, 100, 20); // a, r, g, b
    for (int depth : {1, 2}) {
        const uint32_t k = depth == 2 ? 257 : 1;
        CImageDataInfo img, out;
        ASSERT_TRUE(MakeConstant(img, 30, 20, 4, depth, MaxValue(depth)));
        ASSERT_TRUE(RotateImageAngle(img, out, 30.0, ROTATE_BILINEAR, fill, nullptr));
        EXPECT_EQ(GetValue(out, 0, 0, 0), 20 * k);
        EXPECT_EQ(GetValue(out, 0, 0, 1), 100 * k);
        EXPECT_EQ(GetValue(out, 0, 0, 2), 200 * k);
        EXPECT_EQ(GetValue(out, 0, 0, 3), 40 * k);
        EXPECT_EQ(GetValue(out, 15, 10, 2), MaxValue(depth));
        ASSERT_TRUE(MakeConstant(img, 30, 20, 1, depth, 0));
        ASSERT_TRUE(RotateImageAngle(img, out, 30.0, ROTATE_BICUBIC, fill, nullptr));
        EXPECT_EQ(GetValue(out, 0, 0, 0), (2126u * 200 + 7152u * 100 + 722u * 20 + 5000) / 10000 * k);
    }
}

TEST(RotateAngle, CropRectangleHoldsOnlySourceAndIsMaximal) {
    for (auto size : {std::pair{120, 80}, std::pair{80, 120}, std::pair{97, 97}, std::pair{300, 40}})
        for (double angle : {0.0, 0.5, 3.0, -7.0, 30.0, -45.0, 60.0, 135.0})
            for (bool keepAspect : {false, true}) {
                const auto [w, h] = size;
                CImageDataInfo img, out;
                ASSERT_TRUE(MakeConstant(img, w, h, 4, 1, 255));
                ASSERT_TRUE(RotateImageAngle(img, out, angle, ROTATE_BILINEAR, kClear, nullptr));
                IntRect rc;
                ASSERT_TRUE(CalcRotatedCropRect(w, h, angle, keepAspect, rc));
                SCOPED_TRACE(testing::Message()
                             << w << "x" << h << " at " << angle << " aspect " << keepAspect);
                ASSERT_FALSE(rc.IsEmpty());
                ExpectTightCrop(out, rc, keepAspect);
                if (angle == 0.0) {
                    EXPECT_EQ(rc, (IntRect{0, 0, w, h}));
                }
                const long area = static_cast<long>(rc.width) * rc.height;
                if (keepAspect) {
                    // Centred as far as whole pixels allow.
                    EXPECT_LE(std::abs(rc.x + rc.Right() - w), 1);
                    EXPECT_LE(std::abs(rc.y + rc.Bottom() - h), 1);
                    EXPECT_LE(std::abs(rc.width * h - rc.height * w), w); // height within a pixel
                } else {
                    // As large as the best rectangle of any position.
                    EXPECT_EQ(area, BruteLargestArea(out));
                    IntRect aspect;
                    ASSERT_TRUE(CalcRotatedCropRect(w, h, angle, true, aspect));
                    EXPECT_GE(area, static_cast<long>(aspect.width) * aspect.height);
                }
            }
}

TEST(RotateAngle, SameRecordAndBadInput) {
    CImageDataInfo img, ref, invalid, out;
    ASSERT_TRUE(MakeGradient(img, 31, 17, 3, 1));
    ASSERT_TRUE(RotateImageAngle(img, ref, 12.0, ROTATE_BICUBIC, kClear, nullptr));
    ASSERT_TRUE(RotateImageAngle(img, img, 12.0, ROTATE_BICUBIC, kClear, nullptr));
    EXPECT_TRUE(SamePixels(img, ref));
    ASSERT_TRUE(MakeConstant(out, 3, 3, 1, 1, 5));
    const CImageDataInfo before = out;
    EXPECT_FALSE(RotateImageAngle(invalid, out, 5.0, ROTATE_BILINEAR, kClear, nullptr));
    EXPECT_FALSE(RotateImageAngle(ref, out, std::nan(""), ROTATE_BILINEAR, kClear, nullptr));
    EXPECT_FALSE(RotateImageAngle(ref, out, INFINITY, ROTATE_BILINEAR, kClear, nullptr));
    EXPECT_FALSE(RotateImageAngle(ref, out, 5.0, static_cast<ROTATE_INTERPOLATION>(7), kClear, nullptr));
    EXPECT_TRUE(SamePixels(out, before));
    IntRect rc{1, 2, 3, 4};
    EXPECT_FALSE(CalcRotatedCropRect(0, 5, 3.0, false, rc));
    EXPECT_FALSE(CalcRotatedCropRect(5, -1, 3.0, false, rc));
    EXPECT_FALSE(CalcRotatedCropRect(5, 5, std::nan(""), false, rc));
    EXPECT_EQ(rc, (IntRect{1, 2, 3, 4}));
}

TEST(RotateAngle, FuzzRandomSizesAndAngles) {
    std::mt19937 rng(7);
    for (int round = 0; round < 300; ++round) {
        const int w = round == 0 ? 1 : 1 + static_cast<int>(rng() % 40);
        const int h = round == 0 ? 1 : 1 + static_cast<int>(rng() % 40);
        const int channels = std::array{1, 3, 4}[rng() % 3];
        const int depth = 1 + static_cast<int>(rng() % 2);
        const double angle = std::uniform_real_distribution<double>(-400, 400)(rng);
        const auto interp = rng() % 2 ? ROTATE_BICUBIC : ROTATE_BILINEAR;
        SCOPED_TRACE(testing::Message()
                     << w << "x" << h << " " << channels << "/" << depth << " at " << angle);
        // Every channel its own value, alpha above 0; the fill differs from all of them.
        CImageDataInfo img, out;
        ASSERT_TRUE(MakeConstant(img, w, h, channels, depth, 0));
        const uint32_t k = depth == 2 ? 257 : 1;
        const uint32_t values[4] = {11 * k, 22 * k, 33 * k, 44 * k};
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < channels; ++c)
                    SetValue(img, x, y, c, values[c]);
        ASSERT_TRUE(RotateImageAngle(img, out, angle, interp, kClear, nullptr));
        ASSERT_EQ(out.width, w);
        ASSERT_EQ(out.height, h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const bool filled = GetValue(out, x, y, 0) == 0;
                for (int c = 0; c < channels; ++c)
                    ASSERT_EQ(GetValue(out, x, y, c), filled ? 0 : values[c]) << x << "," << y;
            }
        if (channels == 4) {
            IntRect rc;
            const bool keepAspect = rng() % 2;
            ASSERT_TRUE(CalcRotatedCropRect(w, h, angle, keepAspect, rc));
            if (!rc.IsEmpty()) {
                ExpectTightCrop(out, rc, keepAspect);
            }
        }
    }
}
