// Feeds damaged camera raw files to the raw reader (DNG test, header, linear and developed decode,
// preview) and to the whole load path.
// First byte odd: the input is the file. Even: a small DNG (Bayer mosaic plus preview) is damaged at
// the positions the input names and cut when it asks, so that LibRaw sees files close to real ones.
#include "fuzz/DecoderFuzzInput.h"
#include "imagefile/tests/DngWriter.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace {

const ImageFile::detail::Bytes& SampleDng() {
    static const ImageFile::detail::Bytes bytes = [] {
        iftest::DngScene scene;
        scene.width = 48;
        scene.height = 32;
        scene.previewWidth = 24;
        scene.previewHeight = 16;
        const std::string path = "/tmp/kel_fuzz_raw_" + std::to_string(::getpid()) + ".dng";
        ImageFile::detail::Bytes out;
        if (iftest::WriteDng(path, scene)) {
            std::ifstream in(path, std::ios::binary);
            out.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        }
        std::remove(path.c_str());
        return out;
    }();
    return bytes;
}

ImageFile::detail::Bytes Input(const uint8_t* data, size_t size) {
    if (size == 0 || (data[0] & 1) != 0)
        return ImageFile::detail::Bytes(data, data + size);
    ImageFile::detail::Bytes file = SampleDng();
    for (size_t i = 1; i + 2 < size && !file.empty(); i += 3) {
        const size_t at = ((static_cast<size_t>(data[i]) << 8) | data[i + 1]) % file.size();
        file[at] ^= data[i + 2];
    }
    if (size > 1 && (data[1] & 0x80))
        file.resize(file.size() * (1 + data[1] % 7) / 8);
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ImageFile::detail::Bytes input = Input(data, size);
    if (input.empty())
        return 0;
    const unsigned char* d = input.data();
    const size_t n = input.size();
    ImageFile::detail::IsDng(d, n);
    ImageFile::FILEINFO info;
    if (ImageFile::detail::RawReadInfo(d, n, info) != 0)
        return 0;
    // Sizes within the library's limits may still need gigabytes to demosaic; the fuzzer's memory
    // limit is far lower.
    if (static_cast<long long>(info.storedWidth) * info.storedHeight > 4LL * 1000 * 1000)
        return 0;
    // A full decode demosaics, which costs far more than the rest: one path per input, chosen by the
    // second and third bits of the first byte, keeps the fuzzer moving.
    CImageDataInfo image;
    switch ((data[0] >> 1) & 3) {
    case 0: {
        ImageProcess::RAW_CONVERSION raw;
        ImageFile::detail::RawDecode(d, n, image, ImageFile::detail::RawOutput::Linear, &raw);
        break;
    }
    case 1:
        ImageFile::LoadFromMemory(info, image, d, n); // a DNG is known by its content without a name
        break;
    default:
        ImageFile::detail::RawDecode(d, n, image, ImageFile::detail::RawOutput::Preview);
        break;
    }
    ImageFile::detail::Bytes jpeg;
    CImageDataInfo preview;
    ImageFile::detail::RawReadPreview(d, n, jpeg, preview);
    return 0;
}
