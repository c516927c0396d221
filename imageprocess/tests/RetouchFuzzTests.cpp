// Guards every retouch function against reads and writes outside its buffers on random sizes down to
// 1 x 1 and rectangles at every edge, and against changes outside the area a call may touch.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/tests/RetouchTestUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

using namespace ImageProcess;
using retouch_test::Rng;

namespace {

constexpr int kRounds = 160;

struct Case {
    int w, h, channels, depth;
};

// Round 0 is 1 x 1; the rest are random, with thin images now and then.
Case MakeCase(Rng& rng, int round) {
    const int channelChoice[3] = {1, 3, 4};
    Case c{rng.Range(1, 40), rng.Range(1, 40), channelChoice[rng.Range(0, 2)], rng.Range(1, 2)};
    if (round == 0)
        c.w = c.h = 1;
    else if (round % 7 == 0)
        c.h = 1;
    else if (round % 11 == 0)
        c.w = 1;
    return c;
}

// A rectangle that may start before, on or past either edge of a side of length n.
IntRect EdgeRect(Rng& rng, int w, int h) {
    return IntRect{rng.Range(-6, w + 2), rng.Range(-6, h + 2), rng.Range(1, w + 8), rng.Range(1, h + 8)};
}

bool SameMask(const CSelectedRegion& a, const CSelectedRegion& b) {
    return a.Rect() == b.Rect() &&
           std::memcmp(a.data.data(), b.data.data(), static_cast<size_t>(a.width) * a.height * 2) == 0;
}

uint16_t MaskAt(const CSelectedRegion& m, int x, int y) {
    return m.Rect().Contains(x, y) ? m.Row(y - m.y)[x - m.x] : 0;
}

} // namespace

TEST(RetouchFuzz, GrowColorRegion) {
    Rng rng{101};
    for (int round = 0; round < kRounds; ++round) {
        const Case k = MakeCase(rng, round);
        CImageDataInfo img;
        ASSERT_TRUE(kel_testing::MakeNoise(img, k.w, k.h, k.channels, k.depth, round));
        const IntRect sr = EdgeRect(rng, k.w, k.h);
        CSelectedRegion stroke, out;
        ASSERT_TRUE(stroke.Create(std::min(sr.width, 12), std::min(sr.height, 12), 0xFFFF));
        stroke.x = sr.x;
        stroke.y = sr.y;
        ASSERT_TRUE(out.Create(3, 1, 9));
        const CSelectedRegion before = out;
        const int tolerance = rng.Range(-5, 105);
        const bool seeded = !stroke.Rect().Intersected(IntRect{0, 0, k.w, k.h}).IsEmpty();
        const bool ok = GrowColorRegion(img, stroke, out, static_cast<COLOR_REGION_COMPARE>(rng.Range(0, 2)),
                                        tolerance, rng.Range(0, 1) == 1);
        ASSERT_EQ(ok, seeded && tolerance >= 0 && tolerance <= 100) << round;
        if (!ok) {
            ASSERT_TRUE(SameMask(out, before));
            continue;
        }
        ASSERT_EQ(out.Rect(), (IntRect{0, 0, k.w, k.h}));
        for (int y = 0; y < k.h; ++y)
            for (int x = 0; x < k.w; ++x) {
                const uint16_t v = out.Row(y)[x];
                ASSERT_TRUE(v == 0 || v == 0xFFFF);
                if (stroke.Rect().Contains(x, y)) {
                    ASSERT_EQ(v, 0xFFFF) << "a seed is always selected";
                }
            }
    }
}

TEST(RetouchFuzz, PolygonAndCombine) {
    Rng rng{202};
    for (int round = 0; round < kRounds; ++round) {
        const Case k = MakeCase(rng, round);
        const IntRect image{0, 0, k.w, k.h};
        std::vector<TPoint<double>> pts;
        const int n = rng.Range(0, 8);
        for (int i = 0; i < n; ++i)
            pts.emplace_back(rng.Unit() * (k.w + 20) - 10, rng.Unit() * (k.h + 20) - 10);
        CSelectedRegion shape;
        if (PolygonToRegion(pts.data(), pts.size(), shape, &image)) {
            ASSERT_GE(n, 3);
            ASSERT_EQ(shape.Rect().Intersected(image), shape.Rect());
        }
        if (!shape.IsUsable() || shape.data.empty()) {
            ASSERT_TRUE(shape.Create(rng.Range(1, 5), rng.Range(1, 5), 0x8000));
        }
        const IntRect sel = EdgeRect(rng, k.w, k.h);
        CSelectedRegion selection;
        ASSERT_TRUE(selection.Create(sel.width, sel.height, static_cast<uint16_t>(rng.Range(0, 65535))));
        selection.x = sel.x;
        selection.y = sel.y;
        const CSelectedRegion before = selection;
        const int opacity = rng.Range(-2, 102);
        const double feather = rng.Range(-1, 10) * 0.7;
        const bool ok =
            CombineRegions(selection, shape, static_cast<REGION_COMBINE>(rng.Range(0, 2)), opacity, feather);
        ASSERT_EQ(ok, opacity >= 1 && opacity <= 100 && feather >= 0) << round;
        ASSERT_EQ(selection.Rect(), before.Rect());
        if (!ok) {
            ASSERT_TRUE(SameMask(selection, before));
        }
    }
}

TEST(RetouchFuzz, FillGradientRegion) {
    Rng rng{303};
    for (int round = 0; round < kRounds; ++round) {
        const Case k = MakeCase(rng, round);
        CSelectedRegion r;
        ASSERT_TRUE(r.Create(k.w, k.h, 7));
        r.x = rng.Range(-50, 50);
        GRADIENT_PARAMS p;
        p.mode = static_cast<CSelectedRegion::GRADIENT_MODE>(rng.Range(0, 1));
        p.startX = rng.Unit() * 80 - 40;
        p.startY = rng.Unit() * 80 - 40;
        p.dirX = rng.Range(-2, 2);
        p.dirY = rng.Range(-2, 2);
        p.endDistance = rng.Range(-1, 30);
        p.useMid = rng.Range(0, 1) == 1;
        p.midDistance = rng.Range(-1, 31);
        p.startOpacity = rng.Range(-1, 101);
        p.aspect = rng.Range(0, 3) * 0.5;
        const CSelectedRegion before = r;
        const bool valid = (p.dirX != 0 || p.dirY != 0) && p.endDistance > 0 && p.aspect > 0 &&
                           p.startOpacity >= 0 && p.startOpacity <= 100 &&
                           (!p.useMid || (p.midDistance >= 0 && p.midDistance <= p.endDistance));
        ASSERT_EQ(FillGradientRegion(r, p), valid) << round;
        if (!valid) {
            ASSERT_TRUE(SameMask(r, before));
        }
    }
}

TEST(RetouchFuzz, CorrectRedeye) {
    Rng rng{404};
    for (int round = 0; round < kRounds; ++round) {
        const Case k = MakeCase(rng, round);
        CImageDataInfo img;
        ASSERT_TRUE(kel_testing::MakeNoise(img, k.w, k.h, k.channels, k.depth, round));
        const CImageDataInfo before = img;
        const int ox = rng.Range(-10, 10), oy = rng.Range(-10, 10);
        std::vector<REDEYE> eyes;
        for (int i = rng.Range(0, 3); i > 0; --i) {
            const IntRect r = EdgeRect(rng, k.w, k.h);
            eyes.push_back(
                REDEYE{r.x + ox, r.y + oy, r.width, r.height, rng.Range(1, 100), rng.Range(0, 100)});
        }
        const bool ok = CorrectRedeye(img, eyes.data(), eyes.size(), ox, oy);
        ASSERT_EQ(ok, k.channels >= 3);
        for (int y = 0; y < k.h; ++y)
            for (int x = 0; x < k.w; ++x) {
                bool inEye = false;
                for (const REDEYE& e : eyes) {
                    const double a = e.width / 2.0, b = e.height / 2.0;
                    const double u = (x + ox + 0.5 - e.x - a) / a, v = (y + oy + 0.5 - e.y - b) / b;
                    inEye = inEye || u * u + v * v < 1.0;
                }
                if (!inEye || !ok) {
                    for (int c = 0; c < k.channels; ++c)
                        ASSERT_EQ(kel_testing::GetValue(img, x, y, c),
                                  kel_testing::GetValue(before, x, y, c));
                }
            }
    }
}

TEST(RetouchFuzz, Blemishes) {
    Rng rng{505};
    for (int round = 0; round < kRounds; ++round) {
        const Case k = MakeCase(rng, round);
        CImageDataInfo src;
        ASSERT_TRUE(kel_testing::MakeNoise(src, k.w, k.h, k.channels, k.depth, round));
        std::vector<BLEMISH> list;
        for (int i = rng.Range(0, 3); i > 0; --i) {
            BLEMISH b{
                rng.Range(-5, k.w + 5), rng.Range(-5, k.h + 5), 0, 0, 0.3 + rng.Unit() * 15, rng.Unit()};
            if (!DetectBlemishSource(b, src)) {
                b.sourceX = rng.Range(-10, k.w + 10);
                b.sourceY = rng.Range(-10, k.h + 10);
            }
            list.push_back(b);
        }
        // A working rectangle that may or may not lie inside the image.
        const int dx = rng.Range(-1, k.w), dy = rng.Range(-1, k.h);
        CImageDataInfo dst;
        ASSERT_TRUE(
            kel_testing::MakeNoise(dst, rng.Range(1, k.w), rng.Range(1, k.h), k.channels, k.depth, 9));
        const CImageDataInfo before = dst;
        const bool inside = dx >= 0 && dy >= 0 && dx + dst.width <= k.w && dy + dst.height <= k.h;
        ASSERT_EQ(RepairBlemishes(src, dst, dx, dy, list.data(), list.size()), inside) << round;
        for (int y = 0; y < dst.height; ++y)
            for (int x = 0; x < dst.width; ++x) {
                bool near = false;
                for (const BLEMISH& b : list)
                    near = near || std::hypot(x + dx - b.targetX, y + dy - b.targetY) < b.radius;
                if (!near || !inside) {
                    for (int c = 0; c < k.channels; ++c)
                        ASSERT_EQ(kel_testing::GetValue(dst, x, y, c),
                                  kel_testing::GetValue(before, x, y, c));
                }
            }
    }
}

TEST(RetouchFuzz, HealBlend) {
    Rng rng{606};
    for (int round = 0; round < kRounds; ++round) {
        const Case k = MakeCase(rng, round);
        CImageDataInfo src, dst;
        ASSERT_TRUE(kel_testing::MakeNoise(src, k.w, k.h, k.channels, k.depth, round));
        ASSERT_TRUE(kel_testing::MakeNoise(dst, rng.Range(1, 40), rng.Range(1, 40), k.channels, k.depth, 77));
        const CImageDataInfo before = dst;
        const IntRect m = EdgeRect(rng, dst.width, dst.height);
        CSelectedRegion mask;
        ASSERT_TRUE(mask.Create(m.width, m.height));
        for (int i = 0; i < m.width * m.height; ++i)
            mask.Values()[i] = static_cast<uint16_t>(rng.Range(0, 3) == 0 ? 0 : rng.Range(0, 65535));
        mask.x = m.x;
        mask.y = m.y;
        const IntRect r = EdgeRect(rng, dst.width, dst.height);
        const bool self = rng.Range(0, 4) == 0;
        const int sx = rng.Range(-10, k.w + 5), sy = rng.Range(-10, k.h + 5);
        CImageDataInfo& target = self ? src : dst;
        const CImageDataInfo targetBefore = target;
        HealBlend(src, target, r.x, r.y, sx, sy, r.width, r.height, mask);
        for (int y = 0; y < target.height; ++y)
            for (int x = 0; x < target.width; ++x)
                if (!r.Contains(x, y) || MaskAt(mask, x, y) == 0) {
                    for (int c = 0; c < k.channels; ++c)
                        ASSERT_EQ(kel_testing::GetValue(target, x, y, c),
                                  kel_testing::GetValue(targetBefore, x, y, c));
                }
        if (self) {
            ASSERT_TRUE(kel_testing::SamePixels(dst, before));
        }
    }
}
