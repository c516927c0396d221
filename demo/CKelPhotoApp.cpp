#include "demo/CKelPhotoApp.h"

#include "demo/CKelPhotoMainWnd.h"
#include "demo/SamplePhoto.h"
#include "ui/WinDefs.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>

#include <tinyxml.h>

#ifndef KELPHOTO_VERSION
#define KELPHOTO_VERSION "0.0.0"
#endif

namespace kelphoto {

namespace {
uint32_t VersionDword(const char* text) {
    unsigned major = 0, minor = 0, patch = 0;
    std::sscanf(text, "%u.%u.%u", &major, &minor, &patch);
    return (major & 0xFF) << 24 | (minor & 0xFF) << 16 | (patch & 0xFF) << 8;
}
} // namespace

CKelPhotoApp::CKelPhotoApp()
    : CPhotoEditorApp("Kel", "Kel Photo", "", KELPHOTO_VERSION, VersionDword(KELPHOTO_VERSION), "kelphoto", 1,
                      0) {}

CKelPhotoApp::OPTIONS CKelPhotoApp::ParseOptions(const QStringList& args) {
    OPTIONS o;
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (a == QLatin1String("--screenshot") && i + 1 < args.size())
            o.screenshotPath = args[++i];
        else if (a == QLatin1String("--delay") && i + 1 < args.size())
            o.screenshotDelayMs = std::max(0, args[++i].toInt());
        else if (a == QLatin1String("--report-startup"))
            o.reportStartup = true;
        else if (!a.startsWith(QLatin1String("--")) && o.openPath.isEmpty())
            o.openPath = a;
    }
    return o;
}

void CKelPhotoApp::InitWorkingFolders() {
    CPhotoEditorApp::InitWorkingFolders();
    ReadSettingFile();
}

int CKelPhotoApp::CreateMainWindow() {
    QStringList args = QCoreApplication::arguments();
    if (!args.isEmpty())
        args.removeFirst();
    m_options = ParseOptions(args);
    // Start-up made the working folder current: names from the command line mean the launch folder.
    m_options.openPath = AbsoluteLaunchPath(m_options.openPath);
    m_options.screenshotPath = AbsoluteLaunchPath(m_options.screenshotPath);

    m_mainWnd = new CKelPhotoMainWnd(*this);
    const QRect rect = Settings().GetMainWndRect();
    if (!m_mainWnd->Create(nullptr, rect.isValid() ? rect : QRect(100, 100, 1280, 800), 0, 0)) {
        delete m_mainWnd;
        m_mainWnd = nullptr;
        return 0;
    }
    SetMainWnd(m_mainWnd);

    QString path = m_options.openPath;
    if (path.isEmpty()) {
        // No file given: the generated sample photo, written once into the data folder.
        path = QString::fromStdString(EnsureSamplePhoto(Folders().GetAppDataFolder().toStdString()).string());
    }
    if (!path.isEmpty())
        m_mainWnd->OpenFile(path, /*report=*/true);
    if (!m_options.screenshotPath.isEmpty() || m_options.reportStartup)
        m_mainWnd->ScheduleScreenshot(m_options.screenshotPath, m_options.screenshotDelayMs,
                                      m_options.reportStartup);
    return 1;
}

void CKelPhotoApp::DestroyMainWindow() {
    delete m_mainWnd;
    m_mainWnd = nullptr;
    SetMainWnd(nullptr);
}

int CKelPhotoApp::OnStartupCmdLine(const QString& cmdLine) {
    QStringList all, files;
    ParseCmdLineParams(all, files, cmdLine);
    // The library has raised the window; names arrive absolute, resolved in the sender's folder.
    if (m_mainWnd && !files.isEmpty())
        m_mainWnd->OpenFile(files.first(), /*report=*/true);
    return 1;
}

int CKelPhotoApp::ReadSettings(TiXmlElement* root) {
    const TiXmlElement* e = root ? root->FirstChildElement("kelphoto") : nullptr;
    const char* folder = e ? e->Attribute("last_folder") : nullptr;
    if (folder)
        m_lastFolder = QString::fromUtf8(folder);
    int dontAsk = 0;
    m_dontAskRotate =
        (e && e->QueryIntAttribute("dont_ask_rotate", &dontAsk) == TIXML_SUCCESS && dontAsk) ? 1 : 0;
    return 1;
}

int CKelPhotoApp::SaveSettings(TiXmlElement* root) {
    if (!root)
        return 0;
    TiXmlElement e("kelphoto");
    e.SetAttribute("last_folder", m_lastFolder.toUtf8().constData());
    e.SetAttribute("dont_ask_rotate", m_dontAskRotate ? 1 : 0);
    root->InsertEndChild(e);
    return 1;
}

void CKelPhotoApp::AddHotkeys() {
    AddHotKey(KELCTRL::FCONTROL, 'O', CMD_OPEN);
    AddHotKey(KELCTRL::FCONTROL, 'S', CMD_SAVE);
    AddHotKey(0, 'B', CMD_BRUSH);
    AddHotKey(0, 'E', CMD_ERASE);
    AddHotKey(KELCTRL::FCONTROL, 'L', CMD_ROTATE_LEFT);
    AddHotKey(KELCTRL::FCONTROL, 'R', CMD_ROTATE_RIGHT);
    AddHotKey(KELCTRL::FCONTROL | KELCTRL::FSHIFT, 'A', CMD_APPLY_TO_FILES);
    AddHotKey(0, KELCTRL::VK_F1 + 5, CMD_TOGGLE_PANELS); // F6
}

void CKelPhotoApp::OnCommand(unsigned short id) {
    if (m_mainWnd)
        m_mainWnd->OnCommand(id);
}

} // namespace kelphoto
