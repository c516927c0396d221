#pragma once
// Shared helpers of the file library's tests: a private temporary folder, file bytes, save options.
#include "common/testing/TempFolder.h"
#include "imagefile/ImageFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace iftest {

namespace fs = std::filesystem;

// A private temporary folder, removed afterwards.
class TempDir : public kel_testing::TempFolder {
public:
    TempDir() : TempFolder("imagefile_test") {}
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
