// Separable resampling: every output row is first a weighted sum of source rows (vectorisable), then
// a weighted sum along the row. Weights are normalised per output pixel so that a constant image
// stays constant, and taps beyond the edge fold onto the edge pixel.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"
#include "imageprocess/ResizeKernel.h"

#include <cmath>
#include <cstring>
#include <new>
#include <vector>

namespace ImageProcess {

using detail::Plane;

namespace {

template <typename T, int CH>
void FilterRow(const float* __restrict acc, T* __restrict out, const detail::Contributions& hc,
               float maxValue) {
    const int dstW = static_cast<int>(hc.start.size());
    for (int x = 0; x < dstW; ++x) {
        const float* w = hc.Weights(x);
        const float* s = acc + static_cast<ptrdiff_t>(hc.start[x]) * CH;
        const int n = hc.count[x];
        float sum[CH] = {};
        for (int k = 0; k < n; ++k)
            for (int c = 0; c < CH; ++c)
                sum[c] += w[k] * s[k * CH + c];
        for (int c = 0; c < CH; ++c) {
            const float v = std::min(std::max(sum[c] + 0.5f, 0.0f), maxValue);
            out[x * CH + c] = static_cast<T>(v);
        }
    }
}

template <typename T>
void AccumulateRows(const Plane& src, const detail::Contributions& vc, int y, float* __restrict acc) {
    const int n = src.width * src.channels;
    const float* w = vc.Weights(y);
    const T* __restrict row = reinterpret_cast<const T*>(src.Row(vc.start[y]));
    const float w0 = w[0];
    for (int i = 0; i < n; ++i)
        acc[i] = w0 * static_cast<float>(row[i]);
    for (int k = 1; k < vc.count[y]; ++k) {
        const T* __restrict r = reinterpret_cast<const T*>(src.Row(vc.start[y] + k));
        const float wk = w[k];
        for (int i = 0; i < n; ++i)
            acc[i] += wk * static_cast<float>(r[i]);
    }
}

template <typename T>
void ResampleRows(const Plane& src, const Plane& dst, const detail::Contributions& hc,
                  const detail::Contributions& vc, int y0, int y1) {
    std::vector<float> acc(static_cast<size_t>(src.width) * src.channels);
    const float maxValue = sizeof(T) == 1 ? 255.0f : 65535.0f;
    for (int y = y0; y < y1; ++y) {
        AccumulateRows<T>(src, vc, y, acc.data());
        T* out = reinterpret_cast<T*>(dst.Row(y));
        switch (src.channels) {
        case 1:
            FilterRow<T, 1>(acc.data(), out, hc, maxValue);
            break;
        case 3:
            FilterRow<T, 3>(acc.data(), out, hc, maxValue);
            break;
        default:
            FilterRow<T, 4>(acc.data(), out, hc, maxValue);
            break;
        }
    }
}

void NearestRows(const Plane& src, const Plane& dst, int y0, int y1) {
    const int pb = src.PixelBytes();
    std::vector<int> xs(dst.width);
    for (int x = 0; x < dst.width; ++x)
        xs[x] = detail::NearestIndex(x, src.width, dst.width) * pb;
    for (int y = y0; y < y1; ++y) {
        const unsigned char* s = src.Row(detail::NearestIndex(y, src.height, dst.height));
        unsigned char* d = dst.Row(y);
        for (int x = 0; x < dst.width; ++x)
            std::memcpy(d + static_cast<ptrdiff_t>(x) * pb, s + xs[x], pb);
    }
}

bool ResizePlane(const Plane& src, const Plane& dst, RESIZE_ALGORITHM algorithm, PROGRESS_CALLBACK progress) {
    const long long work =
        static_cast<long long>(dst.width) * dst.height + static_cast<long long>(src.width) * src.height;
    if (algorithm == RESIZE_NEAREST) {
        detail::ParallelRows(dst.height, work, progress,
                             [&](int y0, int y1) { NearestRows(src, dst, y0, y1); });
        return true;
    }
    detail::Contributions hc, vc;
    if (!detail::MakeContributions(src.width, dst.width, algorithm, hc) ||
        !detail::MakeContributions(src.height, dst.height, algorithm, vc))
        return false;
    const long long taps = static_cast<long long>(vc.maxCount) * src.width * dst.height;
    detail::ParallelRows(dst.height, std::max(work, taps), progress, [&](int y0, int y1) {
        if (src.depth == 1)
            ResampleRows<uint8_t>(src, dst, hc, vc, y0, y1);
        else
            ResampleRows<uint16_t>(src, dst, hc, vc, y0, y1);
    });
    return true;
}

} // namespace

bool detail::ResizePlaneForRegion(const Plane& src, const Plane& dst, RESIZE_ALGORITHM algorithm,
                                  PROGRESS_CALLBACK progress) {
    return ResizePlane(src, dst, algorithm, progress);
}

bool ResizeImage(const CImageDataInfo& src, CImageDataInfo& dst, int width, int height,
                 RESIZE_ALGORITHM algorithm, PROGRESS_CALLBACK progress) {
    if (!detail::IsUsable(src) || width < 1 || height < 1 || algorithm < RESIZE_NEAREST ||
        algorithm > RESIZE_LANCZOS3)
        return false;
    try {
        if (&src != &dst) {
            if (!dst.Create(width, height, src.channels, src.depth))
                return false;
            return ResizePlane(detail::PlaneOf(src), detail::PlaneOf(dst), algorithm, progress);
        }
        CImageDataInfo fresh;
        fresh.alignment = src.alignment;
        if (!fresh.Create(width, height, src.channels, src.depth) ||
            !ResizePlane(detail::PlaneOf(src), detail::PlaneOf(fresh), algorithm, progress))
            return false;
        detail::TakeOver(dst, fresh);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace ImageProcess
