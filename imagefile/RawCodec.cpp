// Camera raw files through LibRaw, from bytes already in memory. LibRaw reports failures by codes and
// keeps its exceptions inside; the guards here are for allocation failures of our own.
#include "imagefile/Codecs.h"
#include "imagefile/ErrorCodes.h"
#include "imagefile/PixelConvert.h"

#include <libraw/libraw.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

namespace ImageFile::detail {

namespace {

// LibRaw prints data errors by default; the error code says enough.
void QuietDataError(void*, const char*, const int) {}

struct ImageFree {
    void operator()(libraw_processed_image_t* p) const { LibRaw::dcraw_clear_mem(p); }
};
using ProcessedImage = std::unique_ptr<libraw_processed_image_t, ImageFree>;

int CodeOf(int librawError) {
    switch (librawError) {
    case LIBRAW_SUCCESS:
        return ERR_OK;
    case LIBRAW_FILE_UNSUPPORTED:
        return ERR_CAMERA_RAW;
    case LIBRAW_UNSUFFICIENT_MEMORY:
    case LIBRAW_MEMPOOL_OVERFLOW:
        return ERR_OUT_OF_MEMORY;
    case LIBRAW_TOO_BIG:
        return ERR_TOO_LARGE;
    default:
        return ERR_CORRUPT_DATA;
    }
}

// LibRaw's flip code to the EXIF orientation that undoes it.
int OrientationOfFlip(int flip) {
    static const int kExif[8] = {1, 2, 4, 3, 5, 8, 6, 7};
    return kExif[flip & 7];
}

// Opens the data and checks the sizes LibRaw reports: nothing large is allocated before this.
int Open(LibRaw& lr, const unsigned char* data, size_t size) {
    if (!data || size == 0)
        return ERR_EMPTY_FILE;
    lr.set_dataerror_handler(QuietDataError, nullptr);
    const int rc = lr.open_buffer(const_cast<unsigned char*>(data), size);
    if (rc != LIBRAW_SUCCESS)
        return rc == LIBRAW_UNSUFFICIENT_MEMORY ? static_cast<int>(ERR_OUT_OF_MEMORY) : ERR_CAMERA_RAW;
    const libraw_image_sizes_t& s = lr.imgdata.sizes;
    if (const int r = CheckImageSize(s.raw_width, s.raw_height); r != ERR_OK)
        return r;
    return CheckImageSize(s.width, s.height);
}

std::unique_ptr<LibRaw> NewProcessor() {
    return std::unique_ptr<LibRaw>(new (std::nothrow) LibRaw(LIBRAW_OPTIONS_NONE));
}

// The three multipliers of R, G, B scaled to green 1; false when the camera gave none usable.
bool NormalisedMultipliers(const float* in, float* out) {
    if (!(in[0] > 0.0f) || !(in[1] > 0.0f) || !(in[2] > 0.0f))
        return false;
    for (int c = 0; c < 3; ++c) {
        out[c] = in[c] / in[1];
        if (!std::isfinite(out[c]))
            return false;
    }
    return true;
}

// Read after unpack and before processing, which rewrites the multipliers and levels.
void FillRecord(const LibRaw& lr, ImageProcess::RAW_CONVERSION& raw) {
    const libraw_colordata_t& c = lr.imgdata.color;
    raw = ImageProcess::RAW_CONVERSION();
    const bool daylight = NormalisedMultipliers(c.pre_mul, raw.daylightMultipliers);
    if (!NormalisedMultipliers(c.cam_mul, raw.cameraMultipliers) && daylight)
        std::copy(raw.daylightMultipliers, raw.daylightMultipliers + 3, raw.cameraMultipliers);
    bool matrix = false;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            raw.cameraToSRGB[i][j] = c.rgb_cam[i][j];
            matrix = matrix || c.rgb_cam[i][j] != 0.0f;
        }
    if (!matrix) // no colour data: treat the camera as sRGB
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                raw.cameraToSRGB[i][j] = i == j ? 1.0f : 0.0f;
    raw.blackLevel = static_cast<int>(c.black);
    raw.whiteLevel = static_cast<int>(c.maximum);
    const float baseline = c.dng_levels.baseline_exposure;
    // An absent value is marked by a large negative number.
    raw.baselineExposure = std::isfinite(baseline) && std::fabs(baseline) <= 10.0f ? baseline : 0.0;
    raw.valid = 1;
}

void SetOutput(LibRaw& lr, RawOutput output) {
    libraw_output_params_t& p = lr.imgdata.params;
    p.user_flip = 0; // the library applies the orientation itself
    p.output_bps = 16;
    p.no_auto_bright = 1;
    p.half_size = output == RawOutput::Preview;
    if (output == RawOutput::Linear) {
        p.use_camera_wb = 0;
        p.use_auto_wb = 0;
        for (float& m : p.user_mul)
            m = 1.0f; // black and white scaling only, no balance
        p.output_color = 0;
        p.gamm[0] = 1.0;
        p.gamm[1] = 1.0;
    } else {
        p.use_camera_wb = 1;
        p.output_color = 1;
        p.gamm[0] = 1.0 / 2.4; // sRGB tone curve
        p.gamm[1] = 12.92;
    }
}

int CopyProcessed(const libraw_processed_image_t& src, CImageDataInfo& image) {
    if (src.type != LIBRAW_IMAGE_BITMAP || src.colors != 3 || (src.bits != 8 && src.bits != 16))
        return ERR_CAMERA_RAW;
    if (const int rc = CheckImageSize(src.width, src.height); rc != ERR_OK)
        return rc;
    const int depth = src.bits / 8;
    if (static_cast<size_t>(src.width) * src.height * 3 * depth > src.data_size)
        return ERR_CORRUPT_DATA;
    if (!image.Create(src.width, src.height, 3, depth))
        return ERR_OUT_OF_MEMORY;
    const size_t rowBytes = static_cast<size_t>(src.width) * 3 * depth;
    for (int y = 0; y < src.height; ++y) {
        const unsigned char* s = src.data + rowBytes * y;
        unsigned char* d = Row(image, y);
        if (depth == 1) {
            for (int x = 0; x < src.width; ++x, s += 3, d += 3) {
                d[0] = s[2];
                d[1] = s[1];
                d[2] = s[0];
            }
        } else {
            const auto* s16 = reinterpret_cast<const uint16_t*>(s);
            auto* d16 = reinterpret_cast<uint16_t*>(d);
            for (int x = 0; x < src.width; ++x, s16 += 3, d16 += 3) {
                d16[0] = s16[2];
                d16[1] = s16[1];
                d16[2] = s16[0];
            }
        }
    }
    return ERR_OK;
}

template <typename F> int Guarded(F&& f) {
    try {
        return f();
    } catch (const std::bad_alloc&) {
        return ERR_OUT_OF_MEMORY;
    } catch (...) {
        return ERR_CORRUPT_DATA;
    }
}

// Opens the bytes in a fresh processor (sizes checked by Open) and runs body on it, every exception
// turned into an error code.
template <typename Body> int WithOpenRaw(const unsigned char* data, size_t size, Body&& body) {
    return Guarded([&]() -> int {
        auto lr = NewProcessor();
        if (!lr)
            return ERR_OUT_OF_MEMORY;
        if (const int rc = Open(*lr, data, size); rc != ERR_OK)
            return rc;
        return body(*lr);
    });
}

} // namespace

int RawReadInfo(const unsigned char* data, size_t size, FILEINFO& info) {
    return WithOpenRaw(data, size, [&](LibRaw& lr) -> int {
        const libraw_image_sizes_t& s = lr.imgdata.sizes;
        info.format = IMAGE_FORMAT_CAMERA_RAW;
        info.isCameraRaw = 1;
        info.storedWidth = s.width;
        info.storedHeight = s.height;
        info.channels = 3;
        info.bitDepth = 16;
        info.orientation = OrientationOfFlip(s.flip);
        if (info.cameraMake.empty())
            info.cameraMake = lr.imgdata.idata.make;
        if (info.cameraModel.empty())
            info.cameraModel = lr.imgdata.idata.model;
        return ERR_OK;
    });
}

int RawDecode(const unsigned char* data, size_t size, CImageDataInfo& image, RawOutput output,
              ImageProcess::RAW_CONVERSION* raw) {
    return WithOpenRaw(data, size, [&](LibRaw& lr) -> int {
        SetOutput(lr, output);
        if (const int rc = lr.unpack(); rc != LIBRAW_SUCCESS)
            return CodeOf(rc);
        if (raw)
            FillRecord(lr, *raw);
        if (const int rc = lr.dcraw_process(); rc != LIBRAW_SUCCESS)
            return CodeOf(rc);
        int err = LIBRAW_SUCCESS;
        ProcessedImage processed(lr.dcraw_make_mem_image(&err));
        if (!processed)
            return err == LIBRAW_SUCCESS ? static_cast<int>(ERR_OUT_OF_MEMORY) : CodeOf(err);
        return CopyProcessed(*processed, image);
    });
}

int RawReadPreview(const unsigned char* data, size_t size, Bytes& jpeg, CImageDataInfo& bitmap) {
    return WithOpenRaw(data, size, [&](LibRaw& lr) -> int {
        const libraw_thumbnail_t& t = lr.imgdata.thumbnail;
        // The format is known only after unpack_thumb; the length says whether there is one.
        if (t.tlength == 0)
            return ERR_CAMERA_RAW;
        if (const int rc = CheckImageSize(t.twidth, t.theight); rc != ERR_OK)
            return rc;
        if (const int rc = lr.unpack_thumb(); rc != LIBRAW_SUCCESS)
            return rc == LIBRAW_NO_THUMBNAIL || rc == LIBRAW_UNSUPPORTED_THUMBNAIL ? ERR_CAMERA_RAW
                                                                                   : CodeOf(rc);
        int err = LIBRAW_SUCCESS;
        ProcessedImage thumb(lr.dcraw_make_mem_thumb(&err));
        if (!thumb)
            return err == LIBRAW_SUCCESS ? static_cast<int>(ERR_CAMERA_RAW) : CodeOf(err);
        if (thumb->type == LIBRAW_IMAGE_JPEG) {
            jpeg.assign(thumb->data, thumb->data + thumb->data_size);
            return ERR_OK;
        }
        return CopyProcessed(*thumb, bitmap);
    });
}

} // namespace ImageFile::detail
