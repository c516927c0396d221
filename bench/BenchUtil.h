#pragma once
// Shared sizes and helpers of the benchmarks.
#include "common/sse_array.h"

#include <benchmark/benchmark.h>

#include <chrono>
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

} // namespace kel_bench
