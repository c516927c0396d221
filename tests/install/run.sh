#!/usr/bin/env bash
# Installs a build tree into a temporary prefix and checks what a host and a desktop get from it:
# the shared library with its SONAME, headers, both package descriptions (a tiny product is built
# and run against each), and kelphoto with its desktop entry, icon and working folder.
#   tests/install/run.sh BUILD_DIR [COMPILER_LAUNCHER]
set -euo pipefail
BUILD=$(cd "$1" && pwd)
LAUNCHER=${2:-}
HERE=$(cd "$(dirname "$0")" && pwd)
WORK=$(mktemp -d "${TMPDIR:-/tmp}/kelctrl_install_XXXXXX")
trap 'rm -rf "$WORK"' EXIT
PREFIX=$WORK/prefix
fail() { echo "install test: $*" >&2; exit 1; }

cmake --install "$BUILD" --prefix "$PREFIX" >"$WORK/install.log" || { cat "$WORK/install.log"; fail "install failed"; }

LIBDIR=$(dirname "$(find "$PREFIX" -name 'libKelCtrl.so' -print -quit)")
[[ -n $LIBDIR && $LIBDIR != . ]] || fail "libKelCtrl.so not installed"
soname=$(readelf -d "$LIBDIR/libKelCtrl.so" | sed -n 's/.*Library soname: \[\(.*\)\].*/\1/p')
[[ $soname == libKelCtrl.so.0 ]] || fail "SONAME is '$soname'"
[[ -e $LIBDIR/$soname ]] || fail "$soname missing"
for f in libimagefile.a libimageprocess.a libkel_common.a pkgconfig/kelctrl.pc \
         cmake/KelCtrl/KelCtrlConfig.cmake cmake/KelCtrl/KelCtrlConfigVersion.cmake; do
  [[ -e $LIBDIR/$f ]] || fail "$f missing"
done
for f in ui/CBaseWnd.h imagewnd/CImageWnd.h app/CPhotoEditorApp.h common/CImageDataInfo.h \
         imageprocess/ImageProcess.h imagefile/ImageFile.h; do
  [[ -e $PREFIX/include/kelctrl/$f ]] || fail "include/kelctrl/$f missing"
done
[[ -z $(find "$PREFIX/include" -path '*/tests/*' -o -path '*/testing/*') ]] || fail "test headers installed"

# kelphoto: its desktop entry, icon and working folder.
[[ -x $PREFIX/bin/kelphoto ]] || fail "bin/kelphoto missing"
desktop=$PREFIX/share/applications/kelphoto.desktop
[[ -f $desktop ]] || fail "desktop entry missing"
grep -q '^Exec=kelphoto %F$' "$desktop" || fail "desktop Exec"
for m in image/jpeg image/png image/tiff image/webp image/bmp; do
  grep -q "^MimeType=.*$m;" "$desktop" || fail "desktop MimeType lacks $m"
done
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$desktop" || fail "desktop-file-validate"
fi
[[ -f $PREFIX/share/icons/hicolor/scalable/apps/kelphoto.svg ]] || fail "icon missing"
[[ -f "$PREFIX/share/Kel Photo/style.xml" && -f "$PREFIX/share/Kel Photo/dict/en.lc" ]] ||
  fail "working folder incomplete"

export QT_QPA_PLATFORM=offscreen
export HOME=$WORK/home XDG_DATA_HOME=$WORK/home/data XDG_CONFIG_HOME=$WORK/home/config \
       XDG_CACHE_HOME=$WORK/home/cache XDG_RUNTIME_DIR=$WORK/home/run
mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
unset KEL_WORKING_FOLDER

# The product, found through each package description in turn.
for mode in cmake pkgconfig; do
  args=(-G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$PREFIX")
  [[ -n $LAUNCHER ]] && args+=(-DCMAKE_CXX_COMPILER_LAUNCHER="$LAUNCHER")
  [[ $mode == pkgconfig ]] && args+=(-DKELCTRL_USE_PKGCONFIG=ON)
  PKG_CONFIG_PATH="$LIBDIR/pkgconfig" cmake -S "$HERE/product" -B "$WORK/build-$mode" "${args[@]}" \
    >"$WORK/configure-$mode.log" 2>&1 || { cat "$WORK/configure-$mode.log"; fail "$mode: configure failed"; }
  cmake --build "$WORK/build-$mode" >"$WORK/build-$mode.log" 2>&1 ||
    { cat "$WORK/build-$mode.log"; fail "$mode: build failed"; }
  out=$(timeout 60 "$WORK/build-$mode/product") || { echo "$out"; fail "$mode: the product failed"; }
  echo "$out" | sed "s/^/$mode: /"
  for want in "resized 16x12 channels 3" "canvas image 1" "canvas size 16x12" "file round trip .* 16x12" \
              "pixel 10 20 200"; do
    grep -qx "$want" <<<"$out" || fail "$mode: no line '$want'"
  done
done

# The installed editor starts from its working folder under the prefix and renders a window; without
# its dictionaries it would stop at a notice, hence the time limit.
shot=$WORK/shot.png
timeout 60 "$PREFIX/bin/kelphoto" --screenshot "$shot" >"$WORK/kelphoto.log" 2>&1 ||
  { cat "$WORK/kelphoto.log"; fail "installed kelphoto failed"; }
[[ -s $shot ]] || fail "installed kelphoto wrote no screenshot"
echo "install test: passed"
