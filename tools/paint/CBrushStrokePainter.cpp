#include "tools/paint/CBrushStrokePainter.h"

#include "common/AltSignalStack.h"
#include "common/CFunctionTimeCost.h"
#include "imageprocess/BrushPaint.h"

#include <algorithm>
#include <chrono>

namespace KELCTRL {
namespace IMGWND_TOOL {

namespace {

IntRect United(const IntRect& a, const IntRect& b) {
    if (a.IsEmpty())
        return b;
    if (b.IsEmpty())
        return a;
    const int l = std::min(a.x, b.x), t = std::min(a.y, b.y);
    const int r = std::max(a.Right(), b.Right()), btm = std::max(a.Bottom(), b.Bottom());
    return IntRect{l, t, r - l, btm - t};
}

TPoint<int> Clamped(TPoint<int> p, const CImageDataInfo& image) {
    return TPoint<int>(std::clamp(p.x, 0, image.width - 1), std::clamp(p.y, 0, image.height - 1));
}

void PlaceAt(CSelectedRegion& mask, TPoint<int> centre) {
    mask.x = centre.x - (mask.width - 1) / 2;
    mask.y = centre.y - (mask.height - 1) / 2;
}

} // namespace

CBrushStrokePainter::CBrushStrokePainter(GS_INPUT::MouseTracker& tracker, CBrushMaskBuilder& masks,
                                         IBrushStrokeHost& host)
    : m_tracker(tracker), m_masks(masks), m_host(host) {
    ImageProcess::ResetBrushColorRange(m_colorMin, m_colorMax);
}

CBrushStrokePainter::~CBrushStrokePainter() {
    StopThread();
}

int64_t CBrushStrokePainter::NowMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

bool CBrushStrokePainter::StartThread() {
    if (m_thread.joinable())
        return true;
    m_stopEvent.reset();
    m_stoppedEvent.reset();
    try {
        m_thread = std::thread(&CBrushStrokePainter::Main, this);
    } catch (...) {
        return false;
    }
    return true;
}

void CBrushStrokePainter::StopThread() {
    if (!m_thread.joinable())
        return;
    m_stopEvent.set();
    m_thread.join();
    if (m_painting.load())
        m_tracker.StopTracking();
    m_painting.store(false);
}

void CBrushStrokePainter::ResetStatusInfo() {
    m_stepCount = 0;
    if (m_settings.autoMask)
        ImageProcess::ResetBrushColorRange(m_colorMin, m_colorMax);
}

int CBrushStrokePainter::PrepareStroke(CANVASDATA* canvas, const STROKE_SETTINGS& settings) {
    if (m_painting.load() || !canvas || !canvas->region.IsUsable() || canvas->region.data.empty())
        return 0;
    m_canvas = canvas;
    m_settings = settings;
    m_lastPoint = TPoint<int>::Invalid();
    ResetStatusInfo();
    return 1;
}

int CBrushStrokePainter::StartStroke(CANVASDATA* canvas, const STROKE_SETTINGS& settings,
                                     TPoint<int> screenPoint) {
    if (!PrepareStroke(canvas, settings))
        return 0;
    m_tracker.Start(screenPoint.x, screenPoint.y, 0);
    m_painting.store(true);
    canvas->painted = 1;
    m_startedEvent.reset();
    m_endEvent.reset();
    m_startEvent.set();
    return 1;
}

void CBrushStrokePainter::EndStroke(const std::function<void()>& pump) {
    if (!m_painting.load())
        return;
    // As the button release does; every move fed before now is recorded when this returns.
    m_tracker.StopTracking();
    // The thread may not have picked the stroke up yet; a thread that has ended never will.
    while (m_startedEvent.wait(kPollMs) != 0) {
        if (!m_thread.joinable() || m_stoppedEvent.is_set())
            break;
    }
    m_endEvent.set();
    while (m_doneEvent.wait(kPollMs) != 0) {
        if (!m_thread.joinable() || m_stoppedEvent.is_set())
            break;
        if (pump)
            pump();
    }
    m_painting.store(false);
}

void CBrushStrokePainter::Main() {
    GS_THREAD::EnsureAltSignalStack();
    for (;;) {
        if (m_stopEvent.is_set())
            break;
        // Waiting on the start event itself keeps a new stroke's first dab prompt; the stop request
        // is still looked at every 200 ms.
        if (m_startEvent.wait(kIdlePollMs) != 0)
            continue;
        RunStroke();
    }
    m_stoppedEvent.set();
}

void CBrushStrokePainter::RunStroke() {
    m_startEvent.reset();
    m_doneEvent.reset();
    m_startedEvent.set();
    std::lock_guard<std::mutex> stroke(m_masks.StrokeLock());
    if (m_host.GetViewGeometry().zoomedCache)
        m_host.WaitZoomedCacheReady(m_stopEvent);

    std::vector<TPoint<int>> track;
    int64_t lastFlush = NowMs();
    while (m_endEvent.wait(kPollMs) != 0 && !m_stopEvent.is_set()) {
        m_tracker.TakePoints(track);
        if (track.empty())
            continue;
        // Batches: a slow stroke still flushes about ten times a second, a fast one every five
        // points; the first point of a stroke is never held back.
        if (m_lastPoint.IsValid() && track.size() < static_cast<size_t>(kBatchPoints) &&
            NowMs() - lastFlush < kBatchMs)
            continue;
        Flush(track);
        lastFlush = NowMs();
    }
    m_tracker.TakePoints(track);
    if (!track.empty())
        Flush(track);
    m_doneEvent.set();
}

void CBrushStrokePainter::Flush(std::vector<TPoint<int>>& track) {
    if (track.size() == 1 && !m_lastPoint.IsValid())
        ProcessSpline(track.data(), 1); // a plain click: one dab
    else
        ProcessTrack(track);
    m_lastPoint = track.back();
    track.clear();
}

int CBrushStrokePainter::ProcessTrack(std::vector<TPoint<int>>& track) {
    const bool fromLast = m_lastPoint.IsValid();
    if (track.size() < 2 && !(track.size() == 1 && fromLast))
        return 1;
    // A polyline at single-pixel steps; no curve is fitted.
    std::vector<TPoint<int>> steps;
    TPoint<int> from = fromLast ? m_lastPoint : track.front();
    for (size_t i = fromLast ? 0 : 1; i < track.size(); ++i) {
        ImageProcess::AppendBrushLine(from, track[i], steps);
        from = track[i];
    }
    ProcessSpline(steps.data(), steps.size());
    return 1;
}

void CBrushStrokePainter::GatherColor(const VIEW_GEOMETRY& geo, TPoint<int> p, bool useCache) {
    const CImageDataInfo* image = useCache ? m_host.GetZoomedCache() : m_host.GetSourceImage();
    if (!image || !image->IsValid())
        return;
    const TPoint<int> at = Clamped(useCache ? geo.ImageToZoomed(p) : p, *image);
    ImageProcess::BRUSH_YCC c;
    if (ImageProcess::ReadBrushYCbCr(*image, at.x, at.y, m_host.GetLookupTable(), c))
        ImageProcess::WidenBrushColorRange(m_colorMin, m_colorMax, c);
}

void CBrushStrokePainter::ProcessSpline(const TPoint<int>* points, size_t count) {
    CFunctionTimeCost timeCost("KELCTRL::IMGWND_TOOL::CBrushTool::ProcessSpline");
    if (!m_canvas || !points || count == 0)
        return;
    const VIEW_GEOMETRY geo = m_host.GetViewGeometry();
    const CImageDataInfo* source = m_host.GetSourceImage();
    const CImageDataInfo* cache = geo.zoomedCache ? m_host.GetZoomedCache() : nullptr;
    const bool useCache = cache != nullptr;
    const unsigned short* lut = m_host.GetLookupTable();
    const double stepScale = useCache ? 1.0 / geo.zoom : 1.0;
    const double spacing = m_settings.imageOuter * 0.25;
    const bool gather = m_settings.autoMask != 0;
    const auto mode = static_cast<ImageProcess::BRUSH_MODE>(m_settings.mode);
    CSelectedRegion& brush = m_masks.BrushRegion();
    CSelectedRegion& zoomedBrush = m_masks.ZoomedBrushRegion();

    TPoint<int> dabPoint = m_lastPoint.IsValid() ? geo.ScreenToImage(m_lastPoint) : TPoint<int>::Invalid();
    IntRect dirty, zoomedDirty;
    for (size_t i = 0; i < count; ++i) {
        const TPoint<int> p = geo.ScreenToImage(points[i]);
        ++m_stepCount;
        if (gather)
            GatherColor(geo, p, useCache);
        bool dab = !dabPoint.IsValid() || spacing <= m_stepCount * stepScale;
        if (!dab) {
            const double dx = static_cast<double>(p.x) - dabPoint.x,
                         dy = static_cast<double>(p.y) - dabPoint.y;
            dab = spacing * spacing <= dx * dx + dy * dy;
        }
        if (!dab)
            continue;
        dabPoint = p;
        const INT4* lo = gather ? &m_colorMin : nullptr;
        const INT4* hi = gather ? &m_colorMax : nullptr;
        PlaceAt(brush, p);
        ImageProcess::PaintRegion(m_canvas->region, brush, mode, m_settings.opacity, source, lut, lo, hi);
        dirty = United(dirty, brush.Rect());
        if (useCache) {
            PlaceAt(zoomedBrush, geo.ImageToZoomed(p));
            ImageProcess::PaintRegion(m_canvas->zoomedRegion, zoomedBrush, mode, m_settings.opacity, cache,
                                      lut, lo, hi);
        } else {
            zoomedBrush.x = brush.x;
            zoomedBrush.y = brush.y;
        }
        zoomedDirty = United(zoomedDirty, zoomedBrush.Rect());
        m_dabCount.fetch_add(1);
        m_stepCount = 0;
        if (gather)
            ImageProcess::ResetBrushColorRange(m_colorMin, m_colorMax);
    }
    Refresh(geo, useCache, dirty, zoomedDirty);
}

void CBrushStrokePainter::Refresh(const VIEW_GEOMETRY& geo, bool useCache, const IntRect& dirty,
                                  const IntRect& zoomedDirty) {
    IntRect rect = useCache ? zoomedDirty : dirty;
    const CImageDataInfo* image = useCache ? m_host.GetZoomedCache() : m_host.GetSourceImage();
    if (!rect.IsEmpty() && image) {
        const int m = m_settings.dirtyMargin;
        rect = IntRect{rect.x - m, rect.y - m, rect.width + 2 * m, rect.height + 2 * m};
        rect = rect.Intersected(geo.VisibleRect(useCache ? 1 : 0))
                   .Intersected(IntRect{0, 0, image->width, image->height});
    } else {
        rect = IntRect{};
    }
    m_host.RefreshRect(rect, useCache ? 1 : 0, useCache ? m_canvas->zoomedRegion : m_canvas->region);
    m_batchDone.set();
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
