#pragma once
// The file library: load, save, thumbnails, file information, lossless transforms, metadata and
// capture time. Every function returns 0 on success or an ERROR_CODE, unless its comment says
// otherwise, and never throws. Reading decides the format by content, not by the file name.
#include "common/CImageDataInfo.h"
#include "imagefile/ErrorCodes.h"
#include "imagefile/ImageFileTypes.h"
#include "imagefile/MetadataModifications.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

class TiXmlElement;

namespace ImageFile {

using ProgressFunc = void (*)(int done, int total);

// Sets up the codecs and the metadata library once per process; the temporary folder is where
// work files may go. Returns 1, or 0 when already initialised with other arguments.
int Initialize(const char* appNameEdition, const std::filesystem::path& tempFolder);
void Uninitialize();
int IsInitialized();

// Lower-case extensions with the point (".jpg") of the types in `typeMask` (FILE_TYPE_MASK bits).
// Returns the count appended.
int GetImageFileFormatExtensions(std::vector<std::string>& list, unsigned typeMask);
// True when the extension (with or without the point, any case) is a camera raw one.
bool IsCameraRawExtension(const std::string& ext);

// Header and metadata of a file, no pixels decoded.
int GetImageFileInfo(FILEINFO& info, const std::filesystem::path& path);
int GetImageInfoFromMemory(FILEINFO& info, const unsigned char* data, size_t size);
// Capture time: EXIF DateTimeOriginal, then DateTimeDigitized, then the file's modification time.
// Returns 1, or 0 when none of them gives a valid time.
int GetCapTimeFromFileInfo(const FILEINFO& info, METADATA_CAPTIME& capTime);

// Decodes the whole image, upright (EXIF orientation applied), in the layout of CImageDataInfo:
// B, G, R (, A); 16-bit files stay 16-bit. With `alpha` given, the colour channels go to `image`
// and the alpha channel to `alpha` (released when the file has none); without it a file with alpha
// loads as 4 channels. `info` is filled as GetImageFileInfo does.
int LoadFile(FILEINFO& info, CImageDataInfo& image, const std::filesystem::path& path,
             RGB_ORDER order = RGB_ORDER_BGR, CImageDataInfo* alpha = nullptr);
// A camera raw file is developed with the camera's white balance into 16-bit sRGB; one the raw
// decoder cannot open gives ERR_CAMERA_RAW.
//
// LoadFileX is LoadFile, except that a camera raw file arrives undeveloped: linear camera RGB, 16
// bit, black subtracted and scaled to the sensor's white, no white balance, oriented and in the
// requested channel order, with what developing it needs in info.rawConversion (see
// ImageProcess::ConvertCameraRawToWorkingProfile16Bit).
int LoadFileX(FILEINFO& info, CImageDataInfo& image, const std::filesystem::path& path,
              RGB_ORDER order = RGB_ORDER_BGR, CImageDataInfo* alpha = nullptr);
int LoadFromMemory(FILEINFO& info, CImageDataInfo& image, const unsigned char* data, size_t size,
                   RGB_ORDER order = RGB_ORDER_BGR, CImageDataInfo* alpha = nullptr);

// A thumbnail that fits in maxSize x maxSize (aspect kept, upright, 8-bit, 3 or 1 channels): the
// EXIF thumbnail when its longer side reaches maxSize, else a DCT-scaled JPEG decode, else a full
// decode, reduced by area averaging. With `fullDecode` the embedded thumbnail is never used. A camera
// raw file gives its largest embedded preview, or without one a half-size development.
int LoadFileThumbnail(FILEINFO& info, CImageDataInfo& image, const std::filesystem::path& path,
                      RGB_ORDER order, int maxSize, bool fullDecode = false);

// Reads the EXIF, IPTC and XMP blocks of a file for a later SaveFile.
int ReadFileMetadata(const std::filesystem::path& path, FILEMETADATA& metadata);

// Encodes `image` in the format of the options and replaces `path` atomically. Metadata comes from
// `metadata` when it holds any, else from `source` (when given and options.keepSourceMetadata),
// minus the removed categories; the orientation is written as 1 and the EXIF thumbnail dropped.
int SaveFile(const CImageDataInfo& image, const FILEMETADATA& metadata, const SAVEFILE_OPTIONS& options,
             const std::filesystem::path& path, const std::filesystem::path& source = {});
// A plain PNG of `image` (16 bit kept, no metadata, no profile), replacing `path` atomically.
int SaveToPNGFile(const CImageDataInfo& image, const std::filesystem::path& path);
// The encoding step alone, into memory (no metadata besides the profile and resolution).
int EncodeImage(const CImageDataInfo& image, const SAVEFILE_OPTIONS& options,
                std::vector<unsigned char>& out);

// Lossless transform in place, modes 0 none, 1 flip horizontal, 2 rotate 90 counter-clockwise,
// 3 rotate 90 clockwise, 4 rotate 180, 5 flip vertical, 6 transpose, 7 transverse. JPEG keeps its
// DCT data and markers and gets orientation 1; one whose size is not a multiple of the MCU is refused
// with ERR_NOT_MCU_ALIGNED unless `trim`. PNG, TIFF and lossless WebP are re-encoded losslessly.
int LosslessTransform(const std::filesystem::path& path, int mode, ProgressFunc callback = nullptr,
                      bool trim = false);

// Rewrites the metadata of info.path: applies `mods`, removes the categories in `removedCategories`
// (METADATA_CATEGORY_ALL strips everything first). With `refreshDerived`, the EXIF thumbnail is
// dropped and the pixel dimension tags are set from the file. Written to a copy that must re-open
// cleanly before it replaces the file; pixel data is never touched.
int ModifyFileMetadata(const FILEINFO& info, const MetadataModifications& mods, unsigned removedCategories,
                       bool refreshDerived, ProgressFunc callback = nullptr);

// The XML form of modifications: one child element per active entry.
int MetadataModsToXml(const MetadataModifications& mods, TiXmlElement* element);
int MetadataModsFromXml(MetadataModifications& mods, const TiXmlElement* element);

// Values used before, per text position, newest first (at most 20 each). `moveToFront` moves a
// value already in the history to the front; otherwise it keeps its place.
void AddMetadataModsToHistory(const MetadataModifications& mods, bool moveToFront);
std::vector<std::string> GetMetadataHistory(int position);
void ClearMetadataHistory();

} // namespace ImageFile
