// Guards the application's progress wait: a window that flashes up for a job shorter than the delay
// or never shows for a long one, a wait that hangs when the job fails, Escape that does not reach the
// job, a main window left enabled during the wait or disabled after it, reports from the worker that
// never reach the window, and notices that bypass the toolkit's message box.
#include "app/CPhotoEditorApp.h"
#include "imagewnd/CImageProcessThread.h"
#include "ui/CMessageBox.h"
#include "ui/CProgressWnd.h"
#include "ui/tests/QtTestSupport.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QWidget>

#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

using namespace KELCTRL;

namespace {

void Sleep(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// Waits on a worker for a flag the interface thread sets, giving up after a bound.
bool WaitFor(const std::atomic<bool>& flag, int boundMs = 10000) {
    for (int waited = 0; !flag.load(); waited += 2) {
        if (waited > boundMs)
            return false;
        Sleep(2);
    }
    return true;
}

// A product with a plain main window that records what the progress wait asked of it.
class WaitingProduct : public CPhotoEditorApp {
public:
    WaitingProduct() : CPhotoEditorApp("Kel", "KelWaitTest", "", "1.0.0", 0x01000000, "key", 1, 0) {
        window.resize(400, 300);
        window.show();
        SetMainWnd(&window);
    }
    ~WaitingProduct() override { SetMainWnd(nullptr); }
    int CreateMainWindow() override { return 1; }
    void DestroyMainWindow() override {}

    void ShowProgressUI() override {
        CPhotoEditorApp::ShowProgressUI();
        ++shows;
        mainEnabledAtShow = window.isEnabled();
        windowVisibleAtShow = GetProgressWnd() && GetProgressWnd()->isVisible();
        if (onShown)
            onShown();
        shown = true;
    }

    QWidget window;
    int shows = 0;
    bool mainEnabledAtShow = true;
    bool windowVisibleAtShow = false;
    std::atomic<bool> shown{false};
    std::function<void()> onShown;
};

// A worker whose job is the test's own body.
class ScriptedWorker : public CImageProcessThread {
public:
    std::function<void(ScriptedWorker&)> body;
    std::atomic<bool> sawCancel{false};

protected:
    void OnBatchRotate90(ROTATE_REQUEST&) override {
        if (body)
            body(*this);
    }
};

class ProgressWait : public ::testing::Test {
protected:
    void SetUp() override {
        kel_qt_test::App();
        ASSERT_EQ(worker.Start(), 1);
    }
    void TearDown() override {
        worker.Exit();
        CImageProcessThread::SetProgressDelay(500);
    }
    // Runs a one-file job on the worker through the installed wait; returns the failures.
    int RunJob(QStringList* failed = nullptr) {
        QStringList list;
        const int n = worker.BatchRotate90("/nonexistent", {"a.jpg", "b.jpg"}, 1, list);
        if (failed)
            *failed = list;
        return n;
    }
    WaitingProduct app;
    ScriptedWorker worker;
};

TEST_F(ProgressWait, AJobShorterThanTheDelayShowsNoWindow) {
    CImageProcessThread::SetProgressDelay(60000);
    worker.body = [](ScriptedWorker&) {};
    EXPECT_EQ(RunJob(), 0);
    EXPECT_EQ(app.shows, 0);
    EXPECT_EQ(app.GetProgressWnd(), nullptr);
    EXPECT_TRUE(app.window.isEnabled());

    // The same through the application's own wait, fed from a plain thread.
    app.InitProgress(2);
    std::thread job([&] { app.EndProgress(); });
    EXPECT_EQ(app.ShowProgress(60000), 0);
    job.join();
    EXPECT_EQ(app.shows, 0);
}

TEST_F(ProgressWait, ALongJobShowsTheWindowAfterTheDelayAndDisablesTheMainWindow) {
    CImageProcessThread::SetProgressDelay(20);
    std::atomic<bool> timedOut{false};
    worker.body = [&](ScriptedWorker&) { timedOut = !WaitFor(app.shown); };
    EXPECT_EQ(RunJob(), 0);
    EXPECT_FALSE(timedOut) << "the window never showed";
    EXPECT_EQ(app.shows, 1);
    EXPECT_TRUE(app.windowVisibleAtShow);
    EXPECT_FALSE(app.mainEnabledAtShow) << "the main window takes no input during the wait";
    EXPECT_TRUE(app.window.isEnabled()) << "and it comes back after";
    EXPECT_EQ(app.GetProgressWnd(), nullptr) << "the window goes with the wait";
}

TEST_F(ProgressWait, AFailingJobStillEndsTheWait) {
    CImageProcessThread::SetProgressDelay(60000);
    worker.body = [](ScriptedWorker&) { throw std::runtime_error("disk gone"); };
    QStringList failed;
    EXPECT_EQ(RunJob(&failed), 2) << "the files of a job that broke off count as failed";
    EXPECT_EQ(failed, (QStringList{"a.jpg", "b.jpg"}));
    EXPECT_TRUE(app.window.isEnabled());
    EXPECT_EQ(CProgressWnd::IsProgressEnded(), 1);
    // The worker goes on taking jobs.
    worker.body = [](ScriptedWorker&) {};
    EXPECT_EQ(RunJob(), 0);
}

TEST_F(ProgressWait, EscapeWhileTheWindowShowsCancelsTheJob) {
    CImageProcessThread::SetProgressDelay(0);
    worker.body = [&](ScriptedWorker& w) {
        for (int waited = 0; !w.IsTaskCancelled() && waited < 10000; waited += 2)
            Sleep(2);
        w.sawCancel = w.IsTaskCancelled() != 0;
    };
    app.onShown = [&] {
        QTimer::singleShot(0, app.GetProgressWnd(), [&] {
            kel_qt_test::SendKey(*app.GetProgressWnd(), QEvent::KeyPress, Qt::Key_Escape);
        });
    };
    EXPECT_EQ(RunJob(), 0);
    EXPECT_EQ(app.shows, 1);
    EXPECT_TRUE(worker.sawCancel) << "Escape did not reach the job";
    EXPECT_TRUE(app.window.isEnabled());
}

TEST_F(ProgressWait, EscapeBeforeTheWindowShowsDoesNothing) {
    CImageProcessThread::SetProgressDelay(60000);
    std::atomic<bool> pressed{false};
    worker.body = [&](ScriptedWorker& w) {
        WaitFor(pressed);
        Sleep(20); // time for a wrong cancel to arrive
        w.sawCancel = w.IsTaskCancelled() != 0;
    };
    QTimer::singleShot(0, &app.window, [&] {
        kel_qt_test::SendKey(app.window, QEvent::KeyPress, Qt::Key_Escape);
        pressed = true;
    });
    EXPECT_EQ(RunJob(), 0);
    EXPECT_TRUE(pressed);
    EXPECT_FALSE(worker.sawCancel);
}

TEST_F(ProgressWait, ReportsFromTheWorkerThreadReachTheWindow) {
    app.InitProgress(3);
    std::atomic<bool> seen{false};
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        CProgressWnd* wnd = app.GetProgressWnd();
        if (!wnd)
            return;
        const CProgressWnd::Progress p = wnd->GetPaintedProgress();
        if (p.step == 2 && p.done == 5 && p.total == 10 && wnd->GetPaintedText() == "halfway")
            seen = true;
    });
    poll.start(5);
    std::atomic<bool> timedOut{false};
    std::thread job([&] {
        app.NextProgressStep();
        app.UpdateProgressInfo(5, 10);
        app.SetProgressText("halfway");
        timedOut = !WaitFor(seen);
        app.EndProgress();
    });
    EXPECT_EQ(app.ShowProgress(0), 1);
    job.join();
    EXPECT_TRUE(seen);
    EXPECT_FALSE(timedOut);
    EXPECT_TRUE(app.window.isEnabled());
}

// Answers the next CMessageBox with `code`, recording its text and whether it was one.
struct BoxAnswer {
    QString text;
    bool wasMessageBox = false;
    void Arm(int code) {
        QTimer::singleShot(0, [this, code] {
            kel_qt_test::PumpUntil([] { return QApplication::activeModalWidget() != nullptr; });
            auto* box = dynamic_cast<CMessageBox*>(QApplication::activeModalWidget());
            wasMessageBox = box != nullptr;
            if (!box) {
                if (QWidget* other = QApplication::activeModalWidget())
                    other->close();
                return;
            }
            text = box->GetTextLabel()->text();
            box->GetButton(code)->click();
        });
    }
};

TEST_F(ProgressWait, NoticesGoThroughTheToolkitsMessageBox) {
    BoxAnswer answer;
    answer.Arm(CMessageBox::ID_YES);
    EXPECT_EQ(app.ShowMessage("Turn it?", MB_YESNO | MB_ICONQUESTION), IDYES);
    EXPECT_TRUE(answer.wasMessageBox);
    EXPECT_EQ(answer.text, "Turn it?");

    BoxAnswer memory;
    memory.Arm(CMessageBox::ID_OK);
    app.ShowOutOfMemoryNotice();
    EXPECT_TRUE(memory.wasMessageBox);
    EXPECT_FALSE(memory.text.isEmpty());
}

} // namespace
