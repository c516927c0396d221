#pragma once
// Writes a file through a temporary beside the target and renames it over the target only when every
// byte reached the disk, so a failed write never leaves a truncated file or a temporary behind.
#include <cstddef>
#include <filesystem>

namespace ImageFile {

class AtomicFileWriter {
public:
    explicit AtomicFileWriter(std::filesystem::path target);
    AtomicFileWriter(const AtomicFileWriter&) = delete;
    AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;
    // Removes the temporary unless Commit succeeded.
    ~AtomicFileWriter();

    // Creates the temporary in the target's folder; `expectedSize` bytes are reserved at once so
    // that a full disk shows here rather than half way. Returns 0 or an error code.
    int Open(size_t expectedSize = 0);
    int Write(const void* data, size_t size);
    // Flushes, closes and renames over the target (keeping the old file's permissions).
    int Commit();
    void Abort();

    const std::filesystem::path& TempPath() const { return m_temp; }

    // The whole sequence for a buffer already in memory.
    static int WriteFile(const std::filesystem::path& target, const void* data, size_t size);

private:
    std::filesystem::path m_target;
    std::filesystem::path m_temp;
    int m_fd = -1;
    bool m_committed = false;
};

} // namespace ImageFile
