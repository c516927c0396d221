// The pixel library on a 24 MP photo: copies, curves, resizes, display conversion and raw development,
// each beside a memcpy of the same bytes measured in the same run.
#include "bench/BenchUtil.h"
#include "common/testing/VectorRegisters.h"
#include "imageprocess/ImageProcess.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

using namespace ImageProcess;

std::vector<unsigned short> SCurve() {
    std::vector<unsigned short> c(65536);
    for (int i = 0; i < 65536; ++i) {
        const double t = i / 65535.0;
        c[i] = static_cast<unsigned short>(65535.0 * (t * t * (3 - 2 * t)) + 0.5);
    }
    return c;
}

size_t ImageBytes(const CImageDataInfo& img) {
    return static_cast<size_t>(img.width) * img.height * img.PixelBytes();
}

void BM_CopyImage(benchmark::State& state) {
    const CImageDataInfo& src = kel_bench::Photo24MP(static_cast<int>(state.range(0)));
    CImageDataInfo dst;
    dst.Create(src.width, src.height, src.channels, src.depth);
    std::memset(dst.data.data(), 0, dst.data.byte_size());
    for (auto _ : state) {
        CopyImage(src, dst, 0, 0, 0, 0, src.width, src.height, nullptr);
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, ImageBytes(src));
}

void BM_ApplyCurveToImage(benchmark::State& state) {
    const CImageDataInfo& src = kel_bench::Photo24MP(static_cast<int>(state.range(0)));
    const auto curve = SCurve();
    CImageDataInfo dst;
    dst.Create(src.width, src.height, src.channels, src.depth);
    std::memset(dst.data.data(), 0, dst.data.byte_size());
    for (auto _ : state) {
        ApplyCurveToImage(dst, src, curve.data(), 0, 0, nullptr);
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, ImageBytes(src));
}

// Arguments: depth, algorithm, divisor of both sides.
void BM_ResizeImage(benchmark::State& state) {
    const CImageDataInfo& src = kel_bench::Photo24MP(static_cast<int>(state.range(0)));
    const auto algorithm = static_cast<RESIZE_ALGORITHM>(state.range(1));
    const int div = static_cast<int>(state.range(2));
    CImageDataInfo dst;
    ResizeImage(src, dst, src.width / div, src.height / div, algorithm, nullptr); // buffer reused below
    for (auto _ : state) {
        ResizeImage(src, dst, src.width / div, src.height / div, algorithm, nullptr);
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, ImageBytes(src));
}

// Arguments: width, height, with curve and transform (1) or plain (0), and whether wide-vector code
// ran just before (the conversion must not slow down after it). 8-bit source.
void BM_DisplayConversion(benchmark::State& state) {
    const CImageDataInfo& src = kel_bench::Photo24MP(1);
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    const auto curve = SCurve();
    std::vector<unsigned char> display(static_cast<size_t>(w) * h * 4, 0);
    DISPLAY_PARAMS params;
    if (state.range(2)) {
        // A real conversion: sRGB to a profile with other tone curves, as to a calibrated screen.
        params.curve = curve.data();
        params.transform = ColorProfile::GetTransform(
            ColorProfile::GetSRGBProfile(), ColorProfile::GetLinearWorkingProfile(),
            ColorProfile::FORMAT_BGRA_8, ColorProfile::FORMAT_BGRA_8);
    }
    const IntRect rect{(src.width - w) / 2, (src.height - h) / 2, w, h};
    for (auto _ : state) {
        if (state.range(3))
            kel_testing::UseUpperVectorHalves();
        ConvertImageForDisplay(src, rect, display.data(), w * 4, params);
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, static_cast<long>(w) * h, display.size());
}

// Raw development of 24 MP linear camera data: white balance, clipping and a full 3 x 3 camera matrix,
// in place (the work is the same whatever the values, so one image serves every iteration).
void BM_RawDevelop(benchmark::State& state) {
    CImageDataInfo work = kel_bench::Photo24MP(2);
    RAW_CONVERSION raw;
    raw.valid = 1;
    raw.cameraMultipliers[0] = 2.1f;
    raw.cameraMultipliers[2] = 1.4f;
    const float m[3][3] = {{1.7f, -0.5f, -0.2f}, {-0.2f, 1.5f, -0.3f}, {0.0f, -0.6f, 1.6f}};
    std::memcpy(raw.cameraToSRGB, m, sizeof m);
    double exposure = 0;
    for (auto _ : state) {
        ConvertCameraRawToWorkingProfile16Bit(work, raw, RAW_CLIP_HIGHLIGHTS, exposure);
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, ImageBytes(work));
}

// An 8-bit sRGB photo to the linear 16-bit working form; the copy of the input is not timed.
void BM_FakeRaw(benchmark::State& state) {
    CImageDataInfo work;
    for (auto _ : state) {
        state.PauseTiming();
        work = kel_bench::Photo24MP(1);
        state.ResumeTiming();
        ConvertImageToFakeRaw(work, ColorProfile::GetSRGBProfile());
        benchmark::ClobberMemory();
    }
    kel_bench::ReportThroughput(state, kel_bench::k24MP, ImageBytes(kel_bench::Photo24MP(1)));
}

} // namespace

BENCHMARK(BM_RawDevelop)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FakeRaw)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CopyImage)->ArgName("depth")->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ApplyCurveToImage)
    ->ArgName("depth")
    ->Arg(1)
    ->Arg(2)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_ResizeImage)
    ->ArgNames({"depth", "alg", "div"})
    ->Args({1, 5, 4})
    ->Args({2, 5, 4})
    ->Args({1, 5, 10})
    ->Args({2, 5, 10})
    ->Args({1, 6, 4})
    ->Args({2, 6, 4})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_DisplayConversion)
    ->ArgNames({"w", "h", "managed", "after_wide"})
    ->Args({1920, 1080, 0, 0})
    ->Args({1920, 1080, 1, 0})
    ->Args({1920, 1080, 1, 1})
    ->Args({3840, 2160, 0, 0})
    ->Args({3840, 2160, 1, 0})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
