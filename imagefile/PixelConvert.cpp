#include "imagefile/PixelConvert.h"

#include "imagefile/ErrorCodes.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace ImageFile::detail {

namespace {

// Source coordinate of destination (x, y): sx = ax0 + ax1 * x + ax2 * y, sy likewise.
struct Mapping {
    int ax0, ax1, ax2;
    int ay0, ay1, ay2;
    bool swapsSize;
};

Mapping MappingFor(int mode, int w, int h) {
    switch (mode) {
    case 1: // flip horizontal
        return {w - 1, -1, 0, 0, 0, 1, false};
    case 2: // rotate 90 counter-clockwise: dst(x, y) = src(w - 1 - y, x)
        return {w - 1, 0, -1, 0, 1, 0, true};
    case 3: // rotate 90 clockwise: dst(x, y) = src(y, h - 1 - x)
        return {0, 0, 1, h - 1, -1, 0, true};
    case 4:
        return {w - 1, -1, 0, h - 1, 0, -1, false};
    case 5: // flip vertical
        return {0, 1, 0, h - 1, 0, -1, false};
    case 6: // transpose
        return {0, 0, 1, 0, 1, 0, true};
    case 7: // transverse
        return {w - 1, 0, -1, h - 1, -1, 0, true};
    default:
        return {0, 1, 0, 0, 0, 1, false};
    }
}

template <int PB>
void Remap(const unsigned char* base, ptrdiff_t stepX, ptrdiff_t stepY, CImageDataInfo& dst) {
    for (int y = 0; y < dst.height; ++y) {
        const unsigned char* s = base + stepY * y;
        unsigned char* __restrict d = Row(dst, y);
        for (int x = 0; x < dst.width; ++x) {
            std::memcpy(d, s, PB);
            d += PB;
            s += stepX;
        }
    }
}

void RemapAny(int pb, const unsigned char* base, ptrdiff_t stepX, ptrdiff_t stepY, CImageDataInfo& dst) {
    switch (pb) {
    case 1:
        return Remap<1>(base, stepX, stepY, dst);
    case 2:
        return Remap<2>(base, stepX, stepY, dst);
    case 3:
        return Remap<3>(base, stepX, stepY, dst);
    case 4:
        return Remap<4>(base, stepX, stepY, dst);
    case 6:
        return Remap<6>(base, stepX, stepY, dst);
    default:
        return Remap<8>(base, stepX, stepY, dst);
    }
}

} // namespace

int TransformByMode(const CImageDataInfo& src, CImageDataInfo& dst, int mode) {
    if (!src.IsValid() || mode < 0 || mode > 7 || &src == &dst)
        return ERR_INVALID_ARGUMENT;
    const Mapping m = MappingFor(mode, src.width, src.height);
    const int dw = m.swapsSize ? src.height : src.width;
    const int dh = m.swapsSize ? src.width : src.height;
    dst.alignment = src.alignment;
    if (!dst.Create(dw, dh, src.channels, src.depth))
        return ERR_OUT_OF_MEMORY;
    const int pb = src.PixelBytes();
    const ptrdiff_t step = src.RowStep();
    const unsigned char* origin = Row(src, 0) + static_cast<ptrdiff_t>(m.ax0) * pb + m.ay0 * step;
    const ptrdiff_t stepX = static_cast<ptrdiff_t>(m.ax1) * pb + m.ay1 * step;
    const ptrdiff_t stepY = static_cast<ptrdiff_t>(m.ax2) * pb + m.ay2 * step;
    RemapAny(pb, origin, stepX, stepY, dst);
    return ERR_OK;
}

int ModeForOrientation(int orientation) {
    static const int kModes[9] = {0, 0, 1, 4, 5, 6, 3, 7, 2};
    return (orientation >= 1 && orientation <= 8) ? kModes[orientation] : 0;
}

int ApplyOrientation(CImageDataInfo& image, int orientation) {
    const int mode = ModeForOrientation(orientation);
    if (mode == 0)
        return ERR_OK;
    CImageDataInfo turned;
    const int rc = TransformByMode(image, turned, mode);
    if (rc != ERR_OK)
        return rc;
    image.data.swap(turned.data);
    image.width = turned.width;
    image.height = turned.height;
    image.stride = turned.stride;
    return ERR_OK;
}

void SwapRedBlue(CImageDataInfo& image) {
    if (image.channels < 3)
        return;
    const int pb = image.PixelBytes();
    for (int y = 0; y < image.height; ++y) {
        unsigned char* p = Row(image, y);
        if (image.depth == 2) {
            for (int x = 0; x < image.width; ++x, p += pb) {
                uint16_t a, c;
                std::memcpy(&a, p, 2);
                std::memcpy(&c, p + 4, 2);
                std::memcpy(p, &c, 2);
                std::memcpy(p + 4, &a, 2);
            }
        } else {
            for (int x = 0; x < image.width; ++x, p += pb)
                std::swap(p[0], p[2]);
        }
    }
}

int SplitAlpha(CImageDataInfo& image, CImageDataInfo& alpha) {
    if (image.channels != 4) {
        alpha.Release();
        return ERR_OK;
    }
    CImageDataInfo colour;
    colour.alignment = image.alignment;
    alpha.alignment = image.alignment;
    if (!colour.Create(image.width, image.height, 3, image.depth) ||
        !alpha.Create(image.width, image.height, 1, image.depth))
        return ERR_OUT_OF_MEMORY;
    const int d = image.depth;
    for (int y = 0; y < image.height; ++y) {
        const unsigned char* s = Row(image, y);
        unsigned char* c = Row(colour, y);
        unsigned char* a = Row(alpha, y);
        for (int x = 0; x < image.width; ++x) {
            std::memcpy(c, s, 3 * static_cast<size_t>(d));
            std::memcpy(a, s + 3 * d, static_cast<size_t>(d));
            s += 4 * d;
            c += 3 * d;
            a += d;
        }
    }
    image = std::move(colour);
    return ERR_OK;
}

int To8Bit(const CImageDataInfo& src, CImageDataInfo& dst) {
    if (!src.IsValid())
        return ERR_INVALID_ARGUMENT;
    if (src.depth == 1) {
        dst = src;
        return dst.IsValid() ? ERR_OK : ERR_OUT_OF_MEMORY;
    }
    dst.alignment = 4;
    if (!dst.Create(src.width, src.height, src.channels, 1))
        return ERR_OUT_OF_MEMORY;
    const int n = src.width * src.channels;
    for (int y = 0; y < src.height; ++y) {
        const unsigned char* s = Row(src, y);
        unsigned char* __restrict d = Row(dst, y);
        for (int i = 0; i < n; ++i) {
            uint16_t v;
            std::memcpy(&v, s + 2 * i, 2);
            d[i] = static_cast<unsigned char>((v * 255u + 32767u) / 65535u);
        }
    }
    return ERR_OK;
}

int ToChannels(const CImageDataInfo& src, CImageDataInfo& dst, int channels) {
    if (!src.IsValid() || (channels != 1 && channels != 3))
        return ERR_INVALID_ARGUMENT;
    dst.alignment = 4;
    if (!dst.Create(src.width, src.height, channels, src.depth))
        return ERR_OUT_OF_MEMORY;
    const int d = src.depth;
    const int sc = src.channels;
    for (int y = 0; y < src.height; ++y) {
        const unsigned char* s = Row(src, y);
        unsigned char* o = Row(dst, y);
        for (int x = 0; x < src.width; ++x, s += sc * d, o += channels * d) {
            uint32_t v[4] = {0, 0, 0, 0};
            for (int c = 0; c < sc; ++c) {
                if (d == 2) {
                    uint16_t t;
                    std::memcpy(&t, s + 2 * c, 2);
                    v[c] = t;
                } else {
                    v[c] = s[c];
                }
            }
            uint32_t out[3];
            if (sc == 1) {
                out[0] = out[1] = out[2] = v[0];
            } else {
                out[0] = v[0];
                out[1] = v[1];
                out[2] = v[2];
            }
            if (channels == 1 && sc != 1)
                out[0] = (v[0] + v[1] + v[2] + 1) / 3;
            for (int c = 0; c < channels; ++c) {
                if (d == 2) {
                    const uint16_t t = static_cast<uint16_t>(out[c]);
                    std::memcpy(o + 2 * c, &t, 2);
                } else {
                    o[c] = static_cast<unsigned char>(out[c]);
                }
            }
        }
    }
    return ERR_OK;
}

} // namespace ImageFile::detail

namespace ImageFile::detail {

namespace {
// Each mode as a matrix on centred, y-down coordinates: destination = M * source.
struct Mat {
    int a, b, c, d;
    bool operator==(const Mat&) const = default;
};
constexpr Mat kModeMats[8] = {
    {1, 0, 0, 1},   // none
    {-1, 0, 0, 1},  // flip horizontal
    {0, 1, -1, 0},  // rotate 90 counter-clockwise
    {0, -1, 1, 0},  // rotate 90 clockwise
    {-1, 0, 0, -1}, // rotate 180
    {1, 0, 0, -1},  // flip vertical
    {0, 1, 1, 0},   // transpose
    {0, -1, -1, 0}, // transverse
};
} // namespace

int ComposeModes(int first, int second) {
    if (first < 0 || first > 7 || second < 0 || second > 7)
        return 0;
    const Mat& f = kModeMats[first];
    const Mat& s = kModeMats[second];
    const Mat m{s.a * f.a + s.b * f.c, s.a * f.b + s.b * f.d, s.c * f.a + s.d * f.c, s.c * f.b + s.d * f.d};
    for (int i = 0; i < 8; ++i)
        if (kModeMats[i] == m)
            return i;
    return 0;
}

} // namespace ImageFile::detail
