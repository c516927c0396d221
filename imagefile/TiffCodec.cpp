// TIFF through libtiff on memory buffers: 8 and 16 bit, grey and RGB with or without alpha, strips
// and tiles, contiguous and planar; anything else (palette, 1/4 bit, CMYK, YCbCr) through libtiff's
// RGBA reader as 8 bit.
#include "imagefile/Codecs.h"
#include "imagefile/ErrorCodes.h"
#include "imagefile/PixelConvert.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <mutex>

namespace ImageFile::detail {

namespace {

struct MemFile {
    const unsigned char* data = nullptr; // reading
    Bytes* out = nullptr;                // writing
    size_t size = 0;
    size_t pos = 0;
};

tmsize_t ReadProc(thandle_t h, void* buf, tmsize_t n) {
    auto* f = static_cast<MemFile*>(h);
    const unsigned char* src = f->out ? f->out->data() : f->data;
    const size_t avail = f->pos < f->size ? f->size - f->pos : 0;
    const size_t k = std::min(avail, static_cast<size_t>(n));
    if (k)
        std::memcpy(buf, src + f->pos, k);
    f->pos += k;
    return static_cast<tmsize_t>(k);
}

tmsize_t WriteProc(thandle_t h, void* buf, tmsize_t n) {
    auto* f = static_cast<MemFile*>(h);
    if (!f->out)
        return 0;
    try {
        if (f->pos + n > f->out->size())
            f->out->resize(f->pos + n);
    } catch (...) {
        return 0;
    }
    std::memcpy(f->out->data() + f->pos, buf, static_cast<size_t>(n));
    f->pos += static_cast<size_t>(n);
    f->size = std::max(f->size, f->pos);
    return n;
}

toff_t SeekProc(thandle_t h, toff_t off, int whence) {
    auto* f = static_cast<MemFile*>(h);
    long long base = 0;
    if (whence == SEEK_CUR)
        base = static_cast<long long>(f->pos);
    else if (whence == SEEK_END)
        base = static_cast<long long>(f->size);
    const long long p = base + static_cast<long long>(off);
    if (p < 0)
        return static_cast<toff_t>(-1);
    f->pos = static_cast<size_t>(p);
    return static_cast<toff_t>(p);
}

int CloseProc(thandle_t) {
    return 0;
}
toff_t SizeProc(thandle_t h) {
    return static_cast<MemFile*>(h)->size;
}
int MapProc(thandle_t, void**, toff_t*) {
    return 0;
}
void UnmapProc(thandle_t, void*, toff_t) {}

void SilenceLibTiff() {
    static std::once_flag once;
    std::call_once(once, [] {
        TIFFSetErrorHandler(nullptr);
        TIFFSetWarningHandler(nullptr);
    });
}

struct TiffCloser {
    void operator()(TIFF* t) const {
        if (t)
            TIFFClose(t);
    }
};
using TiffPtr = std::unique_ptr<TIFF, TiffCloser>;

TiffPtr OpenRead(MemFile& f, const unsigned char* data, size_t size) {
    SilenceLibTiff();
    f.data = data;
    f.size = size;
    f.pos = 0;
    // "m": no memory mapping, our procs already serve memory.
    return TiffPtr(TIFFClientOpen("memory", "rm", &f, ReadProc, WriteProc, SeekProc, CloseProc, SizeProc,
                                  MapProc, UnmapProc));
}

struct Layout {
    uint32_t width = 0, height = 0;
    uint16_t bps = 0, spp = 1, photometric = PHOTOMETRIC_MINISBLACK, planar = PLANARCONFIG_CONTIG;
    uint16_t sampleFormat = SAMPLEFORMAT_UINT, compression = COMPRESSION_NONE,
             orientation = ORIENTATION_TOPLEFT;
    bool alpha = false;
    bool direct = false; // decodable without the RGBA reader
    int outChannels = 0;
};

Layout ReadLayout(TIFF* t) {
    Layout l;
    TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &l.width);
    TIFFGetField(t, TIFFTAG_IMAGELENGTH, &l.height);
    TIFFGetFieldDefaulted(t, TIFFTAG_BITSPERSAMPLE, &l.bps);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLESPERPIXEL, &l.spp);
    TIFFGetFieldDefaulted(t, TIFFTAG_PLANARCONFIG, &l.planar);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLEFORMAT, &l.sampleFormat);
    TIFFGetFieldDefaulted(t, TIFFTAG_COMPRESSION, &l.compression);
    TIFFGetFieldDefaulted(t, TIFFTAG_ORIENTATION, &l.orientation);
    if (!TIFFGetField(t, TIFFTAG_PHOTOMETRIC, &l.photometric))
        l.photometric = l.spp >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    uint16_t extraCount = 0;
    uint16_t* extra = nullptr;
    TIFFGetField(t, TIFFTAG_EXTRASAMPLES, &extraCount, &extra);
    const bool depthOk = (l.bps == 8 || l.bps == 16) && l.sampleFormat == SAMPLEFORMAT_UINT;
    if (l.photometric == PHOTOMETRIC_YCBCR && l.compression == COMPRESSION_JPEG && l.bps == 8) {
        // libjpeg converts to RGB for us.
        TIFFSetField(t, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        l.photometric = PHOTOMETRIC_RGB;
    }
    const bool grey = l.photometric == PHOTOMETRIC_MINISBLACK || l.photometric == PHOTOMETRIC_MINISWHITE;
    if (grey && depthOk && l.spp >= 1) {
        l.direct = true;
        l.alpha = l.spp >= 2 && extraCount >= 1;
        l.outChannels = l.alpha ? 4 : 1;
    } else if (l.photometric == PHOTOMETRIC_RGB && depthOk && l.spp >= 3) {
        l.direct = true;
        l.alpha = l.spp >= 4;
        l.outChannels = l.alpha ? 4 : 3;
    } else {
        l.alpha = extraCount >= 1 || l.spp == 4;
        l.outChannels = l.alpha ? 4 : 3;
    }
    return l;
}

// Converts `count` pixels of `spp` interleaved samples to the output layout.
template <typename T>
void PutPixels(const T* src, int spp, T* dst, int count, const Layout& l, int sampleOffset, int sampleStep) {
    const int oc = l.outChannels;
    const T maxv = static_cast<T>(l.bps == 16 ? 65535 : 255);
    const bool invert = l.photometric == PHOTOMETRIC_MINISWHITE;
    if (sampleStep == spp && sampleOffset == 0) {
        if (l.photometric == PHOTOMETRIC_RGB) {
            for (int i = 0; i < count; ++i, src += spp, dst += oc) {
                dst[0] = src[2];
                dst[1] = src[1];
                dst[2] = src[0];
                if (oc == 4)
                    dst[3] = src[3];
            }
        } else {
            for (int i = 0; i < count; ++i, src += spp, dst += oc) {
                const T v = invert ? static_cast<T>(maxv - src[0]) : src[0];
                dst[0] = v;
                if (oc == 4) {
                    dst[1] = dst[2] = v;
                    dst[3] = src[1];
                }
            }
        }
        return;
    }
    // One plane of a planar image: sample `sampleOffset` into its output channel(s).
    int channel = sampleOffset;
    if (l.photometric == PHOTOMETRIC_RGB && sampleOffset < 3)
        channel = 2 - sampleOffset;
    if (l.photometric != PHOTOMETRIC_RGB && sampleOffset == 1)
        channel = 3;
    if (channel >= oc)
        return;
    for (int i = 0; i < count; ++i, src += sampleStep, dst += oc) {
        T v = src[0];
        if (invert && sampleOffset == 0)
            v = static_cast<T>(maxv - v);
        dst[channel] = v;
        if (l.photometric != PHOTOMETRIC_RGB && sampleOffset == 0 && oc == 4)
            dst[1] = dst[2] = v;
    }
}

void PutAny(const unsigned char* src, int spp, unsigned char* dst, int count, const Layout& l, int offset,
            int step) {
    if (l.bps == 16)
        PutPixels(reinterpret_cast<const uint16_t*>(src), spp, reinterpret_cast<uint16_t*>(dst), count, l,
                  offset, step);
    else
        PutPixels(src, spp, dst, count, l, offset, step);
}

int DecodeStrips(TIFF* t, const Layout& l, CImageDataInfo& img) {
    const int bytesPerSample = l.bps / 8;
    const tmsize_t stripSize = TIFFStripSize(t);
    uint32_t rowsPerStrip = l.height;
    TIFFGetFieldDefaulted(t, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
    rowsPerStrip = std::clamp<uint32_t>(rowsPerStrip, 1, l.height);
    if (stripSize <= 0)
        return ERR_CORRUPT_DATA;
    const int planes = l.planar == PLANARCONFIG_SEPARATE ? l.spp : 1;
    const int samplesInRow = l.planar == PLANARCONFIG_SEPARATE ? 1 : l.spp;
    const size_t rowBytes = static_cast<size_t>(l.width) * samplesInRow * bytesPerSample;
    Bytes buf;
    try {
        buf.resize(static_cast<size_t>(stripSize));
    } catch (...) {
        return ERR_OUT_OF_MEMORY;
    }
    const uint32_t stripsPerPlane = (l.height + rowsPerStrip - 1) / rowsPerStrip;
    for (int plane = 0; plane < planes; ++plane) {
        for (uint32_t s = 0; s < stripsPerPlane; ++s) {
            const uint32_t strip = s + static_cast<uint32_t>(plane) * stripsPerPlane;
            const tmsize_t got = TIFFReadEncodedStrip(t, strip, buf.data(), stripSize);
            if (got < 0)
                return ERR_CORRUPT_DATA;
            const uint32_t y0 = s * rowsPerStrip;
            const uint32_t rows = std::min(rowsPerStrip, l.height - y0);
            if (static_cast<size_t>(got) < rows * rowBytes)
                return ERR_CORRUPT_DATA;
            for (uint32_t r = 0; r < rows; ++r) {
                const unsigned char* src = buf.data() + r * rowBytes;
                unsigned char* dst = Row(img, static_cast<int>(y0 + r));
                if (planes == 1)
                    PutAny(src, l.spp, dst, static_cast<int>(l.width), l, 0, l.spp);
                else
                    PutAny(src, 1, dst, static_cast<int>(l.width), l, plane, 1);
            }
        }
    }
    return ERR_OK;
}

int DecodeTiles(TIFF* t, const Layout& l, CImageDataInfo& img) {
    uint32_t tw = 0, th = 0;
    TIFFGetField(t, TIFFTAG_TILEWIDTH, &tw);
    TIFFGetField(t, TIFFTAG_TILELENGTH, &th);
    const tmsize_t tileSize = TIFFTileSize(t);
    if (tw == 0 || th == 0 || tileSize <= 0 || tw > 65536 || th > 65536)
        return ERR_CORRUPT_DATA;
    const int bytesPerSample = l.bps / 8;
    const int planes = l.planar == PLANARCONFIG_SEPARATE ? l.spp : 1;
    const int samplesInRow = l.planar == PLANARCONFIG_SEPARATE ? 1 : l.spp;
    const size_t tileRowBytes = static_cast<size_t>(tw) * samplesInRow * bytesPerSample;
    if (static_cast<size_t>(tileSize) < tileRowBytes * th)
        return ERR_CORRUPT_DATA;
    Bytes buf;
    try {
        buf.resize(static_cast<size_t>(tileSize));
    } catch (...) {
        return ERR_OUT_OF_MEMORY;
    }
    const int pb = img.PixelBytes();
    for (int plane = 0; plane < planes; ++plane) {
        for (uint32_t ty = 0; ty < l.height; ty += th) {
            for (uint32_t tx = 0; tx < l.width; tx += tw) {
                const ttile_t tile = TIFFComputeTile(t, tx, ty, 0, static_cast<uint16_t>(plane));
                if (TIFFReadEncodedTile(t, tile, buf.data(), tileSize) < 0)
                    return ERR_CORRUPT_DATA;
                const uint32_t rows = std::min(th, l.height - ty);
                const uint32_t cols = std::min(tw, l.width - tx);
                for (uint32_t r = 0; r < rows; ++r) {
                    const unsigned char* src = buf.data() + r * tileRowBytes;
                    unsigned char* dst = Row(img, static_cast<int>(ty + r)) + static_cast<size_t>(tx) * pb;
                    if (planes == 1)
                        PutAny(src, l.spp, dst, static_cast<int>(cols), l, 0, l.spp);
                    else
                        PutAny(src, 1, dst, static_cast<int>(cols), l, plane, 1);
                }
            }
        }
    }
    return ERR_OK;
}

int DecodeRgba(TIFF* t, const Layout& l, CImageDataInfo& img) {
    char emsg[1024] = "";
    if (!TIFFRGBAImageOK(t, emsg))
        return ERR_UNSUPPORTED_FORMAT;
    std::vector<uint32_t> raster;
    try {
        raster.resize(static_cast<size_t>(l.width) * l.height);
    } catch (...) {
        return ERR_OUT_OF_MEMORY;
    }
    // Ask for the file's own orientation so that libtiff does not flip: orientation is applied later.
    if (!TIFFReadRGBAImageOriented(t, l.width, l.height, raster.data(), l.orientation, 0))
        return ERR_CORRUPT_DATA;
    const int oc = img.channels;
    for (uint32_t y = 0; y < l.height; ++y) {
        const uint32_t* s = raster.data() + static_cast<size_t>(y) * l.width;
        unsigned char* d = Row(img, static_cast<int>(y));
        for (uint32_t x = 0; x < l.width; ++x, d += oc) {
            d[0] = static_cast<unsigned char>(TIFFGetB(s[x]));
            d[1] = static_cast<unsigned char>(TIFFGetG(s[x]));
            d[2] = static_cast<unsigned char>(TIFFGetR(s[x]));
            if (oc == 4)
                d[3] = static_cast<unsigned char>(TIFFGetA(s[x]));
        }
    }
    return ERR_OK;
}

} // namespace

int TiffReadInfo(const unsigned char* data, size_t size, FILEINFO& info) {
    MemFile f;
    TiffPtr t = OpenRead(f, data, size);
    if (!t)
        return ERR_CORRUPT_DATA;
    const Layout l = ReadLayout(t.get());
    info.format = IMAGE_FORMAT_TIFF;
    info.storedWidth = static_cast<int>(l.width);
    info.storedHeight = static_cast<int>(l.height);
    info.bitDepth = l.bps;
    info.channels = l.outChannels;
    info.hasAlpha = l.alpha ? 1 : 0;
    float xres = 0;
    uint16_t unit = RESUNIT_INCH;
    if (TIFFGetField(t.get(), TIFFTAG_XRESOLUTION, &xres)) {
        TIFFGetFieldDefaulted(t.get(), TIFFTAG_RESOLUTIONUNIT, &unit);
        if (unit == RESUNIT_CENTIMETER)
            SetResolution(info, xres, UNIT_CENTIMETER);
        else if (unit == RESUNIT_INCH)
            SetResolution(info, xres, UNIT_INCH);
    }
    uint32_t iccLen = 0;
    void* icc = nullptr;
    if (TIFFGetField(t.get(), TIFFTAG_ICCPROFILE, &iccLen, &icc) && icc && iccLen > 0)
        info.iccProfile.assign(static_cast<unsigned char*>(icc), static_cast<unsigned char*>(icc) + iccLen);
    if (l.orientation >= 1 && l.orientation <= 8)
        info.orientation = l.orientation;
    return CheckImageSize(l.width, l.height);
}

int TiffDecode(const unsigned char* data, size_t size, CImageDataInfo& image) {
    MemFile f;
    TiffPtr t = OpenRead(f, data, size);
    if (!t)
        return ERR_CORRUPT_DATA;
    const Layout l = ReadLayout(t.get());
    if (const int rc = CheckImageSize(l.width, l.height); rc != ERR_OK)
        return rc;
    if (l.spp == 0 || l.spp > 16)
        return ERR_CORRUPT_DATA;
    image.alignment = 4;
    const int depth = l.direct && l.bps == 16 ? 2 : 1;
    if (!image.Create(static_cast<int>(l.width), static_cast<int>(l.height), l.outChannels, depth))
        return ERR_OUT_OF_MEMORY;
    int rc;
    if (!l.direct)
        rc = DecodeRgba(t.get(), l, image);
    else if (TIFFIsTiled(t.get()))
        rc = DecodeTiles(t.get(), l, image);
    else
        rc = DecodeStrips(t.get(), l, image);
    if (rc != ERR_OK)
        image.Release();
    return rc;
}

int TiffEncode(const CImageDataInfo& input, const SAVEFILE_OPTIONS& options, const Bytes& icc, Bytes& out) {
    SilenceLibTiff();
    CImageDataInfo reduced;
    const CImageDataInfo* img = &input;
    if (input.depth == 2 && !options.bit16) {
        if (const int rc = To8Bit(input, reduced); rc != ERR_OK)
            return rc;
        img = &reduced;
    }
    out.clear();
    MemFile f;
    f.out = &out;
    TiffPtr t(TIFFClientOpen("memory", "w", &f, ReadProc, WriteProc, SeekProc, CloseProc, SizeProc, MapProc,
                             UnmapProc));
    if (!t)
        return ERR_OUT_OF_MEMORY;
    TIFF* tf = t.get();
    const int ch = img->channels;
    TIFFSetField(tf, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(img->width));
    TIFFSetField(tf, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(img->height));
    TIFFSetField(tf, TIFFTAG_BITSPERSAMPLE, static_cast<uint16_t>(img->depth * 8));
    TIFFSetField(tf, TIFFTAG_SAMPLESPERPIXEL, static_cast<uint16_t>(ch));
    TIFFSetField(tf, TIFFTAG_PHOTOMETRIC, ch == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tf, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tf, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (ch == 4) {
        const uint16_t extra = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tf, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
    uint16_t compression = COMPRESSION_NONE;
    if (options.compression == 1)
        compression = COMPRESSION_LZW;
    else if (options.compression == 2)
        compression = COMPRESSION_ADOBE_DEFLATE;
    TIFFSetField(tf, TIFFTAG_COMPRESSION, compression);
    if (compression != COMPRESSION_NONE)
        TIFFSetField(tf, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
    if (compression == COMPRESSION_ADOBE_DEFLATE)
        TIFFSetField(tf, TIFFTAG_ZIPQUALITY, 6);
    const size_t rowBytes = static_cast<size_t>(img->width) * ch * img->depth;
    const uint32_t rowsPerStrip = std::max<uint32_t>(1, static_cast<uint32_t>((256u << 10) / rowBytes));
    TIFFSetField(tf, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    if (options.resolution > 0) {
        TIFFSetField(tf, TIFFTAG_XRESOLUTION, static_cast<float>(options.resolution));
        TIFFSetField(tf, TIFFTAG_YRESOLUTION, static_cast<float>(options.resolution));
        TIFFSetField(tf, TIFFTAG_RESOLUTIONUNIT,
                     options.resolutionUnit == UNIT_CENTIMETER ? RESUNIT_CENTIMETER : RESUNIT_INCH);
    }
    if (!icc.empty())
        TIFFSetField(tf, TIFFTAG_ICCPROFILE, static_cast<uint32_t>(icc.size()), icc.data());
    Bytes strip;
    try {
        strip.resize(rowBytes * rowsPerStrip);
    } catch (...) {
        return ERR_OUT_OF_MEMORY;
    }
    for (uint32_t y0 = 0, s = 0; y0 < static_cast<uint32_t>(img->height); y0 += rowsPerStrip, ++s) {
        const uint32_t rows = std::min<uint32_t>(rowsPerStrip, img->height - y0);
        for (uint32_t r = 0; r < rows; ++r) {
            unsigned char* d = strip.data() + r * rowBytes;
            std::memcpy(d, Row(*img, static_cast<int>(y0 + r)), rowBytes);
            if (ch >= 3) {
                // The file stores R, G, B.
                if (img->depth == 2) {
                    auto* p = reinterpret_cast<uint16_t*>(d);
                    for (int x = 0; x < img->width; ++x, p += ch)
                        std::swap(p[0], p[2]);
                } else {
                    for (int x = 0; x < img->width; ++x, d += ch)
                        std::swap(d[0], d[2]);
                }
            }
        }
        if (TIFFWriteEncodedStrip(tf, s, strip.data(), static_cast<tmsize_t>(rows * rowBytes)) < 0)
            return ERR_OUT_OF_MEMORY;
    }
    TIFF* raw = t.release();
    // Closing flushes the directory; a failed flush means the buffer could not grow.
    if (!TIFFFlush(raw)) {
        TIFFClose(raw);
        return ERR_OUT_OF_MEMORY;
    }
    TIFFClose(raw);
    out.resize(f.size);
    return ERR_OK;
}

} // namespace ImageFile::detail
