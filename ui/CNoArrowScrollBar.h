#pragma once
// A slim owner-drawn vertical scroll bar without arrow buttons: a thumb to drag and a track that pages
// while held. It reports every new position to its parent with WM_VSCROLL and is drawn brighter while
// in use, until a short while after the last scroll.
#include "ui/CBaseWnd.h"

namespace KELCTRL {

class CNoArrowScrollBar : public CBaseWnd {
public:
    // Repeats the paging while the track is held.
    static constexpr uintptr_t TIMER_SCROLL = 100;
    static constexpr unsigned TIMER_SCROLL_INTERVAL = 100;
    // Ends the "in use" look after the last scroll.
    static constexpr uintptr_t TIMER_ENDSCROLL = 101;
    static constexpr unsigned TIMER_ENDSCROLL_INTERVAL = 500;
    // Sent to the parent: wParam the new position, lParam this bar.
    static constexpr unsigned WM_VSCROLL = 0x0115;

    explicit CNoArrowScrollBar(QWidget* parent = nullptr);

    // Range is the content's extent, page the visible part; the position is kept within
    // 0 .. range - page. Nothing is sent.
    void SetScrollInfo(int range, int page);
    int GetRange() const { return m_range; }
    int GetPage() const { return m_page; }
    int GetPos() const { return m_pos; }
    int GetMaxPos() const;
    // Moves the thumb; with `notify` the parent hears of a real change.
    void SetPos(int pos, int notify);
    int IsScrolling() const { return m_inUse ? 1 : 0; }
    // The thumb in client coordinates; empty when everything is visible.
    QRect GetThumbRect() const;

protected:
    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnLButtonUp(unsigned flags, const QPoint& point) override;
    void OnMouseMove(unsigned flags, const QPoint& point) override;
    void OnCaptureChanged(CBaseWnd* newOwner) override;
    void OnTimer(uintptr_t id) override;
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    void PageTowards(int y);
    void EndScroll();

    int m_range = 0;
    int m_page = 0;
    int m_pos = 0;
    bool m_inUse = false;
    bool m_dragging = false;
    int m_dragOffset = 0;
    int m_pageTarget = 0;
};

} // namespace KELCTRL
