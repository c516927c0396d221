#pragma once
// Shared sizes and helpers of the benchmarks.
#include "common/CImageDataInfo.h"
#include "common/sse_array.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstring>

namespace kel_bench {

constexpr long k24MP = 6000L * 4000L;

// Seconds a memcpy of `bytes` takes, measured now, in this process: the baseline for ratios.
inline double MemcpySeconds(size_t bytes, int repeats = 5) {
    sse_array<unsigned char> src(bytes), dst(bytes);
    std::memset(src.data(), 1, bytes);
    std::memset(dst.data(), 0, bytes);
    double best = 1e9;
    for (int i = 0; i < repeats; ++i) {
        const auto t0 = std::chrono::steady_clock::now();
        std::memcpy(dst.data(), src.data(), bytes);
        benchmark::ClobberMemory();
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
    return best;
}

// Reports Mpx/s and the ratio of this benchmark's time to a memcpy of `bytes` (1.0 = as fast as copying).
inline void ReportThroughput(benchmark::State& state, long pixels, size_t bytes) {
    state.counters["Mpx/s"] =
        benchmark::Counter(static_cast<double>(pixels) / 1e6, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["memcpy_ms"] = MemcpySeconds(bytes) * 1e3;
}

// A 6000 x 4000 3-channel photo-like image (smooth ramps plus a little noise), made once per depth and
// shared by every benchmark of the process.
inline const CImageDataInfo& Photo24MP(int depth) {
    static CImageDataInfo images[2];
    CImageDataInfo& img = images[depth - 1];
    if (img.IsValid(true))
        return img;
    img.Create(6000, 4000, 3, depth);
    uint32_t seed = 12345;
    for (int y = 0; y < img.height; ++y) {
        unsigned char* row = img.RowPtr(y);
        for (int x = 0; x < img.width; ++x)
            for (int c = 0; c < 3; ++c) {
                seed = seed * 1664525u + 1013904223u;
                const uint32_t v8 = ((x * (c + 1) / 40 + y / 30) & 0xFF) ^ ((seed >> 29) & 7);
                if (depth == 1) {
                    row[x * 3 + c] = static_cast<unsigned char>(v8);
                } else {
                    const uint16_t v = static_cast<uint16_t>(v8 * 257 + ((seed >> 16) & 0xFF));
                    std::memcpy(row + (x * 3 + c) * 2, &v, 2);
                }
            }
    }
    return img;
}

} // namespace kel_bench
