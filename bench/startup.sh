#!/usr/bin/env bash
# Start-up time of the editor: from process start to the first painted processed image of a 24 MP
# JPEG, under Xvfb, five runs; prints each and the median.
#   bench/startup.sh [runs]
set -euo pipefail
ROOT=$(cd "$(dirname "$0")/.." && pwd)
RUNS=${1:-5}
"$ROOT/scripts/deps.sh"
cmake -S "$ROOT" -B "$ROOT/build-bench-gui" -G Ninja -DCMAKE_BUILD_TYPE=Release -DKEL_BUILD_TESTS=OFF >/dev/null
cmake --build "$ROOT/build-bench-gui" -j "$(nproc)" --target kelphoto >/dev/null
exe="$ROOT/build-bench-gui/bin/kelphoto"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$exe" --write-sample "$work/photo-24mp.jpg" 6000x4000
echo "photo: $(du -h "$work/photo-24mp.jpg" | cut -f1), 6000 x 4000"
times=()
for i in $(seq "$RUNS"); do
  # A fresh data folder each run: no settings, no running instance to hand over to.
  line=$(XDG_DATA_HOME="$work/data$i" xvfb-run -a -s "-screen 0 1920x1080x24" \
           "$exe" "$work/photo-24mp.jpg" --report-startup 2>/dev/null | grep 'first processed image')
  ms=$(echo "$line" | sed -E 's/.* ([0-9]+) ms .*/\1/')
  echo "run $i: $ms ms"
  times+=("$ms")
done
median=$(printf '%s\n' "${times[@]}" | sort -n | sed -n "$(( (RUNS + 1) / 2 ))p")
echo "median: $median ms (target: under 1500 ms)"
