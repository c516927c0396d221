// Polygon coverage by signed-area accumulation, and mask combination.
#include "imageprocess/Polygon.h"

#include "imageprocess/PixelAccess.h"
#include "imageprocess/RetouchAccess.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ImageProcess {

namespace {

constexpr double kCoordLimit = 1073741824.0;

// Accumulates the signed area that the edge a-b contributes to each cell of a width x height grid;
// a running sum along a row then gives the covered fraction of every pixel. x lies in [0, width].
void AccumulateEdge(std::vector<float>& acc, int width, int height, double x0, double y0, double x1,
                    double y1) {
    if (y0 == y1)
        return;
    double dir = 1.0;
    if (y0 > y1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
        dir = -1.0;
    }
    const double dxdy = (x1 - x0) / (y1 - y0);
    const double ys = std::max(y0, 0.0), ye = std::min(y1, static_cast<double>(height));
    if (ys >= ye)
        return;
    double x = std::clamp(x0 + (ys - y0) * dxdy, 0.0, static_cast<double>(width));
    const size_t stride = static_cast<size_t>(width) + 2;
    for (int y = static_cast<int>(ys); y < height && y < ye; ++y) {
        float* row = acc.data() + static_cast<size_t>(y) * stride;
        const double top = std::max(static_cast<double>(y), ys), bottom = std::min(y + 1.0, ye);
        const double dy = bottom - top;
        if (dy <= 0)
            continue;
        const double xnext = std::clamp(x + dxdy * dy, 0.0, static_cast<double>(width));
        const double d = dy * dir;
        const double xa = std::min(x, xnext), xb = std::max(x, xnext);
        const double xaFloor = std::floor(xa);
        const int ia = static_cast<int>(xaFloor);
        const int ib = static_cast<int>(std::ceil(xb));
        if (ib <= ia + 1) {
            // The edge stays within one column in this row.
            const double mid = 0.5 * (x + xnext) - xaFloor;
            row[ia] += static_cast<float>(d - d * mid);
            row[ia + 1] += static_cast<float>(d * mid);
        } else {
            const double s = 1.0 / (xb - xa);
            const double fa = xa - xaFloor;
            const double a0 = 0.5 * s * (1.0 - fa) * (1.0 - fa);
            const double fb = xb - ib + 1.0;
            const double am = 0.5 * s * fb * fb;
            row[ia] += static_cast<float>(d * a0);
            if (ib == ia + 2) {
                row[ia + 1] += static_cast<float>(d * (1.0 - a0 - am));
            } else {
                const double a1 = s * (1.5 - fa);
                row[ia + 1] += static_cast<float>(d * (a1 - a0));
                for (int i = ia + 2; i < ib - 1; ++i)
                    row[i] += static_cast<float>(d * s);
                const double a2 = a1 + (ib - ia - 3) * s;
                row[ib - 1] += static_cast<float>(d * (1.0 - a2 - am));
            }
            row[ib] += static_cast<float>(d * am);
        }
        x = xnext;
    }
}

// Splits the edge where it leaves [0, width] horizontally; the parts outside run along the border,
// which keeps their winding for the pixels inside.
void AddClippedEdge(std::vector<float>& acc, int width, int height, TPoint<double> a, TPoint<double> b) {
    double ts[4] = {0.0, 1.0, 0.0, 0.0};
    int n = 2;
    const double dx = b.x - a.x;
    if (dx != 0.0)
        for (double edge : {0.0, static_cast<double>(width)}) {
            const double t = (edge - a.x) / dx;
            if (t > 0.0 && t < 1.0)
                ts[n++] = t;
        }
    for (int i = 1; i < n; ++i) // at most four values
        for (int j = i; j > 0 && ts[j] < ts[j - 1]; --j)
            std::swap(ts[j], ts[j - 1]);
    const double w = width;
    for (int i = 0; i + 1 < n; ++i) {
        const double t0 = ts[i], t1 = ts[i + 1];
        const double xa = std::clamp(a.x + dx * t0, 0.0, w), xb = std::clamp(a.x + dx * t1, 0.0, w);
        AccumulateEdge(acc, width, height, xa, a.y + (b.y - a.y) * t0, xb, a.y + (b.y - a.y) * t1);
    }
}

// Three box passes of radius r along one axis of a float plane (zero outside).
void BoxBlurRows(std::vector<float>& v, int width, int height, int r) {
    std::vector<float> line(static_cast<size_t>(width));
    const float norm = 1.0f / static_cast<float>(2 * r + 1);
    for (int y = 0; y < height; ++y) {
        float* row = v.data() + static_cast<size_t>(y) * width;
        for (int pass = 0; pass < 3; ++pass) {
            double sum = 0.0;
            for (int x = 0; x < std::min(r, width); ++x)
                sum += row[x];
            for (int x = 0; x < width; ++x) {
                if (x + r < width)
                    sum += row[x + r];
                if (x - r - 1 >= 0)
                    sum -= row[x - r - 1];
                line[x] = static_cast<float>(sum) * norm;
            }
            std::copy(line.begin(), line.end(), row);
        }
    }
}

void Transpose(const std::vector<float>& in, std::vector<float>& out, int width, int height) {
    out.resize(in.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            out[static_cast<size_t>(x) * height + y] = in[static_cast<size_t>(y) * width + x];
}

} // namespace

bool PolygonToRegion(const TPoint<double>* points, size_t count, CSelectedRegion& region,
                     const IntRect* clip) {
    if (!points || count < 3)
        return false;
    double minX = points[0].x, maxX = points[0].x, minY = points[0].y, maxY = points[0].y;
    for (size_t i = 0; i < count; ++i) {
        const TPoint<double>& p = points[i];
        if (!std::isfinite(p.x) || !std::isfinite(p.y) || std::fabs(p.x) > kCoordLimit ||
            std::fabs(p.y) > kCoordLimit)
            return false;
        minX = std::min(minX, p.x);
        maxX = std::max(maxX, p.x);
        minY = std::min(minY, p.y);
        maxY = std::max(maxY, p.y);
    }
    const long long left = static_cast<long long>(std::floor(minX)),
                    top = static_cast<long long>(std::floor(minY));
    const long long right = static_cast<long long>(std::ceil(maxX)),
                    bottom = static_cast<long long>(std::ceil(maxY));
    if (right <= left || bottom <= top)
        return false;
    IntRect bounds{static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
                   static_cast<int>(bottom - top)};
    if (clip)
        bounds = bounds.Intersected(*clip);
    if (bounds.IsEmpty())
        return false;
    const int w = bounds.width, h = bounds.height;
    std::vector<float> acc;
    try {
        acc.assign(static_cast<size_t>(w + 2) * h, 0.0f);
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (size_t i = 0; i < count; ++i) {
        const TPoint<double>& a = points[i];
        const TPoint<double>& b = points[(i + 1) % count];
        AddClippedEdge(acc, w, h, TPoint<double>(a.x - bounds.x, a.y - bounds.y),
                       TPoint<double>(b.x - bounds.x, b.y - bounds.y));
    }
    CSelectedRegion out;
    if (!out.Create(w, h))
        return false;
    detail::ParallelRows(h, static_cast<long long>(w) * h, nullptr, [&](int r0, int r1) {
        for (int y = r0; y < r1; ++y) {
            const float* a = acc.data() + static_cast<size_t>(y) * (w + 2);
            uint16_t* o = out.Row(y);
            double sum = 0.0;
            for (int x = 0; x < w; ++x) {
                sum += a[x];
                const double c = std::min(1.0, std::fabs(sum));
                o[x] = static_cast<uint16_t>(c * 65535.0 + 0.5);
            }
        }
    });
    out.x = bounds.x;
    out.y = bounds.y;
    region.x = out.x;
    region.y = out.y;
    region.width = out.width;
    region.height = out.height;
    region.data.swap(out.data);
    return true;
}

bool CombineRegions(CSelectedRegion& selection, const CSelectedRegion& shape, REGION_COMBINE mode,
                    int opacity, double feather) {
    if (!detail::HasValues(selection) || !detail::HasValues(shape) || opacity < 1 || opacity > 100 ||
        !std::isfinite(feather) || feather < 0.0 || feather > 1000.0 ||
        (mode != REGION_ADD && mode != REGION_SUBTRACT && mode != REGION_INTERSECT) || &selection == &shape)
        return false;
    // Three box passes of radius r spread an edge over about 3r pixels each side.
    const int r = static_cast<int>(std::ceil(feather / 3.0));
    const int grow = 3 * r;
    const IntRect shapeRect{shape.x - grow, shape.y - grow, shape.width + 2 * grow, shape.height + 2 * grow};
    const IntRect selRect = selection.Rect();
    const IntRect area = shapeRect.Intersected(selRect);
    const float scale = static_cast<float>(opacity) / 100.0f;
    // The scaled (and feathered) shape over its grown rectangle.
    std::vector<float> s;
    try {
        s.assign(static_cast<size_t>(shapeRect.width) * shapeRect.height, 0.0f);
    } catch (const std::bad_alloc&) {
        return false;
    }
    if (!area.IsEmpty()) {
        for (int y = 0; y < shape.height; ++y) {
            const uint16_t* in = shape.Row(y);
            float* o = s.data() + static_cast<size_t>(y + grow) * shapeRect.width + grow;
            for (int x = 0; x < shape.width; ++x)
                o[x] = in[x] * scale;
        }
        if (r > 0) {
            std::vector<float> t;
            BoxBlurRows(s, shapeRect.width, shapeRect.height, r);
            Transpose(s, t, shapeRect.width, shapeRect.height);
            BoxBlurRows(t, shapeRect.height, shapeRect.width, r);
            Transpose(t, s, shapeRect.height, shapeRect.width);
        }
    }
    auto shapeAt = [&](int ix, int iy) -> uint32_t {
        if (!shapeRect.Contains(ix, iy))
            return 0;
        const float v = s[static_cast<size_t>(iy - shapeRect.y) * shapeRect.width + (ix - shapeRect.x)];
        return static_cast<uint32_t>(std::clamp(v + 0.5f, 0.0f, 65535.0f));
    };
    const int rows = mode == REGION_INTERSECT ? selection.height : area.height;
    const int top = mode == REGION_INTERSECT ? selection.y : area.y;
    detail::ParallelRows(rows, static_cast<long long>(selection.width) * rows, nullptr, [&](int r0, int r1) {
        for (int i = r0; i < r1; ++i) {
            const int iy = top + i;
            uint16_t* m = selection.Row(iy - selection.y);
            if (mode == REGION_INTERSECT) {
                for (int x = 0; x < selection.width; ++x)
                    m[x] = static_cast<uint16_t>((m[x] * shapeAt(selection.x + x, iy) + 32767u) / 65535u);
                continue;
            }
            for (int ix = area.x; ix < area.Right(); ++ix) {
                uint16_t& v = m[ix - selection.x];
                const uint32_t a = shapeAt(ix, iy);
                v = static_cast<uint16_t>(mode == REGION_ADD ? std::min<uint32_t>(65535u, v + a)
                                                             : (v > a ? v - a : 0u));
            }
        }
    });
    return true;
}

} // namespace ImageProcess
