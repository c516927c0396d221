#!/usr/bin/env bash
# Builds the editor and opens it on the given image, or on the generated sample photo.
#   scripts/run.sh [image]
# Without a display it runs under Xvfb, writes kelphoto-screenshot.png in the current folder and
# says where.
set -euo pipefail
ROOT=$(cd "$(dirname "$0")/.." && pwd)
image=()
if [[ $# -gt 0 ]]; then
  [[ -e $1 ]] || { echo "run.sh: no such file: $1" >&2; exit 2; }
  image=("$1")
fi
"$ROOT/scripts/deps.sh"
cmake -S "$ROOT" -B "$ROOT/build" -G Ninja -DKEL_WERROR=ON >/dev/null
cmake --build "$ROOT/build" -j "$(nproc)" --target kelphoto
exe="$ROOT/build/bin/kelphoto"

if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
  exec "$exe" "${image[@]}"
fi

shot="$(pwd)/kelphoto-screenshot.png"
echo "run.sh: no display; running the editor under Xvfb for a screenshot"
xvfb-run -a -s "-screen 0 1600x1000x24" "$exe" "${image[@]}" --screenshot "$shot" --delay 500
echo "run.sh: screenshot written to $shot"
