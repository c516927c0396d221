// The zoomed cache of CImageWnd: copies of the image, before-image, display-before image and mask at
// exactly the zoomed size, built on the window's cache thread. Only the newest request builds; a
// cancel wins over every build before it; a build looks for newer messages after every buffer.
#include "common/CFunctionTimeCost.h"
#include "common/life_lock.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageWnd.h"
#include "imagewnd/CWorkerThread.h"

#include <QApplication>

#include <algorithm>

namespace KELCTRL {

namespace {

// Only one window resizes at a time: the before and after canvases would only compete for memory
// bandwidth.
std::mutex g_zoomResizeLock;

} // namespace

// Made by the UI thread, handed to the cache thread with message 101. The image references are
// taken at request time: the UI thread changes them only after cancelling and waiting.
struct CImageWnd::ZOOMCACHE_REQUEST {
    TSize<int> size;
    double zoom = 1.0;
    int processAfter = 0;
    const CImageDataInfo* image = nullptr;
    const CImageDataInfo* before = nullptr;
    const CImageDataInfo* dispBefore = nullptr;
    const CImageDataInfo* mask = nullptr;
};

// --- UI side --------------------------------------------------------------------------------

void CImageWnd::StartCacheThread() {
    if (m_cacheThread)
        return;
    m_cacheQueue.remove_all();
    m_cacheReady.set();
    m_cacheFailed.store(false);
    m_cacheThread = std::make_unique<CWorkerThread>([this] { CacheThreadLoop(); });
    if (!m_cacheThread->start(nullptr, 0))
        m_cacheThread.reset(); // no cache: the window paints from the preview
}

void CImageWnd::StopCacheThread() {
    if (!m_cacheThread)
        return;
    m_cacheQueue.post(WM_QUIT);
    m_cacheThread->WaitFinished(-1);
    m_cacheThread.reset();
    // Nothing builds any more, so nobody may wait for a build.
    m_cacheReady.set();
}

void CImageWnd::UpdateZoomedCache() {
    if (!m_cacheThread || !m_image || !m_zoomedOut)
        return;
    ExitAdjustingMode();
    // Until the copy is there the preview shows, so it shows the present edit.
    ProcessPreview();
    auto request = std::make_shared<ZOOMCACHE_REQUEST>();
    request->size = m_zoomedSize;
    request->zoom = m_zoomValue;
    request->processAfter = !m_showingBefore.load() && m_beforeImage ? 1 : 0;
    request->image = m_image;
    request->before = m_beforeImage;
    request->dispBefore = m_dispBeforeImage;
    request->mask = m_transMask;
    std::lock_guard<std::mutex> guard(m_cacheStateLock);
    m_cacheReady.reset();
    m_cacheFailed.store(false);
    m_cacheQueue.post(MSG_ZOOMEDCACHE_BUILD, 0, 0, request);
}

void CImageWnd::CancelZoomedCaching(int wait) {
    if (!m_cacheThread)
        return;
    {
        std::lock_guard<std::mutex> guard(m_cacheStateLock);
        if (m_cacheReady.is_set())
            return;
        m_cacheQueue.post(MSG_ZOOMEDCACHE_CANCEL);
    }
    // In adjusting mode this thread holds the cache lock, so no build runs and the cache thread could
    // not answer before the mode ends.
    if (wait && !m_adjusting)
        m_cacheReady.wait(-1);
}

void CImageWnd::ReleaseZoomedCache() {
    life_lock guard(m_cacheLock);
    m_cacheAwaitingProcess.store(false);
    m_cacheWidth.store(0);
    m_cacheHeight.store(0);
    m_cacheImage.Release();
    m_cacheBefore.Release();
    m_cacheDispBefore.Release();
    m_cacheMask.Release();
}

int CImageWnd::IsZoomedCacheReady() const {
    return m_cacheReady.is_set() && !m_cacheFailed.load() && m_zoomedSize.width > 0 &&
                   m_cacheWidth.load() == m_zoomedSize.width && m_cacheHeight.load() == m_zoomedSize.height
               ? 1
               : 0;
}

int CImageWnd::WaitForZoomedCache(bool mayRequest) {
    if (IsZoomedCacheReady())
        return 1;
    // In adjusting mode the pending build waits for this thread: waiting here would never end.
    if (!m_cacheThread || m_adjusting)
        return 0;
    m_cacheReady.wait(-1);
    if (IsZoomedCacheReady() || m_cacheFailed.load() || !mayRequest)
        return IsZoomedCacheReady();
    // The last request was cancelled, or the copy is of another size: ask for this one.
    UpdateZoomedCache();
    m_cacheReady.wait(-1);
    return IsZoomedCacheReady();
}

void CImageWnd::ProcessZoomedCache() {
    if (!m_image || !m_zoomedOut || !WaitForZoomedCache(!m_adjusting))
        return;
    const bool cursor = qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
    if (cursor)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    {
        life_lock guard(m_cacheLock);
        if (m_cacheBefore.IsValid()) {
            CopyFromSrcImage(1, m_cacheImage, m_cacheBefore, 0, 0);
            RequestProcessing(m_cacheImage, m_cacheBefore, m_beforeImage, m_zoomValue, 0, 0);
            WalkAll(IImageWndTool::EVENTMASK_POSTPROCESSIMAGE,
                    [&](IImageWndTool* t) { t->OnPostProcessImage(m_cacheImage, m_cacheBefore, 0, 0); });
            m_cacheAwaitingProcess.store(false);
        }
    }
    if (cursor)
        QApplication::restoreOverrideCursor();
}

// --- the cache thread -----------------------------------------------------------------------

void CImageWnd::CacheThreadLoop() {
    for (;;) {
        GS_THREAD::message msg;
        if (!m_cacheQueue.wait(msg, -1))
            continue;
        if (msg.id == WM_QUIT)
            return;
        if (msg.id != MSG_ZOOMEDCACHE_BUILD && msg.id != MSG_ZOOMEDCACHE_CANCEL)
            continue;
        // Adjusting mode holds this lock: a build waits for the adjust thread to end.
        life_lock cacheGuard(m_cacheLock);
        std::shared_ptr<ZOOMCACHE_REQUEST> request;
        {
            // Only the newest request counts; a cancel after it wins.
            std::lock_guard<std::mutex> guard(m_cacheStateLock);
            GS_THREAD::message newer;
            while (m_cacheQueue.peek(newer, MSG_ZOOMEDCACHE_BUILD, MSG_ZOOMEDCACHE_CANCEL, true))
                msg = newer;
            if (msg.id == MSG_ZOOMEDCACHE_CANCEL || !msg.payload) {
                m_cacheReady.set();
                continue;
            }
            request = std::static_pointer_cast<ZOOMCACHE_REQUEST>(msg.payload);
        }
        BuildResult result = BuildZoomedCache(*request);
        if (result == BuildResult::Quit)
            return;
        if (result == BuildResult::Failed) {
            // Every waiter must see the end of this build; the preview goes on showing.
            m_cacheImage.Release();
            m_cacheBefore.Release();
            m_cacheDispBefore.Release();
            m_cacheMask.Release();
            std::lock_guard<std::mutex> guard(m_cacheStateLock);
            GS_THREAD::message pending;
            if (!m_cacheQueue.peek(pending, MSG_ZOOMEDCACHE_BUILD, MSG_ZOOMEDCACHE_CANCEL)) {
                m_cacheFailed.store(true);
                m_cacheReady.set();
            }
            continue;
        }
        if (result == BuildResult::Restart)
            continue;
        {
            std::lock_guard<std::mutex> guard(m_cacheStateLock);
            GS_THREAD::message pending;
            // A newer request arrived after the last checkpoint: it decides.
            if (m_cacheQueue.peek(pending, MSG_ZOOMEDCACHE_BUILD, MSG_ZOOMEDCACHE_CANCEL))
                continue;
            // The copy is unprocessed: until its pass runs, the processed preview stays on show.
            m_cacheAwaitingProcess.store(request->processAfter != 0);
            m_cacheReady.set();
        }
        if (!request->processAfter || m_showingBefore.load())
            PostMessage(WM_BASEWND_REDRAW);
        else
            PostMessage(WM_IMGWND_RESTARTPROCESSTIMER);
    }
}

CImageWnd::BuildResult CImageWnd::CacheCheckpoint() {
    GS_THREAD::message msg;
    if (m_cacheQueue.peek(msg, WM_QUIT, WM_QUIT))
        return BuildResult::Quit;
    if (m_cacheQueue.peek(msg, MSG_ZOOMEDCACHE_BUILD, MSG_ZOOMEDCACHE_CANCEL))
        return BuildResult::Restart;
    return BuildResult::Done;
}

CImageWnd::BuildResult CImageWnd::BuildZoomedCache(const ZOOMCACHE_REQUEST& request) {
    CFunctionTimeCost cost("KELCTRL::CImageWnd::thdZoomedCaching");
    // The buffers are about to change: no copy is ready until this build completes.
    m_cacheWidth.store(0);
    m_cacheHeight.store(0);
    const TSize<int> size = request.size;
    const CImageDataInfo& image = *request.image;
    if (!m_cacheImage.Create(size, image.channels, image.depth))
        return BuildResult::Failed;
    if (!request.before) {
        m_cacheBefore.Release();
        m_cacheDispBefore.Release();
    } else {
        if (!m_cacheBefore.Create(size, request.before->channels, request.before->depth))
            return BuildResult::Failed;
        if (request.dispBefore && request.dispBefore != request.before) {
            if (!m_cacheDispBefore.Create(size, request.dispBefore->channels, request.dispBefore->depth))
                return BuildResult::Failed;
        } else {
            m_cacheDispBefore.Release();
        }
    }
    if (!request.mask)
        m_cacheMask.Release();
    else if (!m_cacheMask.Create(size, 1, 1))
        return BuildResult::Failed;

    std::lock_guard<std::mutex> resizeGuard(g_zoomResizeLock);
    BuildResult step = BuildResult::Done;
    auto resize = [&](const CImageDataInfo& src, CImageDataInfo& dst, ImageProcess::RESIZE_ALGORITHM alg) {
        return ImageProcess::ResizeImage(src, dst, size.width, size.height, alg, nullptr);
    };
    if (!m_cacheBefore.IsValid()) {
        if (!resize(image, m_cacheImage, ImageProcess::RESIZE_AUTO))
            return BuildResult::Failed;
    } else {
        if (!resize(*request.before, m_cacheBefore, ImageProcess::RESIZE_AUTO))
            return BuildResult::Failed;
        if ((step = CacheCheckpoint()) != BuildResult::Done)
            return step;
        if (m_cacheDispBefore.IsValid()) {
            if (!resize(*request.dispBefore, m_cacheDispBefore, ImageProcess::RESIZE_AUTO))
                return BuildResult::Failed;
            if ((step = CacheCheckpoint()) != BuildResult::Done)
                return step;
        }
        // Unprocessed until the pipeline runs over it.
        CopyFromSrcImage(1, m_cacheImage, m_cacheBefore, 0, 0);
    }
    if ((step = CacheCheckpoint()) != BuildResult::Done)
        return step;
    if (m_cacheMask.IsValid()) {
        if (!resize(*request.mask, m_cacheMask, ImageProcess::RESIZE_BOX))
            return BuildResult::Failed;
        if ((step = CacheCheckpoint()) != BuildResult::Done)
            return step;
    }
    if (const ZOOMCONTENT_FUNC func = m_zoomContentFunc.load()) {
        func(this, request.zoom);
        if ((step = CacheCheckpoint()) != BuildResult::Done)
            return step;
    }
    m_cacheWidth.store(size.width);
    m_cacheHeight.store(size.height);
    m_cacheBuildCount.fetch_add(1);
    return BuildResult::Done;
}

} // namespace KELCTRL
