// Guards against texts that would show as bare keys: a key used anywhere in the code without an
// English text, a shipped .lc file that does not load, and placeholders a formatter cannot fill.
#include "common/Dictionaries.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace {

fs::path SourceDir() {
    const char* dir = std::getenv("KEL_TEST_SOURCE_DIR");
    // Run by hand, without CTest: this file lies in <source>/app/tests.
    return dir ? fs::path(dir) : fs::path(__FILE__).parent_path().parent_path().parent_path();
}

bool IsKeyChar(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

// Every IDS_ key named in one source text.
void CollectKeys(const std::string& text, std::set<std::string>& keys) {
    for (size_t pos = text.find("IDS_"); pos != std::string::npos; pos = text.find("IDS_", pos + 4)) {
        if (pos > 0 && IsKeyChar(text[pos - 1]))
            continue;
        size_t end = pos + 4;
        while (end < text.size() && IsKeyChar(text[end]))
            ++end;
        if (end > pos + 4)
            keys.insert(text.substr(pos, end - pos));
    }
}

// Keys used by the code of every module; tests, benchmarks and fuzz targets invent keys of their own.
std::set<std::string> KeysUsedInCode(const fs::path& root) {
    std::set<std::string> keys;
    for (auto it = fs::recursive_directory_iterator(root); it != fs::recursive_directory_iterator(); ++it) {
        const std::string name = it->path().filename().string();
        if (it->is_directory()) {
            if (name.rfind("build", 0) == 0 || name[0] == '.' || name == "tests" || name == "fuzz" ||
                name == "bench" || name == "resources" || name == "out")
                it.disable_recursion_pending();
            continue;
        }
        const std::string ext = it->path().extension().string();
        if (ext != ".h" && ext != ".cpp")
            continue;
        std::ifstream in(it->path(), std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        CollectKeys(text.str(), keys);
    }
    return keys;
}

// The conversions a text may hold: the ones the callers format with.
bool PlaceholdersAreFillable(const std::string& text) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%')
            continue;
        if (i + 1 >= text.size())
            return false;
        const char c = text[++i];
        if (c != 's' && c != 'd' && c != '%')
            return false;
    }
    return true;
}

const char* const kEnglishFiles[] = {"en_com.lc", "en_kelctrl.lc", "en_wm.lc", "en.lc"};

} // namespace

TEST(ShippedDictionaries, LoadAsAWholeAndGiveEveryKeyOneHome) {
    const fs::path dict = SourceDir() / "resources" / "dict";
    localization::dictionary all;
    ASSERT_EQ(localization::LoadAllDicts(all, dict, 0), 4);
    size_t total = 0;
    for (const char* file : kEnglishFiles) {
        localization::dictionary one;
        ASSERT_TRUE(one.load_file(dict / file)) << file;
        EXPECT_GT(one.size(), 0u) << file;
        total += one.size();
        for (const auto& [key, value] : one.items()) {
            EXPECT_EQ(key.rfind("IDS_", 0), 0u) << file << ": " << key;
            EXPECT_FALSE(value.empty()) << file << ": " << key;
            EXPECT_TRUE(PlaceholdersAreFillable(value)) << file << ": " << key << " = " << value;
            EXPECT_EQ(value.find('\\'), std::string::npos) << "escape left in " << key;
        }
    }
    // A key in two English files would be overridden silently by the later layer.
    EXPECT_EQ(all.size(), total);
}

TEST(ShippedDictionaries, EveryKeyUsedInTheCodeHasAnEnglishText) {
    localization::dictionary all;
    localization::LoadAllDicts(all, SourceDir() / "resources" / "dict", 0);
    const std::set<std::string> used = KeysUsedInCode(SourceDir());
    ASSERT_FALSE(used.empty()) << "no keys found under " << SourceDir();
    for (const std::string& key : used)
        EXPECT_NE(all.find(key), nullptr) << key << " has no English text";
}

TEST(ShippedDictionaries, NumbersTheApplicationReadsAtStartUpParse) {
    localization::dictionary all;
    localization::LoadAllDicts(all, SourceDir() / "resources" / "dict", 0);
    const std::string* width = all.find("IDS_LABEL_WIDTH");
    ASSERT_NE(width, nullptr);
    const int value = std::atoi(width->c_str());
    EXPECT_GT(value, 0);
    EXPECT_LE(value, 100);
    ASSERT_NE(all.find("IDS_LANGID"), nullptr);
    EXPECT_FALSE(all.find("IDS_LANGID")->empty());
}
