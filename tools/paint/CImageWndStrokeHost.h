#pragma once
// The stroke host over a real image window. The interface thread takes a snapshot of what the
// painting thread needs (view geometry, the images, the lookup table) at every view change and at
// stroke start; the painting thread reads only that snapshot, reprocesses the dirty rectangle under
// the window's image lock and posts a repaint request. The window outlives every stroke: the tool
// ends its stroke before it lets go of the window.
#include "tools/paint/IBrushStrokeHost.h"

#include <atomic>
#include <functional>
#include <mutex>

namespace KELCTRL {

class CImageWnd;

namespace IMGWND_TOOL {

class CImageWndStrokeHost : public IBrushStrokeHost {
public:
    // Fills `temp` (already holding the source pixels at x, y) from the canvas mask; runs on the
    // painting thread inside the window's image lock.
    using PROCESS_FUNC = std::function<void(CImageDataInfo& temp, const CImageDataInfo& source,
                                            const CSelectedRegion& canvas, int x, int y)>;

    // What the painting thread may read of the window.
    struct SNAPSHOT {
        VIEW_GEOMETRY geometry;
        const CImageDataInfo* source = nullptr;      // before-image, or the image without one
        CImageDataInfo* display = nullptr;           // the image on show
        const CImageDataInfo* cacheSource = nullptr; // zoomed copy of the source (zoomed out only)
        CImageDataInfo* cacheDisplay = nullptr;      // zoomed copy of the image on show
        const unsigned short* lut = nullptr;
        int hasBefore = 0;
    };

    // Interface thread.
    void Attach(CImageWnd* wnd);
    void Detach();
    CImageWnd* GetWnd() const { return m_wnd; }
    // Reads the window again; call after every change of zoom, position, image or window place.
    void Update();
    void SetProcess(PROCESS_FUNC process);
    // True once after a refresh wrote new pixels: the caller paints the window now.
    bool TakeRedrawDue() { return m_redrawDue.exchange(false); }

    // Any thread.
    SNAPSHOT Snapshot() const;

    // IBrushStrokeHost, painting thread.
    VIEW_GEOMETRY GetViewGeometry() override;
    const CImageDataInfo* GetSourceImage() override;
    const CImageDataInfo* GetZoomedCache() override;
    const unsigned short* GetLookupTable() override;
    int WaitZoomedCacheReady(basic_signal& abort) override;
    void RefreshRect(const IntRect& rect, int zoomed, const CSelectedRegion& canvas) override;

    // How many refreshes ran the process function (read from any thread).
    unsigned GetProcessCount() const { return m_processCount.load(); }

private:
    static constexpr int kWaitSliceMs = 10;

    CImageWnd* m_wnd = nullptr;
    mutable std::mutex m_lock; // guards the snapshot and the process function
    SNAPSHOT m_snapshot;
    PROCESS_FUNC m_process;
    std::atomic<bool> m_redrawDue{false};
    std::atomic<unsigned> m_processCount{0};
};

} // namespace IMGWND_TOOL
} // namespace KELCTRL
