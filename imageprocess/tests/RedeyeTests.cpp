// Guards red-eye correction against changing pixels outside the eye or non-red pixels in it, leaving
// red in the pupil, misplacing a working rectangle by its offset, and writing on bad input.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/RetouchTestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace ImageProcess;
using namespace retouch_test;

namespace {

// A red field with a little variation, and a blue catch-light at the eye's centre.
void RedField(CImageDataInfo& img, int channels, int depth) {
    ASSERT_TRUE(img.Create(64, 48, channels, depth));
    Rng rng{3};
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x)
            Put(img, x, y,
                Level{static_cast<uint32_t>(30 + rng.Range(0, 10)),
                      static_cast<uint32_t>(45 + rng.Range(0, 10)),
                      static_cast<uint32_t>(190 + rng.Range(0, 40)), 200});
    Put(img, 30, 24, Level{220, 200, 150, 90});
}

bool InsideEllipse(const REDEYE& e, int x, int y) {
    const double a = e.width / 2.0, b = e.height / 2.0;
    const double u = (x + 0.5 - e.x - a) / a, v = (y + 0.5 - e.y - b) / b;
    return u * u + v * v < 1.0;
}

double Redness(const CImageDataInfo& img, int x, int y) {
    return Get8(img, x, y, 2) - std::max(Get8(img, x, y, 0), Get8(img, x, y, 1));
}

} // namespace

TEST(CorrectRedeye, LowersRedInsideAndChangesNothingOutside) {
    const REDEYE eye{20, 17, 21, 15, 60, 50};
    for (int depth : {1, 2})
        for (int channels : {3, 4}) {
            CImageDataInfo img, before;
            RedField(img, channels, depth);
            before = img;
            ASSERT_TRUE(CorrectRedeye(img, &eye, 1));
            int inside = 0;
            for (int y = 0; y < img.height; ++y)
                for (int x = 0; x < img.width; ++x) {
                    const bool blue = x == 30 && y == 24;
                    for (int c = 0; c < channels; ++c)
                        if (!InsideEllipse(eye, x, y) || blue || c == 3) {
                            ASSERT_EQ(kel_testing::GetValue(img, x, y, c),
                                      kel_testing::GetValue(before, x, y, c))
                                << x << "," << y << " channel " << c;
                        }
                    if (InsideEllipse(eye, x, y) && !blue) {
                        ++inside;
                        ASSERT_LT(Redness(img, x, y), Redness(before, x, y)) << x << "," << y;
                    }
                }
            EXPECT_GT(inside, 200);
            // In the pupil the red is gone: red no longer stands out from green and blue.
            EXPECT_LT(Redness(img, 30, 23), 0.2 * Redness(before, 30, 23));
        }
}

TEST(CorrectRedeye, DarkenDarkensThePupil) {
    CImageDataInfo light, dark;
    RedField(light, 3, 1);
    dark = light;
    const REDEYE soft{20, 17, 21, 15, 60, 0}, strong{20, 17, 21, 15, 60, 100};
    ASSERT_TRUE(CorrectRedeye(light, &soft, 1));
    ASSERT_TRUE(CorrectRedeye(dark, &strong, 1));
    for (int c = 0; c < 3; ++c)
        EXPECT_LT(Get8(dark, 29, 24, c), Get8(light, 29, 24, c)) << c;
}

TEST(CorrectRedeye, AWorkingRectangleMatchesThatPartOfTheWholeImage) {
    const REDEYE eyes[2] = {{20, 17, 21, 15, 40, 80}, {50, 5, 9, 13, 100, 30}};
    for (int depth : {1, 2}) {
        CImageDataInfo whole, part;
        RedField(whole, 4, depth);
        ASSERT_TRUE(part.Create(25, 20, 4, depth));
        ASSERT_TRUE(CopyImage(whole, part, 0, 0, 33, 10, 25, 20, nullptr));
        ASSERT_TRUE(CorrectRedeye(whole, eyes, 2));
        ASSERT_TRUE(CorrectRedeye(part, eyes, 2, 33, 10));
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 25; ++x)
                for (int c = 0; c < 4; ++c)
                    ASSERT_EQ(kel_testing::GetValue(part, x, y, c),
                              kel_testing::GetValue(whole, x + 33, y + 10, c));
    }
}

TEST(CorrectRedeye, RefusesBadInputWithoutWriting) {
    CImageDataInfo img, before, grey;
    RedField(img, 3, 1);
    before = img;
    const REDEYE bad[3] = {{20, 17, 0, 15, 50, 50}, {20, 17, 5, 5, 0, 50}, {20, 17, 5, 5, 50, 101}};
    const REDEYE good{20, 17, 21, 15, 60, 50};
    for (const REDEYE& b : bad) {
        const REDEYE pair[2] = {good, b};
        EXPECT_FALSE(CorrectRedeye(img, pair, 2));
    }
    EXPECT_FALSE(CorrectRedeye(img, nullptr, 1));
    ASSERT_TRUE(Flat(grey, 10, 10, 1, 1, Level{100, 0, 0, 0}));
    EXPECT_FALSE(CorrectRedeye(grey, &good, 1));
    EXPECT_TRUE(kel_testing::SamePixels(img, before));
    EXPECT_TRUE(CorrectRedeye(img, nullptr, 0));
    const REDEYE away{500, 500, 10, 10, 50, 50}; // outside the working rectangle: nothing to do
    EXPECT_TRUE(CorrectRedeye(img, &away, 1));
    EXPECT_TRUE(kel_testing::SamePixels(img, before));
}
