#include "imagefile/FileBytes.h"

#include "imagefile/ErrorCodes.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ImageFile::detail {

int StatFile(const std::filesystem::path& path, FileStat& st) {
    if (path.empty())
        return ERR_INVALID_ARGUMENT;
    struct stat s {};
    if (::stat(path.c_str(), &s) != 0)
        return ErrorFromErrno(errno, false);
    if (!S_ISREG(s.st_mode))
        return ERR_NOT_A_FILE;
    st.size = static_cast<uint64_t>(s.st_size);
    st.modifyTime = s.st_mtime;
    return s.st_size == 0 ? ERR_EMPTY_FILE : ERR_OK;
}

int ReadFileBytes(const std::filesystem::path& path, Bytes& out, size_t limit) {
    FileStat st;
    if (const int rc = StatFile(path, st); rc != ERR_OK)
        return rc;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return ErrorFromErrno(errno, false);
    size_t want = static_cast<size_t>(st.size);
    if (limit > 0 && limit < want)
        want = limit;
    int rc = ERR_OK;
    try {
        out.resize(want);
    } catch (...) {
        rc = ERR_OUT_OF_MEMORY;
    }
    size_t got = 0;
    while (rc == ERR_OK && got < want) {
        const ssize_t n = ::read(fd, out.data() + got, want - got);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            rc = ErrorFromErrno(errno, false);
        } else if (n == 0) {
            break; // the file shrank since stat: decode what is there
        } else {
            got += static_cast<size_t>(n);
        }
    }
    ::close(fd);
    if (rc != ERR_OK)
        return rc;
    out.resize(got);
    return got == 0 ? ERR_EMPTY_FILE : ERR_OK;
}

} // namespace ImageFile::detail
