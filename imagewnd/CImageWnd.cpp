#include "imagewnd/CImageWnd.h"

#include "imagewnd/CKeyStateTracker.h"
#include "imagewnd/CWorkerThread.h"


namespace KELCTRL {

CImageWnd::CImageWnd(int priority, QWidget* parent) : CBaseWnd(parent), m_priority(priority) {
    setFocusPolicy(Qt::ClickFocus);
    // Processing waits while a letter key (a tool's hot key) is down.
    CKeyStateTracker::Install();
}

CImageWnd::~CImageWnd() {
    DestroyWindow();
    // Nothing may keep pointing at a window that is gone.
    if (m_syncWnd && m_syncWnd->m_syncWnd == this)
        m_syncWnd->m_syncWnd = nullptr;
    m_syncWnd = nullptr;
    const bool notify = m_naviNotify;
    m_naviNotify = true;
    UpdateNaviCtrls(NAVICTRL_DETACH);
    m_naviNotify = notify;
}

int CImageWnd::Create(QWidget* parent, const QRect& rect, unsigned id, int visible) {
    const int minSide = 2 * GetMargin() + 1;
    QRect area = rect;
    if (area.width() < minSide)
        area.setWidth(minSide);
    if (area.height() < minSide)
        area.setHeight(minSide);
    return CBaseWnd::Create(parent, area, id, visible);
}

void CImageWnd::OnInitWnd() {
    CBaseWnd::OnInitWnd();
    StartCacheThread();
}

void CImageWnd::OnDestroy() {
    // Tools hear OnUnload while the image is still there.
    UnloadAllTools();
    Clear(0);
    StopCacheThread();
    CBaseWnd::OnDestroy();
}

intptr_t CImageWnd::WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) {
    if (msg == WM_IMGWND_RESTARTPROCESSTIMER) {
        // A cache build with a before-image ended: process it once the view stands still.
        KillTimer(TIMER_PROCESSIMAGE);
        if (m_image && m_beforeImage)
            SetTimer(TIMER_PROCESSIMAGE, TIMER_PROCESSIMAGE_INTERVAL);
        return 1;
    }
    return CBaseWnd::WindowProc(msg, wParam, lParam);
}

// --- image record ---------------------------------------------------------------------------

int CImageWnd::SetImage(CImageDataInfo& image, CImageDataInfo* before, CImageDataInfo* dispBefore,
                        const CImageDataInfo* transMask) {
    ExitAdjustingMode();
    CancelZoomedCaching(1);
    if (!image.IsValid())
        return 0;
    Clear(0);
    if (transMask && transMask->IsValid()) {
        if (transMask->channels != 1 || transMask->depth != 1 || !(transMask->Size() == image.Size()))
            return 0;
    } else {
        transMask = nullptr;
    }
    m_image = &image;
    m_imageSize = image.Size();
    m_beforeImage = before && before->Size() == m_imageSize ? before : nullptr;
    m_dispBeforeImage = dispBefore && dispBefore->Size() == m_imageSize ? dispBefore : nullptr;
    m_transMask = transMask;
    CreatePreview();
    UpdateNaviCtrls(NAVICTRL_IMAGE_NEW);
    // Zoom type and scale survive image changes.
    const ZOOM_SCALE scale = m_zoomScale;
    SetZoom(m_zoomType, &scale, nullptr);
    WalkAll(IImageWndTool::EVENTMASK_SETIMAGE, [](IImageWndTool* t) { t->OnSetImage(); });
    RepaintNow();
    FlushSyncPartner();
    return 1;
}

int CImageWnd::UpdateImage(CImageDataInfo& image, CImageDataInfo* before, CImageDataInfo* dispBefore,
                           int immediately) {
    ExitAdjustingMode();
    CancelZoomedCaching(1);
    if (m_image && !image.IsValid())
        return 0;
    KillTimer(TIMER_PROCESSIMAGE);
    if (!m_image || !(image.Size() == m_imageSize))
        return SetImage(image, before, dispBefore, nullptr);
    m_image = &image;
    m_beforeImage = before && before->Size() == m_imageSize ? before : nullptr;
    m_dispBeforeImage = dispBefore && dispBefore->Size() == m_imageSize ? dispBefore : nullptr;
    CreatePreview();
    if (m_zoomedOut) {
        UpdateZoomedCache();
    } else if (!m_beforeImage) {
        RepaintNow();
        FlushSyncPartner();
    } else if (immediately) {
        ProcessImage();
    } else {
        SetTimer(TIMER_PROCESSIMAGE, TIMER_PROCESSIMAGE_INTERVAL);
    }
    UpdateNaviCtrls(NAVICTRL_IMAGE_UPDATED);
    WalkAll(IImageWndTool::EVENTMASK_UPDATEIMAGE, [](IImageWndTool* t) { t->OnUpdateImage(); });
    return 1;
}

void CImageWnd::Clear(int redraw) {
    ExitAdjustingMode();
    CancelZoomedCaching(1);
    WalkAll(IImageWndTool::EVENTMASK_CLEARIMAGE, [](IImageWndTool* t) { t->OnClearImage(); });
    KillTimer(TIMER_PROCESSIMAGE);
    KillTimer(TIMER_AUTOMOVE);
    ReleasePreview();
    ReleaseZoomedCache();
    m_image = nullptr;
    m_beforeImage = nullptr;
    m_dispBeforeImage = nullptr;
    m_transMask = nullptr;
    m_imageSize = TSize<int>();
    m_showingBefore = false;
    m_beforeByKey = false;
    ResetGeometry();
    if (redraw) {
        RepaintNow();
        FlushSyncPartner();
        UpdateNaviCtrls(NAVICTRL_IMAGE_CLEARED);
    }
}

void CImageWnd::ResetGeometry() {
    m_zoomValue = 1.0;
    m_prevZoomValue = 1.0;
    m_zoomedOut = false;
    m_zoomedSize = TSize<int>();
    m_dispPos = TPoint<int>();
    m_drawPos = TPoint<int>();
    m_drawSize = TSize<int>();
    m_srcRect = FLOATRECT();
    m_cachePos = TPoint<int>();
    m_centerPoint = TPoint<int>();
    m_autoMoveStep = TPoint<int>();
}

// --- before view ----------------------------------------------------------------------------

void CImageWnd::ShowBeforeImage(int on) {
    if (!m_image || !m_beforeImage)
        return;
    if (on && !m_showingBefore) {
        KillTimer(TIMER_PROCESSIMAGE);
        m_showingBefore = true;
        UpdateNaviCtrls(NAVICTRL_BEFORE_ON);
        RepaintNow();
        FlushSyncPartner();
    } else if (!on && m_showingBefore) {
        m_showingBefore = false;
        m_beforeByKey = false;
        UpdateNaviCtrls(NAVICTRL_BEFORE_OFF);
        ProcessImage();
    }
}

// --- repainting, timers -----------------------------------------------------------------------

void CImageWnd::RepaintNow() {
    if (IsWindow() && isVisible())
        Redraw(nullptr, 1);
}

void CImageWnd::FlushSyncPartner() {
    if (m_syncWnd && m_syncWnd->HasImage() && m_syncPending) {
        m_syncWnd->UpdateWindow();
        m_syncPending = false;
    }
}

void CImageWnd::OnTimer(uintptr_t id) {
    if (id == TIMER_AUTOMOVE) {
        OnAutoMoveTimer();
        return;
    }
    if (id == TIMER_PROCESSIMAGE) {
        // Letters are the tools' hot keys: processing must not start under them. The timer keeps
        // firing until they are up.
        if (CKeyStateTracker::IsAnyLetterKeyDown())
            return;
        KillTimer(TIMER_PROCESSIMAGE);
        if (!m_showingBefore)
            ProcessImage();
        return;
    }
    WalkFirstAccepting(IImageWndTool::EVENTMASK_TIMER, [id](IImageWndTool* t) { return t->OnTimer(id); });
}

void CImageWnd::NotifyParentPoint(unsigned code, const QPoint& point) {
    NMIMGWND_POINT payload;
    payload.point = point;
    NotifyParent(code, payload.hdr);
}

} // namespace KELCTRL
