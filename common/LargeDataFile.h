#pragma once
// Raw dumps of large buffers (image and mask cache files). Sizes stay 32-bit: cache files are capped
// at 4 GiB.
#include <cstdint>
#include <filesystem>

namespace KELCTRL {

// Creates the file anew and writes `size` bytes. The whole size is reserved before the first byte is
// written, so a full disk is a clean failure rather than a half-written file. On any failure the
// file is deleted and 0 returned. Null data, zero size or an empty path return 0.
int WriteLargeDataToFile(const void* data, uint32_t size, const std::filesystem::path& path);
// Reads an existing file whose size must equal `size` exactly. 1 on a complete read.
int ReadLargeDataFromFile(void* data, uint32_t size, const std::filesystem::path& path);

} // namespace KELCTRL
