// Natural cubic spline: the second derivatives at the inner knots solve a tridiagonal system
// (elimination forwards, substitution backwards), both ends held at 0.
#include "imageprocess/CubicSpline.h"

#include <algorithm>
#include <cmath>

namespace ImageProcess {

bool CubicSpline::Create(const double* x, const double* y, int count) {
    Clear();
    if (!x || !y || count < 2)
        return false;
    for (int i = 0; i < count; ++i)
        if (!std::isfinite(x[i]) || !std::isfinite(y[i]) || (i > 0 && !(x[i] > x[i - 1])))
            return false;
    const int n = count - 1;
    std::vector<double> h(n), m(count, 0.0);
    for (int i = 0; i < n; ++i)
        h[i] = x[i + 1] - x[i];
    if (n > 1) {
        // Rows 1..n-1: h[i-1] m[i-1] + 2 (h[i-1] + h[i]) m[i] + h[i] m[i+1] = rhs[i].
        std::vector<double> diag(count), rhs(count);
        for (int i = 1; i < n; ++i) {
            diag[i] = 2.0 * (h[i - 1] + h[i]);
            rhs[i] = 6.0 * ((y[i + 1] - y[i]) / h[i] - (y[i] - y[i - 1]) / h[i - 1]);
        }
        for (int i = 2; i < n; ++i) {
            const double f = h[i - 1] / diag[i - 1];
            diag[i] -= f * h[i - 1];
            rhs[i] -= f * rhs[i - 1];
        }
        for (int i = n - 1; i >= 1; --i)
            m[i] = (rhs[i] - (i + 1 < n ? h[i] * m[i + 1] : 0.0)) / diag[i];
    }
    x_.assign(x, x + count);
    y_.assign(y, y + count);
    a_.resize(n), b_.resize(n), c_.resize(n), d_.resize(n);
    for (int i = 0; i < n; ++i) {
        a_[i] = y[i];
        b_[i] = (y[i + 1] - y[i]) / h[i] - (2.0 * m[i] + m[i + 1]) * h[i] / 6.0;
        c_[i] = m[i] / 2.0;
        d_[i] = (m[i + 1] - m[i]) / (6.0 * h[i]);
    }
    return true;
}

void CubicSpline::Clear() {
    x_.clear(), y_.clear(), a_.clear(), b_.clear(), c_.clear(), d_.clear();
}

double CubicSpline::Evaluate(double v) const {
    if (a_.empty())
        return 0.0;
    int i = Intervals() - 1;
    while (i > 0 && x_[i] > v)
        --i;
    const double t = v - x_[i];
    return a_[i] + t * (b_[i] + t * (c_[i] + t * d_[i]));
}

bool SplineToCurve(const double* x, const double* y, int count, unsigned short* curve) {
    if (!curve || !x || !y || count < 2)
        return false;
    for (int i = 0; i < count; ++i)
        if (!(x[i] >= 0 && x[i] <= 1 && y[i] >= 0 && y[i] <= 1))
            return false;
    CubicSpline s;
    if (!s.Create(x, y, count))
        return false;
    const auto level = [](double v) {
        return static_cast<unsigned short>(std::floor(std::clamp(v, 0.0, 1.0) * 65535.0 + 0.5));
    };
    const double first = x[0], last = x[count - 1];
    for (int i = 0; i < SPLINE_CURVE_SIZE; ++i) {
        const double v = i / 65535.0;
        curve[i] = v <= first ? level(y[0]) : v >= last ? level(y[count - 1]) : level(s.Evaluate(v));
    }
    return true;
}

} // namespace ImageProcess
