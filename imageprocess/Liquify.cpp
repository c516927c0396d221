// Liquify kernels. A stroke only edits the map; pixels are rebuilt from it where it was touched, so the
// cost of a stroke is bounded by the brush window and the rebuild by the dirty rectangle.
#include "imageprocess/Liquify.h"
#include "imageprocess/BilinearSample.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/LiquifyRebuild.h"
#include "imageprocess/PixelAccess.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ImageProcess {

using detail::Plane;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr int kMaxHalfSide = 1 << 14;

bool BrushUsable(const LIQUIFY_BRUSH& b) {
    return b.mode >= LIQUIFY_FORWARD_WARP && b.mode <= LIQUIFY_RECONSTRUCT && b.halfSide >= 0 &&
           b.halfSide <= kMaxHalfSide && std::isfinite(b.imageRadius) && b.imageRadius > 0 &&
           b.density >= 0 && b.density <= 100 && b.pressure >= 1 && b.pressure <= 100 && b.rate >= 0 &&
           b.rate <= 100;
}

bool MapUsable(const LIQUIFY_MAP& m) {
    return m.map && m.touched && m.width > 0 && m.height > 0;
}

// The falloff shared by the moving brushes and the twirl: a Gaussian blended with an eighth power.
double Falloff(double t, double d) {
    const double g = std::exp(-0.5 * (3.5 * t) * (3.5 * t));
    const double e = std::pow(t - 1.0, 8);
    return g * d + e * (1.0 - d);
}

// Polar angle in [0, 2pi) with exact axes, so that integer offsets on an axis turn cleanly.
double PolarAngle(int x, int y) {
    if (x == 0)
        return y < 1 ? 1.5 * kPi : 0.5 * kPi;
    if (y == 0)
        return x < 1 ? kPi : 0.0;
    double a = std::atan(static_cast<double>(y) / x);
    if (x < 0)
        a += kPi;
    return a;
}

// The map at (sx, sy) sampled between the points of a grid of step g, indices mirrored into the map.
inline void GridSample(const LIQUIFY_MAP& m, float sx, float sy, int g, float& ox, float& oy) {
    constexpr float kFar = 1e8f;
    if (!(sx > -kFar && sx < kFar))
        sx = 0;
    if (!(sy > -kFar && sy < kFar))
        sy = 0;
    const float gf = static_cast<float>(g);
    const int x0 = static_cast<int>(std::floor(sx / gf)) * g, y0 = static_cast<int>(std::floor(sy / gf)) * g;
    const float fx = sx - x0, fy = sy - y0;
    float w00 = (gf - fx) * (gf - fy), w10 = fx * (gf - fy), w01 = (gf - fx) * fy, w11 = fx * fy;
    if (g > 1) {
        const float inv = 1.0f / (gf * gf);
        w00 *= inv, w10 *= inv, w01 *= inv, w11 *= inv;
    }
    const int xa = detail::MirrorIndex(x0, m.width), xb = detail::MirrorIndex(x0 + g, m.width);
    const int ya = detail::MirrorIndex(y0, m.height), yb = detail::MirrorIndex(y0 + g, m.height);
    const float* ra = m.map + 2 * static_cast<ptrdiff_t>(ya) * m.width;
    const float* rb = m.map + 2 * static_cast<ptrdiff_t>(yb) * m.width;
    ox = w00 * ra[2 * xa] + w10 * ra[2 * xb] + w01 * rb[2 * xa] + w11 * rb[2 * xb];
    oy = w00 * ra[2 * xa + 1] + w10 * ra[2 * xb + 1] + w01 * rb[2 * xa + 1] + w11 * rb[2 * xb + 1];
}

bool SameImages(const CImageDataInfo& a, const CImageDataInfo& b) {
    return detail::IsUsable(a) && detail::IsUsable(b) && a.SameFormat(b) && a.width == b.width &&
           a.height == b.height && (a.channels == 1 || a.channels == 3 || a.channels == 4);
}

} // namespace

int LiquifyMapSide(int imageSide) {
    const int r = imageSide % 20;
    const int pad = 21 - r;
    return imageSide + (pad == 20 ? 0 : pad);
}

bool ResetDistortionMap(LIQUIFY_MAP& map) {
    if (!MapUsable(map))
        return false;
    detail::ParallelRows(
        map.height, static_cast<long long>(map.width) * map.height, nullptr, [&](int r0, int r1) {
            for (int y = r0; y < r1; ++y) {
                float* row = map.map + 2 * static_cast<ptrdiff_t>(y) * map.width;
                for (int x = 0; x < map.width; ++x)
                    row[2 * x] = static_cast<float>(x), row[2 * x + 1] = static_cast<float>(y);
                std::memset(map.touched + static_cast<ptrdiff_t>(y) * map.width, 0, map.width);
            }
        });
    return true;
}

bool CreateLiquifyBrushMap(const LIQUIFY_BRUSH& brush, float* brushMap) {
    if (!brushMap || !BrushUsable(brush))
        return false;
    const int r = brush.halfSide, side = 2 * r + 1;
    const double r2 = static_cast<double>(r) * r;
    const double d = brush.density / 100.0, p = brush.pressure / 100.0;
    const LIQUIFY_MODE mode = brush.mode;
    double twirl = p * kPi / 18.0;
    if (brush.reverse == 0)
        twirl = -twirl;
    if (brush.rate == 0)
        twirl *= 10.0 / brush.imageRadius;
    const double swell = brush.rate != 0 ? 0.05 : 0.5 / brush.imageRadius;
    const double strength = mode == LIQUIFY_RECONSTRUCT ? p * 0.4 : (p * 0.9 + 0.1) * 0.8;
    for (int y = -r; y <= r; ++y)
        for (int x = -r; x <= r; ++x) {
            float* e = brushMap + 2 * (static_cast<ptrdiff_t>(y + r) * side + (x + r));
            const double q = static_cast<double>(x) * x + static_cast<double>(y) * y;
            e[0] = e[1] = 0.0f;
            if (q >= r2)
                continue;
            const double t = q / r2;
            switch (mode) {
            case LIQUIFY_BLOAT:
            case LIQUIFY_PUCKER: {
                const double g = std::exp(-0.5 * ((t - 0.2) * 4.375) * ((t - 0.2) * 4.375));
                const double v = (g * d + (t - 0.8) * (t - 0.8) * 1.5 * (1.0 - d)) * swell;
                const double sign = mode == LIQUIFY_BLOAT ? -1.0 : 1.0;
                e[0] = static_cast<float>(sign * x * v);
                e[1] = static_cast<float>(sign * y * v);
                break;
            }
            case LIQUIFY_TWIRL: {
                if (x == 0 && y == 0)
                    break;
                const double rho = std::sqrt(q);
                double theta = PolarAngle(x, y) + Falloff(t, d) * twirl;
                if (theta >= 2 * kPi)
                    theta -= 2 * kPi;
                if (theta < 0)
                    theta += 2 * kPi;
                e[0] = static_cast<float>(std::cos(theta) * rho - x);
                e[1] = static_cast<float>(std::sin(theta) * rho - y);
                break;
            }
            default:
                e[0] = e[1] = static_cast<float>(Falloff(t, d) * strength);
                break;
            }
        }
    return true;
}

bool UpdateDistortionMap(LIQUIFY_MAP& map, const LIQUIFY_BRUSH& brush, const float* brushMap,
                         const LIQUIFY_POINT& point, int gridSize, float* workMap, IntRect& window) {
    if (!MapUsable(map) || !brushMap || !workMap || !BrushUsable(brush) || gridSize < 1 ||
        gridSize > LIQUIFY_MAX_GRID)
        return false;
    const int r = brush.halfSide, side = 2 * r + 1;
    const long long left = static_cast<long long>(point.x) - r, top = static_cast<long long>(point.y) - r;
    const long long l = std::max(0LL, left), t = std::max(0LL, top);
    const long long rt = std::min<long long>(map.width, left + side),
                    b = std::min<long long>(map.height, top + side);
    if (rt <= l || b <= t) {
        window = IntRect{};
        return true;
    }
    window =
        IntRect{static_cast<int>(l), static_cast<int>(t), static_cast<int>(rt - l), static_cast<int>(b - t)};
    float dx = 0, dy = 0;
    if (brush.mode == LIQUIFY_FORWARD_WARP) {
        dx = static_cast<float>(point.prevX - point.x), dy = static_cast<float>(point.prevY - point.y);
    } else if (brush.mode == LIQUIFY_PUSH_LEFT) {
        // At a right angle to the stroke.
        dx = static_cast<float>(point.prevY - point.y), dy = static_cast<float>(point.x - point.prevX);
        if (brush.reverse)
            dx = -dx, dy = -dy;
    }
    const int ww = window.width;
    const size_t rowFloats = 2 * static_cast<size_t>(ww);
    // Samples read the map as it was before this point, so results go to the scratch copy first.
    for (int y = window.y; y < window.Bottom(); ++y)
        std::memcpy(workMap + 2 * static_cast<ptrdiff_t>(y - window.y) * side,
                    map.map + 2 * (static_cast<ptrdiff_t>(y) * map.width + window.x),
                    rowFloats * sizeof(float));
    const LIQUIFY_MODE mode = brush.mode;
    detail::ParallelRows(
        window.height, static_cast<long long>(ww) * window.height, nullptr, [&](int r0, int r1) {
            for (int j = r0; j < r1; ++j) {
                const int y = window.y + j;
                const float* brow =
                    brushMap + 2 * (static_cast<ptrdiff_t>(y - top) * side + (window.x - left));
                float* wrow = workMap + 2 * static_cast<ptrdiff_t>(j) * side;
                unsigned char* trow = map.touched + static_cast<ptrdiff_t>(y) * map.width + window.x;
                const bool gridRow = y % gridSize == 0;
                for (int i = 0; i < ww; ++i) {
                    const float mx = brow[2 * i], my = brow[2 * i + 1];
                    if (mx == 0.0f && my == 0.0f)
                        continue;
                    trow[i] = 0xFF;
                    const int x = window.x + i;
                    if (!gridRow || x % gridSize != 0)
                        continue;
                    float* e = wrow + 2 * i;
                    switch (mode) {
                    case LIQUIFY_FORWARD_WARP:
                    case LIQUIFY_PUSH_LEFT:
                        GridSample(map, dx * mx + x, dy * my + y, gridSize, e[0], e[1]);
                        break;
                    case LIQUIFY_RECONSTRUCT:
                        e[0] = (1.0f - mx) * e[0] + mx * x;
                        e[1] = (1.0f - my) * e[1] + my * y;
                        break;
                    default:
                        GridSample(map, mx + x, my + y, gridSize, e[0], e[1]);
                        break;
                    }
                }
            }
        });
    for (int y = window.y; y < window.Bottom(); ++y)
        std::memcpy(map.map + 2 * (static_cast<ptrdiff_t>(y) * map.width + window.x),
                    workMap + 2 * static_cast<ptrdiff_t>(y - window.y) * side, rowFloats * sizeof(float));
    return true;
}

bool ApplyDistortionMap(CImageDataInfo& dst, const CImageDataInfo& src, LIQUIFY_MAP& map,
                        const IntRect& dirty, int gridSize, PROGRESS_CALLBACK progress) {
    if (&dst == &src || !SameImages(dst, src) || !MapUsable(map) || map.width < src.width ||
        map.height < src.height || gridSize < 1 || gridSize > LIQUIFY_MAX_GRID)
        return false;
    const IntRect inMap = dirty.Intersected(IntRect{0, 0, map.width, map.height});
    if (inMap.IsEmpty())
        return true;
    // Entries between grid points follow the grid. In row order on one thread: near the map's far
    // edge a mirrored sample may read an entry this pass also writes.
    if (gridSize > 1)
        for (int y = inMap.y; y < inMap.Bottom(); ++y) {
            const unsigned char* trow = map.touched + static_cast<ptrdiff_t>(y) * map.width;
            float* mrow = map.map + 2 * static_cast<ptrdiff_t>(y) * map.width;
            for (int x = inMap.x; x < inMap.Right(); ++x)
                if (trow[x] && (x % gridSize != 0 || y % gridSize != 0))
                    GridSample(map, static_cast<float>(x), static_cast<float>(y), gridSize, mrow[2 * x],
                               mrow[2 * x + 1]);
        }
    const IntRect area = inMap.Intersected(IntRect{0, 0, src.width, src.height});
    if (!area.IsEmpty())
        detail::RebuildTouchedPixels(dst, src, map, area, detail::RebuildKernel::Vector, progress);
    for (int y = inMap.y; y < inMap.Bottom(); ++y)
        std::memset(map.touched + static_cast<ptrdiff_t>(y) * map.width + inMap.x, 0, inMap.width);
    return true;
}

bool ResampleZoomedCache(CImageDataInfo& cache, const CImageDataInfo& image, const IntRect& imageRect,
                         double zoom, IntRect& cacheRect, PROGRESS_CALLBACK progress) {
    if (&cache == &image || !detail::IsUsable(cache) || !SameImages(image, image) ||
        !cache.SameFormat(image) || !std::isfinite(zoom) || zoom <= 0 || zoom > 64 || imageRect.IsEmpty())
        return false;
    const auto scaled = [&](double v) { return static_cast<long long>(std::floor(v * zoom)); };
    const long long l = scaled(imageRect.x), t = scaled(imageRect.y);
    const long long r = scaled(imageRect.Right() - 1.0) + 1, b = scaled(imageRect.Bottom() - 1.0) + 1;
    const long long cl = std::max(0LL, l), ct = std::max(0LL, t);
    const long long cr = std::min<long long>(cache.width, r), cb = std::min<long long>(cache.height, b);
    cacheRect = cr > cl && cb > ct ? IntRect{static_cast<int>(cl), static_cast<int>(ct),
                                             static_cast<int>(cr - cl), static_cast<int>(cb - ct)}
                                   : IntRect{};
    if (cacheRect.IsEmpty())
        return true;
    const Plane s = detail::PlaneOf(image), d = detail::PlaneOf(cache);
    const double inv = 1.0 / zoom;
    return detail::DispatchFormat(s.channels, s.depth, [&]<typename T, int C>() {
        detail::ParallelRows(
            cacheRect.height, static_cast<long long>(cacheRect.width) * cacheRect.height, progress,
            [&](int r0, int r1) {
                for (int j = r0; j < r1; ++j) {
                    const int v = cacheRect.y + j;
                    const int64_t fy = detail::ToFixed(v * inv);
                    const int iy = static_cast<int>(fy >> 16);
                    const T* ra = reinterpret_cast<const T*>(s.Row(detail::MirrorIndex(iy, s.height)));
                    const T* rb = reinterpret_cast<const T*>(s.Row(detail::MirrorIndex(iy + 1, s.height)));
                    T* out = reinterpret_cast<T*>(d.Row(v));
                    for (int u = cacheRect.x; u < cacheRect.Right(); ++u) {
                        const int64_t fx = detail::ToFixed(u * inv);
                        const int ix = static_cast<int>(fx >> 16);
                        const auto w4 = detail::MakeWeights(static_cast<uint32_t>(fx & 0xFFFF),
                                                            static_cast<uint32_t>(fy & 0xFFFF));
                        const int xa = detail::MirrorIndex(ix, s.width) * C;
                        const int xb = detail::MirrorIndex(ix + 1, s.width) * C;
                        detail::Blend4<T, C>(ra + xa, ra + xb, rb + xa, rb + xb, w4, out + u * C);
                    }
                }
            });
    });
}

} // namespace ImageProcess
