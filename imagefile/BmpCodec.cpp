// Windows bitmaps, parsed and written here: 1/4/8-bit palette, 16, 24 and 32 bit, uncompressed or
// with bit fields. RLE-compressed bitmaps are refused as unsupported.
#include "imagefile/Codecs.h"
#include "imagefile/ErrorCodes.h"
#include "imagefile/PixelConvert.h"

#include <cstring>

namespace ImageFile::detail {

namespace {

uint32_t U32(const unsigned char* p) {
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<uint32_t>(p[3]) << 24);
}
uint16_t U16(const unsigned char* p) {
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}
void Put32(Bytes& b, uint32_t v) {
    for (int i = 0; i < 4; ++i)
        b.push_back(static_cast<unsigned char>(v >> (8 * i)));
}
void Put16(Bytes& b, uint16_t v) {
    b.push_back(static_cast<unsigned char>(v));
    b.push_back(static_cast<unsigned char>(v >> 8));
}

struct BmpHeader {
    uint32_t dataOffset = 0;
    uint32_t headerSize = 0;
    int32_t width = 0;
    int32_t height = 0; // negative: top-down
    uint16_t bitCount = 0;
    uint32_t compression = 0;
    uint32_t colorsUsed = 0;
    uint32_t masks[4] = {0, 0, 0, 0};
    int32_t ppmX = 0;
    size_t paletteOffset = 0;
    int paletteEntrySize = 4;
};

int ParseHeader(const unsigned char* d, size_t n, BmpHeader& h) {
    if (n < 26 || d[0] != 'B' || d[1] != 'M')
        return ERR_CORRUPT_DATA;
    h.dataOffset = U32(d + 10);
    h.headerSize = U32(d + 14);
    if (h.headerSize == 12) { // OS/2 core header
        h.width = U16(d + 18);
        h.height = static_cast<int16_t>(U16(d + 20));
        h.bitCount = U16(d + 24);
        h.paletteEntrySize = 3;
    } else if (h.headerSize >= 40 && n >= 14 + 40) {
        h.width = static_cast<int32_t>(U32(d + 18));
        h.height = static_cast<int32_t>(U32(d + 22));
        h.bitCount = U16(d + 28);
        h.compression = U32(d + 30);
        h.ppmX = static_cast<int32_t>(U32(d + 38));
        h.colorsUsed = U32(d + 46);
        if (h.compression == 3 || h.compression == 6) { // bit fields
            const size_t at = h.headerSize >= 52 ? 54 : 14 + h.headerSize;
            if (n < at + 12)
                return ERR_CORRUPT_DATA;
            for (int i = 0; i < 3; ++i)
                h.masks[i] = U32(d + at + 4 * i);
            if (h.headerSize >= 56 || (h.compression == 6 && n >= at + 16))
                h.masks[3] = U32(d + at + 12);
        }
    } else {
        return ERR_CORRUPT_DATA;
    }
    h.paletteOffset = 14 + h.headerSize + ((h.compression == 3 && h.headerSize == 40) ? 12 : 0);
    if (h.height == INT32_MIN)
        return ERR_CORRUPT_DATA;
    return ERR_OK;
}

int MaskShift(uint32_t mask) {
    int s = 0;
    while (mask && !(mask & 1u)) {
        mask >>= 1;
        ++s;
    }
    return s;
}
int MaskBits(uint32_t mask) {
    mask >>= MaskShift(mask);
    int b = 0;
    while (mask & 1u) {
        mask >>= 1;
        ++b;
    }
    return b;
}
unsigned char Extract(uint32_t px, uint32_t mask) {
    if (!mask)
        return 0;
    const int bits = MaskBits(mask);
    const uint32_t v = (px & mask) >> MaskShift(mask);
    const uint32_t maxv = (bits >= 32) ? 0xFFFFFFFFu : ((1u << bits) - 1);
    return static_cast<unsigned char>((static_cast<uint64_t>(v) * 255 + maxv / 2) / maxv);
}

bool HasAlphaChannel(const BmpHeader& h) {
    return (h.bitCount == 32 && h.masks[3] != 0) ||
           (h.bitCount == 32 && h.compression == 0 && h.headerSize >= 108);
}

} // namespace

int BmpReadInfo(const unsigned char* data, size_t size, FILEINFO& info) {
    BmpHeader h;
    if (const int rc = ParseHeader(data, size, h); rc != ERR_OK)
        return rc;
    info.format = IMAGE_FORMAT_BMP;
    info.storedWidth = h.width;
    info.storedHeight = h.height < 0 ? -h.height : h.height;
    info.bitDepth = h.bitCount <= 8 ? h.bitCount : 8;
    info.hasAlpha = HasAlphaChannel(h) ? 1 : 0;
    info.channels = info.hasAlpha ? 4 : 3;
    if (h.ppmX > 0)
        SetResolution(info, h.ppmX * 0.0254, UNIT_INCH);
    return CheckImageSize(h.width, info.storedHeight);
}

int BmpDecode(const unsigned char* d, size_t n, CImageDataInfo& image) {
    BmpHeader h;
    if (const int rc = ParseHeader(d, n, h); rc != ERR_OK)
        return rc;
    const long long w = h.width;
    const bool topDown = h.height < 0;
    const long long ht = topDown ? -static_cast<long long>(h.height) : h.height;
    if (const int rc = CheckImageSize(w, ht); rc != ERR_OK)
        return rc;
    const int bc = h.bitCount;
    if (h.compression != 0 && h.compression != 3 && h.compression != 6)
        return ERR_UNSUPPORTED_FORMAT;
    if (bc != 1 && bc != 4 && bc != 8 && bc != 16 && bc != 24 && bc != 32)
        return ERR_CORRUPT_DATA;
    const size_t rowBytes = ((static_cast<size_t>(w) * bc + 31) / 32) * 4;
    if (h.dataOffset > n || rowBytes * static_cast<size_t>(ht) > n - h.dataOffset)
        return ERR_CORRUPT_DATA;
    unsigned char palette[256][3] = {};
    if (bc <= 8) {
        const size_t maxColors = size_t(1) << bc;
        size_t colors = h.colorsUsed ? h.colorsUsed : maxColors;
        if (colors > maxColors)
            colors = maxColors;
        if (h.paletteOffset + colors * h.paletteEntrySize > n)
            return ERR_CORRUPT_DATA;
        for (size_t i = 0; i < colors; ++i)
            std::memcpy(palette[i], d + h.paletteOffset + i * h.paletteEntrySize, 3);
    }
    uint32_t masks[4] = {h.masks[0], h.masks[1], h.masks[2], h.masks[3]};
    if (h.compression == 0 && bc == 16) {
        masks[0] = 0x7C00;
        masks[1] = 0x03E0;
        masks[2] = 0x001F;
    }
    const bool alpha = HasAlphaChannel(h);
    if (h.compression == 0 && bc == 32) {
        masks[0] = 0x00FF0000;
        masks[1] = 0x0000FF00;
        masks[2] = 0x000000FF;
        masks[3] = alpha ? 0xFF000000 : 0;
    }
    const int oc = alpha ? 4 : 3;
    image.alignment = 4;
    if (!image.Create(static_cast<int>(w), static_cast<int>(ht), oc, 1))
        return ERR_OUT_OF_MEMORY;
    for (long long y = 0; y < ht; ++y) {
        const long long fileRow = topDown ? y : ht - 1 - y;
        const unsigned char* s = d + h.dataOffset + static_cast<size_t>(fileRow) * rowBytes;
        unsigned char* o = Row(image, static_cast<int>(y));
        if (bc == 24 && oc == 3) {
            std::memcpy(o, s, static_cast<size_t>(w) * 3);
            continue;
        }
        for (long long x = 0; x < w; ++x, o += oc) {
            if (bc <= 8) {
                const size_t bit = static_cast<size_t>(x) * bc;
                const int idx = (s[bit / 8] >> (8 - bc - bit % 8)) & ((1 << bc) - 1);
                std::memcpy(o, palette[idx], 3);
            } else if (bc == 24) {
                std::memcpy(o, s + x * 3, 3);
            } else {
                const uint32_t px = bc == 16 ? U16(s + x * 2) : U32(s + x * 4);
                o[0] = Extract(px, masks[2]);
                o[1] = Extract(px, masks[1]);
                o[2] = Extract(px, masks[0]);
                if (oc == 4)
                    o[3] = Extract(px, masks[3]);
            }
        }
    }
    return ERR_OK;
}

int BmpEncode(const CImageDataInfo& input, const SAVEFILE_OPTIONS& options, Bytes& out) {
    CImageDataInfo reduced;
    const CImageDataInfo* img = &input;
    if (input.depth != 1) {
        if (const int rc = To8Bit(input, reduced); rc != ERR_OK)
            return rc;
        img = &reduced;
    }
    const int ch = img->channels;
    const int bc = ch * 8;
    const size_t rowBytes = ((static_cast<size_t>(img->width) * bc + 31) / 32) * 4;
    const uint32_t paletteBytes = ch == 1 ? 256 * 4 : 0;
    const uint32_t headerSize = ch == 4 ? 108 : 40;
    const uint32_t offset = 14 + headerSize + paletteBytes;
    const size_t total = offset + rowBytes * img->height;
    if (total > 0xFFFFFFFFull)
        return ERR_TOO_LARGE;
    out.clear();
    out.reserve(total);
    out.push_back('B');
    out.push_back('M');
    Put32(out, static_cast<uint32_t>(total));
    Put32(out, 0);
    Put32(out, offset);
    Put32(out, headerSize);
    Put32(out, static_cast<uint32_t>(img->width));
    Put32(out, static_cast<uint32_t>(img->height)); // bottom-up
    Put16(out, 1);
    Put16(out, static_cast<uint16_t>(bc));
    Put32(out, ch == 4 ? 3 : 0);
    Put32(out, static_cast<uint32_t>(rowBytes * img->height));
    double ppm = options.resolution > 0
                     ? (options.resolutionUnit == UNIT_CENTIMETER ? options.resolution * 100
                                                                  : options.resolution / 0.0254)
                     : 0;
    Put32(out, static_cast<uint32_t>(ppm + 0.5));
    Put32(out, static_cast<uint32_t>(ppm + 0.5));
    Put32(out, ch == 1 ? 256 : 0);
    Put32(out, 0);
    if (ch == 4) {
        Put32(out, 0x00FF0000);
        Put32(out, 0x0000FF00);
        Put32(out, 0x000000FF);
        Put32(out, 0xFF000000);
        Put32(out, 0x73524742); // sRGB
        for (int i = 0; i < 12; ++i)
            Put32(out, 0);
    }
    for (uint32_t i = 0; i < paletteBytes / 4; ++i) {
        const unsigned char v = static_cast<unsigned char>(i);
        out.push_back(v);
        out.push_back(v);
        out.push_back(v);
        out.push_back(0);
    }
    const size_t pixelBytes = static_cast<size_t>(img->width) * ch;
    for (int y = img->height - 1; y >= 0; --y) {
        const unsigned char* r = Row(*img, y);
        out.insert(out.end(), r, r + pixelBytes);
        out.insert(out.end(), rowBytes - pixelBytes, 0);
    }
    return ERR_OK;
}

} // namespace ImageFile::detail
