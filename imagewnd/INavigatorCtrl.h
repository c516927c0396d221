#pragma once
// Observer of an image window's view: image changes, the visible area, the view lock and the before
// view. Every object is registered, in the order of construction, in one process-wide list; a window
// tells only the controls bound to it.
#include "imagewnd/ImageWndTypes.h"

#include <QRectF>

#include <vector>

namespace KELCTRL {

class CImageWnd;

class INavigatorCtrl {
public:
    INavigatorCtrl();
    virtual ~INavigatorCtrl();
    INavigatorCtrl(const INavigatorCtrl&) = delete;
    INavigatorCtrl& operator=(const INavigatorCtrl&) = delete;

    virtual void OnImageChange(int newImage, int cleared) = 0;
    virtual void OnDispAreaChange(const QRectF& src, int imageWidth, int imageHeight, ZOOM_TYPE type,
                                  ZOOM_SCALE scale) = 0;
    virtual void OnLockView(int locked) = 0;
    virtual void OnShowBefore(int) {}

    CImageWnd* GetNaviImageWnd() const { return m_imageWnd; }
    void SetNaviImageWnd(CImageWnd* wnd) { m_imageWnd = wnd; }

    // The registered controls in registration order (UI thread only).
    static const std::vector<INavigatorCtrl*>& Registered();
    static bool IsRegistered(const INavigatorCtrl* ctrl);

protected:
    CImageWnd* m_imageWnd = nullptr; // the bound window
};

} // namespace KELCTRL
