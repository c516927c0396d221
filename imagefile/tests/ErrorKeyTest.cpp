// Guards the batch log's texts: an error code without a dictionary key, a key with no English text
// (the user would see the bare key), and load and save failures sharing a text that names the wrong
// direction.
#include "imagefile/ErrorCodes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

using namespace ImageFile;

namespace {

std::filesystem::path SourceDir() {
    const char* dir = std::getenv("KEL_TEST_SOURCE_DIR");
    return dir ? std::filesystem::path(dir)
               : std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
}

// Keys with a text in the shipped English dictionaries (UTF-16 little-endian, "KEY@text" lines).
std::set<std::string> EnglishKeys() {
    std::set<std::string> keys;
    for (const auto& entry : std::filesystem::directory_iterator(SourceDir() / "resources" / "dict")) {
        const std::string name = entry.path().filename().string();
        if (name.rfind("en", 0) != 0 || entry.path().extension() != ".lc")
            continue;
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::string line;
        for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
            const char c = bytes[i + 1] == 0 ? bytes[i] : '?'; // keys are ASCII
            if (c == '\n') {
                if (const size_t at = line.find('@'); at != std::string::npos && at + 1 < line.size())
                    keys.insert(line.substr(0, at));
                line.clear();
            } else if (c != '\r') {
                line += c;
            }
        }
    }
    return keys;
}

} // namespace

TEST(ErrorKeys, EveryCodeHasAKeyWithAnEnglishText) {
    const std::set<std::string> known = EnglishKeys();
    ASSERT_FALSE(known.empty());
    for (int isLoad : {0, 1}) {
        EXPECT_EQ(GetFileErrorMsg(ERR_OK, isLoad), "");
        for (int code = ERR_FILE_NOT_FOUND; code <= ERR_NOT_INITIALIZED; ++code) {
            const std::string key = GetFileErrorMsg(code, isLoad);
            EXPECT_EQ(key.rfind("IDS_", 0), 0u) << code;
            EXPECT_TRUE(known.count(key)) << code << " gives " << key << " without a text";
        }
        EXPECT_EQ(GetFileErrorMsg(999, isLoad), "IDS_MSG_UNKNOWN_ERROR");
        EXPECT_EQ(GetFileErrorMsg(-1, isLoad), "IDS_MSG_UNKNOWN_ERROR");
    }
}

TEST(ErrorKeys, DistinctCausesGetDistinctTexts) {
    // The causes a user can act on each get their own text.
    std::set<std::string> seen;
    for (int code :
         {ERR_FILE_NOT_FOUND, ERR_READ_FAILED, ERR_UNSUPPORTED_FORMAT, ERR_CORRUPT_DATA, ERR_TOO_LARGE,
          ERR_OUT_OF_MEMORY, ERR_PERMISSION_DENIED, ERR_CAMERA_RAW, ERR_NOT_A_FILE, ERR_EMPTY_FILE})
        EXPECT_TRUE(seen.insert(GetFileErrorMsg(code, 1)).second) << code;
    for (int code : {ERR_WRITE_FAILED, ERR_DISK_FULL, ERR_NOT_MCU_ALIGNED, ERR_METADATA})
        EXPECT_TRUE(seen.insert(GetFileErrorMsg(code, 0)).second) << code;
    // Permission and metadata failures say whether reading or writing failed.
    EXPECT_NE(GetFileErrorMsg(ERR_PERMISSION_DENIED, 1), GetFileErrorMsg(ERR_PERMISSION_DENIED, 0));
    EXPECT_NE(GetFileErrorMsg(ERR_METADATA, 1), GetFileErrorMsg(ERR_METADATA, 0));
}
