// The image window's zoomed cache and preview on a 24 MP image, shown in a 1920 x 1080 view.
#include "BenchUtil.h"

#include "common/testing/TestImages.h"
#include "imagewnd/CImageWnd.h"

#include "bench/QtBenchApp.h"

#include <QApplication>

namespace {

using KELCTRL::CImageWnd;

// Opens the cache and preview steps that a benchmark times on their own.
class BenchWnd : public CImageWnd {
public:
    ~BenchWnd() override { DestroyWindow(); }
    using CImageWnd::CreatePreview;
    using CImageWnd::WaitForZoomedCache;
    void Repaint() { repaint(); }
    // Lets the cache thread's messages through, without the processing timer they arm.
    void Settle() {
        QCoreApplication::processEvents();
        KillTimer(TIMER_PROCESSIMAGE);
    }
};

// A 6000 x 4000 image with before-image and mask, in a window of 1920 x 1080 at fit.
struct Scene {
    explicit Scene(int depth) {
        kel_testing::MakeNoise(before, 6000, 4000, 3, depth, 7);
        kel_testing::MakeGradient(image, 6000, 4000, 3, depth);
        kel_testing::MakeGradient(mask, 6000, 4000, 1, 1);
        wnd.Create(nullptr, QRect(0, 0, 1920, 1080), 1);
        wnd.SetImage(image, &before, nullptr, &mask);
        wnd.WaitForZoomedCache(false);
        wnd.Settle();
    }
    // First: widgets need the application before they are built.
    QApplication& app = kel_bench::QtApp();
    CImageDataInfo image, before, mask;
    BenchWnd wnd;
};

void BM_ZoomedCacheBuild(benchmark::State& state) {
    const int depth = static_cast<int>(state.range(0));
    Scene scene(depth);
    for (auto _ : state) {
        scene.wnd.UpdateZoomedCache();
        if (!scene.wnd.WaitForZoomedCache(false))
            state.SkipWithError("the cache did not build");
        scene.wnd.Settle();
    }
    state.counters["cache_w"] = scene.wnd.GetZoomedSize().width;
    state.counters["cache_h"] = scene.wnd.GetZoomedSize().height;
    // Read: the before-image and the mask.
    kel_bench::ReportThroughput(state, kel_bench::k24MP,
                                static_cast<size_t>(kel_bench::k24MP) * (3 * depth + 1));
}
BENCHMARK(BM_ZoomedCacheBuild)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_CreatePreview(benchmark::State& state) {
    const int depth = static_cast<int>(state.range(0));
    Scene scene(depth);
    for (auto _ : state)
        scene.wnd.CreatePreview();
    state.counters["scale"] = scene.wnd.GetPreviewScale();
    kel_bench::ReportThroughput(state, kel_bench::k24MP,
                                static_cast<size_t>(kel_bench::k24MP) * (3 * depth + 1));
}
BENCHMARK(BM_CreatePreview)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

// One zoom step (alternately 1:4 and 1:6) until the window has painted with its copy ready.
void BM_ZoomStepToCachedPaint(benchmark::State& state) {
    Scene scene(1);
    bool quarter = true;
    for (auto _ : state) {
        const KELCTRL::ZOOM_SCALE scale = quarter ? KELCTRL::ZOOM_SCALE_1_4 : KELCTRL::ZOOM_SCALE_1_6;
        quarter = !quarter;
        scene.wnd.SetZoom(KELCTRL::ZOOM_TYPE_SCALE, &scale, nullptr);
        if (!scene.wnd.WaitForZoomedCache(false))
            state.SkipWithError("the cache did not build");
        scene.wnd.Repaint();
        scene.wnd.Settle();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, static_cast<size_t>(kel_bench::k24MP) * 4);
}
BENCHMARK(BM_ZoomStepToCachedPaint)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
