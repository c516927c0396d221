#pragma once
// A modal dialog that keeps a worker thread company: the task's text and count, up to two bars (the
// whole run and, with step display, the tasks) and, with an error list, the errors the worker
// reports. The worker only sets values under a lock; a 50 ms timer copies them to the controls, so
// no worker ever touches a control or waits for painting.
//
// DoModal returns 1 when the run ends by itself, 4 when the user asks for a retry, 2 when the user
// closes it after the end. Stop (the button, Escape or closing the window) only asks the worker to
// end: the dialog stays until the worker has returned.
#include "ui/CBaseDialog.h"
#include "ui/CDialogWorker.h"

#include <QString>
#include <QStringList>

#include <mutex>

class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;

namespace KELCTRL {

class CMultiTaskProgressDlg : public CBaseDialog {
public:
    static constexpr int IDRETRY = 4;
    static constexpr uintptr_t kTimerId = 100;
    static constexpr unsigned kTimerMs = 50;

    CMultiTaskProgressDlg(int showSteps, int showErrors, QWidget* parent = nullptr);
    ~CMultiTaskProgressDlg() override;

    // Runs `worker(param)` on its own thread under the dialog; see the header comment for the result.
    // Calling it again after a retry runs the worker anew.
    intptr_t DoModal(const QString& title, CDialogWorker::WorkerFunction worker, void* param);
    using CBaseDialog::AdjustCtrls;
    using CBaseDialog::DoModal;

    // For the worker, from any thread. Values are limited on entry so no bar divides by zero.
    void UpdateTaskProgress(int index, int count, int steps, const QString& text);
    void NextStep();
    void UpdateSetpProgress(int done, int total);
    void UpdateSingleTaskProgress(int done, int total, const QString& text);
    void AddErrorItem(const QString& error);
    int IsQuit();

    // A copy of the shared values, for tests and callers that report elsewhere.
    struct State {
        int stepDone = 0;
        int stepTotal = 1;
        int stepIndex = 0;
        int stepCount = 1;
        int taskIndex = 1;
        int taskCount = 1;
        QString text;
        int quit = 0;
    };
    State GetState();

    // The controls, for layout and tests; null when the dialog lacks them.
    QLabel* GetTextLabel() const { return m_textLabel; }
    QLabel* GetCountLabel() const { return m_countLabel; }
    QProgressBar* GetStepsBar() const { return m_stepsBar; }
    QProgressBar* GetMainBar() const { return m_mainBar; }
    QTreeWidget* GetErrorList() const { return m_errorList; }
    QPushButton* GetStopButton() const { return m_stopButton; }
    QPushButton* GetRetryButton() const { return m_retryButton; }

protected:
    int OnInitDialog() override;
    void OnDestroy() override;
    void OnTimer(uintptr_t id) override;
    // Enter never ends a run.
    void OnOK() override {}
    // Stop: asks a running worker to end; after the end it closes the dialog as cancelled.
    void OnCancel() override;
    void OnRetry();
    void AdjustCtrls(int width, int height) override;
    // The platform's taskbar progress; there is none here, so these do nothing unless a product adds one.
    virtual void SetTaskbarProgress(int done, int total);
    virtual void HideTaskbarProgress();

private:
    void CreateCtrls();
    void Tick();
    void AppendErrorRows(const QStringList& errors);
    // The column width that shows the widest of these rows whole.
    int WidestRow(const QStringList& rows) const;
    void WorkerEnded(bool hasErrors);
    void SetStepLocked(int done, int total);

    const int m_showSteps;
    const int m_showErrors;
    QString m_title;
    CDialogWorker::WorkerFunction m_worker = nullptr;
    void* m_param = nullptr;
    CDialogWorker m_thread;

    std::mutex m_lock; // guards m_state and m_pendingErrors
    State m_state;
    QStringList m_pendingErrors;

    QLabel* m_textLabel = nullptr;
    QLabel* m_countLabel = nullptr;
    QProgressBar* m_stepsBar = nullptr;
    QProgressBar* m_mainBar = nullptr;
    QTreeWidget* m_errorList = nullptr;
    QPushButton* m_stopButton = nullptr;
    QPushButton* m_retryButton = nullptr;
};

} // namespace KELCTRL
