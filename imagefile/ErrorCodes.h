#pragma once
// Error codes of the file library. Every entry point returns 0 on success or one of these; the
// batch maps them to dictionary texts, and ErrorDescription gives the English text for logs.
#include <string>

namespace ImageFile {

enum ERROR_CODE : int {
    ERR_OK = 0,
    ERR_FILE_NOT_FOUND = 1,     // the path names nothing
    ERR_READ_FAILED = 2,        // the file exists but could not be read
    ERR_UNSUPPORTED_FORMAT = 3, // not an image format this library reads or writes
    ERR_CORRUPT_DATA = 4,       // truncated or damaged image data, or pixels that cannot be converted
    ERR_TOO_LARGE = 5,          // above 30,000 pixels a side or 500 megapixels
    ERR_OUT_OF_MEMORY = 6,
    ERR_WRITE_FAILED = 7,      // the target could not be written (other than the reasons below)
    ERR_DISK_FULL = 8,         // no space left, or the file size limit was reached
    ERR_PERMISSION_DENIED = 9, // reading or writing is not permitted
    ERR_CAMERA_RAW = 10,       // a camera raw file the raw decoder cannot open
    ERR_INVALID_ARGUMENT = 11, // an empty path, an invalid image, a mode out of range
    ERR_NOT_A_FILE = 12,       // the path names a directory or a device
    ERR_EMPTY_FILE = 13,       // the file holds no bytes
    ERR_NOT_MCU_ALIGNED = 14,  // a lossless JPEG transform would lose edge blocks; ask to trim
    ERR_METADATA = 15,         // the metadata could not be read or written
    ERR_NOT_INITIALIZED = 16,  // Initialize was not called
};

// English description of a code; "Unknown error" for values outside the list.
const char* ErrorDescription(int code);

// The dictionary key of the text that explains a code to the user, for a load (isLoad non-zero) or a
// save, transform or metadata edit; empty for ERR_OK. Unknown codes give the unknown-error text.
std::string GetFileErrorMsg(int code, int isLoad);

// Maps an errno value of a failed read or write to a code.
int ErrorFromErrno(int err, bool writing);
// Maps the errno of a failed atomic write (KELCTRL::CAtomicFileWriter::Error) to a code: EINVAL and
// EBADF mean the writer was misused (no file name, a step out of order), not that the disk failed.
int ErrorFromWriterErrno(int err);

} // namespace ImageFile
