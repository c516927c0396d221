#pragma once
// The canvas tool that turns a mouse stroke into a 16-bit mask. It never touches the image itself:
// strokes paint one of its canvases, and a process callback turns the current mask into visible
// pixels for the dirty rectangle only. A stroke runs on three threads besides this one: the tracker
// records pointer points, the painting thread lays dabs, the mask thread rebuilds the brush masks
// whenever size, feather or flow change. The interface thread only starts and ends strokes.
#include "common/MouseTracker.h"
#include "common/ValueTypes.h"
#include "imagewnd/IImageWndTool.h"
#include "tools/paint/CANVASDATA.h"
#include "tools/paint/CBrush.h"
#include "tools/paint/CBrushMaskBuilder.h"
#include "tools/paint/CBrushStrokePainter.h"
#include "tools/paint/CImageWndStrokeHost.h"
#include "tools/paint/CStrokeInputFilter.h"

#include <QCursor>
#include <QPen>

#include <map>
#include <vector>

class CImageDataInfo;

namespace KELCTRL {

class CImageWnd;

namespace IMGWND_TOOL {

class CBrushTool : public IImageWndTool {
public:
    using CBrush = IMGWND_TOOL::CBrush;
    // Fills out from in for the rectangle at (x, y) through the mask; see DefaultProcess.
    using PROCESS_CALLBACK = void (*)(const CBrushTool* tool, CImageDataInfo& out, const CImageDataInfo& in,
                                      CSelectedRegion* region, int x, int y);

    static constexpr unsigned NOTIFY_BRUSHCHANGED = 102;
    static constexpr unsigned NOTIFY_STARTPAINTING = 103;
    static constexpr unsigned NOTIFY_ENDPAINTING = 104;
    static constexpr uintptr_t TIMER_KEYSTATE = 202;
    static constexpr unsigned TIMER_KEYSTATE_INTERVAL = 40;
    // Rings wider than this are drawn by the canvas over a small cross cursor.
    static constexpr int CURSOR_MAX_SIDE = 128;
    static constexpr int WHEEL_STEP = 2;

    explicit CBrushTool(int canvasCount = 1);
    ~CBrushTool() override;

    // --- IImageWndTool ---
    void Reset() override;
    void OnLoad(CBaseWnd* imageWnd) override;
    void OnUnload() override;
    void OnSetImage() override;
    void OnZoomChanged() override;
    void OnDispPosChanged() override;
    void OnWndResize(int cx, int cy) override;
    void OnPaint(QPainter& painter, int width, int height) override;
    void OnPostProcessImage(CImageDataInfo& out, const CImageDataInfo& in, int x, int y) override;
    int OnSetCursor(QPoint point) override;
    int OnLButtonDown(unsigned flags, QPoint point) override;
    int OnLButtonUp(unsigned flags, QPoint point) override;
    int OnClick(unsigned flags, QPoint point) override;
    int OnRClick(unsigned flags, QPoint point) override;
    int OnMouseWheel(unsigned flags, short delta, QPoint point) override;
    void OnMouseMove(unsigned flags, QPoint point) override;
    void OnMouseEnter(unsigned flags, QPoint point) override;
    void OnMouseLeave() override;
    int OnStartDrag(unsigned flags, QPoint downPoint) override;
    int OnKeyDown(unsigned key, unsigned repeat, unsigned flags) override;
    int OnTimer(uintptr_t id) override;

    // --- brush ---
    void SetBrush(const CBrush& brush);
    const CBrush& GetBrush() const { return *m_brush; }
    int IsAutoMask() const { return m_brush->autoMask || m_shiftAutoMask ? 1 : 0; }
    int IsForceAutoMask() const { return m_shiftAutoMask; }
    // Radii of the present brush: display pixels and image pixels.
    double GetDisplayInner() const { return m_displayInner; }
    double GetDisplayOuter() const { return m_displayOuter; }
    double GetImageInner() const { return m_imageInner; }
    double GetImageOuter() const { return m_imageOuter; }
    // The largest display radius: an eighth of the smaller side of the whole screen area.
    static double GetMaxRadius();

    // --- canvases ---
    int IsPainted() const;
    void SetProcessCallback(PROCESS_CALLBACK callback);
    PROCESS_CALLBACK GetProcessCallback() const { return m_processCallback; }
    void EnablePostProcess(int enable) { m_postProcessEnabled = enable ? 1 : 0; }
    void SelectCanvas(int index);
    int GetCurrentCanvasIndex() const;
    size_t GetCanvasCount() const { return m_canvases.size(); }
    void SetCanvas(const CSelectedRegion* region, int refresh);
    void SwapCanvas(CSelectedRegion* region, int refresh);
    void ModifyCanvas(const CSelectedRegion* region, int refresh);
    CSelectedRegion* GetCanvas(int zoomed, int index);
    const CSelectedRegion* GetSrcCanvas(int index) const;

    // --- strokes ---
    // Between strokes only (the painting thread owns this state during one).
    int ProcessTrack(std::vector<TPoint<int>>& track);
    void ProcessSpline(const TPoint<int>* points, size_t count);
    int IsPainting() const { return m_painting; }
    uint64_t GetDabCount() const { return m_painter.GetDabCount(); }
    // The tracker that the stroke's input feeds; tests feed it from their own thread.
    GS_INPUT::MouseTracker& GetMouseTracker() { return m_mouseTracker; }
    // Waits up to timeoutMs for the masks of the present brush; 1 when they are built.
    int WaitMasksBuilt(int timeoutMs) { return m_masks.WaitBuilt(timeoutMs); }

    static int PaintRegion(CSelectedRegion& canvas, const CSelectedRegion& brush, CBrush::MODE mode,
                           int opacity, const CImageDataInfo* image, const unsigned short* lut,
                           const INT4* colorMin, const INT4* colorMax);
    // Runs the window's own processing on the rectangle at the window's present zoom.
    static void DefaultProcess(const CBrushTool* tool, CImageDataInfo& out, const CImageDataInfo& in,
                               CSelectedRegion* region, int x, int y);

    // --- cursor ---
    const QCursor* GetCursor() const { return m_hasCursor ? &m_cursor : nullptr; }
    // The ring is drawn on the canvas (the cursor is then a small cross).
    int IsRingOnCanvas() const { return m_ringOnCanvas; }

protected:
    virtual void UpdateCursor();
    virtual void DrawCursorSign(QPainter& painter, const QPen& greyPen, const QPen& whitePen, int radius,
                                double centre);
    virtual void OnStartPainting(const TPoint<double>& imagePoint);
    virtual void OnEndPainting();
    virtual void OnKeyStateChanged(unsigned key, int down);

    void CalcSize();
    void UpdateBrushMasks();
    void StartPainting(QPoint clientPoint);
    void EndPainting();
    void ResetKeyStates();
    // Asks the window to process its image again.
    void ProcessWindowImage();
    CImageWnd* Wnd() const;

    CBrush m_ownBrush;
    CBrush* m_brush = &m_ownBrush; // a subclass may point it at a brush of its own

private:
    void RebuildZoomedRegion(CANVASDATA& canvas);
    void ResetCanvas(CANVASDATA& canvas, int refresh);
    void InstallCursor();
    void RunProcess(CImageDataInfo& temp, const CImageDataInfo& source, const CSelectedRegion& canvas, int x,
                    int y);
    void DrawRing(QPainter& painter, double centreX, double centreY);

    std::vector<CANVASDATA> m_canvases;
    size_t m_currentCanvas = 0;
    PROCESS_CALLBACK m_processCallback = &CBrushTool::DefaultProcess;
    int m_dirtyMargin = 0;
    int m_postProcessEnabled = 1;

    QCursor m_cursor;
    int m_hasCursor = 0;
    int m_ringOnCanvas = 0;
    int m_cursorMode = -1;
    double m_displayInner = 0.0;
    double m_displayOuter = 0.0;
    double m_imageInner = 1.0;
    double m_imageOuter = 1.0;
    // Where the canvas-drawn ring is, in client pixels; valid while the pointer is over the window.
    QPoint m_ringPos;
    int m_ringVisible = 0;

    int m_painting = 0;
    std::map<unsigned, int> m_keyStates;
    int m_shiftAutoMask = 0;

    GS_INPUT::MouseTracker m_mouseTracker;
    CBrushMaskBuilder m_masks;
    CImageWndStrokeHost m_host;
    CBrushStrokePainter m_painter{m_mouseTracker, m_masks, m_host};
    CStrokeInputFilter m_inputFilter{m_mouseTracker};
};

} // namespace IMGWND_TOOL
} // namespace KELCTRL
