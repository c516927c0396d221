#pragma once
// The arithmetic of zooming, free of any window: scale factors and texts, the fit and fill factors,
// the zoom-in and zoom-out ladders and the scale that shows a rectangle. CImageWnd applies these.
#include "imagewnd/ImageWndTypes.h"

namespace KELCTRL::ZoomMath {

// The factor of a scale; any value outside the table counts as 10.
double ScaleFactor(int scale);
// "1:16" ... "10:1"; a value outside the table reads as "10:1".
const char* ScaleText(int scale);
// Margin around a fitted image: 10 window pixels at 96 DPI, DPI * 10 / 96 otherwise.
int DpiMargin(int dpi);

// Fit: the whole image inside the client less the margin on each side; never above 1.0.
double FitFactor(int clientWidth, int clientHeight, int imageWidth, int imageHeight, int margin);
// Fill: the client covered by the image, no margin; never above 1.0.
double FillFactor(int clientWidth, int clientHeight, int imageWidth, int imageHeight);

// A zoom to go to; `change` is false when the step leads nowhere.
struct ZoomTarget {
    bool change = false;
    ZOOM_TYPE type = ZOOM_TYPE_FIT;
    ZOOM_SCALE scale = ZOOM_SCALE_2_1;
    bool operator==(const ZoomTarget&) const = default;
};

// One step out from the current value; fit and fill are the window's capped factors.
ZoomTarget ZoomOutStep(ZOOM_TYPE type, double value, double fit, double fill);
// One step in.
ZoomTarget ZoomInStep(ZOOM_TYPE type, ZOOM_SCALE scale, double value, double fit, double fill);
// The zoom that shows a rectangle of the given size in the client: the largest step at which both
// sides fit, one to one when that is 1.0. A side that fits nowhere gets 1:10.
ZoomTarget DisplayRectZoom(int rectWidth, int rectHeight, int clientWidth, int clientHeight);

} // namespace KELCTRL::ZoomMath
