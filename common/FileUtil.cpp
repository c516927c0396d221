#include "common/FileUtil.h"

#include "common/CAtomicFileWriter.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <random>
#include <vector>

namespace KELCTRL {

int CreateDirectoryTree(const fs::path& folder) {
    if (folder.empty())
        return 0;
    std::error_code ec;
    fs::create_directories(folder, ec);
    return fs::is_directory(folder, ec) ? 1 : 0;
}

int CreateFileDirectoryTree(const fs::path& file) {
    const fs::path parent = file.parent_path();
    return parent.empty() ? 1 : CreateDirectoryTree(parent);
}

namespace {
bool Matches(const std::string& name, const std::vector<std::string>& patterns) {
    if (patterns.empty())
        return true;
    for (const auto& p : patterns)
        if (fnmatch(p.c_str(), name.c_str(), FNM_CASEFOLD) == 0)
            return true;
    return false;
}
} // namespace

int EnumFolder(const fs::path& folder, const std::vector<std::string>& patterns,
               std::vector<fs::path>& result, bool recursive) {
    std::error_code ec;
    int added = 0;
    auto visit = [&](const fs::directory_entry& e) {
        std::error_code fec;
        if (e.is_regular_file(fec) && Matches(e.path().filename().string(), patterns)) {
            result.push_back(e.path());
            ++added;
        }
    };
    if (recursive) {
        fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, ec);
        if (ec)
            return -1;
        for (; it != fs::recursive_directory_iterator(); it.increment(ec)) {
            if (ec)
                break;
            visit(*it);
        }
    } else {
        fs::directory_iterator it(folder, ec);
        if (ec)
            return -1;
        for (; it != fs::directory_iterator(); it.increment(ec)) {
            if (ec)
                break;
            visit(*it);
        }
    }
    return added;
}

int RemoveReadonlyHiddenAttributes(const fs::path& file) {
    std::error_code ec;
    fs::permissions(file, fs::perms::owner_write, fs::perm_options::add, ec);
    return ec ? 0 : 1;
}

std::string GetLoginUserName() {
    if (const passwd* pw = getpwuid(geteuid()); pw && pw->pw_name)
        return pw->pw_name;
    if (const char* user = std::getenv("USER"))
        return user;
    return std::string();
}

fs::path MakeTempFileName(const fs::path& folder, const std::string& extension) {
    static thread_local std::mt19937 engine{std::random_device{}()};
    std::string ext = extension;
    if (!ext.empty() && ext[0] != '.')
        ext.insert(ext.begin(), '.');
    std::error_code ec;
    for (;;) {
        fs::path candidate = folder / (std::to_string(engine()) + ext);
        if (!fs::exists(candidate, ec))
            return candidate;
    }
}

int CopyFileChunked(const fs::path& source, const fs::path& target) {
    std::error_code ec;
    if (fs::exists(target, ec))
        return 0;
    const int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return 0;
    // O_EXCL: a target that appears meanwhile is left alone too.
    const int out = ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (out < 0) {
        ::close(in);
        return 0;
    }
    constexpr size_t kChunk = 0x1000000;
    std::vector<char> buffer(kChunk);
    bool ok = true;
    for (;;) {
        const ssize_t n = ::read(in, buffer.data(), kChunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            ok = n == 0;
            break;
        }
        for (ssize_t done = 0; done < n;) {
            const ssize_t w = ::write(out, buffer.data() + done, static_cast<size_t>(n - done));
            if (w < 0 && errno == EINTR)
                continue;
            if (w <= 0) {
                ok = false;
                break;
            }
            done += w;
        }
        if (!ok)
            break;
    }
    if (::close(out) != 0)
        ok = false;
    ::close(in);
    if (!ok)
        fs::remove(target, ec);
    return ok ? 1 : 0;
}

int DeleteFolderContent(const fs::path& folder) {
    std::error_code ec;
    fs::directory_iterator it(folder, ec);
    if (ec)
        return 0;
    bool all = true;
    for (; it != fs::directory_iterator(); it.increment(ec)) {
        if (ec) {
            all = false;
            break;
        }
        std::error_code rec;
        fs::remove_all(it->path(), rec);
        if (rec)
            all = false;
    }
    return all ? 1 : 0;
}

int ReadSmallFile(const fs::path& path, std::string& bytes, std::uintmax_t maxBytes) {
    std::error_code ec;
    if (!fs::is_regular_file(path, ec))
        return 0;
    const std::uintmax_t size = fs::file_size(path, ec);
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

int CopyFileAtomically(const fs::path& source, const fs::path& target, std::uintmax_t maxBytes,
                       std::string* error) {
    std::string bytes;
    if (!ReadSmallFile(source, bytes, maxBytes)) {
        if (error)
            *error = "Cannot read \"" + source.string() + "\"";
        return 0;
    }
    return CAtomicFileWriter::WriteWhole(target, bytes, error);
}

} // namespace KELCTRL
