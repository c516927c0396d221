// Blemish source search and repair.
#include "imageprocess/Blemish.h"

#include "imageprocess/PixelAccess.h"
#include "imageprocess/RetouchAccess.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace ImageProcess {

namespace {

using detail::Plane;

constexpr double kMaxRadius = 100000.0;
constexpr double kPi = 3.14159265358979323846;

// Mean colour (0..1 of full scale) and texture (mean step between neighbours) of sampled pixels.
struct Stats {
    double mean[3] = {0, 0, 0};
    double texture = 0;
    long n = 0;
};

double Level(const Plane& pl, int x, int y, int nc) {
    double s = 0;
    for (int c = 0; c < nc; ++c)
        s += detail::ReadChannel(pl, x, y, c);
    return s / nc;
}

// Samples, every `step` pixels, the pixels around (cx, cy) at a distance in (inner, outer] that lie
// in the image.
Stats Measure(const Plane& pl, long long cx, long long cy, double inner, double outer, int step) {
    Stats st;
    const int nc = detail::ColorChannels(pl.channels);
    const double full = detail::MaxOfDepth(pl.depth);
    const long long k = static_cast<long long>(std::ceil(outer));
    const long long y0 = std::max(0LL, cy - k), y1 = std::min<long long>(pl.height - 1, cy + k);
    const long long x0 = std::max(0LL, cx - k), x1 = std::min<long long>(pl.width - 1, cx + k);
    double tex = 0;
    long texN = 0;
    for (long long y = y0; y <= y1; y += step)
        for (long long x = x0; x <= x1; x += step) {
            const double d = std::hypot(static_cast<double>(x - cx), static_cast<double>(y - cy));
            if (d > outer || d <= inner)
                continue;
            const int ix = static_cast<int>(x), iy = static_cast<int>(y);
            for (int c = 0; c < nc; ++c)
                st.mean[c] += detail::ReadChannel(pl, ix, iy, c);
            ++st.n;
            const double l = Level(pl, ix, iy, nc);
            if (ix + 1 < pl.width) {
                tex += std::fabs(l - Level(pl, ix + 1, iy, nc));
                ++texN;
            }
            if (iy + 1 < pl.height) {
                tex += std::fabs(l - Level(pl, ix, iy + 1, nc));
                ++texN;
            }
        }
    for (int c = 0; c < nc; ++c)
        st.mean[c] = st.n ? st.mean[c] / st.n / full : 0.0;
    st.texture = texN ? tex / texN / full : 0.0;
    return st;
}

double Mismatch(const Stats& a, const Stats& b, int nc) {
    double tone = 0;
    for (int c = 0; c < nc; ++c)
        tone += std::fabs(a.mean[c] - b.mean[c]);
    return tone / nc + 2.0 * std::fabs(a.texture - b.texture);
}

bool ValidBlemish(const BLEMISH& b) {
    return std::isfinite(b.radius) && b.radius > 0.0 && b.radius <= kMaxRadius && std::isfinite(b.opacity) &&
           b.opacity >= 0.0 && b.opacity <= 1.0;
}

// Soft edge: full strength to 60% of the radius, then a smooth fall to 0 at the rim.
double EdgeWeight(double u) {
    if (u <= 0.6)
        return 1.0;
    if (u >= 1.0)
        return 0.0;
    const double s = (u - 0.6) / 0.4;
    return 1.0 - s * s * (3.0 - 2.0 * s);
}

// Least-squares plane a + b dx + c dy per channel of the tone difference between the ring around the
// target and the same ring around the source.
struct TonePlane {
    double a[4] = {0, 0, 0, 0}, bx[4] = {0, 0, 0, 0}, by[4] = {0, 0, 0, 0};

    double At(int c, double dx, double dy) const { return a[c] + bx[c] * dx + by[c] * dy; }
};

bool Solve3(double m[3][3], double v[3], double out[3]) {
    const double det = m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                       m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                       m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    if (std::fabs(det) < 1e-9)
        return false;
    for (int i = 0; i < 3; ++i) {
        double t[3][3];
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                t[r][c] = c == i ? v[r] : m[r][c];
        out[i] = (t[0][0] * (t[1][1] * t[2][2] - t[1][2] * t[2][1]) -
                  t[0][1] * (t[1][0] * t[2][2] - t[1][2] * t[2][0]) +
                  t[0][2] * (t[1][0] * t[2][1] - t[1][1] * t[2][0])) /
                 det;
    }
    return true;
}

TonePlane FitTone(const Plane& src, const BLEMISH& b, int nc) {
    TonePlane tp;
    const double inner = b.radius, outer = b.radius + std::max(2.0, b.radius * 0.25);
    const long long k = static_cast<long long>(std::ceil(outer));
    const long long ox = static_cast<long long>(b.sourceX) - b.targetX,
                    oy = static_cast<long long>(b.sourceY) - b.targetY;
    double m[3][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
    double v[4][3] = {};
    double sum[4] = {0, 0, 0, 0};
    long n = 0;
    const int step = std::max(1, static_cast<int>(k / 24));
    for (long long dy = -k; dy <= k; dy += step)
        for (long long dx = -k; dx <= k; dx += step) {
            const double d = std::hypot(static_cast<double>(dx), static_cast<double>(dy));
            if (d <= inner || d > outer)
                continue;
            const long long tx = b.targetX + dx, ty = b.targetY + dy, sx = tx + ox, sy = ty + oy;
            if (tx < 0 || ty < 0 || sx < 0 || sy < 0 || tx >= src.width || sx >= src.width ||
                ty >= src.height || sy >= src.height)
                continue;
            const double f[3] = {1.0, static_cast<double>(dx), static_cast<double>(dy)};
            for (int r = 0; r < 3; ++r)
                for (int c = 0; c < 3; ++c)
                    m[r][c] += f[r] * f[c];
            for (int c = 0; c < nc; ++c) {
                const double diff = detail::ReadChannel(src, static_cast<int>(tx), static_cast<int>(ty), c) -
                                    detail::ReadChannel(src, static_cast<int>(sx), static_cast<int>(sy), c);
                sum[c] += diff;
                for (int r = 0; r < 3; ++r)
                    v[c][r] += f[r] * diff;
            }
            ++n;
        }
    if (n == 0)
        return tp;
    for (int c = 0; c < nc; ++c) {
        double sol[3];
        double mc[3][3];
        std::copy(&m[0][0], &m[0][0] + 9, &mc[0][0]);
        if (n >= 8 && Solve3(mc, v[c], sol)) {
            tp.a[c] = sol[0];
            tp.bx[c] = sol[1];
            tp.by[c] = sol[2];
        } else {
            tp.a[c] = sum[c] / n;
        }
    }
    return tp;
}

void RepairOne(const Plane& src, const Plane& dst, int offX, int offY, const BLEMISH& b) {
    const int nc = detail::ColorChannels(src.channels);
    const double R = b.radius;
    const long long k = static_cast<long long>(std::ceil(R));
    // The target's box in dst coordinates.
    const long long l = std::max(0LL, b.targetX - k - offX), t = std::max(0LL, b.targetY - k - offY);
    const long long r = std::min<long long>(dst.width - 1, b.targetX + k - offX);
    const long long btm = std::min<long long>(dst.height - 1, b.targetY + k - offY);
    if (r < l || btm < t)
        return;
    const TonePlane tone = FitTone(src, b, nc);
    const int bw = static_cast<int>(r - l + 1), bh = static_cast<int>(btm - t + 1);
    // Repaired values first, so that a source overlapping the target (or dst being src) reads unrepaired
    // pixels.
    std::vector<double> rep(static_cast<size_t>(bw) * bh * nc);
    std::vector<float> alpha(static_cast<size_t>(bw) * bh, 0.0f);
    const long long ox = static_cast<long long>(b.sourceX) - b.targetX,
                    oy = static_cast<long long>(b.sourceY) - b.targetY;
    detail::ParallelRows(bh, static_cast<long long>(bw) * bh * nc * 4, nullptr, [&](int r0, int r1) {
        for (int i = r0; i < r1; ++i) {
            const long long iy = t + i + offY; // image row
            const long long dy = iy - b.targetY;
            const int sy = static_cast<int>(std::clamp<long long>(iy + oy, 0, src.height - 1));
            for (int j = 0; j < bw; ++j) {
                const long long ix = l + j + offX;
                const long long dx = ix - b.targetX;
                const double d = std::hypot(static_cast<double>(dx), static_cast<double>(dy));
                const double w = b.opacity * EdgeWeight(d / R);
                const size_t at = static_cast<size_t>(i) * bw + j;
                alpha[at] = static_cast<float>(w);
                if (w <= 0.0)
                    continue;
                const int sx = static_cast<int>(std::clamp<long long>(ix + ox, 0, src.width - 1));
                for (int c = 0; c < nc; ++c)
                    rep[at * nc + c] = detail::ReadChannel(src, sx, sy, c) +
                                       tone.At(c, static_cast<double>(dx), static_cast<double>(dy));
            }
        }
    });
    for (int i = 0; i < bh; ++i)
        for (int j = 0; j < bw; ++j) {
            const size_t at = static_cast<size_t>(i) * bw + j;
            const double w = alpha[at];
            if (w <= 0.0)
                continue;
            const int px = static_cast<int>(l + j), py = static_cast<int>(t + i);
            for (int c = 0; c < nc; ++c) {
                const double old = detail::ReadChannel(dst, px, py, c);
                detail::WriteChannel(dst, px, py, c, old + w * (rep[at * nc + c] - old));
            }
        }
}

} // namespace

bool DetectBlemishSource(BLEMISH& blemish, const CImageDataInfo& image) {
    if (!detail::IsUsable(image) || !ValidBlemish(blemish) || blemish.targetX < 0 || blemish.targetY < 0 ||
        blemish.targetX >= image.width || blemish.targetY >= image.height)
        return false;
    const Plane pl = detail::PlaneOf(image);
    const int nc = detail::ColorChannels(pl.channels);
    const double R = blemish.radius;
    const long long k = static_cast<long long>(std::ceil(R));
    // Pixels of a circle lie within k of its centre; centres 2k + 2 apart leave a pixel between them.
    const double minDist = 2.0 * k + 2.0;
    if (2 * k + 1 > image.width || 2 * k + 1 > image.height)
        return false;
    const int step = std::max(1, static_cast<int>(k / 12));
    const Stats ring = Measure(pl, blemish.targetX, blemish.targetY, R, 2.0 * R + 2.0, step);
    if (ring.n == 0)
        return false;
    std::vector<std::pair<long long, long long>> candidates;
    for (double f : {1.0, 1.5, 2.0, 3.0, 4.0})
        for (int a = 0; a < 24; ++a) {
            const double ang = 2.0 * kPi * (a + (f == 1.5 || f == 3.0 ? 0.5 : 0.0)) / 24.0;
            const double dist = minDist * f;
            candidates.emplace_back(blemish.targetX + std::llround(std::ceil(dist * std::cos(ang))),
                                    blemish.targetY + std::llround(std::ceil(dist * std::sin(ang))));
        }
    // A coarse grid over the whole image for when nothing nearby fits.
    const long long gridStep = std::max<long long>(
        std::max<long long>(1, k),
        static_cast<long long>(std::sqrt(static_cast<double>(image.width) * image.height / 256.0)));
    for (long long gy = k; gy + k < image.height; gy += gridStep)
        for (long long gx = k; gx + k < image.width; gx += gridStep)
            candidates.emplace_back(gx, gy);
    double best = 1e300;
    long long bestX = 0, bestY = 0;
    bool found = false;
    for (const auto& [cx, cy] : candidates) {
        if (cx - k < 0 || cy - k < 0 || cx + k >= image.width || cy + k >= image.height)
            continue;
        const double dist =
            std::hypot(static_cast<double>(cx - blemish.targetX), static_cast<double>(cy - blemish.targetY));
        if (dist < minDist)
            continue;
        const Stats s = Measure(pl, cx, cy, -1.0, R, step);
        // A slight preference for nearby patches breaks ties between equally good ones.
        const double score = Mismatch(s, ring, nc) + 0.002 * dist / minDist;
        if (score < best) {
            best = score;
            bestX = cx;
            bestY = cy;
            found = true;
        }
    }
    if (!found)
        return false;
    blemish.sourceX = static_cast<int32_t>(bestX);
    blemish.sourceY = static_cast<int32_t>(bestY);
    return true;
}

bool RepairBlemishes(const CImageDataInfo& src, CImageDataInfo& dst, int x, int y, const BLEMISH* blemishes,
                     size_t count, void (*progress)(int done, int total)) {
    if (!detail::IsUsable(src) || !detail::IsUsable(dst) || !src.SameFormat(dst) || (!blemishes && count > 0))
        return false;
    if (x < 0 || y < 0 || static_cast<long long>(x) + dst.width > src.width ||
        static_cast<long long>(y) + dst.height > src.height)
        return false;
    for (size_t i = 0; i < count; ++i)
        if (!ValidBlemish(blemishes[i]))
            return false;
    const Plane sp = detail::PlaneOf(src), dp = detail::PlaneOf(dst);
    for (size_t i = 0; i < count; ++i) {
        RepairOne(sp, dp, x, y, blemishes[i]);
        if (progress)
            progress(static_cast<int>(i + 1), static_cast<int>(count));
    }
    return true;
}

} // namespace ImageProcess
