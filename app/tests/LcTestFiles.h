#pragma once
// Writes .lc files for tests: UTF-8 text in, UTF-16 LE with a byte-order mark out.
#include "common/dictionary.h"

#include <filesystem>
#include <fstream>
#include <string>

namespace lc_test {

inline std::string LcBytes(const std::string& utf8Text) {
    return std::string("\xFF\xFE", 2) + localization::utf8_to_utf16le(utf8Text);
}

inline void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline void WriteLc(const std::filesystem::path& path, const std::string& utf8Text) {
    WriteBytes(path, LcBytes(utf8Text));
}

} // namespace lc_test
