// Guards against settings texts that change on a save and read: blanks folded or trimmed by the XML
// parser (a file-name prefix "Copy of " read back as "Copy of"), and a recent-file list that is not
// kept or grows past its 20 entries.
#include "common/AppSettingsXml.h"
#include "common/CXmlSettingsFile.h"
#include "common/SaveOptionsXml.h"
#include "common/testing/TempFolder.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <string>

using namespace KELCTRL;

TEST(SettingsText, BlanksAndRecentFilesSurviveSaveAndRead) {
    kel_testing::TempFolder folder;
    const auto path = folder / "settings.xml";

    SAVEOPTIONS_SETTINGS options;
    options.filenamePrefix = "Copy of ";
    options.filenameSuffix = "  (edited)  twice ";
    APP_SETTINGS written;
    for (int i = 0; i < 25; ++i)
        written.recentFiles.push_back("/photos/ a  " + std::to_string(i) + ".jpg");
    ASSERT_EQ(SaveSettingFile(path, written, "Kel", "1.0", 1, SETTINGS_FORM_PLAIN,
                              [&](TiXmlElement* root) {
                                  TiXmlElement e("save");
                                  SaveOptionsToXml(&e, options);
                                  root->InsertEndChild(e);
                                  return 1;
                              }),
              1);

    APP_SETTINGS read;
    SAVEOPTIONS_SETTINGS back;
    ReadSettingFile(path, read, 1, SETTINGS_FORM_PLAIN, {}, [&](TiXmlElement* root) {
        return root ? SaveOptionsFromXml(back, root->FirstChildElement("save")) : 0;
    });
    EXPECT_EQ(back.filenamePrefix, "Copy of ");
    EXPECT_EQ(back.filenameSuffix, "  (edited)  twice ");
    ASSERT_EQ(read.recentFiles.size(), kMaxRecentFiles);
    for (size_t i = 0; i < kMaxRecentFiles; ++i)
        EXPECT_EQ(read.recentFiles[i], written.recentFiles[i]);

    // Numbers written by hand with blanks around them still read.
    CXmlSettingsFile file;
    ASSERT_EQ(file.Parse("<settings><start_times> 7 </start_times><recent_files><file> /a b </file>"
                         "<file> /a b </file></recent_files></settings>",
                         "settings"),
              1);
    APP_SETTINGS hand;
    ReadAppSettings(file.Root(), hand, 1, {});
    EXPECT_EQ(hand.startTimes, 7);
    EXPECT_EQ(hand.recentFiles, std::vector<std::string>{" /a b "}); // once, blanks kept
}
