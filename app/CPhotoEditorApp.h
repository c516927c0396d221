#pragma once
// The base of every product. The product derives from it, passes its names and flags to the
// constructor and supplies the main window; this class owns the order of start-up and shut-down,
// the single-instance protocol, the crash and memory hooks, the hot keys, the image cache files and
// the background checks. There is one object, reachable through GetApp().
#include "app/CAppSettings.h"
#include "app/CImageCacheFiles.h"
#include "app/CWorkingFolders.h"
#include "app/HotKeys.h"

#include <QRect>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

class CImageDataInfo;
class CSelectedRegion;
class QObject;
class QWidget;
class TiXmlElement;

namespace GS_THREAD {
class basic_thread;
}

namespace KELCTRL {

class CAppEventFilter;
class CImageProcessThread;
class CProgressWnd;
class CSingleInstance;
class CWebChecks;

// Message-box flags and results the application's notices use (the classic values).
constexpr unsigned MB_OK = 0x0;
constexpr unsigned MB_YESNO = 0x4;
constexpr unsigned MB_ICONERROR = 0x10;
constexpr unsigned MB_ICONQUESTION = 0x20;
constexpr unsigned MB_ICONINFORMATION = 0x40;
constexpr int IDOK = 1;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

// The pages a product may configure; each format takes %1 = web product key, %2 = version text.
// Nothing is contacted while a format is empty, which is the default.
struct WEB_ENDPOINTS {
    QString versionCheck; // answers one hexadecimal line: the newest version as a version dword
    QString pushContent;  // answers XML: <root><page name="" width="" height=""/></root>
    QString homepage, download, contact, purchase;
};

class CPhotoEditorApp {
public:
    CPhotoEditorApp(const QString& companyName, const QString& appName, const QString& edition,
                    const QString& version, uint32_t versionDword, const QString& webProductKey,
                    int isFreeware, int aboutFlag);
    virtual ~CPhotoEditorApp();
    CPhotoEditorApp(const CPhotoEditorApp&) = delete;
    CPhotoEditorApp& operator=(const CPhotoEditorApp&) = delete;

    // Creates the QApplication (unless one exists), runs InitInstance, the event loop and
    // ExitInstance, and returns the exit code. A process started as the crash reporter
    // ("--kel-crash-report NAME RECORD") only shows the crash notice.
    int Run(int argc, char** argv);
    virtual int InitInstance();
    virtual int ExitInstance();

    // ---- names
    const QString& GetCompanyName() const { return m_companyName; }
    const QString& GetAppName() const { return m_appName; }
    const QString& GetEdition() const { return m_edition; }
    const QString& GetAppNameEdition() const { return m_appNameEdition; }
    const std::string& GetAppRegName() const { return m_appRegName; }
    const QString& GetAppVersion() const { return m_version; }
    uint32_t GetAppVersionDword() const { return m_versionDword; }
    const QString& GetStartupWindowName() const { return m_startupWindowName; }
    int IsFreeware() const { return m_isFreeware; }
    int GetAboutFlag() const { return m_aboutFlag; }

    // ---- state
    void SetExitCode(int code) { m_exitCode = code; }
    int GetExitCode() const { return m_exitCode; }
    int StartTimes() const { return m_settings.StartTimes(); }
    int IsFirstRun() const { return m_settings.IsFirstRun(); }
    QWidget* GetMainWnd() const { return m_mainWnd; }
    void SetMainWnd(QWidget* wnd) { m_mainWnd = wnd; }
    const QStringList& GetCmdLineItems() const { return m_cmdLineAll; }
    // The folder the process was started in. Start-up makes the working folder current, so relative
    // names on the command line are resolved against this one.
    const QString& GetLaunchFolder() const { return m_launchFolder; }
    // A name from the command line made absolute against the launch folder.
    QString AbsoluteLaunchPath(const QString& name) const;
    const QStringList& GetCmdLineFiles() const { return m_cmdLineFiles; }
    // Newest first; read from and saved to settings.xml with the other settings.
    QStringList& RecentFiles() { return m_recentFiles; }
    // Puts a file at the front of the recent list (once), keeping the newest 20.
    void AddRecentFile(const QString& path);
    static constexpr int kRecentFileCount = 20;
    // Sets the restart flag and asks the main window to close; nothing without a main window.
    void RestartApp();
    bool WillRestart() const { return m_restart; }

    // ---- folders and settings
    CWorkingFolders& Folders() { return m_folders; }
    const CWorkingFolders& Folders() const { return m_folders; }
    const QString& GetWorkingFolder() const { return m_folders.GetWorkingFolder(); }
    const QString& GetTempFolder() const { return m_folders.GetTempFolder(); }
    const QString& GetCacheFolder() const { return m_folders.GetCacheFolder(); }
    const QString& GetSkinFolder() const { return m_folders.GetSkinFolder(); }
    const QString& GetIconFolder() const { return m_folders.GetIconFolder(); }
    const QString& GetBatchPresetsFolder() const { return m_folders.GetBatchPresetsFolder(); }
    const QString& GetMetaPresetsFolder() const { return m_folders.GetMetaPresetsFolder(); }
    CAppSettings& Settings() { return m_settings; }
    // Reads settings.xml (the derived product calls it, usually from its InitWorkingFolders) and
    // runs ReadSettings with the root.
    int ReadSettingFile();
    int SaveSettingFile();
    int UpdateAppInfoFile(const QString& license);
    // Where folders are derived from; tests give their own before InitInstance.
    void SetFolderEnvironment(const CWorkingFolders::ENVIRONMENT& env) {
        m_folderEnv = env;
        m_hasFolderEnv = true;
    }

    // ---- the overridable operations, in slot order
    virtual int NeedMoreMemory(size_t size);
    virtual int ReadSettings(TiXmlElement* root);
    virtual int SaveSettings(TiXmlElement* root);
    virtual void OnCommand(unsigned short id);
    virtual int IsStandaloneApp() const { return 1; }
    virtual int IsShowProductShare() const;
    virtual void VisitHomepage();
    virtual void Download();
    virtual void Contact();
    virtual void UpgradeLicense();
    virtual GS_THREAD::basic_thread* GetImageProcessThread() { return nullptr; }
    virtual int OnStartupCmdLine(const QString& cmdLine);
    virtual int CreateMainWindow() = 0;
    virtual void DestroyMainWindow() = 0;
    virtual void InitWorkingFolders();
    virtual void LoadLocalAppNameEdition() {}
    virtual int InitDependencies();
    virtual void UninitDependencies();
    virtual void LoadResource();
    virtual void ReleaseResource();
    virtual void AddHotkeys() {}
    virtual void ReleaseHotkeys();
    virtual void LoadColorProfiles();
    // Shows a notice in the toolkit's message box and returns the code of the answer (IDOK, IDYES,
    // IDNO ...); tests replace it.
    virtual int ShowMessage(const QString& text, unsigned flags);
    // IDS_MSG_NOT_ENOUGH_MEMORY, once at a time; from a worker thread it is shown on the interface
    // thread.
    void ShowOutOfMemoryNotice();
    // Creates and shows the progress window centred over the main window.
    virtual void ShowProgressUI();
    // Escape while the progress window shows: the base runs the cancel set by SetProgressCancel.
    virtual void OnCancelProgress();
    // The product share offer; the base only records that it was shown.
    virtual void ShowProductShareDialog();

    // ---- the progress wait of long jobs
    // Waits on the interface thread until the progress has ended (EndProgress, which the job calls on
    // every way out). Meanwhile the main window is disabled but keeps painting; after `delayMs` the
    // progress window shows (ShowProgressUI) unless the job ended first, and Escape while it shows
    // runs OnCancelProgress. Returns 1 when the window was shown. Off the interface thread it only
    // waits.
    int ShowProgress(unsigned long delayMs);
    // A fresh progress of `steps` steps; call it before the job starts, then ShowProgress.
    void InitProgress(int steps);
    // From any thread: the job's place, read by the progress window on its timer.
    virtual void UpdateProgressStep(int step);
    virtual int NextProgressStep();
    virtual void UpdateProgressInfo(int done, int total);
    void SetProgressText(const QString& text);
    void EndProgress();
    // What Escape cancels during the next waits; the worker wait sets it to that worker's CancelTask.
    void SetProgressCancel(std::function<void()> cancel);
    // The window while it shows, else null.
    CProgressWnd* GetProgressWnd() const { return m_progressWnd.get(); }
    // The general worker's way to wait for its jobs, installed while this object lives.
    void WaitForWorker(CImageProcessThread* thread, int delayMs);

    // ---- command line
    // Splits a command line: blanks separate, a double quote runs to the next one (an unmatched quote
    // is dropped alone). Every token goes to `all`; tokens holding a path also to `files`. Returns
    // the number of items in `all`.
    static int ParseCmdLineParams(QStringList& all, QStringList& files, const QString& cmdLine);
    // The process arguments (without the program name) as one command line: existing files and
    // relative paths made absolute against baseFolder (the current folder when empty), tokens with
    // blanks quoted.
    static QString MakeCmdLine(const QStringList& args, const QString& baseFolder = QString());

    // ---- hot keys
    void AddHotKey(unsigned short flags, unsigned short key, unsigned short command);
    // ReleaseHotkeys, AddHotkeys, and the table when there are entries.
    void CreateHotkeys();
    const CHotKeyTable& HotKeys() const { return m_hotKeys; }
    // True while an accelerator's command runs.
    bool IsProcessingHotKey() const { return m_processingHotKey; }
    // The event filter's entry: runs the command of a key when the rules allow; true when it did.
    bool TranslateAccelerator(unsigned short vk, unsigned short modifierFlags);

    // ---- image cache files
    const CImageCacheFiles& CacheFiles() const { return m_cacheFiles; }
    QString GetCacheFilePath(uint64_t id) const;
    void DeleteCacheFile(uint64_t id) const { m_cacheFiles.DeleteCacheFile(id); }
    uint64_t GetCacheFileSize(uint64_t id) const { return m_cacheFiles.GetCacheFileSize(id); }
    int CacheImageToFile(CImageDataInfo* image) const { return m_cacheFiles.CacheImageToFile(image); }
    int RestoreImageFromCacheFile(CImageDataInfo* image) const {
        return m_cacheFiles.RestoreImageFromCacheFile(image);
    }
    int CacheRegionToFile(CSelectedRegion* region) const { return m_cacheFiles.CacheRegionToFile(region); }
    int RestoreRegionFromCacheFile(CSelectedRegion* region) const {
        return m_cacheFiles.RestoreRegionFromCacheFile(region);
    }

    // ---- web
    void SetWebEndpoints(const WEB_ENDPOINTS& endpoints) { m_endpoints = endpoints; }
    const WEB_ENDPOINTS& WebEndpoints() const { return m_endpoints; }
    // Fetches a page; tests replace the network.
    using HttpFetcher = std::function<bool(const QString& url, QByteArray& body)>;
    void SetHttpFetcher(HttpFetcher fetcher);
    // The newer version found by the update check: true with "major.minor.patch" when there is one.
    bool GetNewVersion(QString& version) const;
    CWebChecks* WebChecks() const { return m_webChecks.get(); }

    // ---- colour profiles (opaque to callers without the pixel library)
    const void* GetWorkingColorProfile() const { return m_workingProfile; }
    const void* GetLinearWorkingColorProfile() const { return m_linearWorkingProfile; }

    // ---- single instance
    CSingleInstance* SingleInstance() const { return m_singleInstance.get(); }
    bool OwnsFolders() const { return m_clearFoldersOnExit; }

protected:
    // Steps of InitInstance that products rarely change, exposed for the tests of the order.
    virtual void ShowMainWindow();
    // The whole command line of this process (without the program name).
    QString ProcessCmdLine() const { return MakeCmdLine(m_processArgs, m_launchFolder); }

private:
    void InstallNewHandler();
    bool AcquireSingleInstance();
    bool AcceptHandOver(const QString& cmdLine);
    void RunHandOver(const QString& cmdLine);
    void BringMainWindowForward();
    void OnMainWindowPlacementChanged();
    void ShowCrashNotice(const QString& typeName, const QString& recordPath);
    QString EndpointUrl(const QString& format) const;
    void OpenPage(const QString& format);

    friend class CAppEventFilter;

    QString m_companyName, m_appName, m_edition, m_version, m_webProductKey;
    QString m_appNameEdition, m_startupWindowName;
    std::string m_appRegName;
    uint32_t m_versionDword;
    int m_isFreeware;
    int m_aboutFlag;
    int m_exitCode = 0;

    CWorkingFolders m_folders;
    CWorkingFolders::ENVIRONMENT m_folderEnv;
    bool m_hasFolderEnv = false;
    CAppSettings m_settings;
    CImageCacheFiles m_cacheFiles;
    CHotKeyTable m_hotKeys;
    bool m_processingHotKey = false;
    WEB_ENDPOINTS m_endpoints;
    std::unique_ptr<CWebChecks> m_webChecks;

    QWidget* m_mainWnd = nullptr;
    QString m_launchFolder;
    QStringList m_processArgs;
    // Command lines handed over before the main window existed, run once it does.
    QStringList m_pendingHandOvers;
    bool m_crashReportMode = false;
    bool m_handedOver = false; // a running instance took this one's command line
    QStringList m_cmdLineAll, m_cmdLineFiles, m_recentFiles;
    std::unique_ptr<CSingleInstance> m_singleInstance;
    std::unique_ptr<CAppEventFilter> m_eventFilter;
    GS_THREAD::basic_thread* m_workerThread = nullptr;
    std::unique_ptr<CProgressWnd> m_progressWnd;
    std::function<void()> m_progressCancel;
    bool m_progressWaiting = false;
    bool m_restart = false;
    bool m_clearFoldersOnExit = false;
    bool m_dependenciesUp = false;
    bool m_resourcesLoaded = false;
    const void* m_workingProfile = nullptr;
    const void* m_linearWorkingProfile = nullptr;
};

// The one application object; null before its construction and after its destruction.
CPhotoEditorApp* GetApp();

} // namespace KELCTRL
