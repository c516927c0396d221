#include "common/AtomicFileWrite.h"

#include "common/CAtomicFileWriter.h"

#include <cstring>
#include <fstream>

namespace KELCTRL {

int WriteFileAtomically(const std::filesystem::path& target, std::string_view bytes, std::string* error) {
    CAtomicFileWriter writer(target);
    if (writer.Open(bytes.size()) && writer.Write(bytes.data(), bytes.size()) && writer.Commit())
        return 1;
    if (error)
        *error = "Cannot write \"" + target.string() + "\": " + std::strerror(writer.Error());
    return 0;
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
