#!/usr/bin/env bash
# What a change should pass before it is sent: format, lint, tests, sanitizers.
#   check.sh                  all of it
#   check.sh format tidy ...  some of it: format, tidy, tests, threads, docs, fuzz, tour, windows
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
builds=${SCANMESH_BUILD_ROOT:-$root/build}
jobs=${SCANMESH_JOBS:-$(nproc)}
cd "$root"

"$root/scripts/setup.sh" --check

sources() { git ls-files --cached --others --exclude-standard -- "$@"; }

check_format() {
  echo "== format"
  sources '*.h' '*.cpp' | xargs -r clang-format --dry-run --Werror
}

check_tidy() {
  echo "== tidy"
  local build=$builds/tidy
  cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DBUILD_TESTING=OFF \
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
  # Findings are reported; those that the configuration calls errors fail the check.
  sources 'core/*.cpp' 'formats/*.cpp' 'smoothing/*.cpp' 'refinement/*.cpp' 'holes/*.cpp' \
    'octree/*.cpp' 'patching/*.cpp' 'pivoting/*.cpp' 'trimming/*.cpp' 'toolkit/*.cpp' 'cli/*.cpp' 'examples/*.cpp' |
    xargs -r -n 4 -P "$jobs" clang-tidy --quiet -p "$build" 2> >(grep -v 'warnings generated' >&2)
}

check_tests() {
  "$root/scripts/test.sh"
}

check_threads() {
  echo "== threads"
  local build=$builds/tsan
  # Only Clang's OpenMP runtime tells ThreadSanitizer about its barriers; with another one every
  # parallel loop looks like a race.
  cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
    -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" -DSCANMESH_SANITIZE=thread >/dev/null
  cmake --build "$build" -j "$jobs" >/dev/null
  local archer
  archer=$(find /usr/lib -name 'libarcher.so*' 2>/dev/null | sort | head -n 1)
  [[ -n $archer ]] && export OMP_TOOL_LIBRARIES=$archer
  TSAN_OPTIONS=${TSAN_OPTIONS:-ignore_noninstrumented_modules=1} \
    ctest --test-dir "$build" --no-tests=error --output-on-failure -j "$jobs" | tail -n 40
}

check_docs() {
  echo "== docs"
  "$root/scripts/docs.sh" "$builds/docs"
}

check_fuzz() {
  echo "== fuzz"
  "$root/scripts/fuzz.sh" 60
}

check_tour() {
  echo "== tour"
  "$root/scripts/demo.sh" --report >/dev/null
  "$root/scripts/tour/check.sh" "$builds/demo/out/bunny_repaired.html"
}

# The Windows side of the platform, and everything above it: compiled, not run.
check_windows() {
  echo "== windows"
  "$root/scripts/setup.sh" --windows
  # Libraries of headers alone, without the rest of this system's headers.
  local headers=$builds/windows-headers
  mkdir -p "$headers"
  ln -sfn /usr/include/boost "$headers/boost"
  ln -sfn /usr/include/nlohmann "$headers/nlohmann"
  sources 'core/*.cpp' 'formats/*.cpp' 'smoothing/*.cpp' 'refinement/*.cpp' 'holes/*.cpp' \
    'octree/*.cpp' 'patching/*.cpp' 'pivoting/*.cpp' 'trimming/*.cpp' 'toolkit/*.cpp' |
    xargs -r -n 1 -P "$jobs" x86_64-w64-mingw32-g++-posix -std=c++17 -fsyntax-only -fopenmp \
      -DSCANMESH_BUILDING -DSCANMESH_TOOLKIT_BUILDING -Iinclude -I. -isystem /usr/include/eigen3 -isystem "$headers"
}

[[ $# -eq 0 ]] && set -- format tidy tests threads docs fuzz tour windows
for step in "$@"; do
  case "$step" in
    format | tidy | tests | threads | docs | fuzz | tour | windows) "check_$step" ;;
    *) echo "check.sh: unknown step $step" >&2; exit 2 ;;
  esac
done
