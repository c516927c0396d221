// Lossless transforms: JPEG in the DCT domain, the lossless formats by decode, remap and re-encode.
#include "common/CAtomicFileWriter.h"
#include "imagefile/Codecs.h"
#include "imagefile/FileBytes.h"
#include "imagefile/ImageFile.h"
#include "imagefile/Metadata.h"
#include "imagefile/PixelConvert.h"

namespace ImageFile {

using detail::Bytes;

namespace {

void Report(ProgressFunc callback, int done, int total) {
    if (callback)
        callback(done, total);
}

int TransformJpeg(const Bytes& file, int mode, bool trim, Bytes& out) {
    if (const int rc = detail::JpegTransform(file.data(), file.size(), mode, trim, out); rc != ERR_OK)
        return rc;
    // The embedded thumbnail turns with the picture; one that cannot is dropped.
    Bytes thumb, turnedThumb;
    if (detail::ReadExifThumbnail(file.data(), file.size(), thumb))
        detail::JpegTransform(thumb.data(), thumb.size(), mode, true, turnedThumb);
    return detail::ResetOrientation(out, turnedThumb, detail::ModeSwapsSize(mode));
}

// The options that re-encode a file of this format without loss.
SAVEFILE_OPTIONS LosslessOptions(const FILEINFO& info) {
    SAVEFILE_OPTIONS o;
    o.bit16 = true;
    o.embedProfile = false; // the original profile is put back below
    o.resolution = info.resolution;
    o.resolutionUnit = info.resolutionUnit;
    o.lossless = true;
    switch (info.format) {
    case IMAGE_FORMAT_PNG:
        o.format = CONTAINER_FORMAT_PNG;
        break;
    case IMAGE_FORMAT_BMP:
        o.format = CONTAINER_FORMAT_BMP;
        break;
    case IMAGE_FORMAT_WEBP:
        o.format = CONTAINER_FORMAT_WEBP;
        break;
    default: {
        o.format = CONTAINER_FORMAT_TIFF;
        o.compression = 2; // Deflate: lossless and compact
        break;
    }
    }
    return o;
}

} // namespace

int LosslessTransform(const std::filesystem::path& path, int mode, ProgressFunc callback, bool trim) {
    if (mode < 0 || mode > 7)
        return ERR_INVALID_ARGUMENT;
    Report(callback, 0, 3);
    Bytes file;
    if (const int rc = detail::ReadFileBytes(path, file); rc != ERR_OK)
        return rc;
    FILEINFO info;
    info.path = path;
    if (const int rc = GetImageInfoFromMemory(info, file.data(), file.size()); rc != ERR_OK)
        return rc;
    if (info.isCameraRaw)
        return ERR_CAMERA_RAW;
    if (info.format == IMAGE_FORMAT_WEBP && !detail::WebpIsLossless(file.data(), file.size()))
        return ERR_UNSUPPORTED_FORMAT;
    // The request is about the picture as shown: combine it with the orientation the file asks for,
    // apply both to the stored data and mark the result upright.
    const int effective = detail::ComposeModes(detail::ModeForOrientation(info.orientation), mode);
    if (effective == 0 && info.orientation == 1)
        return ERR_OK;
    Report(callback, 1, 3);
    Bytes out;
    if (info.format == IMAGE_FORMAT_JPEG) {
        if (const int rc = TransformJpeg(file, effective, trim, out); rc != ERR_OK)
            return rc;
    } else {
        CImageDataInfo stored, turned;
        int rc = ERR_OK;
        switch (info.format) {
        case IMAGE_FORMAT_PNG:
            rc = detail::PngDecode(file.data(), file.size(), stored);
            break;
        case IMAGE_FORMAT_TIFF:
            rc = detail::TiffDecode(file.data(), file.size(), stored);
            break;
        case IMAGE_FORMAT_BMP:
            rc = detail::BmpDecode(file.data(), file.size(), stored);
            break;
        case IMAGE_FORMAT_WEBP:
            rc = detail::WebpDecode(file.data(), file.size(), stored);
            break;
        default:
            rc = ERR_UNSUPPORTED_FORMAT;
        }
        if (rc != ERR_OK)
            return rc;
        if ((rc = detail::TransformByMode(stored, turned, effective)) != ERR_OK)
            return rc;
        const SAVEFILE_OPTIONS options = LosslessOptions(info);
        if ((rc = EncodeImage(turned, options, out)) != ERR_OK)
            return rc;
        if (!info.iccProfile.empty()) {
            // Re-encode with the file's own profile bytes, unchanged.
            SAVEFILE_OPTIONS withProfile = options;
            const ImageProcess::ColorProfile::Profile original(info.iccProfile.data(),
                                                               info.iccProfile.size());
            if (original.IsValid()) {
                withProfile.embedProfile = true;
                withProfile.profile = &original;
                if ((rc = EncodeImage(turned, withProfile, out)) != ERR_OK)
                    return rc;
            }
        }
        if (info.format != IMAGE_FORMAT_BMP) {
            detail::MetadataSource src;
            src.sourceFile = &file;
            if ((rc = detail::WriteSavedMetadata(out, src, METADATA_CATEGORY_NONE, turned.width,
                                                 turned.height)) != ERR_OK)
                return rc;
        }
    }
    Report(callback, 2, 3);
    int err = 0;
    const int rc = KELCTRL::CAtomicFileWriter::WriteWhole(path, out.data(), out.size(), &err)
                       ? ERR_OK
                       : ErrorFromWriterErrno(err);
    Report(callback, 3, 3);
    return rc;
}

} // namespace ImageFile
