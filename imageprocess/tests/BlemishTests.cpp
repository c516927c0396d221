// Guards blemish repair against sources that overlap the flaw or leave the image, a source search
// blind to texture, a repair that copies the source's tone instead of matching it, writes outside the
// circles or misplaced by the working rectangle's offset, and writes on bad input.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/RetouchTestUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

using namespace ImageProcess;
using namespace retouch_test;

namespace {

// Left half textured (per-channel noise around a mean), right half flat at the same mean.
void TextureAndFlat(CImageDataInfo& img, int channels, int depth) {
    ASSERT_TRUE(img.Create(200, 90, channels, depth));
    Rng rng{11};
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 200; ++x) {
            const int n = x < 100 ? 1 : 0;
            Put(img, x, y,
                Level{static_cast<uint32_t>(70 + n * rng.Range(-40, 40)),
                      static_cast<uint32_t>(120 + n * rng.Range(-40, 40)),
                      static_cast<uint32_t>(170 + n * rng.Range(-40, 40)), 255});
        }
}

void Spot(CImageDataInfo& img, int cx, int cy, int radius) {
    for (int y = cy - radius; y <= cy + radius; ++y)
        for (int x = cx - radius; x <= cx + radius; ++x)
            if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= radius * radius)
                Put(img, x, y, Level{5, 10, 15, 255});
}

bool SourceIsSound(const BLEMISH& b, const CImageDataInfo& img) {
    const int k = static_cast<int>(std::ceil(b.radius));
    const double d = std::hypot(b.sourceX - b.targetX, b.sourceY - b.targetY);
    return b.sourceX - k >= 0 && b.sourceY - k >= 0 && b.sourceX + k < img.width &&
           b.sourceY + k < img.height && d > 2 * b.radius;
}

} // namespace

TEST(Blemish, RecordHasTheStoredLayout) {
    static_assert(offsetof(BLEMISH, sourceX) == 8);
    static_assert(offsetof(BLEMISH, radius) == 16);
    static_assert(offsetof(BLEMISH, opacity) == 24);
    EXPECT_EQ(sizeof(BLEMISH), 32u);
}

TEST(DetectBlemishSource, PicksThePatchWhoseTextureMatchesTheSurroundings) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            CImageDataInfo img;
            TextureAndFlat(img, channels, depth);
            Spot(img, 45, 45, 5);
            Spot(img, 155, 45, 5);
            BLEMISH onTexture{45, 45, 0, 0, 7.0, 1.0};
            ASSERT_TRUE(DetectBlemishSource(onTexture, img));
            EXPECT_TRUE(SourceIsSound(onTexture, img));
            EXPECT_LT(onTexture.sourceX + 7, 100) << channels << " " << depth;
            BLEMISH onFlat{155, 45, 0, 0, 7.0, 1.0};
            ASSERT_TRUE(DetectBlemishSource(onFlat, img));
            EXPECT_TRUE(SourceIsSound(onFlat, img));
            EXPECT_GT(onFlat.sourceX - 7, 100) << channels << " " << depth;
        }
}

TEST(DetectBlemishSource, PrefersTheMatchingTone) {
    // A dark top half and a bright bottom half; the flaw sits in the bright half near the border.
    CImageDataInfo img;
    ASSERT_TRUE(Flat(img, 120, 120, 3, 1, Level{40, 50, 60, 0}));
    for (int y = 60; y < 120; ++y)
        for (int x = 0; x < 120; ++x)
            Put(img, x, y, Level{160, 180, 200, 0});
    BLEMISH b{60, 72, 0, 0, 4.0, 1.0};
    ASSERT_TRUE(DetectBlemishSource(b, img));
    EXPECT_TRUE(SourceIsSound(b, img));
    EXPECT_GE(b.sourceY - 4, 60);
}

TEST(DetectBlemishSource, NeverOverlapsOrLeavesTheImage) {
    Rng rng{5};
    for (int n = 0; n < 300; ++n) {
        CImageDataInfo img;
        const int w = rng.Range(1, 80), h = rng.Range(1, 80);
        ASSERT_TRUE(kel_testing::MakeNoise(img, w, h, rng.Range(0, 1) ? 3 : 1, rng.Range(1, 2), n));
        BLEMISH b{rng.Range(0, w - 1), rng.Range(0, h - 1), -7, -7, 0.5 + rng.Unit() * 20, 1.0};
        if (DetectBlemishSource(b, img)) {
            ASSERT_TRUE(SourceIsSound(b, img)) << w << "x" << h << " r " << b.radius;
        } else {
            ASSERT_EQ(b.sourceX, -7);
        }
    }
}

TEST(RepairBlemishes, MatchesTheToneAroundTheFlawAndTouchesNothingElse) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            // A smooth slope in every channel, different per channel; the flaw is a dark disc.
            CImageDataInfo img;
            ASSERT_TRUE(img.Create(120, 60, channels, depth));
            for (int y = 0; y < 60; ++y)
                for (int x = 0; x < 120; ++x)
                    Put(img, x, y,
                        Level{static_cast<uint32_t>(40 + x), static_cast<uint32_t>(80 + y),
                              static_cast<uint32_t>(100 + x / 2), 255});
            const CImageDataInfo clean = img;
            Spot(img, 40, 30, 4);
            const CImageDataInfo flawed = img;
            const BLEMISH b{40, 30, 80, 25, 7.0, 1.0}; // the source lies in a brighter part of the slope
            ASSERT_TRUE(RepairBlemishes(img, img, 0, 0, &b, 1));
            for (int y = 0; y < 60; ++y)
                for (int x = 0; x < 120; ++x) {
                    const double d = std::hypot(x - 40, y - 30);
                    for (int c = 0; c < channels; ++c) {
                        if (d > 7.0 || c == 3) {
                            ASSERT_EQ(kel_testing::GetValue(img, x, y, c),
                                      kel_testing::GetValue(flawed, x, y, c));
                        } else if (d <= 4.0) {
                            ASSERT_NEAR(Get8(img, x, y, c), Get8(clean, x, y, c), 1.5)
                                << x << "," << y << " c" << c;
                        }
                    }
                }
        }
}

TEST(RepairBlemishes, OpacityBlendsAndAWorkingRectangleMatchesTheWhole) {
    CImageDataInfo img;
    TextureAndFlat(img, 3, 2);
    Spot(img, 150, 40, 4);
    const BLEMISH list[2] = {{150, 40, 175, 60, 6.0, 0.5}, {30, 80, 60, 60, 9.0, 1.0}};
    CImageDataInfo whole = img, part;
    ASSERT_TRUE(RepairBlemishes(img, whole, 0, 0, list, 2));
    const double before = Get8(img, 150, 40, 1), after = Get8(whole, 150, 40, 1);
    EXPECT_NEAR(after, (before + 120) / 2, 2.0);
    ASSERT_TRUE(part.Create(70, 45, 3, 2));
    ASSERT_TRUE(CopyImage(img, part, 0, 0, 20, 30, 70, 45, nullptr));
    ASSERT_TRUE(RepairBlemishes(img, part, 20, 30, list, 2));
    for (int y = 0; y < 45; ++y)
        for (int x = 0; x < 70; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(kel_testing::GetValue(part, x, y, c),
                          kel_testing::GetValue(whole, x + 20, y + 30, c));
}

TEST(RepairBlemishes, RefusesBadInputWithoutWriting) {
    CImageDataInfo img, dst, other;
    TextureAndFlat(img, 3, 1);
    ASSERT_TRUE(dst.Create(20, 20, 3, 1));
    ASSERT_TRUE(CopyImage(img, dst, 0, 0, 0, 0, 20, 20, nullptr));
    const CImageDataInfo before = dst;
    const BLEMISH good{10, 10, 40, 10, 5.0, 1.0};
    for (BLEMISH bad : {BLEMISH{10, 10, 40, 10, 0.0, 1.0}, BLEMISH{10, 10, 40, 10, NAN, 1.0},
                        BLEMISH{10, 10, 40, 10, 5.0, 1.5}, BLEMISH{10, 10, 40, 10, 5.0, -0.1}}) {
        const BLEMISH pair[2] = {good, bad};
        EXPECT_FALSE(RepairBlemishes(img, dst, 0, 0, pair, 2));
    }
    EXPECT_FALSE(RepairBlemishes(img, dst, 190, 0, &good, 1)); // dst not inside src
    EXPECT_FALSE(RepairBlemishes(img, dst, -1, 0, &good, 1));
    ASSERT_TRUE(other.Create(20, 20, 4, 1));
    EXPECT_FALSE(RepairBlemishes(img, other, 0, 0, &good, 1));
    EXPECT_FALSE(RepairBlemishes(img, dst, 0, 0, nullptr, 1));
    EXPECT_TRUE(kel_testing::SamePixels(dst, before));
    BLEMISH outside{-5, 10, 40, 10, 2.0, 1.0};
    EXPECT_FALSE(DetectBlemishSource(outside, img));
    EXPECT_EQ(outside.sourceX, 40);
}
