#include "imageprocess/ResizeKernel.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ImageProcess {

double BicubicWeight(double t) {
    constexpr double a = -0.5;
    t = std::fabs(t);
    if (t < 1.0)
        return ((a + 2.0) * t - (a + 3.0)) * t * t + 1.0;
    if (t < 2.0)
        return ((a * t - 5.0 * a) * t + 8.0 * a) * t - 4.0 * a;
    return 0.0;
}

double LanczosWeight(double t, int lobes) {
    t = std::fabs(t);
    if (lobes < 1 || t >= lobes)
        return 0.0;
    if (t < 1e-12)
        return 1.0;
    const double pt = std::numbers::pi * t;
    return lobes * std::sin(pt) * std::sin(pt / lobes) / (pt * pt);
}

namespace detail {

namespace {

enum class Kernel { Box, Triangle, Bicubic, Lanczos2, Lanczos3 };

Kernel KernelFor(RESIZE_ALGORITHM algorithm, bool shrinking) {
    switch (algorithm) {
    case RESIZE_BILINEAR:
        return Kernel::Triangle;
    case RESIZE_BOX:
        return Kernel::Box;
    case RESIZE_BICUBIC:
        return Kernel::Bicubic;
    case RESIZE_LANCZOS2:
        return Kernel::Lanczos2;
    case RESIZE_AUTO:
        return shrinking ? Kernel::Box : Kernel::Bicubic;
    default:
        return Kernel::Lanczos3;
    }
}

double Support(Kernel k) {
    switch (k) {
    case Kernel::Triangle:
        return 1.0;
    case Kernel::Bicubic:
    case Kernel::Lanczos2:
        return 2.0;
    case Kernel::Lanczos3:
        return 3.0;
    default:
        return 0.5;
    }
}

double Evaluate(Kernel k, double t) {
    switch (k) {
    case Kernel::Triangle:
        return std::max(0.0, 1.0 - std::fabs(t));
    case Kernel::Bicubic:
        return BicubicWeight(t);
    case Kernel::Lanczos2:
        return LanczosWeight(t, 2);
    default:
        return LanczosWeight(t, 3);
    }
}

// Weights of output index x, before trimming, folded onto [0, srcLen).
void RawWeights(Kernel k, int x, int srcLen, double scale, std::vector<double>& w, int& first) {
    w.clear();
    if (k == Kernel::Box) {
        const double lo = x * scale, hi = (x + 1) * scale;
        first = std::min(srcLen - 1, static_cast<int>(std::floor(lo)));
        const int last = std::min(srcLen - 1, std::max(first, static_cast<int>(std::ceil(hi)) - 1));
        for (int i = first; i <= last; ++i)
            w.push_back(std::max(0.0, std::min(i + 1.0, hi) - std::max<double>(i, lo)));
        return;
    }
    // Interpolating kernels keep their width when enlarging and widen when shrinking, to average.
    const double widen = k == Kernel::Triangle ? 1.0 : std::max(1.0, scale);
    const double support = Support(k) * widen;
    const double center = (x + 0.5) * scale;
    const int lo = static_cast<int>(std::floor(center - support));
    const int hi = static_cast<int>(std::ceil(center + support));
    first = std::clamp(lo, 0, srcLen - 1);
    const int last = std::clamp(hi, 0, srcLen - 1);
    w.assign(last - first + 1, 0.0);
    for (int i = lo; i <= hi; ++i)
        w[std::clamp(i, 0, srcLen - 1) - first] += Evaluate(k, (i + 0.5 - center) / widen);
}

} // namespace

bool MakeContributions(int srcLen, int dstLen, RESIZE_ALGORITHM algorithm, Contributions& c) {
    if (srcLen < 1 || dstLen < 1 || algorithm <= RESIZE_NEAREST || algorithm > RESIZE_LANCZOS3)
        return false;
    const double scale = static_cast<double>(srcLen) / dstLen;
    const Kernel k = KernelFor(algorithm, srcLen > dstLen);
    std::vector<std::vector<double>> all(dstLen);
    c.start.assign(dstLen, 0);
    c.count.assign(dstLen, 0);
    c.maxCount = 1;
    for (int x = 0; x < dstLen; ++x) {
        int first = 0;
        std::vector<double>& w = all[x];
        RawWeights(k, x, srcLen, scale, w, first);
        double sum = 0;
        for (double v : w)
            sum += v;
        // Trim taps that carry nothing, so that an identity resize reads one pixel.
        size_t b = 0, e = w.size();
        while (b < e && std::fabs(w[b]) < 1e-9)
            ++b;
        while (e > b && std::fabs(w[e - 1]) < 1e-9)
            --e;
        if (b == e || std::fabs(sum) < 1e-12) {
            const int nearest = NearestIndex(x, srcLen, dstLen);
            w.assign(1, 1.0);
            first = nearest;
            b = 0;
            e = 1;
            sum = 1.0;
        }
        w = std::vector<double>(w.begin() + b, w.begin() + e);
        for (double& v : w)
            v /= sum;
        c.start[x] = first + static_cast<int>(b);
        c.count[x] = static_cast<int>(w.size());
        c.maxCount = std::max(c.maxCount, c.count[x]);
    }
    c.weights.assign(static_cast<size_t>(dstLen) * c.maxCount, 0.0f);
    for (int x = 0; x < dstLen; ++x)
        for (int i = 0; i < c.count[x]; ++i)
            c.weights[static_cast<size_t>(x) * c.maxCount + i] = static_cast<float>(all[x][i]);
    return true;
}

} // namespace detail
} // namespace ImageProcess
