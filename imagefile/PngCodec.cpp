// PNG through libpng, read from and written to memory. libpng reports errors by longjmp: every
// setjmp sits in a function whose own locals are plain, so no destructor is skipped.
#include "imagefile/Codecs.h"
#include "imagefile/ErrorCodes.h"
#include "imagefile/PixelConvert.h"

#include <png.h>

#include <cstring>

namespace ImageFile::detail {

namespace {

struct MemReader {
    const unsigned char* data;
    size_t size;
    size_t pos;
};

void ReadFn(png_structp png, png_bytep out, png_size_t len) {
    auto* r = static_cast<MemReader*>(png_get_io_ptr(png));
    if (r->pos + len > r->size)
        png_error(png, "read past end");
    std::memcpy(out, r->data + r->pos, len);
    r->pos += len;
}

void WriteFn(png_structp png, png_bytep in, png_size_t len) {
    auto* out = static_cast<Bytes*>(png_get_io_ptr(png));
    try {
        out->insert(out->end(), in, in + len);
    } catch (...) {
        png_error(png, "out of memory");
    }
}

void FlushFn(png_structp) {}

[[noreturn]] void ErrorFn(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}
void WarningFn(png_structp, png_const_charp) {}

struct ReadState {
    png_structp png = nullptr;
    png_infop info = nullptr;
    MemReader reader{};
};

bool OpenRead(ReadState& s, const unsigned char* data, size_t size) {
    s.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, ErrorFn, WarningFn);
    if (!s.png)
        return false;
    s.info = png_create_info_struct(s.png);
    if (!s.info)
        return false;
    s.reader = MemReader{data, size, 0};
    png_set_read_fn(s.png, &s.reader, ReadFn);
    // Our own size check gives the clearer error; libpng's limit only keeps absurd values out.
    png_set_user_limits(s.png, 0x7fffffff, 0x7fffffff);
    // A profile chunk larger than this is not a profile.
    png_set_chunk_malloc_max(s.png, 64u << 20);
    return true;
}

void CloseRead(ReadState& s) {
    if (s.png)
        png_destroy_read_struct(&s.png, s.info ? &s.info : nullptr, nullptr);
}

// Fills `info` from the header chunks; all locals are plain for the longjmp.
int ReadHeader(ReadState& s, FILEINFO& info) {
    if (setjmp(png_jmpbuf(s.png)))
        return ERR_CORRUPT_DATA;
    png_read_info(s.png, s.info);
    png_uint_32 w = 0, h = 0;
    int bitDepth = 0, colorType = 0;
    png_get_IHDR(s.png, s.info, &w, &h, &bitDepth, &colorType, nullptr, nullptr, nullptr);
    info.format = IMAGE_FORMAT_PNG;
    info.storedWidth = static_cast<int>(w);
    info.storedHeight = static_cast<int>(h);
    info.bitDepth = bitDepth;
    const bool trns = png_get_valid(s.png, s.info, PNG_INFO_tRNS) != 0;
    info.hasAlpha = (colorType & PNG_COLOR_MASK_ALPHA) || trns ? 1 : 0;
    if (info.hasAlpha)
        info.channels = 4;
    else
        info.channels = (colorType == PNG_COLOR_TYPE_GRAY) ? 1 : 3;
    png_uint_32 resX = 0, resY = 0;
    int unit = 0;
    if (png_get_pHYs(s.png, s.info, &resX, &resY, &unit) && unit == PNG_RESOLUTION_METER)
        SetResolution(info, resX * 0.0254, UNIT_INCH);
    png_charp name = nullptr;
    int compression = 0;
    png_bytep profile = nullptr;
    png_uint_32 profileLen = 0;
    if (png_get_iCCP(s.png, s.info, &name, &compression, &profile, &profileLen) && profile && profileLen > 0)
        info.iccProfile.assign(profile, profile + profileLen);
    return CheckImageSize(w, h);
}

// Decodes the rows set up by the caller; `rows` must hold one pointer per row.
int ReadPixels(ReadState& s, png_bytep* rows) {
    if (setjmp(png_jmpbuf(s.png)))
        return ERR_CORRUPT_DATA;
    png_read_image(s.png, rows);
    png_read_end(s.png, nullptr);
    return ERR_OK;
}

int SetTransforms(ReadState& s, int& channels, int& depth) {
    if (setjmp(png_jmpbuf(s.png)))
        return ERR_CORRUPT_DATA;
    const int colorType = png_get_color_type(s.png, s.info);
    const int bitDepth = png_get_bit_depth(s.png, s.info);
    const bool trns = png_get_valid(s.png, s.info, PNG_INFO_tRNS) != 0;
    if (colorType == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(s.png);
    if (colorType == PNG_COLOR_TYPE_GRAY && bitDepth < 8)
        png_set_expand_gray_1_2_4_to_8(s.png);
    if (trns)
        png_set_tRNS_to_alpha(s.png);
    const bool alpha = (colorType & PNG_COLOR_MASK_ALPHA) || trns;
    const bool grey = (colorType & PNG_COLOR_MASK_COLOR) == 0 && colorType != PNG_COLOR_TYPE_PALETTE;
    // Grey with alpha has no layout of its own here: it becomes BGRA.
    if (grey && alpha)
        png_set_gray_to_rgb(s.png);
    if (bitDepth == 16)
        png_set_swap(s.png);
    png_set_bgr(s.png);
    png_set_interlace_handling(s.png);
    png_read_update_info(s.png, s.info);
    channels = alpha ? 4 : (grey ? 1 : 3);
    depth = bitDepth == 16 ? 2 : 1;
    return ERR_OK;
}

struct WriteState {
    png_structp png = nullptr;
    png_infop info = nullptr;
};

int WriteAll(WriteState& s, const CImageDataInfo& img, const SAVEFILE_OPTIONS& options, const Bytes& icc,
             png_bytep* rows, Bytes& out) {
    if (setjmp(png_jmpbuf(s.png)))
        return ERR_OUT_OF_MEMORY;
    png_set_write_fn(s.png, &out, WriteFn, FlushFn);
    const int colorType = img.channels == 1   ? PNG_COLOR_TYPE_GRAY
                          : img.channels == 3 ? PNG_COLOR_TYPE_RGB
                                              : PNG_COLOR_TYPE_RGB_ALPHA;
    png_set_IHDR(s.png, s.info, img.width, img.height, img.depth * 8, colorType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(s.png, 6);
    if (options.resolution > 0) {
        const double perMetre = options.resolutionUnit == UNIT_CENTIMETER ? options.resolution * 100.0
                                                                          : options.resolution / 0.0254;
        const png_uint_32 ppm = static_cast<png_uint_32>(perMetre + 0.5);
        png_set_pHYs(s.png, s.info, ppm, ppm, PNG_RESOLUTION_METER);
    }
    if (!icc.empty())
        png_set_iCCP(s.png, s.info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, icc.data(),
                     static_cast<png_uint_32>(icc.size()));
    png_write_info(s.png, s.info);
    if (img.depth == 2)
        png_set_swap(s.png);
    if (img.channels >= 3)
        png_set_bgr(s.png);
    png_write_image(s.png, rows);
    png_write_end(s.png, s.info);
    return ERR_OK;
}

} // namespace

// The size from the header chunk, checked before libpng reads on: a huge image is refused as such
// even when the rest of the file is missing.
int CheckHeaderSize(const unsigned char* d, size_t n) {
    if (n < 24 || std::memcmp(d + 12, "IHDR", 4) != 0)
        return ERR_CORRUPT_DATA;
    auto be32 = [](const unsigned char* p) {
        return (static_cast<uint32_t>(p[0]) << 24) | (p[1] << 16) | (p[2] << 8) | p[3];
    };
    return CheckImageSize(be32(d + 16), be32(d + 20));
}

int PngReadInfo(const unsigned char* data, size_t size, FILEINFO& info) {
    if (const int rc = CheckHeaderSize(data, size); rc != ERR_OK)
        return rc;
    ReadState s;
    int rc = OpenRead(s, data, size) ? ReadHeader(s, info) : ERR_OUT_OF_MEMORY;
    CloseRead(s);
    return rc;
}

int PngDecode(const unsigned char* data, size_t size, CImageDataInfo& image) {
    if (const int rc = CheckHeaderSize(data, size); rc != ERR_OK)
        return rc;
    ReadState s;
    FILEINFO info;
    int rc = OpenRead(s, data, size) ? ReadHeader(s, info) : ERR_OUT_OF_MEMORY;
    int channels = 0, depth = 0;
    if (rc == ERR_OK)
        rc = SetTransforms(s, channels, depth);
    std::vector<png_bytep> rows;
    if (rc == ERR_OK) {
        image.alignment = 4;
        if (!image.Create(info.storedWidth, info.storedHeight, channels, depth)) {
            rc = ERR_OUT_OF_MEMORY;
        } else {
            try {
                rows.resize(static_cast<size_t>(image.height));
            } catch (...) {
                rc = ERR_OUT_OF_MEMORY;
            }
        }
    }
    if (rc == ERR_OK) {
        for (int y = 0; y < image.height; ++y)
            rows[y] = Row(image, y);
        rc = ReadPixels(s, rows.data());
    }
    CloseRead(s);
    if (rc != ERR_OK)
        image.Release();
    return rc;
}

int PngEncode(const CImageDataInfo& input, const SAVEFILE_OPTIONS& options, const Bytes& icc, Bytes& out) {
    CImageDataInfo reduced;
    const CImageDataInfo* img = &input;
    if (input.depth == 2 && !options.bit16) {
        if (const int rc = To8Bit(input, reduced); rc != ERR_OK)
            return rc;
        img = &reduced;
    }
    std::vector<png_bytep> rows(static_cast<size_t>(img->height));
    for (int y = 0; y < img->height; ++y)
        rows[y] = const_cast<png_bytep>(Row(*img, y));
    WriteState s;
    s.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, ErrorFn, WarningFn);
    if (s.png)
        s.info = png_create_info_struct(s.png);
    int rc = ERR_OUT_OF_MEMORY;
    out.clear();
    if (s.png && s.info)
        rc = WriteAll(s, *img, options, icc, rows.data(), out);
    if (s.png)
        png_destroy_write_struct(&s.png, s.info ? &s.info : nullptr);
    return rc;
}

} // namespace ImageFile::detail
