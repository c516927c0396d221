// The memcpy baseline: every other benchmark reports its throughput next to a copy of the same bytes.
#include "bench/BenchUtil.h"

#include <benchmark/benchmark.h>

#include <cstring>

static void BM_MemcpyBaseline(benchmark::State& state) {
    const size_t bytes = static_cast<size_t>(state.range(0));
    sse_array<unsigned char> src(bytes), dst(bytes);
    std::memset(src.data(), 1, bytes);
    std::memset(dst.data(), 0, bytes); // first touch outside the timed loop
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
// 24 MP at 3 and 6 bytes a pixel, and a 1920x1080 display buffer.
BENCHMARK(BM_MemcpyBaseline)->Arg(kel_bench::k24MP * 3)->Arg(kel_bench::k24MP * 6)->Arg(1920 * 1080 * 4)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
