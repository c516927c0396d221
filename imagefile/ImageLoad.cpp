// File information, full loads and thumbnails.
#include "imagefile/Codecs.h"
#include "imagefile/FileBytes.h"
#include "imagefile/ImageFile.h"
#include "imagefile/Metadata.h"
#include "imagefile/PixelConvert.h"

#include "imageprocess/ImageProcess.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace ImageFile {

using detail::Bytes;

namespace {

// Enough for the headers and the EXIF block of a JPEG, PNG or bitmap; other formats are read whole.
constexpr size_t kHeaderPrefix = 512 * 1024;

int ReadCodecInfo(IMAGE_FORMAT format, const unsigned char* d, size_t n, FILEINFO& info) {
    switch (format) {
    case IMAGE_FORMAT_JPEG:
        return detail::JpegReadInfo(d, n, info);
    case IMAGE_FORMAT_PNG:
        return detail::PngReadInfo(d, n, info);
    case IMAGE_FORMAT_TIFF:
        return detail::TiffReadInfo(d, n, info);
    case IMAGE_FORMAT_BMP:
        return detail::BmpReadInfo(d, n, info);
    case IMAGE_FORMAT_WEBP:
        return detail::WebpReadInfo(d, n, info);
    default:
        return ERR_UNSUPPORTED_FORMAT;
    }
}

int DecodeStored(IMAGE_FORMAT format, const unsigned char* d, size_t n, CImageDataInfo& image) {
    switch (format) {
    case IMAGE_FORMAT_JPEG:
        return detail::JpegDecode(d, n, image, 1);
    case IMAGE_FORMAT_PNG:
        return detail::PngDecode(d, n, image);
    case IMAGE_FORMAT_TIFF:
        return detail::TiffDecode(d, n, image);
    case IMAGE_FORMAT_BMP:
        return detail::BmpDecode(d, n, image);
    case IMAGE_FORMAT_WEBP:
        return detail::WebpDecode(d, n, image);
    case IMAGE_FORMAT_CAMERA_RAW:
        return ERR_CAMERA_RAW;
    default:
        return ERR_UNSUPPORTED_FORMAT;
    }
}

bool IsTiffBasedRaw(const std::filesystem::path& path) {
    return IsCameraRawExtension(path.extension().string());
}

// Keeps what the file system says over a reset of the record.
void ResetInfo(FILEINFO& info) {
    const std::filesystem::path path = info.path;
    const std::time_t mtime = info.modifyTime;
    const uint64_t size = info.fileSize;
    info = FILEINFO();
    info.path = path;
    info.modifyTime = mtime;
    info.fileSize = size;
}

int FinishLoad(FILEINFO& info, CImageDataInfo& image, RGB_ORDER order, CImageDataInfo* alpha) {
    if (const int rc = detail::ApplyOrientation(image, info.orientation); rc != ERR_OK)
        return rc;
    if (alpha) {
        if (const int rc = detail::SplitAlpha(image, *alpha); rc != ERR_OK)
            return rc;
    }
    if (order == RGB_ORDER_RGB)
        detail::SwapRedBlue(image);
    info.channels = image.channels;
    return ERR_OK;
}

// An image that fits in maxSize x maxSize, 8 bit, without alpha, reduced by area averaging.
int ReduceForThumbnail(CImageDataInfo& image, int maxSize) {
    if (image.depth != 1) {
        CImageDataInfo reduced;
        if (const int rc = detail::To8Bit(image, reduced); rc != ERR_OK)
            return rc;
        image = std::move(reduced);
    }
    if (image.channels == 4) {
        CImageDataInfo colour;
        if (const int rc = detail::ToChannels(image, colour, 3); rc != ERR_OK)
            return rc;
        image = std::move(colour);
    }
    const int longer = std::max(image.width, image.height);
    if (longer <= maxSize)
        return ERR_OK;
    const double scale = static_cast<double>(maxSize) / longer;
    const int w = std::max(1, static_cast<int>(std::floor(image.width * scale + 0.5)));
    const int h = std::max(1, static_cast<int>(std::floor(image.height * scale + 0.5)));
    CImageDataInfo small;
    if (!ImageProcess::ResizeImage(image, small, w, h, ImageProcess::RESIZE_AUTO, nullptr))
        return ERR_OUT_OF_MEMORY;
    image = std::move(small);
    return ERR_OK;
}

// The DCT scale for a thumbnail: the strongest reduction whose result still covers maxSize on the
// longer side. Only 1/2, 1/4 and 1/8 are offered: those are the vectorised inverse DCTs.
int ThumbnailScale(int width, int height, int maxSize) {
    const int longer = std::max(width, height);
    for (int denom : {8, 4, 2})
        if ((longer + denom - 1) / denom >= maxSize)
            return denom;
    return 1;
}

// The embedded thumbnail is used only when it shows the whole picture: thumbnails padded to 4:3
// for a 3:2 picture would show bars.
bool ThumbnailMatches(const FILEINFO& info, int maxSize) {
    if (!info.hasExifThumbnail || info.storedWidth <= 0 || info.storedHeight <= 0)
        return false;
    const int tw = info.exifThumbnailWidth, th = info.exifThumbnailHeight;
    if (std::max(tw, th) < maxSize)
        return false;
    const double a = static_cast<double>(info.storedWidth) / info.storedHeight;
    const double b = static_cast<double>(tw) / th;
    return std::fabs(a - b) / a < 0.02;
}

int DecodeJpegThumbnail(const Bytes& jpeg, CImageDataInfo& image, int maxSize) {
    int w = 0, h = 0;
    FILEINFO ti;
    if (const int rc = detail::JpegReadInfo(jpeg.data(), jpeg.size(), ti); rc != ERR_OK)
        return rc;
    w = ti.storedWidth;
    h = ti.storedHeight;
    return detail::JpegDecode(jpeg.data(), jpeg.size(), image, ThumbnailScale(w, h, maxSize));
}

// A raw file's largest embedded preview, else a half-size development of the sensor data.
int RawThumbnail(const Bytes& bytes, CImageDataInfo& image, int maxSize, bool fullDecode) {
    if (!fullDecode) {
        Bytes jpeg;
        if (detail::ReadLargestPreview(bytes.data(), bytes.size(), jpeg) &&
            DecodeJpegThumbnail(jpeg, image, maxSize) == ERR_OK)
            return ERR_OK;
        jpeg.clear();
        const int rc = detail::RawReadPreview(bytes.data(), bytes.size(), jpeg, image);
        if (rc == ERR_OK && (jpeg.empty() || DecodeJpegThumbnail(jpeg, image, maxSize) == ERR_OK))
            return ERR_OK;
        if (rc == ERR_TOO_LARGE || rc == ERR_OUT_OF_MEMORY)
            return rc;
    }
    return detail::RawDecode(bytes.data(), bytes.size(), image, detail::RawOutput::Preview);
}

} // namespace

bool IsCameraRawExtension(const std::string& extIn) {
    std::vector<std::string> raw;
    GetImageFileFormatExtensions(raw, FILE_TYPE_CAMERA_RAW);
    std::string ext = extIn;
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    if (!ext.empty() && ext[0] != '.')
        ext.insert(ext.begin(), '.');
    return std::find(raw.begin(), raw.end(), ext) != raw.end();
}

int GetImageFileFormatExtensions(std::vector<std::string>& list, unsigned typeMask) {
    struct Entry {
        unsigned mask;
        const char* ext;
    };
    static const Entry kEntries[] = {
        {FILE_TYPE_BMP, ".bmp"},        {FILE_TYPE_BMP, ".dib"},        {FILE_TYPE_JPEG, ".jpg"},
        {FILE_TYPE_JPEG, ".jpeg"},      {FILE_TYPE_JPEG, ".jpe"},       {FILE_TYPE_JPEG, ".jfif"},
        {FILE_TYPE_PNG, ".png"},        {FILE_TYPE_TIFF, ".tif"},       {FILE_TYPE_TIFF, ".tiff"},
        {FILE_TYPE_WEBP, ".webp"},      {FILE_TYPE_CAMERA_RAW, ".3fr"}, {FILE_TYPE_CAMERA_RAW, ".arw"},
        {FILE_TYPE_CAMERA_RAW, ".cr2"}, {FILE_TYPE_CAMERA_RAW, ".cr3"}, {FILE_TYPE_CAMERA_RAW, ".crw"},
        {FILE_TYPE_CAMERA_RAW, ".dcr"}, {FILE_TYPE_CAMERA_RAW, ".dng"}, {FILE_TYPE_CAMERA_RAW, ".erf"},
        {FILE_TYPE_CAMERA_RAW, ".iiq"}, {FILE_TYPE_CAMERA_RAW, ".kdc"}, {FILE_TYPE_CAMERA_RAW, ".mef"},
        {FILE_TYPE_CAMERA_RAW, ".mos"}, {FILE_TYPE_CAMERA_RAW, ".mrw"}, {FILE_TYPE_CAMERA_RAW, ".nef"},
        {FILE_TYPE_CAMERA_RAW, ".nrw"}, {FILE_TYPE_CAMERA_RAW, ".orf"}, {FILE_TYPE_CAMERA_RAW, ".pef"},
        {FILE_TYPE_CAMERA_RAW, ".raf"}, {FILE_TYPE_CAMERA_RAW, ".raw"}, {FILE_TYPE_CAMERA_RAW, ".rw2"},
        {FILE_TYPE_CAMERA_RAW, ".rwl"}, {FILE_TYPE_CAMERA_RAW, ".sr2"}, {FILE_TYPE_CAMERA_RAW, ".srf"},
        {FILE_TYPE_CAMERA_RAW, ".srw"}, {FILE_TYPE_CAMERA_RAW, ".x3f"}, {FILE_TYPE_CAMERA_RAW, ".ari"},
        {FILE_TYPE_CAMERA_RAW, ".bay"}, {FILE_TYPE_CAMERA_RAW, ".cap"}, {FILE_TYPE_CAMERA_RAW, ".dcs"},
        {FILE_TYPE_CAMERA_RAW, ".fff"}, {FILE_TYPE_CAMERA_RAW, ".gpr"}, {FILE_TYPE_CAMERA_RAW, ".k25"},
        {FILE_TYPE_CAMERA_RAW, ".mdc"}, {FILE_TYPE_CAMERA_RAW, ".mfw"}, {FILE_TYPE_CAMERA_RAW, ".ptx"},
        {FILE_TYPE_CAMERA_RAW, ".rwz"},
    };
    int added = 0;
    for (const Entry& e : kEntries) {
        if (e.mask & typeMask) {
            list.emplace_back(e.ext);
            ++added;
        }
    }
    return added;
}

int GetImageInfoFromMemory(FILEINFO& info, const unsigned char* data, size_t size) {
    ResetInfo(info);
    if (!data || size == 0)
        return ERR_EMPTY_FILE;
    IMAGE_FORMAT format = detail::DetectFormat(data, size);
    // Raw files built on TIFF are told apart by their name, DNG also by its own tag.
    if (format == IMAGE_FORMAT_TIFF && (IsTiffBasedRaw(info.path) || detail::IsDng(data, size)))
        format = IMAGE_FORMAT_CAMERA_RAW;
    if (format == IMAGE_FORMAT_UNKNOWN)
        return ERR_UNSUPPORTED_FORMAT;
    int rc = ERR_OK;
    bool rawOpened = false;
    if (format == IMAGE_FORMAT_CAMERA_RAW) {
        info.format = IMAGE_FORMAT_CAMERA_RAW;
        info.isCameraRaw = 1;
        info.channels = 3;
        info.bitDepth = 16;
        // A raw file the decoder cannot open is still reported as one (loading it is refused); a
        // size beyond the limits is an error now, as for every other format.
        const int rr = detail::RawReadInfo(data, size, info);
        if (rr == ERR_TOO_LARGE || rr == ERR_OUT_OF_MEMORY)
            return rr;
        rawOpened = rr == ERR_OK;
    } else {
        rc = ReadCodecInfo(format, data, size, info);
        if (rc != ERR_OK)
            return rc;
    }
    if (format != IMAGE_FORMAT_BMP) {
        const int orientation = info.orientation;
        detail::ReadMetadataInfo(data, size, info); // metadata is optional: a failure is not an error
        // TIFF files carry the orientation in the image directory; it wins over an XMP copy.
        if (format == IMAGE_FORMAT_TIFF && orientation != 1)
            info.orientation = orientation;
        // The raw decoder knows the orientation of the sensor data, EXIF or not.
        if (rawOpened)
            info.orientation = orientation;
    }
    const bool swap = info.orientation >= 5 && info.orientation <= 8;
    info.width = swap ? info.storedHeight : info.storedWidth;
    info.height = swap ? info.storedWidth : info.storedHeight;
    return rc;
}

int GetImageFileInfo(FILEINFO& info, const std::filesystem::path& path) {
    detail::FileStat st;
    info.path = path;
    if (const int rc = detail::StatFile(path, st); rc != ERR_OK)
        return rc;
    info.fileSize = st.size;
    info.modifyTime = st.modifyTime;
    Bytes bytes;
    if (const int rc = detail::ReadFileBytes(path, bytes, kHeaderPrefix); rc != ERR_OK)
        return rc;
    const IMAGE_FORMAT format = detail::DetectFormat(bytes.data(), bytes.size());
    const bool prefixEnough =
        format == IMAGE_FORMAT_JPEG || format == IMAGE_FORMAT_PNG || format == IMAGE_FORMAT_BMP;
    const bool whole = bytes.size() >= st.size;
    if (prefixEnough || whole) {
        const int rc = GetImageInfoFromMemory(info, bytes.data(), bytes.size());
        if (rc == ERR_OK || whole)
            return rc;
    }
    if (const int rc = detail::ReadFileBytes(path, bytes); rc != ERR_OK)
        return rc;
    return GetImageInfoFromMemory(info, bytes.data(), bytes.size());
}

int GetCapTimeFromFileInfo(const FILEINFO& info, METADATA_CAPTIME& capTime) {
    if (detail::ParseExifDateTime(info.dateTimeOriginal, capTime))
        return 1;
    if (detail::ParseExifDateTime(info.dateTimeDigitized, capTime))
        return 1;
    if (info.modifyTime <= 0)
        return 0;
    std::tm tm{};
    const std::time_t t = info.modifyTime;
    if (!localtime_r(&t, &tm))
        return 0;
    return MakeCapTime(capTime, tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min,
                       tm.tm_sec);
}

namespace {

// The shared load: a raw file is developed, or with `keepRaw`, delivered as linear camera data
// with its conversion record.
int LoadMemory(FILEINFO& info, CImageDataInfo& image, const unsigned char* data, size_t size, RGB_ORDER order,
               CImageDataInfo* alpha, bool keepRaw) {
    if (const int rc = GetImageInfoFromMemory(info, data, size); rc != ERR_OK)
        return rc;
    if (info.isCameraRaw) {
        ImageProcess::RAW_CONVERSION raw;
        const detail::RawOutput output = keepRaw ? detail::RawOutput::Linear : detail::RawOutput::Developed;
        if (const int rc = detail::RawDecode(data, size, image, output, keepRaw ? &raw : nullptr);
            rc != ERR_OK)
            return rc;
        if (const int rc = FinishLoad(info, image, order, alpha); rc != ERR_OK)
            return rc;
        raw.redFirst = order == RGB_ORDER_RGB;
        if (keepRaw)
            info.rawConversion = raw;
        return ERR_OK;
    }
    if (const int rc = DecodeStored(info.format, data, size, image); rc != ERR_OK)
        return rc;
    return FinishLoad(info, image, order, alpha);
}

int LoadPath(FILEINFO& info, CImageDataInfo& image, const std::filesystem::path& path, RGB_ORDER order,
             CImageDataInfo* alpha, bool keepRaw) {
    info.path = path;
    detail::FileStat st;
    if (const int rc = detail::StatFile(path, st); rc != ERR_OK)
        return rc;
    info.fileSize = st.size;
    info.modifyTime = st.modifyTime;
    Bytes bytes;
    if (const int rc = detail::ReadFileBytes(path, bytes); rc != ERR_OK)
        return rc;
    return LoadMemory(info, image, bytes.data(), bytes.size(), order, alpha, keepRaw);
}

} // namespace

int LoadFromMemory(FILEINFO& info, CImageDataInfo& image, const unsigned char* data, size_t size,
                   RGB_ORDER order, CImageDataInfo* alpha) {
    return LoadMemory(info, image, data, size, order, alpha, false);
}

int LoadFile(FILEINFO& info, CImageDataInfo& image, const std::filesystem::path& path, RGB_ORDER order,
             CImageDataInfo* alpha) {
    return LoadPath(info, image, path, order, alpha, false);
}

int LoadFileX(FILEINFO& info, CImageDataInfo& image, const std::filesystem::path& path, RGB_ORDER order,
              CImageDataInfo* alpha) {
    return LoadPath(info, image, path, order, alpha, true);
}

int LoadFileThumbnail(FILEINFO& info, CImageDataInfo& image, const std::filesystem::path& path,
                      RGB_ORDER order, int maxSize, bool fullDecode) {
    if (maxSize < 1)
        return ERR_INVALID_ARGUMENT;
    info.path = path;
    detail::FileStat st;
    if (const int rc = detail::StatFile(path, st); rc != ERR_OK)
        return rc;
    info.fileSize = st.size;
    info.modifyTime = st.modifyTime;
    Bytes bytes;
    if (const int rc = detail::ReadFileBytes(path, bytes, kHeaderPrefix); rc != ERR_OK)
        return rc;
    const bool whole = bytes.size() >= st.size;
    int rc = GetImageInfoFromMemory(info, bytes.data(), bytes.size());
    if (rc != ERR_OK && !whole) {
        if (const int rr = detail::ReadFileBytes(path, bytes); rr != ERR_OK)
            return rr;
        rc = GetImageInfoFromMemory(info, bytes.data(), bytes.size());
    }
    if (rc != ERR_OK)
        return rc;
    bool done = false;
    // The embedded thumbnail lies in the header block that was read already.
    if (!fullDecode && ThumbnailMatches(info, maxSize)) {
        Bytes thumb;
        if (detail::ReadExifThumbnail(bytes.data(), bytes.size(), thumb) &&
            DecodeJpegThumbnail(thumb, image, maxSize) == ERR_OK)
            done = true;
    }
    if (!done && bytes.size() < st.size) {
        if (const int rr = detail::ReadFileBytes(path, bytes); rr != ERR_OK)
            return rr;
    }
    if (!done && info.isCameraRaw) {
        if (const int rr = RawThumbnail(bytes, image, maxSize, fullDecode); rr != ERR_OK)
            return rr;
        done = true;
    }
    if (!done && info.format == IMAGE_FORMAT_JPEG) {
        const int denom = ThumbnailScale(info.storedWidth, info.storedHeight, maxSize);
        if (const int rr = detail::JpegDecode(bytes.data(), bytes.size(), image, denom); rr != ERR_OK)
            return rr;
        done = true;
    }
    if (!done) {
        if (const int rr = DecodeStored(info.format, bytes.data(), bytes.size(), image); rr != ERR_OK)
            return rr;
    }
    if (const int rr = ReduceForThumbnail(image, maxSize); rr != ERR_OK)
        return rr;
    if (const int rr = detail::ApplyOrientation(image, info.orientation); rr != ERR_OK)
        return rr;
    if (order == RGB_ORDER_RGB)
        detail::SwapRedBlue(image);
    return ERR_OK;
}

int ReadFileMetadata(const std::filesystem::path& path, FILEMETADATA& metadata) {
    Bytes bytes;
    if (const int rc = detail::ReadFileBytes(path, bytes); rc != ERR_OK)
        return rc;
    return detail::ReadMetadataBlocks(bytes.data(), bytes.size(), metadata);
}

} // namespace ImageFile
