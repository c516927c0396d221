// Red-eye correction inside elliptic marks.
#include "imageprocess/Redeye.h"

#include "imageprocess/PixelAccess.h"
#include "imageprocess/RetouchAccess.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace ImageProcess {

namespace {

using detail::Plane;

// How much of the darkening a fully red pixel receives at darken 100.
constexpr double kDarkenMax = 0.6;

bool ValidEye(const REDEYE& e) {
    return e.width >= 1 && e.height >= 1 && e.pupilSize >= 1 && e.pupilSize <= 100 && e.darken >= 0 &&
           e.darken <= 100 && static_cast<long long>(e.x) + e.width <= INT32_MAX &&
           static_cast<long long>(e.y) + e.height <= INT32_MAX;
}

// Strength 0..1 of the correction at a point given by its normalised elliptic radius.
double RimWeight(double r, double pupil) {
    if (r >= 1.0)
        return 0.0;
    if (r <= pupil || pupil >= 1.0)
        return 1.0;
    return (1.0 - r) / (1.0 - pupil);
}

template <typename T> void FixPixel(T* p, double weight, double darken) {
    const double b = p[0], g = p[1], r = p[2];
    const double other = std::max(g, b);
    if (r <= other || r <= 0.0)
        return;
    // Redness: the share of red above the other channels, saturating well before pure red.
    const double amount = weight * std::min(1.0, 3.0 * (r - other) / r);
    const double fixedRed = r - amount * (r - 0.5 * (g + b));
    const double keep = 1.0 - amount * darken * kDarkenMax;
    p[0] = detail::StoreClamped<T>(b * keep);
    p[1] = detail::StoreClamped<T>(g * keep);
    p[2] = detail::StoreClamped<T>(fixedRed * keep);
}

void FixEye(const Plane& pl, const REDEYE& e, int offsetX, int offsetY) {
    const long long bx = static_cast<long long>(e.x) - offsetX, by = static_cast<long long>(e.y) - offsetY;
    if (bx >= pl.width || by >= pl.height || bx + e.width <= 0 || by + e.height <= 0)
        return;
    const int left = static_cast<int>(std::max(0LL, bx)), top = static_cast<int>(std::max(0LL, by));
    const IntRect box{left, top, static_cast<int>(std::min<long long>(pl.width, bx + e.width)) - left,
                      static_cast<int>(std::min<long long>(pl.height, by + e.height)) - top};
    const double a = e.width / 2.0, b = e.height / 2.0;
    const double cx = static_cast<double>(bx) + a, cy = static_cast<double>(by) + b;
    const double pupil = e.pupilSize / 100.0, darken = e.darken / 100.0;
    detail::ParallelRows(
        box.height, static_cast<long long>(box.width) * box.height * 8, nullptr, [&](int r0, int r1) {
            for (int i = r0; i < r1; ++i) {
                const int y = box.y + i;
                const double v = (y + 0.5 - cy) / b;
                unsigned char* row = pl.Row(y);
                for (int x = box.x; x < box.Right(); ++x) {
                    const double u = (x + 0.5 - cx) / a;
                    const double w = RimWeight(std::sqrt(u * u + v * v), pupil);
                    if (w <= 0.0)
                        continue;
                    if (pl.depth == 1)
                        FixPixel<uint8_t>(row + x * pl.channels, w, darken);
                    else
                        FixPixel<uint16_t>(reinterpret_cast<uint16_t*>(row) + x * pl.channels, w, darken);
                }
            }
        });
}

} // namespace

bool CorrectRedeye(CImageDataInfo& image, const REDEYE* eyes, size_t count, int offsetX, int offsetY,
                   void (*progress)(int done, int total)) {
    if (!detail::IsUsable(image) || image.channels < 3 || (!eyes && count > 0))
        return false;
    for (size_t i = 0; i < count; ++i)
        if (!ValidEye(eyes[i]))
            return false;
    const Plane pl = detail::PlaneOf(image);
    for (size_t i = 0; i < count; ++i) {
        FixEye(pl, eyes[i], offsetX, offsetY);
        if (progress)
            progress(static_cast<int>(i + 1), static_cast<int>(count));
    }
    return true;
}

} // namespace ImageProcess
