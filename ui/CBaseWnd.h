#pragma once
// The root of every window. It gives a QWidget the behaviour that the rest of the library is written
// against: messages sent as direct calls and posted through the event queue, timers with chosen ids,
// an explicit mouse capture with its capture-changed handler, Qt input turned into the handlers of a
// classic window procedure (MK_* flags, VK codes, 120 per wheel notch, double clicks that replace the
// second press), and one paint entry for subclasses.
#include "ui/WinDefs.h"

#include <QBasicTimer>
#include <QColor>
#include <QElapsedTimer>
#include <QPoint>
#include <QWidget>

#include <cstdint>
#include <map>

class QPainter;

namespace KELCTRL {

class CBaseWnd : public QWidget {
public:
    // Returns the DPI of a window; replaceable so that tests can run at any DPI.
    using DpiFunction = int (*)(const QWidget* wnd);

    explicit CBaseWnd(QWidget* parent = nullptr);
    ~CBaseWnd() override;
    CBaseWnd(const CBaseWnd&) = delete;
    CBaseWnd& operator=(const CBaseWnd&) = delete;

    // Creation: parent, geometry and control id, then OnInitWnd and PostInitWnd. Returns 1.
    virtual int Create(QWidget* parent, const QRect& rect, unsigned id, int visible = 1);
    // Runs OnDestroy, hides the window and marks it as not created.
    void DestroyWindow();
    // Created and not destroyed: the window can take messages.
    int IsWindow() const { return m_created ? 1 : 0; }
    unsigned GetDlgCtrlID() const { return m_ctrlId; }
    void SetDlgCtrlID(unsigned id) { m_ctrlId = id; }
    // The parent as a window of this library, or null.
    CBaseWnd* GetParentWnd() const;

    // Moves and sizes the window; OnSize runs at once when the size changed, even while hidden.
    void MoveWindow(int x, int y, int width, int height, int repaint = 1);
    void MoveWindow(const QRect& rect, int repaint = 1);
    int GetClientWidth() const { return m_clientWidth; }
    int GetClientHeight() const { return m_clientHeight; }
    QRect GetClientRect() const { return QRect(0, 0, m_clientWidth, m_clientHeight); }
    // The pointer position in client coordinates.
    QPoint GetCursorClientPos() const;

    // A direct call of WindowProc returning its result; 0 when the window is gone or the message
    // is not handled.
    intptr_t SendMessage(unsigned msg, uintptr_t wParam = 0, intptr_t lParam = 0);
    // Queues the message for the UI thread; callable from any thread. Returns 0 when the window is
    // gone. A message still queued when the window goes is dropped.
    int PostMessage(unsigned msg, uintptr_t wParam = 0, intptr_t lParam = 0);
    static int PostMessage(CBaseWnd* wnd, unsigned msg, uintptr_t wParam = 0, intptr_t lParam = 0);
    // Fills the header (this window, its id, the code) and sends WM_NOTIFY to the parent; returns
    // the parent's answer, 0 without a parent.
    intptr_t NotifyParent(unsigned code, NMHDR& header);

    // Starts or restarts the timer with this id; OnTimer(id) fires every `elapse` ms. UI thread
    // only: returns 0 elsewhere.
    uintptr_t SetTimer(uintptr_t id, unsigned elapse);
    int KillTimer(uintptr_t id);
    int IsTimerRunning(uintptr_t id) const;

    // Mouse capture. The window that loses it hears OnCaptureChanged with the new owner (null on
    // release). Focus loss and deactivation of the window release it.
    CBaseWnd* SetCapture();
    static int ReleaseCapture();
    static CBaseWnd* GetCapture();

    // Invalidate marks for repainting; UpdateWindow paints what is due now.
    void Invalidate();
    void UpdateWindow();
    // Redraw(rect, now): invalidate (all when rect is null) and paint at once when `now` is set.
    void Redraw(const QRect* rect = nullptr, int now = 1);

    virtual void AdjustCtrls(int width, int height);
    void AdjustCtrls() { AdjustCtrls(m_clientWidth, m_clientHeight); }

    QColor SetBkColor(const QColor& color);
    QColor GetBkColor() const { return m_bkColor; }

    int IsMouseHover() const { return m_mouseHover ? 1 : 0; }

    // The window's DPI: the screen's logical DPI unless a DPI function is installed.
    int GetDpi() const;
    static void SetDpiFunction(DpiFunction function);
    // value * DPI / 96, truncated; no arithmetic at 96 DPI.
    int ScaleByDpi(int value) const;

protected:
    // The message handler behind SendMessage and PostMessage. The base handles WM_SETREDRAW,
    // WM_NOTIFY (OnNotify) and WM_BASEWND_REDRAW (OnRedraw) and returns 0 for everything else.
    virtual intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam);

    virtual void OnInitWnd() {}
    virtual void PostInitWnd() {}
    virtual void OnDestroy() {}
    // Painting of the client area; the background is already filled.
    virtual void OnPaint(QPainter& painter, int width, int height);
    virtual void OnSize(unsigned type, int cx, int cy);
    virtual void OnTimer(uintptr_t id);
    virtual void OnCaptureChanged(CBaseWnd* newOwner);
    virtual void OnSetFocus(QWidget* oldFocus);
    virtual void OnKillFocus(QWidget* newFocus);
    // Chooses the cursor. Returns non-zero when a cursor was set. The base sets the arrow.
    virtual int OnSetCursor(CBaseWnd* wnd, unsigned hitTest, unsigned message);

    virtual void OnLButtonDown(unsigned flags, const QPoint& point);
    virtual void OnLButtonUp(unsigned flags, const QPoint& point);
    virtual void OnLButtonDblClk(unsigned flags, const QPoint& point);
    virtual void OnRButtonDown(unsigned flags, const QPoint& point);
    virtual void OnRButtonUp(unsigned flags, const QPoint& point);
    virtual void OnRButtonDblClk(unsigned flags, const QPoint& point);
    virtual void OnMButtonDown(unsigned flags, const QPoint& point);
    virtual void OnMButtonUp(unsigned flags, const QPoint& point);
    virtual void OnMouseMove(unsigned flags, const QPoint& point);
    virtual void OnMouseEnter(unsigned flags, const QPoint& point);
    virtual void OnMouseLeave();
    // Returns non-zero when handled; an unhandled wheel goes on to the parent.
    virtual int OnMouseWheel(unsigned flags, short delta, const QPoint& point);
    virtual void OnKeyDown(unsigned key, unsigned repeat, unsigned flags);
    virtual void OnKeyUp(unsigned key, unsigned repeat, unsigned flags);
    virtual void OnSysKeyDown(unsigned key, unsigned repeat, unsigned flags);
    virtual void OnSysKeyUp(unsigned key, unsigned repeat, unsigned flags);

    virtual intptr_t OnNotify(uintptr_t ctrlId, NMHDR* header);
    virtual intptr_t OnRedraw(uintptr_t wParam, intptr_t lParam);

    bool event(QEvent* e) override;
    void paintEvent(QPaintEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseDoubleClickEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void keyReleaseEvent(QKeyEvent* e) override;
    void focusInEvent(QFocusEvent* e) override;
    void focusOutEvent(QFocusEvent* e) override;
    void leaveEvent(QEvent* e) override;
    void timerEvent(QTimerEvent* e) override;
    void changeEvent(QEvent* e) override;

private:
    struct LastPress {
        Qt::MouseButton button = Qt::NoButton;
        quint64 timestamp = 0;
        QPoint pos;
    };

    void HandleSize(int width, int height);
    // Delivers a press, or a double click when it follows the last press closely enough.
    void DeliverPress(QMouseEvent* e);
    bool IsDoubleClick(const QMouseEvent* e) const;
    void DeliverButton(Qt::MouseButton button, bool down, bool dblClk, unsigned flags, const QPoint& pt);
    void DeliverKey(QKeyEvent* e, bool down);

    unsigned m_ctrlId = 0;
    bool m_created = false;
    int m_clientWidth = 0;
    int m_clientHeight = 0;
    QColor m_bkColor;
    bool m_mouseHover = false;
    LastPress m_lastPress;
    // Qt reports a double click as its own event besides the press that we already turned into one.
    bool m_swallowQtDblClick = false;
    std::map<uintptr_t, QBasicTimer> m_timers;
};

} // namespace KELCTRL
