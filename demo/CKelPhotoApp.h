#pragma once
// The sample product: a photo editor built on the library as any host would build one.
#include "app/CPhotoEditorApp.h"
#include "imagewnd/CImageProcessThread.h"

#include <QString>

namespace kelphoto {

class CKelPhotoMainWnd;

// Command ids of the product's hot keys and menu.
enum COMMAND : unsigned short {
    CMD_OPEN = 1001,
    CMD_SAVE = 1002,
    CMD_BRUSH = 1003,
    CMD_ERASE = 1004,
    CMD_ROTATE_LEFT = 1005,
    CMD_ROTATE_RIGHT = 1006,
    CMD_APPLY_TO_FILES = 1007,
    CMD_TOGGLE_PANELS = 1008,
};

class CKelPhotoApp : public KELCTRL::CPhotoEditorApp {
public:
    CKelPhotoApp();

    // What the command line asked for besides files.
    struct OPTIONS {
        QString screenshotPath; // --screenshot FILE: write the window to a PNG and quit
        int screenshotDelayMs = 0;
        QString openPath;           // the first file argument
        bool reportStartup = false; // --report-startup: print when the first processed image was painted
    };
    static OPTIONS ParseOptions(const QStringList& args);
    const OPTIONS& Options() const { return m_options; }

    // Where the product keeps its last folder between runs.
    const QString& LastFolder() const { return m_lastFolder; }
    void SetLastFolder(const QString& folder) { m_lastFolder = folder; }
    // 1 once the user asked not to be asked before a file is turned; kept in settings.xml.
    int& DontAskRotate() { return m_dontAskRotate; }
    // The general worker that turns files; InitInstance starts it.
    KELCTRL::CImageProcessThread& Worker() { return m_worker; }

protected:
    void InitWorkingFolders() override;
    int CreateMainWindow() override;
    void DestroyMainWindow() override;
    int OnStartupCmdLine(const QString& cmdLine) override;
    int ReadSettings(TiXmlElement* root) override;
    int SaveSettings(TiXmlElement* root) override;
    void AddHotkeys() override;
    void OnCommand(unsigned short id) override;
    GS_THREAD::basic_thread* GetImageProcessThread() override { return &m_worker; }

private:
    OPTIONS m_options;
    QString m_lastFolder;
    int m_dontAskRotate = 0;
    KELCTRL::CImageProcessThread m_worker;
    CKelPhotoMainWnd* m_mainWnd = nullptr;
};

} // namespace kelphoto
