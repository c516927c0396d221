// Feeds arbitrary bytes to the jpeg reader: header, full decode, DCT-scaled decode and lossless transform.
#include "imagefile/Codecs.h"
#include "imagefile/ImageFile.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ImageFile::FILEINFO info;
    ImageFile::detail::JpegReadInfo(data, size, info);
    CImageDataInfo image;
    ImageFile::detail::JpegDecode(data, size, image, 1);
    ImageFile::detail::JpegDecode(data, size, image, 8);
    ImageFile::detail::Bytes out;
    ImageFile::detail::JpegTransform(data, size, 3, true, out);
    // The whole load path: format detection, metadata, orientation.
    ImageFile::LoadFromMemory(info, image, data, size);
    return 0;
}
