#pragma once
// The empty margin under a CScrollWnd's content, so that its last row never sits on the edge.
#include "ui/CBaseWnd.h"

namespace KELCTRL {

class CScrollWnd_TailWnd : public CBaseWnd {
public:
    explicit CScrollWnd_TailWnd(QWidget* parent = nullptr);
    // Two panel margins at the window's dpi.
    int GetTailHeight() const;
};

} // namespace KELCTRL
