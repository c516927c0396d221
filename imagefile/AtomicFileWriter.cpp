#include "imagefile/AtomicFileWriter.h"

#include "imagefile/ErrorCodes.h"

#include <cerrno>

namespace ImageFile {

int AtomicFileWriter::Result(int ok) const {
    if (ok)
        return ERR_OK;
    // EINVAL and EBADF say the writer was misused (no name, or a step out of order), not the disk.
    const int err = m_writer.Error();
    return err == EINVAL || err == EBADF ? ERR_INVALID_ARGUMENT : ErrorFromErrno(err, true);
}

int AtomicFileWriter::Open(size_t expectedSize) {
    return Result(m_writer.Open(expectedSize));
}

int AtomicFileWriter::Write(const void* data, size_t size) {
    return Result(m_writer.Write(data, size));
}

int AtomicFileWriter::Commit() {
    return Result(m_writer.Commit());
}

int AtomicFileWriter::WriteFile(const std::filesystem::path& target, const void* data, size_t size) {
    AtomicFileWriter writer(target);
    int rc = writer.Open(size);
    if (rc == ERR_OK)
        rc = writer.Write(data, size);
    if (rc == ERR_OK)
        rc = writer.Commit();
    return rc;
}

} // namespace ImageFile
