// CBrushTool: life cycle, brush size, strokes, wheel and keys. Canvases and processing live in
// CBrushToolCanvas.cpp, the cursor and the canvas-drawn ring in CBrushToolCursor.cpp.
#include "tools/paint/CBrushTool.h"

#include "imageprocess/BrushPaint.h"
#include "imagewnd/CImageWnd.h"
#include "imagewnd/CKeyStateTracker.h"
#include "tools/paint/BrushSizeScale.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace KELCTRL {
namespace IMGWND_TOOL {

namespace {

constexpr unsigned kPolledKeys[] = {VK_CONTROL, VK_SHIFT, VK_MENU};

// Shows the wait cursor for the length of a scope, when there is a widget application.
class WaitCursor {
public:
    WaitCursor() : m_on(qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr) {
        if (m_on)
            QApplication::setOverrideCursor(Qt::WaitCursor);
    }
    ~WaitCursor() {
        if (m_on)
            QApplication::restoreOverrideCursor();
    }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;

private:
    bool m_on;
};

} // namespace

CBrushTool::CBrushTool(int canvasCount) : m_canvases(static_cast<size_t>(std::max(1, canvasCount))) {
    m_toolName = "brush";
    // Beyond the classic set: painting (the ring of a large brush), leaving the window (hiding it), and
    // view moves (the painting thread's copy of the geometry).
    m_eventMask = EVENTMASK_ZOOMCHANGED | EVENTMASK_SETCURSOR | EVENTMASK_LBUTTON | EVENTMASK_CLICK |
                  EVENTMASK_RCLICK | EVENTMASK_MOUSEWHEEL | EVENTMASK_MOUSEMOVE | EVENTMASK_MOUSEENTER |
                  EVENTMASK_DRAG | EVENTMASK_KEYDOWN | EVENTMASK_SETIMAGE | EVENTMASK_POSTPROCESSIMAGE |
                  EVENTMASK_PAINT | EVENTMASK_MOUSELEAVE | EVENTMASK_DISPPOSCHANGED | EVENTMASK_WNDRESIZE;
    ResetKeyStates();
}

CBrushTool::~CBrushTool() {
    if (m_imageWnd)
        OnUnload();
    m_painter.StopThread();
    m_masks.Quit();
    m_mouseTracker.Quit();
}

CImageWnd* CBrushTool::Wnd() const {
    return dynamic_cast<CImageWnd*>(m_imageWnd);
}

double CBrushTool::GetMaxRadius() {
    // Fetched once: the brush scale must not change under the user when a screen comes or goes.
    static const double radius = [] {
        QScreen* screen = QGuiApplication::primaryScreen();
        const QRect area = screen ? screen->virtualGeometry() : QRect(0, 0, 1920, 1080);
        return MaxBrushRadius(std::max(1, area.width()), std::max(1, area.height()));
    }();
    return radius;
}

// --- life cycle -----------------------------------------------------------------------------------

void CBrushTool::OnLoad(CBaseWnd* imageWnd) {
    IImageWndTool::OnLoad(imageWnd);
    ResetKeyStates();
    if (imageWnd)
        imageWnd->SetTimer(TIMER_KEYSTATE, TIMER_KEYSTATE_INTERVAL);
    m_host.Attach(Wnd());
    m_host.SetProcess([this](CImageDataInfo& temp, const CImageDataInfo& source,
                             const CSelectedRegion& canvas, int x,
                             int y) { RunProcess(temp, source, canvas, x, y); });
    m_masks.Run();
    m_painter.StartThread();
    m_mouseTracker.Run();
    CalcSize();
    ProcessWindowImage();
}

void CBrushTool::OnUnload() {
    // A stroke in progress ends first, so no thread is left waiting for a release that never comes.
    if (m_painting)
        EndPainting();
    m_painter.StopThread();
    m_masks.Quit();
    m_mouseTracker.Quit();
    m_inputFilter.End();
    if (m_imageWnd)
        m_imageWnd->KillTimer(TIMER_KEYSTATE);
    ResetKeyStates();
    m_ringVisible = 0;
    m_host.Detach();
    IImageWndTool::OnUnload();
    for (CANVASDATA& canvas : m_canvases)
        ResetCanvas(canvas, 0);
}

void CBrushTool::OnSetImage() {
    m_host.Update();
    CalcSize();
    Reset();
    if (CImageWnd* wnd = Wnd())
        wnd->Redraw(nullptr, 1);
}

void CBrushTool::OnZoomChanged() {
    m_host.Update();
    CalcSize();
    for (CANVASDATA& canvas : m_canvases)
        RebuildZoomedRegion(canvas);
}

void CBrushTool::OnDispPosChanged() {
    m_host.Update();
}

void CBrushTool::OnWndResize(int, int) {
    m_host.Update();
}

// --- brush ----------------------------------------------------------------------------------------

void CBrushTool::SetBrush(const CBrush& brush) {
    *m_brush = brush;
    CalcSize();
}

void CBrushTool::CalcSize() {
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage())
        return;
    const BRUSH_RADII r =
        CalcBrushRadii(m_brush->size, m_brush->feather, wnd->GetZoomValue(), GetMaxRadius());
    m_imageInner = r.imageInner;
    m_imageOuter = r.imageOuter;
    if (m_brush->mode != m_cursorMode || r.displayInner != m_displayInner ||
        r.displayOuter != m_displayOuter) {
        m_cursorMode = m_brush->mode;
        m_displayInner = r.displayInner;
        m_displayOuter = r.displayOuter;
        UpdateCursor();
        InstallCursor();
    }
    UpdateBrushMasks();
}

void CBrushTool::UpdateBrushMasks() {
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage())
        return;
    const BRUSH_MASK_PARAMS image{m_imageInner, m_imageOuter, m_brush->flow};
    const BRUSH_MASK_PARAMS display =
        wnd->IsZoomedOut() ? BRUSH_MASK_PARAMS{m_displayInner, m_displayOuter, m_brush->flow} : image;
    m_masks.SetWanted(image, display);
}

// --- strokes --------------------------------------------------------------------------------------

int CBrushTool::OnLButtonDown(unsigned, QPoint point) {
    StartPainting(point);
    return 1;
}

int CBrushTool::OnLButtonUp(unsigned, QPoint) {
    if (!m_painting)
        return 0;
    EndPainting();
    return 1;
}

int CBrushTool::OnClick(unsigned, QPoint) {
    return 0;
}

int CBrushTool::OnRClick(unsigned, QPoint) {
    return 0;
}

int CBrushTool::OnStartDrag(unsigned, QPoint) {
    // The window starts a drag only during a stroke, so the stroke owns the pointer.
    return m_painting;
}

void CBrushTool::OnStartPainting(const TPoint<double>&) {}

void CBrushTool::OnEndPainting() {}

void CBrushTool::StartPainting(QPoint clientPoint) {
    CImageWnd* wnd = Wnd();
    if (!wnd || !wnd->HasImage() || m_painting || m_currentCanvas >= m_canvases.size())
        return;
    CANVASDATA& canvas = m_canvases[m_currentCanvas];
    if (!canvas.region.IsUsable() || canvas.region.data.empty())
        return;
    TPoint<double> imagePoint;
    wnd->PointWnd2Image(clientPoint.x(), clientPoint.y(), imagePoint);
    m_host.Update();
    const bool zoomedOut = wnd->IsZoomedOut() != 0;
    if (zoomedOut && canvas.zoomedRegion.data.empty())
        RebuildZoomedRegion(canvas);

    const double zoom = wnd->GetZoomValue();
    const TSize<int> size = zoom < 1.0 ? wnd->GetZoomedSize() : wnd->GetImageSize();
    const CImageWnd::PROCESSEXTEND_FUNC margin = wnd->GetProcessExtendFunc();
    m_dirtyMargin = margin ? std::max(0, margin(zoom, size.width, size.height)) : 0;

    STROKE_SETTINGS settings;
    settings.mode = m_brush->mode;
    settings.opacity = m_brush->opacity;
    settings.autoMask = IsAutoMask();
    settings.imageOuter = m_imageOuter;
    settings.dirtyMargin = m_dirtyMargin;

    OnStartPainting(imagePoint);
    const QPoint global = wnd->mapToGlobal(clientPoint);
    // Every move and the release reach the tracker from here on, wherever the pointer goes.
    m_inputFilter.Begin();
    if (!m_painter.StartStroke(&canvas, settings, TPoint<int>(global.x(), global.y()))) {
        m_inputFilter.End();
        return;
    }
    m_painting = 1;
    SendNotify(NOTIFY_STARTPAINTING, this);
}

void CBrushTool::EndPainting() {
    if (!m_painting)
        return;
    {
        WaitCursor wait;
        // While the painting thread finishes, this canvas is painted with what it delivers; no other
        // event is served, so nothing can start a new stroke or unload the tool meanwhile.
        m_painter.EndStroke([this] {
            if (m_host.TakeRedrawDue()) {
                if (CImageWnd* wnd = Wnd())
                    wnd->Redraw(nullptr, 1);
            }
        });
    }
    m_inputFilter.End();
    m_painting = 0;
    SendNotify(NOTIFY_ENDPAINTING, this);
    OnEndPainting();
    CImageWnd* wnd = Wnd();
    if (wnd && wnd->GetImage() && wnd->GetBeforeImage())
        ProcessWindowImage();
    else if (wnd && m_host.TakeRedrawDue())
        wnd->Redraw(nullptr, 1);
}

int CBrushTool::ProcessTrack(std::vector<TPoint<int>>& track) {
    if (m_painting || m_currentCanvas >= m_canvases.size())
        return 0;
    m_host.Update();
    STROKE_SETTINGS settings;
    settings.mode = m_brush->mode;
    settings.opacity = m_brush->opacity;
    settings.autoMask = IsAutoMask();
    settings.imageOuter = m_imageOuter;
    if (!m_painter.PrepareStroke(&m_canvases[m_currentCanvas], settings))
        return 0;
    std::lock_guard<std::mutex> stroke(m_masks.StrokeLock());
    return m_painter.ProcessTrack(track);
}

void CBrushTool::ProcessSpline(const TPoint<int>* points, size_t count) {
    if (m_painting || m_currentCanvas >= m_canvases.size())
        return;
    m_host.Update();
    STROKE_SETTINGS settings;
    settings.mode = m_brush->mode;
    settings.opacity = m_brush->opacity;
    settings.autoMask = IsAutoMask();
    settings.imageOuter = m_imageOuter;
    if (!m_painter.PrepareStroke(&m_canvases[m_currentCanvas], settings))
        return;
    std::lock_guard<std::mutex> stroke(m_masks.StrokeLock());
    m_painter.ProcessSpline(points, count);
}

int CBrushTool::PaintRegion(CSelectedRegion& canvas, const CSelectedRegion& brush, CBrush::MODE mode,
                            int opacity, const CImageDataInfo* image, const unsigned short* lut,
                            const INT4* colorMin, const INT4* colorMax) {
    return ImageProcess::PaintRegion(canvas, brush, static_cast<ImageProcess::BRUSH_MODE>(mode), opacity,
                                     image, lut, colorMin, colorMax)
               ? 1
               : 0;
}

// --- wheel and keys -------------------------------------------------------------------------------

int CBrushTool::OnMouseWheel(unsigned flags, short delta, QPoint) {
    // A held button is a stroke under way: its size and edge stay as they began.
    if (m_painting || (flags & (MK_LBUTTON | MK_RBUTTON | MK_MBUTTON)))
        return 0;
    const int step = delta > 0 ? WHEEL_STEP : -WHEEL_STEP;
    if (flags & MK_SHIFT)
        m_brush->feather = std::clamp(m_brush->feather + step, CBrush::FEATHER_MIN, CBrush::FEATHER_MAX);
    else if ((flags & (MK_SHIFT | MK_CONTROL)) == 0)
        m_brush->size = std::clamp(m_brush->size + step, CBrush::BRUSHSIZE_MIN, CBrush::BRUSHSIZE_MAX);
    else
        return 0;
    CalcSize();
    SendNotify(NOTIFY_BRUSHCHANGED, m_brush);
    return 1;
}

int CBrushTool::OnTimer(uintptr_t id) {
    if (id != TIMER_KEYSTATE)
        return 0;
    if (m_painting)
        return 1;
    for (unsigned key : kPolledKeys) {
        const int down = (CKeyStateTracker::GetKeyState(key) & 0x8000) ? 1 : 0;
        int& state = m_keyStates[key];
        if (state != down) {
            state = down;
            OnKeyStateChanged(key, down);
        }
    }
    return 1;
}

void CBrushTool::ResetKeyStates() {
    m_keyStates.clear();
    for (unsigned key : kPolledKeys)
        m_keyStates[key] = 0;
}

void CBrushTool::OnKeyStateChanged(unsigned key, int down) {
    if (key != VK_SHIFT)
        return;
    m_shiftAutoMask = down ? 1 : 0;
    SendNotify(NOTIFY_BRUSHCHANGED, m_brush);
}

int CBrushTool::OnKeyDown(unsigned key, unsigned, unsigned) {
    if (key != VK_ESCAPE || m_painting)
        return 0;
    CloseToolPanel();
    return 1;
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
