#include "app/CPhotoEditorApp.h"

#include "app/CAppEventFilter.h"
#include "ui/CImageResources.h"
#include "app/CSingleInstance.h"
#include "app/CWebChecks.h"
#include "app/CrashHandler.h"
#include "app/DictText.h"
#include "common/DebugTrace.h"
#include "common/Dictionaries.h"
#include "common/basic_thread.h"
#include "imagefile/ImageFile.h"
#include "imageprocess/ColorProfile.h"
#include "imageprocess/ImageProcess.h"
#include "ui/CUIColorSchema.h"
#include "ui/CUISizeInfo.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QProcess>
#include <QUrl>
#include <QWidget>

#include <clocale>
#include <cstdlib>
#include <new>
#include <random>

namespace KELCTRL {

namespace {

CPhotoEditorApp* g_app = nullptr;
std::unique_ptr<CImageResources> g_resources;

constexpr const char* kCrashReportArg = "--kel-crash-report";

void OnOutOfMemory() {
    // Offer the memory back to the product first; if it freed some, the allocation is retried.
    if (g_app && g_app->NeedMoreMemory(0))
        return;
    DebugTrace("[CPhotoEditorApp] %s\n", GetDictItem("IDS_MSG_NOT_ENOUGH_MEMORY"));
    std::set_new_handler(nullptr);
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
    // 1. Names.
    m_appNameEdition = edition.isEmpty() ? appName : QStringLiteral("%1 - %2 Edition").arg(appName, edition);
    m_appRegName = appName.toStdString();
    if (!edition.isEmpty())
        m_appRegName += " " + edition.toStdString();
    m_startupWindowName = QStringLiteral("msgwnd_%1_startup").arg(appName);
    // 2. Locale from the environment, numbers always with a point.
    std::setlocale(LC_ALL, "");
    std::setlocale(LC_NUMERIC, "C");
    // 4. The random generator of the C library, for code that still uses it.
    std::srand(static_cast<unsigned>(std::random_device{}()));
    g_app = this;
    // 7. The crash handler (again in InitWorkingFolders, once the record's path is known) and the
    // memory hook.
    InstallExceptionHandler();
    InstallNewHandler();
}

CPhotoEditorApp::~CPhotoEditorApp() {
    m_webChecks.reset();
    if (g_app == this)
        g_app = nullptr;
}

void CPhotoEditorApp::InstallNewHandler() {
    std::set_new_handler(&OnOutOfMemory);
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
        ShowCrashNotice(args[1], args[2]);
        return 0;
    }
    m_processArgs = args;
    if (InitInstance() && m_mainWnd)
        QApplication::exec();
    return ExitInstance();
}

// ---------------------------------------------------------------- start-up

int CPhotoEditorApp::InitInstance() {
    // 1. (The copy-protection check of other editions has no part here.)
    // 2. The recent-file list.
    m_recentFiles.reserve(kRecentFileCount);
    // 3.
    InitWorkingFolders();
    // 4. Missing required dictionaries end the start-up.
    try {
        localization::LoadAllDicts(m_folders.GetDictFolder().toStdString(), 0);
    } catch (const localization::missing_dictionary& e) {
        DebugTrace("[CPhotoEditorApp::InitInstance] %s\n", e.what());
        ShowMessage(QString::fromUtf8(e.what()), MB_ICONERROR);
        return 0;
    }
    // 5. The language code goes into the web queries when the dictionaries name one.
    if (HasDictItem("IDS_LANGID")) {
        const QString lang = QStringLiteral("&lang=") + GetDictText("IDS_LANGID");
        m_endpoints.versionCheck += m_endpoints.versionCheck.isEmpty() ? QString() : lang;
        m_endpoints.pushContent += m_endpoints.pushContent.isEmpty() ? QString() : lang;
    }
    // 6., 7.
    LoadLocalAppNameEdition();
    ApplyLabelWidthText(GetDictText("IDS_LABEL_WIDTH"));
    // 8.
    if (!InitDependencies())
        return 0;
    // 9., 10. (DPI awareness is set before the QApplication exists; drops need no filter here.)
    // 11. Single instance.
    if (!AcquireSingleInstance())
        return 0;
    // 12.
    ClearFolder(m_folders.GetTempFolder().toStdString());
    ClearFolder(m_folders.GetCacheFolder().toStdString());
    // 13.
    ParseCmdLineParams(m_cmdLineAll, m_cmdLineFiles, ProcessCmdLine());
    // 14.
    LoadResource();
    LoadColorProfiles();
    // 15.
    UIColors().FromXmlFile(m_folders.GetStyleFilePath());
    // 16.
    CreateHotkeys();
    // 17.
    m_workerThread = GetImageProcessThread();
    if (m_workerThread)
        m_workerThread->start(this, 0);
    // 18.
    if (!CreateMainWindow())
        return 0;
    // 19. Only now: an instance that stopped at step 11 must never wipe the running one's folders.
    m_clearFoldersOnExit = true;
    // 20.
    ShowMainWindow();
    // 21.
    m_eventFilter = std::make_unique<CAppEventFilter>(*this);
    if (QCoreApplication::instance())
        QCoreApplication::instance()->installEventFilter(m_eventFilter.get());
    // 22., 23. Background checks, only against configured endpoints.
    if (StartTimes() % 3 == 0)
        m_webChecks->StartVersionCheck(EndpointUrl(m_endpoints.versionCheck), m_versionDword);
    if (m_isFreeware)
        m_webChecks->StartPushContentCheck(EndpointUrl(m_endpoints.pushContent));
    // 24.
    if (IsShowProductShare())
        ShowProductShareDialog();
    // 25. The start-up channel through which later instances hand over their command lines.
    const bool listening = m_singleInstance->Listen([this](const QString& cmdLine) {
        QWidget* main = m_mainWnd;
        if (!main || !main->isEnabled() || QApplication::activeModalWidget())
            return false;
        return OnStartupCmdLine(cmdLine) != 0;
    });
    return listening ? 1 : 0;
}

bool CPhotoEditorApp::AcquireSingleInstance() {
    const QString lockPath = QDir(m_folders.GetAppDataFolder()).filePath(QStringLiteral("instance.lock"));
    m_singleInstance = std::make_unique<CSingleInstance>(m_startupWindowName, lockPath);
    if (m_singleInstance->Acquire(10))
        return true;
    if (!m_singleInstance->SendStartupMsg(ProcessCmdLine()))
        ShowMessage(
            QString(GetDictText("IDS_MSG_APP_AREADY_RUNNING")).replace(QLatin1String("%s"), m_appName),
            MB_ICONINFORMATION);
    return false;
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
    // 1. The start-up channel and the filter.
    if (m_eventFilter && QCoreApplication::instance())
        QCoreApplication::instance()->removeEventFilter(m_eventFilter.get());
    m_eventFilter.reset();
    // 2.
    if (m_settings.IsSettingsRead())
        SaveSettingFile();
    // 3.
    if (m_mainWnd)
        DestroyMainWindow();
    m_mainWnd = nullptr;
    // 5.
    if (m_workerThread) {
        m_workerThread->stop();
        m_workerThread = nullptr;
    }
    // 6.
    ReleaseHotkeys();
    if (m_resourcesLoaded)
        ReleaseResource();
    // 7.
    if (m_clearFoldersOnExit) {
        ClearFolder(m_folders.GetTempFolder().toStdString());
        ClearFolder(m_folders.GetCacheFolder().toStdString());
    }
    // 8.
    if (m_dependenciesUp)
        UninitDependencies();
    // 9. The lock goes before the wait, so that a restarted process can take it.
    if (m_singleInstance)
        m_singleInstance->Release();
    // 10.
    m_webChecks->WaitAll();
    // 11.
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
    // The reporter is this program again, in its crash-notice mode.
    const QByteArray exe = m_folders.GetExecutablePath().toLocal8Bit();
    const char* args[] = {kCrashReportArg};
    SetCrashReporterCommand(exe.constData(), args, 1);
    InstallExceptionHandler();
}

int CPhotoEditorApp::ReadSettingFile() {
    return m_settings.ReadSettingFile(m_folders.GetSettingsFilePath(),
                                      [this](TiXmlElement* root) { return ReadSettings(root); });
}

int CPhotoEditorApp::SaveSettingFile() {
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
    const auto icon = (flags & MB_ICONERROR)      ? QMessageBox::Critical
                      : (flags & MB_ICONQUESTION) ? QMessageBox::Question
                                                  : QMessageBox::Information;
    const auto buttons = (flags & MB_YESNO) ? (QMessageBox::Yes | QMessageBox::No) : QMessageBox::Ok;
    QMessageBox box(icon, m_appNameEdition, text, buttons, m_mainWnd);
    const int result = box.exec();
    return result == QMessageBox::Yes ? IDYES : result == QMessageBox::No ? IDNO : IDOK;
}

void CPhotoEditorApp::ShowCrashNotice(const QString& typeName, const QString& recordPath) {
    // Runs in a fresh process: the crashed one is gone. Folders and dictionaries are read again.
    InitWorkingFolders();
    try {
        localization::LoadAllDicts(m_folders.GetDictFolder().toStdString(), 0);
    } catch (const localization::missing_dictionary&) {
    }
    QString text = GetDictText("IDS_MSG_EXCEPTION_NOTICE");
    DebugTrace("[CPhotoEditorApp::ShowCrashNotice] %s %s\n", typeName.toUtf8().constData(),
               recordPath.toUtf8().constData());
    if (ShowMessage(text, MB_YESNO | MB_ICONERROR) == IDYES)
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

QString CPhotoEditorApp::MakeCmdLine(const QStringList& args) {
    QStringList parts;
    for (QString a : args) {
        if (!a.startsWith(QLatin1Char('-')) && QFileInfo::exists(a))
            a = QFileInfo(a).absoluteFilePath();
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
