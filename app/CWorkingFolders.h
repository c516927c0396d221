#pragma once
// Where the application keeps its files. Files that ship with the product (dictionaries, skins, icons,
// help, style.xml) lie in the working folder: the executable's folder, or <prefix>/share/<appName>
// when the executable sits in an installed <prefix>/bin, or KEL_WORKING_FOLDER when set. The user's
// files lie below one data folder, $XDG_DATA_HOME/<appName> (~/.local/share/<appName> by default).
#include <QString>
#include <QStringList>

namespace KELCTRL {

class CWorkingFolders {
public:
    // What the folders are derived from. FromProcess() reads the running process and its environment;
    // tests give their own.
    struct ENVIRONMENT {
        QString executablePath;
        QString workingFolderOverride; // KEL_WORKING_FOLDER
        QString dataHome;              // $XDG_DATA_HOME, or ~/.local/share
        QString picturesFolder;
        QString desktopFolder;
        static ENVIRONMENT FromProcess();
    };

    explicit CWorkingFolders(const QString& appName);
    virtual ~CWorkingFolders() = default;

    // Builds every path in order, creates the data, temporary and cache folders, publishes the
    // temporary folder (SetTempFolder) and the crash record's path (SetCrashDumpPath), and copies a
    // settings.xml of an old installation from the working folder when the data folder has none. With
    // makeCurrent the working folder becomes the current directory. Returns 1 when every folder to be created
    // exists; failures are listed in Errors() and the run goes on with the paths as built.
    int InitWorkingFolders(const ENVIRONMENT& env, int makeCurrent = 1);

    const QString& GetAppName() const { return m_appName; }
    const QString& GetExecutablePath() const { return m_executablePath; }
    const QString& GetWorkingFolder() const { return m_workingFolder; }
    const QString& GetAppDataFolder() const { return m_appDataFolder; }
    const QString& GetTempFolder() const { return m_tempFolder; }
    const QString& GetCacheFolder() const { return m_cacheFolder; }
    const QString& GetDictFolder() const { return m_dictFolder; }
    const QString& GetSkinFolder() const { return m_skinFolder; }
    const QString& GetIconFolder() const { return m_iconFolder; }
    const QString& GetHelpFolder() const { return m_helpFolder; }
    const QString& GetCrashDumpPath() const { return m_crashDumpPath; }
    const QString& GetSettingsFilePath() const { return m_settingsFilePath; }
    const QString& GetAppInfoFilePath() const { return m_appInfoFilePath; }
    const QString& GetStyleFilePath() const { return m_styleFilePath; }
    const QString& GetBatchPresetsFolder() const { return m_batchPresetsFolder; }
    const QString& GetMetaPresetsFolder() const { return m_metaPresetsFolder; }
    const QString& GetPicturesFolder() const { return m_picturesFolder; }
    const QString& GetDesktopFolder() const { return m_desktopFolder; }
    // The scratch file: a new, unused name in the temporary folder with the extension ".tmp".
    const QString& GetScratchFilePath() const { return m_scratchFilePath; }
    // Whether settings.xml was copied over from the working folder by this InitWorkingFolders.
    bool SettingsMigrated() const { return m_settingsMigrated; }
    const QStringList& Errors() const { return m_errors; }

    // A free name "<random number><extension>" in folder; the file is not created.
    static QString NewTempFileName(const QString& folder, const QString& extension);
    // The working folder for an executable, as described above.
    static QString ResolveWorkingFolder(const QString& appName, const ENVIRONMENT& env);

private:
    void CreateFolder(const QString& path);
    void MigrateSettings();

    QString m_appName;
    QString m_executablePath;
    QString m_workingFolder;
    QString m_appDataFolder;
    QString m_tempFolder;
    QString m_cacheFolder;
    QString m_dictFolder;
    QString m_skinFolder;
    QString m_iconFolder;
    QString m_helpFolder;
    QString m_crashDumpPath;
    QString m_settingsFilePath;
    QString m_appInfoFilePath;
    QString m_styleFilePath;
    QString m_scratchFilePath;
    QString m_batchPresetsFolder;
    QString m_metaPresetsFolder;
    QString m_picturesFolder;
    QString m_desktopFolder;
    bool m_settingsMigrated = false;
    QStringList m_errors;
};

} // namespace KELCTRL
