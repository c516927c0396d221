// JPEG through the TurboJPEG API: header, DCT-scaled decode, encode, lossless transform. The markers
// TurboJPEG does not expose (JFIF density, ICC profile chunks, Adobe transform) are read here.
#include "imagefile/Codecs.h"
#include "imagefile/ErrorCodes.h"
#include "imagefile/PixelConvert.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

namespace ImageFile::detail {

namespace {

struct TjDeleter {
    void operator()(void* h) const {
        if (h)
            tjDestroy(h);
    }
};
using TjHandle = std::unique_ptr<void, TjDeleter>;

// Handles are reused per thread: creating one costs more than a small thumbnail decode. After a
// failure the handle is replaced, so that no state of a damaged stream reaches the next call.
TjHandle& DecompressorSlot() {
    thread_local TjHandle handle(tjInitDecompress());
    return handle;
}
tjhandle Decompressor() {
    return DecompressorSlot().get();
}
void ResetDecompressor() {
    DecompressorSlot().reset(tjInitDecompress());
}
tjhandle Compressor() {
    thread_local TjHandle handle(tjInitCompress());
    return handle.get();
}

// Runs a decoding step and replaces the handle when it failed.
struct DecompressGuard {
    int* rc;
    ~DecompressGuard() {
        if (*rc != 0)
            ResetDecompressor();
    }
};

struct JpegMarkers {
    Bytes icc;
    int densityUnit = 0; // JFIF: 0 aspect only, 1 per inch, 2 per cm
    int densityX = 0;
    bool adobe = false;
    int adobeTransform = -1;
};

// Walks the markers up to the first scan. Stops quietly at anything malformed: the decoder decides.
JpegMarkers ReadMarkers(const unsigned char* d, size_t n) {
    JpegMarkers m;
    std::map<int, Bytes> iccChunks;
    int iccCount = 0;
    size_t pos = 2;
    while (pos + 4 <= n) {
        if (d[pos] != 0xFF) {
            break;
        }
        const int marker = d[pos + 1];
        if (marker == 0xFF) {
            ++pos;
            continue;
        }
        if (marker == 0xD8 || (marker >= 0xD0 && marker <= 0xD7) || marker == 0x01) {
            pos += 2;
            continue;
        }
        if (marker == 0xDA || marker == 0xD9)
            break;
        const size_t len = (static_cast<size_t>(d[pos + 2]) << 8) | d[pos + 3];
        if (len < 2 || pos + 2 + len > n)
            break;
        const unsigned char* seg = d + pos + 4;
        const size_t segLen = len - 2;
        if (marker == 0xE0 && segLen >= 12 && std::memcmp(seg, "JFIF\0", 5) == 0) {
            m.densityUnit = seg[7];
            m.densityX = (seg[8] << 8) | seg[9];
        } else if (marker == 0xE2 && segLen > 14 && std::memcmp(seg, "ICC_PROFILE\0", 12) == 0) {
            const int seq = seg[12];
            iccCount = seg[13];
            iccChunks[seq].assign(seg + 14, seg + segLen);
        } else if (marker == 0xEE && segLen >= 12 && std::memcmp(seg, "Adobe", 5) == 0) {
            m.adobe = true;
            m.adobeTransform = seg[11];
        }
        pos += 2 + len;
    }
    if (iccCount > 0 && static_cast<int>(iccChunks.size()) == iccCount) {
        for (auto& [seq, chunk] : iccChunks)
            m.icc.insert(m.icc.end(), chunk.begin(), chunk.end());
    }
    return m;
}

// libjpeg reports damaged entropy data only as warnings. Stray bytes between segments are common in
// camera files and harmless; every other warning means the picture is damaged.
int ClassifyTjFailure(tjhandle h) {
    if (tjGetErrorCode(h) == TJERR_WARNING) {
        const char* msg = tjGetErrorStr2(h);
        if (msg && std::strstr(msg, "extraneous bytes before marker") != nullptr)
            return ERR_OK;
    }
    return ERR_CORRUPT_DATA;
}

void CmykToBgr(const unsigned char* cmyk, unsigned char* bgr, int width, bool inverted) {
    for (int x = 0; x < width; ++x, cmyk += 4, bgr += 3) {
        int c = cmyk[0], m = cmyk[1], y = cmyk[2], k = cmyk[3];
        if (!inverted) {
            c = 255 - c;
            m = 255 - m;
            y = 255 - y;
            k = 255 - k;
        }
        bgr[0] = static_cast<unsigned char>((y * k + 127) / 255);
        bgr[1] = static_cast<unsigned char>((m * k + 127) / 255);
        bgr[2] = static_cast<unsigned char>((c * k + 127) / 255);
    }
}

// The frame header: size, chroma subsampling and colour space. With `checkSize`, sizes beyond what
// the library opens are refused here, before any pixel memory.
struct JpegHeader {
    int width = 0, height = 0, subsamp = 0, colorspace = 0;
};

int ReadJpegHeader(tjhandle h, const unsigned char* data, size_t size, bool checkSize, JpegHeader& hd) {
    if (tjDecompressHeader3(h, data, static_cast<unsigned long>(size), &hd.width, &hd.height, &hd.subsamp,
                            &hd.colorspace) != 0)
        return ERR_CORRUPT_DATA;
    return checkSize ? CheckImageSize(hd.width, hd.height) : ERR_OK;
}

} // namespace

static int JpegReadInfoImpl(const unsigned char* data, size_t size, FILEINFO& info) {
    tjhandle h = Decompressor();
    if (!h)
        return ERR_OUT_OF_MEMORY;
    JpegHeader hd;
    if (const int rc = ReadJpegHeader(h, data, size, false, hd); rc != ERR_OK)
        return rc;
    const int w = hd.width, ht = hd.height, cs = hd.colorspace;
    info.format = IMAGE_FORMAT_JPEG;
    info.storedWidth = w;
    info.storedHeight = ht;
    info.channels = cs == TJCS_GRAY ? 1 : 3;
    info.bitDepth = 8;
    info.hasAlpha = 0;
    const JpegMarkers m = ReadMarkers(data, size);
    info.iccProfile = m.icc;
    if (m.densityUnit == 1)
        SetResolution(info, m.densityX, UNIT_INCH);
    else if (m.densityUnit == 2)
        SetResolution(info, m.densityX, UNIT_CENTIMETER);
    return CheckImageSize(w, ht);
}

static int JpegDecodeImpl(const unsigned char* data, size_t size, CImageDataInfo& image, int scaleDenom) {
    tjhandle h = Decompressor();
    if (!h)
        return ERR_OUT_OF_MEMORY;
    JpegHeader hd;
    if (const int rc = ReadJpegHeader(h, data, size, true, hd); rc != ERR_OK)
        return rc;
    const int w = hd.width, ht = hd.height, cs = hd.colorspace;
    if (scaleDenom != 1 && scaleDenom != 2 && scaleDenom != 4 && scaleDenom != 8)
        scaleDenom = 1;
    const int sw = (w + scaleDenom - 1) / scaleDenom;
    const int sh = (ht + scaleDenom - 1) / scaleDenom;
    const int flags = TJFLAG_LIMITSCANS;
    if (cs == TJCS_CMYK || cs == TJCS_YCCK) {
        Bytes cmyk;
        try {
            cmyk.resize(static_cast<size_t>(sw) * sh * 4);
        } catch (...) {
            return ERR_OUT_OF_MEMORY;
        }
        if (tjDecompress2(h, data, static_cast<unsigned long>(size), cmyk.data(), sw, sw * 4, sh, TJPF_CMYK,
                          flags) != 0) {
            if (const int rc = ClassifyTjFailure(h); rc != ERR_OK)
                return rc;
        }
        const JpegMarkers m = ReadMarkers(data, size);
        image.alignment = 4;
        if (!image.Create(sw, sh, 3, 1))
            return ERR_OUT_OF_MEMORY;
        for (int y = 0; y < sh; ++y)
            CmykToBgr(cmyk.data() + static_cast<size_t>(y) * sw * 4, Row(image, y), sw, m.adobe);
        return ERR_OK;
    }
    const bool grey = cs == TJCS_GRAY;
    image.alignment = 4;
    if (!image.Create(sw, sh, grey ? 1 : 3, 1))
        return ERR_OUT_OF_MEMORY;
    // A 3-channel 8-bit image is bottom-up: TurboJPEG writes that order itself.
    const int pf = grey ? TJPF_GRAY : TJPF_BGR;
    const int rowFlags = grey ? 0 : TJFLAG_BOTTOMUP;
    if (tjDecompress2(h, data, static_cast<unsigned long>(size), image.data.data(), sw, image.stride, sh, pf,
                      flags | rowFlags) != 0) {
        if (const int rc = ClassifyTjFailure(h); rc != ERR_OK) {
            image.Release();
            return rc;
        }
    }
    return ERR_OK;
}

int JpegReadInfo(const unsigned char* data, size_t size, FILEINFO& info) {
    int rc = ERR_OK;
    DecompressGuard guard{&rc};
    rc = JpegReadInfoImpl(data, size, info);
    return rc;
}

int JpegDecode(const unsigned char* data, size_t size, CImageDataInfo& image, int scaleDenom) {
    int rc = ERR_OK;
    DecompressGuard guard{&rc};
    rc = JpegDecodeImpl(data, size, image, scaleDenom);
    return rc;
}

int JpegEncode(const CImageDataInfo& input, const SAVEFILE_OPTIONS& options, const Bytes& icc, Bytes& out) {
    tjhandle h = Compressor();
    if (!h)
        return ERR_OUT_OF_MEMORY;
    CImageDataInfo reduced;
    const CImageDataInfo* img = &input;
    if (input.depth != 1) {
        if (const int rc = To8Bit(input, reduced); rc != ERR_OK)
            return rc;
        img = &reduced;
    }
    int pf = TJPF_BGR;
    int flags = 0;
    if (img->channels == 1)
        pf = TJPF_GRAY;
    else if (img->channels == 4)
        pf = TJPF_BGRX; // JPEG has no alpha
    else
        flags |= TJFLAG_BOTTOMUP;
    int samp = TJSAMP_420;
    if (img->channels == 1)
        samp = TJSAMP_GRAY;
    else if (options.subsampling == 0)
        samp = TJSAMP_444;
    else if (options.subsampling == 1)
        samp = TJSAMP_422;
    const int quality = static_cast<int>(std::clamp(options.quality, 1u, 100u));
    unsigned char* buf = nullptr;
    unsigned long len = 0;
    if (tjCompress2(h, img->data.data(), img->width, img->stride, img->height, pf, &buf, &len, samp, quality,
                    flags) != 0) {
        tjFree(buf);
        return ERR_CORRUPT_DATA;
    }
    Bytes encoded(buf, buf + len);
    tjFree(buf);
    // TurboJPEG writes a JFIF segment first: set its density, then put the ICC profile after it.
    size_t insertAt = 2;
    if (encoded.size() > 20 && encoded[2] == 0xFF && encoded[3] == 0xE0 &&
        std::memcmp(&encoded[6], "JFIF\0", 5) == 0) {
        const size_t len0 = (static_cast<size_t>(encoded[4]) << 8) | encoded[5];
        if (options.resolution > 0 && options.resolution < 65535) {
            const int dens = static_cast<int>(options.resolution + 0.5);
            encoded[13] = options.resolutionUnit == UNIT_CENTIMETER ? 2 : 1;
            encoded[14] = encoded[16] = static_cast<unsigned char>(dens >> 8);
            encoded[15] = encoded[17] = static_cast<unsigned char>(dens & 0xFF);
        }
        insertAt = 4 + len0;
    }
    Bytes markers;
    const size_t kChunk = 65519;
    const size_t count = (icc.size() + kChunk - 1) / kChunk;
    if (!icc.empty() && count <= 255) {
        for (size_t i = 0; i < count; ++i) {
            const size_t part = std::min(kChunk, icc.size() - i * kChunk);
            const size_t segLen = part + 16;
            const unsigned char head[4] = {0xFF, 0xE2, static_cast<unsigned char>(segLen >> 8),
                                           static_cast<unsigned char>(segLen & 0xFF)};
            markers.insert(markers.end(), head, head + 4);
            const char* tag = "ICC_PROFILE";
            markers.insert(markers.end(), tag, tag + 12);
            markers.push_back(static_cast<unsigned char>(i + 1));
            markers.push_back(static_cast<unsigned char>(count));
            markers.insert(markers.end(), icc.begin() + i * kChunk, icc.begin() + i * kChunk + part);
        }
    }
    out.clear();
    out.reserve(encoded.size() + markers.size());
    out.insert(out.end(), encoded.begin(), encoded.begin() + insertAt);
    out.insert(out.end(), markers.begin(), markers.end());
    out.insert(out.end(), encoded.begin() + insertAt, encoded.end());
    return ERR_OK;
}

int JpegTransform(const unsigned char* data, size_t size, int mode, bool trim, Bytes& out) {
    static const int kOps[8] = {TJXOP_NONE,   TJXOP_HFLIP, TJXOP_ROT270,    TJXOP_ROT90,
                                TJXOP_ROT180, TJXOP_VFLIP, TJXOP_TRANSPOSE, TJXOP_TRANSVERSE};
    if (mode < 0 || mode > 7)
        return ERR_INVALID_ARGUMENT;
    thread_local TjHandle handle(tjInitTransform());
    tjhandle h = handle.get();
    if (!h)
        return ERR_OUT_OF_MEMORY;
    JpegHeader hd;
    if (const int rc = ReadJpegHeader(h, data, size, true, hd); rc != ERR_OK)
        return rc;
    const int w = hd.width, ht = hd.height, subsamp = hd.subsamp;
    tjtransform xf;
    std::memset(&xf, 0, sizeof(xf));
    xf.op = kOps[mode];
    xf.options = trim ? TJXOPT_TRIM : TJXOPT_PERFECT;
    if (!trim && mode != 0 && mode != 6 && subsamp >= 0 && subsamp < TJ_NUMSAMP) {
        // Check alignment ourselves: TurboJPEG reports it only as a generic failure.
        const int mcuW = tjMCUWidth[subsamp], mcuH = tjMCUHeight[subsamp];
        const bool needW = mode == 1 || mode == 2 || mode == 4 || mode == 7;
        const bool needH = mode == 3 || mode == 4 || mode == 5 || mode == 7;
        if ((needW && w % mcuW != 0) || (needH && ht % mcuH != 0))
            return ERR_NOT_MCU_ALIGNED;
    }
    unsigned char* buf = nullptr;
    unsigned long len = 0;
    if (tjTransform(h, data, static_cast<unsigned long>(size), 1, &buf, &len, &xf, TJFLAG_LIMITSCANS) != 0) {
        const int rc = ClassifyTjFailure(h);
        if (rc != ERR_OK || !buf || len == 0) {
            tjFree(buf);
            handle.reset(tjInitTransform());
            return rc == ERR_OK ? ERR_CORRUPT_DATA : rc;
        }
    }
    out.assign(buf, buf + len);
    tjFree(buf);
    return ERR_OK;
}

} // namespace ImageFile::detail
