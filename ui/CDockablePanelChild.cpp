#include "ui/CDockablePanelChild.h"

namespace KELCTRL {

CDockablePanelChild::CDockablePanelChild(QWidget* parent) : CBaseWnd(parent) {}

void CDockablePanelChild::FillParent() {
    if (CBaseWnd* parent = GetParentWnd())
        MoveWindow(0, 0, parent->GetClientWidth(), parent->GetClientHeight(), 1);
    else if (QWidget* w = parentWidget())
        MoveWindow(0, 0, w->width(), w->height(), 1);
}

} // namespace KELCTRL
