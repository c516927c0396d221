// Guards against settings that are lost or wrong: a damaged settings.xml that stops the run or leaks
// partial values, a window placed off every screen, a key that does not survive save and read, and a
// failed write that damages the old file.
#include "app/CAppSettings.h"
#include "common/CXmlSettingsFile.h"
#include "common/FileUtil.h"
#include "common/XmlValues.h"
#include "common/testing/FullDisk.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <tinyxml.h>

#include <fstream>

using namespace KELCTRL;
namespace fs = std::filesystem;

namespace {

const SCREEN_AREA kPrimary{{0, 0, 1920, 1080}, {0, 0, 1920, 1040}};
const SCREEN_AREA kRight{{1920, 0, 1280, 1024}, {1920, 0, 1280, 1024}};

std::string ReadAll(const fs::path& p) {
    std::string bytes;
    ReadSmallFile(p, bytes, 1 << 20);
    return bytes;
}

void WriteText(const fs::path& p, const std::string& text) {
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out << text;
}

std::vector<std::string> FilesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(folder))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

class SettingsFile : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        folder = dir.path().toStdString();
        path = folder / "settings.xml";
        settings.SetScreenProvider([this] { return screens; });
    }
    // Reads with a hook that records what it was given.
    int Read() {
        hookCalls = 0;
        hookRoot = reinterpret_cast<TiXmlElement*>(1);
        return settings.ReadSettingFile(QString::fromStdString(path.string()), [this](TiXmlElement* root) {
            ++hookCalls;
            hookRoot = root;
            return 1;
        });
    }
    void ExpectDefaults() {
        EXPECT_EQ(settings.StartTimes(), 1);
        EXPECT_TRUE(settings.IsFirstRun());
        EXPECT_EQ(settings.IsMaximized(), 1);
        EXPECT_EQ(settings.GetMainWndRect(), QRect(480, 270, 960, 540));
        EXPECT_EQ(settings.Values().productShared, 0);
        EXPECT_EQ(settings.IsSettingsRead(), 1);
        EXPECT_EQ(hookCalls, 1);
        EXPECT_EQ(hookRoot, nullptr);
    }
    QTemporaryDir dir;
    fs::path folder;
    fs::path path;
    std::vector<SCREEN_AREA> screens{kPrimary, kRight};
    CAppSettings settings{1};
    int hookCalls = 0;
    TiXmlElement* hookRoot = nullptr;
};

} // namespace

TEST_F(SettingsFile, MissingFileGivesDefaultsAndTheRunGoesOn) {
    EXPECT_EQ(Read(), 0);
    ExpectDefaults();
}

TEST_F(SettingsFile, DamagedFilesGiveDefaultsAndNoPartialValues) {
    const std::string good = "<?xml version=\"1.0\"?><settings><start_times>41</start_times>"
                             "<mainwnd_rect x=\"10\" y=\"20\" width=\"300\" height=\"200\" maximized=\"0\"/>"
                             "</settings>";
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"truncated", good.substr(0, good.size() / 2)},
        {"not xml", "this is not XML at all { }"},
        {"binary", std::string("\0\x01\x02\xFF\xFE", 5)},
        {"broken UTF-8 at the end", "<settings><start_times>4</start_times><a>\xC3"},
        {"other root", "<preferences><start_times>41</start_times></preferences>"},
        {"empty", ""},
        {"nested too deep", std::string("<settings>") + std::string(100000, '<') + "a>"},
    };
    for (const auto& [name, text] : cases) {
        SCOPED_TRACE(name);
        CAppSettings fresh(1);
        fresh.SetScreenProvider([this] { return screens; });
        WriteText(path, text);
        int calls = 0;
        TiXmlElement* given = reinterpret_cast<TiXmlElement*>(1);
        EXPECT_EQ(fresh.ReadSettingFile(QString::fromStdString(path.string()),
                                        [&](TiXmlElement* r) {
                                            ++calls, given = r;
                                            return 1;
                                        }),
                  0);
        EXPECT_EQ(fresh.StartTimes(), 1);
        EXPECT_EQ(fresh.IsMaximized(), 1);
        EXPECT_EQ(fresh.GetMainWndRect(), QRect(480, 270, 960, 540));
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(given, nullptr);
        EXPECT_FALSE(fresh.LastError().isEmpty());
    }
}

TEST_F(SettingsFile, LegacyCodePageTextStillReadsWithItsLettersReplaced) {
    WriteText(path, "<settings><start_times>4</start_times><disabled_push>caf\xE9 \xC3</disabled_push>"
                    "</settings>");
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(settings.StartTimes(), 5);
    EXPECT_EQ(settings.Values().disabledPush, "caf? ?");
}

TEST_F(SettingsFile, UnreadableFileGivesDefaults) {
    // A folder where the file should be cannot be read as one, whatever the user's rights are.
    fs::create_directory(path);
    EXPECT_EQ(Read(), 0);
    ExpectDefaults();
}

TEST_F(SettingsFile, NegativeCountersReadAsZeroAndHugeOnesStayInRange) {
    WriteText(path, "<settings><start_times>-7</start_times><product_share_last_show>-3"
                    "</product_share_last_show></settings>");
    EXPECT_EQ(Read(), 1);
    EXPECT_EQ(settings.StartTimes(), 1); // 0, then this start
    EXPECT_EQ(settings.Values().productShareLastShow, 0);
    EXPECT_NE(hookRoot, nullptr);

    WriteText(path, "<settings><start_times>99999999999</start_times></settings>");
    Read();
    EXPECT_EQ(settings.StartTimes(), kMaxStartTimes);
    WriteText(path, "<settings><start_times>12abc</start_times></settings>");
    Read();
    EXPECT_EQ(settings.StartTimes(), 1);
}

TEST_F(SettingsFile, RectangleOnAScreenThatIsGoneIsIgnored) {
    WriteText(path, "<settings><mainwnd_rect x=\"3000\" y=\"100\" width=\"800\" height=\"600\" "
                    "maximized=\"0\"/></settings>");
    screens = {kPrimary}; // the right-hand screen was unplugged
    Read();
    EXPECT_EQ(settings.GetMainWndRect(), QRect(480, 270, 960, 540));
    EXPECT_EQ(settings.IsMaximized(), 0);
    // With the screen back, the same file places the window on it.
    screens = {kPrimary, kRight};
    Read();
    EXPECT_EQ(settings.GetMainWndRect(), QRect(1920 + 1280 - 800, 100, 800, 600));
}

TEST_F(SettingsFile, RectangleLargerThanTheWorkAreaIsCutToIt) {
    WriteText(path, "<settings><mainwnd_rect x=\"-50\" y=\"-20\" width=\"2500\" height=\"1500\" "
                    "maximized=\"0\"/></settings>");
    Read();
    EXPECT_EQ(settings.GetMainWndRect(), QRect(0, 0, 1920, 1040));
}

TEST_F(SettingsFile, MissingMaximizedKeepsTheWindowMaximized) {
    WriteText(path, "<settings><mainwnd_rect x=\"100\" y=\"100\" width=\"640\" height=\"480\"/></settings>");
    Read();
    EXPECT_EQ(settings.IsMaximized(), 1);
    EXPECT_EQ(settings.GetMainWndRect(), QRect(100, 100, 640, 480));
}

TEST_F(SettingsFile, EmptyRectangleKeepsTheDefaultAndNoScreensKeepNothing) {
    WriteText(path, "<settings><mainwnd_rect x=\"100\" y=\"100\" width=\"0\" height=\"480\"/></settings>");
    Read();
    EXPECT_EQ(settings.GetMainWndRect(), QRect(480, 270, 960, 540));
    screens.clear();
    CAppSettings headless(1);
    headless.SetScreenProvider([this] { return screens; });
    headless.ReadSettingFile(QString::fromStdString(path.string()));
    EXPECT_TRUE(headless.GetMainWndRect().isEmpty());
}

TEST_F(SettingsFile, EveryKeySurvivesSaveAndRead) {
    for (int freeware : {1, 0}) {
        SCOPED_TRACE(freeware);
        CAppSettings out(freeware);
        out.SetScreenProvider([this] { return screens; });
        APP_SETTINGS& v = out.Values();
        v.startTimes = 1234;
        v.appKey = "KEY-1234";
        v.disabledPush = "spring <offer> & more";
        v.productShared = 1;
        v.productShareLastShow = 77;
        v.mainWndRect = IntRect{2000, 50, 1000, 700};
        v.maximized = 0;
        out.SaveOptions().format = FileFormatTiff();
        out.SaveOptions().is16Bit = 1;
        out.SaveOptions().quality = 77;
        out.SaveOptions().compression = 1;
        out.SaveOptions().colorSpace = "Wide Gamut RGB";
        out.SaveOptions().filenamePrefix = "pre_";
        out.SaveOptions().filenameSuffix = "_\xC3\xA9t\xC3\xA9";
        out.SaveOptions().removeMetadata = 5;
        out.SaveOptions().removeAllMetadata = 1;
        ASSERT_EQ(out.SaveSettingFile(QString::fromStdString(path.string()), "Sample - Pro Edition", "2.1.0",
                                      [&](TiXmlElement* root) {
                                          TiXmlElement options("save_options");
                                          out.SaveOptionsToXml(&options);
                                          root->InsertEndChild(options);
                                          AddXmlChildText(root, "own_key", "own value");
                                          return 1;
                                      }),
                  1);
        CAppSettings in(freeware);
        in.SetScreenProvider([this] { return screens; });
        std::string own;
        ASSERT_EQ(in.ReadSettingFile(QString::fromStdString(path.string()),
                                     [&](TiXmlElement* root) {
                                         in.SaveOptionsFromXml(root->FirstChildElement("save_options"));
                                         own = XmlChildText(root, "own_key");
                                         return 1;
                                     }),
                  1);
        const APP_SETTINGS& r = in.Values();
        EXPECT_EQ(r.startTimes, 1235);
        EXPECT_EQ(r.appKey, freeware ? "" : "KEY-1234");
        EXPECT_EQ(r.disabledPush, freeware ? "spring <offer> & more" : "");
        EXPECT_EQ(r.productShared, 1);
        EXPECT_EQ(r.productShareLastShow, 77);
        EXPECT_EQ(r.mainWndRect, (IntRect{2000, 50, 1000, 700}));
        EXPECT_EQ(r.maximized, 0);
        EXPECT_EQ(own, "own value");
        const SAVEOPTIONS_SETTINGS& o = in.SaveOptions();
        EXPECT_EQ(o.format, FileFormatTiff());
        EXPECT_EQ(o.is16Bit, 1);
        EXPECT_EQ(o.quality, 77u);
        EXPECT_EQ(o.compression, 1u);
        EXPECT_EQ(o.colorSpace, "Wide Gamut RGB");
        EXPECT_EQ(o.filenamePrefix, "pre_");
        EXPECT_EQ(o.filenameSuffix, "_\xC3\xA9t\xC3\xA9");
        EXPECT_EQ(o.removeMetadata, 5u);
        EXPECT_EQ(o.removeAllMetadata, 1);
    }
}

TEST_F(SettingsFile, FileKeepsItsOrderAndWritesOptionalKeysOnlyWhenSet) {
    CAppSettings out(1);
    out.Values().startTimes = 3;
    out.Values().mainWndRect = IntRect{};
    ASSERT_EQ(out.SaveSettingFile(QString::fromStdString(path.string()), "Sample", "1.0"), 1);
    const std::string text = ReadAll(path);
    EXPECT_EQ(text.find("disabled_push"), std::string::npos);
    EXPECT_EQ(text.find("mainwnd_rect"), std::string::npos);
    EXPECT_EQ(text.find("app_key"), std::string::npos);
    const size_t product = text.find("<product>Sample</product>");
    const size_t version = text.find("<version>1.0</version>");
    const size_t start = text.find("<start_times>3</start_times>");
    const size_t shared = text.find("<product_shared>0</product_shared>");
    const size_t last = text.find("<product_share_last_show>");
    ASSERT_NE(product, std::string::npos);
    EXPECT_LT(product, version);
    EXPECT_LT(version, start);
    EXPECT_LT(start, shared);
    EXPECT_LT(shared, last);
}

TEST(SaveOptionsXml, WordsMapToFormatsAndUnknownOnesNeitherBreakNorLeak) {
    SAVEOPTIONS_SETTINGS o;
    o.format = UniqueID("01234567-89ab-cdef-0123-456789abcdef");
    o.compression = 9;
    TiXmlElement e("opts");
    SaveOptionsToXml(&e, o);
    EXPECT_STREQ(XmlChildText(&e, "save_format"), "jpeg");
    EXPECT_STREQ(XmlChildText(&e, "save_compression"), "zip");
    EXPECT_STREQ(XmlChildText(&e, "save_bit_depth"), "8");

    TiXmlElement in("opts");
    AddXmlChildText(&in, "save_format", "PNG");
    AddXmlChildText(&in, "save_compression", "none");
    AddXmlChildText(&in, "save_quality", "150");
    AddXmlChildText(&in, "save_bit_depth", "12");
    SAVEOPTIONS_SETTINGS r;
    ASSERT_EQ(SaveOptionsFromXml(r, &in), 1);
    EXPECT_EQ(r.format, FileFormatPng());
    EXPECT_EQ(r.compression, 0u);
    EXPECT_EQ(r.quality, SAVEOPTIONS_SETTINGS().quality); // out of range: kept
    EXPECT_EQ(r.is16Bit, 0);
    EXPECT_EQ(SaveOptionsFromXml(r, nullptr), 0);
    EXPECT_STREQ(FileFormatWord(FileFormatBmp()), "bmp");
    EXPECT_EQ(FileFormatJpeg().ToString(), "19E4A5AA-5662-4FC5-A0C0-1758028E1057");
}

TEST_F(SettingsFile, AppInfoFileHoldsVersionAndLicence) {
    const fs::path info = folder / "appinfo.xml";
    ASSERT_EQ(CAppSettings::UpdateAppInfoFile(QString::fromStdString(info.string()), "3.2.1", "freeware"), 1);
    CXmlSettingsFile file;
    ASSERT_EQ(file.Load(info, "appinfo", SETTINGS_FORM_PLAIN), 1);
    EXPECT_STREQ(file.Root()->Attribute("version"), "3.2.1");
    EXPECT_STREQ(file.Root()->Attribute("license"), "freeware");
}

TEST_F(SettingsFile, FailedWriteToAFullDiskLeavesTheOldFileWholeAndNoTemporaryFile) {
    // The file size limit makes every write past 64 bytes fail as a full disk would.
    CAppSettings out(1);
    out.Values().startTimes = 5;
    ASSERT_EQ(out.SaveSettingFile(QString::fromStdString(path.string()), "Sample", "1.0"), 1);
    const std::string before = ReadAll(path);
    out.Values().disabledPush = std::string(4096, 'x');

    int ok = -1;
    {
        const auto full = kel_testing::FullDisk::FileSizeLimit(64);
        ASSERT_TRUE(full.Active());
        ok = out.SaveSettingFile(QString::fromStdString(path.string()), "Sample", "1.0");
    }

    EXPECT_EQ(ok, 0);
    EXPECT_FALSE(out.LastError().isEmpty());
    EXPECT_EQ(ReadAll(path), before);
    EXPECT_EQ(FilesIn(folder), std::vector<std::string>{"settings.xml"});
}

TEST_F(SettingsFile, FullTmpfsLeavesTheOldFileWholeAndNoTemporaryFile) {
    const fs::path mountPoint = folder / "small";
    std::vector<std::string> left;
    std::string before, after;
    int first = -1, second = -1;
    {
        const auto full = kel_testing::FullDisk::Tmpfs(mountPoint, 16 * 1024);
        if (!full.Active())
            GTEST_SKIP() << "mounting a tmpfs is not permitted here";
        const fs::path target = mountPoint / "settings.xml";
        CAppSettings out(1);
        out.Values().startTimes = 9;
        const QString targetPath = QString::fromStdString(target.string());
        first = out.SaveSettingFile(targetPath, "Sample", "1.0");
        before = ReadAll(target);
        out.Values().disabledPush = std::string(64 * 1024, 'y'); // more than the whole disk
        second = out.SaveSettingFile(targetPath, "Sample", "1.0");
        left = FilesIn(mountPoint);
        after = ReadAll(target);
    }
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
    EXPECT_EQ(after, before);
    EXPECT_EQ(left, std::vector<std::string>{"settings.xml"});
}

TEST(WindowPlacement, NearestScreenAndFitting) {
    const std::vector<SCREEN_AREA> two{kPrimary, kRight};
    EXPECT_EQ(NearestScreen(IntRect{1800, 0, 400, 300}, two), 1); // more of it on the right screen
    EXPECT_EQ(NearestScreen(IntRect{-900, 0, 400, 300}, two), 0); // off the left edge: nearest is primary
    EXPECT_EQ(NearestScreen(IntRect{0, 0, 10, 10}, {}), -1);
    IntRect straddling{1700, 900, 400, 300};
    ASSERT_EQ(FitWindowRect(straddling, two), 1);
    EXPECT_EQ(straddling, (IntRect{1520, 740, 400, 300})); // shifted inside the primary work area
    IntRect touching{-400, 0, 400, 300};                   // ends exactly at the left edge: no overlap
    EXPECT_EQ(FitWindowRect(touching, two), 0);
    EXPECT_EQ(DefaultWindowRect(IntRect{0, 0, 1921, 1081}), (IntRect{480, 270, 960, 540}));
}
