#pragma once
// The save options every product keeps in its settings: format, quality, compression, colour space,
// bit depth, file name prefix and suffix, and which metadata to drop. Written as child elements of a
// given element: "save_format", "save_quality", "save_compression", "save_color_space",
// "save_bit_depth", "save_filename_prefix", "save_filename_suffix", "save_remove_metadata",
// "save_remove_all_metadata".
#include "common/UniqueID.h"

#include <string>

class TiXmlElement;

namespace KELCTRL {

// Container formats, by their published identifiers.
const UniqueID& FileFormatBmp();
const UniqueID& FileFormatPng();
const UniqueID& FileFormatJpeg();
const UniqueID& FileFormatTiff();

// The stored part of the file library's save options, with the prefix and suffix of the save dialog.
// The colour space is kept by profile name; the caller looks the profile up.
struct SAVEOPTIONS_SETTINGS {
    UniqueID format = FileFormatJpeg();
    int is16Bit = 0;
    unsigned quality = 90;
    unsigned compression = 2; // 0 none, 1 LZW, 2 ZIP
    std::string colorSpace;
    std::string filenamePrefix;
    std::string filenameSuffix;
    unsigned removeMetadata = 0; // mask of metadata categories to drop
    int removeAllMetadata = 0;
};

// Appends the nine values to parent. An unknown format is written as "jpeg".
void SaveOptionsToXml(TiXmlElement* parent, const SAVEOPTIONS_SETTINGS& options);
// Reads the values present under element; absent or unrecognised values keep what options held.
// A null element returns 0.
int SaveOptionsFromXml(SAVEOPTIONS_SETTINGS& options, const TiXmlElement* element);

// "jpeg", "tiff", "png" or "bmp"; "jpeg" for any other identifier.
const char* FileFormatWord(const UniqueID& format);
// The identifier of one of those words (case-insensitive); false for any other text.
bool FileFormatFromWord(const char* word, UniqueID& format);

} // namespace KELCTRL
