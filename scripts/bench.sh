#!/usr/bin/env bash
# Builds the benchmark program (release) and runs it.
#   scripts/bench.sh [google-benchmark flags]   e.g. --benchmark_filter=Resize
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
# The thumbnail comparison runs the library-independent command-line thumbnailer when it is there.
if ! command -v vipsthumbnail >/dev/null; then
  if [[ $(id -u) -eq 0 ]]; then apt-get install -y -qq libvips-tools >/dev/null || true; fi
fi
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DKEL_BUILD_BENCH=ON -DKEL_BUILD_TESTS=OFF >/dev/null
cmake --build build-bench -j "$(nproc)" --target kel_bench
build-bench/bench/kel_bench --benchmark_counters_tabular=true "$@"
