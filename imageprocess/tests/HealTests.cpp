// Guards the heal blend against copying the source's tone instead of the target's, losing the
// source's texture, writing outside the mask or the images, and writing on bad input.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/RetouchTestUtil.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ImageProcess;
using namespace retouch_test;

namespace {

// Texture around a mean that differs from the target's in every channel.
void Textured(CImageDataInfo& img, int w, int h, int channels, int depth) {
    ASSERT_TRUE(img.Create(w, h, channels, depth));
    Rng rng{21};
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            Put(img, x, y,
                Level{static_cast<uint32_t>(150 + rng.Range(-30, 30)),
                      static_cast<uint32_t>(90 + rng.Range(-30, 30)),
                      static_cast<uint32_t>(60 + rng.Range(-30, 30)),
                      static_cast<uint32_t>(rng.Range(0, 255))});
}

struct Moments {
    double mean = 0, corr = 0, spread = 0;
};

// Mean of the result in the square, its deviation's correlation with the source's and its spread.
Moments Measure(const CImageDataInfo& out, const CImageDataInfo& src, IntRect r, int c, int shiftX,
                int shiftY) {
    double so = 0, ss = 0;
    const int n = r.width * r.height;
    for (int y = r.y; y < r.Bottom(); ++y)
        for (int x = r.x; x < r.Right(); ++x) {
            so += Get8(out, x, y, c);
            ss += Get8(src, x - shiftX, y - shiftY, c);
        }
    const double mo = so / n, ms = ss / n;
    double cov = 0, vo = 0, vs = 0;
    for (int y = r.y; y < r.Bottom(); ++y)
        for (int x = r.x; x < r.Right(); ++x) {
            const double a = Get8(out, x, y, c) - mo, b = Get8(src, x - shiftX, y - shiftY, c) - ms;
            cov += a * b;
            vo += a * a;
            vs += b * b;
        }
    return Moments{mo, cov / std::sqrt(vo * vs), std::sqrt(vo / vs)};
}

} // namespace

TEST(HealBlend, FlatTargetTakesSourceTextureAtItsOwnTone) {
    const Level target{60, 110, 170, 33};
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            CImageDataInfo src, dst;
            Textured(src, 90, 80, channels, depth);
            ASSERT_TRUE(Flat(dst, 100, 90, channels, depth, target));
            const CImageDataInfo before = dst;
            CSelectedRegion mask;
            ASSERT_TRUE(mask.Create(30, 30, 0xFFFF));
            mask.x = 40;
            mask.y = 35;
            // Source at (25, 20) lands on destination (40, 35).
            ASSERT_TRUE(HealBlend(src, dst, 40, 35, 25, 20, 30, 30, mask));
            const IntRect square{40, 35, 30, 30};
            const uint32_t tone[3] = {target.b, target.g, target.r};
            for (int c = 0; c < std::min(channels, 3); ++c) {
                const Moments m = Measure(dst, src, square, c, 15, 15);
                EXPECT_NEAR(m.mean, tone[c], 3.0) << "channel " << c;
                EXPECT_GT(m.corr, 0.9) << "channel " << c;
                EXPECT_NEAR(m.spread, 1.0, 0.15) << "channel " << c;
            }
            for (int y = 0; y < dst.height; ++y)
                for (int x = 0; x < dst.width; ++x)
                    for (int c = 0; c < channels; ++c)
                        if (!square.Contains(x, y) || c == 3) {
                            ASSERT_EQ(kel_testing::GetValue(dst, x, y, c),
                                      kel_testing::GetValue(before, x, y, c))
                                << x << "," << y;
                        }
        }
}

TEST(HealBlend, MaskWeightsTheBlendAndZeroLeavesPixelsAlone) {
    CImageDataInfo src, dst;
    Textured(src, 60, 60, 3, 1);
    ASSERT_TRUE(Flat(dst, 60, 60, 3, 1, Level{60, 110, 170, 0}));
    const CImageDataInfo before = dst;
    CSelectedRegion mask;
    ASSERT_TRUE(kel_testing::MakeRampRegion(mask, 40, 20));
    mask.x = 10;
    mask.y = 20;
    ASSERT_TRUE(HealBlend(src, dst, 0, 0, 0, 0, 60, 60, mask));
    // Column 0 of the ramp is 0: untouched; the healed change grows with the mask.
    double nearLeft = 0, nearRight = 0;
    for (int y = 20; y < 40; ++y) {
        for (int c = 0; c < 3; ++c)
            ASSERT_EQ(kel_testing::GetValue(dst, 10, y, c), kel_testing::GetValue(before, 10, y, c));
        nearLeft += std::fabs(Get8(dst, 14, y, 0) - 60);
        nearRight += std::fabs(Get8(dst, 48, y, 0) - 60);
    }
    EXPECT_LT(nearLeft, nearRight);
}

TEST(HealBlend, WorksWithinOneImage) {
    CImageDataInfo img;
    Textured(img, 80, 40, 4, 2);
    for (int y = 0; y < 40; ++y)
        for (int x = 40; x < 80; ++x)
            Put(img, x, y, Level{60, 110, 170, 200});
    const CImageDataInfo before = img;
    CSelectedRegion mask;
    ASSERT_TRUE(mask.Create(16, 16, 0xFFFF));
    mask.x = 52;
    mask.y = 12;
    ASSERT_TRUE(HealBlend(img, img, 52, 12, 10, 12, 16, 16, mask));
    const Moments m = Measure(img, before, IntRect{52, 12, 16, 16}, 1, 42, 0);
    EXPECT_NEAR(m.mean, 110, 4.0);
    EXPECT_GT(m.corr, 0.9);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 52; ++x)
            ASSERT_EQ(kel_testing::GetValue(img, x, y, 1), kel_testing::GetValue(before, x, y, 1));
}

TEST(HealBlend, RefusesBadInputWithoutWriting) {
    CImageDataInfo src, dst, grey;
    Textured(src, 20, 20, 3, 1);
    ASSERT_TRUE(Flat(dst, 20, 20, 3, 1, Level{1, 2, 3, 0}));
    const CImageDataInfo before = dst;
    CSelectedRegion mask, none;
    ASSERT_TRUE(mask.Create(5, 5, 0xFFFF));
    ASSERT_TRUE(Flat(grey, 20, 20, 1, 1, Level{9, 0, 0, 0}));
    EXPECT_FALSE(HealBlend(grey, dst, 0, 0, 0, 0, 5, 5, mask));
    EXPECT_FALSE(HealBlend(src, dst, 0, 0, 0, 0, 5, 5, none));
    EXPECT_FALSE(HealBlend(src, dst, 0, 0, 0, 0, 0, 5, mask));
    EXPECT_FALSE(HealBlend(src, dst, 10, 10, 0, 0, 5, 5, mask)); // the mask lies elsewhere
    EXPECT_FALSE(HealBlend(src, dst, 0, 0, 30, 0, 5, 5, mask));  // the source misses src
    EXPECT_TRUE(kel_testing::SamePixels(dst, before));
}
