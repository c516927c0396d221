// Guards against half-written cache files on a full disk and restores from files of the wrong size.
#include "common/LargeDataFile.h"
#include "common/testing/FullDisk.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <fstream>
#include <vector>

using namespace KELCTRL;
namespace fs = std::filesystem;

namespace {
fs::path TempPath(const char* name) {
    return fs::temp_directory_path() / (std::string("kel_large_") + std::to_string(::getpid()) + "_" + name);
}
} // namespace

TEST(LargeDataFile, RoundTripAndExactSizeRule) {
    const fs::path p = TempPath("rt");
    std::vector<unsigned char> data(3 * 1024 * 1024 + 17);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * 31);
    ASSERT_EQ(WriteLargeDataToFile(data.data(), static_cast<uint32_t>(data.size()), p), 1);
    EXPECT_EQ(fs::file_size(p), data.size());
    std::vector<unsigned char> back(data.size());
    ASSERT_EQ(ReadLargeDataFromFile(back.data(), static_cast<uint32_t>(back.size()), p), 1);
    EXPECT_EQ(back, data);
    // A size that differs by one byte either way is refused.
    std::vector<unsigned char> other(data.size() + 1);
    EXPECT_EQ(ReadLargeDataFromFile(other.data(), static_cast<uint32_t>(other.size()), p), 0);
    EXPECT_EQ(ReadLargeDataFromFile(other.data(), static_cast<uint32_t>(data.size() - 1), p), 0);
    fs::remove(p);
}

TEST(LargeDataFile, RefusesEmptyInputAndMissingFiles) {
    unsigned char b = 1;
    EXPECT_EQ(WriteLargeDataToFile(nullptr, 10, TempPath("n")), 0);
    EXPECT_EQ(WriteLargeDataToFile(&b, 0, TempPath("n")), 0);
    EXPECT_EQ(WriteLargeDataToFile(&b, 1, fs::path()), 0);
    EXPECT_FALSE(fs::exists(TempPath("n")));
    EXPECT_EQ(ReadLargeDataFromFile(&b, 1, TempPath("missing")), 0);
    EXPECT_EQ(WriteLargeDataToFile(&b, 1, fs::temp_directory_path() / "no_such_dir" / "x.dat"), 0);
}

TEST(LargeDataFile, FailedWriteLeavesNoFile) {
    // A file-size limit makes the write fail part-way, as a full disk would.
    const fs::path p = TempPath("limit");
    std::vector<unsigned char> data(1024 * 1024, 7);
    int result = -1;
    {
        const auto full = kel_testing::FullDisk::FileSizeLimit(64 * 1024);
        ASSERT_TRUE(full.Active());
        result = WriteLargeDataToFile(data.data(), static_cast<uint32_t>(data.size()), p);
    }
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(fs::exists(p));
}
