// Guards the worker dialogs and the progress window: a dialog that ends before its worker (on Stop,
// Escape or close, with a worker that polls late or never), a worker that ends before the first tick
// and leaves the dialog open, errors or final values lost between the worker and the controls, a
// dialog that holds its errors open in the wrong set-up, values not limited (a bar dividing by zero),
// and a progress window that does not follow, limit or end its shared state.
#include "QtTestSupport.h"
#include "ui/CMultiTaskProgressDlg.h"
#include "ui/CProgressWnd.h"
#include "ui/CSingleTaskProgressDlg.h"
#include "ui/CUIColorSchema.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QFontMetrics>
#include <QTreeWidget>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using namespace KELCTRL;

namespace {

// Records whether the worker had returned when the dialog went away.
class WatchedMultiDlg : public CMultiTaskProgressDlg {
public:
    using CMultiTaskProgressDlg::CMultiTaskProgressDlg;
    std::atomic<bool>* workerReturned = nullptr;
    bool returnedAtDestroy = false;
    int destroys = 0;
    std::atomic<int> ticks{0};

protected:
    void OnTimer(uintptr_t id) override {
        ++ticks;
        CMultiTaskProgressDlg::OnTimer(id);
    }
    void OnDestroy() override {
        ++destroys;
        returnedAtDestroy = workerReturned && workerReturned->load();
        CMultiTaskProgressDlg::OnDestroy();
    }
};

// What a test worker gets: the dialog, and the test's own switches.
struct Job {
    CMultiTaskProgressDlg* dlg = nullptr;
    CSingleTaskProgressDlg* single = nullptr;
    std::function<void(Job&)> body;
    std::atomic<bool> started{false};
    std::atomic<bool> release{false};
    std::atomic<bool> returned{false};
    std::atomic<int> runs{0};
    std::atomic<int> errors{0};
};

unsigned RunJob(void* param) {
    auto* job = static_cast<Job*>(param);
    job->returned = false;
    ++job->runs;
    job->started = true;
    if (job->body)
        job->body(*job);
    job->returned = true;
    return 0;
}

void Sleep(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// Pumps events for a while; the dialog must still be up afterwards.
bool StaysOpenWhile(QWidget& dlg, int ms) {
    kel_qt_test::PumpUntil([] { return false; }, ms);
    return dlg.isVisible();
}

class ProgressDlg : public ::testing::Test {
protected:
    void SetUp() override { kel_qt_test::App(); }
};

} // namespace

TEST_F(ProgressDlg, MultiTaskValuesAreLimitedOnEntry) {
    CMultiTaskProgressDlg dlg(1, 1);
    CMultiTaskProgressDlg::State s = dlg.GetState();
    EXPECT_EQ(s.stepDone, 0);
    EXPECT_EQ(s.stepTotal, 1);
    EXPECT_EQ(s.stepIndex, 0);
    EXPECT_EQ(s.stepCount, 1);
    EXPECT_EQ(s.taskIndex, 1);
    EXPECT_EQ(s.taskCount, 1);

    dlg.UpdateTaskProgress(9, 4, 0, "task");
    s = dlg.GetState();
    EXPECT_EQ(s.taskIndex, 4) << "index cut to the count";
    EXPECT_EQ(s.stepCount, 1) << "no steps counts as one";
    EXPECT_EQ(s.text, "task");
    dlg.UpdateTaskProgress(-3, -1, 2, "again");
    s = dlg.GetState();
    EXPECT_EQ(s.taskCount, 1);
    EXPECT_EQ(s.taskIndex, 1);

    dlg.UpdateSetpProgress(5, 10);
    dlg.NextStep();
    s = dlg.GetState();
    EXPECT_EQ(s.stepIndex, 1);
    EXPECT_EQ(s.stepDone, 0) << "a new step starts empty";
    dlg.NextStep();
    dlg.NextStep();
    EXPECT_EQ(dlg.GetState().stepIndex, 2) << "the last step stays the last";

    dlg.UpdateSetpProgress(7, 0);
    s = dlg.GetState();
    EXPECT_EQ(s.stepTotal, 1) << "a zero total counts as one";
    EXPECT_EQ(s.stepDone, 1);
    dlg.UpdateSetpProgress(-4, -2);
    EXPECT_EQ(dlg.GetState().stepDone, 0);

    dlg.UpdateSingleTaskProgress(30, 20, "single");
    s = dlg.GetState();
    EXPECT_EQ(s.stepDone, 20);
    EXPECT_EQ(s.stepTotal, 20);
    EXPECT_EQ(s.stepCount, 1);
    EXPECT_EQ(s.stepIndex, 0);
    EXPECT_EQ(s.taskCount, 1);
    EXPECT_EQ(s.text, "single");
}

TEST_F(ProgressDlg, AWorkerEndingBeforeTheFirstTickStillClosesTheDialog) {
    for (int steps : {0, 1})
        for (int errors : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "steps " << steps << " errors " << errors);
            WatchedMultiDlg dlg(steps, errors);
            Job job;
            dlg.workerReturned = &job.returned;
            EXPECT_EQ(dlg.DoModal("quick", RunJob, &job), CBaseDialog::IDOK);
            EXPECT_TRUE(dlg.returnedAtDestroy);
            EXPECT_EQ(job.runs, 1);
        }
    Job job;
    CSingleTaskProgressDlg single;
    EXPECT_EQ(single.DoModal(RunJob, &job), CBaseDialog::IDOK);
    EXPECT_TRUE(job.returned);
}

TEST_F(ProgressDlg, StopWaitsForAWorkerThatPollsLate) {
    // Stop by the button, by Escape and by closing the window: each only asks.
    const std::vector<std::function<void(CMultiTaskProgressDlg&)>> stops = {
        [](CMultiTaskProgressDlg& d) { d.GetStopButton()->click(); },
        [](CMultiTaskProgressDlg& d) { kel_qt_test::SendKey(d, QEvent::KeyPress, Qt::Key_Escape); },
        [](CMultiTaskProgressDlg& d) { d.close(); },
    };
    for (size_t i = 0; i < stops.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "stop " << i);
        WatchedMultiDlg dlg(1, 1);
        Job job;
        job.dlg = &dlg;
        dlg.workerReturned = &job.returned;
        job.body = [](Job& j) {
            while (!j.dlg->IsQuit())
                Sleep(2);
            // Cleans up for a while after the request before it returns.
            Sleep(150);
        };
        bool stopDisabled = false;
        bool openAfterStop = false;
        QTimer::singleShot(0, &dlg, [&] {
            kel_qt_test::PumpUntil([&] { return job.started.load(); });
            kel_qt_test::SendKey(dlg, QEvent::KeyPress, Qt::Key_Return); // Enter never ends a run
            stops[i](dlg);
            stopDisabled = !dlg.GetStopButton()->isEnabled();
            openAfterStop = dlg.isVisible();
        });
        EXPECT_EQ(dlg.DoModal("stop", RunJob, &job), CBaseDialog::IDOK)
            << "it ends itself once the worker has";
        EXPECT_TRUE(openAfterStop);
        EXPECT_TRUE(stopDisabled);
        EXPECT_TRUE(dlg.returnedAtDestroy) << "the dialog went before its worker";
        EXPECT_EQ(dlg.destroys, 1);
    }
}

TEST_F(ProgressDlg, StopWaitsForAWorkerThatNeverPolls) {
    WatchedMultiDlg dlg(0, 0);
    Job job;
    dlg.workerReturned = &job.returned;
    job.body = [](Job& j) {
        while (!j.release)
            Sleep(2);
    };
    bool stayed = false;
    QTimer::singleShot(0, &dlg, [&] {
        dlg.GetStopButton()->click();
        dlg.close();
        kel_qt_test::SendKey(dlg, QEvent::KeyPress, Qt::Key_Escape);
        stayed = StaysOpenWhile(dlg, 300);
        job.release = true;
    });
    EXPECT_EQ(dlg.DoModal("never", RunJob, &job), CBaseDialog::IDOK);
    EXPECT_TRUE(stayed);
    EXPECT_TRUE(dlg.returnedAtDestroy);
    EXPECT_EQ(dlg.GetState().quit, 1) << "the request was made";
}

TEST_F(ProgressDlg, ManyUpdatesDuringTicksReachTheControls) {
    constexpr int kErrorEvery = 97;
    // The worker keeps reporting until several ticks have copied its values meanwhile.
    const auto hammer = [](Job& j) {
        auto* dlg = static_cast<WatchedMultiDlg*>(j.dlg);
        for (int i = 0; i < 20000 || dlg->ticks < 4; ++i) {
            dlg->UpdateTaskProgress(i % 7 + 1, 7, 3, QString("task %1").arg(i));
            dlg->UpdateSetpProgress(i % 100, 100);
            dlg->NextStep();
            if (i % kErrorEvery == 0) {
                dlg->AddErrorItem(QString("error %1").arg(i));
                ++j.errors;
            }
            (void)dlg->IsQuit();
        }
        // The last state, which the last tick must show.
        dlg->UpdateTaskProgress(5, 6, 4, "last task");
        dlg->NextStep();
        dlg->UpdateSetpProgress(50, 200);
        dlg->AddErrorItem("last error");
        ++j.errors;
    };

    {
        SCOPED_TRACE("steps, no error list");
        WatchedMultiDlg dlg(1, 0);
        Job job;
        job.dlg = &dlg;
        job.body = hammer;
        EXPECT_EQ(dlg.DoModal("many", RunJob, &job), CBaseDialog::IDOK);
        EXPECT_EQ(dlg.GetTextLabel()->text(), "last task");
        EXPECT_TRUE(dlg.GetCountLabel()->text().endsWith("5/6")) << dlg.GetCountLabel()->text().toStdString();
        EXPECT_EQ(dlg.GetMainBar()->maximum(), 6);
        EXPECT_EQ(dlg.GetMainBar()->value(), 5);
        EXPECT_EQ(dlg.GetStepsBar()->maximum(), 4000);
        EXPECT_EQ(dlg.GetStepsBar()->value(), 1250) << "one step and a quarter of four";
        EXPECT_EQ(dlg.GetErrorList(), nullptr);
    }
    {
        SCOPED_TRACE("error list without steps: closes at once, errors and all");
        WatchedMultiDlg dlg(0, 1);
        Job job;
        job.dlg = &dlg;
        job.body = hammer;
        EXPECT_EQ(dlg.DoModal("many", RunJob, &job), CBaseDialog::IDOK);
        ASSERT_NE(dlg.GetErrorList(), nullptr);
        const int errorRows = job.errors;
        ASSERT_EQ(dlg.GetErrorList()->topLevelItemCount(), errorRows) << "no error lost";
        EXPECT_EQ(dlg.GetErrorList()->topLevelItem(errorRows - 1)->text(0), "last error");
        EXPECT_EQ(dlg.GetCountLabel()->text(), "(50/200)");
        EXPECT_EQ(dlg.GetStepsBar(), nullptr);
        EXPECT_EQ(dlg.GetMainBar()->value(), 1250);
    }
}

TEST_F(ProgressDlg, ErrorsWithStepsStayOpenForRetryAndClose) {
    CMultiTaskProgressDlg dlg(1, 1);
    Job job;
    job.dlg = &dlg;
    job.body = [](Job& j) { j.dlg->AddErrorItem(QString("failed %1").arg(j.runs.load())); };
    const auto waitForEnd = [&] {
        return kel_qt_test::PumpUntil([&] { return dlg.GetRetryButton()->isVisible(); });
    };
    QString caption;
    QTimer::singleShot(0, &dlg, [&] {
        if (!waitForEnd()) {
            ADD_FAILURE() << "the run with errors did not stay open with its retry button";
            dlg.EndDialog(-1);
            return;
        }
        caption = dlg.GetStopButton()->text();
        kel_qt_test::SendKey(dlg, QEvent::KeyPress, Qt::Key_Return);
        EXPECT_TRUE(dlg.isVisible()) << "Enter does not end it";
        dlg.GetRetryButton()->click();
    });
    EXPECT_EQ(dlg.DoModal("errors", RunJob, &job), CMultiTaskProgressDlg::IDRETRY);
    EXPECT_EQ(caption, "IDS_CLOSE") << "the stop button becomes a close button";

    int rows = 0;
    QTimer::singleShot(0, &dlg, [&] {
        if (!waitForEnd()) {
            ADD_FAILURE() << "the second run did not stay open";
            dlg.EndDialog(-1);
            return;
        }
        rows = dlg.GetErrorList()->topLevelItemCount();
        dlg.close();
    });
    EXPECT_EQ(dlg.DoModal("errors", RunJob, &job), CBaseDialog::IDCANCEL) << "closed by the user";
    EXPECT_EQ(job.runs, 2) << "a retry runs the worker anew";
    EXPECT_EQ(rows, 1) << "the list starts empty on each run";

    // Without errors the same set-up closes by itself.
    job.body = nullptr;
    EXPECT_EQ(dlg.DoModal("clean", RunJob, &job), CBaseDialog::IDOK);
}

TEST_F(ProgressDlg, SingleTaskCannotBeStoppedAndShowsTheLastValues) {
    QWidget owner;
    owner.resize(500, 300);
    CSingleTaskProgressDlg dlg(&owner);
    Job job;
    job.single = &dlg;
    job.body = [](Job& j) {
        for (int i = 0; i <= 1000; ++i)
            j.single->UpdateProgress(i, 1000, "working");
        while (!j.release)
            Sleep(2);
        j.single->UpdateProgress(9, 0, "done");
    };
    bool stayed = false;
    int width = 0;
    QTimer::singleShot(0, &dlg, [&] {
        width = dlg.width();
        kel_qt_test::SendKey(dlg, QEvent::KeyPress, Qt::Key_Escape);
        kel_qt_test::SendKey(dlg, QEvent::KeyPress, Qt::Key_Return);
        dlg.close();
        stayed = StaysOpenWhile(dlg, 300);
        job.release = true;
    });
    EXPECT_EQ(dlg.DoModal(RunJob, &job), CBaseDialog::IDOK);
    EXPECT_TRUE(stayed);
    EXPECT_TRUE(job.returned);
    EXPECT_EQ(width, 400) << "four fifths of the parent";
    EXPECT_EQ(dlg.GetTextLabel()->text(), "done");
    EXPECT_EQ(dlg.GetCountLabel()->text(), "1/1") << "a zero total counts as one, done inside it";
    EXPECT_EQ(dlg.GetBar()->maximum(), 1);
    EXPECT_EQ(dlg.GetBar()->value(), 1);
}

TEST_F(ProgressDlg, ProgressWindowFollowsLimitsAndEndsItsSharedState) {
    QWidget owner;
    owner.resize(300, 200);
    owner.show();
    owner.setEnabled(false);
    CProgressWnd::InitProgressInfo(0);
    CProgressWnd wnd(&owner);
    ASSERT_EQ(wnd.Show(QRect(20, 30, 3, 2)), 1);
    EXPECT_EQ(wnd.Show(QRect(20, 30, 300, 40)), 0) << "one window at a time";
    EXPECT_EQ(wnd.objectName(), "ProgressWnd");
    EXPECT_TRUE(wnd.isWindow());
    EXPECT_EQ(wnd.GetOpacity(), 70u);
    EXPECT_GE(wnd.width(), 10);
    EXPECT_GE(wnd.height(), 10);
    wnd.MoveWindow(20, 30, 212, 40);

    CProgressWnd::InitProgressInfo(4);
    CProgressWnd::UpdateProgressStep(2);
    CProgressWnd::UpdateStepProgress(50, 100);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return wnd.GetPaintedProgress().step == 2; }));
    CProgressWnd::Progress p = wnd.GetPaintedProgress();
    EXPECT_EQ(p.done, 50);
    EXPECT_EQ(p.total, 100);
    EXPECT_EQ(p.steps, 4);
    // One and a half of four steps: the bar covers 3/8 of the 200 pixels inside the inset.
    EXPECT_EQ(wnd.BarWidth(212), 75);
    const QImage image = wnd.RenderClient();
    const QRgb bar = CUIColorSchema::FromColorRef(UIColors().bkLight).rgb();
    const QRgb back = CUIColorSchema::FromColorRef(UIColors().bkDefault).rgb();
    EXPECT_EQ(image.pixel(6 + 40, 20), bar);
    EXPECT_EQ(image.pixel(6 + 75 + 10, 20), back);
    EXPECT_EQ(image.pixel(2, 20), back) << "the bar is inset";

    EXPECT_EQ(CProgressWnd::NextProgressStep(), 3);
    EXPECT_EQ(CProgressWnd::NextProgressStep(), 4);
    EXPECT_EQ(CProgressWnd::NextProgressStep(), 5);
    CProgressWnd::UpdateStepProgress(7, 0);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return wnd.GetPaintedProgress().done == 1; }));
    p = wnd.GetPaintedProgress();
    EXPECT_EQ(p.step, 4) << "a step past the last shows the last, full";
    EXPECT_EQ(p.total, 1);
    EXPECT_EQ(wnd.BarWidth(212), 200);

    EXPECT_EQ(CProgressWnd::IsProgressEnded(), 0);
    CProgressWnd::EndProgress();
    EXPECT_EQ(CProgressWnd::IsProgressEnded(), 1);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return !wnd.isVisible(); }));
    EXPECT_EQ(wnd.IsWindow(), 0);
    EXPECT_TRUE(owner.isEnabled()) << "the owner comes back at the end";
}

TEST_F(ProgressDlg, ProgressWindowTakesReportsFromAnotherThread) {
    CProgressWnd::InitProgressInfo(3);
    CProgressWnd wnd;
    ASSERT_EQ(wnd.Show(QRect(0, 0, 200, 30)), 1);
    std::thread worker([] {
        for (int step = 1; step <= 3; ++step) {
            for (int i = 0; i <= 500; ++i)
                CProgressWnd::UpdateStepProgress(i, 500);
            if (step < 3)
                CProgressWnd::NextProgressStep();
        }
        CProgressWnd::EndProgress();
    });
    const bool closed = kel_qt_test::PumpUntil([&] { return !wnd.isVisible(); });
    worker.join();
    EXPECT_TRUE(closed);
}

// Counts the pixels of this colour inside a rectangle of the image.
int CountColour(const QImage& image, const QRect& area, QRgb colour) {
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            n += image.pixel(x, y) == colour ? 1 : 0;
    return n;
}

TEST_F(ProgressDlg, ProgressWindowPaintsItsTextAndStep) {
    CProgressWnd::InitProgressInfo(4);
    CProgressWnd wnd;
    ASSERT_EQ(wnd.Show(QRect(0, 0, 300, 40)), 1);
    wnd.MoveWindow(0, 0, 300, 40);
    const QRgb ink = CUIColorSchema::FromColorRef(UIColors().textHighlight).rgb();
    const QRect left(12, 6, 120, 28), right(200, 6, 88, 28);
    // One step done of four, no text: only the step read-out on the right has ink.
    CProgressWnd::UpdateStepProgress(1, 1);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return wnd.GetPaintedProgress().done == 1; }));
    const QImage stepOnly = wnd.RenderClient();
    EXPECT_EQ(CProgressWnd::StepText(wnd.GetPaintedProgress()), "1/4");
    EXPECT_EQ(CountColour(stepOnly, left, ink), 0);
    EXPECT_GT(CountColour(stepOnly, right, ink), 0) << "the step is painted";

    // The second step at no progress fills the bar exactly as far; only the read-out differs.
    const int barWidth = wnd.BarWidth(300);
    CProgressWnd::UpdateProgressStep(2);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return wnd.GetPaintedProgress().step == 2; }));
    EXPECT_EQ(wnd.BarWidth(300), barWidth);
    const QImage secondStep = wnd.RenderClient();
    EXPECT_NE(secondStep.copy(right), stepOnly.copy(right)) << "the step read-out follows the step";
    EXPECT_EQ(secondStep.copy(left), stepOnly.copy(left));

    CProgressWnd::SetProgressText("Turning photos");
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return wnd.GetPaintedText() == "Turning photos"; }));
    const QImage withText = wnd.RenderClient();
    EXPECT_GT(CountColour(withText, left, ink), 0) << "the text is painted";
    EXPECT_EQ(withText.copy(right), secondStep.copy(right));

    // A one-step progress has no read-out.
    CProgressWnd::InitProgressInfo(1);
    ASSERT_TRUE(kel_qt_test::PumpUntil([&] { return wnd.GetPaintedProgress().steps == 1; }));
    EXPECT_EQ(CountColour(wnd.RenderClient(), right, ink), 0);
    CProgressWnd::EndProgress();
    EXPECT_TRUE(kel_qt_test::PumpUntil([&] { return !wnd.isVisible(); }));
}

TEST_F(ProgressDlg, ErrorColumnFitsTheWidestRowOfALargeBatch) {
    CMultiTaskProgressDlg dlg(0, 1);
    Job job;
    job.dlg = &dlg;
    const QString wide = QString(120, QChar('W'));
    job.body = [&](Job& j) {
        for (int i = 0; i < 500; ++i)
            j.dlg->AddErrorItem(i == 250 ? wide : QString("short %1").arg(i));
    };
    EXPECT_EQ(dlg.DoModal("wide", RunJob, &job), CBaseDialog::IDOK);
    QTreeWidget* list = dlg.GetErrorList();
    ASSERT_EQ(list->topLevelItemCount(), 500);
    EXPECT_EQ(list->topLevelItem(250)->text(0), wide) << "rows keep the worker's order";
    EXPECT_GE(list->columnWidth(0), QFontMetrics(list->font()).horizontalAdvance(wide));
}
