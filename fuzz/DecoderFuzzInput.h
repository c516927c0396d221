#pragma once
// The input side shared by the decoder fuzz targets. The first byte chooses: odd, the input is the file;
// even, a small valid file is encoded from the input and then damaged at positions the input names, so
// that the decoder sees streams close to real ones.
#include "imagefile/Codecs.h"
#include "imagefile/ImageFile.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kel_fuzz {

inline ImageFile::detail::Bytes Synthesise(const uint8_t* data, size_t size, const ImageFile::GUID& format) {
    ImageFile::detail::Bytes file;
    if (size < 7)
        return file;
    const int w = 1 + data[1] % 48, h = 1 + data[2] % 48;
    const int channels = (data[3] % 3 == 0) ? 1 : (data[3] % 3 == 1 ? 3 : 4);
    const int depth = 1 + data[3] / 128;
    CImageDataInfo img;
    if (!img.Create(w, h, channels, depth))
        return file;
    for (size_t i = 0; i < img.data.byte_size(); ++i)
        img.data.data()[i] = data[6 + i % (size - 6)];
    ImageFile::SAVEFILE_OPTIONS o;
    o.format = format;
    o.bit16 = depth == 2;
    o.quality = 1 + data[4] % 100;
    o.subsampling = data[4] % 3;
    o.compression = data[5] % 3;
    o.lossless = (data[5] & 4) != 0;
    o.embedProfile = (data[5] & 8) != 0;
    if (ImageFile::EncodeImage(img, o, file) != 0)
        return {};
    // Damage: pairs of (position, xor value) from the rest of the input.
    for (size_t i = 6; i + 2 < size && !file.empty(); i += 3) {
        const size_t at = ((static_cast<size_t>(data[i]) << 8) | data[i + 1]) % file.size();
        file[at] ^= data[i + 2];
    }
    // And a cut, when asked.
    if (data[2] & 0x80)
        file.resize(file.size() * (1 + data[1] % 7) / 8);
    return file;
}

// The input to decode: the fuzzer's bytes themselves (first byte odd) or a damaged file synthesised
// from them in `format` (first byte even). Empty when there is nothing to decode.
inline ImageFile::detail::Bytes DecoderInput(const uint8_t* data, size_t size,
                                             const ImageFile::GUID& format) {
    if (size > 0 && (data[0] & 1) == 0)
        return Synthesise(data, size, format);
    return ImageFile::detail::Bytes(data, data + size);
}

} // namespace kel_fuzz
