#include "imagefile/ErrorCodes.h"

#include <cerrno>

namespace ImageFile {

const char* ErrorDescription(int code) {
    switch (code) {
    case ERR_OK:
        return "No error";
    case ERR_FILE_NOT_FOUND:
        return "The file does not exist";
    case ERR_READ_FAILED:
        return "The file could not be read";
    case ERR_UNSUPPORTED_FORMAT:
        return "The file format is not supported";
    case ERR_CORRUPT_DATA:
        return "The image data is damaged or incomplete";
    case ERR_TOO_LARGE:
        return "The image is too large";
    case ERR_OUT_OF_MEMORY:
        return "Not enough memory";
    case ERR_WRITE_FAILED:
        return "The file could not be written";
    case ERR_DISK_FULL:
        return "The disk is full";
    case ERR_PERMISSION_DENIED:
        return "Permission denied";
    case ERR_CAMERA_RAW:
        return "Camera raw files cannot be decoded";
    case ERR_INVALID_ARGUMENT:
        return "Invalid argument";
    case ERR_NOT_A_FILE:
        return "The path is not a file";
    case ERR_EMPTY_FILE:
        return "The file is empty";
    case ERR_NOT_MCU_ALIGNED:
        return "The image size does not allow a lossless transform without trimming";
    case ERR_METADATA:
        return "The metadata could not be read or written";
    case ERR_NOT_INITIALIZED:
        return "The file library is not initialised";
    default:
        return "Unknown error";
    }
}

int ErrorFromWriterErrno(int err) {
    return err == EINVAL || err == EBADF ? ERR_INVALID_ARGUMENT : ErrorFromErrno(err, true);
}

int ErrorFromErrno(int err, bool writing) {
    switch (err) {
    case ENOENT:
    case ENOTDIR:
        return writing ? ERR_WRITE_FAILED : ERR_FILE_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
        return ERR_PERMISSION_DENIED;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ERR_DISK_FULL;
    case EISDIR:
        return ERR_NOT_A_FILE;
    case ENOMEM:
        return ERR_OUT_OF_MEMORY;
    default:
        return writing ? ERR_WRITE_FAILED : ERR_READ_FAILED;
    }
}

} // namespace ImageFile
