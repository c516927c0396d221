// Retouch and selection functions on a 24 MP photo, each beside a memcpy of the image's bytes
// measured in the same run.
#include "bench/BenchUtil.h"
#include "imageprocess/ImageProcess.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>

namespace {

using namespace ImageProcess;

// 6000 x 4000, 3 channels: broad tiles of slowly varying colour with a little noise, so that a stroke
// inside one tile grows over a large part of the image but stops at tile borders. flat makes the whole
// image one colour, so the growth covers every pixel.
const CImageDataInfo& Photo(int depth, bool flat) {
    static CImageDataInfo images[2][2];
    CImageDataInfo& img = images[depth - 1][flat ? 1 : 0];
    if (img.IsValid(true))
        return img;
    img.Create(6000, 4000, 3, depth);
    uint32_t seed = 987;
    for (int y = 0; y < img.height; ++y) {
        unsigned char* row = img.RowPtr(y);
        for (int x = 0; x < img.width; ++x)
            for (int c = 0; c < 3; ++c) {
                seed = seed * 1664525u + 1013904223u;
                const uint32_t tile = ((x / 1500) + (y / 1000) * 4) * 37 % 160;
                const uint32_t v8 =
                    flat ? 90u + c * 40u : 40u + tile + c * 20u + (x % 1500) / 300 + ((seed >> 29) & 3);
                if (depth == 1) {
                    row[x * 3 + c] = static_cast<unsigned char>(v8);
                } else {
                    const uint16_t v = static_cast<uint16_t>(v8 * 257 + ((seed >> 16) & 0x3F));
                    std::memcpy(row + (x * 3 + c) * 2, &v, 2);
                }
            }
    }
    return img;
}

// Arguments: depth, contiguous, flat image.
void BM_GrowColorRegion(benchmark::State& state) {
    const int depth = static_cast<int>(state.range(0));
    const CImageDataInfo& img = Photo(depth, state.range(2) != 0);
    CSelectedRegion stroke, out;
    stroke.Create(41, 41, 0xFFFF);
    stroke.x = 2250;
    stroke.y = 1500;
    for (auto _ : state) {
        GrowColorRegion(img, stroke, out, COLOR_REGION_LUMINANCE_COLOR, 20, state.range(1) != 0);
        benchmark::ClobberMemory();
    }
    long selected = 0;
    for (int y = 0; y < out.height; y += 10)
        for (int x = 0; x < out.width; x += 10)
            selected += out.Row(y)[x] != 0;
    state.counters["selected_%"] = 100.0 * selected / ((out.height / 10) * (out.width / 10));
    kel_bench::ReportThroughput(state, kel_bench::k24MP,
                                static_cast<size_t>(img.width) * img.height * img.PixelBytes());
}

} // namespace

BENCHMARK(BM_GrowColorRegion)
    ->ArgNames({"depth", "contiguous", "flat"})
    ->Args({1, 1, 0})
    ->Args({1, 1, 1})
    ->Args({1, 0, 0})
    ->Args({2, 1, 0})
    ->Args({2, 1, 1})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
