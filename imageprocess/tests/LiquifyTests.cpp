// Guards the liquify kernels against rebuilds that move or round pixels under an identity map, writes
// outside the dirty rectangle or to untouched pixels, brushes that push the wrong way, and reads
// outside the map or the image near the borders.
#include "common/testing/TestImages.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/LiquifyTestMap.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

using namespace ImageProcess;
using namespace kel_testing;

namespace {

struct Brush {
    LIQUIFY_BRUSH b;
    std::vector<float> map, work;
    Brush(LIQUIFY_MODE mode, int halfSide, int reverse = 0) {
        b.mode = mode, b.halfSide = halfSide, b.imageRadius = halfSide, b.density = 50, b.pressure = 100;
        b.rate = 50, b.reverse = reverse;
        const size_t side = 2 * static_cast<size_t>(halfSide) + 1;
        map.resize(2 * side * side), work.resize(2 * side * side);
        EXPECT_TRUE(CreateLiquifyBrushMap(b, map.data()));
    }
    const float* Entry(int x, int y) const {
        const int side = 2 * b.halfSide + 1;
        return &map[2 * (static_cast<size_t>(y + b.halfSide) * side + (x + b.halfSide))];
    }
};

// Centroid of the bright pixels of channel c.
void BrightCentroid(const CImageDataInfo& img, int c, double& cx, double& cy, long& count) {
    double sx = 0, sy = 0;
    count = 0;
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width; ++x)
            if (GetValue(img, x, y, c) > MaxValue(img.depth) / 2)
                sx += x, sy += y, ++count;
    cx = count ? sx / count : 0, cy = count ? sy / count : 0;
}

// Applies one brush `times` at (x, y), previous point (px, py), and rebuilds the whole image.
CImageDataInfo Stroke(const CImageDataInfo& src, Brush& brush, int x, int y, int px, int py, int times) {
    OwnedMap m(src.width, src.height);
    for (int i = 0; i < times; ++i) {
        IntRect window;
        EXPECT_TRUE(UpdateDistortionMap(m.view, brush.b, brush.map.data(), LIQUIFY_POINT{x, y, px, py}, 1,
                                        brush.work.data(), window));
    }
    CImageDataInfo out = src;
    EXPECT_TRUE(ApplyDistortionMap(out, src, m.view, IntRect{0, 0, m.view.width, m.view.height}, 1, nullptr));
    return out;
}

void ColourDisc(CImageDataInfo& img, int w, int h, double cx, double cy, double r) {
    ASSERT_TRUE(MakeConstant(img, w, h, 3, 1, 0));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (std::hypot(x + 0.5 - cx, y + 0.5 - cy) < r)
                for (int c = 0; c < 3; ++c)
                    SetValue(img, x, y, c, 150 + 50 * c);
}

} // namespace

TEST(Liquify, MapSideIsPaddedForEveryGrid) {
    EXPECT_EQ(LiquifyMapSide(100), 121);
    EXPECT_EQ(LiquifyMapSide(101), 101);
    EXPECT_EQ(LiquifyMapSide(102), 121);
    EXPECT_EQ(LiquifyMapSide(1), 1);
    EXPECT_EQ(LiquifyMapSide(2), 21);
    for (int s = 1; s < 200; ++s) {
        EXPECT_GE(LiquifyMapSide(s), s);
        EXPECT_LE(LiquifyMapSide(s), s + 21);
        EXPECT_EQ(LiquifyMapSide(s) % 20, 1);
    }
}

TEST(Liquify, IdentityMapRebuildsTheSameImage) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            CImageDataInfo src, dst;
            ASSERT_TRUE(MakeNoise(src, 45, 33, channels, depth, 5));
            ASSERT_TRUE(MakeConstant(dst, 45, 33, channels, depth, 7));
            OwnedMap m(45, 33);
            m.TouchAll();
            ASSERT_TRUE(
                ApplyDistortionMap(dst, src, m.view, IntRect{0, 0, m.view.width, m.view.height}, 1, nullptr));
            EXPECT_TRUE(SamePixels(dst, src)) << channels << " " << depth;
            EXPECT_TRUE(
                std::all_of(m.touched.begin(), m.touched.end(), [](unsigned char t) { return t == 0; }));
        }
}

TEST(Liquify, TranslationMapMovesTheImageByTheVector) {
    for (int depth : {1, 2})
        for (int channels : {1, 3, 4}) {
            CImageDataInfo src, dst;
            ASSERT_TRUE(MakeNoise(src, 40, 30, channels, depth, 6));
            ASSERT_TRUE(MakeConstant(dst, 40, 30, channels, depth, 0));
            OwnedMap m(40, 30);
            for (int y = 0; y < m.view.height; ++y)
                for (int x = 0; x < m.view.width; ++x)
                    m.At(x, y)[0] = x + 3.0f, m.At(x, y)[1] = y - 2.0f;
            m.TouchAll();
            ASSERT_TRUE(ApplyDistortionMap(dst, src, m.view, IntRect{0, 0, 40, 30}, 1, nullptr));
            for (int y = 2; y < 30; ++y)
                for (int x = 0; x + 3 < 40; ++x)
                    for (int c = 0; c < channels; ++c)
                        ASSERT_EQ(GetValue(dst, x, y, c), GetValue(src, x + 3, y - 2, c));
            // Beyond the border the image is mirrored, the edge pixel repeated.
            for (int c = 0; c < channels; ++c) {
                EXPECT_EQ(GetValue(dst, 37, 0, c), GetValue(src, 39, 1, c));
                EXPECT_EQ(GetValue(dst, 39, 5, c), GetValue(src, 37, 3, c));
            }
            // A half-pixel shift averages neighbours.
            for (int y = 0; y < m.view.height; ++y)
                for (int x = 0; x < m.view.width; ++x)
                    m.At(x, y)[0] = x + 0.5f, m.At(x, y)[1] = static_cast<float>(y);
            m.TouchAll();
            ASSERT_TRUE(ApplyDistortionMap(dst, src, m.view, IntRect{0, 0, 40, 30}, 1, nullptr));
            for (int c = 0; c < channels; ++c) {
                const uint32_t a = GetValue(src, 10, 10, c), b = GetValue(src, 11, 10, c);
                EXPECT_NEAR(double(GetValue(dst, 10, 10, c)), (a + b) / 2.0, 1.0);
            }
        }
}

TEST(Liquify, OnlyTouchedPixelsInsideTheDirtyRectangleChange) {
    CImageDataInfo src, dst;
    ASSERT_TRUE(MakeNoise(src, 50, 40, 3, 2, 8));
    ASSERT_TRUE(MakeConstant(dst, 50, 40, 3, 2, 1234));
    OwnedMap m(50, 40);
    for (int y = 0; y < m.view.height; ++y)
        for (int x = 0; x < m.view.width; ++x)
            m.At(x, y)[0] = x + 1.0f;
    m.TouchAll();
    m.touched[12 * m.view.width + 20] = 0; // one untouched pixel inside
    const IntRect dirty{15, 10, 20, 12};
    ASSERT_TRUE(ApplyDistortionMap(dst, src, m.view, dirty, 1, nullptr));
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 50; ++x) {
            const bool inside = dirty.Contains(x, y) && !(x == 20 && y == 12);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(GetValue(dst, x, y, c), inside ? GetValue(src, x + 1, y, c) : 1234u)
                    << x << "," << y;
            // Marks are cleared inside the rectangle only.
            EXPECT_EQ(m.touched[y * m.view.width + x], dirty.Contains(x, y) ? 0 : 0xFF);
        }
}

TEST(Liquify, BrushMapsPointTheWayOfTheirMode) {
    const int r = 12;
    Brush bloat(LIQUIFY_BLOAT, r), pucker(LIQUIFY_PUCKER, r), warp(LIQUIFY_FORWARD_WARP, r),
        rebuild(LIQUIFY_RECONSTRUCT, r), twirl(LIQUIFY_TWIRL, r), twirlBack(LIQUIFY_TWIRL, r, 1);
    for (int y = -r; y <= r; ++y)
        for (int x = -r; x <= r; ++x) {
            const bool inside = x * x + y * y < r * r;
            for (const Brush* b : {&bloat, &pucker, &warp, &rebuild, &twirl, &twirlBack})
                if (!inside) {
                    ASSERT_EQ(b->Entry(x, y)[0], 0.0f);
                    ASSERT_EQ(b->Entry(x, y)[1], 0.0f);
                }
            if (!inside || (x == 0 && y == 0))
                continue;
            // Bloat samples nearer the centre (content swells), pucker farther out.
            const double inward = x * bloat.Entry(x, y)[0] + y * bloat.Entry(x, y)[1];
            const double outward = x * pucker.Entry(x, y)[0] + y * pucker.Entry(x, y)[1];
            EXPECT_LT(inward, 0) << x << "," << y;
            EXPECT_GT(outward, 0);
            // Twirl samples are turned, not moved along the radius: the sample keeps its distance.
            const double tx = x + twirl.Entry(x, y)[0], ty = y + twirl.Entry(x, y)[1];
            EXPECT_NEAR(std::hypot(tx, ty), std::hypot(x, y), 1e-3);
            // Without reverse the sample lies anticlockwise on screen (y down), so content turns
            // clockwise; reverse is the mirror.
            EXPECT_LT(x * ty - y * tx, 0);
            const double bx = x + twirlBack.Entry(x, y)[0], by = y + twirlBack.Entry(x, y)[1];
            EXPECT_GT(x * by - y * bx, 0);
            // Weights of the moving brushes are fractions, equal in both components, largest at the
            // centre; reconstruct stays at most 0.4.
            EXPECT_GT(warp.Entry(x, y)[0], 0);
            EXPECT_EQ(warp.Entry(x, y)[0], warp.Entry(x, y)[1]);
            EXPECT_LE(warp.Entry(x, y)[0], warp.Entry(0, 0)[0]);
            EXPECT_LE(rebuild.Entry(x, y)[0], 0.4f);
        }
    EXPECT_NEAR(rebuild.Entry(0, 0)[0], 0.4 * (0.5 + 0.5), 1e-6); // pressure 100: Gaussian 1, power 1
}

TEST(Liquify, StrokesMoveContentTheWayOfTheirMode) {
    CImageDataInfo disc;
    ColourDisc(disc, 80, 80, 40, 40, 10);
    double cx, cy;
    long before, after;
    BrightCentroid(disc, 2, cx, cy, before);
    Brush bloat(LIQUIFY_BLOAT, 20), pucker(LIQUIFY_PUCKER, 20);
    BrightCentroid(Stroke(disc, bloat, 40, 40, 40, 40, 5), 2, cx, cy, after);
    EXPECT_GT(after, before * 1.2);
    BrightCentroid(Stroke(disc, pucker, 40, 40, 40, 40, 5), 2, cx, cy, after);
    EXPECT_LT(after, before * 0.8);
    // A vertical bar at the centre: a forward warp to the right carries it right; push left while
    // moving down pushes it to the stroke's left, which is screen right; reverse pushes it back.
    CImageDataInfo bar;
    ASSERT_TRUE(MakeConstant(bar, 80, 80, 3, 2, 0));
    for (int y = 36; y < 45; ++y) // short, so that the brush moves all of it
        for (int x = 38; x < 42; ++x)
            for (int c = 0; c < 3; ++c)
                SetValue(bar, x, y, c, 40000 + 10000 * c);
    double barX, y0;
    BrightCentroid(bar, 0, barX, y0, before);
    Brush warp(LIQUIFY_FORWARD_WARP, 15), push(LIQUIFY_PUSH_LEFT, 15), pushBack(LIQUIFY_PUSH_LEFT, 15, 1);
    for (int c = 0; c < 3; ++c) {
        BrightCentroid(Stroke(bar, warp, 40, 40, 34, 40, 1), c, cx, cy, after);
        EXPECT_GT(cx, barX + 0.5) << c;
        BrightCentroid(Stroke(bar, push, 40, 40, 40, 34, 1), c, cx, cy, after);
        EXPECT_GT(cx, barX + 0.5) << c;
        BrightCentroid(Stroke(bar, pushBack, 40, 40, 40, 34, 1), c, cx, cy, after);
        EXPECT_LT(cx, barX - 0.5) << c;
    }
    // Twirl without reverse: a bar above the centre swings clockwise, to the right.
    CImageDataInfo top;
    ASSERT_TRUE(MakeConstant(top, 80, 80, 1, 1, 0));
    for (int y = 22; y < 34; ++y)
        for (int x = 39; x < 41; ++x)
            SetValue(top, x, y, 0, 255);
    BrightCentroid(top, 0, barX, y0, before);
    Brush twirl(LIQUIFY_TWIRL, 20), twirlBack(LIQUIFY_TWIRL, 20, 1);
    BrightCentroid(Stroke(top, twirl, 40, 40, 40, 40, 4), 0, cx, cy, after);
    EXPECT_GT(cx, barX + 1);
    BrightCentroid(Stroke(top, twirlBack, 40, 40, 40, 40, 4), 0, cx, cy, after);
    EXPECT_LT(cx, barX - 1);
}

TEST(Liquify, ReconstructPullsTheMapBackAndAStillPointDoesNothing) {
    OwnedMap m(60, 60);
    Brush warp(LIQUIFY_FORWARD_WARP, 10), rebuild(LIQUIFY_RECONSTRUCT, 10);
    IntRect window;
    const std::vector<float> identity = m.map;
    // A forward warp with no motion leaves the map as it is (the tool skips such points).
    ASSERT_TRUE(
        UpdateDistortionMap(m.view, warp.b, warp.map.data(), {30, 30, 30, 30}, 1, warp.work.data(), window));
    EXPECT_EQ(m.map, identity);
    ASSERT_TRUE(
        UpdateDistortionMap(m.view, warp.b, warp.map.data(), {30, 30, 24, 27}, 1, warp.work.data(), window));
    EXPECT_EQ(window, (IntRect{20, 20, 21, 21}));
    auto distance = [&] {
        double worst = 0;
        for (size_t i = 0; i < m.map.size(); ++i)
            worst = std::max(worst, double(std::fabs(m.map[i] - identity[i])));
        return worst;
    };
    double last = distance();
    EXPECT_GT(last, 1.0);
    for (int i = 0; i < 6; ++i) {
        ASSERT_TRUE(UpdateDistortionMap(m.view, rebuild.b, rebuild.map.data(), {30, 30, 30, 30}, 1,
                                        rebuild.work.data(), window));
        const double now = distance();
        EXPECT_LT(now, last);
        last = now;
    }
}

TEST(Liquify, CoarseGridFillsBetweenGridPoints) {
    CImageDataInfo disc;
    ColourDisc(disc, 80, 80, 40, 40, 10);
    for (int grid : {2, 3, 5}) {
        OwnedMap m(80, 80);
        Brush bloat(LIQUIFY_BLOAT, 20);
        IntRect window;
        for (int i = 0; i < 5; ++i)
            ASSERT_TRUE(UpdateDistortionMap(m.view, bloat.b, bloat.map.data(), {40, 40, 40, 40}, grid,
                                            bloat.work.data(), window));
        // Only grid points moved so far.
        for (int y = 21; y < 60; ++y)
            for (int x = 21; x < 60; ++x)
                if (x % grid || y % grid) {
                    ASSERT_EQ(m.At(x, y)[0], float(x));
                    ASSERT_EQ(m.At(x, y)[1], float(y));
                }
        CImageDataInfo out = disc;
        ASSERT_TRUE(ApplyDistortionMap(out, disc, m.view, window, grid, nullptr));
        // Between grid points the map is the bilinear blend of its grid neighbours.
        const int gx = 40 - 40 % grid + grid, gy = 30 - 30 % grid;
        for (int k = 1; k < grid; ++k) {
            const float* a = m.At(gx, gy);
            const float* b = m.At(gx + grid, gy);
            const float* e = m.At(gx + k, gy);
            EXPECT_NEAR(e[0], a[0] + (b[0] - a[0]) * k / grid, 1e-3) << grid;
            EXPECT_NEAR(e[1], a[1] + (b[1] - a[1]) * k / grid, 1e-3);
        }
        long before, after;
        double cx, cy;
        BrightCentroid(disc, 1, cx, cy, before);
        BrightCentroid(out, 1, cx, cy, after);
        EXPECT_GT(after, before) << grid;
    }
}

TEST(Liquify, ZoomedCacheResample) {
    CImageDataInfo img, cache, ref;
    ASSERT_TRUE(MakeNoise(img, 40, 30, 4, 1, 2));
    ASSERT_TRUE(MakeConstant(cache, 40, 30, 4, 1, 0));
    IntRect rc;
    ASSERT_TRUE(ResampleZoomedCache(cache, img, IntRect{5, 6, 10, 8}, 1.0, rc, nullptr));
    EXPECT_EQ(rc, (IntRect{5, 6, 10, 8}));
    ASSERT_TRUE(MakeConstant(ref, 40, 30, 4, 1, 0));
    ASSERT_TRUE(CopyImage(img, ref, 5, 6, 5, 6, 10, 8, nullptr));
    EXPECT_TRUE(SamePixels(cache, ref));
    // Half size: cache pixel (u, v) shows image pixel (2u, 2v).
    CImageDataInfo half;
    ASSERT_TRUE(MakeConstant(half, 20, 15, 4, 1, 0));
    ASSERT_TRUE(ResampleZoomedCache(half, img, IntRect{3, 3, 13, 9}, 0.5, rc, nullptr));
    EXPECT_EQ(rc, (IntRect{1, 1, 7, 5}));
    for (int c = 0; c < 4; ++c)
        EXPECT_EQ(GetValue(half, 4, 3, c), GetValue(img, 8, 6, c));
    EXPECT_EQ(GetValue(half, 0, 0, 0), 0u);
    EXPECT_FALSE(ResampleZoomedCache(half, img, IntRect{3, 3, 13, 9}, 0.0, rc, nullptr));
    EXPECT_FALSE(ResampleZoomedCache(img, img, IntRect{3, 3, 13, 9}, 1.0, rc, nullptr));
}

TEST(Liquify, BadInputWritesNothing) {
    CImageDataInfo src, dst, small, invalid;
    ASSERT_TRUE(MakeNoise(src, 30, 20, 3, 1, 1));
    ASSERT_TRUE(MakeConstant(dst, 30, 20, 3, 1, 3));
    ASSERT_TRUE(MakeConstant(small, 29, 20, 3, 1, 3));
    const CImageDataInfo before = dst;
    OwnedMap m(30, 20);
    m.TouchAll();
    const auto mapBefore = m.map;
    const IntRect all{0, 0, 30, 20};
    EXPECT_FALSE(ApplyDistortionMap(dst, small, m.view, all, 1, nullptr));
    EXPECT_FALSE(ApplyDistortionMap(dst, invalid, m.view, all, 1, nullptr));
    EXPECT_FALSE(ApplyDistortionMap(dst, src, m.view, all, 0, nullptr));
    EXPECT_FALSE(ApplyDistortionMap(dst, src, m.view, all, 21, nullptr));
    LIQUIFY_MAP tiny = m.view;
    tiny.width = 29;
    EXPECT_FALSE(ApplyDistortionMap(dst, src, tiny, all, 1, nullptr));
    LIQUIFY_MAP none = m.view;
    none.touched = nullptr;
    EXPECT_FALSE(ApplyDistortionMap(dst, src, none, all, 1, nullptr));
    EXPECT_TRUE(SamePixels(dst, before));
    EXPECT_TRUE(ApplyDistortionMap(dst, src, m.view, IntRect{500, 500, 4, 4}, 1, nullptr));
    EXPECT_TRUE(SamePixels(dst, before));
    Brush warp(LIQUIFY_FORWARD_WARP, 5);
    LIQUIFY_BRUSH bad = warp.b;
    bad.pressure = 0;
    std::vector<float> out(warp.map.size(), 9.0f);
    EXPECT_FALSE(CreateLiquifyBrushMap(bad, out.data()));
    bad = warp.b, bad.halfSide = -1;
    EXPECT_FALSE(CreateLiquifyBrushMap(bad, out.data()));
    bad = warp.b, bad.imageRadius = 0;
    EXPECT_FALSE(CreateLiquifyBrushMap(bad, out.data()));
    EXPECT_FALSE(CreateLiquifyBrushMap(warp.b, nullptr));
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](float v) { return v == 9.0f; }));
    IntRect window{1, 1, 1, 1};
    EXPECT_FALSE(
        UpdateDistortionMap(m.view, warp.b, warp.map.data(), {5, 5, 0, 0}, 0, warp.work.data(), window));
    EXPECT_FALSE(UpdateDistortionMap(m.view, warp.b, nullptr, {5, 5, 0, 0}, 1, warp.work.data(), window));
    EXPECT_FALSE(UpdateDistortionMap(m.view, warp.b, warp.map.data(), {5, 5, 0, 0}, 1, nullptr, window));
    EXPECT_EQ(window, (IntRect{1, 1, 1, 1}));
    // A point whose brush misses the map: an empty window and nothing written.
    EXPECT_TRUE(
        UpdateDistortionMap(m.view, warp.b, warp.map.data(), {-50, 5, -60, 5}, 1, warp.work.data(), window));
    EXPECT_TRUE(window.IsEmpty());
    EXPECT_EQ(m.map, mapBefore);
}

TEST(Liquify, FuzzStrokesAndRectanglesAtEveryEdge) {
    std::mt19937 rng(3);
    for (int round = 0; round < 150; ++round) {
        const int w = round == 0 ? 1 : 1 + static_cast<int>(rng() % 40);
        const int h = round == 0 ? 1 : 1 + static_cast<int>(rng() % 40);
        const int channels = std::array{1, 3, 4}[rng() % 3];
        const int depth = 1 + static_cast<int>(rng() % 2);
        SCOPED_TRACE(testing::Message()
                     << w << "x" << h << " " << channels << "/" << depth << " round " << round);
        CImageDataInfo src, dst;
        ASSERT_TRUE(MakeNoise(src, w, h, channels, depth, round));
        ASSERT_TRUE(MakeConstant(dst, w, h, channels, depth, 77));
        OwnedMap m(w, h);
        const int grid = 1 + static_cast<int>(rng() % 6);
        LIQUIFY_BRUSH b;
        b.mode = static_cast<LIQUIFY_MODE>(rng() % 6);
        b.halfSide = static_cast<int>(rng() % 25);
        b.imageRadius = b.halfSide + 0.3;
        b.density = static_cast<int>(rng() % 101), b.pressure = 1 + static_cast<int>(rng() % 100);
        b.rate = static_cast<int>(rng() % 101), b.reverse = static_cast<int>(rng() % 2);
        const size_t side = 2 * static_cast<size_t>(b.halfSide) + 1;
        std::vector<float> brushMap(2 * side * side), work(2 * side * side);
        ASSERT_TRUE(CreateLiquifyBrushMap(b, brushMap.data()));
        for (int p = 0; p < 5; ++p) {
            // Points around and beyond every edge.
            const LIQUIFY_POINT pt{
                static_cast<int>(rng() % (w + 40)) - 20, static_cast<int>(rng() % (h + 40)) - 20,
                static_cast<int>(rng() % (w + 40)) - 20, static_cast<int>(rng() % (h + 40)) - 20};
            IntRect window;
            ASSERT_TRUE(UpdateDistortionMap(m.view, b, brushMap.data(), pt, grid, work.data(), window));
            if (!window.IsEmpty()) {
                ASSERT_EQ(window.Intersected(IntRect{0, 0, m.view.width, m.view.height}), window);
            }
        }
        for (float v : m.map)
            ASSERT_TRUE(std::isfinite(v));
        const int l = static_cast<int>(rng() % (w + 4)) - 2, t = static_cast<int>(rng() % (h + 4)) - 2;
        const IntRect dirty{l, t, static_cast<int>(rng() % (w + 4)), static_cast<int>(rng() % (h + 4))};
        const std::vector<unsigned char> marks = m.touched;
        ASSERT_TRUE(ApplyDistortionMap(dst, src, m.view, dirty, grid, nullptr));
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (!dirty.Contains(x, y) || !marks[y * m.view.width + x]) {
                    for (int c = 0; c < channels; ++c)
                        ASSERT_EQ(GetValue(dst, x, y, c), 77u) << x << "," << y;
                }
        IntRect rc;
        CImageDataInfo cache;
        ASSERT_TRUE(MakeConstant(cache, 1 + w / 2, 1 + h / 2, channels, depth, 0));
        ASSERT_TRUE(ResampleZoomedCache(cache, dst, IntRect{l, t, 1 + w / 3, 1 + h / 3}, 0.5, rc, nullptr));
    }
}
