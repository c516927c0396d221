// WebP through libwebp: lossy and lossless still images, with the ICC profile in its own chunk.
#include "imagefile/Codecs.h"
#include "imagefile/ErrorCodes.h"
#include "imagefile/PixelConvert.h"

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <cstring>

namespace ImageFile::detail {

namespace {

Bytes ReadIcc(const unsigned char* data, size_t size) {
    Bytes icc;
    WebPData wd{data, size};
    WebPDemuxer* demux = WebPDemux(&wd);
    if (!demux)
        return icc;
    WebPChunkIterator it;
    if (WebPDemuxGetChunk(demux, "ICCP", 1, &it)) {
        icc.assign(it.chunk.bytes, it.chunk.bytes + it.chunk.size);
        WebPDemuxReleaseChunkIterator(&it);
    }
    WebPDemuxDelete(demux);
    return icc;
}

int PictureWriter(const uint8_t* data, size_t size, const WebPPicture* pic) {
    auto* out = static_cast<Bytes*>(pic->custom_ptr);
    try {
        out->insert(out->end(), data, data + size);
    } catch (...) {
        return 0;
    }
    return 1;
}

} // namespace

bool WebpIsLossless(const unsigned char* data, size_t size) {
    WebPBitstreamFeatures f;
    return WebPGetFeatures(data, size, &f) == VP8_STATUS_OK && f.format == 2;
}

int WebpReadInfo(const unsigned char* data, size_t size, FILEINFO& info) {
    WebPBitstreamFeatures f;
    if (WebPGetFeatures(data, size, &f) != VP8_STATUS_OK)
        return ERR_CORRUPT_DATA;
    info.format = IMAGE_FORMAT_WEBP;
    info.storedWidth = f.width;
    info.storedHeight = f.height;
    info.bitDepth = 8;
    info.hasAlpha = f.has_alpha ? 1 : 0;
    info.channels = f.has_alpha ? 4 : 3;
    info.iccProfile = ReadIcc(data, size);
    if (f.has_animation)
        return ERR_UNSUPPORTED_FORMAT;
    return CheckImageSize(f.width, f.height);
}

int WebpDecode(const unsigned char* data, size_t size, CImageDataInfo& image) {
    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config))
        return ERR_UNSUPPORTED_FORMAT;
    if (WebPGetFeatures(data, size, &config.input) != VP8_STATUS_OK)
        return ERR_CORRUPT_DATA;
    if (config.input.has_animation)
        return ERR_UNSUPPORTED_FORMAT;
    if (const int rc = CheckImageSize(config.input.width, config.input.height); rc != ERR_OK)
        return rc;
    const bool alpha = config.input.has_alpha != 0;
    image.alignment = 4;
    if (!image.Create(config.input.width, config.input.height, alpha ? 4 : 3, 1))
        return ERR_OUT_OF_MEMORY;
    config.output.colorspace = alpha ? MODE_BGRA : MODE_BGR;
    config.output.is_external_memory = 1;
    // Bottom-up images get their first row at the end of the buffer and a negative stride.
    config.output.u.RGBA.rgba = Row(image, 0);
    config.output.u.RGBA.stride = image.RowStep();
    config.output.u.RGBA.size = image.data.byte_size();
    if (image.IsBottomUp()) {
        // libwebp checks the size from the start of the buffer: decode top-down, then reverse rows.
        config.output.u.RGBA.rgba = image.data.data();
        config.output.u.RGBA.stride = image.stride;
    }
    const VP8StatusCode st = WebPDecode(data, size, &config);
    WebPFreeDecBuffer(&config.output);
    if (st != VP8_STATUS_OK) {
        image.Release();
        return st == VP8_STATUS_OUT_OF_MEMORY ? ERR_OUT_OF_MEMORY : ERR_CORRUPT_DATA;
    }
    if (image.IsBottomUp()) {
        Bytes tmp(static_cast<size_t>(image.stride));
        for (int a = 0, b = image.height - 1; a < b; ++a, --b) {
            unsigned char* ra = image.data.data() + static_cast<size_t>(a) * image.stride;
            unsigned char* rb = image.data.data() + static_cast<size_t>(b) * image.stride;
            std::memcpy(tmp.data(), ra, image.stride);
            std::memcpy(ra, rb, image.stride);
            std::memcpy(rb, tmp.data(), image.stride);
        }
    }
    return ERR_OK;
}

int WebpEncode(const CImageDataInfo& input, const SAVEFILE_OPTIONS& options, const Bytes& icc, Bytes& out) {
    if (input.width > WEBP_MAX_DIMENSION || input.height > WEBP_MAX_DIMENSION)
        return ERR_TOO_LARGE;
    CImageDataInfo reduced;
    const CImageDataInfo* img = &input;
    if (input.depth != 1) {
        if (const int rc = To8Bit(input, reduced); rc != ERR_OK)
            return rc;
        img = &reduced;
    }
    CImageDataInfo colour;
    if (img->channels == 1) {
        if (const int rc = ToChannels(*img, colour, 3); rc != ERR_OK)
            return rc;
        img = &colour;
    }
    WebPConfig config;
    WebPPicture pic;
    if (!WebPConfigInit(&config) || !WebPPictureInit(&pic))
        return ERR_UNSUPPORTED_FORMAT;
    config.lossless = options.lossless ? 1 : 0;
    config.quality = options.lossless ? 75.f : static_cast<float>(std::clamp(options.quality, 1u, 100u));
    config.method = options.lossless ? 2 : 4;
    // Keep the colour under fully transparent pixels: a lossless round trip must give every byte back.
    config.exact = 1;
    pic.use_argb = 1;
    pic.width = img->width;
    pic.height = img->height;
    const bool alpha = img->channels == 4;
    const int ok = alpha ? WebPPictureImportBGRA(&pic, Row(*img, 0), img->RowStep())
                         : WebPPictureImportBGR(&pic, Row(*img, 0), img->RowStep());
    if (!ok) {
        WebPPictureFree(&pic);
        return ERR_OUT_OF_MEMORY;
    }
    Bytes encoded;
    pic.writer = PictureWriter;
    pic.custom_ptr = &encoded;
    const int done = WebPEncode(&config, &pic);
    WebPPictureFree(&pic);
    if (!done)
        return ERR_OUT_OF_MEMORY;
    if (icc.empty()) {
        out.swap(encoded);
        return ERR_OK;
    }
    WebPMux* mux = WebPMuxNew();
    if (!mux)
        return ERR_OUT_OF_MEMORY;
    WebPData image{encoded.data(), encoded.size()};
    WebPData profile{icc.data(), icc.size()};
    WebPData assembled{nullptr, 0};
    int rc = ERR_OK;
    if (WebPMuxSetImage(mux, &image, 0) != WEBP_MUX_OK ||
        WebPMuxSetChunk(mux, "ICCP", &profile, 0) != WEBP_MUX_OK ||
        WebPMuxAssemble(mux, &assembled) != WEBP_MUX_OK)
        rc = ERR_OUT_OF_MEMORY;
    else
        out.assign(assembled.bytes, assembled.bytes + assembled.size);
    WebPDataClear(&assembled);
    WebPMuxDelete(mux);
    return rc;
}

} // namespace ImageFile::detail
