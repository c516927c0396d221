#include "ui/ImageBitmap.h"

#include "common/CImageDataInfo.h"

#include <cstdint>
#include <cstring>

namespace KELCTRL {

namespace {

inline uint8_t To8(const unsigned char* p, int depth) {
    if (depth == 1)
        return *p;
    uint16_t v;
    std::memcpy(&v, p, 2);
    return static_cast<uint8_t>((v + 128u) / 257u);
}

void ConvertRow(const unsigned char* src, int width, int channels, int depth, uchar* dst) {
    const int step = channels * depth;
    if (channels == 1) {
        for (int x = 0; x < width; ++x)
            dst[x] = To8(src + x * step, depth);
        return;
    }
    auto* out = reinterpret_cast<QRgb*>(dst);
    for (int x = 0; x < width; ++x, src += step) {
        const uint8_t b = To8(src, depth), g = To8(src + depth, depth), r = To8(src + 2 * depth, depth);
        const uint8_t a = channels == 4 ? To8(src + 3 * depth, depth) : 255;
        out[x] = qRgba(r, g, b, a);
    }
}

} // namespace

QImage ConvertImageToBitmap(const CImageDataInfo& image) {
    if (!image.IsValid() || (image.channels != 1 && image.channels != 3 && image.channels != 4) ||
        (image.depth != 1 && image.depth != 2))
        return {};
    const QImage::Format format = image.channels == 1   ? QImage::Format_Grayscale8
                                  : image.channels == 3 ? QImage::Format_RGB32
                                                        : QImage::Format_ARGB32;
    QImage bitmap(image.width, image.height, format);
    if (bitmap.isNull())
        return {};
    for (int y = 0; y < image.height; ++y)
        ConvertRow(image.RowPtr(y), image.width, image.channels, image.depth, bitmap.scanLine(y));
    return bitmap;
}

} // namespace KELCTRL
