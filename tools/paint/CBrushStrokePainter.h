#pragma once
// The painting side of a brush stroke, free of any window: its thread takes the screen points that
// the mouse tracker records, batches them (five points or 101 ms, the first point at once), walks
// them at single-pixel steps, lays a dab every quarter of the outer radius or after as many steps,
// paints the canvas masks and hands the dirty rectangle to its host.
#include "common/MouseTracker.h"
#include "common/ValueTypes.h"
#include "common/event_signal.h"
#include "tools/paint/CANVASDATA.h"
#include "tools/paint/CBrush.h"
#include "tools/paint/CBrushMaskBuilder.h"
#include "tools/paint/IBrushStrokeHost.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

namespace KELCTRL {
namespace IMGWND_TOOL {

// What a stroke paints with; fixed for the length of one stroke.
struct STROKE_SETTINGS {
    int mode = CBrush::MODE_PAINT;
    int opacity = 100;
    int autoMask = 0;        // gather the colour range under the stroke
    double imageOuter = 1.0; // outer radius in image pixels: dabs fall every quarter of it
    int dirtyMargin = 0;     // grows the refreshed rectangle on every side
};

class CBrushStrokePainter {
public:
    static constexpr int kBatchPoints = 5;
    static constexpr int kBatchMs = 101;
    static constexpr int kPollMs = 10;
    static constexpr int kIdlePollMs = 200;

    CBrushStrokePainter(GS_INPUT::MouseTracker& tracker, CBrushMaskBuilder& masks, IBrushStrokeHost& host);
    ~CBrushStrokePainter();
    CBrushStrokePainter(const CBrushStrokePainter&) = delete;
    CBrushStrokePainter& operator=(const CBrushStrokePainter&) = delete;

    // The painting thread. StopThread ends a running stroke first.
    bool StartThread();
    void StopThread();

    // Interface thread. Starts a stroke on the canvas at a screen point; 0 when a stroke runs already
    // or the canvas has no usable region.
    int StartStroke(CANVASDATA* canvas, const STROKE_SETTINGS& settings, TPoint<int> screenPoint);
    // Between strokes: the canvas and settings that ProcessTrack and ProcessSpline paint with, and a
    // fresh start (no last point, no steps, an empty colour range). StartStroke does this first.
    int PrepareStroke(CANVASDATA* canvas, const STROKE_SETTINGS& settings);
    // Interface thread. Ends the stroke and waits until every recorded point is painted, calling pump
    // every 10 ms meanwhile so that the caller can serve repaint requests. Returns at once when no
    // stroke runs.
    void EndStroke(const std::function<void()>& pump);
    int IsPainting() const { return m_painting.load() ? 1 : 0; }

    // Dabs laid since construction (read from any thread).
    uint64_t GetDabCount() const { return m_dabCount.load(); }
    // Signalled whenever a batch of dabs has been handed to the host.
    basic_signal& BatchDone() { return m_batchDone; }

    // Painting thread (or a test, between strokes): a track of screen points to steps, and steps to
    // dabs. ProcessTrack needs 2 points, or 1 after an earlier batch; it returns 1.
    int ProcessTrack(std::vector<TPoint<int>>& track);
    void ProcessSpline(const TPoint<int>* points, size_t count);

private:
    void Main();
    void RunStroke();
    void Flush(std::vector<TPoint<int>>& track);
    void GatherColor(const VIEW_GEOMETRY& geo, TPoint<int> p, bool useCache);
    void ResetStatusInfo();
    void Refresh(const VIEW_GEOMETRY& geo, bool useCache, const IntRect& dirty, const IntRect& zoomedDirty);
    static int64_t NowMs();

    GS_INPUT::MouseTracker& m_tracker;
    CBrushMaskBuilder& m_masks;
    IBrushStrokeHost& m_host;

    // Set by the interface thread between strokes, read by the painting thread during one.
    CANVASDATA* m_canvas = nullptr;
    STROKE_SETTINGS m_settings;
    // Owned by the painting thread during a stroke, by the interface thread between strokes.
    TPoint<int> m_lastPoint = TPoint<int>::Invalid();
    int m_stepCount = 0;
    INT4 m_colorMin{};
    INT4 m_colorMax{};

    std::atomic<bool> m_painting{false};
    std::atomic<uint64_t> m_dabCount{0};
    event_signal m_startEvent, m_startedEvent, m_endEvent, m_doneEvent, m_stopEvent, m_stoppedEvent;
    event_signal m_batchDone{false};
    std::thread m_thread;
};

} // namespace IMGWND_TOOL
} // namespace KELCTRL
