#pragma once
// Internal: the per-format readers and writers. Each works on bytes in memory, returns 0 or an
// ERROR_CODE, contains its codec's errors (no longjmp or exception leaves these functions) and checks
// the image size before it allocates. Decoded images are B, G, R (, A) or grey, 8 or 16 bit, as
// stored (no orientation applied).
#include "common/CImageDataInfo.h"
#include "imagefile/ImageFileTypes.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ImageFile::detail {

using Bytes = std::vector<unsigned char>;

// ERR_TOO_LARGE above the size limits, ERR_CORRUPT_DATA for an empty size.
int CheckImageSize(long long width, long long height);
// The format by the first bytes; IMAGE_FORMAT_UNKNOWN when no reader knows them.
IMAGE_FORMAT DetectFormat(const unsigned char* data, size_t size);
// Camera raw containers that do not start like TIFF (by signature only).
bool LooksLikeCameraRaw(const unsigned char* data, size_t size);
// A classic TIFF whose first directory carries the DNG version tag.
bool IsDng(const unsigned char* data, size_t size);

// Header information: format, stored size, channels, bit depth, alpha, resolution, ICC profile.
int JpegReadInfo(const unsigned char* data, size_t size, FILEINFO& info);
int PngReadInfo(const unsigned char* data, size_t size, FILEINFO& info);
int TiffReadInfo(const unsigned char* data, size_t size, FILEINFO& info);
int BmpReadInfo(const unsigned char* data, size_t size, FILEINFO& info);
int WebpReadInfo(const unsigned char* data, size_t size, FILEINFO& info);

// `scaleDenom` 1, 2, 4 or 8: DCT-domain reduction while decoding.
int JpegDecode(const unsigned char* data, size_t size, CImageDataInfo& image, int scaleDenom = 1);
int PngDecode(const unsigned char* data, size_t size, CImageDataInfo& image);
int TiffDecode(const unsigned char* data, size_t size, CImageDataInfo& image);
int BmpDecode(const unsigned char* data, size_t size, CImageDataInfo& image);
int WebpDecode(const unsigned char* data, size_t size, CImageDataInfo& image);
// True for a lossless (VP8L) WebP stream.
bool WebpIsLossless(const unsigned char* data, size_t size);

// Camera raw through LibRaw. ERR_CAMERA_RAW when LibRaw cannot open the data. Info fills the stored
// size, the orientation, make and model.
int RawReadInfo(const unsigned char* data, size_t size, FILEINFO& info);
enum class RawOutput {
    Developed, // camera white balance, sRGB, 16 bit
    Preview,   // as Developed at half size, for thumbnails of files without a preview
    Linear,    // camera RGB as described by ImageProcess::RAW_CONVERSION, which `raw` receives
};
// B, G, R, 16 bit, as stored (no orientation applied).
int RawDecode(const unsigned char* data, size_t size, CImageDataInfo& image, RawOutput output,
              ImageProcess::RAW_CONVERSION* raw = nullptr);
// The largest embedded preview: its JPEG stream in `jpeg`, or, for an uncompressed one, its pixels in
// `bitmap` (8 bit, B, G, R). ERR_CAMERA_RAW when there is none.
int RawReadPreview(const unsigned char* data, size_t size, Bytes& jpeg, CImageDataInfo& bitmap);

// `icc` empty: no profile embedded. Images of 16 bits are reduced where the format needs 8.
int JpegEncode(const CImageDataInfo& image, const SAVEFILE_OPTIONS& options, const Bytes& icc, Bytes& out);
int PngEncode(const CImageDataInfo& image, const SAVEFILE_OPTIONS& options, const Bytes& icc, Bytes& out);
int TiffEncode(const CImageDataInfo& image, const SAVEFILE_OPTIONS& options, const Bytes& icc, Bytes& out);
int BmpEncode(const CImageDataInfo& image, const SAVEFILE_OPTIONS& options, Bytes& out);
int WebpEncode(const CImageDataInfo& image, const SAVEFILE_OPTIONS& options, const Bytes& icc, Bytes& out);

// Lossless JPEG transform of the DCT data (markers kept). Mode as LosslessTransform.
int JpegTransform(const unsigned char* data, size_t size, int mode, bool trim, Bytes& out);

// Pixels per inch from a value and a unit; the unit of the result is kept in `unit`.
void SetResolution(FILEINFO& info, double perUnit, UNIT_LENGTH unit);

} // namespace ImageFile::detail
