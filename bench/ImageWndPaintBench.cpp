// A full repaint of the image canvas showing a 24 MP photo in a 1920 x 1080 window, from the paint
// event to the end of the paint: at fit (drawn from the zoomed copy) and at 1:1 (converted from the
// image), with and without a colour transform for display.
#include "BenchUtil.h"

#include "common/testing/TestImages.h"
#include "imageprocess/ColorProfile.h"
#include "imagewnd/CImageWnd.h"

#include "bench/QtBenchApp.h"

#include <QApplication>

namespace {

using KELCTRL::CImageWnd;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

// One 24 MP photo-like image for every run: generating it costs more than the runs.
const CImageDataInfo& Photo() {
    static CImageDataInfo image = [] {
        CImageDataInfo img;
        kel_testing::MakeColorCube(img, 6000, 4000, 3, 1);
        return img;
    }();
    return image;
}

class PaintWnd : public CImageWnd {
public:
    ~PaintWnd() override { DestroyWindow(); }
    void Repaint() { repaint(); }
};

// state.range(0): 0 fit, 1 one to one; state.range(1): with a colour transform.
void BM_ImageWndFullRepaint(benchmark::State& state) {
    kel_bench::QtApp();
    CImageDataInfo image = Photo();
    PaintWnd wnd;
    wnd.Create(nullptr, QRect(0, 0, kWidth, kHeight), 1, 1);
    if (!wnd.SetImage(image)) {
        state.SkipWithError("SetImage failed");
        return;
    }
    if (state.range(0) == 1)
        wnd.SetZoom(KELCTRL::ZOOM_TYPE_NOZOOM, nullptr, nullptr);
    if (state.range(1))
        wnd.SetColorProfile(&ImageProcess::ColorProfile::GetLinearWorkingProfile());
    if (wnd.IsZoomedOut()) {
        // Wait for the zoomed copy, pumping the posted repaint requests.
        while (!wnd.IsZoomedCacheReady() && !wnd.IsZoomedCacheFailed())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    QCoreApplication::processEvents();
    wnd.Repaint(); // the display buffer grows once
    for (auto _ : state)
        wnd.Repaint();
    const QRect drawn = wnd.GetLastDrawRect();
    const long pixels = static_cast<long>(drawn.width()) * drawn.height();
    state.counters["drawn_px"] = static_cast<double>(pixels);
    kel_bench::ReportThroughput(state, pixels, static_cast<size_t>(pixels) * 4);
}
BENCHMARK(BM_ImageWndFullRepaint)
    ->ArgNames({"one_to_one", "transform"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({1, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace
