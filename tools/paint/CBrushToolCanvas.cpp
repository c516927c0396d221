// CBrushTool: canvases, the window's processing of the dirty rectangle and of finished images.
#include "imageprocess/ImageProcess.h"
#include "imagewnd/CImageWnd.h"
#include "tools/paint/CBrushTool.h"

namespace KELCTRL {
namespace IMGWND_TOOL {

namespace {

bool HasPixels(const CSelectedRegion& region) {
    return region.IsUsable() && !region.data.empty();
}

} // namespace

void CBrushTool::SetProcessCallback(PROCESS_CALLBACK callback) {
    m_processCallback = callback;
}

int CBrushTool::IsPainted() const {
    return m_currentCanvas < m_canvases.size() ? m_canvases[m_currentCanvas].painted : 0;
}

int CBrushTool::GetCurrentCanvasIndex() const {
    return static_cast<int>(m_currentCanvas);
}

void CBrushTool::SelectCanvas(int index) {
    if (m_painting)
        return;
    if (index >= 0 && static_cast<size_t>(index) < m_canvases.size())
        m_currentCanvas = static_cast<size_t>(index);
    ProcessWindowImage();
}

CSelectedRegion* CBrushTool::GetCanvas(int zoomed, int index) {
    const size_t i = index < 0 ? m_currentCanvas : static_cast<size_t>(index);
    if (i >= m_canvases.size())
        return nullptr;
    CSelectedRegion& region = zoomed ? m_canvases[i].zoomedRegion : m_canvases[i].region;
    return HasPixels(region) ? &region : nullptr;
}

const CSelectedRegion* CBrushTool::GetSrcCanvas(int index) const {
    const size_t i = index < 0 ? m_currentCanvas : static_cast<size_t>(index);
    return i < m_canvases.size() ? m_canvases[i].srcRegion : nullptr;
}

void CBrushTool::SetCanvas(const CSelectedRegion* region, int refresh) {
    if (m_painting || m_currentCanvas >= m_canvases.size())
        return;
    CANVASDATA& canvas = m_canvases[m_currentCanvas];
    CImageWnd* wnd = Wnd();
    const TSize<int> size = wnd && wnd->HasImage() ? wnd->GetImageSize() : TSize<int>();
    const IntRect imageRect{0, 0, size.width, size.height};
    const bool usable = region && HasPixels(*region);
    if (usable && region->Rect() == imageRect) {
        canvas.region = *region;
        canvas.srcRegion = region;
    } else if (usable && canvas.region.Create(size.width, size.height, 0)) {
        canvas.region.x = canvas.region.y = 0;
        ImageProcess::CopyRegion(canvas.region, *region);
        canvas.srcRegion = region;
    } else {
        if (!canvas.region.Create(size.width, size.height, 0))
            canvas.region.Release();
        canvas.srcRegion = nullptr;
    }
    canvas.region.x = canvas.region.y = 0;
    RebuildZoomedRegion(canvas);
    if (refresh)
        ProcessWindowImage();
}

void CBrushTool::ModifyCanvas(const CSelectedRegion* region, int refresh) {
    if (m_painting || m_currentCanvas >= m_canvases.size())
        return;
    const CSelectedRegion* former = m_canvases[m_currentCanvas].srcRegion;
    SetCanvas(region, 0);
    CANVASDATA& canvas = m_canvases[m_currentCanvas];
    canvas.srcRegion = former;
    if (former)
        canvas.painted = 1;
    if (refresh)
        ProcessWindowImage();
}

void CBrushTool::SwapCanvas(CSelectedRegion* region, int refresh) {
    if (m_painting || !region || m_currentCanvas >= m_canvases.size())
        return;
    CANVASDATA& canvas = m_canvases[m_currentCanvas];
    // Only buffers of one size can change hands.
    if (!HasPixels(*region) || !HasPixels(canvas.region) || region->width != canvas.region.width ||
        region->height != canvas.region.height)
        return;
    region->data.swap(canvas.region.data);
    RebuildZoomedRegion(canvas);
    if (refresh)
        ProcessWindowImage();
}

void CBrushTool::Reset() {
    if (m_painting || m_currentCanvas >= m_canvases.size())
        return;
    CANVASDATA& canvas = m_canvases[m_currentCanvas];
    CImageWnd* wnd = Wnd();
    const TSize<int> size = wnd ? wnd->GetImageSize() : TSize<int>();
    const bool fits = canvas.region.width == size.width && canvas.region.height == size.height;
    if (!canvas.painted && HasPixels(canvas.region) && fits)
        return;
    canvas.painted = 0;
    SetCanvas(canvas.srcRegion, 1);
}

void CBrushTool::ResetCanvas(CANVASDATA& canvas, int) {
    canvas.painted = 0;
    canvas.zoomedRegion.Release();
    if (canvas.srcRegion && HasPixels(*canvas.srcRegion)) {
        canvas.region = *canvas.srcRegion;
        canvas.region.x = canvas.region.y = 0;
    } else {
        canvas.region.Release();
    }
}

void CBrushTool::RebuildZoomedRegion(CANVASDATA& canvas) {
    CImageWnd* wnd = Wnd();
    if (wnd && wnd->IsZoomedOut() && HasPixels(canvas.region) &&
        ImageProcess::ResizeRegion(canvas.region, canvas.zoomedRegion, wnd->GetZoomValue(),
                                   ImageProcess::RESIZE_AUTO, nullptr)) {
        canvas.zoomedRegion.x = canvas.zoomedRegion.y = 0;
        return;
    }
    canvas.zoomedRegion.Release();
}

// --- processing -----------------------------------------------------------------------------------

void CBrushTool::ProcessWindowImage() {
    CImageWnd* wnd = Wnd();
    if (!wnd)
        return;
    if (!wnd->GetImage() || !wnd->GetBeforeImage()) {
        wnd->Redraw(nullptr, 1);
        return;
    }
    // Inside the host's own session the request joins its queue; otherwise one synchronous pass.
    if (wnd->IsAdjustingMode()) {
        wnd->AdjustImage(1);
        return;
    }
    wnd->EnterAdjustingMode();
    if (!wnd->IsAdjustingMode())
        return;
    wnd->AdjustImage(0);
    wnd->ExitAdjustingMode();
}

void CBrushTool::RunProcess(CImageDataInfo& temp, const CImageDataInfo& source, const CSelectedRegion& canvas,
                            int x, int y) {
    const PROCESS_CALLBACK callback = m_processCallback;
    if (!callback)
        return;
    // The mask lies at (0, 0) over the image it covers, as in a pass of the window; the callback
    // offsets by (x, y). Nothing moves it: the window's passes read the same record meanwhile.
    callback(this, temp, source, const_cast<CSelectedRegion*>(&canvas), x, y);
}

void CBrushTool::DefaultProcess(const CBrushTool* tool, CImageDataInfo& out, const CImageDataInfo& in,
                                CSelectedRegion*, int x, int y) {
    if (!tool)
        return;
    CImageWnd* wnd = tool->m_host.GetWnd();
    const CImageWnd::PROCESSIMAGE_FUNC func = wnd ? wnd->GetProcessImageFunc() : nullptr;
    if (!func)
        return;
    const CImageWndStrokeHost::SNAPSHOT s = tool->m_host.Snapshot();
    const bool zoomed = s.geometry.zoomedCache && &in == s.cacheSource;
    func(wnd, out, in, zoomed ? s.geometry.zoom : 1.0, x, y, zoomed ? s.source : nullptr);
}

void CBrushTool::OnPostProcessImage(CImageDataInfo& out, const CImageDataInfo& in, int x, int y) {
    const PROCESS_CALLBACK callback = m_processCallback;
    if (!callback || callback == &CBrushTool::DefaultProcess || !m_postProcessEnabled ||
        m_currentCanvas >= m_canvases.size())
        return;
    CANVASDATA& canvas = m_canvases[m_currentCanvas];
    if (!canvas.painted && !canvas.srcRegion)
        return;
    CSelectedRegion& mask = m_host.Snapshot().geometry.zoomedCache ? canvas.zoomedRegion : canvas.region;
    if (!HasPixels(mask))
        return;
    // Shared with the painting refresh of a stroke: handed over where it lies, never moved.
    callback(this, out, in, &mask, x, y);
}

} // namespace IMGWND_TOOL
} // namespace KELCTRL
