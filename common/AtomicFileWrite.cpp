#include "common/AtomicFileWrite.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace KELCTRL {
namespace {

int Fail(std::string* error, const std::string& what, int err) {
    if (error)
        *error = what + ": " + std::strerror(err);
    return 0;
}

bool WriteAll(int fd, std::string_view bytes, int& err) {
    const char* p = bytes.data();
    size_t left = bytes.size();
    while (left > 0) {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            err = errno;
            return false;
        }
        if (n == 0) {
            err = ENOSPC;
            return false;
        }
        p += n;
        left -= static_cast<size_t>(n);
    }
    return true;
}

} // namespace

int WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes, std::string* error) {
    if (target.empty() || !target.has_filename())
        return Fail(error, "No file name", EINVAL);
    const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
    std::string pattern = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
    const int fd = ::mkstemp(pattern.data());
    if (fd < 0)
        return Fail(error, "Cannot create a temporary file in \"" + folder.string() + "\"", errno);

    // Keep the mode of a file being replaced; a new file gets what open() would have given it.
    struct stat st {};
    mode_t mode = 0;
    if (::stat(target.c_str(), &st) == 0) {
        mode = st.st_mode & 07777;
    } else {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        mode = 0644 & ~mask;
    }

    int err = 0;
    bool ok = WriteAll(fd, bytes, err);
    if (ok && ::fchmod(fd, mode) != 0)
        ok = false, err = errno;
    if (ok && ::fsync(fd) != 0)
        ok = false, err = errno;
    if (::close(fd) != 0 && ok)
        ok = false, err = errno;
    if (ok && ::rename(pattern.c_str(), target.c_str()) != 0)
        ok = false, err = errno;
    if (!ok) {
        ::unlink(pattern.c_str());
        return Fail(error, "Cannot write \"" + target.string() + "\"", err);
    }
    // Make the rename itself durable; a failure here no longer endangers either version.
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return 1;
}

int ReadSmallFile(const std::filesystem::path& path, std::string& bytes, std::uintmax_t maxBytes) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec))
        return 0;
    const std::uintmax_t size = std::filesystem::file_size(path, ec);
    if (ec || size > maxBytes)
        return 0;
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return 0;
    std::string data(static_cast<size_t>(size), '\0');
    in.read(data.data(), static_cast<std::streamsize>(data.size()));
    if (in.bad())
        return 0;
    data.resize(static_cast<size_t>(in.gcount()));
    bytes.swap(data);
    return 1;
}

int CopyFileAtomically(const std::filesystem::path& source, const std::filesystem::path& target,
                       std::uintmax_t maxBytes, std::string* error) {
    std::string bytes;
    if (!ReadSmallFile(source, bytes, maxBytes)) {
        if (error)
            *error = "Cannot read \"" + source.string() + "\"";
        return 0;
    }
    return WriteFileAtomically(target, bytes, error);
}

} // namespace KELCTRL
