// Guards against files in the wrong place: a working folder that ignores the override or the installed
// layout, folders not created, an old installation's settings not carried over or copied over newer ones.
#include "app/CWorkingFolders.h"
#include "app/CrashHandler.h"
#include "common/AppFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace KELCTRL;

namespace {

void WriteFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

QByteArray ReadFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

class WorkingFolders : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        root = dir.path();
        env.executablePath = root + "/build/bin/kelphoto";
        env.dataHome = root + "/data";
        env.picturesFolder = root + "/Pictures";
        env.desktopFolder = root + "/Desktop";
        QDir().mkpath(root + "/build/bin");
    }
    QTemporaryDir dir;
    QString root;
    CWorkingFolders::ENVIRONMENT env;
};

} // namespace

TEST_F(WorkingFolders, EveryPathIsBuiltAndTheUserFoldersExist) {
    CWorkingFolders f("Sample Photo");
    ASSERT_EQ(f.InitWorkingFolders(env, 0), 1) << f.Errors().join("; ").toStdString();
    const QString data = root + "/data/Sample Photo";
    const QString work = root + "/build/bin";
    EXPECT_EQ(f.GetWorkingFolder(), work);
    EXPECT_EQ(f.GetAppDataFolder(), data);
    EXPECT_EQ(f.GetTempFolder(), data + "/temp");
    EXPECT_EQ(f.GetCacheFolder(), data + "/cache");
    EXPECT_EQ(f.GetDictFolder(), work + "/dict");
    EXPECT_EQ(f.GetSkinFolder(), work + "/skin");
    EXPECT_EQ(f.GetIconFolder(), work + "/icon");
    EXPECT_EQ(f.GetHelpFolder(), work + "/help");
    EXPECT_EQ(f.GetStyleFilePath(), work + "/style.xml");
    EXPECT_EQ(f.GetCrashDumpPath(), data + "/crash.dmp");
    EXPECT_EQ(f.GetSettingsFilePath(), data + "/settings.xml");
    EXPECT_EQ(f.GetAppInfoFilePath(), data + "/appinfo.xml");
    EXPECT_EQ(f.GetBatchPresetsFolder(), data + "/BatchPresets");
    EXPECT_EQ(f.GetMetaPresetsFolder(), data + "/MetaPresets");
    EXPECT_EQ(f.GetPicturesFolder(), root + "/Pictures");
    for (const QString& folder : {data, data + "/temp", data + "/cache"})
        EXPECT_TRUE(QFileInfo(folder).isDir()) << folder.toStdString();
    // A crash from now on writes its record into the data folder.
    EXPECT_EQ(QString::fromUtf8(GetCrashDumpPath()), data + "/crash.dmp");
    // Code without the application object finds the temporary folder.
    EXPECT_EQ(QString::fromStdString(GetTempFolder().string()), data + "/temp");
    // The scratch file is a free .tmp name in the temporary folder.
    EXPECT_EQ(QFileInfo(f.GetScratchFilePath()).absolutePath(), data + "/temp");
    EXPECT_TRUE(f.GetScratchFilePath().endsWith(".tmp"));
    EXPECT_FALSE(QFileInfo::exists(f.GetScratchFilePath()));
}

TEST_F(WorkingFolders, OverrideAndInstalledLayoutChooseTheWorkingFolder) {
    // Installed: <prefix>/bin/kelphoto with <prefix>/share/<appName>.
    QDir().mkpath(root + "/build/share/Sample");
    EXPECT_EQ(CWorkingFolders::ResolveWorkingFolder("Sample", env), root + "/build/share/Sample");
    // Another product in the same prefix has no share folder: the executable's folder serves.
    EXPECT_EQ(CWorkingFolders::ResolveWorkingFolder("Other", env), root + "/build/bin");
    env.workingFolderOverride = root + "/custom/../elsewhere";
    EXPECT_EQ(CWorkingFolders::ResolveWorkingFolder("Sample", env), root + "/elsewhere");
}

TEST_F(WorkingFolders, WorkingFolderBecomesTheCurrentDirectory) {
    const QString before = QDir::currentPath();
    CWorkingFolders f("Sample");
    f.InitWorkingFolders(env, 1);
    const QString during = QDir::currentPath();
    QDir::setCurrent(before);
    EXPECT_EQ(QFileInfo(during).canonicalFilePath(), QFileInfo(root + "/build/bin").canonicalFilePath());
}

TEST_F(WorkingFolders, OldSettingsAreCarriedOverOnlyWhenTheDataFolderHasNone) {
    WriteFile(root + "/build/bin/settings.xml", "<settings><start_times>8</start_times></settings>");
    CWorkingFolders f("Sample");
    f.InitWorkingFolders(env, 0);
    EXPECT_TRUE(f.SettingsMigrated());
    EXPECT_EQ(ReadFile(f.GetSettingsFilePath()), "<settings><start_times>8</start_times></settings>");

    // A newer file in the data folder is never replaced by the old one.
    WriteFile(f.GetSettingsFilePath(), "<settings><start_times>20</start_times></settings>");
    CWorkingFolders again("Sample");
    again.InitWorkingFolders(env, 0);
    EXPECT_FALSE(again.SettingsMigrated());
    EXPECT_EQ(ReadFile(again.GetSettingsFilePath()), "<settings><start_times>20</start_times></settings>");
}

TEST_F(WorkingFolders, UncreatableDataFolderIsReportedAndTheRunGoesOn) {
    WriteFile(root + "/data", "a file where the data folder should be");
    CWorkingFolders f("Sample");
    EXPECT_EQ(f.InitWorkingFolders(env, 0), 0);
    EXPECT_FALSE(f.Errors().isEmpty());
    EXPECT_EQ(f.GetSettingsFilePath(), root + "/data/Sample/settings.xml");
}
