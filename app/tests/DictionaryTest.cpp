// Guards against wrong texts from the .lc reader and the layer loading: bad splits, lost escapes,
// broken non-BMP characters, a wrong fallback order, and a missing layer that does not stop start-up.
#include "LcTestFiles.h"
#include "app/DictText.h"
#include "common/Dictionaries.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using localization::dictionary;
using namespace lc_test;
namespace fs = std::filesystem;

namespace {

dictionary Parse(const std::string& utf8Text) {
    dictionary d;
    const std::string bytes = LcBytes(utf8Text);
    d.load_plain(bytes.data(), bytes.size());
    return d;
}

std::string Value(const dictionary& d, const char* key) {
    const std::string* v = d.find(key);
    return v ? *v : std::string("<missing>");
}

} // namespace

TEST(LcFormat, SplitsAtTheFirstAtSignOnly) {
    const dictionary d = Parse("IDS_MAIL@write to me@example.org@once\r\n");
    EXPECT_EQ(Value(d, "IDS_MAIL"), "write to me@example.org@once");
}

TEST(LcFormat, KeyWithoutAtSignHasAnEmptyTextNotItsKey) {
    const dictionary d = Parse("IDS_EMPTY\r\nIDS_NEXT@x\r\n");
    ASSERT_NE(d.find("IDS_EMPTY"), nullptr);
    EXPECT_EQ(Value(d, "IDS_EMPTY"), "");
    EXPECT_STREQ(d.get_item("IDS_EMPTY"), "");
}

TEST(LcFormat, EveryLineEndAndRunOfThemSeparatesAndEmptyLinesAreSkipped) {
    const dictionary d = Parse("A@1\rB@2\nC@3\r\nD@4\n\r\r\n\nE@5");
    ASSERT_EQ(d.size(), 5u);
    EXPECT_EQ(Value(d, "A"), "1");
    EXPECT_EQ(Value(d, "D"), "4");
    EXPECT_EQ(Value(d, "E"), "5"); // last line without a line end
}

TEST(LcFormat, LaterLineOfAKeyOverwrites) {
    const dictionary d = Parse("IDS_X@first\r\nIDS_Y@y\r\nIDS_X@second\r\n");
    EXPECT_EQ(Value(d, "IDS_X"), "second");
    EXPECT_EQ(d.size(), 2u);
}

TEST(LcFormat, EscapesBecomeLineBreaksAtLoadSoTheTextShowsTwoLines) {
    const dictionary d =
        Parse("IDS_TWO@first line\\nsecond line\r\nIDS_CRLF@a\\r\\nb\r\nIDS_MANY@\\n\\n\r\n");
    EXPECT_EQ(Value(d, "IDS_TWO"), "first line\nsecond line");
    EXPECT_EQ(QString::fromStdString(Value(d, "IDS_TWO")).split('\n').size(), 2);
    EXPECT_EQ(Value(d, "IDS_CRLF"), "a\r\nb");
    EXPECT_EQ(Value(d, "IDS_MANY"), "\n\n");
    // Escapes in keys are not touched: only values are texts.
    const dictionary k = Parse("IDS\\nKEY@v\r\n");
    EXPECT_EQ(Value(k, "IDS\\nKEY"), "v");
}

TEST(LcFormat, NonBmpCharactersSurviveAsOneCodePoint) {
    // U+1F600 is the surrogate pair D83D DE00 in the file.
    const dictionary d = Parse("IDS_SMILE@smile \xF0\x9F\x98\x80 and \xC3\xA9\r\n");
    const QString text = QString::fromStdString(Value(d, "IDS_SMILE"));
    ASSERT_EQ(text.size(), 6 + 2 + 6); // the pair is two UTF-16 units in QString too
    EXPECT_EQ(text.toUcs4().at(6), 0x1F600u);
    EXPECT_EQ(text.back(), QChar(0xE9));
}

TEST(LcFormat, ByteOrderMarkIsSkippedUncheckedAndBrokenUnitsDoNotCrash) {
    // Any first two bytes are dropped, even when they are not a mark.
    std::string bytes = "XX" + localization::utf8_to_utf16le("IDS_A@a\r\n");
    dictionary d;
    d.load_plain(bytes.data(), bytes.size());
    EXPECT_EQ(Value(d, "IDS_A"), "a");
    // A lone high surrogate followed by text, and an odd trailing byte.
    std::string broken("\xFF\xFE", 2);
    broken += localization::utf8_to_utf16le("IDS_B@x");
    broken += std::string("\x3D\xD8", 2); // D83D alone
    broken += localization::utf8_to_utf16le("y");
    broken += '\x41';
    dictionary b;
    b.load_plain(broken.data(), broken.size());
    EXPECT_EQ(Value(b, "IDS_B"), "x\xEF\xBF\xBDy");
}

TEST(LcFormat, MissingKeyReturnsTheKeyPointerItselfAndEmptyKeyNull) {
    const dictionary d = Parse("IDS_OK@OK\r\n");
    const char* key = "IDS_NOT_THERE";
    EXPECT_EQ(d.get_item(key), key);
    EXPECT_STREQ(d.get_item("IDS_OK"), "OK");
    EXPECT_EQ(d.get_item(nullptr), nullptr);
    EXPECT_EQ(d.get_item(""), nullptr);
}

TEST(LcFile, EmptyOrMissingFileCountsAsNotLoaded) {
    QTemporaryDir dir;
    const fs::path folder = dir.path().toStdString();
    WriteBytes(folder / "empty.lc", "");
    dictionary d;
    EXPECT_FALSE(d.load_file(folder / "empty.lc"));
    EXPECT_FALSE(d.load_file(folder / "missing.lc"));
    EXPECT_FALSE(d.load_file(folder)); // a folder is no file
    WriteLc(folder / "one.lc", "IDS_A@a");
    EXPECT_TRUE(d.load_file(folder / "one.lc"));
    EXPECT_EQ(Value(d, "IDS_A"), "a");
}

class DictLayers : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        folder = dir.path().toStdString();
        WriteLc(folder / "en_com.lc", "IDS_OK@OK\r\nIDS_WHO@common\r\n");
        WriteLc(folder / "en_kelctrl.lc", "IDS_ZOOM@Zoom\r\nIDS_WHO@library\r\n");
        WriteLc(folder / "en.lc", "IDS_TITLE@Sample\r\nIDS_WHO@product\r\n");
    }
    QTemporaryDir dir;
    fs::path folder;
};

TEST_F(DictLayers, EnglishFilesServeWhenNoLanguageIsInstalledAndTheProductWins) {
    dictionary d;
    EXPECT_EQ(localization::LoadAllDicts(d, folder, 0), 3); // no wm layer: ignored
    EXPECT_EQ(Value(d, "IDS_OK"), "OK");
    EXPECT_EQ(Value(d, "IDS_ZOOM"), "Zoom");
    EXPECT_EQ(Value(d, "IDS_WHO"), "product");
}

TEST_F(DictLayers, InstalledLanguageFileIsPreferredOverItsEnglishFile) {
    WriteLc(folder / "com.lc", "IDS_OK@D'accord\r\n");
    WriteLc(folder / "en_wm.lc", "IDS_WM@watermark\r\nIDS_WHO@wm\r\n");
    dictionary d;
    EXPECT_EQ(localization::LoadAllDicts(d, folder, 0), 4);
    EXPECT_EQ(Value(d, "IDS_OK"), "D'accord");
    EXPECT_EQ(Value(d, "IDS_WM"), "watermark");
    EXPECT_EQ(Value(d, "IDS_WHO"), "product"); // the product's layer comes after wm
}

TEST_F(DictLayers, EmptyLanguageFileFallsBackToEnglish) {
    WriteBytes(folder / "kelctrl.lc", "");
    dictionary d;
    localization::LoadAllDicts(d, folder, 0);
    EXPECT_EQ(Value(d, "IDS_ZOOM"), "Zoom");
}

TEST_F(DictLayers, MissingRequiredLayerEndsStartUpWithAClearMessageAndKeepsOldTexts) {
    for (const char* layer : {"en_com.lc", "en_kelctrl.lc", "en.lc"}) {
        SCOPED_TRACE(layer);
        QTemporaryDir other;
        const fs::path f = other.path().toStdString();
        for (const char* name : {"en_com.lc", "en_kelctrl.lc", "en.lc"})
            if (std::string(name) != layer)
                fs::copy_file(folder / name, f / name);
        dictionary d = Parse("IDS_OLD@old\r\n");
        try {
            localization::LoadAllDicts(d, f, 0);
            ADD_FAILURE() << "no exception";
        } catch (const localization::missing_dictionary& e) {
            const std::string what = e.what();
            EXPECT_NE(what.find(layer), std::string::npos) << what;
            EXPECT_EQ(e.fallback(), f / layer);
        }
        EXPECT_EQ(Value(d, "IDS_OLD"), "old");
        EXPECT_EQ(d.size(), 1u);
    }
}

TEST_F(DictLayers, GlobalLookupsForQtAndNarrowCallers) {
    localization::LoadAllDicts(folder, 0);
    EXPECT_STREQ(KELCTRL::GetDictItem("IDS_OK"), "OK");
    const char* missing = "IDS_NO_SUCH_TEXT";
    EXPECT_EQ(KELCTRL::GetDictItem(missing), missing);
    EXPECT_TRUE(KELCTRL::HasDictItem("IDS_TITLE"));
    EXPECT_FALSE(KELCTRL::HasDictItem(missing));
    EXPECT_EQ(KELCTRL::GetDictItem(QStringLiteral("IDS_TITLE")), QStringLiteral("Sample"));
    EXPECT_EQ(KELCTRL::GetDictItem(QStringLiteral("IDS_NO_SUCH_TEXT")), QStringLiteral("IDS_NO_SUCH_TEXT"));
    EXPECT_TRUE(KELCTRL::GetDictItem(QString()).isNull());
    EXPECT_EQ(KELCTRL::GetDictText("IDS_ZOOM"), QStringLiteral("Zoom"));
    localization::global_dictionary().clear();
}
