// Warps on a 24 MP photo: rotation by a small angle, lens correction and the liquify pixel rebuild,
// each beside a memcpy of the same bytes measured in the same run. The cpu column is the process's CPU
// time (all threads), so wall time / cpu time shows how much of the machine a run had. Destinations
// are made once before timing: first-touch page faults are not the warp's cost.
#include "bench/BenchUtil.h"
#include "imageprocess/ImageProcess.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using namespace ImageProcess;

size_t Bytes(const CImageDataInfo& img) {
    return static_cast<size_t>(img.width) * img.height * img.PixelBytes();
}

// Arguments: interpolation (0 bilinear, 1 bicubic).
void BM_RotateImageAngle3Degrees(benchmark::State& state) {
    const CImageDataInfo& src = kel_bench::Photo24MP(1);
    CImageDataInfo dst;
    const auto interp = static_cast<ROTATE_INTERPOLATION>(state.range(0));
    RotateImageAngle(src, dst, 3.0, interp, ARGB32(255, 0, 0, 0), nullptr); // dst's pages in place
    for (auto _ : state) {
        RotateImageAngle(src, dst, 3.0, interp, ARGB32(255, 0, 0, 0), nullptr);
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, Bytes(src));
}

// Arguments: depth.
void BM_LensCorrect(benchmark::State& state) {
    const CImageDataInfo& src = kel_bench::Photo24MP(static_cast<int>(state.range(0)));
    CImageDataInfo dst;
    LENSCORRECT_PARAMS p;
    p.distortion = 0.3, p.vertical = 0.2, p.rotate = 2.0, p.scale = 1.05;
    LensCorrect(dst, src, p, nullptr); // dst's pages in place
    for (auto _ : state) {
        LensCorrect(dst, src, p, nullptr);
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, Bytes(src));
}

// A whole-image liquify map with a gentle wave in it, every entry touched.
struct WaveMap {
    std::vector<float> map;
    std::vector<unsigned char> touched;
    LIQUIFY_MAP view;
    explicit WaveMap(const CImageDataInfo& img) {
        view.width = LiquifyMapSide(img.width), view.height = LiquifyMapSide(img.height);
        map.resize(2 * static_cast<size_t>(view.width) * view.height);
        touched.resize(static_cast<size_t>(view.width) * view.height);
        view.map = map.data(), view.touched = touched.data();
        for (int y = 0; y < view.height; ++y)
            for (int x = 0; x < view.width; ++x) {
                float* e = &map[2 * (static_cast<size_t>(y) * view.width + x)];
                e[0] = x + 3.0f * std::sin(y / 57.0f), e[1] = y + 3.0f * std::cos(x / 71.0f);
            }
    }
    void TouchAll() { std::memset(touched.data(), 0xFF, touched.size()); }
};

// Arguments: depth, one core (1: rebuild in bands small enough to stay on the calling thread).
void BM_LiquifyRebuild(benchmark::State& state) {
    const CImageDataInfo& src = kel_bench::Photo24MP(static_cast<int>(state.range(0)));
    const bool oneCore = state.range(1) != 0;
    CImageDataInfo dst = src;
    WaveMap m(src);
    // Bands below the size at which rows are split over threads.
    const int band = oneCore ? (1 << 20) / src.width - 1 : src.height;
    for (auto _ : state) {
        state.PauseTiming();
        m.TouchAll();
        state.ResumeTiming();
        for (int y = 0; y < src.height; y += band)
            ApplyDistortionMap(dst, src, m.view, IntRect{0, y, src.width, std::min(band, src.height - y)}, 1,
                               nullptr);
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, Bytes(src));
}

} // namespace

BENCHMARK(BM_RotateImageAngle3Degrees)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(BM_LensCorrect)
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(BM_LiquifyRebuild)
    ->Args({1, 1})
    ->Args({1, 0})
    ->Args({2, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
