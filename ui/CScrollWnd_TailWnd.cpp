#include "ui/CScrollWnd_TailWnd.h"

namespace KELCTRL {

CScrollWnd_TailWnd::CScrollWnd_TailWnd(QWidget* parent) : CBaseWnd(parent) {}

int CScrollWnd_TailWnd::GetTailHeight() const {
    const CUISizeInfo* info = GetUISizeInfo();
    return 2 * (info ? info->panelMargin : 6);
}

} // namespace KELCTRL
