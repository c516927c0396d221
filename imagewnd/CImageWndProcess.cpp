// The processing pipeline of CImageWnd: the preview, adjusting mode with its working rectangle, the
// adjust thread that coalesces requests, and the synchronous route through the parent's notification.
#include "common/CFunctionTimeCost.h"
#include "common/life_lock.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageWnd.h"
#include "imagewnd/CWorkerThread.h"

#include <QApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cmath>

namespace KELCTRL {

namespace {

// Waits for the adjust thread in slices this long, painting in between.
constexpr int kExitWaitSliceMs = 10;
// After this long the wait shows the wait cursor.
constexpr int kExitWaitCursorMs = 500;

// The thread priority of a window priority: below normal, normal, above normal.
int ThreadPriority(int windowPriority) {
    switch (windowPriority) {
    case CImageWnd::PRIORITY_LOW:
        return -1;
    case CImageWnd::PRIORITY_HIGH:
        return 1;
    default:
        return 0;
    }
}

TSize<int> ScaledSize(const CImageDataInfo& image, double scale) {
    return TSize<int>(std::max(1, static_cast<int>(std::floor(image.width * scale + 0.5))),
                      std::max(1, static_cast<int>(std::floor(image.height * scale + 0.5))));
}

} // namespace

// --- parameters -----------------------------------------------------------------------------

void CImageWnd::SetLinearImageParams(const LINEAR_IMAGE_PARAMS& params) {
    std::lock_guard<std::mutex> guard(m_linearParamsLock);
    m_linearParams = params;
}

void CImageWnd::SetLinearImageParams(const unsigned short* displayCurve, const unsigned short* sourceCurve) {
    LINEAR_IMAGE_PARAMS params;
    params.displayCurve = displayCurve;
    params.sourceCurve = sourceCurve;
    SetLinearImageParams(params);
}

LINEAR_IMAGE_PARAMS CImageWnd::GetLinearImageParams() const {
    std::lock_guard<std::mutex> guard(m_linearParamsLock);
    return m_linearParams;
}

int CImageWnd::CopyFromSrcImage(int useCurve, CImageDataInfo& dst, const CImageDataInfo& src, int x,
                                int y) const {
    if (!dst.IsValid() || !src.IsValid())
        return 0;
    const unsigned short* curve = useCurve ? GetLinearImageParams().sourceCurve : nullptr;
    if (curve)
        return ImageProcess::ApplyCurveToImage(dst, src, curve, x, y, nullptr) ? 1 : 0;
    return ImageProcess::CopyImage(src, dst, 0, 0, x, y, dst.width, dst.height, nullptr) ? 1 : 0;
}

// --- preview --------------------------------------------------------------------------------

void CImageWnd::CreatePreview() {
    if (!m_image) {
        ReleasePreview();
        return;
    }
    const CImageDataInfo& source = m_beforeImage ? *m_beforeImage : *m_image;
    const int longer = std::max(source.width, source.height);
    const int target = std::max(1, std::min(PREVIEW_MAX_SIDE, longer / 2));
    m_previewScale = static_cast<double>(target) / longer;
    if (target < longer) {
        const TSize<int> size = ScaledSize(source, m_previewScale);
        if (!m_beforeImage) {
            m_previewBefore.Release();
            ImageProcess::ResizeImage(source, m_preview, size.width, size.height, ImageProcess::RESIZE_AUTO,
                                      nullptr);
        } else if (ImageProcess::ResizeImage(source, m_previewBefore, size.width, size.height,
                                             ImageProcess::RESIZE_AUTO, nullptr) &&
                   m_preview.Create(size, m_previewBefore.channels, m_previewBefore.depth)) {
            CopyFromSrcImage(1, m_preview, m_previewBefore, 0, 0);
        }
        if (m_transMask)
            ImageProcess::ResizeImage(*m_transMask, m_previewMask, size.width, size.height,
                                      ImageProcess::RESIZE_AUTO, nullptr);
        else
            m_previewMask.Release();
        return;
    }
    // Too small to reduce: the preview is the image itself.
    m_previewScale = 1.0;
    if (!m_beforeImage) {
        m_previewBefore.Release();
        m_preview = source;
    } else {
        m_previewBefore = source;
        if (m_preview.Create(source.Size(), source.channels, source.depth))
            CopyFromSrcImage(1, m_preview, m_previewBefore, 0, 0);
    }
    if (m_transMask)
        m_previewMask = *m_transMask;
    else
        m_previewMask.Release();
}

void CImageWnd::ProcessPreview() {
    const PROCESSIMAGE_FUNC func = m_processImageFunc.load();
    if (!func || !m_preview.IsValid() || !m_previewBefore.IsValid())
        return;
    CFunctionTimeCost cost("KELCTRL::CImageWnd::ProcessPreview");
    m_processingPreview = true;
    CopyFromSrcImage(1, m_preview, m_previewBefore, 0, 0);
    func(this, m_preview, m_previewBefore, m_previewScale, 0, 0, nullptr);
    m_processingPreview = false;
}

void CImageWnd::ReleasePreview() {
    m_preview.Release();
    m_previewBefore.Release();
    m_previewMask.Release();
    m_previewScale = 1.0;
}

// --- adjusting mode -------------------------------------------------------------------------

void CImageWnd::EnterAdjustingMode() {
    if (m_adjusting || !m_image || !m_beforeImage)
        return;
    // Zoomed out, processing works on the zoomed copy: it must exist first.
    if (m_zoomedOut && !WaitForZoomedCache(true))
        return;
    // Held until ExitAdjustingMode: no cache build and no painting from the cache in between.
    m_cacheLock.lock();
    m_adjusting = true;
    ComputeAdjustRect();
    m_adjustJob = ADJUST_JOB();
    m_adjustJob.zoomedOut = m_zoomedOut;
    m_adjustJob.zoom = m_zoomedOut ? m_zoomValue : 1.0;
    m_adjustJob.source = m_zoomedOut ? &m_cacheBefore : m_beforeImage;
    m_adjustJob.fullSource = m_beforeImage;
    m_adjustJob.target = m_zoomedOut ? &m_cacheImage : m_image;
    if (m_processImageFunc.load())
        StartAdjustThread();
}

void CImageWnd::ComputeAdjustRect() {
    const int e = std::max(0, ImageProcess::GetProcessExtend());
    int x = 0, y = 0, w = 0, h = 0;
    if (!m_zoomedOut) {
        const int left = static_cast<int>(std::floor(m_srcRect.x));
        const int top = static_cast<int>(std::floor(m_srcRect.y));
        const int right = static_cast<int>(std::ceil(m_srcRect.x + m_srcRect.width));
        const int bottom = static_cast<int>(std::ceil(m_srcRect.y + m_srcRect.height));
        x = std::max(0, left - e);
        y = std::max(0, top - e);
        w = std::min(m_imageSize.width - x, right - left + 2 * e);
        h = std::min(m_imageSize.height - y, bottom - top + 2 * e);
    } else {
        x = std::max(0, m_dispPos.x - e);
        y = std::max(0, m_dispPos.y - e);
        w = std::min(m_cacheImage.width - x, m_drawSize.width + 2 * e);
        h = std::min(m_cacheImage.height - y, m_drawSize.height + 2 * e);
    }
    m_adjustX = x;
    m_adjustY = y;
    // A failed Create leaves the buffer released; the requests then do nothing.
    if (!m_adjustBuffer.Create(w, h, m_beforeImage->channels, m_beforeImage->depth))
        m_adjustBuffer.Release();
}

QRect CImageWnd::GetAdjustRect() const {
    if (!m_adjusting || !m_adjustBuffer.IsValid())
        return QRect();
    return QRect(m_adjustX, m_adjustY, m_adjustBuffer.width, m_adjustBuffer.height);
}

void CImageWnd::StartAdjustThread() {
    m_adjustQueue.remove_all();
    m_adjustRedrawDue.store(false);
    m_adjustThread = std::make_unique<CWorkerThread>([this] { AdjustThreadLoop(); });
    if (!m_adjustThread->start(nullptr, ThreadPriority(m_priority)))
        m_adjustThread.reset(); // requests then run on this thread
}

void CImageWnd::ExitAdjustingMode() {
    if (!m_adjusting)
        return;
    m_adjusting = false;
    if (m_adjustThread) {
        m_adjustQueue.post(WM_QUIT);
        QElapsedTimer clock;
        clock.start();
        bool waitCursor = false;
        while (!m_adjustThread->WaitFinished(kExitWaitSliceMs)) {
            // Keep this window drawn with the results that arrive meanwhile.
            if (m_adjustRedrawDue.exchange(false))
                RepaintNow();
            if (!waitCursor && clock.elapsed() >= kExitWaitCursorMs &&
                qobject_cast<QApplication*>(QCoreApplication::instance())) {
                QApplication::setOverrideCursor(Qt::WaitCursor);
                waitCursor = true;
            }
        }
        if (waitCursor)
            QApplication::restoreOverrideCursor();
        m_adjustThread.reset();
        if (m_adjustRedrawDue.exchange(false))
            RepaintNow();
    }
    m_cacheLock.unlock();
}

void CImageWnd::AdjustImage(int async) {
    if (!m_adjusting)
        return;
    if (async && m_adjustThread && m_processImageFunc.load()) {
        m_adjustQueue.post(MSG_ADJUSTIMAGE);
        return;
    }
    RunAdjustSync();
}

void CImageWnd::ProcessImage() {
    if (!m_image || !m_beforeImage) {
        // Nothing to process: what is on show is the result.
        RepaintNow();
        FlushSyncPartner();
        return;
    }
    if (m_adjusting) {
        // The host's live session goes on: its working rectangle is processed again.
        AdjustImage(1);
        return;
    }
    EnterAdjustingMode();
    if (m_adjusting) {
        // The thread reads its queue in order, so this request runs before the quit that follows.
        if (m_adjustThread)
            m_adjustQueue.post(MSG_ADJUSTIMAGE);
        else
            RunAdjustSync();
    }
    ExitAdjustingMode();
}

// --- the work -------------------------------------------------------------------------------

void CImageWnd::RequestProcessing(CImageDataInfo& dst, const CImageDataInfo& src,
                                  const CImageDataInfo* fullSource, double zoom, int x, int y) {
    if (const PROCESSIMAGE_FUNC func = m_processImageFunc.load()) {
        func(this, dst, src, zoom, x, y, fullSource);
        return;
    }
    NMIMGWND_PROCESSIMAGE request;
    request.wnd = this;
    request.dst = &dst;
    request.src = &src;
    request.fullSource = fullSource;
    request.zoom = zoom;
    request.x = x;
    request.y = y;
    NotifyParent(NM_IMGWND_PROCESSIMAGE, request.hdr);
}

void CImageWnd::RunAdjustSync() {
    const ADJUST_JOB job = m_adjustJob;
    if (!job.source || !job.target)
        return;
    {
        // The adjust thread may be filling the same buffer for a posted request.
        std::lock_guard<std::recursive_mutex> run(m_adjustRunLock);
        if (!m_adjustBuffer.IsValid())
            return;
        ProcessAdjustBuffer(job);
    }
    RepaintNow();
    FlushSyncPartner();
}

void CImageWnd::ProcessAdjustBuffer(const ADJUST_JOB& job) {
    CopyFromSrcImage(1, m_adjustBuffer, *job.source, m_adjustX, m_adjustY);
    // Zoomed out the source is the zoomed copy, and the whole before-image goes along.
    RequestProcessing(m_adjustBuffer, *job.source, job.zoomedOut ? job.fullSource : nullptr, job.zoom,
                      m_adjustX, m_adjustY);
    WalkAll(IImageWndTool::EVENTMASK_POSTPROCESSIMAGE, [&](IImageWndTool* t) {
        t->OnPostProcessImage(m_adjustBuffer, *job.source, m_adjustX, m_adjustY);
    });
    life_lock guard(m_imageLock);
    ImageProcess::CopyImage(m_adjustBuffer, *job.target, m_adjustX, m_adjustY, 0, 0, m_adjustBuffer.width,
                            m_adjustBuffer.height, nullptr);
    if (job.zoomedOut)
        m_cacheAwaitingProcess.store(false);
}

void CImageWnd::AdjustThreadLoop() {
    life_lock lifeGuard(m_adjustLock);
    for (;;) {
        GS_THREAD::message msg;
        if (!m_adjustQueue.wait(msg, -1))
            continue;
        if (msg.id == WM_QUIT)
            return;
        if (msg.id != MSG_ADJUSTIMAGE)
            continue;
        // A burst of requests runs once: the newest parameters are what counts.
        m_adjustQueue.remove_all(MSG_ADJUSTIMAGE, MSG_ADJUSTIMAGE);
        RunAdjustRequest();
    }
}

void CImageWnd::RunAdjustRequest() {
    // m_adjustJob and the working rectangle were fixed before this thread started.
    const ADJUST_JOB& job = m_adjustJob;
    const PROCESSIMAGE_FUNC func = m_processImageFunc.load();
    if (!func || !job.source || !job.target)
        return;
    // A synchronous request on the UI thread fills the same buffer.
    std::lock_guard<std::recursive_mutex> run(m_adjustRunLock);
    if (!m_adjustBuffer.IsValid())
        return;
    CopyFromSrcImage(1, m_adjustBuffer, *job.source, m_adjustX, m_adjustY);
    func(this, m_adjustBuffer, *job.source, std::min(job.zoom, 1.0), m_adjustX, m_adjustY, job.fullSource);
    WalkPostProcessFromThread(m_adjustBuffer, *job.source, m_adjustX, m_adjustY);
    life_lock guard(m_imageLock);
    ImageProcess::CopyImage(m_adjustBuffer, *job.target, m_adjustX, m_adjustY, 0, 0, m_adjustBuffer.width,
                            m_adjustBuffer.height, nullptr);
    if (job.zoomedOut)
        m_cacheAwaitingProcess.store(false);
    m_adjustRedrawDue.store(true);
    PostMessage(WM_BASEWND_REDRAW);
}

void CImageWnd::WalkPostProcessFromThread(CImageDataInfo& dst, const CImageDataInfo& src, int x, int y) {
    std::lock_guard<std::mutex> guard(m_toolListLock);
    const size_t count = m_tools.size();
    for (size_t i = 0; i < count && i < m_tools.size(); ++i) {
        IImageWndTool* tool = m_tools[i];
        if (tool->GetEventMask() & IImageWndTool::EVENTMASK_POSTPROCESSIMAGE)
            tool->OnPostProcessImage(dst, src, x, y);
    }
}

} // namespace KELCTRL
