// Lens correction. Each destination pixel is traced back through rotation and scale, the keystone
// projection and the radial distortion to a source position, then sampled bilinearly.
#include "imageprocess/LensCorrect.h"
#include "imageprocess/BilinearSample.h"
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

namespace ImageProcess {

using detail::Plane;

namespace {

bool AtRest(const LENSCORRECT_PARAMS& p) {
    return p.distortion == 0 && p.vertical == 0 && p.horizontal == 0 && p.rotate == 0 && p.scale == 1.0;
}

bool ParamsUsable(const LENSCORRECT_PARAMS& p) {
    const double v[] = {p.distortion, p.vertical, p.horizontal, p.rotate,
                        p.scale,      p.centreX,  p.centreY,    p.centreZ};
    for (double x : v)
        if (!std::isfinite(x))
            return false;
    return p.scale > 0 && p.centreZ > 0;
}

// The backward mapping from destination pixels to source positions (in pixel-centre units).
struct LensMap {
    double cx, cy, norm, cosS, sinS, persp, k, width, height;

    LensMap(int w, int h, const LENSCORRECT_PARAMS& p, double zoom)
        : cx(p.centreX * w), cy(p.centreY * h), norm(std::sqrt(double(w) * w + double(h) * h) / 2),
          persp(0.25 / p.centreZ), k(LensDistortionK(p.distortion)), width(w), height(h), vert(p.vertical),
          horz(p.horizontal) {
        const double r = p.rotate * 3.141592653589793 / 180.0;
        // Rotation and the inverse of the scale folded into one pair of factors.
        cosS = std::cos(r) / (p.scale * zoom);
        sinS = std::sin(r) / (p.scale * zoom);
    }

    // Source position (continuous, pixel centres at +0.5) of the destination point (x, y); false when
    // the keystone projection sends it behind the viewer.
    bool Map(double x, double y, double& sx, double& sy) const {
        const double px = (x - cx) / norm, py = (y - cy) / norm;
        double qx = px * cosS + py * sinS, qy = -px * sinS + py * cosS;
        const double w = 1.0 - persp * (vert * qy + horz * qx);
        if (w <= 1e-6)
            return false;
        qx /= w, qy /= w;
        const double f = 1.0 + k * (qx * qx + qy * qy);
        sx = cx + qx * f * norm;
        sy = cy + qy * f * norm;
        return true;
    }
    // Rotation and scale are linear along a row: the start of row v and the step per pixel.
    void StartRow(int v) {
        const double py = (v + 0.5 - cy) / norm, px0 = (0.5 - cx) / norm;
        rowQx = px0 * cosS + py * sinS, rowQy = -px0 * sinS + py * cosS;
        stepQx = cosS / norm, stepQy = -sinS / norm;
    }
    double RowQx() const { return rowQx; }
    double RowQy() const { return rowQy; }
    double StepQx() const { return stepQx; }
    double StepQy() const { return stepQy; }
    double Persp() const { return persp; }
    double Vert() const { return vert; }
    double Horz() const { return horz; }
    bool Inside(double x, double y) const {
        double sx, sy;
        return Map(x, y, sx, sy) && sx >= 0 && sy >= 0 && sx <= width && sy <= height;
    }

private:
    double vert, horz;
    double rowQx = 0, rowQy = 0, stepQx = 0, stepQy = 0;
};

// The least zoom (at least 1) at which every border pixel of the result comes from inside the source.
double ConstrainZoom(int w, int h, const LENSCORRECT_PARAMS& p) {
    auto fits = [&](double zoom) {
        const LensMap m(w, h, p, zoom);
        constexpr int kSteps = 64;
        for (int i = 0; i <= kSteps; ++i) {
            const double x = 0.5 + (w - 1) * double(i) / kSteps, y = 0.5 + (h - 1) * double(i) / kSteps;
            if (!m.Inside(x, 0.5) || !m.Inside(x, h - 0.5) || !m.Inside(0.5, y) || !m.Inside(w - 0.5, y))
                return false;
        }
        return true;
    };
    if (fits(1.0))
        return 1.0;
    double lo = 1.0, hi = 16.0;
    if (!fits(hi))
        return hi;
    for (int i = 0; i < 40; ++i) {
        const double mid = (lo + hi) / 2;
        (fits(mid) ? hi : lo) = mid;
    }
    return hi;
}

// Source positions of a whole row first, in a loop without branches that the compiler can vectorise;
// positions behind the viewer become -1, which the sampling loop treats as outside.
void MapRowPositions(const LensMap& m, int width, double* xs, double* ys) {
    const double qx0 = m.RowQx(), qy0 = m.RowQy(), dqx = m.StepQx(), dqy = m.StepQy();
    const double vert = m.Persp() * m.Vert(), horz = m.Persp() * m.Horz(), k = m.k, norm = m.norm;
    const double cx = m.cx, cy = m.cy;
    for (int u = 0; u < width; ++u) {
        double qx = qx0 + u * dqx, qy = qy0 + u * dqy;
        const double w = 1.0 - (vert * qy + horz * qx);
        const bool visible = w > 1e-6;
        const double inv = 1.0 / (visible ? w : 1.0);
        qx *= inv, qy *= inv;
        const double f = (1.0 + k * (qx * qx + qy * qy)) * norm;
        xs[u] = visible ? cx + qx * f : -1.0;
        ys[u] = cy + qy * f;
    }
}

template <typename T, int C> void CorrectRow(const Plane& s, T* out, const double* xs, const double* ys) {
    const int w = s.width, h = s.height;
    for (int u = 0; u < w; ++u, out += C) {
        const double sx = xs[u], sy = ys[u];
        if (!(sx >= 0 && sy >= 0 && sx <= w && sy <= h)) {
            for (int k = 0; k < C; ++k)
                out[k] = 0;
            continue;
        }
        const int64_t fx = detail::ToFixed(sx - 0.5), fy = detail::ToFixed(sy - 0.5);
        const int x0 = static_cast<int>(fx >> 16), y0 = static_cast<int>(fy >> 16);
        const auto w4 =
            detail::MakeWeights(static_cast<uint32_t>(fx & 0xFFFF), static_cast<uint32_t>(fy & 0xFFFF));
        if (x0 >= 0 && y0 >= 0 && x0 + 1 < w && y0 + 1 < h) {
            const T* ra = reinterpret_cast<const T*>(s.Row(y0)) + x0 * C;
            const T* rb = reinterpret_cast<const T*>(reinterpret_cast<const unsigned char*>(ra) + s.step);
            detail::Blend4<T, C>(ra, ra + C, rb, rb + C, w4, out);
            continue;
        }
        const int xa = detail::ClampIndex(x0, w) * C, xb = detail::ClampIndex(x0 + 1, w) * C;
        const T* ra = reinterpret_cast<const T*>(s.Row(detail::ClampIndex(y0, h)));
        const T* rb = reinterpret_cast<const T*>(s.Row(detail::ClampIndex(y0 + 1, h)));
        detail::Blend4<T, C>(ra + xa, ra + xb, rb + xa, rb + xb, w4, out);
    }
}

bool CorrectInto(CImageDataInfo& dst, const CImageDataInfo& src, const LENSCORRECT_PARAMS& p,
                 PROGRESS_CALLBACK progress) {
    if (!dst.Create(src.width, src.height, src.channels, src.depth))
        return false;
    const Plane s = detail::PlaneOf(src), d = detail::PlaneOf(dst);
    const long long work = static_cast<long long>(d.width) * d.height;
    if (AtRest(p)) {
        const size_t bytes = static_cast<size_t>(d.width) * d.PixelBytes();
        detail::ParallelRows(d.height, work, progress, [&](int r0, int r1) {
            for (int v = r0; v < r1; ++v)
                std::memcpy(d.Row(v), s.Row(v), bytes);
        });
        return true;
    }
    const double zoom = (p.constrainScale & 0xFF) ? ConstrainZoom(src.width, src.height, p) : 1.0;
    const LensMap m(src.width, src.height, p, zoom);
    return detail::DispatchFormat(s.channels, s.depth, [&]<typename T, int C>() {
        detail::ParallelRows(d.height, work, progress, [&](int r0, int r1) {
            LensMap rowMap = m;
            std::vector<double> xs(d.width), ys(d.width);
            for (int v = r0; v < r1; ++v) {
                rowMap.StartRow(v);
                MapRowPositions(rowMap, d.width, xs.data(), ys.data());
                CorrectRow<T, C>(s, reinterpret_cast<T*>(d.Row(v)), xs.data(), ys.data());
            }
        });
    });
}

template <typename T, int C>
void VignetteRow(T* row, int width, double y, double cx, double cy, double norm, double amount, double start,
                 double range) {
    constexpr uint64_t kMax = sizeof(T) == 1 ? 255 : 65535;
    constexpr int kColour = C == 4 ? 3 : C;
    const double dy2 = (y - cy) * (y - cy);
    for (int u = 0; u < width; ++u, row += C) {
        const double dx = u + 0.5 - cx;
        const double r = std::sqrt(dx * dx + dy2) / norm;
        if (r <= start)
            continue;
        const double q = std::min(1.0, (r - start) / range);
        const uint64_t gain = static_cast<uint64_t>(std::max(0.0, (1.0 + amount * q * q) * 65536.0 + 0.5));
        for (int k = 0; k < kColour; ++k)
            row[k] = static_cast<T>(std::min<uint64_t>(kMax, (row[k] * gain + 0x8000) >> 16));
    }
}

} // namespace

bool LensCorrect(CImageDataInfo& dst, const CImageDataInfo& src, const LENSCORRECT_PARAMS& params,
                 PROGRESS_CALLBACK progress) {
    if (&dst == &src || !detail::IsUsable(src) || !ParamsUsable(params))
        return false;
    if (src.channels != 1 && src.channels != 3 && src.channels != 4)
        return false;
    try {
        // Everything that can be refused has been; dst is written in place so that its buffer is reused.
        return CorrectInto(dst, src, params, progress);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool LensVignette(CImageDataInfo& image, double amount, double range, PROGRESS_CALLBACK progress) {
    if (!detail::IsUsable(image) || !std::isfinite(amount) || !std::isfinite(range) || amount < -1 ||
        amount > 1 || range < 0 || range > 1)
        return false;
    if (image.channels != 1 && image.channels != 3 && image.channels != 4)
        return false;
    if (amount == 0 || range == 0)
        return true;
    const Plane p = detail::PlaneOf(image);
    const double cx = p.width / 2.0, cy = p.height / 2.0;
    const double norm = std::sqrt(double(p.width) * p.width + double(p.height) * p.height) / 2;
    return detail::DispatchFormat(p.channels, p.depth, [&]<typename T, int C>() {
        detail::ParallelRows(p.height, static_cast<long long>(p.width) * p.height, progress,
                             [&](int r0, int r1) {
                                 for (int v = r0; v < r1; ++v)
                                     VignetteRow<T, C>(reinterpret_cast<T*>(p.Row(v)), p.width, v + 0.5, cx,
                                                       cy, norm, amount, 1.0 - range, range);
                             });
    });
}

} // namespace ImageProcess
