#pragma once
// The image canvas. It shows one image at a zoom inside its client area and turns input into tool
// events: the newest tool hears each event first, and a tool hears only what its event mask asks for.
// Geometry (zoom, scroll, point conversion, synchronised partner, navigator controls) lives in
// CImageWndGeometry.cpp, the tool stack and its walks in CImageWndTools.cpp, input in
// CImageWndInput.cpp, the image record and life cycle in CImageWnd.cpp, the processing pipeline
// (preview, adjusting mode, the adjust thread) in CImageWndProcess.cpp and the zoomed cache with its
// thread in CImageWndCache.cpp, painting (source choice, display conversion, chequer, colour
// transforms, sampling) in CImageWndPaint.cpp and the tags in CImageWndTags.cpp.
//
// Threads and locks. The UI thread owns everything; the cache thread builds the zoomed copies under
// m_cacheLock (and a process-wide resize lock); the adjust thread exists only in adjusting mode and
// copies its result under m_imageLock. Lock order: m_cacheLock, then m_imageLock. Adjusting mode holds
// m_cacheLock for its whole length, so a cache build never runs against processing. Workers reach the
// UI only by posting messages.
#include "common/CImageDataInfo.h"
#include "common/ValueTypes.h"
#include "common/event_signal.h"
#include "common/message_queue.h"
#include "common/recursive_lock.h"
#include "common/sse_array.h"
#include "imageprocess/ColorProfile.h"
#include "imagewnd/IImageWndTool.h"
#include "imagewnd/ImageWndTypes.h"
#include "ui/CBaseWnd.h"

#include <QCursor>
#include <QImage>
#include <QPointF>
#include <QRect>
#include <QRectF>
#include <QString>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace KELCTRL {

class CWorkerThread;

// One label or picture over the top edge of the canvas.
struct TAGINFO {
    // Reported by a click; TAG_NOT_CLICKABLE never is.
    unsigned id = 0xFFFFFFFF;
    // The label, when there is no image.
    QString text;
    // Replaces the label when not null.
    QImage image;
    // 0: the right-aligned list, otherwise the left-aligned one.
    int side = 0;
    // Non-zero: drawn only while the pointer is inside the window, and clickable.
    int active = 0;
    int enabled = 0;
    QRect drawRect;
    QRect hitRect;
};

// The visible image rectangle in image pixels, kept in single precision.
struct FLOATRECT {
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;
    QRectF ToQRectF() const { return QRectF(x, y, width, height); }
};

class CImageWnd : public CBaseWnd {
public:
    // Priority of the adjusting thread: below normal, normal, above normal.
    enum PRIORITY : int { PRIORITY_LOW = 0, PRIORITY_NORMAL = 1, PRIORITY_HIGH = 2 };

    // Margin around a fitted image, window pixels at 96 DPI.
    static constexpr int MARGIN = 10;
    // The window's own timers; every other id belongs to the tools.
    static constexpr uintptr_t TIMER_AUTOMOVE = 100;
    static constexpr unsigned TIMER_AUTOMOVE_INTERVAL = 33;
    static constexpr uintptr_t TIMER_PROCESSIMAGE = 101;
    static constexpr unsigned TIMER_PROCESSIMAGE_INTERVAL = 250;
    // Largest auto-move distance looked at outside the client, in window pixels.
    static constexpr int AUTOMOVE_MAX_DISTANCE = 80;
    // The preview's longer side is at most this.
    static constexpr int PREVIEW_MAX_SIDE = 512;
    // GetColors samples a square of at most 2 * this + 1 pixels a side.
    static constexpr int MAX_GETCOLOR_RADIUS = 5;
    static constexpr int MAX_GETCOLOR_SAMPLES = (2 * MAX_GETCOLOR_RADIUS + 1) * (2 * MAX_GETCOLOR_RADIUS + 1);
    // A tag with this id shows but takes no clicks.
    static constexpr unsigned TAG_NOT_CLICKABLE = 0xFFFFFFFF;
    // Tag sides.
    static constexpr int TAG_SIDE_RIGHT = 0;
    static constexpr int TAG_SIDE_LEFT = 1;
    // Tag geometry at 96 DPI.
    static constexpr int TAG_MARGIN = 10;
    static constexpr int TAG_HEIGHT = 20;
    static constexpr int TAG_GAP = 4;
    // Label background (ARGB) and text colours of the tags.
    static constexpr QRgb TAG_BK_COLOR = 0x80000000;
    static constexpr QRgb TAG_TEXT_COLOR = 0xFFC8C8C8;
    static constexpr QRgb TAG_TEXT_COLOR2 = 0xFFFFFFFF;

    // Thread messages of the adjust thread (process now) and of the cache thread (build, cancel);
    // both threads end on WM_QUIT.
    static constexpr unsigned WM_QUIT = 18;
    static constexpr unsigned MSG_ADJUSTIMAGE = 100;
    static constexpr unsigned MSG_ZOOMEDCACHE_BUILD = 101;
    static constexpr unsigned MSG_ZOOMEDCACHE_CANCEL = 102;
    // Posted to the window by the cache thread: restart TIMER_PROCESSIMAGE on the UI thread.
    static constexpr unsigned WM_IMGWND_RESTARTPROCESSTIMER = WM_USER + 0x120;

    // The host's edit: fills dst from src. src is the part of the before-image (or of its zoomed copy)
    // at (x, y); fullSource is the whole before-image, null when src is already it. Runs on the
    // adjust thread, on the UI thread for previews and synchronous requests: it must not touch
    // widgets nor take the window's image lock.
    using PROCESSIMAGE_FUNC = void (*)(const CImageWnd* wnd, CImageDataInfo& dst, const CImageDataInfo& src,
                                       double zoom, int x, int y, const CImageDataInfo* fullSource);
    // Called on the cache thread after a build, inside the cache and resize locks.
    using ZOOMCONTENT_FUNC = void (*)(CImageWnd* wnd, double zoom);
    // Kept for the host; the window never calls it.
    using PROCESSEXTEND_FUNC = int (*)(double zoom, int x, int y);
    // Trial watermark, drawn over the image.
    using DRAWSUKASHI_FUNC = void (*)(QPainter& painter, CImageWnd* wnd);

    explicit CImageWnd(int priority = PRIORITY_NORMAL, QWidget* parent = nullptr);
    ~CImageWnd() override;

    // The requested rectangle is raised to at least 2 * margin + 1 on each side.
    int Create(QWidget* parent, const QRect& rect, unsigned id, int visible = 1) override;

    // --- the image record (the caller keeps ownership of every image) ---------------------------
    // With a before-image, `image` is where processing writes its results, and only for the working
    // rectangle of each pass (the visible part plus the extend, or none when zoomed out, where the
    // zoomed copy takes them). Elsewhere it holds whatever was there: a host that saves processes its
    // before-image again instead of saving this one.
    // Returns 0 for an invalid image, and for a mask that is valid but not 1 channel, 1 byte and of
    // the image's size (the window is then empty). Before-images of another size are dropped.
    int SetImage(CImageDataInfo& image, CImageDataInfo* before = nullptr,
                 CImageDataInfo* dispBefore = nullptr, const CImageDataInfo* transMask = nullptr);
    // The same image size is expected; another size goes the SetImage way without a mask.
    int UpdateImage(CImageDataInfo& image, CImageDataInfo* before, CImageDataInfo* dispBefore,
                    int immediately);
    // Forgets the images and the geometry, keeping zoom type, scale and tools.
    void Clear(int redraw);
    CImageDataInfo* GetImage() const { return m_image; }
    const CImageDataInfo* GetBeforeImage() const { return m_beforeImage; }
    const CImageDataInfo* GetDispBeforeImage() const { return m_dispBeforeImage; }
    const CImageDataInfo* GetTransMaskimage() const { return m_transMask; }
    TSize<int> GetImageSize() const { return m_imageSize; }
    int HasImage() const { return m_image ? 1 : 0; }
    int GetPriority() const { return m_priority; }
    void SetPriority(int priority) { m_priority = priority; }

    // --- processing pipeline -----------------------------------------------------------------
    void SetProcessImageFunc(PROCESSIMAGE_FUNC func) { m_processImageFunc.store(func); }
    PROCESSIMAGE_FUNC GetProcessImageFunc() const { return m_processImageFunc.load(); }
    void SetZoomContentFunc(ZOOMCONTENT_FUNC func) { m_zoomContentFunc.store(func); }
    void SetProcessExtendFunc(PROCESSEXTEND_FUNC func) { m_processExtendFunc = func; }
    PROCESSEXTEND_FUNC GetProcessExtendFunc() const { return m_processExtendFunc; }
    void SetDrawSukashiFunc(DRAWSUKASHI_FUNC func) { m_drawSukashiFunc = func; }
    void SetLinearImageParams(const LINEAR_IMAGE_PARAMS& params);
    void SetLinearImageParams(const unsigned short* displayCurve, const unsigned short* sourceCurve);
    LINEAR_IMAGE_PARAMS GetLinearImageParams() const;

    // A live session: processing covers the visible part plus ImageProcess::PROCESS_EXTEND, on the
    // adjust thread when a process function is set. Entering waits for the zoomed cache when zoomed
    // out, and is refused without an image and a before-image or when the cache cannot be built.
    void EnterAdjustingMode();
    // Ends the session, waiting for the adjust thread while keeping this window painted.
    void ExitAdjustingMode();
    int IsAdjustingMode() const { return m_adjusting ? 1 : 0; }
    // Processes the working rectangle again: posted to the adjust thread with `async` and a process
    // function (bursts coalesce), else at once on this thread. Nothing outside adjusting mode.
    void AdjustImage(int async);
    // The working rectangle, in image pixels or, zoomed out, in cache pixels; empty when not adjusting.
    QRect GetAdjustRect() const;
    // Fills dst from the part of src at (x, y), through the source curve when `useCurve` is set and
    // there is one. Returns 0 for an invalid record or a failed copy.
    int CopyFromSrcImage(int useCurve, CImageDataInfo& dst, const CImageDataInfo& src, int x, int y) const;
    int IsProcessingPreview() const { return m_processingPreview ? 1 : 0; }
    double GetPreviewScale() const { return m_previewScale; }

    // --- zoomed cache ------------------------------------------------------------------------
    // Asks the cache thread for copies at the present zoom (only while zoomed out).
    void UpdateZoomedCache();
    // Cancels a build that has not ended; with `wait`, returns once the cache thread has let go.
    void CancelZoomedCaching(int wait);
    void ReleaseZoomedCache();
    // Runs the processing again on the whole zoomed copy.
    void ProcessZoomedCache();
    // A build ended, did not fail, and is of the present zoomed size.
    int IsZoomedCacheReady() const;

    // --- before view -------------------------------------------------------------------------
    void ShowBeforeImage(int on);
    int IsShowingBefore() const { return m_showingBefore ? 1 : 0; }
    // Set while the Space key holds the before view.
    int IsBeforeByKey() const { return m_beforeByKey ? 1 : 0; }

    // --- painting ----------------------------------------------------------------------------
    using TRANSFORM = ImageProcess::ColorProfile::TRANSFORM;
    // Bit 0 marks shadow clipping, bit 1 highlight clipping.
    void SetClippingWarning(unsigned bits);
    unsigned GetClippingWarning() const { return m_clippingWarning; }
    // The image's profile: the display transform goes to the monitor profile, and a transform to
    // sRGB serves colour sampling. Null clears both.
    void SetColorProfile(const ImageProcess::ColorProfile::Profile* profile);
    // The transform applied when painting; repaints when there is an image.
    void SetColorTransform(const TRANSFORM* transform);
    const TRANSFORM* GetColorTransform() const { return m_displayTransform; }
    const TRANSFORM* GetSRGBTransform() const { return m_srgbTransform; }
    // Side of a chequer square under transparent pixels, at 96 DPI; at least 1.
    void SetTransBlockSize(int size);
    int GetTransBlockSize() const { return m_transBlockSize; }
    // Paints the window again now, and the partner when a synchronisation left it due.
    void Refresh();
    // Where the last paint put the image, in window pixels, and the source rectangle it drew,
    // in the pixels of the buffer it drew from (image, zoomed cache or preview).
    QRect GetLastDrawRect() const { return m_lastDrawRect; }
    QRect GetLastSrcRect() const { return m_lastSrcRect; }

    // --- colour sampling ---------------------------------------------------------------------
    // Samples the square of `radius` (clamped to 0..MAX_GETCOLOR_RADIUS) around a window point:
    // values through the curve (the source curve with useCurve, else the display curve) and the
    // sRGB transform, rawValues as stored, in R, G, B order at the image's value scale. Both arrays
    // hold MAX_GETCOLOR_SAMPLES entries. Pixels with a fully transparent mask are skipped. Returns 0
    // without an image or for a point outside the drawn area.
    int GetColors(COLORVALS* values, COLORVALS* rawValues, int& count, int x, int y, int radius,
                  int useCurve);
    // The first sample of GetColors without curve; 0 when there is none.
    int GetColor(COLORVALS& value, COLORVALS& rawValue, int x, int y, int radius);

    // --- tags --------------------------------------------------------------------------------
    // Appends a tag to the list of its side; the image, when not null, replaces the label.
    void AddTag(int side, const QString& text, const QImage* image, int active, unsigned id);
    void ShowTags(int show);
    int AreTagsVisible() const { return m_tagsVisible ? 1 : 0; }
    void ClearTags();
    // Lays both lists out along the top edge from the window's font and client size.
    void CalcTagRects();
    size_t GetTagCount(int side) const { return m_tags[side ? 1 : 0].size(); }
    const TAGINFO* GetTag(int side, size_t index) const;
    // The clickable tag under a window point, or null.
    const TAGINFO* HitTestTag(const QPoint& point) const;

    // --- for tools working from their own threads --------------------------------------------
    // The zoomed copies; read them under the image lock once the cache is idle and not failed.
    CImageDataInfo& GetZoomedCacheImage() { return m_cacheImage; }
    CImageDataInfo& GetZoomedCacheBefore() { return m_cacheBefore; }
    // Guards the shown image and its zoomed copy against painting while a result is copied in.
    recursive_lock& GetImageLock() { return m_imageLock; }
    // Waits until no cache build is pending; returns 1 when idle, 0 on time-out (-1 waits for ever).
    int WaitZoomedCacheIdle(int timeoutMs) const { return m_cacheReady.wait(timeoutMs) == 0 ? 1 : 0; }
    // The last build failed: there is no zoomed copy to draw or work on.
    int IsZoomedCacheFailed() const { return m_cacheFailed.load() ? 1 : 0; }
    // Brings the shown result up to date now: joins a running adjusting session, else runs one
    // synchronous pass (UI thread).
    void ProcessImageNow();

    // --- the tool stack ----------------------------------------------------------------------
    void LoadTool(IImageWndTool* tool);
    void UnloadTool(IImageWndTool* tool, int redraw);
    void UnloadAllTools();
    // Index in the stack (0 is the front), -1 for null, an empty stack or a tool not loaded.
    intptr_t FindTool(IImageWndTool* tool) const;
    size_t GetToolCount() const { return m_tools.size(); }
    IImageWndTool* GetTool(size_t index) const { return index < m_tools.size() ? m_tools[index] : nullptr; }
    IImageWndTool* GetDragOwner() const { return m_dragOwner; }
    int IsDragging() const { return m_dragging ? 1 : 0; }
    int IsRDragging() const { return m_rDragging ? 1 : 0; }
    // Runs the cursor choice for the present pointer position, as a set-cursor message would.
    void UpdateCursor();

    // A tool that accepts OnSetCursor writes the cursor it wants here.
    std::optional<QCursor> m_cursor;

    // --- display geometry --------------------------------------------------------------------
    // Changes the zoom keeping the image point under `anchor` (window point; null: the client
    // centre) in place. Type scale needs a scale.
    void SetZoom(ZOOM_TYPE type, const ZOOM_SCALE* scale, const QPoint* anchor);
    // Changes the zoom and centres on an image point (null: only recomputes and repaints).
    void SetZoomCenterPoint(ZOOM_TYPE type, const ZOOM_SCALE* scale, const QPoint* imagePoint);
    // One step in (non-zero) or out on the zoom ladder.
    void Zoom(int in, const QPoint* anchor);
    void SetCenterPoint(int x, int y);
    // Scrolls; refused at fit and while driven by the partner. Returns 1 when the position changed.
    int SetDispPos(int x, int y);
    int GetDispInfo(DISPINFO& info) const;
    // Zooms to show an image rectangle; the rectangle is clipped to the image in place.
    void DisplayRect(QRect& rect);
    double CalcZoomValue(ZOOM_TYPE type, const ZOOM_SCALE* scale) const;

    void PointWnd2Image(int x, int y, TPoint<double>& out) const;
    void PointWnd2Image(double x, double y, TPoint<double>& out) const;
    void PointWnd2Image(int x, int y, QPointF& out) const;
    void PointWnd2Image(float x, float y, QPointF& out) const;
    void PointImage2Wnd(int x, int y, TPoint<double>& out) const;
    void PointImage2Wnd(double x, double y, TPoint<double>& out) const;
    void PointImage2Wnd(int x, int y, QPointF& out) const;
    void PointImage2Wnd(float x, float y, QPointF& out) const;

    void LockView(int locked);
    int IsViewLocked() const { return m_viewLocked ? 1 : 0; }
    // Pairs this window with another; with `both` the partner is paired back (or, for null,
    // released). Zoom and position changes then drive the partner.
    void SetSyncWnd(CImageWnd* other, int both);
    CImageWnd* GetSyncWnd() const { return m_syncWnd; }
    int IsSynchronizing() const { return m_synchronizing ? 1 : 0; }
    void EnableNaviCtrlNotification(int enable) { m_naviNotify = enable != 0; }
    void UpdateNaviCtrls(NAVICTRL_METHOD method);

    static QString ZoomScaleString(ZOOM_TYPE type, ZOOM_SCALE scale);

    ZOOM_TYPE GetZoomType() const { return m_zoomType; }
    ZOOM_SCALE GetZoomScale() const { return m_zoomScale; }
    double GetZoomValue() const { return m_zoomValue; }
    int IsZoomedOut() const { return m_zoomedOut ? 1 : 0; }
    TSize<int> GetZoomedSize() const { return m_zoomedSize; }
    TPoint<int> GetDispPos() const { return m_dispPos; }
    TPoint<int> GetDrawPos() const { return m_drawPos; }
    TSize<int> GetDrawSize() const { return m_drawSize; }
    QRectF GetSrcRect() const { return m_srcRect.ToQRectF(); }
    TPoint<int> GetCenterPoint() const { return m_centerPoint; }
    TPoint<int> GetCachePos() const { return m_cachePos; }
    TPoint<int> GetAutoMoveStep() const { return m_autoMoveStep; }
    // The DPI-scaled margin.
    int GetMargin() const;

protected:
    void CalcZoom();
    void CalcDrawArea();
    // Brings the shown result up to date with the before-image: one request through adjusting mode,
    // which the caller waits for while this window stays painted.
    void ProcessImage();
    // The small copy of the image shown while the zoomed cache builds, and its processing.
    void CreatePreview();
    void ProcessPreview();
    void ReleasePreview();
    // Waits until no build is pending. With `mayRequest` a cache of the wrong size is requested
    // and waited for once more. Returns IsZoomedCacheReady().
    int WaitForZoomedCache(bool mayRequest);
    // The cache thread lives from OnInitWnd to OnDestroy.
    void StartCacheThread();
    void StopCacheThread();

    intptr_t WindowProc(unsigned msg, uintptr_t wParam, intptr_t lParam) override;
    void OnInitWnd() override;
    void OnDestroy() override;
    void OnPaint(QPainter& painter, int width, int height) override;
    void OnSize(unsigned type, int cx, int cy) override;
    void OnTimer(uintptr_t id) override;
    void OnCaptureChanged(CBaseWnd* newOwner) override;
    void OnKillFocus(QWidget* newFocus) override;
    int OnSetCursor(CBaseWnd* wnd, unsigned hitTest, unsigned message) override;
    void OnLButtonDown(unsigned flags, const QPoint& point) override;
    void OnLButtonUp(unsigned flags, const QPoint& point) override;
    void OnLButtonDblClk(unsigned flags, const QPoint& point) override;
    void OnRButtonDown(unsigned flags, const QPoint& point) override;
    void OnRButtonUp(unsigned flags, const QPoint& point) override;
    void OnMouseMove(unsigned flags, const QPoint& point) override;
    void OnMouseEnter(unsigned flags, const QPoint& point) override;
    void OnMouseLeave() override;
    int OnMouseWheel(unsigned flags, short delta, const QPoint& point) override;
    void OnKeyDown(unsigned key, unsigned repeat, unsigned flags) override;
    void OnKeyUp(unsigned key, unsigned repeat, unsigned flags) override;
    void OnSysKeyDown(unsigned key, unsigned repeat, unsigned flags) override;
    void OnSysKeyUp(unsigned key, unsigned repeat, unsigned flags) override;

    // Tool walks. "All" calls every tool with the bit; "first accepting" stops at the first non-zero
    // result and returns that tool; "first with bit" calls only the first tool with the bit. A
    // handler may load or unload tools: a walk goes over the tools loaded when it began, so none is
    // called twice or skipped; one that left meanwhile is not called, one that came hears the next
    // event. All walks need an image, except the *Always form.
    template <typename F> void WalkAll(uint32_t bit, F&& call);
    template <typename F> void WalkAllAlways(uint32_t bit, F&& call);
    template <typename F> IImageWndTool* WalkFirstAccepting(uint32_t bit, F&& call);
    template <typename F> IImageWndTool* WalkFirstWithBit(uint32_t bit, F&& call, int& result);

    // Background, the image with the tools on top, the watermark hook and the tags.
    // DrawImage picks the source for the view and draws it; with `nearest` non-zero the stretch is
    // forced to nearest-neighbour sampling. Runs under m_imageLock, and under m_cacheLock
    // (taken first) when the zoomed copy is ready.
    void DrawImage(QPainter& painter, int width, int height, int nearest);
    // Converts the rectangle `src` of `image` through the curve, transform and clipping marks into
    // the display buffer, top-down. Returns the buffer's stride in bytes; 0 on failure.
    int TransImageForDisplay(const QRect& src, const CImageDataInfo& image, const TRANSFORM* transform,
                             unsigned clipping);
    void PaintTags(QPainter& painter);
    // Whether a tag that shows only under the pointer is on show now.
    bool TagShows(const TAGINFO& tag) const;
    bool HasActiveTags() const;

    // Invalidate and paint now, when the window exists and shows.
    void RepaintNow();
    // Paints the partner when it has repainting due from a synchronisation.
    void FlushSyncPartner();
    // Sends WM_NOTIFY with a point payload to the parent.
    void NotifyParentPoint(unsigned code, const QPoint& point);

    // Image references, none owned.
    CImageDataInfo* m_image = nullptr;
    const CImageDataInfo* m_beforeImage = nullptr;
    const CImageDataInfo* m_dispBeforeImage = nullptr;
    const CImageDataInfo* m_transMask = nullptr;
    TSize<int> m_imageSize;
    int m_priority = PRIORITY_NORMAL;
    bool m_adjusting = false;
    // Read by the cache thread when it decides between a repaint and processing after a build.
    std::atomic<bool> m_showingBefore{false};
    bool m_beforeByKey = false;

    // Hooks.
    std::atomic<PROCESSIMAGE_FUNC> m_processImageFunc{nullptr};
    std::atomic<ZOOMCONTENT_FUNC> m_zoomContentFunc{nullptr};
    PROCESSEXTEND_FUNC m_processExtendFunc = nullptr;
    DRAWSUKASHI_FUNC m_drawSukashiFunc = nullptr;
    mutable std::mutex m_linearParamsLock;
    LINEAR_IMAGE_PARAMS m_linearParams;

    // Owned buffers of the pipeline. The preview belongs to the UI thread.
    // Held by whichever pass fills m_adjustBuffer: a synchronous request and the adjust thread's.
    std::recursive_mutex m_adjustRunLock;
    CImageDataInfo m_adjustBuffer;
    int m_adjustX = 0;
    int m_adjustY = 0;
    CImageDataInfo m_preview;
    CImageDataInfo m_previewBefore;
    CImageDataInfo m_previewMask;
    double m_previewScale = 1.0;
    bool m_processingPreview = false;

    // Guards m_image and m_cacheImage against painting while a result is copied in.
    recursive_lock m_imageLock;
    // Held by the adjust thread for its whole life.
    recursive_lock m_adjustLock;
    std::unique_ptr<CWorkerThread> m_adjustThread;
    GS_THREAD::message_queue m_adjustQueue;
    // What the adjust thread works with, fixed when adjusting mode begins.
    struct ADJUST_JOB {
        bool zoomedOut = false;
        double zoom = 1.0;
        const CImageDataInfo* source = nullptr;     // before-image or its zoomed copy
        const CImageDataInfo* fullSource = nullptr; // the before-image
        CImageDataInfo* target = nullptr;           // m_image or m_cacheImage
    } m_adjustJob;
    // Set by the adjust thread when a result is in; the waiting UI thread repaints.
    std::atomic<bool> m_adjustRedrawDue{false};

    // The zoomed cache: copies at exactly the zoomed size, built by the cache thread under m_cacheLock.
    CImageDataInfo m_cacheImage;
    CImageDataInfo m_cacheBefore;
    CImageDataInfo m_cacheDispBefore;
    CImageDataInfo m_cacheMask;
    recursive_lock m_cacheLock;
    std::unique_ptr<CWorkerThread> m_cacheThread;
    GS_THREAD::message_queue m_cacheQueue;
    // Set when no build is pending: the last request ended, failed or was cancelled. Cleared only
    // by the UI thread together with posting a build, so every waiter is released.
    mutable event_signal m_cacheReady{true, true};
    // Makes "clear and post" on the UI thread and "drain and set" on the cache thread atomic.
    std::mutex m_cacheStateLock;
    std::atomic<bool> m_cacheFailed{false};
    // Size of the last complete build; 0 while the buffers are being rewritten or released.
    std::atomic<int> m_cacheWidth{0};
    std::atomic<int> m_cacheHeight{0};
    std::atomic<unsigned> m_cacheBuildCount{0};
    // A build finished that waits for its processing pass: painting keeps the processed preview
    // until that pass has run, so the unprocessed copy never shows.
    std::atomic<bool> m_cacheAwaitingProcess{false};

    // The 32-bit display bitmap that painting converts into; reused between paints, only grows.
    sse_array<unsigned char> m_displayBuffer;
    int m_displayWidth = 0;
    int m_displayHeight = 0;
    int m_displayStride = 0;
    unsigned m_clippingWarning = 0;
    const TRANSFORM* m_displayTransform = nullptr;
    const TRANSFORM* m_srgbTransform = nullptr;
    int m_transBlockSize = 8;
    QRect m_lastDrawRect;
    QRect m_lastSrcRect;

    // Tags: [0] the right list, [1] the left list.
    std::vector<TAGINFO> m_tags[2];
    bool m_tagsVisible = true;
    // A press that landed on a clickable tag: its release is swallowed too.
    bool m_tagPressed = false;

    // Taken by the UI thread when it changes the tool list and by the adjust thread around its
    // OnPostProcessImage walk, so that an unloaded tool is no longer called from there.
    std::mutex m_toolListLock;

    // Tool stack and press state.
    std::vector<IImageWndTool*> m_tools;
    IImageWndTool* m_dragOwner = nullptr;
    QPoint m_downPoint;
    bool m_lButtonDown = false;
    bool m_rButtonDown = false;
    bool m_dblClicked = false;
    bool m_dragging = false;
    bool m_rDragging = false;
    int64_t m_lButtonDownTick = 0;
    int64_t m_rButtonDownTick = 0;

    // Geometry.
    ZOOM_TYPE m_zoomType = ZOOM_TYPE_FIT;
    ZOOM_TYPE m_prevZoomType = ZOOM_TYPE_FIT;
    ZOOM_SCALE m_zoomScale = ZOOM_SCALE_2_1;
    double m_zoomValue = 1.0;
    double m_prevZoomValue = 1.0;
    bool m_settingZoom = false;
    bool m_zoomedOut = false;
    TSize<int> m_zoomedSize;
    TPoint<int> m_dispPos;
    TPoint<int> m_drawPos;
    TSize<int> m_drawSize;
    FLOATRECT m_srcRect;
    TPoint<int> m_cachePos;
    TPoint<int> m_centerPoint;
    bool m_viewLocked = false;
    TPoint<int> m_autoMoveStep;
    CImageWnd* m_syncWnd = nullptr;
    bool m_syncGuard = false;
    bool m_synchronizing = false;
    bool m_syncPending = false;
    bool m_naviNotify = true;

private:
    struct ZOOMCACHE_REQUEST;
    enum class BuildResult { Done, Failed, Restart, Quit };

    void ResetGeometry();
    // Pipeline helpers.
    void ComputeAdjustRect();
    void StartAdjustThread();
    void AdjustThreadLoop();
    void RunAdjustRequest();
    void RunAdjustSync();
    // One synchronous pass over the working rectangle into the job's target; m_adjustRunLock held.
    void ProcessAdjustBuffer(const ADJUST_JOB& job);
    // Calls the process function, or asks the parent with NM_IMGWND_PROCESSIMAGE without one.
    void RequestProcessing(CImageDataInfo& dst, const CImageDataInfo& src, const CImageDataInfo* fullSource,
                           double zoom, int x, int y);
    // The OnPostProcessImage walk from the adjust thread, over the tools loaded at its start.
    void WalkPostProcessFromThread(CImageDataInfo& dst, const CImageDataInfo& src, int x, int y);
    // Cache helpers.
    void CacheThreadLoop();
    BuildResult BuildZoomedCache(const ZOOMCACHE_REQUEST& request);
    BuildResult CacheCheckpoint();

    // The steps of a lost capture: buttons up, drags ended, tools told.
    void OnCaptureLost(CBaseWnd* newOwner);
    // A press on a clickable tag goes to the parent; true when the point held one.
    bool PressTag(const QPoint& point);
    void AutoMove(const QPoint& point);
    // One step of the auto-move; false when the scroll range left the position as it was.
    bool StepAutoMove();
    void OnAutoMoveTimer();
    void StopAutoMove();
    bool AnyAutoMoveTool() const;
    // Releases the capture after a drag unless the tool kept it or Space holds the before view.
    void EndDragCapture(int releaseCapture);
};

// --- tool walks ------------------------------------------------------------------------------

template <typename F> void CImageWnd::WalkAll(uint32_t bit, F&& call) {
    if (HasImage())
        WalkAllAlways(bit, call);
}

template <typename F> void CImageWnd::WalkAllAlways(uint32_t bit, F&& call) {
    const std::vector<IImageWndTool*> tools = m_tools;
    for (IImageWndTool* tool : tools) {
        if (FindTool(tool) >= 0 && (tool->GetEventMask() & bit))
            call(tool);
    }
}

template <typename F> IImageWndTool* CImageWnd::WalkFirstAccepting(uint32_t bit, F&& call) {
    if (!HasImage())
        return nullptr;
    const std::vector<IImageWndTool*> tools = m_tools;
    for (IImageWndTool* tool : tools) {
        if (FindTool(tool) >= 0 && (tool->GetEventMask() & bit) && call(tool))
            return tool;
    }
    return nullptr;
}

template <typename F> IImageWndTool* CImageWnd::WalkFirstWithBit(uint32_t bit, F&& call, int& result) {
    result = 0;
    if (!HasImage())
        return nullptr;
    for (IImageWndTool* tool : m_tools) {
        if (tool->GetEventMask() & bit) {
            result = call(tool);
            return tool;
        }
    }
    return nullptr;
}

} // namespace KELCTRL
