#include "ui/DllCursor.h"

#include "ui/CImageResources.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

namespace KELCTRL {
namespace {

unsigned PrimaryPixelDpi() {
    const QScreen* screen = qobject_cast<QGuiApplication*>(QCoreApplication::instance())
                                ? QGuiApplication::primaryScreen()
                                : nullptr;
    if (screen == nullptr)
        return 96;
    const double dpi = screen->logicalDotsPerInch() * screen->devicePixelRatio();
    return dpi >= 96 ? unsigned(dpi + 0.5) : 96;
}

} // namespace

Qt::CursorShape DllCursorShape(CURSOR_ID id) {
    switch (id) {
    case CURSOR_MOVE:
        return Qt::SizeAllCursor;
    case CURSOR_GRABBING:
    case CURSOR_DRAG_POINT:
        return Qt::ClosedHandCursor;
    case CURSOR_ZOOM:
    case CURSOR_ZOOM_IN:
        return Qt::PointingHandCursor;
    case CURSOR_ADD_POINT:
    case CURSOR_EYE_SELECT:
    case CURSOR_NEW_RECT:
    case CURSOR_COLOR_PICK:
        return Qt::CrossCursor;
    }
    return Qt::ArrowCursor;
}

QCursor LoadDllCursor(CURSOR_ID id, unsigned dpi) {
    if (CDpiAwareImage* images = GetDpiAwareSkinImage(QStringLiteral("cursor_%1").arg(int(id)))) {
        if (const QImage* image = images->GetImage(dpi ? dpi : PrimaryPixelDpi()))
            return QCursor(QPixmap::fromImage(*image), image->width() / 2, image->height() / 2);
    }
    return QCursor(DllCursorShape(id));
}

} // namespace KELCTRL
