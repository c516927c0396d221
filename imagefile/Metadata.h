#pragma once
// Internal: EXIF, IPTC and XMP through Exiv2, on files held in memory. No Exiv2 type appears here;
// every function contains the library's exceptions and returns 0 or an error code.
#include "imagefile/Codecs.h"
#include "imagefile/ImageFileTypes.h"
#include "imagefile/MetadataModifications.h"

namespace ImageFile::detail {

// Sets up the metadata library once (thread-safe XMP, quiet log).
void InitMetadataLibrary();

// Orientation, dates, camera make and model, EXIF thumbnail presence and size. Missing metadata is
// not an error; ERR_METADATA only when the container cannot be parsed at all.
int ReadMetadataInfo(const unsigned char* data, size_t size, FILEINFO& info);
// The EXIF thumbnail (a JPEG stream); false when there is none.
bool ReadExifThumbnail(const unsigned char* data, size_t size, Bytes& jpeg);
// The largest embedded JPEG preview (camera raw files); false when there is none.
bool ReadLargestPreview(const unsigned char* data, size_t size, Bytes& jpeg);
int ReadMetadataBlocks(const unsigned char* data, size_t size, FILEMETADATA& metadata);

// Where the metadata of a saved file comes from.
struct MetadataSource {
    const FILEMETADATA* blocks = nullptr; // used when it holds anything
    const Bytes* sourceFile = nullptr;    // otherwise the metadata of this file
};

// Puts metadata into an encoded image (JPEG, PNG, TIFF, WebP): orientation 1, no EXIF thumbnail,
// pixel dimensions of `width` x `height`, minus the removed categories.
int WriteSavedMetadata(Bytes& encoded, const MetadataSource& source, unsigned removedCategories, int width,
                       int height);
// After a lossless transform: orientation 1, thumbnail replaced by `thumbnail` (or removed when empty),
// dimensions swapped when `swapped`.
int ResetOrientation(Bytes& file, const Bytes& thumbnail, bool swapped);
// Applies modifications and removals to a file in memory.
int ApplyModifications(Bytes& file, const FILEINFO& info, const MetadataModifications& mods,
                       unsigned removedCategories, bool refreshDerived);

// "YYYY:MM:DD HH:MM:SS" (also with '-' or 'T'); false when malformed or impossible.
bool ParseExifDateTime(const std::string& text, METADATA_CAPTIME& t);

} // namespace ImageFile::detail
