#include "app/CPhotoEditorApp.h"

#include "app/CAppEventFilter.h"
#include "app/CProgressWait.h"
#include "app/CSingleInstance.h"
#include "app/CWebChecks.h"
#include "app/CrashHandler.h"
#include "app/DictText.h"
#include "common/DebugTrace.h"
#include "common/Dictionaries.h"
#include "common/MemoryHook.h"
#include "common/basic_thread.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ColorProfile.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageProcessThread.h"
#include "ui/CImageResources.h"
#include "ui/CMessageBox.h"
#include "ui/CProgressWnd.h"
#include "ui/CUIColorSchema.h"
#include "ui/CUISizeInfo.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QScreen>
#include <QThread>
#include <QTimer>
#include <QUrl>
#include <QWidget>

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <new>
#include <random>
#include <utility>

namespace KELCTRL {

namespace {

CPhotoEditorApp* g_app = nullptr;
std::unique_ptr<CImageResources> g_resources;

constexpr const char* kCrashReportArg = "--kel-crash-report";

// Pixel arrays know the size they wanted: the product is offered exactly that.
int OnPixelMemoryShortage(size_t wanted) {
    if (!g_app)
        return 0;
    if (g_app->NeedMoreMemory(wanted))
        return 1;
    g_app->ShowOutOfMemoryNotice();
    return 0;
}

// The general worker waits for its jobs through the application's progress wait.
void WaitThroughApp(CImageProcessThread* thread, int delayMs) {
    if (g_app)
        g_app->WaitForWorker(thread, delayMs);
    else
        while (!CProgressWnd::IsProgressEnded())
            QThread::msleep(CProgressWait::kPollMs);
}

// Unscaled size of the progress window.
constexpr int kProgressWndWidth = 320;
constexpr int kProgressWndHeight = 40;

// Any other allocation: the C++ runtime does not pass the size to a new-handler, so the offer is 0.
// The handler stays installed, so every later failure is offered too.
void OnOutOfMemory() {
    if (g_app && g_app->NeedMoreMemory(0))
        return; // the allocation is retried
    if (g_app)
        g_app->ShowOutOfMemoryNotice();
    throw std::bad_alloc();
}

bool HasPath(const QString& token) {
    return token.contains(QLatin1Char('/'));
}

} // namespace

CPhotoEditorApp* GetApp() {
    return g_app;
}

CPhotoEditorApp::CPhotoEditorApp(const QString& companyName, const QString& appName, const QString& edition,
                                 const QString& version, uint32_t versionDword, const QString& webProductKey,
                                 int isFreeware, int aboutFlag)
    : m_companyName(companyName), m_appName(appName), m_edition(edition), m_version(version),
      m_webProductKey(webProductKey), m_versionDword(versionDword), m_isFreeware(isFreeware),
      m_aboutFlag(aboutFlag), m_folders(appName), m_settings(isFreeware),
      m_webChecks(std::make_unique<CWebChecks>()) {
    // Before anything can change it: relative names on the command line mean this folder.
    m_launchFolder = QDir::currentPath();
    m_appNameEdition = edition.isEmpty() ? appName : QStringLiteral("%1 - %2 Edition").arg(appName, edition);
    m_appRegName = appName.toStdString();
    if (!edition.isEmpty())
        m_appRegName += " " + edition.toStdString();
    m_startupWindowName = QStringLiteral("msgwnd_%1_startup").arg(appName);
    // Texts follow the user's locale; numbers in files always use a point.
    std::setlocale(LC_ALL, "");
    std::setlocale(LC_NUMERIC, "C");
    // Seeded for code that still uses the C library's generator.
    std::srand(static_cast<unsigned>(std::random_device{}()));
    g_app = this;
    CImageProcessThread::SetWaitFunc(&WaitThroughApp);
    // The crash handler now, so that even start-up is covered; InitWorkingFolders gives it the record's
    // path once the folders are known.
    InstallExceptionHandler();
    InstallNewHandler();
}

CPhotoEditorApp::~CPhotoEditorApp() {
    m_webChecks.reset();
    m_progressWnd.reset();
    if (g_app == this) {
        g_app = nullptr;
        CImageProcessThread::SetWaitFunc(nullptr);
    }
}

void CPhotoEditorApp::InstallNewHandler() {
    std::set_new_handler(&OnOutOfMemory);
    GS_MEMORY::SetOutOfMemoryHook(&OnPixelMemoryShortage);
}

void CPhotoEditorApp::ShowOutOfMemoryNotice() {
    DebugTrace("[CPhotoEditorApp] %s\n", GetDictItem("IDS_MSG_NOT_ENOUGH_MEMORY"));
    // One notice at a time: the box itself allocates, and a failure inside it must not stack more.
    static std::atomic<bool> showing{false};
    if (showing.exchange(true))
        return;
    QCoreApplication* app = QCoreApplication::instance();
    if (app && QThread::currentThread() != app->thread()) {
        // A worker ran short: the box belongs to the interface thread.
        showing.store(false);
        QMetaObject::invokeMethod(
            app, [this] { ShowOutOfMemoryNotice(); }, Qt::QueuedConnection);
        return;
    }
    ShowMessage(GetDictText("IDS_MSG_NOT_ENOUGH_MEMORY"), MB_ICONERROR);
    showing.store(false);
}

int CPhotoEditorApp::Run(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_ENABLE_HIGHDPI_SCALING"))
        qputenv("QT_ENABLE_HIGHDPI_SCALING", "0"); // the library scales by DPI itself
    std::unique_ptr<QApplication> ownApp;
    if (!QCoreApplication::instance())
        ownApp = std::make_unique<QApplication>(argc, argv);
    std::setlocale(LC_NUMERIC, "C"); // QApplication takes the numeric locale from the environment
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    if (args.size() >= 3 && args[0] == QLatin1String(kCrashReportArg)) {
        m_crashReportMode = true;
        ShowCrashNotice(args[1], args[2]);
        return 0;
    }
    m_processArgs = args;
    if (InitInstance() && m_mainWnd)
        QApplication::exec();
    else if (m_exitCode == 0 && !m_handedOver)
        m_exitCode = 1; // start-up failed: a script or launcher must be able to tell
    return ExitInstance();
}

// ---------------------------------------------------------------- start-up

int CPhotoEditorApp::InitInstance() {
    // The copy-protection check of other editions has no part in this library.
    m_recentFiles.reserve(kRecentFileCount);
    // The message boxes carry the product's name in their title.
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        QGuiApplication::setApplicationDisplayName(m_appNameEdition);
    InitWorkingFolders();
    // Without the required dictionaries there is no text to show: the start ends here.
    try {
        localization::LoadAllDicts(m_folders.GetDictFolder().toStdString(), 0);
    } catch (const localization::missing_dictionary& e) {
        DebugTrace("[CPhotoEditorApp::InitInstance] %s\n", e.what());
        ShowMessage(QString::fromUtf8(e.what()), MB_ICONERROR);
        return 0;
    }
    // The language code goes into the web queries when the dictionaries name one.
    if (HasDictItem("IDS_LANGID")) {
        const QString lang = QStringLiteral("&lang=") + GetDictText("IDS_LANGID");
        m_endpoints.versionCheck += m_endpoints.versionCheck.isEmpty() ? QString() : lang;
        m_endpoints.pushContent += m_endpoints.pushContent.isEmpty() ? QString() : lang;
    }
    LoadLocalAppNameEdition();
    ApplyLabelWidthText(GetDictText("IDS_LABEL_WIDTH"));
    if (!InitDependencies())
        return 0;
    // DPI awareness was settled before the QApplication existed, and drops need no filter here.
    if (!AcquireSingleInstance())
        return 0;
    // Whatever a crashed or killed run left behind; only the instance holding the lock gets here.
    ClearFolder(m_folders.GetTempFolder().toStdString());
    ClearFolder(m_folders.GetCacheFolder().toStdString());
    ParseCmdLineParams(m_cmdLineAll, m_cmdLineFiles, ProcessCmdLine());
    LoadResource();
    LoadColorProfiles();
    UIColors().FromXmlFile(m_folders.GetStyleFilePath());
    CreateHotkeys();
    m_workerThread = GetImageProcessThread();
    if (m_workerThread)
        m_workerThread->start(this, 0);
    if (!CreateMainWindow())
        return 0;
    // Only now: an instance that stopped at the lock must never wipe the running one's folders.
    m_clearFoldersOnExit = true;
    ShowMainWindow();
    m_eventFilter = std::make_unique<CAppEventFilter>(*this);
    if (QCoreApplication::instance())
        QCoreApplication::instance()->installEventFilter(m_eventFilter.get());
    // Background checks, only against endpoints the product configured.
    if (StartTimes() % 3 == 0)
        m_webChecks->StartVersionCheck(EndpointUrl(m_endpoints.versionCheck), m_versionDword);
    if (m_isFreeware)
        m_webChecks->StartPushContentCheck(EndpointUrl(m_endpoints.pushContent));
    if (IsShowProductShare())
        ShowProductShareDialog();
    // Command lines that arrived while the window was being made.
    if (!m_pendingHandOvers.isEmpty())
        QTimer::singleShot(0, m_mainWnd, [this] {
            const QStringList pending = std::exchange(m_pendingHandOvers, {});
            for (const QString& cmdLine : pending)
                RunHandOver(cmdLine);
        });
    return 1;
}

bool CPhotoEditorApp::AcquireSingleInstance() {
    const QString dataFolder = m_folders.GetAppDataFolder();
    const QString lockPath = QDir(dataFolder).filePath(QStringLiteral("instance.lock"));
    m_singleInstance = std::make_unique<CSingleInstance>(m_startupWindowName, lockPath);
    if (m_singleInstance->Acquire(10)) {
        // Listen at once: a second start while this one is still loading is queued, not refused.
        if (!m_singleInstance->Listen([this](const QString& cmdLine) { return AcceptHandOver(cmdLine); }))
            DebugTrace("[CPhotoEditorApp::AcquireSingleInstance] cannot listen on %s\n",
                       m_singleInstance->ServerName().toUtf8().constData());
        return true;
    }
    if (!m_singleInstance->LockFileError().isEmpty()) {
        // Not another instance: the data folder itself is unusable, and the user must hear why.
        ShowMessage(
            FormatDictText("IDS_MSG_DATA_FOLDER_ERROR", {dataFolder, m_singleInstance->LockFileError()}),
            MB_ICONERROR);
        return false;
    }
    if (m_singleInstance->SendStartupMsg(ProcessCmdLine()))
        m_handedOver = true;
    else
        ShowMessage(
            QString(GetDictText("IDS_MSG_APP_AREADY_RUNNING")).replace(QLatin1String("%s"), m_appName),
            MB_ICONINFORMATION);
    return false;
}

bool CPhotoEditorApp::AcceptHandOver(const QString& cmdLine) {
    QWidget* main = m_mainWnd;
    if (!main) {
        m_pendingHandOvers << cmdLine; // still starting: run once the window exists
        return true;
    }
    if (!main->isEnabled() || QApplication::activeModalWidget())
        return false;
    // Answer first: opening a large photo must not make the other process time out.
    QTimer::singleShot(0, main, [this, cmdLine] { RunHandOver(cmdLine); });
    return true;
}

void CPhotoEditorApp::RunHandOver(const QString& cmdLine) {
    if (!m_mainWnd)
        return;
    BringMainWindowForward();
    OnStartupCmdLine(cmdLine);
}

void CPhotoEditorApp::BringMainWindowForward() {
    QWidget* main = m_mainWnd;
    if (main->windowState() & Qt::WindowMinimized)
        main->setWindowState((main->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    if (!main->isVisible())
        main->show();
    main->raise();
    main->activateWindow();
}

void CPhotoEditorApp::ShowMainWindow() {
    if (!m_mainWnd)
        return;
    const QRect stored = m_settings.GetMainWndRect();
    if (!m_settings.IsMaximized()) {
        m_mainWnd->show();
        if (stored.isValid() && m_mainWnd->geometry() != stored)
            m_mainWnd->setGeometry(stored);
    } else {
        // Placed while hidden so that the restored size is right, then maximized.
        if (stored.isValid())
            m_mainWnd->setGeometry(stored);
        m_mainWnd->showMaximized();
    }
}

void CPhotoEditorApp::OnMainWindowPlacementChanged() {
    if (!m_mainWnd)
        return;
    const Qt::WindowStates state = m_mainWnd->windowState();
    if (state & Qt::WindowMaximized) {
        m_settings.SetMaximized(1);
    } else if (!(state & Qt::WindowMinimized) && m_mainWnd->isVisible()) {
        m_settings.SetMaximized(0);
        m_settings.SetMainWndRect(m_mainWnd->geometry());
    }
}

// ---------------------------------------------------------------- shut-down

int CPhotoEditorApp::ExitInstance() {
    // Nothing more may arrive from other instances or through the filter while things go down.
    if (m_eventFilter && QCoreApplication::instance())
        QCoreApplication::instance()->removeEventFilter(m_eventFilter.get());
    m_eventFilter.reset();
    m_pendingHandOvers.clear();
    if (m_settings.IsSettingsRead())
        SaveSettingFile();
    if (m_mainWnd)
        DestroyMainWindow();
    m_mainWnd = nullptr;
    if (m_workerThread) {
        m_workerThread->stop();
        m_workerThread = nullptr;
    }
    ReleaseHotkeys();
    if (m_resourcesLoaded)
        ReleaseResource();
    if (m_clearFoldersOnExit) {
        ClearFolder(m_folders.GetTempFolder().toStdString());
        ClearFolder(m_folders.GetCacheFolder().toStdString());
    }
    if (m_dependenciesUp)
        UninitDependencies();
    // The lock goes before the wait for the background checks, so that a restarted process can take it.
    if (m_singleInstance)
        m_singleInstance->Release();
    m_webChecks->WaitAll();
    if (m_restart && !m_folders.GetExecutablePath().isEmpty())
        QProcess::startDetached(m_folders.GetExecutablePath(), m_processArgs);
    return m_exitCode;
}

void CPhotoEditorApp::RestartApp() {
    if (!m_mainWnd)
        return;
    m_restart = true;
    m_mainWnd->close();
}

// ---------------------------------------------------------------- folders, settings, dependencies

void CPhotoEditorApp::InitWorkingFolders() {
    m_folders.InitWorkingFolders(m_hasFolderEnv ? m_folderEnv : CWorkingFolders::ENVIRONMENT::FromProcess(),
                                 1);
    for (const QString& error : m_folders.Errors())
        DebugTrace("[CPhotoEditorApp::InitWorkingFolders] %s\n", error.toUtf8().constData());
    m_cacheFiles.SetFolder(m_folders.GetCacheFolder().toStdString());
    SetCrashDumpPath(m_folders.GetCrashDumpPath().toLocal8Bit().constData());
    if (m_crashReportMode) {
        // The notice process itself never starts another notice, not even if it crashes.
        SetCrashReporterCommand(nullptr, nullptr, 0);
    } else {
        // The reporter is this program again, in its crash-notice mode.
        const QByteArray exe = m_folders.GetExecutablePath().toLocal8Bit();
        const char* args[] = {kCrashReportArg};
        SetCrashReporterCommand(exe.constData(), args, 1);
    }
    InstallExceptionHandler();
}

int CPhotoEditorApp::ReadSettingFile() {
    const int read = m_settings.ReadSettingFile(m_folders.GetSettingsFilePath(),
                                                [this](TiXmlElement* root) { return ReadSettings(root); });
    m_recentFiles.clear();
    for (const std::string& file : m_settings.Values().recentFiles)
        m_recentFiles << QString::fromStdString(file);
    return read;
}

void CPhotoEditorApp::AddRecentFile(const QString& path) {
    if (path.isEmpty())
        return;
    m_recentFiles.removeAll(path);
    m_recentFiles.prepend(path);
    while (m_recentFiles.size() > kRecentFileCount)
        m_recentFiles.removeLast();
}

int CPhotoEditorApp::SaveSettingFile() {
    std::vector<std::string>& recent = m_settings.Values().recentFiles;
    recent.clear();
    for (const QString& file : m_recentFiles) {
        if (recent.size() >= size_t(kRecentFileCount))
            break;
        recent.push_back(file.toStdString());
    }
    return m_settings.SaveSettingFile(m_folders.GetSettingsFilePath(), m_appNameEdition, m_version,
                                      [this](TiXmlElement* root) { return SaveSettings(root); });
}

int CPhotoEditorApp::UpdateAppInfoFile(const QString& license) {
    return CAppSettings::UpdateAppInfoFile(m_folders.GetAppInfoFilePath(), m_version, license);
}

int CPhotoEditorApp::InitDependencies() {
    if (!ImageProcess::Initialize())
        return 0;
    if (!ImageFile::Initialize(m_appNameEdition.toUtf8().constData(),
                               m_folders.GetTempFolder().toStdString())) {
        ImageProcess::Uninitialize();
        return 0;
    }
    m_dependenciesUp = true;
    return 1;
}

void CPhotoEditorApp::UninitDependencies() {
    ImageFile::Uninitialize();
    ImageProcess::Uninitialize();
    m_dependenciesUp = false;
}

void CPhotoEditorApp::LoadResource() {
    if (!g_resources)
        g_resources = std::make_unique<CImageResources>();
    g_resources->LoadResource(m_folders.GetSkinFolder(), m_folders.GetIconFolder());
    m_resourcesLoaded = true;
}

void CPhotoEditorApp::ReleaseResource() {
    if (g_resources)
        g_resources->ReleaseResource();
    m_resourcesLoaded = false;
}

void CPhotoEditorApp::LoadColorProfiles() {
    m_workingProfile = &ImageProcess::ColorProfile::GetWorkingProfile();
    m_linearWorkingProfile = &ImageProcess::ColorProfile::GetLinearWorkingProfile();
}

// ---------------------------------------------------------------- overridable defaults

int CPhotoEditorApp::NeedMoreMemory(size_t) {
    return 0;
}
int CPhotoEditorApp::ReadSettings(TiXmlElement*) {
    return 1;
}
int CPhotoEditorApp::SaveSettings(TiXmlElement*) {
    return 1;
}
void CPhotoEditorApp::OnCommand(unsigned short) {}
int CPhotoEditorApp::OnStartupCmdLine(const QString&) {
    return 0;
}

int CPhotoEditorApp::IsShowProductShare() const {
    const APP_SETTINGS& v = m_settings.Values();
    if (v.productShared || !m_isFreeware)
        return 0; // other editions make the offer through their licence side
    const int starts = m_settings.StartTimes();
    if (v.productShareLastShow == 0)
        return starts > 15 ? 1 : 0;
    return starts - v.productShareLastShow > 15 ? 1 : 0;
}

void CPhotoEditorApp::ShowProductShareDialog() {
    m_settings.Values().productShareLastShow = m_settings.StartTimes();
}

QString CPhotoEditorApp::EndpointUrl(const QString& format) const {
    return format.isEmpty() ? QString() : QString(format).arg(m_webProductKey, m_version);
}

void CPhotoEditorApp::OpenPage(const QString& format) {
    const QString url = EndpointUrl(format);
    if (!url.isEmpty())
        QDesktopServices::openUrl(QUrl(url));
}

void CPhotoEditorApp::VisitHomepage() {
    OpenPage(m_endpoints.homepage);
}
void CPhotoEditorApp::Download() {
    OpenPage(m_endpoints.download);
}
void CPhotoEditorApp::Contact() {
    OpenPage(m_endpoints.contact);
}
void CPhotoEditorApp::UpgradeLicense() {
    OpenPage(m_endpoints.purchase);
}

int CPhotoEditorApp::ShowMessage(const QString& text, unsigned flags) {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance())) {
        DebugTrace("[CPhotoEditorApp] %s\n", text.toUtf8().constData());
        return (flags & MB_YESNO) ? IDNO : IDOK;
    }
    // The box takes its title from the application's display name, which start-up sets.
    return CMessageBox::Show(text, flags);
}

// ---------------------------------------------------------------- progress

int CPhotoEditorApp::ShowProgress(unsigned long delayMs) {
    // The progress state is process-wide: a wait inside a wait only waits, with no window of its own.
    if (m_progressWaiting) {
        CProgressWait(nullptr, {}).Run(delayMs);
        return 0;
    }
    m_progressWaiting = true;
    CProgressWait::HOOKS hooks;
    hooks.showUI = [this] { ShowProgressUI(); };
    hooks.isUIShown = [this] { return m_progressWnd && m_progressWnd->isVisible(); };
    hooks.cancel = [this] { OnCancelProgress(); };
    CProgressWait wait(m_mainWnd, std::move(hooks));
    const int shown = wait.Run(delayMs);
    if (m_progressWnd) {
        m_progressWnd->DestroyWindow();
        m_progressWnd.reset();
    }
    m_progressWaiting = false;
    return shown;
}

void CPhotoEditorApp::ShowProgressUI() {
    if (m_progressWnd)
        return;
    m_progressWnd = std::make_unique<CProgressWnd>(m_mainWnd);
    QRect area;
    if (m_mainWnd)
        area = QRect(m_mainWnd->mapToGlobal(QPoint(0, 0)), m_mainWnd->size());
    else if (QScreen* screen = QGuiApplication::primaryScreen())
        area = screen->availableGeometry();
    const auto dpi = MonitorDpi(m_mainWnd);
    const QSize size(CUISizeInfo::Scale(kProgressWndWidth, dpi.first),
                     CUISizeInfo::Scale(kProgressWndHeight, dpi.second));
    QRect place(QPoint(0, 0), size);
    place.moveCenter(area.center());
    m_progressWnd->Show(place);
}

void CPhotoEditorApp::OnCancelProgress() {
    if (m_progressCancel)
        m_progressCancel();
}

void CPhotoEditorApp::SetProgressCancel(std::function<void()> cancel) {
    m_progressCancel = std::move(cancel);
}

void CPhotoEditorApp::WaitForWorker(CImageProcessThread* thread, int delayMs) {
    std::function<void()> previous = std::exchange(m_progressCancel, [thread] {
        if (thread)
            thread->CancelTask();
    });
    ShowProgress(static_cast<unsigned long>(std::max(delayMs, 0)));
    m_progressCancel = std::move(previous);
}

void CPhotoEditorApp::InitProgress(int steps) {
    CProgressWnd::InitProgressInfo(steps);
}

void CPhotoEditorApp::UpdateProgressStep(int step) {
    CProgressWnd::UpdateProgressStep(step);
}

int CPhotoEditorApp::NextProgressStep() {
    return CProgressWnd::NextProgressStep();
}

void CPhotoEditorApp::UpdateProgressInfo(int done, int total) {
    CProgressWnd::UpdateStepProgress(done, total);
}

void CPhotoEditorApp::SetProgressText(const QString& text) {
    CProgressWnd::SetProgressText(text);
}

void CPhotoEditorApp::EndProgress() {
    CProgressWnd::EndProgress();
}

void CPhotoEditorApp::ShowCrashNotice(const QString& typeName, const QString& recordPath) {
    // Runs in a fresh process: the crashed one is gone. Folders and dictionaries are read again.
    InitWorkingFolders();
    try {
        localization::LoadAllDicts(m_folders.GetDictFolder().toStdString(), 0);
    } catch (const localization::missing_dictionary&) {
    }
    DebugTrace("[CPhotoEditorApp::ShowCrashNotice] %s %s\n", typeName.toUtf8().constData(),
               recordPath.toUtf8().constData());
    // Offering to get in touch makes sense only when the product has somewhere to send the user.
    if (m_endpoints.contact.isEmpty()) {
        ShowMessage(GetDictText("IDS_MSG_EXCEPTION_REPORT_SAVED"), MB_OK | MB_ICONERROR);
        return;
    }
    if (ShowMessage(GetDictText("IDS_MSG_EXCEPTION_NOTICE"), MB_YESNO | MB_ICONERROR) == IDYES)
        Contact();
}

// ---------------------------------------------------------------- command line

int CPhotoEditorApp::ParseCmdLineParams(QStringList& all, QStringList& files, const QString& cmdLine) {
    all.clear();
    files.clear();
    const int n = static_cast<int>(cmdLine.size());
    int i = 0;
    while (i < n) {
        const QChar c = cmdLine[i];
        if (c == QLatin1Char(' ')) {
            ++i;
            continue;
        }
        QString token;
        if (c == QLatin1Char('"')) {
            const int close = cmdLine.indexOf(QLatin1Char('"'), i + 1);
            if (close < 0) {
                ++i; // an unterminated quote loses only itself
                continue;
            }
            token = cmdLine.mid(i + 1, close - i - 1);
            i = close + 1;
        } else {
            int end = cmdLine.indexOf(QLatin1Char(' '), i);
            if (end < 0)
                end = n;
            token = cmdLine.mid(i, end - i);
            i = end;
        }
        if (token.isEmpty())
            continue;
        all << token;
        if (HasPath(token))
            files << token;
    }
    return static_cast<int>(all.size());
}

QString CPhotoEditorApp::MakeCmdLine(const QStringList& args, const QString& baseFolder) {
    const QDir base(baseFolder.isEmpty() ? QDir::currentPath() : baseFolder);
    QStringList parts;
    for (QString a : args) {
        // A relative path means the folder the process was started in; a bare word that names no
        // file there stays a word (it may be an option's value).
        if (!a.isEmpty() && !a.startsWith(QLatin1Char('-')) && QDir::isRelativePath(a) &&
            (a.contains(QLatin1Char('/')) || QFileInfo::exists(base.filePath(a))))
            a = QDir::cleanPath(base.absoluteFilePath(a));
        parts << (a.contains(QLatin1Char(' ')) || a.isEmpty() ? QLatin1Char('"') + a + QLatin1Char('"') : a);
    }
    return parts.join(QLatin1Char(' '));
}

// ---------------------------------------------------------------- hot keys

void CPhotoEditorApp::AddHotKey(unsigned short flags, unsigned short key, unsigned short command) {
    m_hotKeys.Add(flags, key, command);
}

void CPhotoEditorApp::CreateHotkeys() {
    ReleaseHotkeys();
    AddHotkeys();
    m_hotKeys.Build();
}

void CPhotoEditorApp::ReleaseHotkeys() {
    m_hotKeys.Clear();
}

bool CPhotoEditorApp::TranslateAccelerator(unsigned short vk, unsigned short modifierFlags) {
    if (!m_mainWnd || !m_mainWnd->isEnabled() || QApplication::activeModalWidget())
        return false;
    if (QGuiApplication::mouseButtons() != Qt::NoButton)
        return false;
    const unsigned short command = m_hotKeys.Find(vk, modifierFlags);
    if (command == 0)
        return false;
    m_processingHotKey = true;
    OnCommand(command);
    m_processingHotKey = false;
    return true;
}

// ---------------------------------------------------------------- cache files, web

QString CPhotoEditorApp::AbsoluteLaunchPath(const QString& name) const {
    if (name.isEmpty() || !QDir::isRelativePath(name))
        return name;
    return QDir::cleanPath(QDir(m_launchFolder).absoluteFilePath(name));
}

QString CPhotoEditorApp::GetCacheFilePath(uint64_t id) const {
    return QString::fromStdString(m_cacheFiles.GetCacheFilePath(id).string());
}

void CPhotoEditorApp::SetHttpFetcher(HttpFetcher fetcher) {
    m_webChecks->SetFetcher(std::move(fetcher));
}

bool CPhotoEditorApp::GetNewVersion(QString& version) const {
    return m_webChecks->GetNewVersion(version);
}

} // namespace KELCTRL
