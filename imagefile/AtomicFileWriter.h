#pragma once
// The library's atomic writer with this library's error codes: a temporary beside the target,
// renamed over it only when every byte reached the disk.
#include "common/CAtomicFileWriter.h"

#include <cstddef>
#include <filesystem>

namespace ImageFile {

class AtomicFileWriter {
public:
    explicit AtomicFileWriter(std::filesystem::path target) : m_writer(std::move(target)) {}

    // Each returns 0 or an error code; after an error the temporary is gone.
    int Open(size_t expectedSize = 0);
    int Write(const void* data, size_t size);
    int Commit();
    void Abort() { m_writer.Abort(); }

    const std::filesystem::path& TempPath() const { return m_writer.TempPath(); }

    // The whole sequence for a buffer already in memory.
    static int WriteFile(const std::filesystem::path& target, const void* data, size_t size);

private:
    int Result(int ok) const;

    KELCTRL::CAtomicFileWriter m_writer;
};

} // namespace ImageFile
