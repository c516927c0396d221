#pragma once
// A sub-panel of a set height, the content a CScrollWnd scrolls.
#include "ui/CSubPanel.h"

namespace KELCTRL {

class CFixedHeightPanel : public CSubPanel {
public:
    explicit CFixedHeightPanel(QWidget* parent = nullptr);
    // The height in pixels; 50 unless set.
    int GetHeight(const CUISizeInfo* sizeInfo) override;
    void SetFixedHeight(int height) { m_height = height; }

private:
    int m_height = 50;
};

} // namespace KELCTRL
