#include "imagewnd/CImageProcessThread.h"

#include "common/DebugTrace.h"
#include "imagefile/ImageFile.h"

#include <QCoreApplication>
#include <QThread>

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
        if (msg.id == WM_BATCHROTATE90 && msg.payload) {
            auto request = std::static_pointer_cast<ROTATE_REQUEST>(msg.payload);
            OnBatchRotate90(*request);
            request->done.set();
        }
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
    m_cancel.reset();
    m_queue.post(WM_BATCHROTATE90, static_cast<intptr_t>(fileNames.size()), 0, request);
    ShowProgress(request->done, 500);
    failed = request->failed;
    return static_cast<int>(failed.size());
}

void CImageProcessThread::OnBatchRotate90(ROTATE_REQUEST& request) {
    const int mode = request.direction ? kRotateClockwise : kRotateCounterClockwise;
    for (int k = 0; k < request.fileNames.size(); ++k) {
        if (m_cancel.is_set())
            break; // the files not reached stay as they are
        UpdateProgressStep(k);
        const QString& name = request.fileNames[k];
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
