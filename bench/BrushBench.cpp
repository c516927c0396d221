// Brush pixel work: painting one dab into a canvas mask, and building the brush mask. Real time, since
// large dabs use more than one thread.
#include "BenchUtil.h"
#include "common/testing/TestImages.h"
#include "imageprocess/BrushPaint.h"

#include <benchmark/benchmark.h>

namespace {

// Args: radius, depth (1 or 2), colour range (0 or 1). The image holds one colour and the range is
// that colour, so every masked pixel takes the full ranged path: the worst case.
void BM_PaintRegion(benchmark::State& state) {
    const int radius = static_cast<int>(state.range(0));
    const int depth = static_cast<int>(state.range(1));
    const bool ranged = state.range(2) != 0;
    const int side = 2 * radius + 1;
    CImageDataInfo image;
    kel_testing::MakeConstant(image, side, side, 3, depth, depth == 2 ? 30000 : 120);
    CSelectedRegion canvas, brush;
    canvas.Create(side, side, 0x1234);
    ImageProcess::CreateBrushRegion(brush, radius * 0.5, radius, 100);
    brush.x = brush.y = 0;
    INT4 lo{}, hi{};
    ImageProcess::ResetBrushColorRange(lo, hi);
    ImageProcess::BRUSH_YCC c{};
    ImageProcess::ReadBrushYCbCr(image, 0, 0, nullptr, c);
    ImageProcess::WidenBrushColorRange(lo, hi, c);
    int opacity = 50;
    for (auto _ : state) {
        ImageProcess::PaintRegion(canvas, brush, ImageProcess::BRUSH_MODE_PAINT, opacity, &image, nullptr,
                                  ranged ? &lo : nullptr, ranged ? &hi : nullptr);
        opacity = opacity == 50 ? 60 : 50; // keep the canvas changing
        benchmark::ClobberMemory();
    }
    const long pixels = static_cast<long>(side) * side;
    kel_bench::ReportThroughput(state, pixels, static_cast<size_t>(pixels) * 2);
}
BENCHMARK(BM_PaintRegion)
    ->ArgsProduct({{10, 100, 1000}, {1, 2}, {0, 1}})
    ->ArgNames({"radius", "depth", "range"})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

// Mask build with the buffer reused, as when the thread rebuilds a mask of the same size.
void BM_CreateBrushRegion(benchmark::State& state) {
    const double outer = static_cast<double>(state.range(0));
    CSelectedRegion mask;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ImageProcess::CreateBrushRegion(mask, outer * 0.5, outer, 100));
        benchmark::ClobberMemory();
    }
    const long pixels = static_cast<long>(mask.width) * mask.height;
    kel_bench::ReportThroughput(state, pixels, static_cast<size_t>(pixels) * 2);
}
BENCHMARK(BM_CreateBrushRegion)
    ->Arg(10)
    ->Arg(100)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(2000)
    ->Arg(4000)
    ->ArgName("radius")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// The same into a fresh region every time: includes the first touch of the new pages.
void BM_CreateBrushRegionFresh(benchmark::State& state) {
    const double outer = static_cast<double>(state.range(0));
    long pixels = 0;
    for (auto _ : state) {
        CSelectedRegion mask;
        benchmark::DoNotOptimize(ImageProcess::CreateBrushRegion(mask, outer * 0.5, outer, 100));
        pixels = static_cast<long>(mask.width) * mask.height;
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, pixels, static_cast<size_t>(pixels) * 2);
}
BENCHMARK(BM_CreateBrushRegionFresh)
    ->Arg(1000)
    ->Arg(4000)
    ->ArgName("radius")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
