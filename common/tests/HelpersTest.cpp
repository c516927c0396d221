// Guards against locale-dependent or wrongly trimmed numbers, colour reading that keeps stale bytes,
// natural ordering mistakes and file helpers that overwrite or leave partial files.
#include "common/CFunctionTimeCost.h"
#include "common/DebugTrace.h"
#include "common/FileUtil.h"
#include "common/StringUtil.h"
#include "common/XmlColor.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdio>
#include <fstream>
#include <memory>

using namespace KELCTRL;

TEST(Float2String, DecimalsRules) {
    EXPECT_EQ(Float2String(1.5, -1), "1.500000");
    EXPECT_EQ(Float2String(2.5, 0), "2");
    EXPECT_EQ(Float2String(3.5, 0), "4");
    EXPECT_EQ(Float2String(1.50, 2), "1.5");
    EXPECT_EQ(Float2String(2.0, 2), "2");
    EXPECT_EQ(Float2String(100.0, 3), "100"); // zeros before the point stay
    EXPECT_EQ(Float2String(-0.25, 1), "-0.2");
    EXPECT_EQ(Float2String(-0.001, 2), "0");
}

TEST(Float2String, IgnoresTheNumericLocale) {
    const char* old = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = old ? old : "C";
    const char* commaLocale = nullptr;
    for (const char* name :
         {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "nl_NL.UTF-8", "ru_RU.UTF-8"}) {
        if (std::setlocale(LC_NUMERIC, name) && std::localeconv()->decimal_point[0] == ',') {
            commaLocale = name;
            break;
        }
    }
    if (!commaLocale) {
        std::setlocale(LC_NUMERIC, saved.c_str());
        GTEST_SKIP() << "no locale with a decimal comma is installed (Debian: locales-all)";
    }
    // The locale really is in force: a printf-based conversion would now write a comma.
    char buf[16];
    std::snprintf(buf, sizeof buf, "%.2f", 0.75);
    EXPECT_STREQ(buf, "0,75") << commaLocale;
    EXPECT_EQ(Float2String(0.75, 2), "0.75") << commaLocale;
    EXPECT_EQ(Float2String(-12.5, -1), "-12.500000") << commaLocale;
    std::setlocale(LC_NUMERIC, saved.c_str());
}

TEST(ColorXml, WriteAndReadBack) {
    ARGB32 c(0x80, 10, 20, 30);
    std::unique_ptr<TiXmlElement> e(ColorToXml(c, "fill", 1));
    ASSERT_STREQ(e->Value(), "fill");
    EXPECT_STREQ(e->FirstAttribute()->Name(), "a");
    ARGB32 out;
    ASSERT_EQ(ColorFromXml(out, ARGB32(0), e.get()), 1);
    EXPECT_EQ(out, c);

    std::unique_ptr<TiXmlElement> noAlpha(ColorToXml(c, "line", 0));
    EXPECT_EQ(noAlpha->Attribute("a"), nullptr);
    ASSERT_EQ(ColorFromXml(out, ARGB32(0), noAlpha.get()), 1);
    EXPECT_EQ(out, ARGB32(0xFF, 10, 20, 30));
}

TEST(ColorXml, MissingAttributesGiveOpaqueBlackWhateverTheDefault) {
    TiXmlElement empty("c");
    ARGB32 out(0x12345678);
    ASSERT_EQ(ColorFromXml(out, ARGB32(0xFFFFFFFF), &empty), 1);
    EXPECT_EQ(out.value, 0xFF000000u);

    TiXmlElement onlyRed("c");
    onlyRed.SetAttribute("r", 200);
    ASSERT_EQ(ColorFromXml(out, ARGB32(0xFFFFFFFF), &onlyRed), 1);
    EXPECT_EQ(out, ARGB32(0xFF, 200, 0, 0));

    ARGB32 untouched(0x11223344);
    EXPECT_EQ(ColorFromXml(untouched, ARGB32(0), nullptr), 0);
    EXPECT_EQ(untouched.value, 0x11223344u);
}

TEST(Strings, RemoveNonNumberLetterAndSplit) {
    std::string s = "IMG_0042 (copy).jpg";
    RemoveNonNumberLetter(s);
    EXPECT_EQ(s, "IMG0042copyjpg");
    std::string accented = "Café-1";
    RemoveNonNumberLetter(accented);
    EXPECT_EQ(accented, "Café1");
    EXPECT_EQ(SplitString(";a;;b;", ";"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(SplitString("a||b", "||"), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(SplitString("", ";").empty());
}

TEST(Strings, NaturalCompareOrdersNumbersByValue) {
    std::vector<std::string> names = {"img10.jpg", "IMG2.jpg", "img1.jpg", "img002b", "Img002a", "a", "B"};
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b) { return NaturalCompare(a, b) < 0; });
    // After equal numbers the rest decides: "." sorts before "a".
    EXPECT_EQ(names, (std::vector<std::string>{"a", "B", "img1.jpg", "IMG2.jpg", "Img002a", "img002b",
                                               "img10.jpg"}));
    EXPECT_EQ(NaturalCompare("File", "file"), 0);
    EXPECT_EQ(NaturalCompare("x9", "x09"), 0); // equal values: the caller's id breaks the tie
    EXPECT_LT(NaturalCompare("x", "x1"), 0);
    EXPECT_GT(NaturalCompare("x99999999999999999999999", "x99999999999999999999998"), 0); // no overflow
    EXPECT_EQ(NaturalCompare("Éa", "éa"), 0);
}

class FileHelpers : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::temp_directory_path() / ("kel_common_" + std::to_string(::getpid()) + "_" +
                                           ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(dir);
        ASSERT_EQ(CreateDirectoryTree(dir / "a" / "b"), 1);
    }
    void TearDown() override { fs::remove_all(dir); }
    static void Write(const fs::path& p, const std::string& text) {
        std::ofstream(p, std::ios::binary) << text;
    }
    static std::string Read(const fs::path& p) {
        std::ifstream in(p, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    fs::path dir;
};

TEST_F(FileHelpers, EnumFolderMatchesPatternsWithoutCase) {
    Write(dir / "one.JPG", "1");
    Write(dir / "two.png", "2");
    Write(dir / "a" / "three.jpg", "3");
    std::vector<fs::path> found;
    EXPECT_EQ(EnumFolder(dir, {"*.jpg"}, found, false), 1);
    EXPECT_EQ(EnumFolder(dir, {"*.jpg", "*.png"}, found, true), 3);
    EXPECT_EQ(EnumFolder(dir / "missing", {}, found, false), -1);
}

TEST_F(FileHelpers, CopyNeverOverwritesAndLeavesNoPartialFile) {
    Write(dir / "src", std::string(100000, 'x'));
    EXPECT_EQ(CopyFileChunked(dir / "src", dir / "dst"), 1);
    EXPECT_EQ(Read(dir / "dst").size(), 100000u);
    Write(dir / "keep", "old");
    EXPECT_EQ(CopyFileChunked(dir / "src", dir / "keep"), 0);
    EXPECT_EQ(Read(dir / "keep"), "old");
    EXPECT_EQ(CopyFileChunked(dir / "missing", dir / "new"), 0);
    EXPECT_FALSE(fs::exists(dir / "new"));
    // Reading a directory fails mid-copy: the half-made target is removed.
    EXPECT_EQ(CopyFileChunked(dir / "a", dir / "fromdir"), 0);
    EXPECT_FALSE(fs::exists(dir / "fromdir"));
}

TEST_F(FileHelpers, TempNamesAreFreeAndContentDeletionKeepsFolder) {
    const fs::path t = MakeTempFileName(dir, "tmp");
    EXPECT_EQ(t.parent_path(), dir);
    EXPECT_EQ(t.extension(), ".tmp");
    EXPECT_FALSE(fs::exists(t));
    Write(dir / "a" / "b" / "f", "x");
    fs::permissions(dir / "a" / "b" / "f", fs::perms::owner_read);
    EXPECT_EQ(RemoveReadonlyHiddenAttributes(dir / "a" / "b" / "f"), 1);
    EXPECT_NE(fs::status(dir / "a" / "b" / "f").permissions() & fs::perms::owner_write, fs::perms::none);
    EXPECT_EQ(DeleteFolderContent(dir), 1);
    EXPECT_TRUE(fs::is_directory(dir));
    EXPECT_TRUE(fs::is_empty(dir));
    EXPECT_EQ(CreateFileDirectoryTree(dir / "x" / "y" / "file.txt"), 1);
    EXPECT_TRUE(fs::is_directory(dir / "x" / "y"));
    EXPECT_FALSE(GetLoginUserName().empty());
}

namespace {
std::vector<std::string> g_lines;
void Collect(const std::string& line) {
    g_lines.push_back(line);
}

// A clock the test moves by hand, so "slow" and "fast" do not depend on the machine's load.
std::chrono::steady_clock::time_point g_fakeNow{};
std::chrono::steady_clock::time_point FakeNow() {
    return g_fakeNow;
}

struct FakeClockScope {
    FakeClockScope() { CFunctionTimeCost::SetClock(&FakeNow); }
    ~FakeClockScope() { CFunctionTimeCost::SetClock(nullptr); }
};

void TimedCall(const char* name, long long ms) {
    CFunctionTimeCost timer(name);
    g_fakeNow += std::chrono::milliseconds(ms);
}
} // namespace

TEST(DebugTrace, FormatsLinesAndTimesSlowCalls) {
    FakeClockScope clock;
    g_lines.clear();
    SetDebugTraceSink(&Collect);
    DebugTrace(nullptr);
    DebugTrace("%s", "");
    const char* emptyFormat = "";
    DebugTrace(emptyFormat);
    DebugTrace("[%s] Error: %d\n", "Origin", 5);
    TimedCall("KELCTRL::Fast", 3);
    TimedCall("KELCTRL::CImageWnd::ProcessPreview", 25);
    SetDebugTraceSink(nullptr);
    ASSERT_EQ(g_lines.size(), 3u); // an empty result still counts as a line; a null or empty format does not
    EXPECT_EQ(g_lines[0], "");
    EXPECT_EQ(g_lines[1], "[Origin] Error: 5\n");
    EXPECT_EQ(g_lines[2], "[KELCTRL::CImageWnd::ProcessPreview] Time Cost: 25\n");
}

TEST(DebugTrace, OnlyCallsAboveTheThresholdAreLogged) {
    FakeClockScope clock;
    g_lines.clear();
    SetDebugTraceSink(&Collect);
    TimedCall("AtThreshold", CFunctionTimeCost::kThresholdMs);
    TimedCall("JustAbove", CFunctionTimeCost::kThresholdMs + 1);
    {
        CFunctionTimeCost tagged("Cache", "Build");
        g_fakeNow += std::chrono::milliseconds(40);
        EXPECT_EQ(tagged.ElapsedMs(), 40);
    }
    SetDebugTraceSink(nullptr);
    ASSERT_EQ(g_lines.size(), 2u);
    EXPECT_EQ(g_lines[0], "[JustAbove] Time Cost: 11\n");
    EXPECT_EQ(g_lines[1], "Cache [Build] Time Cost: 40\n");
}
