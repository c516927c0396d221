#include "app/CWorkingFolders.h"

#include "app/CrashHandler.h"
#include "common/AppFolders.h"
#include "common/CXmlSettingsFile.h"
#include "common/DebugTrace.h"
#include "common/FileUtil.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace KELCTRL {
namespace {

QString Join(const QString& folder, const QString& name) {
    return QDir(folder).filePath(name);
}

QString ExecutablePathOfProcess() {
    // /proc/self/exe works before (and without) a QCoreApplication.
    const QString self = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    if (!self.isEmpty())
        return self;
    return QCoreApplication::instance() ? QCoreApplication::applicationFilePath() : QString();
}

} // namespace

CWorkingFolders::ENVIRONMENT CWorkingFolders::ENVIRONMENT::FromProcess() {
    ENVIRONMENT env;
    env.executablePath = ExecutablePathOfProcess();
    env.workingFolderOverride = qEnvironmentVariable("KEL_WORKING_FOLDER");
    env.dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (env.dataHome.isEmpty() || QDir::isRelativePath(env.dataHome))
        env.dataHome = Join(QDir::homePath(), QStringLiteral(".local/share"));
    env.picturesFolder = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    env.desktopFolder = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    return env;
}

CWorkingFolders::CWorkingFolders(const QString& appName) : m_appName(appName) {}

QString CWorkingFolders::ResolveWorkingFolder(const QString& appName, const ENVIRONMENT& env) {
    if (!env.workingFolderOverride.isEmpty())
        return QDir::cleanPath(QDir(env.workingFolderOverride).absolutePath());
    const QString exeFolder = QFileInfo(env.executablePath).absolutePath();
    QDir dir(exeFolder);
    if (dir.dirName() == QLatin1String("bin")) {
        const QString shared = QDir::cleanPath(Join(exeFolder, QStringLiteral("../share/") + appName));
        if (QFileInfo(shared).isDir())
            return shared;
    }
    return QDir::cleanPath(exeFolder);
}

QString CWorkingFolders::NewTempFileName(const QString& folder, const QString& extension) {
    return QString::fromStdString(MakeTempFileName(folder.toStdString(), extension.toStdString()).string());
}

void CWorkingFolders::CreateFolder(const QString& path) {
    if (QFileInfo(path).isDir() || QDir().mkpath(path))
        return;
    m_errors << QStringLiteral("Cannot create the folder \"%1\"").arg(path);
    DebugTrace("[CWorkingFolders::InitWorkingFolders] Cannot create \"%s\"\n", path.toUtf8().constData());
}

void CWorkingFolders::MigrateSettings() {
    const QString old = Join(m_workingFolder, QStringLiteral("settings.xml"));
    if (QFileInfo::exists(m_settingsFilePath) || !QFileInfo(old).isFile())
        return;
    std::string error;
    if (CopyFileAtomically(old.toStdString(), m_settingsFilePath.toStdString(),
                           CXmlSettingsFile::kMaxFileBytes, &error)) {
        m_settingsMigrated = true;
        return;
    }
    m_errors << QString::fromStdString(error);
    DebugTrace("[CWorkingFolders::InitWorkingFolders] %s\n", error.c_str());
}

int CWorkingFolders::InitWorkingFolders(const ENVIRONMENT& env, int makeCurrent) {
    m_errors.clear();
    m_settingsMigrated = false;
    m_picturesFolder = env.picturesFolder;
    m_desktopFolder = env.desktopFolder;
    m_executablePath = env.executablePath;
    m_workingFolder = ResolveWorkingFolder(m_appName, env);
    if (makeCurrent && !QDir::setCurrent(m_workingFolder))
        m_errors << QStringLiteral("Cannot enter the working folder \"%1\"").arg(m_workingFolder);

    m_appDataFolder = Join(env.dataHome, m_appName);
    CreateFolder(m_appDataFolder);
    m_tempFolder = Join(m_appDataFolder, QStringLiteral("temp"));
    CreateFolder(m_tempFolder);
    SetTempFolder(m_tempFolder.toStdString());
    m_cacheFolder = Join(m_appDataFolder, QStringLiteral("cache"));
    CreateFolder(m_cacheFolder);
    m_dictFolder = Join(m_workingFolder, QStringLiteral("dict"));
    m_skinFolder = Join(m_workingFolder, QStringLiteral("skin"));
    m_iconFolder = Join(m_workingFolder, QStringLiteral("icon"));
    m_helpFolder = Join(m_workingFolder, QStringLiteral("help"));
    m_crashDumpPath = Join(m_appDataFolder, QStringLiteral("crash.dmp"));
    // From here on a crash leaves its record in the data folder.
    SetCrashDumpPath(m_crashDumpPath.toUtf8().constData());
    m_settingsFilePath = Join(m_appDataFolder, QStringLiteral("settings.xml"));
    m_appInfoFilePath = Join(m_appDataFolder, QStringLiteral("appinfo.xml"));
    m_styleFilePath = Join(m_workingFolder, QStringLiteral("style.xml"));
    m_scratchFilePath = NewTempFileName(m_tempFolder, QStringLiteral(".tmp"));
    // The preset folders are made by their managers when a first preset is stored.
    m_batchPresetsFolder = Join(m_appDataFolder, QStringLiteral("BatchPresets"));
    m_metaPresetsFolder = Join(m_appDataFolder, QStringLiteral("MetaPresets"));
    MigrateSettings();
    return m_errors.isEmpty() ? 1 : 0;
}

} // namespace KELCTRL
