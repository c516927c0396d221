#include "common/CAtomicFileWriter.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace KELCTRL {

CAtomicFileWriter::CAtomicFileWriter(std::filesystem::path target) : m_target(std::move(target)) {}

CAtomicFileWriter::~CAtomicFileWriter() {
    if (!m_committed)
        Abort();
}

int CAtomicFileWriter::Fail(int err) {
    m_error = err;
    Abort();
    return 0;
}

int CAtomicFileWriter::Open(size_t expectedSize) {
    if (m_target.empty() || !m_target.has_filename() || m_fd >= 0 || m_committed)
        return Fail(EINVAL);
    std::error_code ec;
    if (std::filesystem::is_directory(m_target, ec))
        return Fail(EISDIR);
    const std::filesystem::path folder = m_target.has_parent_path() ? m_target.parent_path() : ".";
    std::string pattern = (folder / ("." + m_target.filename().string() + ".tmpXXXXXX")).string();
    const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd < 0)
        return Fail(errno);
    m_fd = fd;
    m_temp = pattern;
    struct stat st {};
    mode_t mode = 0;
    if (::stat(m_target.c_str(), &st) == 0) {
        mode = st.st_mode & 07777;
    } else {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        mode = 0666 & ~mask;
    }
    if (::fchmod(m_fd, mode) != 0)
        return Fail(errno);
    if (expectedSize > 0) {
        const int rc = ::posix_fallocate(m_fd, 0, static_cast<off_t>(expectedSize));
        // Filesystems without fallocate report EOPNOTSUPP/EINVAL: the writes then decide.
        if (rc != 0 && rc != EOPNOTSUPP && rc != EINVAL)
            return Fail(rc);
    }
    return 1;
}

int CAtomicFileWriter::Write(const void* data, size_t size) {
    if (m_fd < 0)
        return Fail(EBADF);
    const char* p = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::write(m_fd, p, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return Fail(errno);
        }
        if (n == 0)
            return Fail(ENOSPC);
        p += n;
        size -= static_cast<size_t>(n);
    }
    return 1;
}

int CAtomicFileWriter::Commit() {
    if (m_fd < 0)
        return Fail(EBADF);
    const off_t end = ::lseek(m_fd, 0, SEEK_CUR);
    if (end < 0 || ::ftruncate(m_fd, end) != 0 || ::fsync(m_fd) != 0)
        return Fail(errno);
    const int fd = m_fd;
    m_fd = -1;
    if (::close(fd) != 0)
        return Fail(errno);
    if (::rename(m_temp.c_str(), m_target.c_str()) != 0)
        return Fail(errno);
    m_committed = true;
    m_temp.clear();
    // Make the rename itself durable; a failure here no longer endangers either version.
    const std::filesystem::path folder = m_target.has_parent_path() ? m_target.parent_path() : ".";
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return 1;
}

void CAtomicFileWriter::Abort() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    if (!m_temp.empty()) {
        ::unlink(m_temp.c_str());
        m_temp.clear();
    }
}

int CAtomicFileWriter::WriteWhole(const std::filesystem::path& target, const void* data, size_t size,
                                  int* err) {
    CAtomicFileWriter writer(target);
    if (writer.Open(size) && writer.Write(data, size) && writer.Commit())
        return 1;
    if (err)
        *err = writer.Error();
    return 0;
}

int CAtomicFileWriter::WriteWhole(const std::filesystem::path& target, std::string_view bytes,
                                  std::string* message) {
    int err = 0;
    if (WriteWhole(target, bytes.data(), bytes.size(), &err))
        return 1;
    if (message)
        *message = "Cannot write \"" + target.string() + "\": " + std::strerror(err);
    return 0;
}

} // namespace KELCTRL
