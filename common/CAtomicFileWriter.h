#pragma once
// Writes a file through a temporary beside the target and renames it over the target only when every
// byte reached the disk, so a failed write (full disk, no permission, size limit) never leaves a
// truncated file or a temporary behind and the old file stays as it was.
#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace KELCTRL {

class CAtomicFileWriter {
public:
    explicit CAtomicFileWriter(std::filesystem::path target);
    CAtomicFileWriter(const CAtomicFileWriter&) = delete;
    CAtomicFileWriter& operator=(const CAtomicFileWriter&) = delete;
    // Removes the temporary unless Commit succeeded.
    ~CAtomicFileWriter();

    // Creates the temporary in the target's folder; `expectedSize` bytes are reserved at once so that
    // a full disk shows here rather than half way. A replaced file's mode is kept; a new file gets
    // 0666 less the umask, as any program's new file. Each step returns 1 on success and 0 on
    // failure, after which the temporary is gone and Error() tells why.
    int Open(size_t expectedSize = 0);
    int Write(const void* data, size_t size);
    // Cuts off what was reserved but not written, flushes, closes, renames over the target and makes
    // the rename durable.
    int Commit();
    void Abort();

    // The whole sequence for bytes already in memory. Returns 1 on success, 0 on failure with the
    // errno in *err when given.
    static int WriteWhole(const std::filesystem::path& target, const void* data, size_t size,
                          int* err = nullptr);
    // The same, with a readable reason ("Cannot write "<path>": <why>") in *message on failure.
    static int WriteWhole(const std::filesystem::path& target, std::string_view bytes,
                          std::string* message = nullptr);

    // The errno of the step that failed; 0 before any failure.
    int Error() const { return m_error; }
    const std::filesystem::path& TempPath() const { return m_temp; }
    const std::filesystem::path& Target() const { return m_target; }

private:
    int Fail(int err);

    std::filesystem::path m_target;
    std::filesystem::path m_temp;
    int m_fd = -1;
    int m_error = 0;
    bool m_committed = false;
};

} // namespace KELCTRL
