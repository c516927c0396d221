// Tone histograms of an image rectangle, counted per band of rows and merged.
#include "imageprocess/ImageProcess.h"
#include "imageprocess/PixelAccess.h"

#include <cstring>
#include <mutex>

namespace ImageProcess {

namespace {

struct Counts {
    uint32_t bins[4][256]; // blue, green, red, luminance
};

template <typename T> void CountRows(const detail::Plane& p, const IntRect& r, int r0, int r1, Counts& c) {
    constexpr int shift = sizeof(T) == 1 ? 0 : 8;
    const int ch = p.channels;
    for (int j = r0; j < r1; ++j) {
        const T* s = reinterpret_cast<const T*>(p.Row(r.y + j)) + static_cast<ptrdiff_t>(r.x) * ch;
        for (int i = 0; i < r.width; ++i) {
            const uint32_t b = s[i * ch] >> shift;
            const uint32_t g = ch == 1 ? b : s[i * ch + 1] >> shift;
            const uint32_t rr = ch == 1 ? b : s[i * ch + 2] >> shift;
            ++c.bins[0][b];
            ++c.bins[1][g];
            ++c.bins[2][rr];
            ++c.bins[3][(2126 * rr + 7152 * g + 722 * b + 5000) / 10000];
        }
    }
}

uint32_t Peak(const uint32_t* bins) {
    uint32_t m = 0;
    for (int i = 0; i < 256; ++i)
        m = std::max(m, bins[i]);
    return m;
}

} // namespace

bool CalcHistogram(const CImageDataInfo& image, HISTOGRAM& histogram, const IntRect* rect,
                   uint32_t* luminance) {
    if (!detail::IsUsable(image))
        return false;
    const IntRect whole{0, 0, image.width, image.height};
    const IntRect r = rect ? *rect : whole;
    if (r.IsEmpty() || r.x < 0 || r.y < 0 || r.Right() > image.width || r.Bottom() > image.height)
        return false;
    Counts total;
    std::memset(&total, 0, sizeof(total));
    std::mutex merge;
    const detail::Plane p = detail::PlaneOf(image);
    detail::ParallelRows(r.height, static_cast<long long>(r.width) * r.height, nullptr, [&](int r0, int r1) {
        Counts part;
        std::memset(&part, 0, sizeof(part));
        if (p.depth == 1)
            CountRows<uint8_t>(p, r, r0, r1, part);
        else
            CountRows<uint16_t>(p, r, r0, r1, part);
        std::lock_guard<std::mutex> lock(merge);
        for (int k = 0; k < 4; ++k)
            for (int i = 0; i < 256; ++i)
                total.bins[k][i] += part.bins[k][i];
    });
    std::memcpy(histogram.blue, total.bins[0], sizeof(histogram.blue));
    std::memcpy(histogram.green, total.bins[1], sizeof(histogram.green));
    std::memcpy(histogram.red, total.bins[2], sizeof(histogram.red));
    histogram.bluePeak = Peak(histogram.blue);
    histogram.greenPeak = Peak(histogram.green);
    histogram.redPeak = Peak(histogram.red);
    histogram.total = static_cast<uint32_t>(static_cast<long long>(r.width) * r.height);
    if (luminance)
        std::memcpy(luminance, total.bins[3], sizeof(total.bins[3]));
    return true;
}

} // namespace ImageProcess
