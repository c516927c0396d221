#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each one.
#   scripts/fuzz.sh --short   20 seconds a target (what scripts/test.sh --sanitize runs)
#   scripts/fuzz.sh [SECS]    SECS a target (default 300)
set -euo pipefail
cd "$(dirname "$0")/.."
SECS=300
case "${1:-}" in
  --short) SECS=20 ;;
  "") ;;
  *) SECS=$1 ;;
esac
scripts/deps.sh --with-clang
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DKEL_BUILD_FUZZ=ON -DKEL_BUILD_GUI=OFF -DKEL_BUILD_TESTS=OFF >/dev/null
cmake --build build-fuzz -j "$(nproc)"
shopt -s nullglob
targets=(build-fuzz/fuzz/fuzz_*)
if [[ ${#targets[@]} -eq 0 ]]; then
  echo "fuzz: no targets"
  exit 0
fi
for t in "${targets[@]}"; do
  [[ -x $t ]] || continue
  name=$(basename "$t")
  # New inputs go to the build folder; the kept corpus in the repository is only read.
  found=build-fuzz/corpus/$name
  mkdir -p "$found"
  kept=fuzz/corpus/${name#fuzz_}
  extra=()
  [[ -d $kept ]] && extra+=("$kept")
  echo "fuzz: $name for ${SECS}s"
  "$t" -max_total_time="$SECS" -rss_limit_mb=2048 -print_final_stats=0 "$found" "${extra[@]}" 2>&1 | tail -3
done
