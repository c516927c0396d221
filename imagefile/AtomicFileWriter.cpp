#include "imagefile/AtomicFileWriter.h"

#include "imagefile/ErrorCodes.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace ImageFile {

AtomicFileWriter::AtomicFileWriter(std::filesystem::path target) : m_target(std::move(target)) {}

AtomicFileWriter::~AtomicFileWriter() {
    if (!m_committed)
        Abort();
}

int AtomicFileWriter::Open(size_t expectedSize) {
    if (m_target.empty() || m_fd >= 0)
        return ERR_INVALID_ARGUMENT;
    std::error_code ec;
    if (std::filesystem::is_directory(m_target, ec))
        return ERR_NOT_A_FILE;
    std::filesystem::path folder = m_target.parent_path();
    if (folder.empty())
        folder = ".";
    std::string pattern = (folder / ("." + m_target.filename().string() + ".tmpXXXXXX")).string();
    const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd < 0)
        return ErrorFromErrno(errno, true);
    m_fd = fd;
    m_temp = pattern;
    // Keep the permissions of the file being replaced; a new file gets the usual 0644 under umask.
    struct stat st {};
    if (::stat(m_target.c_str(), &st) == 0) {
        ::fchmod(m_fd, st.st_mode & 07777);
    } else {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::fchmod(m_fd, 0666 & ~mask);
    }
    if (expectedSize > 0) {
        const int rc = ::posix_fallocate(m_fd, 0, static_cast<off_t>(expectedSize));
        // Filesystems without fallocate report EOPNOTSUPP/EINVAL: the writes below then decide.
        if (rc != 0 && rc != EOPNOTSUPP && rc != EINVAL) {
            Abort();
            return ErrorFromErrno(rc, true);
        }
    }
    return ERR_OK;
}

int AtomicFileWriter::Write(const void* data, size_t size) {
    if (m_fd < 0)
        return ERR_INVALID_ARGUMENT;
    const char* p = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::write(m_fd, p, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            const int err = errno;
            Abort();
            return ErrorFromErrno(err, true);
        }
        if (n == 0) {
            Abort();
            return ERR_DISK_FULL;
        }
        p += n;
        size -= static_cast<size_t>(n);
    }
    return ERR_OK;
}

int AtomicFileWriter::Commit() {
    if (m_fd < 0)
        return ERR_INVALID_ARGUMENT;
    // The reservation may exceed what was written: cut the file to the bytes actually written.
    const off_t end = ::lseek(m_fd, 0, SEEK_CUR);
    if (end < 0 || ::ftruncate(m_fd, end) != 0 || ::fsync(m_fd) != 0) {
        const int err = errno;
        Abort();
        return ErrorFromErrno(err, true);
    }
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0) {
        const int err = errno;
        Abort();
        return ErrorFromErrno(err, true);
    }
    if (::rename(m_temp.c_str(), m_target.c_str()) != 0) {
        const int err = errno;
        Abort();
        return ErrorFromErrno(err, true);
    }
    m_committed = true;
    return ERR_OK;
}

void AtomicFileWriter::Abort() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    if (!m_temp.empty()) {
        ::unlink(m_temp.c_str());
        m_temp.clear();
    }
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
