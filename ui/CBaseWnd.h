#pragma once
// The root of every window. It gives a QWidget the behaviour that the rest of the library is written
// against: messages sent as direct calls and posted through the event queue, timers with chosen ids,
// an explicit mouse capture with its capture-changed handler, Qt input turned into the handlers of a
// classic window procedure (MK_* flags, VK codes, 120 per wheel notch, double clicks that replace the
// second press), and one paint entry for subclasses.
//
// On top of that it carries what every control shares: the CUISizeInfo of the monitor it lies on
// (changed through OnDPIChanged when the screen or its dpi changes), a background colour from the
// colour schema, a font style, hover tracking, tooltips, fading, and min and max sizes in unscaled
// pixels. Painting goes through one OnPaint(painter, width, height) on Qt's backing store, which is
// the off-screen surface: the window reaches the screen in one piece, so no subclass needs its own
// buffer.
#include "ui/CDpiWatcher.h"
#include "ui/CUISizeInfo.h"
#include "ui/CWndTimers.h"
#include "ui/WinDefs.h"

#include <QBasicTimer>
#include <QBrush>
#include <QColor>
#include <QElapsedTimer>
#include <QImage>
#include <QPoint>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <cstdint>
#include <map>

class QPainter;

namespace KELCTRL {

class CBaseWnd : public QWidget {
public:
    // Kept for existing callers: a DPI function installed here becomes the DpiProvider of
    // ui/CUISizeInfo.h with the same value on both axes.
    using DpiFunction = int (*)(const QWidget* wnd);

    // Milliseconds between two steps of FadeIn and FadeOut.
    static constexpr unsigned TIMER_FADING_INTERVAL = 100;
    // The object name a window gets when it is created without one.
    static constexpr const char* DEF_WND_CLASS_NAME = "KelCtrlBaseWnd";
    // A min or max size of this value means no limit and is never scaled.
    static constexpr int kNoSizeLimit = 0x7FFFFFFF;

    explicit CBaseWnd(QWidget* parent = nullptr);
    ~CBaseWnd() override;
    CBaseWnd(const CBaseWnd&) = delete;
    CBaseWnd& operator=(const CBaseWnd&) = delete;

    // Creation: parent, the monitor's CUISizeInfo, geometry and control id, then OnInitWnd and
    // PostInitWnd. Returns 1; 0 when the window already exists.
    virtual int Create(QWidget* parent, const QRect& rect, unsigned id, int visible = 1);
    // Gets a chance at every input event before the window handles it; non-zero consumes it.
    virtual int PreTranslateMessage(QEvent* e);
    // Gives the keyboard focus back: to this window when it can take it, else up the parents.
    virtual void ResetFocus();
    // Controls refresh their enabled and checked states; the base has none.
    virtual void UpdateCtrlStates(int redraw);
    // Subclasses create their controls here when they do so outside OnInitWnd.
    virtual void SetupCtrls();
    // The tooltip of the child control with this id; empty for none.
    virtual QString GetCtrlTooltip(unsigned id);
    // Local files dropped on a window that accepts drops (DragAcceptFiles).
    virtual void OnDropObjects(const QStringList& paths);
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

    // Returns the old colour. The brush follows the colour, made when it is first asked for.
    QColor SetBkColor(const QColor& color);
    QColor GetBkColor() const { return m_bkColor; }
    const QBrush& GetBkBrush();

    // The font of the window's CUISizeInfo at this style. Returns the old style; a new style is
    // painted at once when the window is visible.
    FONT_STYLE SetFont(FONT_STYLE style);
    FONT_STYLE GetFont() const { return m_fontStyle; }
    // Null before the window has its CUISizeInfo.
    const QFont* GetFontPtr() const;

    // Opacity of a top-level window, 0 to 255.
    void SetOpacity(unsigned opacity);
    unsigned GetOpacity() const { return m_opacity; }
    // Shows the window and raises its opacity to 255 over about `ms` milliseconds.
    void FadeIn(unsigned ms);
    // Lowers the opacity to 0 over about `ms` milliseconds, then hides the window.
    void FadeOut(unsigned ms);
    int IsFading() const { return m_fadeTimer.isActive() ? 1 : 0; }

    int IsInited() const { return m_inited ? 1 : 0; }
    int IsMouseHover() const { return m_mouseHover ? 1 : 0; }
    // Set while OnDPIChanged applies a new record and lays the window out again.
    int IsDpiChanging() const { return m_dpiChanging ? 1 : 0; }
    // Whether the window takes the keyboard focus; returns the old setting.
    int CanGetFocus(int can);
    int CanGetFocus() const { return m_canGetFocus ? 1 : 0; }
    // A one-pixel frame in the background colour drawn over whatever OnPaint painted.
    void SetBorder(int border);
    int HasBorder() const { return m_hasBorder ? 1 : 0; }
    // A transparent window fills no background: what lies under it shows where OnPaint paints nothing.
    void SetTransparent(int transparent);
    int IsTransparent() const { return m_transparent ? 1 : 0; }

    // Limits in unscaled pixels, scaled by the window's CUISizeInfo when applied (kNoSizeLimit
    // stays as it is). They bind the size of top-level windows.
    void SetMinSize(const QSize& size);
    void SetMaxSize(const QSize& size);
    void SetMaxTrackSize(const QSize& size);
    QSize GetMinSize() const { return m_minSize; }
    QSize GetMaxSize() const { return m_maxSize; }
    QSize GetMaxTrackSize() const { return m_maxTrackSize; }
    // The limits as the platform gets them.
    void OnGetMinMaxInfo(QSize& minTrackSize, QSize& maxTrackSize) const;

    // The record of sizes and fonts for this window's dpi. Null before Create.
    void SetUISizeInfo(CUISizeInfo* info);
    CUISizeInfo* GetUISizeInfo() const { return m_uiSizeInfo; }
    // Asks the monitor for its dpi now; when it differs from the window's record, runs the
    // DPI-change path (WM_DPICHANGED). Returns 1 when the dpi changed.
    int UpdateDpiFromMonitor();

    // The window's own tooltip. Without one, the parent's GetCtrlTooltip for this window's id.
    void SetTooltipText(const QString& text);
    QString GetTooltipText() const;

    // Accepts local files dropped on the window; they arrive at OnDropObjects.
    void DragAcceptFiles(int accept);

    // Paints the client area exactly as the screen gets it, into a new image of the client size.
    QImage RenderClient();

    // The window's DPI (x axis): its record's, else its monitor's.
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
    // The monitor dpi changed (wParam low word x, high word y; rect the suggested rectangle, null
    // for the current one). Returns 1 when the window already has that dpi's record, else applies
    // it, hands it to the windows inside, moves to the rectangle, lays out, and returns 0.
    virtual intptr_t OnDPIChanged(uintptr_t wParam, const QRect* rect);

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
    void showEvent(QShowEvent* e) override;
    void dragEnterEvent(QDragEnterEvent* e) override;
    void dropEvent(QDropEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;

private:
    friend class CDpiWatcher; // applies a dpi change (ApplyChange)
    struct LastPress {
        Qt::MouseButton button = Qt::NoButton;
        quint64 timestamp = 0;
        QPoint pos;
    };

    void HandleSize(int width, int height);
    // Background, OnPaint in a saved state, then the border.
    void PaintClient(QPainter& painter, int width, int height);
    void ApplySizeLimits();
    void ApplyFont();
    void FadeTo(unsigned target, unsigned ms);
    void FadeStep();
    // The pointer is over a child widget: moves there are the child's, so that a window and its
    // child never both track the same pointer.
    bool IsOverChild(const QPoint& point) const;
    void LeaveHover();
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
    QBrush m_bkBrush;
    QColor m_bkBrushColor;
    bool m_hasBorder = false;
    bool m_mouseHover = false;
    bool m_canGetFocus = false;
    unsigned m_opacity = 255;
    unsigned m_fadeTarget = 255;
    unsigned m_fadeStep = 0;
    QBasicTimer m_fadeTimer;
    CUISizeInfo* m_uiSizeInfo = nullptr;
    bool m_dpiChanging = false;
    bool m_inited = false;
    bool m_transparent = false;
    bool m_limitsApplied = false;
    QSize m_minSize{1, 1};
    QSize m_maxSize{kNoSizeLimit, kNoSizeLimit};
    QSize m_maxTrackSize{kNoSizeLimit, kNoSizeLimit};
    FONT_STYLE m_fontStyle = FONT_STYLE_NORMAL;
    QString m_tooltipText;
    LastPress m_lastPress;
    // Qt reports a double click as its own event besides the press that we already turned into one.
    bool m_swallowQtDblClick = false;
    CWndTimers m_timers;
    CDpiWatcher m_dpiWatcher;
};

} // namespace KELCTRL
