#pragma once
// File and folder helpers of the shared basics. Paths are std::filesystem::path; results are 1 / 0.
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace KELCTRL {

namespace fs = std::filesystem;

// Creates every missing folder of a path (of a file's folder for the second form).
int CreateDirectoryTree(const fs::path& folder);
int CreateFileDirectoryTree(const fs::path& file);
// Lists the regular files of a folder whose names match any of the patterns ("*.jpg"; matched without
// regard to case; an empty list matches everything), in the order the folder gives them. Returns the
// number added to `result`, or -1 when the folder cannot be read.
int EnumFolder(const fs::path& folder, const std::vector<std::string>& patterns,
               std::vector<fs::path>& result, bool recursive);
// Makes a file writable by its owner. Linux has no hidden attribute (a leading dot hides a name),
// so only the read-only part applies here.
int RemoveReadonlyHiddenAttributes(const fs::path& file);
std::string GetLoginUserName();
// A name under `folder` made of a random decimal number and an optional extension ("tmp" or ".tmp"),
// not in use when returned.
fs::path MakeTempFileName(const fs::path& folder, const std::string& extension = std::string());
// Copies in chunks of at most 16 MiB. Does nothing (returns 0) when the target exists or the source
// cannot be read; a failed copy leaves no partial target.
int CopyFileChunked(const fs::path& source, const fs::path& target);
// Deletes everything inside a folder, keeping the folder. Returns 1 when all of it went.
int DeleteFolderContent(const fs::path& folder);
// Reads a regular file of at most maxBytes whole. Returns 1 on success, 0 when the file is missing,
// not a regular file, unreadable or larger than maxBytes.
int ReadSmallFile(const fs::path& path, std::string& bytes, std::uintmax_t maxBytes);
// Copies `source` over `target` through a temporary beside it (CAtomicFileWriter). Returns 0 and
// changes nothing when the source cannot be read whole; a readable reason goes to *error.
int CopyFileAtomically(const fs::path& source, const fs::path& target, std::uintmax_t maxBytes,
                       std::string* error = nullptr);

} // namespace KELCTRL
