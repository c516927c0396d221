#pragma once
// One page of a CDockablePanel: it always covers its parent's client area.
#include "ui/CBaseWnd.h"

namespace KELCTRL {

class CDockablePanelChild : public CBaseWnd {
public:
    explicit CDockablePanelChild(QWidget* parent = nullptr);
    // Sizes the child to its parent's client area.
    void FillParent();
};

} // namespace KELCTRL
