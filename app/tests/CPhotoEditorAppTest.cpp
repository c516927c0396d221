// Guards against a changed start-up or shut-down order, settings saved without having been read,
// folders wiped by an instance that does not own them, a second instance that starts instead of
// handing over its command line (or is refused while the first is still starting, or times out
// while it opens the file), relative names resolved in the wrong folder, an exit that hangs on the
// worker thread, an unusable data folder reported as "already running", out-of-memory handling that
// gives up after one failure, start-up failures that exit with 0, and wheel turns that scroll the
// window with the focus instead of the one under the pointer.
#include "app/CPhotoEditorApp.h"
#include "app/CAppEventFilter.h"
#include "app/CSingleInstance.h"
#include "app/CWebChecks.h"
#include "app/CrashHandler.h"
#include "common/sse_array.h"
#include "imagewnd/CImageProcessThread.h"
#include "ui/WinDefs.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <QWheelEvent>
#include <QWidget>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <string>
#include <thread>
#include <vector>

using namespace KELCTRL;

#if defined(__SANITIZE_ADDRESS__)
// The out-of-memory test asks for more than any machine has and needs the null answer, not a report.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
#endif

namespace {

// A product that records every overridable step it is asked to run.
class TestProduct : public CPhotoEditorApp {
public:
    explicit TestProduct(const QString& dataHome, bool readSettings = true,
                         const QString& appName = "KelTestApp")
        : CPhotoEditorApp("Kel", appName, "", "1.2.3", 0x01020300, "key", 1, 0),
          m_readSettings(readSettings) {
        CWorkingFolders::ENVIRONMENT env;
        env.executablePath = dataHome + "/bin/keltest";
        env.workingFolderOverride = qEnvironmentVariable("KEL_TEST_SOURCE_DIR") + "/resources";
        env.dataHome = dataHome;
        env.picturesFolder = dataHome;
        env.desktopFolder = dataHome;
        SetFolderEnvironment(env);
    }
    ~TestProduct() override { delete m_window; }

    std::vector<std::string> calls;
    std::vector<QString> messages;
    std::vector<QString> handedOver;
    std::vector<unsigned short> commands;
    bool acceptCmdLines = true;

    void InitWorkingFolders() override {
        calls.push_back("InitWorkingFolders");
        CPhotoEditorApp::InitWorkingFolders();
        if (m_readSettings)
            ReadSettingFile();
    }
    void LoadLocalAppNameEdition() override { calls.push_back("LoadLocalAppNameEdition"); }
    int InitDependencies() override {
        calls.push_back("InitDependencies");
        return CPhotoEditorApp::InitDependencies();
    }
    void UninitDependencies() override {
        calls.push_back("UninitDependencies");
        CPhotoEditorApp::UninitDependencies();
    }
    void LoadResource() override {
        calls.push_back("LoadResource");
        CPhotoEditorApp::LoadResource();
    }
    void ReleaseResource() override {
        calls.push_back("ReleaseResource");
        CPhotoEditorApp::ReleaseResource();
    }
    void LoadColorProfiles() override {
        calls.push_back("LoadColorProfiles");
        CPhotoEditorApp::LoadColorProfiles();
    }
    void AddHotkeys() override {
        calls.push_back("AddHotkeys");
        AddHotKey(FCONTROL, 'S', 101);
        AddHotKey(0, 'B', 102);
    }
    void ReleaseHotkeys() override {
        calls.push_back("ReleaseHotkeys");
        CPhotoEditorApp::ReleaseHotkeys();
    }
    int CreateMainWindow() override {
        calls.push_back("CreateMainWindow");
        if (beforeMainWindow)
            beforeMainWindow();
        m_window = new QWidget;
        m_window->resize(300, 200);
        SetMainWnd(m_window);
        return 1;
    }
    void DestroyMainWindow() override {
        calls.push_back("DestroyMainWindow");
        delete m_window;
        m_window = nullptr;
    }
    int SaveSettings(TiXmlElement* root) override {
        calls.push_back("SaveSettings");
        return CPhotoEditorApp::SaveSettings(root);
    }
    int ReadSettings(TiXmlElement* root) override {
        calls.push_back(root ? "ReadSettings(root)" : "ReadSettings(null)");
        return 1;
    }
    int ShowMessage(const QString& text, unsigned) override {
        messages.push_back(text);
        return answer;
    }
    int OnStartupCmdLine(const QString& cmdLine) override {
        if (openDelayMs > 0) // a large photo being opened
            std::this_thread::sleep_for(std::chrono::milliseconds(openDelayMs));
        handedOver.push_back(cmdLine);
        return acceptCmdLines ? 1 : 0;
    }
    GS_THREAD::basic_thread* GetImageProcessThread() override { return worker; }
    void OnCommand(unsigned short id) override { commands.push_back(id); }
    int NeedMoreMemory(size_t size) override {
        offered.push_back(size);
        return freesMemory ? 1 : 0;
    }
    void Contact() override { ++contacts; }
    bool freesMemory = false;
    std::vector<size_t> offered;
    int openDelayMs = 0;
    std::function<void()> beforeMainWindow;
    GS_THREAD::basic_thread* worker = nullptr;
    int contacts = 0;
    int answer = IDOK;

private:
    bool m_readSettings;
    QWidget* m_window = nullptr;
};

// A window that records the wheel turns it receives.
class WheelRecorder : public QWidget {
public:
    using QWidget::QWidget;
    struct Turn {
        QPoint pos;
        int delta;
    };
    std::vector<Turn> turns;

protected:
    void wheelEvent(QWheelEvent* event) override {
        turns.push_back({event->position().toPoint(), event->angleDelta().y()});
        event->accept();
    }
};

// Counts the wheel events that reach the object it watches.
class WheelArrivals : public QObject {
public:
    int count = 0;
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Wheel)
            ++count;
        return false;
    }
};

// A turn of the wheel as the window system delivers it: to a top-level window, at a global position.
void TurnWheel(QWidget* receiver, const QPoint& global, int delta) {
    QWheelEvent wheel(receiver->mapFromGlobal(QPointF(global)), QPointF(global), QPoint(), QPoint(0, delta),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(receiver, &wheel);
}

class AppTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        savedCwd = QDir::currentPath();
    }
    void TearDown() override { QDir::setCurrent(savedCwd); }
    QString DataFolder() const { return dir.path() + "/KelTestApp"; }
    QTemporaryDir dir;
    QString savedCwd;
};

} // namespace

TEST_F(AppTest, StartAndStopRunInOrder) {
    TestProduct app(dir.path());
    EXPECT_EQ(GetApp(), &app);
    EXPECT_EQ(app.GetStartupWindowName(), "msgwnd_KelTestApp_startup");
    ASSERT_EQ(app.InitInstance(), 1);
    const std::vector<std::string> start = {
        "InitWorkingFolders", "ReadSettings(null)", "LoadLocalAppNameEdition",
        "InitDependencies",   "LoadResource",       "LoadColorProfiles",
        "ReleaseHotkeys",     "AddHotkeys",         "CreateMainWindow"};
    EXPECT_EQ(app.calls, start);
    EXPECT_TRUE(app.GetMainWnd()->isVisible());
    EXPECT_TRUE(app.OwnsFolders());
    EXPECT_EQ(app.StartTimes(), 1); // a first run counts as 1
    EXPECT_STREQ(GetCrashDumpPath(), (DataFolder() + "/crash.dmp").toLocal8Bit().constData());
    EXPECT_NE(app.GetWorkingColorProfile(), nullptr);

    app.calls.clear();
    QFile::remove(DataFolder() + "/settings.xml");
    app.ExitInstance();
    const std::vector<std::string> stop = {"SaveSettings", "DestroyMainWindow", "ReleaseHotkeys",
                                           "ReleaseResource", "UninitDependencies"};
    EXPECT_EQ(app.calls, stop);
    EXPECT_TRUE(QFile::exists(DataFolder() + "/settings.xml"));
}

TEST_F(AppTest, SettingsAreSavedOnlyWhenRead) {
    {
        TestProduct app(dir.path(), /*readSettings=*/false);
        ASSERT_EQ(app.InitInstance(), 1);
        app.ExitInstance();
        EXPECT_EQ(std::count(app.calls.begin(), app.calls.end(), "SaveSettings"), 0);
    }
    EXPECT_FALSE(QFile::exists(DataFolder() + "/settings.xml"));
    for (int run = 1; run <= 2; ++run) {
        TestProduct app(dir.path());
        ASSERT_EQ(app.InitInstance(), 1);
        EXPECT_EQ(app.StartTimes(), run); // the counter survives the save and read
        app.ExitInstance();
    }
}

TEST_F(AppTest, OnlyTheOwningInstanceClearsFoldersAtExit) {
    TestProduct first(dir.path());
    ASSERT_EQ(first.InitInstance(), 1);
    const QString marker = first.GetTempFolder() + "/work.tmp";
    QFile f(marker);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.close();
    {
        // Same user and product: the lock is taken. Nobody answers on this thread, so the hand-over
        // times out and the second instance reports that the first is running.
        TestProduct second(dir.path());
        EXPECT_EQ(second.InitInstance(), 0);
        EXPECT_FALSE(second.OwnsFolders());
        ASSERT_EQ(second.messages.size(), 1u);
        EXPECT_TRUE(second.messages[0].contains("KelTestApp")) << second.messages[0].toStdString();
        second.ExitInstance();
        EXPECT_EQ(std::count(second.calls.begin(), second.calls.end(), "CreateMainWindow"), 0);
    }
    EXPECT_TRUE(QFile::exists(marker)); // the second instance wiped nothing
    first.ExitInstance();
    EXPECT_FALSE(QFile::exists(marker));
    EXPECT_TRUE(QDir(first.GetTempFolder()).exists());
}

namespace {
// Runs a product as a child process does: its program name and the file from KEL_TEST_CHILD_FILE.
int RunAsChild(TestProduct& product) {
    char arg0[] = "keltest";
    QByteArray file = qEnvironmentVariable("KEL_TEST_CHILD_FILE").toLocal8Bit();
    char* argv[] = {arg0, file.data(), nullptr};
    return product.Run(2, argv);
}
} // namespace

// Runs only as the child of SecondProcessHandsOverItsCommandLine.
TEST(SecondInstanceChild, DISABLED_Run) {
    const QString data = qEnvironmentVariable("KEL_TEST_CHILD_DATA");
    ASSERT_FALSE(data.isEmpty());
    TestProduct child(data);
    const int code = RunAsChild(child);
    printf("CHILD_RESULT messages=%d code=%d\n", int(child.messages.size()), code);
}

// Runs only as the child of RelativeNamesMeanTheLaunchFolder: the first instance, started with a
// relative name, stops as soon as its window exists and prints the files it was given.
TEST(FirstInstanceChild, DISABLED_Run) {
    const QString data = qEnvironmentVariable("KEL_TEST_CHILD_DATA");
    ASSERT_FALSE(data.isEmpty());
    TestProduct child(data);
    child.beforeMainWindow = [] { QTimer::singleShot(0, qApp, &QCoreApplication::quit); };
    const int code = RunAsChild(child);
    printf("CHILD_FILES=%s|\nCHILD_CODE=%d\n", child.GetCmdLineFiles().join(';').toLocal8Bit().constData(),
           code);
}

namespace {
struct ChildOutcome {
    int messages = -1;
    bool finished = false;
    QString output;
};
ChildOutcome RunChild(const QString& data, const QString& file, const QString& workingFolder = QString(),
                      const char* test = "SecondInstanceChild.DISABLED_Run") {
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("KEL_TEST_CHILD_DATA", data);
    env.insert("KEL_TEST_CHILD_FILE", file);
    env.insert("QT_QPA_PLATFORM", "offscreen");
    child.setProcessEnvironment(env);
    if (!workingFolder.isEmpty())
        child.setWorkingDirectory(workingFolder);
    child.start(QCoreApplication::applicationFilePath(),
                {"--gtest_also_run_disabled_tests", QStringLiteral("--gtest_filter=%1").arg(test)});
    // The owner answers on this thread, so keep its event loop running while the child works.
    QEventLoop loop;
    QObject::connect(&child, &QProcess::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(20000, &loop, &QEventLoop::quit);
    if (child.state() != QProcess::NotRunning)
        loop.exec();
    ChildOutcome outcome;
    outcome.finished = child.state() == QProcess::NotRunning;
    const QString out = QString::fromLocal8Bit(child.readAllStandardOutput());
    outcome.output = out;
    const int at = out.indexOf("CHILD_RESULT messages=");
    if (at >= 0)
        outcome.messages = out.mid(at + 22, 1).toInt();
    return outcome;
}
} // namespace

TEST_F(AppTest, SecondProcessHandsOverItsCommandLine) {
    TestProduct owner(dir.path());
    ASSERT_EQ(owner.InitInstance(), 1);
    const QString photo = dir.path() + "/my photo.jpg";
    ASSERT_TRUE(QFile(photo).open(QIODevice::WriteOnly));

    ChildOutcome accepted = RunChild(dir.path(), photo);
    ASSERT_TRUE(accepted.finished);
    EXPECT_EQ(accepted.messages, 0); // handed over silently
    ASSERT_EQ(owner.handedOver.size(), 1u);
    QStringList all, files;
    EXPECT_EQ(CPhotoEditorApp::ParseCmdLineParams(all, files, owner.handedOver[0]), 1);
    EXPECT_EQ(files.value(0), photo); // absolute, one token despite the blank

    // A disabled main window (as under a modal dialog) refuses: the child says the app is running.
    owner.GetMainWnd()->setEnabled(false);
    ChildOutcome refused = RunChild(dir.path(), photo);
    ASSERT_TRUE(refused.finished);
    EXPECT_EQ(refused.messages, 1);
    EXPECT_EQ(owner.handedOver.size(), 1u);
    owner.GetMainWnd()->setEnabled(true);
    owner.ExitInstance();
}

TEST_F(AppTest, RelativeNamesMeanTheLaunchFolder) {
    // Start-up makes the working folder current; a relative name must still mean the folder the
    // user started the program in, for the first instance and for one that hands over.
    const QString photo = dir.path() + "/my photo.jpg";
    ASSERT_TRUE(QFile(photo).open(QIODevice::WriteOnly));
    QDir().mkpath(dir.path() + "/sub");
    ASSERT_TRUE(QFile(dir.path() + "/sub/b.png").open(QIODevice::WriteOnly));
    const QString data = dir.path() + "/first";
    ChildOutcome first = RunChild(data, "my photo.jpg", dir.path(), "FirstInstanceChild.DISABLED_Run");
    ASSERT_TRUE(first.finished);
    EXPECT_TRUE(first.output.contains("CHILD_FILES=" + photo + "|")) << first.output.toStdString();
    EXPECT_TRUE(first.output.contains("CHILD_CODE=0")) << first.output.toStdString();

    TestProduct owner(dir.path());
    ASSERT_EQ(owner.InitInstance(), 1);
    ChildOutcome handed = RunChild(dir.path(), "sub/../sub/b.png", dir.path());
    ASSERT_TRUE(handed.finished);
    EXPECT_EQ(handed.messages, 0);
    QApplication::processEvents(); // the command runs after the answer
    ASSERT_EQ(owner.handedOver.size(), 1u);
    QStringList all, files;
    CPhotoEditorApp::ParseCmdLineParams(all, files, owner.handedOver[0]);
    EXPECT_EQ(files.value(0), dir.path() + "/sub/b.png");
    owner.ExitInstance();

    EXPECT_EQ(CPhotoEditorApp::MakeCmdLine({"-x", "my photo.jpg", "500", "a/none.jpg"}, dir.path()),
              "-x \"" + photo + "\" 500 " + dir.path() + "/a/none.jpg");
}

TEST_F(AppTest, HandOversWaitForTheWindowAndAreAnsweredBeforeTheOpen) {
    const QString photo = dir.path() + "/a.jpg";
    ASSERT_TRUE(QFile(photo).open(QIODevice::WriteOnly));
    TestProduct owner(dir.path());
    // A second start while this one is still making its window: accepted, run once the window exists.
    ChildOutcome early;
    owner.beforeMainWindow = [&] { early = RunChild(dir.path(), photo); };
    ASSERT_EQ(owner.InitInstance(), 1);
    ASSERT_TRUE(early.finished);
    EXPECT_EQ(early.messages, 0);
    EXPECT_TRUE(owner.handedOver.empty());
    QApplication::processEvents();
    ASSERT_EQ(owner.handedOver.size(), 1u);

    // An open slower than the other side's time-out: the answer goes out first.
    owner.openDelayMs = 2500;
    owner.GetMainWnd()->showMinimized();
    QApplication::processEvents();
    ChildOutcome slow = RunChild(dir.path(), photo);
    ASSERT_TRUE(slow.finished);
    EXPECT_EQ(slow.messages, 0);
    QApplication::processEvents();
    EXPECT_EQ(owner.handedOver.size(), 2u);
    EXPECT_FALSE(owner.GetMainWnd()->windowState() & Qt::WindowMinimized); // brought forward
    owner.ExitInstance();
}

TEST_F(AppTest, UnusableDataFolderIsReportedAsSuch) {
    // The data folder's place is taken by a plain file: the lock cannot even be opened.
    QFile blocker(dir.path() + "/KelTestApp");
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    TestProduct app(dir.path());
    EXPECT_EQ(app.InitInstance(), 0);
    ASSERT_FALSE(app.messages.empty());
    EXPECT_TRUE(app.messages.back().contains(dir.path() + "/KelTestApp"))
        << app.messages.back().toStdString();
    EXPECT_FALSE(app.messages.back().contains("already running"));
    app.ExitInstance();
}

TEST_F(AppTest, StartUpFailureExitsWithNonZeroStatus) {
    TestProduct app(dir.path());
    CWorkingFolders::ENVIRONMENT env;
    env.executablePath = dir.path() + "/bin/keltest";
    env.workingFolderOverride = dir.path() + "/no-dictionaries";
    env.dataHome = dir.path();
    app.SetFolderEnvironment(env);
    char prog[] = "keltest";
    char* argv[] = {prog, nullptr};
    EXPECT_NE(app.Run(1, argv), 0);
    EXPECT_EQ(app.messages.size(), 1u);
}

TEST_F(AppTest, ExitStopsTheProductsWorker) {
    CImageProcessThread worker;
    TestProduct app(dir.path());
    app.worker = &worker;
    ASSERT_EQ(app.InitInstance(), 1);
    ASSERT_TRUE(worker.is_running());
    app.ExitInstance(); // hung here while the worker waited for its quit message
    EXPECT_FALSE(worker.is_running());
}

TEST(CmdLine, TokensQuotesAndFiles) {
    QStringList all, files;
    EXPECT_EQ(CPhotoEditorApp::ParseCmdLineParams(all, files, QString()), 0);
    EXPECT_EQ(CPhotoEditorApp::ParseCmdLineParams(all, files, "     "), 0);
    EXPECT_TRUE(all.isEmpty());
    EXPECT_EQ(
        CPhotoEditorApp::ParseCmdLineParams(all, files, "-batch \"/home/u/my photos/a.jpg\" b.png /x/c.tif"),
        4);
    EXPECT_EQ(all, (QStringList{"-batch", "/home/u/my photos/a.jpg", "b.png", "/x/c.tif"}));
    EXPECT_EQ(files, (QStringList{"/home/u/my photos/a.jpg", "/x/c.tif"}));
    // An unterminated quote loses only itself.
    EXPECT_EQ(CPhotoEditorApp::ParseCmdLineParams(all, files, "a \"/p/b c"), 3);
    EXPECT_EQ(all, (QStringList{"a", "/p/b", "c"}));
    EXPECT_EQ(CPhotoEditorApp::ParseCmdLineParams(all, files, "\"\" x"), 1); // empty token dropped
    EXPECT_EQ(CPhotoEditorApp::MakeCmdLine({"-x", "a b"}), "-x \"a b\"");
}

TEST_F(AppTest, HotKeysRunOnlyOutsideEditsWithAnEnabledMainWindow) {
    TestProduct app(dir.path());
    ASSERT_EQ(app.InitInstance(), 1);
    EXPECT_EQ(CreateMenuStringWithHotKey("Save", 101, app.HotKeys()), "Save\tCtrl+S");
    EXPECT_EQ(HotKey2String(FCONTROL | FSHIFT | FALT, VK_F1), "Ctrl+Shift+Alt+F1");
    EXPECT_EQ(GetNameOfKeyboardKey(VK_ADD), "Num +");

    QWidget* main = app.GetMainWnd();
    QKeyEvent ctrlS(QEvent::KeyPress, Qt::Key_S, Qt::ControlModifier, "s");
    QApplication::sendEvent(main, &ctrlS);
    QKeyEvent plainS(QEvent::KeyPress, Qt::Key_S, Qt::NoModifier, "s");
    QApplication::sendEvent(main, &plainS); // S without Ctrl is no hot key
    EXPECT_EQ(app.commands, (std::vector<unsigned short>{101}));

    auto* edit = new QLineEdit(main);
    QKeyEvent b(QEvent::KeyPress, Qt::Key_B, Qt::NoModifier, "b");
    QApplication::sendEvent(edit, &b); // typing into an edit control
    EXPECT_EQ(app.commands.size(), 1u);
    QKeyEvent b2(QEvent::KeyPress, Qt::Key_B, Qt::NoModifier, "b");
    main->setEnabled(false);
    QApplication::sendEvent(main, &b2);
    EXPECT_EQ(app.commands.size(), 1u);
    main->setEnabled(true);
    QKeyEvent b3(QEvent::KeyPress, Qt::Key_B, Qt::NoModifier, "b");
    QApplication::sendEvent(main, &b3);
    EXPECT_EQ(app.commands, (std::vector<unsigned short>{101, 102}));
    // One event object used for two key presses in a row, as Qt's own input handling does.
    QKeyEvent reused(QEvent::KeyPress, Qt::Key_B, Qt::NoModifier, "b");
    QApplication::sendEvent(main, &reused);
    QApplication::sendEvent(main, &reused);
    EXPECT_EQ(app.commands, (std::vector<unsigned short>{101, 102, 102, 102}));
    // A key an edit control ignores goes on to its parent; it must not turn into a hot key there.
    main->activateWindow(); // focus lands only in the active window
    QApplication::processEvents();
    edit->show(); // made after its window was shown
    edit->setFocus();
    ASSERT_EQ(QApplication::focusWidget(), edit);
    const size_t before = app.commands.size();
    QKeyEvent ctrlSInEdit(QEvent::KeyPress, Qt::Key_S, Qt::ControlModifier, "s");
    QApplication::sendEvent(edit, &ctrlSInEdit);
    EXPECT_EQ(app.commands.size(), before);
    app.ExitInstance();
}

TEST_F(AppTest, WheelGoesToTheWindowUnderThePointer) {
    TestProduct app(dir.path());
    ASSERT_EQ(app.InitInstance(), 1);
    QWidget* main = app.GetMainWnd();
    main->setGeometry(0, 0, 300, 200);
    main->show();
    // What reaches the main window past the application's filter.
    WheelArrivals arrivals;
    main->installEventFilter(&arrivals);
    // A floating panel beside the main window, with a list in its lower half.
    WheelRecorder panel;
    panel.setGeometry(400, 0, 200, 200);
    auto* list = new WheelRecorder(&panel);
    list->setGeometry(0, 100, 200, 100);
    panel.show();
    QApplication::processEvents();
    ASSERT_EQ(QApplication::widgetAt(QPoint(450, 50)), &panel);

    // Delivered to the main window while the pointer is over the panel: the panel scrolls, at the
    // pointer's place in it, and the main window does not.
    TurnWheel(main, panel.mapToGlobal(QPoint(50, 40)), 120);
    ASSERT_EQ(panel.turns.size(), 1u);
    EXPECT_EQ(panel.turns[0].pos, QPoint(50, 40));
    EXPECT_EQ(panel.turns[0].delta, 120);
    EXPECT_EQ(arrivals.count, 0);
    // Over the list: the list, the innermost window under the pointer, gets it.
    TurnWheel(main, list->mapToGlobal(QPoint(10, 20)), -240);
    ASSERT_EQ(list->turns.size(), 1u);
    EXPECT_EQ(list->turns[0].pos, QPoint(10, 20));
    EXPECT_EQ(list->turns[0].delta, -240);
    EXPECT_EQ(panel.turns.size(), 1u);
    EXPECT_EQ(arrivals.count, 0);
    // Over the main window itself, or over no window: left to the usual delivery.
    TurnWheel(main, main->mapToGlobal(QPoint(100, 100)), 120);
    EXPECT_EQ(arrivals.count, 1);
    TurnWheel(main, QPoint(350, 500), 120);
    EXPECT_EQ(arrivals.count, 2);
    EXPECT_EQ(panel.turns.size() + list->turns.size(), 2u);
    main->removeEventFilter(&arrivals);
    app.ExitInstance();
}

TEST_F(AppTest, VersionCheckRunsEveryThirdStartAgainstTheEndpointOnly) {
    std::atomic<int> fetches{0};
    auto fetcher = [&](const QString& url, QByteArray& body) {
        ++fetches;
        body = url.contains("ver") ? QByteArray("01030000\n") : QByteArray();
        return true;
    };
    for (int run = 1; run <= 3; ++run) {
        TestProduct app(dir.path());
        WEB_ENDPOINTS web;
        web.versionCheck = "test://ver?k=%1&v=%2";
        app.SetWebEndpoints(web);
        app.SetHttpFetcher(fetcher);
        ASSERT_EQ(app.InitInstance(), 1);
        app.ExitInstance(); // waits for the check
        QString version;
        EXPECT_EQ(app.GetNewVersion(version), run == 3) << run;
        if (run == 3) {
            EXPECT_EQ(version, "1.3.0");
        }
    }
    EXPECT_EQ(fetches.load(), 1);
}

TEST(WebChecks, ParsersRefuseBadAnswers) {
    QString v;
    EXPECT_FALSE(CWebChecks::ParseVersionLine("01020300", 0x01020300, v)); // same version
    EXPECT_FALSE(CWebChecks::ParseVersionLine("zz", 0, v));
    EXPECT_FALSE(CWebChecks::ParseVersionLine("0", 0, v));
    EXPECT_TRUE(CWebChecks::ParseVersionLine(" 02000100 ", 0x01020300, v));
    EXPECT_EQ(v, "2.0.1");
    EXPECT_TRUE(CWebChecks::ParsePushContent("<r><page name=\"n\" width=\"3\" height=\"4\"/></r>").IsValid());
    EXPECT_FALSE(CWebChecks::ParsePushContent("<r><page name=\"\" width=\"3\" height=\"4\"/></r>").IsValid());
    EXPECT_FALSE(
        CWebChecks::ParsePushContent("<r><page name=\"n\" width=\"0\" height=\"4\"/></r>").IsValid());
    EXPECT_FALSE(CWebChecks::ParsePushContent("<r><pag").IsValid());
}

TEST_F(AppTest, RestartWithoutMainWindowDoesNothing) {
    TestProduct app(dir.path());
    app.RestartApp();
    EXPECT_FALSE(app.WillRestart());
}

TEST_F(AppTest, CrashNoticeOffersContactOnlyWhenThereIsAPage) {
    char prog[] = "keltest", mode[] = "--kel-crash-report", name[] = "Access Violation",
         record[] = "/tmp/crash.dmp";
    char* argv[] = {prog, mode, name, record, nullptr};
    for (const bool withPage : {true, false}) {
        TestProduct app(dir.path());
        if (withPage) {
            WEB_ENDPOINTS web;
            web.contact = "test://contact";
            app.SetWebEndpoints(web);
        }
        app.answer = IDYES;
        EXPECT_EQ(app.Run(4, argv), 0);
        ASSERT_EQ(app.messages.size(), 1u);
        EXPECT_FALSE(app.messages[0].startsWith("IDS_")); // the dictionary's text, not the key
        EXPECT_EQ(app.messages[0].contains("contact"), withPage) << app.messages[0].toStdString();
        EXPECT_EQ(app.contacts, withPage ? 1 : 0);
        EXPECT_TRUE(app.calls.end() == std::find(app.calls.begin(), app.calls.end(), "CreateMainWindow"));
        // The notice process must never start another notice, even if it crashes itself.
        EXPECT_STREQ(GetCrashReporterProgram(), "");
    }
    TestProduct normal(dir.path());
    ASSERT_EQ(normal.InitInstance(), 1);
    EXPECT_STRNE(GetCrashReporterProgram(), "");
    normal.ExitInstance();
}

TEST_F(AppTest, OutOfMemoryIsOfferedToTheProductEveryTime) {
    TestProduct app(dir.path());
    ASSERT_EQ(app.InitInstance(), 1); // the notice's text comes from the dictionaries
    std::new_handler handler = std::get_new_handler();
    ASSERT_NE(handler, nullptr);
    app.freesMemory = true;
    handler(); // the product freed memory: the allocation may be retried
    app.freesMemory = false;
    EXPECT_THROW(handler(), std::bad_alloc);
    EXPECT_EQ(std::get_new_handler(), handler); // still there for the next failure
    ASSERT_EQ(app.messages.size(), 1u);
    EXPECT_FALSE(app.messages[0].startsWith("IDS_"));

    // A pixel array too large for any machine: the product is offered the size that was wanted.
    app.offered.clear();
    sse_array<uint8_t> huge;
    const size_t wanted = size_t(1) << 47; // beyond the address space, whatever the overcommit policy
    EXPECT_FALSE(huge.resize(wanted));
    ASSERT_FALSE(app.offered.empty());
    EXPECT_EQ(app.offered[0], wanted + 32);
    EXPECT_EQ(app.messages.size(), 2u);
    app.ExitInstance();
}

TEST_F(AppTest, MainWindowPlacementIsRememberedRestored) {
    TestProduct app(dir.path());
    ASSERT_EQ(app.InitInstance(), 1);
    QWidget* main = app.GetMainWnd();
    main->showNormal();
    main->setGeometry(40, 50, 320, 240);
    QCoreApplication::processEvents();
    EXPECT_FALSE(app.Settings().IsMaximized());
    EXPECT_EQ(app.Settings().GetMainWndRect().size(), QSize(320, 240));
    main->showMaximized();
    QCoreApplication::processEvents();
    EXPECT_TRUE(app.Settings().IsMaximized());
    EXPECT_EQ(app.Settings().GetMainWndRect().size(), QSize(320, 240)); // the restored size is kept
    app.ExitInstance();
}
