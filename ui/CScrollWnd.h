#pragma once
// Scrolls one tall content window vertically inside a fixed frame: a slim scroll bar on one side, an
// empty tail under the content, and shadow hints at the top and bottom edges that show only when
// there is more to see that way. The content tells it of a new height with NM_HEIGHT_CHANGED.
#include "ui/CBaseWnd.h"

#include <memory>

namespace KELCTRL {

class CFixedHeightPanel;
class CNoArrowScrollBar;
class CScrollWnd_HintWnd;
class CScrollWnd_TailWnd;

class CScrollWnd : public CBaseWnd {
public:
    explicit CScrollWnd(QWidget* parent = nullptr);
    ~CScrollWnd() override;

    // A caller-owned panel becomes the content, at the height it asks for.
    void SetPanel(CFixedHeightPanel* panel);
    CBaseWnd* GetContent() const { return m_content; }
    // The scroll bar on the left instead of the right.
    void SetScrollBarLeft(int left);

    // Scrolls by the least distance that shows content rows top .. bottom (content coordinates),
    // the bottom first when both do not fit; never past either end.
    void ShowInView(int top, int bottom);
    void ScrollTo(int pos);
    int GetScrollPos() const;
    int GetScrollRange() const;
    int GetPage() const;

    CNoArrowScrollBar* GetScrollBar() const { return m_bar.get(); }
    CScrollWnd_HintWnd* GetTopHint() const { return m_topHint.get(); }
    CScrollWnd_HintWnd* GetBottomHint() const { return m_bottomHint.get(); }
    CScrollWnd_TailWnd* GetTail() const { return m_tail.get(); }

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

protected:
    // Any content window; the scroll window does not own it.
    void SetContent(CBaseWnd* content);
    void OnInitWnd() override;
    virtual void OnVScroll(int pos);
    intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) override;
    intptr_t OnNotify(uintptr_t ctrlId, NMHDR* header) override;
    int OnMouseWheel(unsigned flags, short delta, const QPoint& point) override;
    intptr_t OnDPIChanged(uintptr_t wParam, const QRect* rect) override;

private:
    int ContentLeft() const;
    int ContentWidth() const;

    std::unique_ptr<CNoArrowScrollBar> m_bar;
    std::unique_ptr<CScrollWnd_HintWnd> m_topHint;
    std::unique_ptr<CScrollWnd_HintWnd> m_bottomHint;
    std::unique_ptr<CScrollWnd_TailWnd> m_tail;
    CBaseWnd* m_content = nullptr;
    CBaseWnd* m_callerContent = nullptr;
    bool m_barLeft = false;
};

} // namespace KELCTRL
