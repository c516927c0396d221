// Feeds arbitrary bytes to the metadata reader (EXIF, IPTC, XMP, embedded previews) and to the XML
// form of metadata modifications.
#include "imagefile/ImageFile.h"
#include "imagefile/Metadata.h"

#include <tinyxml.h>

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ImageFile::FILEINFO info;
    ImageFile::detail::ReadMetadataInfo(data, size, info);
    ImageFile::detail::Bytes thumb;
    ImageFile::detail::ReadExifThumbnail(data, size, thumb);
    ImageFile::FILEMETADATA blocks;
    ImageFile::detail::ReadMetadataBlocks(data, size, blocks);
    ImageFile::METADATA_CAPTIME t;
    ImageFile::detail::ParseExifDateTime(std::string(reinterpret_cast<const char*>(data), size), t);
    TiXmlDocument doc;
    doc.Parse(std::string(reinterpret_cast<const char*>(data), size).c_str());
    ImageFile::MetadataModifications mods;
    ImageFile::MetadataModsFromXml(mods, doc.RootElement());
    return 0;
}
