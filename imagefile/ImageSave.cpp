// Encoding and atomic saving.
#include "common/CAtomicFileWriter.h"
#include "imagefile/Codecs.h"
#include "imagefile/FileBytes.h"
#include "imagefile/ImageFile.h"
#include "imagefile/Metadata.h"

namespace ImageFile {

using detail::Bytes;

namespace {

IMAGE_FORMAT FormatOf(const GUID& g) {
    if (g == CONTAINER_FORMAT_JPEG)
        return IMAGE_FORMAT_JPEG;
    if (g == CONTAINER_FORMAT_PNG)
        return IMAGE_FORMAT_PNG;
    if (g == CONTAINER_FORMAT_TIFF)
        return IMAGE_FORMAT_TIFF;
    if (g == CONTAINER_FORMAT_BMP)
        return IMAGE_FORMAT_BMP;
    if (g == CONTAINER_FORMAT_WEBP)
        return IMAGE_FORMAT_WEBP;
    return IMAGE_FORMAT_UNKNOWN;
}

// The profile to embed: the options' colour space, or sRGB; none for a grey image with a colour
// profile, which readers would refuse.
Bytes ProfileToEmbed(const CImageDataInfo& image, const SAVEFILE_OPTIONS& options) {
    if (!options.embedProfile)
        return {};
    const ImageProcess::ColorProfile::Profile& p = options.profile && options.profile->IsValid()
                                                       ? *options.profile
                                                       : ImageProcess::ColorProfile::GetSRGBProfile();
    if (!p.IsValid() || (image.channels == 1) != p.IsGray())
        return {};
    return p.Data();
}

bool IsUsableImage(const CImageDataInfo& image) {
    return image.IsValid() && (image.depth == 1 || image.depth == 2) &&
           (image.channels == 1 || image.channels == 3 || image.channels == 4);
}

// The whole encoded file replaces the target in one rename, or nothing changes.
int WriteEncoded(const std::filesystem::path& path, const Bytes& encoded) {
    int err = 0;
    return KELCTRL::CAtomicFileWriter::WriteWhole(path, encoded.data(), encoded.size(), &err)
               ? ERR_OK
               : ErrorFromWriterErrno(err);
}

} // namespace

int EncodeImage(const CImageDataInfo& image, const SAVEFILE_OPTIONS& options,
                std::vector<unsigned char>& out) {
    if (!IsUsableImage(image))
        return ERR_INVALID_ARGUMENT;
    if (const int rc = detail::CheckImageSize(image.width, image.height); rc != ERR_OK)
        return rc;
    const Bytes icc = ProfileToEmbed(image, options);
    try {
        switch (FormatOf(options.format)) {
        case IMAGE_FORMAT_JPEG:
            return detail::JpegEncode(image, options, icc, out);
        case IMAGE_FORMAT_PNG:
            return detail::PngEncode(image, options, icc, out);
        case IMAGE_FORMAT_TIFF:
            return detail::TiffEncode(image, options, icc, out);
        case IMAGE_FORMAT_BMP:
            return detail::BmpEncode(image, options, out);
        case IMAGE_FORMAT_WEBP:
            return detail::WebpEncode(image, options, icc, out);
        default:
            return ERR_UNSUPPORTED_FORMAT;
        }
    } catch (const std::bad_alloc&) {
        return ERR_OUT_OF_MEMORY;
    } catch (...) {
        return ERR_WRITE_FAILED;
    }
}

int SaveFile(const CImageDataInfo& image, const FILEMETADATA& metadata, const SAVEFILE_OPTIONS& options,
             const std::filesystem::path& path, const std::filesystem::path& source) {
    if (path.empty())
        return ERR_INVALID_ARGUMENT;
    Bytes encoded;
    if (const int rc = EncodeImage(image, options, encoded); rc != ERR_OK)
        return rc;
    const IMAGE_FORMAT format = FormatOf(options.format);
    if (format != IMAGE_FORMAT_BMP && !options.removeAllMetadata) {
        Bytes sourceBytes;
        if (metadata.IsEmpty() && options.keepSourceMetadata && !source.empty()) {
            // A source that cannot be read gives no metadata; the image itself is still saved.
            if (detail::ReadFileBytes(source, sourceBytes) != ERR_OK)
                sourceBytes.clear();
        }
        detail::MetadataSource src;
        src.blocks = &metadata;
        src.sourceFile = &sourceBytes;
        if (!metadata.IsEmpty() || !sourceBytes.empty()) {
            if (const int rc = detail::WriteSavedMetadata(encoded, src, options.removedCategories,
                                                          image.width, image.height);
                rc != ERR_OK)
                return rc;
        }
    }
    return WriteEncoded(path, encoded);
}

int SaveToPNGFile(const CImageDataInfo& image, const std::filesystem::path& path) {
    if (path.empty())
        return ERR_INVALID_ARGUMENT;
    SAVEFILE_OPTIONS options;
    options.format = CONTAINER_FORMAT_PNG;
    options.bit16 = image.depth == 2;
    options.embedProfile = false;
    options.keepSourceMetadata = false;
    Bytes encoded;
    if (const int rc = EncodeImage(image, options, encoded); rc != ERR_OK)
        return rc;
    return WriteEncoded(path, encoded);
}

} // namespace ImageFile
