#pragma once
// Rebuilds the two brush masks (image scale and display scale) on its own thread whenever size,
// feather or flow change. It holds the stroke lock while it rebuilds, so masks never change under a
// stroke, and a stroke that starts during a rebuild waits for it. A burst of changes is served by one
// hold of the lock.
#include "common/CSelectedRegion.h"
#include "common/event_signal.h"

#include <mutex>
#include <thread>

namespace KELCTRL {
namespace IMGWND_TOOL {

struct BRUSH_MASK_PARAMS {
    double inner = 0.0;
    double outer = 0.0;
    int flow = 0;
    bool operator==(const BRUSH_MASK_PARAMS&) const = default;
};

class CBrushMaskBuilder {
public:
    CBrushMaskBuilder() = default;
    ~CBrushMaskBuilder();
    CBrushMaskBuilder(const CBrushMaskBuilder&) = delete;
    CBrushMaskBuilder& operator=(const CBrushMaskBuilder&) = delete;

    // Starts the mask thread (at a lowered priority). False when it cannot start.
    bool Run();
    // Ends the thread and waits for it.
    void Quit();
    int IsRunning() const;

    // Asks for masks of these parameters; the thread picks them up within its poll interval.
    void SetWanted(const BRUSH_MASK_PARAMS& image, const BRUSH_MASK_PARAMS& display);
    // Waits up to timeoutMs (negative: until the thread ends) until the wanted masks are installed.
    // Returns 1 when they are, 0 otherwise.
    int WaitBuilt(int timeoutMs);

    // The lock a stroke holds; the masks below may be read and moved only while holding it.
    std::mutex& StrokeLock() { return m_strokeLock; }
    CSelectedRegion& BrushRegion() { return m_brushRegion; }
    CSelectedRegion& ZoomedBrushRegion() { return m_zoomedBrushRegion; }

private:
    static constexpr int kPollMs = 50;
    void Main();
    void Build(const BRUSH_MASK_PARAMS& image, const BRUSH_MASK_PARAMS& display);

    std::mutex m_strokeLock;
    std::mutex m_maskParamLock; // guards the wanted parameters
    BRUSH_MASK_PARAMS m_wantedImage;
    BRUSH_MASK_PARAMS m_wantedDisplay;
    // Built parameters and masks belong to the mask thread, and to whoever holds the stroke lock.
    BRUSH_MASK_PARAMS m_builtImage;
    BRUSH_MASK_PARAMS m_builtDisplay;
    CSelectedRegion m_brushRegion;
    CSelectedRegion m_zoomedBrushRegion;

    event_signal m_wantedChanged{false}; // auto-reset: wakes the thread at once
    event_signal m_built;                // manual: the wanted masks are installed
    event_signal m_stopMasks;
    mutable event_signal m_stopped;
    std::thread m_thread;
};

} // namespace IMGWND_TOOL
} // namespace KELCTRL
