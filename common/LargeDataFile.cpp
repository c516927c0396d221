#include "common/LargeDataFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace KELCTRL {

namespace {
// Written in slices so that a huge buffer never needs one giant kernel copy.
constexpr size_t kChunk = 64u << 20;

bool WriteAll(int fd, const unsigned char* p, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t n = ::write(fd, p + done, std::min(kChunk, size - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}
} // namespace

int WriteLargeDataToFile(const void* data, uint32_t size, const std::filesystem::path& path) {
    if (!data || size == 0 || path.empty())
        return 0;
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return 0;
    // posix_fallocate fails with ENOSPC up front; filesystems without it fall back to writing.
    const int reserve = ::posix_fallocate(fd, 0, static_cast<off_t>(size));
    bool ok = reserve == 0 || reserve == EOPNOTSUPP || reserve == EINVAL;
    ok = ok && WriteAll(fd, static_cast<const unsigned char*>(data), size);
    ok = (::close(fd) == 0) && ok;
    if (!ok)
        ::unlink(path.c_str());
    return ok ? 1 : 0;
}

int ReadLargeDataFromFile(void* data, uint32_t size, const std::filesystem::path& path) {
    if (!data || size == 0 || path.empty())
        return 0;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return 0;
    struct stat st {};
    bool ok = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size == static_cast<off_t>(size);
    size_t done = 0;
    auto* p = static_cast<unsigned char*>(data);
    while (ok && done < size) {
        const ssize_t n = ::read(fd, p + done, std::min(kChunk, size - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            ok = false;
        else
            done += static_cast<size_t>(n);
    }
    ::close(fd);
    return ok ? 1 : 0;
}

} // namespace KELCTRL
