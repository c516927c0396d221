#pragma once
// Records shared between the file library and its callers: file information, capture time, save
// options, carried metadata, format identifiers and the constants the batch starts from.
#include "imageprocess/ColorProfile.h"
#include "imageprocess/RawConvert.h"

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

namespace ImageFile {

// Order of the colour channels in loaded 8- and 16-bit images. BGR is the library's own layout.
enum RGB_ORDER : int {
    RGB_ORDER_RGB = 0,
    RGB_ORDER_BGR = 1,
};

enum IMAGE_FORMAT : int {
    IMAGE_FORMAT_UNKNOWN = 0,
    IMAGE_FORMAT_JPEG = 1,
    IMAGE_FORMAT_PNG = 2,
    IMAGE_FORMAT_TIFF = 3,
    IMAGE_FORMAT_BMP = 4,
    IMAGE_FORMAT_WEBP = 5,
    IMAGE_FORMAT_CAMERA_RAW = 6,
};

// Bits of the type masks of GetImageFileFormatExtensions (the batch's file types are bit n - 1).
enum FILE_TYPE_MASK : unsigned {
    FILE_TYPE_BMP = 1,
    FILE_TYPE_JPEG = 2,
    FILE_TYPE_PNG = 4,
    FILE_TYPE_TIFF = 8,
    FILE_TYPE_CAMERA_RAW = 16,
    FILE_TYPE_WEBP = 32,
    FILE_TYPE_ALL = 255,
};

// Length units of a resolution, with the values the callers store.
enum UNIT_LENGTH : int {
    UNIT_CENTIMETER = 4,
    UNIT_INCH = 8,
};

// Metadata categories, bits of the "removed" masks of SAVEFILE_OPTIONS and ModifyFileMetadata.
enum METADATA_CATEGORY : unsigned {
    METADATA_CATEGORY_NONE = 0,
    METADATA_CATEGORY_CAMERA = 1,    // make, model, lens, exposure settings, maker notes, serials
    METADATA_CATEGORY_COPYRIGHT = 2, // creator, copyright, rights
    METADATA_CATEGORY_LOCATION = 4,  // GPS and the named location fields
    METADATA_CATEGORY_ALL = 0xFFFFFFFFu,
};

// A container format identifier, stored as the published 128-bit values.
struct GUID {
    uint32_t data1 = 0;
    uint16_t data2 = 0;
    uint16_t data3 = 0;
    uint8_t data4[8] = {};
    bool operator==(const GUID&) const = default;
};

inline constexpr GUID CONTAINER_FORMAT_BMP{
    0x0af1d87e, 0xfcfe, 0x4188, {0xbd, 0xeb, 0xa7, 0x90, 0x64, 0x71, 0xcb, 0xe3}};
inline constexpr GUID CONTAINER_FORMAT_PNG{
    0x1b7cfaf4, 0x713f, 0x473c, {0xbb, 0xcd, 0x61, 0x37, 0x42, 0x5e, 0xae, 0xaf}};
inline constexpr GUID CONTAINER_FORMAT_JPEG{
    0x19e4a5aa, 0x5662, 0x4fc5, {0xa0, 0xc0, 0x17, 0x58, 0x02, 0x8e, 0x10, 0x57}};
inline constexpr GUID CONTAINER_FORMAT_TIFF{
    0x163bcc30, 0xe2e9, 0x4f0b, {0x96, 0x1d, 0xa3, 0xe9, 0xfd, 0xb7, 0x88, 0xa3}};
inline constexpr GUID CONTAINER_FORMAT_WEBP{
    0xe094b0e2, 0x67f2, 0x45b3, {0xb0, 0xea, 0x11, 0x53, 0x37, 0xca, 0x7c, 0xf3}};

inline constexpr GUID DEFAULT_FILE_FORMAT = CONTAINER_FORMAT_JPEG;
inline constexpr unsigned DEFAULT_JPEG_QUALITY = 90;
inline constexpr double DEFAULT_DPI = 72.0;

// Largest image a decoder accepts: a side above 30,000 pixels or more than 500 megapixels is refused
// before any allocation.
inline constexpr int MAX_IMAGE_SIDE = 30000;
inline constexpr int64_t MAX_IMAGE_PIXELS = 500LL * 1000 * 1000;

// Capture time in local calendar terms. `value` orders times: seconds since 0001-01-01 00:00:00.
struct METADATA_CAPTIME {
    int year = 0;
    int month = 0;     // 1..12
    int dayOfWeek = 0; // 0 Sunday .. 6 Saturday
    int day = 0;       // 1..31
    int hour = 0;
    int minute = 0;
    int second = 0;
    uint64_t value = 0;
};

// What GetImageFileInfo learns from the headers and metadata, without decoding pixels.
struct FILEINFO {
    std::filesystem::path path;
    IMAGE_FORMAT format = IMAGE_FORMAT_UNKNOWN;
    int width = 0; // upright size: as LoadFile delivers the image, orientation applied
    int height = 0;
    int storedWidth = 0; // size as stored in the file
    int storedHeight = 0;
    int channels = 0; // 1, 3 or 4 as LoadFile delivers them with no alpha side image
    int bitDepth = 0; // bits per channel as stored (1, 2, 4, 8 or 16)
    int hasAlpha = 0;
    int orientation = 1;   // EXIF orientation 1..8
    double resolution = 0; // pixels per unit, 0 when the file says nothing
    UNIT_LENGTH resolutionUnit = UNIT_INCH;
    std::vector<unsigned char> iccProfile; // the embedded ICC profile, empty when none
    int isCameraRaw = 0;
    int hasExifThumbnail = 0;
    int exifThumbnailWidth = 0;
    int exifThumbnailHeight = 0;
    std::string dateTimeOriginal; // EXIF texts "YYYY:MM:DD HH:MM:SS", empty when absent
    std::string dateTimeDigitized;
    std::time_t modifyTime = 0; // last write of the file
    uint64_t fileSize = 0;
    std::string cameraMake;
    std::string cameraModel;
    // Filled by LoadFileX for a camera raw file: what turning its linear camera pixels into the
    // working colour space needs (ImageProcess::ConvertCameraRawToWorkingProfile16Bit). Not valid
    // otherwise.
    ImageProcess::RAW_CONVERSION rawConversion;
};

// Metadata to write with a saved image: the serialised blocks of a file (see ReadFileMetadata).
struct FILEMETADATA {
    std::vector<unsigned char> exif; // TIFF-structured EXIF block
    std::vector<unsigned char> iptc; // IIM records
    std::string xmp;                 // XMP packet
    bool IsEmpty() const { return exif.empty() && iptc.empty() && xmp.empty(); }
};

// How SaveFile writes. The first fields are those the batch fills, in its order.
struct SAVEFILE_OPTIONS {
    GUID format = DEFAULT_FILE_FORMAT;
    bool bit16 = false;                      // PNG and TIFF keep 16 bits when the image has them
    unsigned quality = DEFAULT_JPEG_QUALITY; // JPEG and lossy WebP, 1..100
    unsigned compression = 2;                // TIFF: 0 none, 1 LZW, 2 ZIP (Deflate)
    double resolution = DEFAULT_DPI;
    UNIT_LENGTH resolutionUnit = UNIT_INCH;
    unsigned removedCategories = METADATA_CATEGORY_NONE;
    bool removeAllMetadata = false;
    bool embedProfile = true;       // embed the colour space as an ICC profile
    bool keepSourceMetadata = true; // carry the metadata of the source file over
    // The colour space the pixels are in, embedded when embedProfile is set; null means sRGB.
    const ImageProcess::ColorProfile::Profile* profile = nullptr;
    // 0 = 4:4:4, 1 = 4:2:2, 2 = 4:2:0 (JPEG).
    unsigned subsampling = 2;
    bool lossless = false; // WebP: lossless instead of lossy
};

} // namespace ImageFile
