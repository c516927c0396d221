#include "common/testing/TestImages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace kel_testing {

uint32_t GetValue(const CImageDataInfo& img, int x, int y, int channel) {
    const unsigned char* p = img.PixelPtr(x, y);
    if (!p)
        return 0;
    if (img.depth == 2) {
        uint16_t v;
        std::memcpy(&v, p + channel * 2, 2);
        return v;
    }
    return p[channel];
}

void SetValue(CImageDataInfo& img, int x, int y, int channel, uint32_t value) {
    unsigned char* p = img.PixelPtr(x, y);
    if (!p)
        return;
    if (img.depth == 2) {
        const uint16_t v = static_cast<uint16_t>(std::min<uint32_t>(value, 65535));
        std::memcpy(p + channel * 2, &v, 2);
    } else {
        p[channel] = static_cast<unsigned char>(std::min<uint32_t>(value, 255));
    }
}

namespace {

template <typename F> bool Fill(CImageDataInfo& img, int w, int h, int channels, int depth, F value) {
    if (!img.Create(w, h, channels, depth))
        return false;
    std::memset(img.data.data(), 0, img.data.byte_size());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < channels; ++c)
                SetValue(img, x, y, c, value(x, y, c));
    return true;
}

uint32_t Scale(double t, int depth) {
    t = std::clamp(t, 0.0, 1.0);
    return static_cast<uint32_t>(std::lround(t * MaxValue(depth)));
}

} // namespace

bool MakeConstant(CImageDataInfo& img, int w, int h, int channels, int depth, uint32_t value) {
    return Fill(img, w, h, channels, depth, [&](int, int, int) { return value; });
}

bool MakeChannelConstants(CImageDataInfo& img, int w, int h, int channels, int depth,
                          const std::array<uint32_t, 4>& values) {
    return Fill(img, w, h, channels, depth, [&](int, int, int c) { return values[c & 3]; });
}

bool MakeGradient(CImageDataInfo& img, int w, int h, int channels, int depth) {
    const double dw = std::max(1, w - 1), dh = std::max(1, h - 1);
    return Fill(img, w, h, channels, depth, [&](int x, int y, int c) {
        switch (c) {
        case 0:
            return Scale(x / dw, depth);
        case 1:
            return Scale(y / dh, depth);
        case 2:
            return Scale((x / dw + y / dh) / 2, depth);
        default:
            return Scale(1.0 - 0.5 * y / dh, depth);
        }
    });
}

bool MakeColorCube(CImageDataInfo& img, int w, int h, int channels, int depth) {
    const double dw = std::max(1, w - 1), dh = std::max(1, h - 1);
    return Fill(img, w, h, channels, depth, [&](int x, int y, int c) {
        const int tile = (x / 16 + y / 16) % 8;
        switch (c) {
        case 0:
            return Scale(tile / 7.0, depth);
        case 1:
            return Scale(y / dh, depth);
        case 2:
            return Scale(x / dw, depth);
        default:
            return MaxValue(depth);
        }
    });
}

bool MakeNoise(CImageDataInfo& img, int w, int h, int channels, int depth, uint32_t seed) {
    uint32_t state = seed ? seed : 0x9e3779b9u;
    return Fill(img, w, h, channels, depth, [&](int, int, int) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state % (MaxValue(depth) + 1);
    });
}

bool MakeDisc(CImageDataInfo& img, int w, int h, int channels, int depth, double cx, double cy,
              double radius) {
    return Fill(img, w, h, channels, depth, [&](int x, int y, int c) {
        const double d = std::hypot(x + 0.5 - cx, y + 0.5 - cy);
        const double inside = std::clamp(radius - d + 0.5, 0.0, 1.0);
        if (c == 3)
            return MaxValue(depth);
        return Scale(0.1 + 0.8 * inside, depth);
    });
}

bool MakeRampRegion(CSelectedRegion& region, int w, int h) {
    if (!region.Create(w, h))
        return false;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            region.Row(y)[x] = static_cast<uint16_t>(w > 1 ? (65535LL * x) / (w - 1) : 65535);
    return true;
}

bool SamePixels(const CImageDataInfo& a, const CImageDataInfo& b) {
    return MaxDifference(a, b) == 0;
}

long MaxDifference(const CImageDataInfo& a, const CImageDataInfo& b) {
    if (a.width != b.width || a.height != b.height || !a.SameFormat(b))
        return -1;
    long worst = 0;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            for (int c = 0; c < a.channels; ++c)
                worst = std::max(worst, std::labs(static_cast<long>(GetValue(a, x, y, c)) -
                                                  static_cast<long>(GetValue(b, x, y, c))));
    return worst;
}

double MeanValue(const CImageDataInfo& img, int channel) {
    double sum = 0;
    for (int y = 0; y < img.height; ++y)
        for (int x = 0; x < img.width; ++x)
            sum += GetValue(img, x, y, channel);
    return img.width && img.height ? sum / (double(img.width) * img.height) : 0;
}

} // namespace kel_testing
