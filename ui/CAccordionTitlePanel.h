#pragma once
// One accordion entry: a title strip that expands or collapses the CCollapsibleWnd below it when
// clicked, and a pin switch at its right end; a pinned entry stays open when another one opens in
// single-open mode. The entry's height is the strip plus the body.
#include "ui/CBaseWnd.h"
#include "ui/CCollapsibleWnd.h"

#include <memory>

namespace KELCTRL {

class CAccordionTitlePanel : public CBaseWnd {
public:
    // Size of the pin switch at 96 dpi.
    static constexpr int SWITCH_WIDTH = 24;
    static constexpr int SWITCH_HEIGHT = 12;
    // Messages a sub-panel may send to its entry (CSubPanel::SendMessageToAccordionTitlePanel).
    // Sets the title: lParam a const QString*.
    static constexpr unsigned WM_ATP_SETTITLE = 0x0400 + 0x180;
    // Expands (wParam non-zero) or collapses the entry.
    static constexpr unsigned WM_ATP_EXPAND = 0x0400 + 0x181;
    // Sets the pin: wParam non-zero pins.
    static constexpr unsigned WM_ATP_PIN = 0x0400 + 0x182;

    explicit CAccordionTitlePanel(QWidget* parent = nullptr);
    ~CAccordionTitlePanel() override;

    void SetTitle(const QString& title);
    QString GetTitle() const { return m_title; }
    void SetPinned(int pinned);
    int IsPinned() const { return m_pinned ? 1 : 0; }

    CCollapsibleWnd* GetCollapsible() const { return m_body.get(); }
    void Expand();
    void Collapse();
    int IsCollapsed() const;
    // Height of the title strip in pixels.
    int GetTitleHeight() const;
    // The strip plus the body as it stands.
    int GetWantedHeight() const;

    using CBaseWnd::AdjustCtrls;
    void AdjustCtrls(int width, int height) override;

protected:
    void OnInitWnd() override;
    intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) override;
    intptr_t OnNotify(uintptr_t ctrlId, NMHDR* header) override;
    // The strip and the panel inside change size with the dpi; the host restacks afterwards.
    intptr_t OnDPIChanged(uintptr_t wParam, const QRect* rect) override;
    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnPaint(QPainter& painter, int width, int height) override;

private:
    QRect SwitchRect() const;

    std::unique_ptr<CCollapsibleWnd> m_body;
    QString m_title;
    bool m_pinned = false;
};

} // namespace KELCTRL
