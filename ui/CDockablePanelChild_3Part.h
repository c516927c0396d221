#pragma once
// A panel page in three parts: a top and a bottom part of fixed heights and a middle part that takes
// what is left between them.
#include "ui/CDockablePanelChild.h"

namespace KELCTRL {

class CDockablePanelChild_3Part : public CDockablePanelChild {
public:
    explicit CDockablePanelChild_3Part(QWidget* parent = nullptr);
    // Any part may be null. Heights are unscaled; the parts become children of this page.
    void SetParts(CBaseWnd* top, int topHeight, CBaseWnd* middle, CBaseWnd* bottom, int bottomHeight);
    CBaseWnd* GetTopPart() const { return m_top; }
    CBaseWnd* GetMiddlePart() const { return m_middle; }
    CBaseWnd* GetBottomPart() const { return m_bottom; }

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

private:
    CBaseWnd* m_top = nullptr;
    CBaseWnd* m_middle = nullptr;
    CBaseWnd* m_bottom = nullptr;
    int m_topHeight = 0;
    int m_bottomHeight = 0;
};

} // namespace KELCTRL
