#pragma once
// The application's general worker: a thread with a message loop that runs long jobs for the UI,
// today the batch rotation of files by 90 degrees. The caller waits in ShowProgress while the job
// runs; the job reports each step to the progress function on the worker thread and to the shared
// progress state of CProgressWnd, and ends that progress on every way out, so a wait always ends.
#include "common/event_signal.h"
#include "common/message_queue.h"
#include "common/std_thread.h"

#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>

namespace KELCTRL {

class CImageProcessThread : public GS_THREAD::std_thread {
public:
    static constexpr unsigned WM_QUIT = 18;
    static constexpr unsigned WM_BATCHROTATE90 = 1124;
    // Progress of a job: step k of total, called on the worker thread.
    using PROGRESS_FUNC = void (*)(void* context, int step, int total);
    // How a caller on the interface thread waits for a job: returns once CProgressWnd's progress has
    // ended. The application installs one that shows its progress window after `delayMs`; without
    // one the caller keeps the windows drawn and takes no input until the job is done.
    using WAIT_FUNC = void (*)(CImageProcessThread* thread, int delayMs);
    static void SetWaitFunc(WAIT_FUNC func);
    static WAIT_FUNC GetWaitFunc();
    // How long a job may run before the progress window shows; 500 ms unless set.
    static void SetProgressDelay(int ms);
    static int GetProgressDelay();

    CImageProcessThread() = default;
    ~CImageProcessThread() override;

    // Starts the thread with its message loop; priority -2 … 2. Returns 1, or 0 when it cannot start.
    int Start(int priority = 0);
    // Posts quit to the thread and waits for it without limit.
    void Exit();
    // The generic stop of every worker: the loop leaves only on its quit message, so post it first.
    void stop() override;
    // Asks the running job to stop before its next file.
    void CancelTask();
    int IsTaskCancelled() { return m_cancel.is_set() ? 1 : 0; }
    // The queue that learns of results, kept for the host.
    void SetNotifyThread(GS_THREAD::message_queue* queue) { m_notifyThread.store(queue); }
    GS_THREAD::message_queue* GetNotifyThread() const { return m_notifyThread.load(); }
    void SetProgressFunc(PROGRESS_FUNC func, void* context);

    // Turns every file of the list by 90 degrees without loss, clockwise when `direction` is non-zero.
    // Returns the number of files that failed, which are listed in `failed`; 0 for an empty list, -1
    // when the thread does not run.
    int BatchRotate90(const QString& folder, const QStringList& fileNames, int direction,
                      QStringList& failed);

protected:
    struct ROTATE_REQUEST {
        QString folder;
        QStringList fileNames;
        int direction = 0;
        QStringList failed;
        int current = 0; // the file being turned; the ones from here on count as failed on an exception
        event_signal done;
    };

    // Run on the worker thread before and after its message loop.
    virtual int InitInstance();
    virtual int ExitInstance();
    virtual void OnBatchRotate90(ROTATE_REQUEST& request);

    void SetupProgress(int total);
    void UpdateProgressStep(int step);
    // Waits until the job signals `done`; on the UI thread it keeps the application responsive.
    // The progress window would show after `delayMs`; here the progress function reports instead.
    int ShowProgress(event_signal& done, int delayMs);

    int main(void* argument) override;

private:
    void RunBatchRotate90(ROTATE_REQUEST& request);

    GS_THREAD::message_queue m_queue;
    // Manual reset: a cancel stays until the next job starts.
    event_signal m_cancel{true, false};
    std::atomic<GS_THREAD::message_queue*> m_notifyThread{nullptr};
    std::atomic<PROGRESS_FUNC> m_progressFunc{nullptr};
    std::atomic<void*> m_progressContext{nullptr};
    std::atomic<int> m_progressTotal{0};
};

} // namespace KELCTRL
