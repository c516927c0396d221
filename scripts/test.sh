#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs every test.
#   scripts/test.sh              the normal build (warnings are errors) and all tests
#   scripts/test.sh --sanitize   adds two builds: AddressSanitizer+UndefinedBehaviorSanitizer over
#                                all tests, ThreadSanitizer over the tests labelled "threads",
#                                and a short run of every fuzz target
set -euo pipefail
cd "$(dirname "$0")/.."
ROOT=$(pwd)

SANITIZE=0
for a in "$@"; do
  case "$a" in
    --sanitize) SANITIZE=1 ;;
    *) echo "usage: scripts/test.sh [--sanitize]" >&2; exit 2 ;;
  esac
done

if [[ $SANITIZE -eq 1 ]]; then
  scripts/deps.sh --with-clang
else
  scripts/deps.sh
fi

JOBS=$(nproc)
export QT_QPA_PLATFORM=offscreen

configure_build() { # dir, extra cmake args...
  local dir=$1; shift
  cmake -S "$ROOT" -B "$dir" -G Ninja -DKEL_WERROR=ON "$@" >/dev/null
  cmake --build "$dir" -j "$JOBS"
}

configure_build build -DCMAKE_BUILD_TYPE=RelWithDebInfo
(cd build && ctest --output-on-failure -j "$JOBS" --timeout 300)

if [[ $SANITIZE -eq 1 ]]; then
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
  export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$ROOT/scripts/tsan.supp"
  configure_build build-asan -DCMAKE_BUILD_TYPE=Debug -DKEL_SANITIZE=address,undefined
  (cd build-asan && ctest --output-on-failure -j "$JOBS" --timeout 600 -LE 'e2e|install')
  configure_build build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKEL_SANITIZE=thread
  (cd build-tsan && ctest --output-on-failure -j "$JOBS" --timeout 600 -L threads)
  scripts/fuzz.sh --short
fi
