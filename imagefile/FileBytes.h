#pragma once
// Internal: reading a file into memory with the library's error codes.
#include "imagefile/Codecs.h"

#include <ctime>
#include <filesystem>

namespace ImageFile::detail {

struct FileStat {
    uint64_t size = 0;
    std::time_t modifyTime = 0;
};

// Checks that the path names a readable, non-empty regular file.
int StatFile(const std::filesystem::path& path, FileStat& st);
// The whole file, or at most `limit` bytes from its start when limit > 0.
int ReadFileBytes(const std::filesystem::path& path, Bytes& out, size_t limit = 0);

} // namespace ImageFile::detail
