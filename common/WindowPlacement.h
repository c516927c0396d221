#pragma once
// Where the main window may be placed: a stored rectangle is only used when it still lands on a
// connected screen, cut to fit that screen's work area.
#include "common/ValueTypes.h"

#include <vector>

namespace KELCTRL {

// One connected screen: its whole area, and the part not taken by panels and docks.
struct SCREEN_AREA {
    IntRect geometry;
    IntRect workArea;
};

// A quarter of the primary screen's size as left and top, three quarters as right and bottom.
IntRect DefaultWindowRect(const IntRect& primaryGeometry);

// Index of the screen nearest to rect: the one it overlaps most, else the one at the smallest
// distance. -1 when there are no screens.
int NearestScreen(const IntRect& rect, const std::vector<SCREEN_AREA>& screens);

// Fits a stored window rectangle to the nearest screen. Width and height are cut to its work area;
// then, only if the rectangle meets the work area, it is shifted inside and 1 is returned with rect
// updated. Otherwise (a screen that is gone, no screens, an empty rectangle) 0, and rect is unchanged.
int FitWindowRect(IntRect& rect, const std::vector<SCREEN_AREA>& screens);

} // namespace KELCTRL
