// Guards the contiguous colour-region growth against a flood that misses pixels reachable from the
// seeds, leaks into matching pixels that are not connected, or leaves stale values in a reused mask.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/RetouchTestUtil.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ImageProcess;
using namespace retouch_test;

namespace {

// Pixels of one of two colours, the first with probability `percent`, so that the matching set breaks
// into many components with ragged, winding edges.
void Speckle(CImageDataInfo& img, int w, int h, int channels, int depth, int percent, Rng& rng) {
    ASSERT_TRUE(Flat(img, w, h, channels, depth, Level{0, 0, 0, 0}));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            Put(img, x, y, rng.Range(0, 99) < percent ? Level{60, 120, 180, 10} : Level{200, 40, 90, 250});
}

// The 4-connected parts of `matching` (non-zero) that contain a pixel of rect, by a plain queue.
std::vector<uint16_t> ReachableFrom(const CSelectedRegion& matching, const IntRect& rect) {
    const int w = matching.width, h = matching.height;
    std::vector<uint16_t> reached(static_cast<size_t>(w) * h, 0);
    std::vector<int> queue;
    const auto visit = [&](int x, int y) {
        const size_t i = static_cast<size_t>(y) * w + x;
        if (x >= 0 && y >= 0 && x < w && y < h && matching.Row(y)[x] != 0 && reached[i] == 0) {
            reached[i] = 0xFFFF;
            queue.push_back(static_cast<int>(i));
        }
    };
    for (int y = rect.y; y < rect.Bottom(); ++y)
        for (int x = rect.x; x < rect.Right(); ++x)
            visit(x, y);
    for (size_t k = 0; k < queue.size(); ++k) {
        const int x = queue[k] % w, y = queue[k] / w;
        visit(x - 1, y), visit(x + 1, y), visit(x, y - 1), visit(x, y + 1);
    }
    return reached;
}

void ExpectMask(const CSelectedRegion& out, const std::vector<uint16_t>& expected) {
    ASSERT_EQ(expected.size(), static_cast<size_t>(out.width) * out.height);
    for (int y = 0; y < out.height; ++y)
        for (int x = 0; x < out.width; ++x)
            ASSERT_EQ(out.Row(y)[x], expected[static_cast<size_t>(y) * out.width + x]) << x << "," << y;
}

} // namespace

TEST(GrowColorRegionFlood, ContiguousIsTheSeededPartOfTheGlobalSelection) {
    Rng rng{11};
    const int sizes[][2] = {{1, 1}, {1, 9}, {9, 1}, {7, 5}, {16, 16}, {37, 23}, {130, 41}, {257, 12}};
    for (const auto& sz : sizes)
        for (int depth : {1, 2})
            for (int channels : {1, 3, 4})
                for (int percent : {45, 60, 75, 100}) {
                    const int w = sz[0], h = sz[1];
                    CImageDataInfo img;
                    Speckle(img, w, h, channels, depth, percent, rng);
                    CSelectedRegion stroke;
                    const int side = rng.Range(1, 4);
                    stroke.Create(side, side, 0xFFFF);
                    stroke.x = rng.Range(1 - side, w - 1), stroke.y = rng.Range(1 - side, h - 1);
                    const IntRect seeds = stroke.Rect().Intersected(IntRect{0, 0, w, h});
                    CSelectedRegion global, contiguous;
                    ASSERT_TRUE(
                        GrowColorRegion(img, stroke, global, COLOR_REGION_LUMINANCE_COLOR, 10, false));
                    ASSERT_TRUE(
                        GrowColorRegion(img, stroke, contiguous, COLOR_REGION_LUMINANCE_COLOR, 10, true));
                    ExpectMask(contiguous, ReachableFrom(global, seeds));
                    // Again into the same mask, from elsewhere: nothing of the first result may stay.
                    stroke.x = rng.Range(0, w - 1), stroke.y = rng.Range(0, h - 1);
                    const IntRect again = stroke.Rect().Intersected(IntRect{0, 0, w, h});
                    ASSERT_TRUE(
                        GrowColorRegion(img, stroke, global, COLOR_REGION_LUMINANCE_COLOR, 10, false));
                    ASSERT_TRUE(
                        GrowColorRegion(img, stroke, contiguous, COLOR_REGION_LUMINANCE_COLOR, 10, true));
                    ExpectMask(contiguous, ReachableFrom(global, again));
                }
}

TEST(GrowColorRegionFlood, FollowsAWindingPathBothWaysAndNoFurther) {
    // A path that runs along every even row of [0, 50) and turns at alternate ends, beside a matching
    // column that it never touches. Seeded in the middle, the flood has to go up and down, turning
    // back at every row.
    const int w = 61, h = 41, pathWidth = 50, column = 55;
    const Level on{60, 120, 180, 0}, off{200, 40, 90, 0};
    CImageDataInfo img;
    ASSERT_TRUE(Flat(img, w, h, 3, 1, off));
    long pathPixels = 0;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < pathWidth; ++x)
            if (y % 2 == 0 || x == ((y / 2) % 2 == 0 ? pathWidth - 1 : 0))
                Put(img, x, y, on), ++pathPixels;
        Put(img, column, y, on);
    }
    CSelectedRegion stroke, out;
    stroke.Create(1, 1, 0xFFFF);
    stroke.x = 25, stroke.y = 20;
    ASSERT_TRUE(GrowColorRegion(img, stroke, out, COLOR_REGION_LUMINANCE_COLOR, 5, true));
    long selected = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool onPath = x < pathWidth && (y % 2 == 0 || x == ((y / 2) % 2 == 0 ? pathWidth - 1 : 0));
            ASSERT_EQ(out.Row(y)[x], onPath ? 0xFFFF : 0) << x << "," << y;
            selected += out.Row(y)[x] != 0;
        }
    EXPECT_EQ(selected, pathPixels);
}

TEST(GrowColorRegionFlood, ImageLargeEnoughForThreadsGivesTheSeededPart) {
    // Above a megapixel the match pass runs on several threads and the per-row counts decide which rows
    // the cleanup visits; both must leave exactly the seeded part.
    Rng rng{3};
    CImageDataInfo img;
    Speckle(img, 1100, 1000, 3, 1, 62, rng);
    CSelectedRegion stroke, global, contiguous;
    stroke.Create(9, 9, 0xFFFF);
    stroke.x = 540, stroke.y = 495;
    ASSERT_TRUE(GrowColorRegion(img, stroke, global, COLOR_REGION_LUMINANCE_COLOR, 10, false));
    ASSERT_TRUE(GrowColorRegion(img, stroke, contiguous, COLOR_REGION_LUMINANCE_COLOR, 10, true));
    ExpectMask(contiguous, ReachableFrom(global, stroke.Rect()));
}
