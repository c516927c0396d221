// Feeds damaged tiff streams to the reader (header and decode) and to the whole load path.
#include "fuzz/DecoderFuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ImageFile::detail::Bytes input =
        kel_fuzz::DecoderInput(data, size, ImageFile::CONTAINER_FORMAT_TIFF);
    if (input.empty())
        return 0;
    const unsigned char* d = input.data();
    const size_t n = input.size();
    ImageFile::FILEINFO info;
    ImageFile::detail::TiffReadInfo(d, n, info);
    CImageDataInfo image;
    ImageFile::detail::TiffDecode(d, n, image);
    ImageFile::LoadFromMemory(info, image, d, n);
    return 0;
}
