#pragma once
// Whole-file writes that never leave a user's file half-written: the bytes go to a temporary file in
// the target's folder, are flushed to the disk, and only then renamed over the target. On any failure
// (full disk, no permission, size limit) the old file stays as it was and the temporary file is removed.
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace KELCTRL {

// Writes `bytes` as the new content of `target`. Returns 1 on success, 0 on failure with a readable
// reason in *error when given. A new file gets mode 0666 less the umask; a replaced file keeps its mode.
int WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes,
                        std::string* error = nullptr);

// Reads a regular file of at most maxBytes whole. Returns 1 on success, 0 when the file is missing,
// not a regular file, unreadable or larger than maxBytes.
int ReadSmallFile(const std::filesystem::path& path, std::string& bytes, std::uintmax_t maxBytes);

// Copies `source` to `target` through WriteFileAtomically. Returns 0 and changes nothing when the
// source cannot be read whole.
int CopyFileAtomically(const std::filesystem::path& source, const std::filesystem::path& target,
                       std::uintmax_t maxBytes, std::string* error = nullptr);

} // namespace KELCTRL
