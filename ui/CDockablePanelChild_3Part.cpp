#include "ui/CDockablePanelChild_3Part.h"

#include <algorithm>

namespace KELCTRL {

CDockablePanelChild_3Part::CDockablePanelChild_3Part(QWidget* parent) : CDockablePanelChild(parent) {}

void CDockablePanelChild_3Part::SetParts(CBaseWnd* top, int topHeight, CBaseWnd* middle, CBaseWnd* bottom,
                                         int bottomHeight) {
    m_top = top;
    m_middle = middle;
    m_bottom = bottom;
    m_topHeight = std::max(0, topHeight);
    m_bottomHeight = std::max(0, bottomHeight);
    for (CBaseWnd* part : {top, middle, bottom})
        if (part && part->parentWidget() != this)
            part->setParent(this);
    AdjustCtrls();
}

void CDockablePanelChild_3Part::AdjustCtrls(int width, int height) {
    const CUISizeInfo* info = GetUISizeInfo();
    const int topH = m_top ? (info ? info->ScaledSizeY(m_topHeight) : m_topHeight) : 0;
    const int bottomH = m_bottom ? (info ? info->ScaledSizeY(m_bottomHeight) : m_bottomHeight) : 0;
    // When the page is too short the middle part vanishes first, then the bottom part yields.
    const int top = std::min(topH, height);
    const int bottom = std::min(bottomH, height - top);
    if (m_top)
        m_top->MoveWindow(0, 0, width, top, 1);
    if (m_middle)
        m_middle->MoveWindow(0, top, width, height - top - bottom, 1);
    if (m_bottom)
        m_bottom->MoveWindow(0, height - bottom, width, bottom, 1);
}

} // namespace KELCTRL
