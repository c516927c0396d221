#pragma once
// Shared helpers of the file library's tests: a private temporary folder, file bytes, save options.
#include "imagefile/ImageFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace iftest {

namespace fs = std::filesystem;

class TempDir {
public:
    TempDir() {
        std::string pattern = (fs::temp_directory_path() / "imagefile_test_XXXXXX").string();
        if (::mkdtemp(pattern.data()))
            m_path = pattern;
    }
    ~TempDir() {
        std::error_code ec;
        fs::permissions(m_path, fs::perms::owner_all, fs::perm_options::add, ec);
        fs::remove_all(m_path, ec);
    }
    const fs::path& path() const { return m_path; }
    fs::path operator/(const std::string& name) const { return m_path / name; }
    // Names of every entry, to prove that no temporary was left behind.
    std::vector<std::string> Entries() const {
        std::vector<std::string> names;
        std::error_code ec;
        for (const auto& e : fs::directory_iterator(m_path, ec))
            names.push_back(e.path().filename().string());
        return names;
    }

private:
    fs::path m_path;
};

inline std::vector<unsigned char> ReadAll(const fs::path& p) {
    std::ifstream f(p, std::ios::binary);
    return std::vector<unsigned char>((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
}

inline void WriteAll(const fs::path& p, const std::vector<unsigned char>& bytes) {
    std::ofstream f(p, std::ios::binary | std::ios::trunc);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline ImageFile::SAVEFILE_OPTIONS Options(const ImageFile::GUID& format, bool bit16 = false) {
    ImageFile::SAVEFILE_OPTIONS o;
    o.format = format;
    o.bit16 = bit16;
    return o;
}

} // namespace iftest
