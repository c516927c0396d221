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
        return "This camera raw file cannot be decoded";
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

std::string GetFileErrorMsg(int code, int isLoad) {
    const bool load = isLoad != 0;
    switch (code) {
    case ERR_OK:
        return {};
    case ERR_FILE_NOT_FOUND:
        return "IDS_MSG_FILE_NOT_FOUND";
    case ERR_READ_FAILED:
        return "IDS_MSG_FILE_READ_FAILED";
    case ERR_UNSUPPORTED_FORMAT:
        return "IDS_MSG_FILE_FORMAT_NOT_SUPPORTED";
    case ERR_CORRUPT_DATA:
        return "IDS_MSG_FILE_DATA_CORRUPT";
    case ERR_TOO_LARGE:
        return "IDS_MSG_IMAGE_TOO_LARGE";
    case ERR_OUT_OF_MEMORY:
        return "IDS_MSG_NOT_ENOUGH_MEMORY";
    case ERR_WRITE_FAILED:
        return "IDS_MSG_FILE_WRITE_FAILED";
    case ERR_DISK_FULL:
        return "IDS_MSG_DISK_FULL";
    case ERR_PERMISSION_DENIED:
        return load ? "IDS_MSG_FILE_READ_DENIED" : "IDS_MSG_FILE_WRITE_DENIED";
    case ERR_CAMERA_RAW:
        return "IDS_MSG_CAMERA_RAW_NOT_SUPPORTED";
    case ERR_INVALID_ARGUMENT:
        return load ? "IDS_MSG_FILE_LOAD_FAILED" : "IDS_MSG_FILE_SAVE_FAILED";
    case ERR_NOT_A_FILE:
        return "IDS_MSG_NOT_A_FILE";
    case ERR_EMPTY_FILE:
        return "IDS_MSG_FILE_EMPTY";
    case ERR_NOT_MCU_ALIGNED:
        return "IDS_MSG_JPEG_NOT_MCU_ALIGNED";
    case ERR_METADATA:
        return load ? "IDS_MSG_METADATA_READ_FAILED" : "IDS_MSG_METADATA_WRITE_FAILED";
    default: // ERR_NOT_INITIALIZED is a fault of the program, not of the file
        return "IDS_MSG_UNKNOWN_ERROR";
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
