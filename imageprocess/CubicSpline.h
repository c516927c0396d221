#pragma once
// A natural cubic spline through control points (second derivative 0 at both ends), and the 16-bit
// tone curve made from one.
#include <vector>

namespace ImageProcess {

class CubicSpline {
public:
    virtual ~CubicSpline() = default;

    // Builds the spline through count points; false (and the spline left empty) when an array is null,
    // count is below 2, a value is not finite or x is not strictly increasing.
    bool Create(const double* x, const double* y, int count);
    void Clear();
    // The number of intervals, 0 when empty.
    int Intervals() const { return static_cast<int>(a_.size()); }
    const std::vector<double>& KnotsX() const { return x_; }
    const std::vector<double>& KnotsY() const { return y_; }
    // The spline at v; beyond the last knot the last interval continues, below the first the first
    // does. 0 when empty.
    double Evaluate(double v) const;

private:
    std::vector<double> x_, y_, a_, b_, c_, d_;
};

constexpr int SPLINE_CURVE_SIZE = 65536;

// Fills curve (65,536 entries) from control points in unit coordinates: entry i is the spline at
// i / 65535 clamped to 0..1 and scaled to 0..65535, the first point's y left of the first point and
// the last point's y right of the last. False (curve untouched) for the inputs CubicSpline refuses and
// for a point outside the unit square.
bool SplineToCurve(const double* x, const double* y, int count, unsigned short* curve);

} // namespace ImageProcess
