// Display geometry of CImageWnd: zoom, the drawn area, scrolling, point conversion, the synchronised
// partner and the navigator controls. All of it runs on the UI thread.
#include "common/Dictionaries.h"
#include "imagewnd/CImageWnd.h"
#include "imagewnd/INavigatorCtrl.h"
#include "imagewnd/ZoomMath.h"

#include <algorithm>
#include <cmath>

namespace KELCTRL {

namespace {

int FloorToInt(double v) {
    return static_cast<int>(std::floor(v));
}

double ClampToSide(double v, int side) {
    return std::clamp(v, 0.0, static_cast<double>(std::max(0, side - 1)));
}

} // namespace

int CImageWnd::GetMargin() const {
    return ZoomMath::DpiMargin(GetDpi());
}

double CImageWnd::CalcZoomValue(ZOOM_TYPE type, const ZOOM_SCALE* scale) const {
    if (!m_image)
        return 1.0;
    switch (type) {
    case ZOOM_TYPE_FIT:
        return ZoomMath::FitFactor(GetClientWidth(), GetClientHeight(), m_imageSize.width, m_imageSize.height,
                                   GetMargin());
    case ZOOM_TYPE_FILL:
        return ZoomMath::FillFactor(GetClientWidth(), GetClientHeight(), m_imageSize.width,
                                    m_imageSize.height);
    case ZOOM_TYPE_SCALE:
        return ZoomMath::ScaleFactor(scale ? *scale : m_zoomScale);
    default:
        return 1.0;
    }
}

void CImageWnd::CalcZoom() {
    m_zoomValue = 1.0;
    m_zoomedOut = false;
    if (!m_image)
        return;
    m_zoomValue = CalcZoomValue(m_zoomType, nullptr);
    m_zoomedOut = m_zoomValue < 1.0;
    m_zoomedSize = TSize<int>(std::max(1, FloorToInt(m_imageSize.width * m_zoomValue + 0.5)),
                              std::max(1, FloorToInt(m_imageSize.height * m_zoomValue + 0.5)));
    const bool changed = !(m_zoomValue == m_prevZoomValue && m_zoomType == m_prevZoomType);
    if (m_zoomedOut) {
        KillTimer(TIMER_PROCESSIMAGE);
        // A build for another size is of no use any more; a ready copy of this size is kept.
        if (!IsZoomedCacheReady())
            CancelZoomedCaching(0);
        if (!(IsZoomedCacheReady() && !changed))
            UpdateZoomedCache();
    } else {
        // At 1:1 and above the view draws from the image: a build still running only holds up the
        // next adjusting session, which waits for the cache lock.
        CancelZoomedCaching(0);
    }
    if (changed) {
        WalkAll(IImageWndTool::EVENTMASK_ZOOMCHANGED, [](IImageWndTool* t) { t->OnZoomChanged(); });
        NMHDR header;
        NotifyParent(NM_IMGWND_ZOOMCHANGED, header);
    }
}

void CImageWnd::CalcDrawArea() {
    if (!m_image)
        return;
    const int cw = GetClientWidth();
    const int ch = GetClientHeight();
    const int zw = m_zoomedSize.width;
    const int zh = m_zoomedSize.height;
    const int margin = GetMargin();

    // Low bound first, so that the high bound wins when they cross.
    m_dispPos.x = std::min(std::max(m_dispPos.x, -margin), zw - cw + margin);
    m_dispPos.y = std::min(std::max(m_dispPos.y, -margin), zh - ch + margin);
    m_drawPos = TPoint<int>(m_dispPos.x < 0 ? -m_dispPos.x : 0, m_dispPos.y < 0 ? -m_dispPos.y : 0);
    // A smaller image is always centred.
    if (zw <= cw) {
        m_dispPos.x = 0;
        m_drawPos.x = (cw - zw) / 2;
    }
    if (zh <= ch) {
        m_dispPos.y = 0;
        m_drawPos.y = (ch - zh) / 2;
    }
    m_drawSize = TSize<int>(zw - m_dispPos.x, zh - m_dispPos.y);
    if (m_drawPos.x + m_drawSize.width > cw)
        m_drawSize.width = cw - m_drawPos.x;
    if (m_drawPos.y + m_drawSize.height > ch)
        m_drawSize.height = ch - m_drawPos.y;

    const double zoom = m_zoomValue;
    m_srcRect.x = static_cast<float>(std::max(0.0, m_dispPos.x / zoom));
    m_srcRect.y = static_cast<float>(std::max(0.0, m_dispPos.y / zoom));
    m_srcRect.width =
        static_cast<float>(std::min(static_cast<double>(m_imageSize.width), m_drawSize.width / zoom));
    m_srcRect.height =
        static_cast<float>(std::min(static_cast<double>(m_imageSize.height), m_drawSize.height / zoom));
    if (m_zoomedOut)
        m_cachePos = TPoint<int>(std::max(0, m_dispPos.x), std::max(0, m_dispPos.y));

    WalkAllAlways(IImageWndTool::EVENTMASK_DISPPOSCHANGED, [](IImageWndTool* t) { t->OnDispPosChanged(); });
    UpdateNaviCtrls(NAVICTRL_DISPAREA_CHANGED);

    // Each change of view delays processing until the view has stood still.
    KillTimer(TIMER_PROCESSIMAGE);
    if (m_beforeImage)
        SetTimer(TIMER_PROCESSIMAGE, TIMER_PROCESSIMAGE_INTERVAL);

    CImageWnd* partner = m_syncWnd;
    if (partner && partner->IsWindow() && partner->HasImage() && !partner->m_synchronizing) {
        const bool visible = partner->isVisible();
        if (visible)
            partner->SendMessage(WM_SETREDRAW, 0);
        m_synchronizing = true;
        const ZOOM_SCALE scale = m_zoomScale;
        partner->SetZoom(m_zoomType, &scale, nullptr);
        partner->SetDispPos(m_dispPos.x, m_dispPos.y);
        if (visible)
            partner->SendMessage(WM_SETREDRAW, 1);
        partner->Invalidate();
        m_syncPending = true;
        m_synchronizing = false;
    }

    // The only writer of the centre point.
    m_centerPoint.x = static_cast<int>(
        ClampToSide(std::floor((cw * 0.5 - m_drawPos.x) / zoom + m_srcRect.x), m_imageSize.width));
    m_centerPoint.y = static_cast<int>(
        ClampToSide(std::floor((ch * 0.5 - m_drawPos.y) / zoom + m_srcRect.y), m_imageSize.height));
}

void CImageWnd::SetZoom(ZOOM_TYPE type, const ZOOM_SCALE* scale, const QPoint* anchor) {
    if (m_synchronizing)
        return;
    m_settingZoom = true;
    m_prevZoomType = m_zoomType;
    m_prevZoomValue = m_zoomValue;
    if (type == ZOOM_TYPE_SCALE && !scale)
        return; // m_settingZoom stays set: type scale must come with a scale
    m_zoomType = type;
    if (scale)
        m_zoomScale = *scale;

    if (!m_image) {
        if (m_syncWnd && !m_syncWnd->m_synchronizing) {
            m_synchronizing = true;
            m_syncWnd->SetZoom(type, scale, anchor);
            m_synchronizing = false;
        }
        m_settingZoom = false;
        return;
    }

    const QPoint at = anchor ? *anchor : QPoint(GetClientWidth() / 2, GetClientHeight() / 2);
    TPoint<double> imagePoint;
    PointWnd2Image(at.x(), at.y(), imagePoint);
    imagePoint.x = ClampToSide(imagePoint.x, m_imageSize.width);
    imagePoint.y = ClampToSide(imagePoint.y, m_imageSize.height);

    CalcZoom();
    CalcDrawArea();

    // Keep the image point under the anchor.
    const int newX = FloorToInt((imagePoint.x - m_srcRect.x) * m_zoomValue + 0.5);
    const int newY = FloorToInt((imagePoint.y - m_srcRect.y) * m_zoomValue + 0.5);
    m_dispPos.x += newX + m_drawPos.x - at.x();
    m_dispPos.y += newY + m_drawPos.y - at.y();
    CalcDrawArea();

    RepaintNow();
    FlushSyncPartner();
    m_settingZoom = false;
}

void CImageWnd::SetZoomCenterPoint(ZOOM_TYPE type, const ZOOM_SCALE* scale, const QPoint* imagePoint) {
    m_settingZoom = true;
    m_prevZoomType = m_zoomType;
    m_prevZoomValue = m_zoomValue;
    if (type == ZOOM_TYPE_SCALE && !scale)
        return;
    m_zoomType = type;
    if (scale)
        m_zoomScale = *scale;
    QPoint centre;
    if (imagePoint) {
        centre.setX(static_cast<int>(ClampToSide(imagePoint->x(), m_imageSize.width)));
        centre.setY(static_cast<int>(ClampToSide(imagePoint->y(), m_imageSize.height)));
    }
    CalcZoom();
    CalcDrawArea();
    if (imagePoint) {
        SetCenterPoint(centre.x(), centre.y());
    } else {
        RepaintNow();
        FlushSyncPartner();
    }
    m_settingZoom = false;
}

void CImageWnd::SetCenterPoint(int x, int y) {
    if (!m_image)
        return;
    const double px = ClampToSide(x, m_imageSize.width);
    const double py = ClampToSide(y, m_imageSize.height);
    const int targetX = FloorToInt((px - m_srcRect.x) * m_zoomValue + 0.5) + m_drawPos.x;
    const int targetY = FloorToInt((py - m_srcRect.y) * m_zoomValue + 0.5) + m_drawPos.y;
    m_dispPos.x += targetX - GetClientWidth() / 2;
    m_dispPos.y += targetY - GetClientHeight() / 2;
    CalcDrawArea();
    RepaintNow();
    FlushSyncPartner();
}

int CImageWnd::SetDispPos(int x, int y) {
    if (m_synchronizing || m_zoomType == ZOOM_TYPE_FIT)
        return 0;
    if (m_dispPos.x == x && m_dispPos.y == y)
        return 0;
    m_dispPos = TPoint<int>(x, y);
    if (IsWindow())
        CalcDrawArea();
    RepaintNow();
    FlushSyncPartner();
    return 1;
}

int CImageWnd::GetDispInfo(DISPINFO& info) const {
    if (!m_image)
        return 0;
    info.zoomType = m_zoomType;
    info.zoomScale = m_zoomScale;
    info.dispPos = QPoint(m_dispPos.x, m_dispPos.y);
    return 1;
}

void CImageWnd::Zoom(int in, const QPoint* anchor) {
    if (!m_image)
        return;
    const double fit = CalcZoomValue(ZOOM_TYPE_FIT, nullptr);
    const double fill = CalcZoomValue(ZOOM_TYPE_FILL, nullptr);
    const ZoomMath::ZoomTarget target =
        in ? ZoomMath::ZoomInStep(m_zoomType, m_zoomScale, m_zoomValue, fit, fill)
           : ZoomMath::ZoomOutStep(m_zoomType, m_zoomValue, fit, fill);
    if (target.change)
        SetZoom(target.type, target.type == ZOOM_TYPE_SCALE ? &target.scale : nullptr, anchor);
}

void CImageWnd::DisplayRect(QRect& rect) {
    if (!m_image)
        return;
    rect = rect.intersected(QRect(0, 0, m_imageSize.width, m_imageSize.height));
    if (rect.isEmpty())
        return; // a rectangle outside the image shows nothing
    const ZoomMath::ZoomTarget target =
        ZoomMath::DisplayRectZoom(rect.width(), rect.height(), GetClientWidth(), GetClientHeight());
    const QPoint centre(rect.x() + rect.width() / 2, rect.y() + rect.height() / 2);
    SetZoomCenterPoint(target.type, target.type == ZOOM_TYPE_SCALE ? &target.scale : nullptr, &centre);
}

// --- point conversion -----------------------------------------------------------------------

void CImageWnd::PointWnd2Image(int x, int y, TPoint<double>& out) const {
    PointWnd2Image(static_cast<double>(x), static_cast<double>(y), out);
}

void CImageWnd::PointWnd2Image(double x, double y, TPoint<double>& out) const {
    out.x = (x - m_drawPos.x) / m_zoomValue + m_srcRect.x;
    out.y = (y - m_drawPos.y) / m_zoomValue + m_srcRect.y;
}

void CImageWnd::PointWnd2Image(int x, int y, QPointF& out) const {
    PointWnd2Image(static_cast<float>(x), static_cast<float>(y), out);
}

void CImageWnd::PointWnd2Image(float x, float y, QPointF& out) const {
    const float zoom = static_cast<float>(m_zoomValue);
    out.setX((x - static_cast<float>(m_drawPos.x)) / zoom + m_srcRect.x);
    out.setY((y - static_cast<float>(m_drawPos.y)) / zoom + m_srcRect.y);
}

void CImageWnd::PointImage2Wnd(int x, int y, TPoint<double>& out) const {
    PointImage2Wnd(static_cast<double>(x), static_cast<double>(y), out);
}

void CImageWnd::PointImage2Wnd(double x, double y, TPoint<double>& out) const {
    out.x = (x - m_srcRect.x) * m_zoomValue + m_drawPos.x;
    out.y = (y - m_srcRect.y) * m_zoomValue + m_drawPos.y;
}

void CImageWnd::PointImage2Wnd(int x, int y, QPointF& out) const {
    PointImage2Wnd(static_cast<float>(x), static_cast<float>(y), out);
}

void CImageWnd::PointImage2Wnd(float x, float y, QPointF& out) const {
    const float zoom = static_cast<float>(m_zoomValue);
    out.setX((x - m_srcRect.x) * zoom + static_cast<float>(m_drawPos.x));
    out.setY((y - m_srcRect.y) * zoom + static_cast<float>(m_drawPos.y));
}

// --- size, lock, partner, navigator ---------------------------------------------------------

void CImageWnd::OnSize(unsigned type, int cx, int cy) {
    CBaseWnd::OnSize(type, cx, cy);
    CalcTagRects();
    if (!m_image)
        return;
    const TPoint<int> centre = m_centerPoint;
    if (m_zoomType == ZOOM_TYPE_FIT || m_zoomType == ZOOM_TYPE_FILL) {
        m_prevZoomValue = m_zoomValue;
        CalcZoom();
    }
    CalcDrawArea();
    SetCenterPoint(centre.x, centre.y);
    WalkAll(IImageWndTool::EVENTMASK_WNDRESIZE, [cx, cy](IImageWndTool* t) { t->OnWndResize(cx, cy); });
    Invalidate();
}

void CImageWnd::LockView(int locked) {
    const bool value = locked != 0;
    if (value == m_viewLocked)
        return;
    m_viewLocked = value;
    UpdateNaviCtrls(value ? NAVICTRL_VIEW_LOCKED : NAVICTRL_VIEW_UNLOCKED);
}

void CImageWnd::SetSyncWnd(CImageWnd* other, int both) {
    if (m_syncGuard)
        return;
    m_syncGuard = true;
    CImageWnd* previous = m_syncWnd;
    m_syncWnd = other == this ? nullptr : other;
    if (both) {
        if (m_syncWnd)
            m_syncWnd->SetSyncWnd(this, both);
        else if (previous && previous->m_syncWnd == this)
            previous->SetSyncWnd(nullptr, 0);
    }
    m_syncGuard = false;
}

void CImageWnd::UpdateNaviCtrls(NAVICTRL_METHOD method) {
    if (!m_naviNotify)
        return;
    // A control may come or go while it is told: walk a copy, skipping the ones that left.
    const std::vector<INavigatorCtrl*> controls = INavigatorCtrl::Registered();
    for (INavigatorCtrl* ctrl : controls) {
        if (!INavigatorCtrl::IsRegistered(ctrl) || ctrl->GetNaviImageWnd() != this)
            continue;
        switch (method) {
        case NAVICTRL_DETACH:
            ctrl->SetNaviImageWnd(nullptr);
            break;
        case NAVICTRL_IMAGE_CLEARED:
            ctrl->OnImageChange(0, 1);
            break;
        case NAVICTRL_IMAGE_NEW:
            ctrl->OnImageChange(1, 0);
            break;
        case NAVICTRL_IMAGE_UPDATED:
            ctrl->OnImageChange(0, 0);
            break;
        case NAVICTRL_DISPAREA_CHANGED:
            ctrl->OnDispAreaChange(m_srcRect.ToQRectF(), m_imageSize.width, m_imageSize.height, m_zoomType,
                                   m_zoomScale);
            break;
        case NAVICTRL_VIEW_LOCKED:
            ctrl->OnLockView(1);
            break;
        case NAVICTRL_VIEW_UNLOCKED:
            ctrl->OnLockView(0);
            break;
        case NAVICTRL_BEFORE_ON:
            ctrl->OnShowBefore(1);
            break;
        case NAVICTRL_BEFORE_OFF:
            ctrl->OnShowBefore(0);
            break;
        }
    }
}

QString CImageWnd::ZoomScaleString(ZOOM_TYPE type, ZOOM_SCALE scale) {
    switch (type) {
    case ZOOM_TYPE_FIT:
        return QString::fromUtf8(GetDictItem("IDS_IMGWND_FIT"));
    case ZOOM_TYPE_FILL:
        return QString::fromUtf8(GetDictItem("IDS_IMGWND_FILL"));
    case ZOOM_TYPE_NOZOOM:
        return QStringLiteral("1:1");
    default:
        return QString::fromLatin1(ZoomMath::ScaleText(scale));
    }
}

} // namespace KELCTRL
