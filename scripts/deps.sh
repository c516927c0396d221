#!/usr/bin/env bash
# Installs the Debian packages the project needs, only those missing. Nothing else is downloaded.
set -euo pipefail

PACKAGES=(
  g++ cmake ninja-build pkg-config
  qt6-base-dev qt6-svg-dev libgl-dev
  libtinyxml-dev libturbojpeg0-dev libjpeg62-turbo-dev libpng-dev libtiff-dev libwebp-dev
  libexiv2-dev liblcms2-dev libx11-dev libraw-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth xdotool imagemagick x11-utils
  locales-all desktop-file-utils
)
# Fuzzing and the sanitizer runs want clang as well.
if [[ "${1:-}" == "--with-clang" ]]; then
  PACKAGES+=(clang libclang-rt-14-dev)
fi

missing=()
for p in "${PACKAGES[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "deps: installing ${missing[*]}"
SUDO=()
if [[ $(id -u) -ne 0 ]]; then
  SUDO=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${SUDO[@]}" apt-get update -qq
"${SUDO[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
