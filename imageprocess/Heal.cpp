// Heal blend: source detail plus the smoothed tone difference to the target.
#include "imageprocess/Heal.h"

#include "imageprocess/PixelAccess.h"
#include "imageprocess/RetouchAccess.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

namespace ImageProcess {

namespace {

using detail::Plane;

// Unmasked pixels weigh this many times more than fully masked ones in the tone average, so the tone
// comes from around the mask wherever some of it is in reach.
constexpr float kMaskedWeight = 1.0f / 64.0f;

// Box average of radius r along rows then columns of `planes` float planes of w x h, in place.
void BoxRows(float* v, int w, int h, int r) {
    detail::ParallelRows(h, static_cast<long long>(w) * h, nullptr, [&](int r0, int r1) {
        std::vector<float> line(static_cast<size_t>(w));
        for (int y = r0; y < r1; ++y) {
            float* row = v + static_cast<size_t>(y) * w;
            double sum = 0;
            for (int x = 0; x < std::min(r, w); ++x)
                sum += row[x];
            for (int x = 0; x < w; ++x) {
                if (x + r < w)
                    sum += row[x + r];
                if (x - r - 1 >= 0)
                    sum -= row[x - r - 1];
                line[x] = static_cast<float>(sum);
            }
            std::copy(line.begin(), line.end(), row);
        }
    });
}

void BoxColumns(float* v, int w, int h, int r) {
    detail::ParallelRows(w, static_cast<long long>(w) * h, nullptr, [&](int c0, int c1) {
        const int n = c1 - c0;
        std::vector<double> sum(static_cast<size_t>(n), 0.0);
        std::vector<float> out(static_cast<size_t>(n) * h);
        auto row = [&](int y) { return v + static_cast<size_t>(y) * w + c0; };
        for (int y = 0; y < std::min(r, h); ++y)
            for (int i = 0; i < n; ++i)
                sum[i] += row(y)[i];
        for (int y = 0; y < h; ++y) {
            if (y + r < h)
                for (int i = 0; i < n; ++i)
                    sum[i] += row(y + r)[i];
            if (y - r - 1 >= 0)
                for (int i = 0; i < n; ++i)
                    sum[i] -= row(y - r - 1)[i];
            for (int i = 0; i < n; ++i)
                out[static_cast<size_t>(y) * n + i] = static_cast<float>(sum[i]);
        }
        for (int y = 0; y < h; ++y)
            std::copy(out.begin() + static_cast<ptrdiff_t>(y) * n,
                      out.begin() + static_cast<ptrdiff_t>(y + 1) * n, row(y));
    });
}

void Smooth(float* v, int w, int h, int r) {
    for (int pass = 0; pass < 2; ++pass) {
        BoxRows(v, w, h, r);
        BoxColumns(v, w, h, r);
    }
}

} // namespace

bool HealBlend(const CImageDataInfo& src, CImageDataInfo& dst, int dstX, int dstY, int srcX, int srcY,
               int width, int height, const CSelectedRegion& mask, void (*progress)(int done, int total)) {
    if (!detail::IsUsable(src) || !detail::IsUsable(dst) || !src.SameFormat(dst) ||
        !detail::HasValues(mask) || width < 1 || height < 1 ||
        static_cast<long long>(dstX) + width > INT32_MAX || static_cast<long long>(dstY) + height > INT32_MAX)
        return false;
    // Where the source lands in destination coordinates.
    const long long shiftX = static_cast<long long>(dstX) - srcX,
                    shiftY = static_cast<long long>(dstY) - srcY;
    auto clampInt = [](long long v) {
        return static_cast<int>(std::clamp<long long>(v, INT32_MIN / 2, INT32_MAX / 2));
    };
    const IntRect srcInDst{clampInt(shiftX), clampInt(shiftY), src.width, src.height};
    const IntRect reach = srcInDst.Intersected(IntRect{0, 0, dst.width, dst.height});
    const IntRect work = IntRect{dstX, dstY, width, height}.Intersected(mask.Rect()).Intersected(reach);
    if (work.IsEmpty() || srcInDst.x != shiftX || srcInDst.y != shiftY)
        return false;
    const int r = std::max(2, (std::max(work.width, work.height) + 1) / 2);
    // The tone is averaged over the work rectangle grown by the radius, where both images have pixels.
    const IntRect area =
        IntRect{work.x - r, work.y - r, work.width + 2 * r, work.height + 2 * r}.Intersected(reach);
    const int aw = area.width, ah = area.height;
    const Plane sp = detail::PlaneOf(src), dp = detail::PlaneOf(dst);
    const int nc = detail::ColorChannels(sp.channels);
    const size_t plane = static_cast<size_t>(aw) * ah;
    std::vector<float> weight, diff, source;
    try {
        weight.resize(plane);
        diff.resize(plane * nc);
        source.resize(static_cast<size_t>(work.width) * work.height * nc);
    } catch (const std::bad_alloc&) {
        return false;
    }
    auto maskAt = [&](int x, int y) -> uint32_t {
        return mask.Rect().Contains(x, y) ? mask.Row(y - mask.y)[x - mask.x] : 0u;
    };
    detail::ParallelRows(ah, static_cast<long long>(plane) * nc, nullptr, [&](int r0, int r1) {
        for (int i = r0; i < r1; ++i) {
            const int y = area.y + i;
            const int sy = static_cast<int>(y - shiftY);
            for (int j = 0; j < aw; ++j) {
                const int x = area.x + j;
                const int sx = static_cast<int>(x - shiftX);
                const size_t at = static_cast<size_t>(i) * aw + j;
                const float w = (65535u - maskAt(x, y)) / 65535.0f + kMaskedWeight;
                weight[at] = w;
                for (int c = 0; c < nc; ++c) {
                    const double s = detail::ReadChannel(sp, sx, sy, c);
                    diff[c * plane + at] = static_cast<float>(w * (detail::ReadChannel(dp, x, y, c) - s));
                    if (work.Contains(x, y))
                        source[(static_cast<size_t>(y - work.y) * work.width + (x - work.x)) * nc + c] =
                            static_cast<float>(s);
                }
            }
        }
    });
    Smooth(weight.data(), aw, ah, r);
    for (int c = 0; c < nc; ++c)
        Smooth(diff.data() + c * plane, aw, ah, r);
    detail::ParallelRows(
        work.height, static_cast<long long>(work.width) * work.height * nc, progress, [&](int r0, int r1) {
            for (int i = r0; i < r1; ++i) {
                const int y = work.y + i;
                for (int x = work.x; x < work.Right(); ++x) {
                    const uint32_t m = maskAt(x, y);
                    if (m == 0)
                        continue;
                    const size_t at = static_cast<size_t>(y - area.y) * aw + (x - area.x);
                    const double a = m / 65535.0;
                    for (int c = 0; c < nc; ++c) {
                        const double healed =
                            source[(static_cast<size_t>(i) * work.width + (x - work.x)) * nc + c] +
                            diff[c * plane + at] / weight[at];
                        const double old = detail::ReadChannel(dp, x, y, c);
                        detail::WriteChannel(dp, x, y, c, old + a * (healed - old));
                    }
                }
            }
        });
    return true;
}

} // namespace ImageProcess
