#include "imagefile/Codecs.h"
#include "imagefile/ErrorCodes.h"

#include <cstring>

namespace ImageFile::detail {

int CheckImageSize(long long width, long long height) {
    if (width <= 0 || height <= 0)
        return ERR_CORRUPT_DATA;
    if (width > MAX_IMAGE_SIDE || height > MAX_IMAGE_SIDE || width * height > MAX_IMAGE_PIXELS)
        return ERR_TOO_LARGE;
    return ERR_OK;
}

IMAGE_FORMAT DetectFormat(const unsigned char* d, size_t n) {
    if (n >= 3 && d[0] == 0xFF && d[1] == 0xD8 && d[2] == 0xFF)
        return IMAGE_FORMAT_JPEG;
    if (n >= 8 && std::memcmp(d, "\x89PNG\r\n\x1a\n", 8) == 0)
        return IMAGE_FORMAT_PNG;
    if (n >= 4 && (std::memcmp(d, "II*\0", 4) == 0 || std::memcmp(d, "MM\0*", 4) == 0 ||
                   std::memcmp(d, "II+\0", 4) == 0 || std::memcmp(d, "MM\0+", 4) == 0))
        return IMAGE_FORMAT_TIFF;
    if (n >= 2 && d[0] == 'B' && d[1] == 'M')
        return IMAGE_FORMAT_BMP;
    if (n >= 12 && std::memcmp(d, "RIFF", 4) == 0 && std::memcmp(d + 8, "WEBP", 4) == 0)
        return IMAGE_FORMAT_WEBP;
    if (LooksLikeCameraRaw(d, n))
        return IMAGE_FORMAT_CAMERA_RAW;
    return IMAGE_FORMAT_UNKNOWN;
}

bool LooksLikeCameraRaw(const unsigned char* d, size_t n) {
    // Containers of raw files that do not start as TIFF: ISO media with a "crx " brand, the
    // "FUJIFILMCCD-RAW" header, and the TIFF variants with their own magic numbers.
    if (n >= 12 && std::memcmp(d + 4, "ftypcrx ", 8) == 0)
        return true;
    if (n >= 15 && std::memcmp(d, "FUJIFILMCCD-RAW", 15) == 0)
        return true;
    if (n >= 4 && (std::memcmp(d, "IIRO", 4) == 0 || std::memcmp(d, "IIRS", 4) == 0 ||
                   std::memcmp(d, "MMOR", 4) == 0 || std::memcmp(d, "IIU\0", 4) == 0))
        return true;
    return false;
}

bool IsDng(const unsigned char* d, size_t n) {
    if (n < 8 || !(std::memcmp(d, "II*\0", 4) == 0 || std::memcmp(d, "MM\0*", 4) == 0))
        return false;
    const bool le = d[0] == 'I';
    auto u16 = [&](size_t at) { return le ? d[at] | d[at + 1] << 8 : d[at] << 8 | d[at + 1]; };
    auto u32 = [&](size_t at) {
        return le ? uint32_t(u16(at)) | uint32_t(u16(at + 2)) << 16
                  : uint32_t(u16(at)) << 16 | uint32_t(u16(at + 2));
    };
    const size_t ifd = u32(4);
    if (ifd > n - 2)
        return false;
    const size_t count = static_cast<size_t>(u16(ifd));
    for (size_t i = 0; i < count && ifd + 2 + 12 * (i + 1) <= n; ++i)
        if (u16(ifd + 2 + 12 * i) == 50706) // DNGVersion
            return true;
    return false;
}

void SetResolution(FILEINFO& info, double perUnit, UNIT_LENGTH unit) {
    if (!(perUnit > 0) || perUnit > 1e6)
        return;
    info.resolution = perUnit;
    info.resolutionUnit = unit;
}

} // namespace ImageFile::detail
