#pragma once
// The cursors of this module, by their resource numbers. Each is drawn from the skin image
// "cursor_<number>" when the skin has one (hot spot in its centre), else from the nearest standard
// cursor shape, so a missing image never leaves a tool without a cursor.
#include <QCursor>

namespace KELCTRL {

enum CURSOR_ID {
    CURSOR_MOVE = 1100,       // move an object: crop rectangle, eye, point
    CURSOR_GRABBING = 1102,   // an object being dragged
    CURSOR_ZOOM = 1103,       // magnifier
    CURSOR_ZOOM_IN = 1104,    // magnifier that zooms in on a click
    CURSOR_ADD_POINT = 1105,  // add a point, place a marker
    CURSOR_DRAG_POINT = 1106, // a point being dragged
    CURSOR_EYE_SELECT = 1107, // mark a red eye
    CURSOR_NEW_RECT = 1108,   // draw a new rectangle
    CURSOR_COLOR_PICK = 1112, // pick a colour
};

// The standard shape standing in for id.
Qt::CursorShape DllCursorShape(CURSOR_ID id);
// The cursor for id at the given pixel dpi (96 when 0: the primary screen's).
QCursor LoadDllCursor(CURSOR_ID id, unsigned dpi = 0);

} // namespace KELCTRL
