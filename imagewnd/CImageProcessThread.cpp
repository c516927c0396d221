#include "imagewnd/CImageProcessThread.h"

#include "common/DebugTrace.h"
#include "imagefile/ImageFile.h"
#include "ui/CProgressWnd.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>
#include <exception>
#include <filesystem>

namespace KELCTRL {

namespace {

// Lossless transform modes of the file library.
constexpr int kRotateCounterClockwise = 2;
constexpr int kRotateClockwise = 3;
// The waiting UI thread looks at its events this often.
constexpr int kWaitSliceMs = 20;

std::filesystem::path ToPath(const QString& text) {
    return std::filesystem::path(text.toStdString());
}

std::atomic<CImageProcessThread::WAIT_FUNC> g_waitFunc{nullptr};
std::atomic<int> g_progressDelayMs{500};

} // namespace

CImageProcessThread::~CImageProcessThread() {
    Exit();
}

int CImageProcessThread::Start(int priority) {
    if (is_running())
        return 0;
    m_queue.remove_all();
    return start(nullptr, priority) ? 1 : 0;
}

void CImageProcessThread::Exit() {
    stop();
}

void CImageProcessThread::stop() {
    if (is_running())
        m_queue.post(WM_QUIT);
    GS_THREAD::std_thread::stop(); // joins, also a thread that already ended
}

void CImageProcessThread::CancelTask() {
    m_cancel.set();
}

void CImageProcessThread::SetProgressFunc(PROGRESS_FUNC func, void* context) {
    m_progressContext.store(context);
    m_progressFunc.store(func);
}

void CImageProcessThread::SetWaitFunc(WAIT_FUNC func) {
    g_waitFunc.store(func);
}

CImageProcessThread::WAIT_FUNC CImageProcessThread::GetWaitFunc() {
    return g_waitFunc.load();
}

void CImageProcessThread::SetProgressDelay(int ms) {
    g_progressDelayMs.store(std::max(ms, 0));
}

int CImageProcessThread::GetProgressDelay() {
    return g_progressDelayMs.load();
}

int CImageProcessThread::InitInstance() {
    m_cancel.reset();
    return 1;
}

int CImageProcessThread::ExitInstance() {
    m_cancel.set();
    return 0;
}

int CImageProcessThread::main(void*) {
    if (!InitInstance())
        return ExitInstance();
    for (;;) {
        GS_THREAD::message msg;
        if (!m_queue.wait(msg, -1))
            continue;
        if (msg.id == WM_QUIT)
            break;
        if (msg.id == WM_BATCHROTATE90 && msg.payload)
            RunBatchRotate90(*std::static_pointer_cast<ROTATE_REQUEST>(msg.payload));
    }
    return ExitInstance();
}

int CImageProcessThread::BatchRotate90(const QString& folder, const QStringList& fileNames, int direction,
                                       QStringList& failed) {
    failed.clear();
    if (fileNames.isEmpty())
        return 0;
    if (!is_running())
        return -1;
    auto request = std::make_shared<ROTATE_REQUEST>();
    request->folder = folder;
    request->fileNames = fileNames;
    request->direction = direction;
    SetupProgress(static_cast<int>(fileNames.size()));
    CProgressWnd::InitProgressInfo(static_cast<int>(fileNames.size()));
    m_cancel.reset();
    m_queue.post(WM_BATCHROTATE90, static_cast<intptr_t>(fileNames.size()), 0, request);
    if (const WAIT_FUNC wait = g_waitFunc.load())
        wait(this, GetProgressDelay());
    else
        ShowProgress(request->done, GetProgressDelay());
    // The job sets `done` before it ends the progress, so this returns at once after a wait.
    request->done.wait(-1);
    failed = request->failed;
    return static_cast<int>(failed.size());
}

void CImageProcessThread::RunBatchRotate90(ROTATE_REQUEST& request) {
    // Every way out releases the caller: first the result, then the end of the progress it waits on.
    struct JobEnd {
        ROTATE_REQUEST& request;
        ~JobEnd() {
            request.done.set();
            CProgressWnd::EndProgress();
        }
    } end{request};
    const auto failRest = [&request](const char* why) {
        DebugTrace("[OnBatchRotate90] Error: %s\n", why);
        for (qsizetype k = request.current; k < request.fileNames.size(); ++k)
            request.failed.append(request.fileNames[k]);
    };
    try {
        OnBatchRotate90(request);
    } catch (const std::exception& e) {
        failRest(e.what());
    } catch (...) {
        failRest("unknown");
    }
}

void CImageProcessThread::OnBatchRotate90(ROTATE_REQUEST& request) {
    const int mode = request.direction ? kRotateClockwise : kRotateCounterClockwise;
    for (int k = 0; k < request.fileNames.size(); ++k) {
        if (m_cancel.is_set())
            break; // the files not reached stay as they are
        request.current = k;
        UpdateProgressStep(k);
        const QString& name = request.fileNames[k];
        CProgressWnd::SetProgressText(name);
        const std::filesystem::path path = ToPath(request.folder) / ToPath(name);
        const int error = ImageFile::LosslessTransform(path, mode, nullptr);
        if (error != 0) {
            request.failed.append(name);
            DebugTrace("[OnBatchRotate90] FileName: \"%s\", ErrorCode: %d\n", path.string().c_str(), error);
        }
    }
}

void CImageProcessThread::SetupProgress(int total) {
    m_progressTotal.store(total);
}

void CImageProcessThread::UpdateProgressStep(int step) {
    CProgressWnd::UpdateProgressStep(step + 1); // the window counts its steps from 1
    if (const PROGRESS_FUNC func = m_progressFunc.load())
        func(m_progressContext.load(), step, m_progressTotal.load());
}

int CImageProcessThread::ShowProgress(event_signal& done, int /*delayMs*/) {
    QCoreApplication* app = QCoreApplication::instance();
    const bool uiThread = app && QThread::currentThread() == app->thread();
    while (done.wait(kWaitSliceMs) != 0) {
        // As a modal progress window would, keep the windows drawn but take no input.
        if (uiThread)
            QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    }
    return 1;
}

} // namespace KELCTRL
