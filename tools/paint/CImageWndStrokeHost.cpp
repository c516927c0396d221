#include "tools/paint/CImageWndStrokeHost.h"

#include "common/life_lock.h"
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageWnd.h"

namespace KELCTRL {
namespace IMGWND_TOOL {

void CImageWndStrokeHost::Attach(CImageWnd* wnd) {
    m_wnd = wnd;
    Update();
}

void CImageWndStrokeHost::Detach() {
    m_wnd = nullptr;
    std::lock_guard<std::mutex> guard(m_lock);
    m_snapshot = SNAPSHOT();
}

void CImageWndStrokeHost::SetProcess(PROCESS_FUNC process) {
    std::lock_guard<std::mutex> guard(m_lock);
    m_process = std::move(process);
}

void CImageWndStrokeHost::Update() {
    SNAPSHOT s;
    if (CImageWnd* wnd = m_wnd; wnd && wnd->HasImage()) {
        const QPoint origin = wnd->mapToGlobal(QPoint(0, 0));
        s.geometry.globalOrigin = TPoint<int>(origin.x(), origin.y());
        s.geometry.drawPos = wnd->GetDrawPos();
        const QRectF src = wnd->GetSrcRect();
        s.geometry.srcX = src.x();
        s.geometry.srcY = src.y();
        s.geometry.srcWidth = src.width();
        s.geometry.srcHeight = src.height();
        s.geometry.zoom = wnd->GetZoomValue() > 0.0 ? wnd->GetZoomValue() : 1.0;
        s.geometry.zoomedCache = wnd->IsZoomedOut();
        s.display = wnd->GetImage();
        s.hasBefore = wnd->GetBeforeImage() ? 1 : 0;
        s.source = s.hasBefore ? wnd->GetBeforeImage() : s.display;
        if (s.geometry.zoomedCache) {
            CImageDataInfo& cacheBefore = wnd->GetZoomedCacheBefore();
            s.cacheDisplay = &wnd->GetZoomedCacheImage();
            s.cacheSource = s.hasBefore ? &cacheBefore : s.cacheDisplay;
        }
        s.lut = wnd->GetLinearImageParams().displayCurve;
    }
    std::lock_guard<std::mutex> guard(m_lock);
    m_snapshot = s;
}

CImageWndStrokeHost::SNAPSHOT CImageWndStrokeHost::Snapshot() const {
    std::lock_guard<std::mutex> guard(m_lock);
    return m_snapshot;
}

VIEW_GEOMETRY CImageWndStrokeHost::GetViewGeometry() {
    return Snapshot().geometry;
}

const CImageDataInfo* CImageWndStrokeHost::GetSourceImage() {
    return Snapshot().source;
}

const CImageDataInfo* CImageWndStrokeHost::GetZoomedCache() {
    const SNAPSHOT s = Snapshot();
    if (!s.geometry.zoomedCache || !s.cacheSource || !s.cacheSource->IsValid())
        return nullptr;
    return s.cacheSource;
}

const unsigned short* CImageWndStrokeHost::GetLookupTable() {
    return Snapshot().lut;
}

int CImageWndStrokeHost::WaitZoomedCacheReady(basic_signal& abort) {
    CImageWnd* wnd = m_wnd;
    if (!wnd)
        return 0;
    // A failed or cancelled build also ends the wait, so this loop always ends.
    while (!wnd->WaitZoomedCacheIdle(kWaitSliceMs)) {
        if (abort.is_set())
            return 0;
    }
    return wnd->IsZoomedCacheFailed() ? 0 : 1;
}

void CImageWndStrokeHost::RefreshRect(const IntRect& rect, int zoomed, const CSelectedRegion& canvas) {
    CImageWnd* wnd = m_wnd;
    if (!wnd)
        return;
    SNAPSHOT s;
    PROCESS_FUNC process;
    {
        std::lock_guard<std::mutex> guard(m_lock);
        s = m_snapshot;
        process = m_process;
    }
    const CImageDataInfo* source = zoomed ? s.cacheSource : s.source;
    CImageDataInfo* target = zoomed ? s.cacheDisplay : s.display;
    // Without a before-image the result would be processed again from itself.
    if (!rect.IsEmpty() && process && s.hasBefore && source && target && source->IsValid() &&
        target->IsValid()) {
        CImageDataInfo temp;
        if (temp.Create(rect.width, rect.height, source->channels, source->depth)) {
            life_lock guard(wnd->GetImageLock());
            wnd->CopyFromSrcImage(1, temp, *source, rect.x, rect.y);
            process(temp, *source, canvas, rect.x, rect.y);
            ImageProcess::CopyImage(temp, *target, rect.x, rect.y, 0, 0, temp.width, temp.height, nullptr);
            m_processCount.fetch_add(1);
        }
    }
    m_redrawDue.store(true);
    CBaseWnd::PostMessage(wnd, WM_BASEWND_REDRAW);
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
