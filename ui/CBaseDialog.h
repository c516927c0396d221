#pragma once
// The root of every dialog. It repeats for a QDialog what a dialog needs of CBaseWnd: the CUISizeInfo
// of its monitor and the DPI-change path, a background from the colour schema with one
// OnPaint(painter, width, height), layout in AdjustCtrls, timers with chosen ids, tooltips, and the
// place it was last shown. DoModal runs it the way the classic modal loop does: the owner is
// disabled for the time the dialog runs and enabled again before DoModal returns.
#include "ui/CDpiWatcher.h"
#include "ui/CUISizeInfo.h"
#include "ui/CWndTimers.h"
#include "ui/WinDefs.h"

#include <QColor>
#include <QDialog>
#include <QImage>
#include <QPointer>
#include <QRect>
#include <QString>

#include <cstdint>

class QPainter;

namespace KELCTRL {

// Where a pop-up window was last: its top-left on the screen, and its size in unscaled (96 dpi)
// pixels so that it comes back at the same size on a monitor of another dpi. A width or height of
// 0 means it was never placed.
struct POPUP_WND_INFO {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    int maximized = 0;
};

class CBaseDialog : public QDialog {
public:
    static constexpr int IDOK = 1;
    static constexpr int IDCANCEL = 2;

    explicit CBaseDialog(QWidget* parent = nullptr);
    ~CBaseDialog() override;
    CBaseDialog(const CBaseDialog&) = delete;
    CBaseDialog& operator=(const CBaseDialog&) = delete;

    // A modeless dialog: parent, the monitor's record, geometry (kept when rect is empty), then
    // OnInitDialog. Returns 1; 0 when the dialog exists already.
    virtual int Create(QWidget* parent, const QRect& rect = QRect(), int visible = 1);
    // Runs the dialog modally and returns the code given to EndDialog; -1 when it is already
    // running. The owner (the top-level window of the parent, else the active window) is disabled
    // while it runs and enabled again before the return, unless it was disabled before.
    virtual intptr_t DoModal();
    // Ends a modal dialog with this result, or hides a modeless one.
    void EndDialog(int result);
    // Runs OnDestroy, ends the windows of this library inside it, hides it and marks it not created.
    // DoModal does this at its end, so the next DoModal builds the dialog anew.
    void DestroyWindow();
    int IsWindow() const { return m_created ? 1 : 0; }
    // The window disabled by the running DoModal; null otherwise.
    QWidget* GetModalOwner() const { return m_modalOwner; }

    void MoveWindow(int x, int y, int width, int height, int repaint = 1);
    void MoveWindow(const QRect& rect, int repaint = 1);
    int GetClientWidth() const { return m_clientWidth; }
    int GetClientHeight() const { return m_clientHeight; }

    virtual void AdjustCtrls(int width, int height);
    void AdjustCtrls() { AdjustCtrls(m_clientWidth, m_clientHeight); }

    QColor SetBkColor(const QColor& color);
    QColor GetBkColor() const { return m_bkColor; }

    // Shows text when the pointer rests on ctrl.
    void AddToolTipForCtrl(QWidget* ctrl, const QString& text);

    void SetUISizeInfo(CUISizeInfo* info);
    CUISizeInfo* GetUISizeInfo() const { return m_uiSizeInfo; }
    int IsDpiChanging() const { return m_dpiChanging ? 1 : 0; }
    // Asks the monitor for its dpi now and runs the DPI-change path when it differs. Returns 1
    // when the dpi changed.
    int UpdateDpiFromMonitor();
    // The DPI-change path, also reachable as the message WM_DPICHANGED through SendMessage.
    intptr_t SendMessage(unsigned msg, uintptr_t wParam = 0, intptr_t lParam = 0);

    POPUP_WND_INFO GetPopupInfo() const { return m_popupInfo; }
    void SetPopupInfo(const POPUP_WND_INFO& info) { m_popupInfo = info; }
    // Without a saved size, places the window at its current rectangle. Otherwise puts the saved
    // rectangle, scaled to the current dpi, inside the work area of the parent's screen.
    void RestoreLastWindowState();

    uintptr_t SetTimer(uintptr_t id, unsigned elapse);
    int KillTimer(uintptr_t id);
    int IsTimerRunning(uintptr_t id) const;

    // Paints the client area as the screen gets it, into a new image of the client size.
    QImage RenderClient();

protected:
    // Places the dialog at width x height, centred on its owner's window when that is shown, else on
    // the primary screen's work area.
    void MoveToOwnerCentre(int width, int height);
    // Children are created here. The base does nothing and returns 1.
    virtual int OnInitDialog();
    virtual void OnDestroy();
    // Enter, Escape and the title bar's close. The base ends with IDOK, IDCANCEL and as OnCancel.
    virtual void OnOK();
    virtual void OnCancel();
    virtual void OnClose();
    // Painting of the client area; the background is already filled.
    virtual void OnPaint(QPainter& painter, int width, int height);
    virtual void OnSize(unsigned type, int cx, int cy);
    virtual void OnTimer(uintptr_t id);
    // Same contract as CBaseWnd::OnDPIChanged.
    virtual intptr_t OnDPIChanged(uintptr_t wParam, const QRect* rect);
    // Answers whether the dialog is in the middle of a dpi change.
    virtual int OnIsDPIChanging();
    // The window moved or changed size: remembered as the popup info unless hidden, minimised or in
    // a dpi change.
    virtual void OnWindowPosChanged(const QRect& rect);

    void accept() override;
    void reject() override;
    bool event(QEvent* e) override;
    void paintEvent(QPaintEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void moveEvent(QMoveEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void closeEvent(QCloseEvent* e) override;
    void timerEvent(QTimerEvent* e) override;
    void showEvent(QShowEvent* e) override;

private:
    friend class CDpiWatcher; // applies a dpi change (ApplyChange)
    void InitDialog(const QRect& rect);
    void HandleSize(int width, int height);
    void PaintClient(QPainter& painter, int width, int height);
    QWidget* FindOwner() const;

    bool m_created = false;
    int m_clientWidth = 0;
    int m_clientHeight = 0;
    QColor m_bkColor;
    CUISizeInfo* m_uiSizeInfo = nullptr;
    bool m_dpiChanging = false;
    POPUP_WND_INFO m_popupInfo;
    QPointer<QWidget> m_modalOwner;
    CWndTimers m_timers;
    CDpiWatcher m_dpiWatcher;
};

} // namespace KELCTRL
