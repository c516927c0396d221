// Rotation by any angle. Each destination row is walked with a fixed-point source position stepped per
// pixel; the part of the row whose centres map inside the source is found once per row, so the inner
// loop neither tests the border nor computes a sine.
#include "imageprocess/RotateAngle.h"
#include "imageprocess/BilinearSample.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <vector>

namespace ImageProcess {

using detail::Plane;

namespace {

// Where destination pixel centres come from: source = centre + R(-angle) (dest - centre).
struct RotationMap {
    double cx = 0, cy = 0, cosA = 1, sinA = 0;
    int width = 0, height = 0;

    RotationMap(int w, int h, double degrees) : cx(w / 2.0), cy(h / 2.0), width(w), height(h) {
        double d = std::fmod(degrees, 360.0);
        if (d < 0)
            d += 360.0;
        // Quarter turns use exact factors, so that they land on pixel centres.
        if (d == 0.0) {
            cosA = 1, sinA = 0;
        } else if (d == 90.0) {
            cosA = 0, sinA = 1;
        } else if (d == 180.0) {
            cosA = -1, sinA = 0;
        } else if (d == 270.0) {
            cosA = 0, sinA = -1;
        } else {
            const double r = d * 3.141592653589793 / 180.0;
            cosA = std::cos(r), sinA = std::sin(r);
        }
    }
    // Source position of the centre of pixel (0, v), and the step per pixel along the row.
    double RowX(int v) const { return cx + (0.5 - cx) * cosA + (v + 0.5 - cy) * sinA; }
    double RowY(int v) const { return cy - (0.5 - cx) * sinA + (v + 0.5 - cy) * cosA; }

    // The pixels [u0, u1) of row v whose centres map inside the source rectangle.
    void Span(int v, int& u0, int& u1) const {
        double lo = -std::numeric_limits<double>::infinity(), hi = -lo;
        Limit(RowX(v), cosA, width, lo, hi);
        Limit(RowY(v), -sinA, height, lo, hi);
        u0 = lo <= 0 ? 0 : static_cast<int>(std::min<double>(width, std::ceil(lo)));
        u1 = hi >= width - 1 ? width : static_cast<int>(std::max<double>(-1.0, std::floor(hi)) + 1.0);
        if (u1 < u0)
            u1 = u0;
    }

private:
    // Narrows [lo, hi] to the u with 0 <= s0 + u * step <= limit.
    static void Limit(double s0, double step, double limit, double& lo, double& hi) {
        if (std::fabs(step) < 1e-12) {
            if (s0 < 0 || s0 > limit)
                lo = 1, hi = 0;
            return;
        }
        const double a = -s0 / step, b = (limit - s0) / step;
        lo = std::max(lo, std::min(a, b));
        hi = std::min(hi, std::max(a, b));
    }
};

template <typename T, int C> void FillRun(T* row, int u0, int u1, const T* fill) {
    for (int u = u0; u < u1; ++u)
        for (int k = 0; k < C; ++k)
            row[u * C + k] = fill[k];
}

template <typename T, int C>
void BilinearRun(const Plane& s, T* out, const RotationMap& m, int v, int u0, int u1) {
    constexpr double kOne = 4294967296.0; // 32.32 positions keep the stepping error far below 1/65536
    int64_t px = static_cast<int64_t>(std::floor((m.RowX(v) + u0 * m.cosA - 0.5) * kOne + 0.5));
    int64_t py = static_cast<int64_t>(std::floor((m.RowY(v) - u0 * m.sinA - 0.5) * kOne + 0.5));
    const int64_t sx = static_cast<int64_t>(std::floor(m.cosA * kOne + 0.5));
    const int64_t sy = static_cast<int64_t>(std::floor(-m.sinA * kOne + 0.5));
    const int w = s.width, h = s.height;
    for (int u = u0; u < u1; ++u, px += sx, py += sy) {
        const int64_t fx16 = (px + (1 << 15)) >> 16, fy16 = (py + (1 << 15)) >> 16;
        const int x0 = static_cast<int>(fx16 >> 16), y0 = static_cast<int>(fy16 >> 16);
        const auto w4 =
            detail::MakeWeights(static_cast<uint32_t>(fx16 & 0xFFFF), static_cast<uint32_t>(fy16 & 0xFFFF));
        if (x0 >= 0 && y0 >= 0 && x0 + 1 < w && y0 + 1 < h) {
            const T* ra = reinterpret_cast<const T*>(s.Row(y0)) + x0 * C;
            const T* rb = reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(ra) + s.step);
            detail::Blend4<T, C>(ra, ra + C, rb, rb + C, w4, out + u * C);
            continue;
        }
        const int xa = detail::ClampIndex(x0, w) * C, xb = detail::ClampIndex(x0 + 1, w) * C;
        const T* ra = reinterpret_cast<const T*>(s.Row(detail::ClampIndex(y0, h)));
        const T* rb = reinterpret_cast<const T*>(s.Row(detail::ClampIndex(y0 + 1, h)));
        detail::Blend4<T, C>(ra + xa, ra + xb, rb + xa, rb + xb, w4, out + u * C);
    }
}

inline void CubicWeights(double t, double* w) {
    for (int i = 0; i < 4; ++i)
        w[i] = BicubicWeight(t - (i - 1));
}

template <typename T, int C>
void BicubicRun(const Plane& s, T* out, const RotationMap& m, int v, int u0, int u1) {
    const double maxV = sizeof(T) == 1 ? 255.0 : 65535.0;
    const double x0 = m.RowX(v) - 0.5, y0 = m.RowY(v) - 0.5;
    for (int u = u0; u < u1; ++u) {
        const double fx = x0 + u * m.cosA, fy = y0 - u * m.sinA;
        const double bx = std::floor(fx), by = std::floor(fy);
        double wx[4], wy[4];
        CubicWeights(fx - bx, wx);
        CubicWeights(fy - by, wy);
        int xs[4];
        for (int i = 0; i < 4; ++i)
            xs[i] = detail::ClampIndex(static_cast<int>(bx) - 1 + i, s.width) * C;
        double acc[C] = {};
        for (int j = 0; j < 4; ++j) {
            const T* row =
                reinterpret_cast<const T*>(s.Row(detail::ClampIndex(static_cast<int>(by) - 1 + j, s.height)));
            for (int i = 0; i < 4; ++i) {
                const double wij = wx[i] * wy[j];
                for (int k = 0; k < C; ++k)
                    acc[k] += wij * row[xs[i] + k];
            }
        }
        for (int k = 0; k < C; ++k)
            out[u * C + k] = static_cast<T>(std::clamp(std::floor(acc[k] + 0.5), 0.0, maxV));
    }
}

template <typename T, int C> void FillValue(ARGB32 fill, T* out) {
    const uint32_t scale = sizeof(T) == 1 ? 1 : 257;
    if constexpr (C == 1) {
        out[0] =
            static_cast<T>((2126u * fill.c.r + 7152u * fill.c.g + 722u * fill.c.b + 5000u) / 10000u * scale);
    } else {
        out[0] = static_cast<T>(fill.c.b * scale);
        out[1] = static_cast<T>(fill.c.g * scale);
        out[2] = static_cast<T>(fill.c.r * scale);
        if constexpr (C == 4)
            out[3] = static_cast<T>(fill.c.a * scale);
    }
}

bool RotateInto(const CImageDataInfo& src, CImageDataInfo& target, double degrees,
                ROTATE_INTERPOLATION interpolation, ARGB32 fill, PROGRESS_CALLBACK progress) {
    if (!target.Create(src.width, src.height, src.channels, src.depth))
        return false;
    const Plane s = detail::PlaneOf(src), d = detail::PlaneOf(target);
    const RotationMap m(src.width, src.height, degrees);
    return detail::DispatchFormat(s.channels, s.depth, [&]<typename T, int C>() {
        T fillPixel[C];
        FillValue<T, C>(fill, fillPixel);
        const long long work =
            static_cast<long long>(d.width) * d.height * (interpolation == ROTATE_BICUBIC ? 4 : 1);
        detail::ParallelRows(d.height, work, progress, [&](int r0, int r1) {
            for (int v = r0; v < r1; ++v) {
                T* out = reinterpret_cast<T*>(d.Row(v));
                int u0, u1;
                m.Span(v, u0, u1);
                FillRun<T, C>(out, 0, u0, fillPixel);
                if (interpolation == ROTATE_BICUBIC)
                    BicubicRun<T, C>(s, out, m, v, u0, u1);
                else
                    BilinearRun<T, C>(s, out, m, v, u0, u1);
                FillRun<T, C>(out, u1, d.width, fillPixel);
            }
        });
    });
}

// Whether every pixel of [l, r) x [t, b) lies inside the spans of its rows.
bool Inside(const std::vector<int>& u0, const std::vector<int>& u1, int l, int t, int r, int b) {
    if (l >= r || t >= b)
        return false;
    for (int v = t; v < b; ++v)
        if (u0[v] > l || u1[v] < r)
            return false;
    return true;
}

} // namespace

bool RotateImageAngle(const CImageDataInfo& src, CImageDataInfo& dst, double degrees,
                      ROTATE_INTERPOLATION interpolation, ARGB32 fill, PROGRESS_CALLBACK progress) {
    if (!detail::IsUsable(src) || !std::isfinite(degrees) ||
        (interpolation != ROTATE_BILINEAR && interpolation != ROTATE_BICUBIC))
        return false;
    if (src.channels != 1 && src.channels != 3 && src.channels != 4)
        return false;
    try {
        if (&src != &dst)
            return RotateInto(src, dst, degrees, interpolation, fill, progress);
        CImageDataInfo fresh;
        fresh.alignment = src.alignment;
        if (!RotateInto(src, fresh, degrees, interpolation, fill, progress))
            return false;
        detail::TakeOver(dst, fresh);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool CalcRotatedCropRect(int width, int height, double degrees, bool keepAspect, IntRect& rect) {
    if (width <= 0 || height <= 0 || !std::isfinite(degrees))
        return false;
    const RotationMap m(width, height, degrees);
    std::vector<int> u0(height), u1(height);
    for (int v = 0; v < height; ++v)
        m.Span(v, u0[v], u1[v]);
    // The valid pixels of a row form one run, and each end of the run moves monotonically on either
    // side of the widest row, so the run common to rows t..b-1 is set by the first and last row alone.
    const auto common = [&](int top, int bottom, int& lo, int& hi) {
        lo = std::max(u0[top], u0[bottom - 1]), hi = std::min(u1[top], u1[bottom - 1]);
    };
    int l = 0, r = 0, t = 0, b = 0;
    if (keepAspect) {
        // Centred rectangles of the image's proportions, widest first.
        for (int w = width; w > 0 && r == 0; --w) {
            const int h =
                std::clamp(static_cast<int>(std::floor(double(w) * height / width + 0.5)), 1, height);
            const int cl = (width - w) / 2, ct = (height - h) / 2;
            int lo, hi;
            common(ct, ct + h, lo, hi);
            if (lo <= cl && hi >= cl + w && Inside(u0, u1, cl, ct, cl + w, ct + h))
                l = cl, r = cl + w, t = ct, b = ct + h;
        }
        rect = r > l ? IntRect{l, t, r - l, b - t} : IntRect{};
        return true;
    }
    // Every pair of first and last rows; the columns follow from the runs. Among equal areas the most
    // centred wins.
    long long best = 0, offBest = 0;
    for (int top = 0; top < height; ++top)
        for (int bottom = top + 1; bottom <= height; ++bottom) {
            int lo, hi;
            common(top, bottom, lo, hi);
            if (hi <= lo)
                continue;
            const long long area = static_cast<long long>(hi - lo) * (bottom - top);
            const long long off = std::llabs(lo + hi - width) + std::llabs(top + bottom - height);
            if (area > best || (area == best && off < offBest))
                best = area, offBest = off, l = lo, r = hi, t = top, b = bottom;
        }
    // Should rounding break the monotonic run ends, the full check shrinks the rectangle to fit; then
    // each side grows while it stays inside.
    for (int i = 0; !Inside(u0, u1, l, t, r, b) && l < r && t < b; ++i) {
        switch (i % 4) {
        case 0:
            ++l;
            break;
        case 1:
            --r;
            break;
        case 2:
            ++t;
            break;
        default:
            --b;
            break;
        }
    }
    if (!Inside(u0, u1, l, t, r, b)) {
        rect = IntRect{};
        return true;
    }
    for (bool grew = true; grew;) {
        grew = false;
        if (l > 0 && Inside(u0, u1, l - 1, t, r, b))
            --l, grew = true;
        if (r < width && Inside(u0, u1, l, t, r + 1, b))
            ++r, grew = true;
        if (t > 0 && Inside(u0, u1, l, t - 1, r, b))
            --t, grew = true;
        if (b < height && Inside(u0, u1, l, t, r, b + 1))
            ++b, grew = true;
    }
    rect = IntRect{l, t, r - l, b - t};
    return true;
}

} // namespace ImageProcess
