#pragma once
// Image records as platform bitmaps: what a widget, a clipboard or a drag needs from a photo.
#include <QImage>

class CImageDataInfo;

namespace KELCTRL {

// A deep copy of the image as a QImage: grey as Format_Grayscale8, three channels as
// Format_RGB32, four as Format_ARGB32 (straight alpha). 16-bit values round to the nearest 8-bit one.
// A null QImage for an invalid record or when the memory cannot be had.
QImage ConvertImageToBitmap(const CImageDataInfo& image);

} // namespace KELCTRL
