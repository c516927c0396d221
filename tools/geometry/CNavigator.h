#pragma once
// The default panning and zooming tool of the canvas: a click toggles between fit and one to one,
// Ctrl and Shift clicks choose one to one and the fixed zoom, the wheel scrolls (Shift: sideways) or
// zooms with Ctrl, dragging pans, plus and minus zoom and the arrows move the view.
#include "imagewnd/IImageWndTool.h"
#include "imagewnd/ImageWndTypes.h"

namespace KELCTRL {
class CImageWnd;
}

namespace KELCTRL::IMGWND_TOOL {

class CNavigator : public IImageWndTool {
public:
    CNavigator();

    // The zoom a Shift click chooses.
    void SetFixedScale(ZOOM_SCALE scale) { m_fixedScale = scale; }
    ZOOM_SCALE GetFixedScale() const { return m_fixedScale; }

    // Pixels the view moves per wheel notch or arrow key (1 with Ctrl for the arrows).
    static constexpr int kStep = 20;

    void OnZoomChanged() override;
    int OnSetCursor(QPoint point) override;
    int OnClick(unsigned flags, QPoint point) override;
    int OnMouseWheel(unsigned flags, short delta, QPoint point) override;
    int OnStartDrag(unsigned flags, QPoint downPoint) override;
    void OnDragging(unsigned flags, QPoint point) override;
    void OnEndDrag(unsigned flags, QPoint point, int& releaseCapture) override;
    int OnStartRDrag(unsigned flags, QPoint downPoint) override;
    void OnRDragging(unsigned flags, QPoint point) override;
    void OnEndRDrag(unsigned flags, QPoint point, int& releaseCapture) override;
    int OnKeyDown(unsigned key, unsigned repeat, unsigned flags) override;

    // Whether a plain click would zoom in (the view shows the whole image smaller than one to one).
    bool ClickZoomsIn() const;

private:
    CImageWnd* Wnd() const;
    bool StartPan(QPoint downPoint);
    void Pan(QPoint point);

    ZOOM_SCALE m_fixedScale = ZOOM_SCALE_2_1;
    QPoint m_panLast;
    bool m_panning = false;
    // Ctrl+wheel delta not yet spent on a zoom step: touchpads send many small deltas.
    int m_zoomWheelDelta = 0;
};

} // namespace KELCTRL::IMGWND_TOOL
