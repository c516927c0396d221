#pragma once
// Zoom, display and notification records of the image window, shared by tools, panels and hosts.
#include "ui/WinDefs.h"

#include <QPoint>

class CImageDataInfo;

namespace KELCTRL {

class CImageWnd;

enum ZOOM_TYPE : int {
    ZOOM_TYPE_FIT = 0,
    ZOOM_TYPE_FILL = 1,
    ZOOM_TYPE_NOZOOM = 2, // one to one
    ZOOM_TYPE_SCALE = 3,
};

enum ZOOM_SCALE : int {
    ZOOM_SCALE_1_16 = 0,
    ZOOM_SCALE_1_10 = 1,
    ZOOM_SCALE_1_8 = 2,
    ZOOM_SCALE_1_6 = 3,
    ZOOM_SCALE_1_4 = 4,
    ZOOM_SCALE_1_3 = 5,
    ZOOM_SCALE_1_2 = 6,
    ZOOM_SCALE_2_1 = 7,
    ZOOM_SCALE_3_1 = 8,
    ZOOM_SCALE_4_1 = 9,
    ZOOM_SCALE_6_1 = 10,
    ZOOM_SCALE_8_1 = 11,
    ZOOM_SCALE_10_1 = 12,
    ZOOM_SCALE_COUNT = 13,
};

// What GetDispInfo reports.
struct DISPINFO {
    ZOOM_TYPE zoomType = ZOOM_TYPE_FIT;
    ZOOM_SCALE zoomScale = ZOOM_SCALE_2_1;
    QPoint dispPos;
};

// What UpdateNaviCtrls tells the navigator controls.
enum NAVICTRL_METHOD : int {
    NAVICTRL_DETACH = 0,
    NAVICTRL_IMAGE_CLEARED = 1,
    NAVICTRL_IMAGE_NEW = 2,
    NAVICTRL_IMAGE_UPDATED = 3,
    NAVICTRL_DISPAREA_CHANGED = 4,
    NAVICTRL_VIEW_LOCKED = 5,
    NAVICTRL_VIEW_UNLOCKED = 6,
    NAVICTRL_BEFORE_ON = 7,
    NAVICTRL_BEFORE_OFF = 8,
};

// Notification codes the image window sends to its parent with WM_NOTIFY.
constexpr unsigned NM_IMGWND_CLICK = 114;
constexpr unsigned NM_IMGWND_RCLICK = 115;
constexpr unsigned NM_IMGWND_MOUSEMOVE = 116;
constexpr unsigned NM_IMGWND_ZOOMCHANGED = 117;
constexpr unsigned NM_IMGWND_PROCESSIMAGE = 118;
constexpr unsigned NM_IMGWND_CLICKTAG = 119;

// Payload of NM_IMGWND_CLICK, NM_IMGWND_RCLICK and NM_IMGWND_MOUSEMOVE.
struct NMIMGWND_POINT {
    NMHDR hdr;
    QPoint point;
};

// Payload of NM_IMGWND_CLICKTAG.
struct NMIMGWND_CLICKTAG {
    NMHDR hdr;
    unsigned tagId = 0;
};

// The two optional 16-bit tables (65,536 entries) of linear processing: the display curve is applied
// when the result is drawn, the source curve when the before-image is copied into a working buffer.
struct LINEAR_IMAGE_PARAMS {
    const unsigned short* displayCurve = nullptr;
    const unsigned short* sourceCurve = nullptr;
};

// Payload of NM_IMGWND_PROCESSIMAGE: the processing request.
struct NMIMGWND_PROCESSIMAGE {
    NMHDR hdr;
    CImageWnd* wnd = nullptr;
    CImageDataInfo* dst = nullptr;
    const CImageDataInfo* src = nullptr;
    const CImageDataInfo* fullSource = nullptr; // null when src is the full source
    double zoom = 1.0;
    int x = 0;
    int y = 0;
};

} // namespace KELCTRL
