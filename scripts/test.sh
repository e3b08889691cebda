#!/usr/bin/env bash
# What CI runs: every test in a release build with warnings as errors, then every test again under
# AddressSanitizer and UndefinedBehaviorSanitizer.
#   test.sh                   both
#   test.sh --no-sanitizers   the release build only
#   test.sh -- ARGS           both, with ARGS handed to ctest (-R NAME, for instance)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
builds=${SCANMESH_BUILD_ROOT:-$root/build}
jobs=${SCANMESH_JOBS:-$(nproc)}

sanitizers=yes
ctest_args=()
while [[ $# -gt 0 ]]; do
  case "$1" in
    --no-sanitizers) sanitizers=no; shift ;;
    --) shift; ctest_args=("$@"); break ;;
    *) echo "test.sh: unknown option $1" >&2; exit 2 ;;
  esac
done

# CI also opens the page of the tour in a browser; elsewhere that test is there where a browser is.
setup=()
[[ ${CI:-} != true ]] || setup+=(--report)
"$root/scripts/setup.sh" ${setup[@]+"${setup[@]}"}

# configure_build_test NAME CMAKE_ARGS...
configure_build_test() {
  local name=$1 build=$builds/test-$1
  shift
  echo "== $name: build"
  cmake -S "$root" -B "$build" -DBUILD_TESTING=ON "$@" >"$build.configure.log" ||
    { cat "$build.configure.log" >&2; return 1; }
  cmake --build "$build" -j "$jobs" >"$build.build.log" 2>&1 ||
    { cat "$build.build.log" >&2; return 1; }
  echo "== $name: test"
  # A run that finds no test is a broken build, not a green one.
  ctest --test-dir "$build" --no-tests=error --output-on-failure -j "$jobs" \
    ${ctest_args[@]+"${ctest_args[@]}"} >"$build.ctest.log" 2>&1 ||
    { cat "$build.ctest.log"; return 1; }
  tail -n 6 "$build.ctest.log"
}

mkdir -p "$builds"
export CTEST_PARALLEL_LEVEL=$jobs
# With Debian's prefix, so that the packages are those that scripts/package.sh makes.
configure_build_test release -DCMAKE_BUILD_TYPE=Release -DSCANMESH_WERROR=ON \
  -DCMAKE_INSTALL_PREFIX=/usr
if [[ $sanitizers == yes ]]; then
  # -O1: the sanitizers' own work dominates, and their reports stay readable. Warnings are no errors
  # here: instrumented code misleads the compiler's flow analysis.
  export ASAN_OPTIONS=${ASAN_OPTIONS:-strict_string_checks=1:detect_stack_use_after_return=1}
  export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
  configure_build_test sanitized -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" \
    -DSCANMESH_SANITIZE=address,undefined
fi
