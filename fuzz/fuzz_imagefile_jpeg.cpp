// Feeds damaged jpeg streams to the reader (header, full and DCT-scaled decode, lossless transform) and to
// the whole load path.
#include "fuzz/DecoderFuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ImageFile::detail::Bytes input =
        kel_fuzz::DecoderInput(data, size, ImageFile::CONTAINER_FORMAT_JPEG);
    if (input.empty())
        return 0;
    const unsigned char* d = input.data();
    const size_t n = input.size();
    ImageFile::FILEINFO info;
    ImageFile::detail::JpegReadInfo(d, n, info);
    CImageDataInfo image;
    ImageFile::detail::JpegDecode(d, n, image, 1);
    ImageFile::detail::JpegDecode(d, n, image, 8);
    ImageFile::detail::Bytes out;
    ImageFile::detail::JpegTransform(d, n, 3, true, out);
    ImageFile::LoadFromMemory(info, image, d, n);
    return 0;
}
