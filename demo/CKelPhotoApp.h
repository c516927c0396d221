#pragma once
// The sample product: a photo editor built on the library as any host would build one.
#include "app/CPhotoEditorApp.h"

#include <QString>

namespace kelphoto {

class CKelPhotoMainWnd;

// Command ids of the product's hot keys and menu.
enum COMMAND : unsigned short {
    CMD_OPEN = 1001,
    CMD_SAVE = 1002,
    CMD_BRUSH = 1003,
    CMD_ERASE = 1004,
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

protected:
    void InitWorkingFolders() override;
    int CreateMainWindow() override;
    void DestroyMainWindow() override;
    int OnStartupCmdLine(const QString& cmdLine) override;
    int ReadSettings(TiXmlElement* root) override;
    int SaveSettings(TiXmlElement* root) override;
    void AddHotkeys() override;
    void OnCommand(unsigned short id) override;

private:
    OPTIONS m_options;
    QString m_lastFolder;
    CKelPhotoMainWnd* m_mainWnd = nullptr;
};

} // namespace kelphoto
