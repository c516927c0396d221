// Feeds arbitrary bytes to the bmp reader: header, full decode.
#include "imagefile/Codecs.h"
#include "imagefile/ImageFile.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ImageFile::FILEINFO info;
    ImageFile::detail::BmpReadInfo(data, size, info);
    CImageDataInfo image;
    ImageFile::detail::BmpDecode(data, size, image);

    // The whole load path: format detection, metadata, orientation.
    ImageFile::LoadFromMemory(info, image, data, size);
    return 0;
}
