#pragma once
// The one-bar form of the worker dialog: a text, a "done/total" count and one bar, refreshed from
// the worker's values every 200 ms. The task cannot be stopped: Enter, Escape and close do nothing,
// and the dialog ends with 1 at the first tick after the worker has returned.
#include "ui/CBaseDialog.h"
#include "ui/CDialogWorker.h"

#include <QString>

#include <mutex>

class QLabel;
class QProgressBar;

namespace KELCTRL {

class CSingleTaskProgressDlg : public CBaseDialog {
public:
    static constexpr uintptr_t kTimerId = 100;
    static constexpr unsigned kTimerMs = 200;

    explicit CSingleTaskProgressDlg(QWidget* parent = nullptr);
    ~CSingleTaskProgressDlg() override;

    intptr_t DoModal(CDialogWorker::WorkerFunction worker, void* param);
    using CBaseDialog::AdjustCtrls;
    using CBaseDialog::DoModal;

    // For the worker, from any thread. A total below 1 counts as 1 and done is kept inside 0..total.
    void UpdateProgress(int done, int total, const QString& text);

    QLabel* GetTextLabel() const { return m_textLabel; }
    QLabel* GetCountLabel() const { return m_countLabel; }
    QProgressBar* GetBar() const { return m_bar; }

protected:
    int OnInitDialog() override;
    void OnTimer(uintptr_t id) override;
    void OnOK() override {}
    void OnCancel() override {}
    void AdjustCtrls(int width, int height) override;

private:
    CDialogWorker::WorkerFunction m_worker = nullptr;
    void* m_param = nullptr;
    CDialogWorker m_thread;

    std::mutex m_lock; // guards the three values below
    int m_done = 0;
    int m_total = 1;
    QString m_text;

    QLabel* m_textLabel = nullptr;
    QLabel* m_countLabel = nullptr;
    QProgressBar* m_bar = nullptr;
};

} // namespace KELCTRL
