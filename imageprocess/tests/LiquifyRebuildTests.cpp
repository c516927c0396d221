// Guards the vector liquify rebuild against giving other bytes than the one-pixel kernel: wrong weights
// at fraction corners, channel mix-ups, reads past a row near the border, and writes to untouched pixels.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/LiquifyRebuild.h"
#include "imageprocess/tests/LiquifyTestMap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace ImageProcess;
using namespace kel_testing;

namespace {

// Fractions where the weight arithmetic has its corners: zero, one step, byte edges, halves, the top.
constexpr uint32_t kFractions[] = {0,     1,     2,     255,   256,   257,   4096,
                                   32767, 32768, 32769, 49152, 65280, 65534, 65535};

// A source position for pixel (x, y) of a w x h image: mostly inside, some at the border, beyond it,
// far away or not a number, so that both the interior and the mirrored path are taken.
float RandomCoordinate(std::mt19937& rng, int n, int at) {
    const uint32_t pick = rng() % 100;
    const uint32_t frac = pick < 40 ? kFractions[rng() % std::size(kFractions)] : rng() & 0xFFFF;
    if (pick < 80) // inside, exact in a float for images up to 256 pixels
        return static_cast<float>(rng() % static_cast<uint32_t>(n)) + frac / 65536.0f;
    if (pick < 88) // the last pixel and just beyond
        return static_cast<float>(n - 1) + frac / 65536.0f;
    if (pick < 93)
        return -static_cast<float>(rng() % 4) - frac / 65536.0f;
    if (pick < 96)
        return static_cast<float>(at) + (pick & 1 ? 1e6f : -3e9f);
    if (pick < 98)
        return std::numeric_limits<float>::quiet_NaN();
    return std::numeric_limits<float>::infinity();
}

void FillRandomMap(OwnedMap& m, int w, int h, std::mt19937& rng, int touchedPercent) {
    for (int y = 0; y < m.view.height; ++y)
        for (int x = 0; x < m.view.width; ++x) {
            m.At(x, y)[0] = RandomCoordinate(rng, w, x);
            m.At(x, y)[1] = RandomCoordinate(rng, h, y);
            m.touched[static_cast<size_t>(y) * m.view.width + x] =
                static_cast<int>(rng() % 100) < touchedPercent ? 0xFF : 0;
        }
}

// Rebuilds with both kernels into copies of the same background and compares every byte.
void ExpectKernelsAgree(const CImageDataInfo& src, const OwnedMap& m, const IntRect& area, const char* what) {
    CImageDataInfo plain, fast;
    ASSERT_TRUE(MakeChannelConstants(plain, src.width, src.height, src.channels, src.depth, {3, 5, 7, 9}));
    fast = plain;
    const CImageDataInfo background = plain;
    detail::RebuildTouchedPixels(plain, src, m.view, area, detail::RebuildKernel::Scalar, nullptr);
    detail::RebuildTouchedPixels(fast, src, m.view, area, detail::RebuildKernel::Vector, nullptr);
    ASSERT_TRUE(SamePixels(plain, fast))
        << what << " " << src.width << "x" << src.height << " c" << src.channels << " d" << src.depth;
    // Untouched pixels and those outside the area keep the background.
    for (int y = 0; y < src.height; ++y)
        for (int x = 0; x < src.width; ++x)
            if (!area.Contains(x, y) || !m.touched[static_cast<size_t>(y) * m.view.width + x]) {
                for (int c = 0; c < src.channels; ++c)
                    ASSERT_EQ(GetValue(fast, x, y, c), GetValue(background, x, y, c)) << what;
            }
}

} // namespace

TEST(LiquifyRebuild, VectorKernelMatchesScalarOnRandomMaps) {
    std::mt19937 rng(2024);
    const int sizes[][2] = {{1, 1}, {2, 2},  {3, 1},   {1, 5},  {5, 3},
                            {7, 7}, {13, 4}, {33, 17}, {64, 9}, {101, 23}};
    for (const auto& sz : sizes)
        for (int depth : {1, 2})
            for (int channels : {1, 3, 4})
                for (int touchedPercent : {100, 90, 50}) {
                    const int w = sz[0], h = sz[1];
                    CImageDataInfo src;
                    ASSERT_TRUE(MakeNoise(src, w, h, channels, depth, rng()));
                    OwnedMap m(w, h);
                    FillRandomMap(m, w, h, rng, touchedPercent);
                    ExpectKernelsAgree(src, m, IntRect{0, 0, w, h}, "whole");
                    // A rectangle starting at an odd column, so groups of four start off the row's start.
                    if (w > 2 && h > 1)
                        ExpectKernelsAgree(src, m, IntRect{1, 1, w - 2, h - 1}, "inner");
                }
}

TEST(LiquifyRebuild, VectorKernelMatchesScalarAtEveryFractionCorner) {
    // Every pair of corner fractions, at interior positions, on a wide image: all groups vectorise.
    for (int channels : {1, 3, 4}) {
        const int w = 64, h = 40;
        CImageDataInfo src;
        ASSERT_TRUE(MakeNoise(src, w, h, channels, 1, 77 + channels));
        OwnedMap m(w, h);
        std::fill(m.touched.begin(), m.touched.end(), 0xFF);
        size_t k = 0;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x, ++k) {
                const uint32_t fx = kFractions[k % std::size(kFractions)];
                const uint32_t fy = kFractions[(k / std::size(kFractions)) % std::size(kFractions)];
                m.At(x, y)[0] = static_cast<float>((x * 7 + y) % (w - 1)) + fx / 65536.0f;
                m.At(x, y)[1] = static_cast<float>((y * 5 + x) % (h - 1)) + fy / 65536.0f;
            }
        ExpectKernelsAgree(src, m, IntRect{0, 0, w, h}, "corners");
    }
}

TEST(LiquifyRebuild, VectorKernelOnExtremeValuesKeepsTheirRange) {
    // Full-scale channels make the blend sums their largest; a wrong carry or a signed pack shows here.
    for (int channels : {3, 4}) {
        CImageDataInfo src;
        ASSERT_TRUE(MakeConstant(src, 48, 8, channels, 1, 0));
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 48; ++x)
                for (int c = 0; c < channels; ++c)
                    SetValue(src, x, y, c, ((x + y + c) & 1) ? 255 : (c == 1 ? 254 : 0));
        OwnedMap m(48, 8);
        std::fill(m.touched.begin(), m.touched.end(), 0xFF);
        std::mt19937 rng(5);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 48; ++x) {
                m.At(x, y)[0] =
                    static_cast<float>(rng() % 47) + kFractions[rng() % std::size(kFractions)] / 65536.0f;
                m.At(x, y)[1] =
                    static_cast<float>(rng() % 7) + kFractions[rng() % std::size(kFractions)] / 65536.0f;
            }
        ExpectKernelsAgree(src, m, IntRect{0, 0, 48, 8}, "extremes");
    }
}
