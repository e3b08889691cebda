#!/usr/bin/env bash
# Line coverage of the library's own code by its tests: a figure per folder, the whole, and what isn't covered.
#   coverage.sh [OUT_DIRECTORY]   the pages lie there afterwards
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/coverage
out=$(realpath -m "${1:-$build/report}")
jobs=${SCANMESH_JOBS:-$(nproc)}

"$root/scripts/setup.sh" --coverage
mkdir -p "$build" "$out"
log=$build/build.log
if ! { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=g++ \
         -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1 --coverage -fprofile-update=atomic" \
         -DCMAKE_EXE_LINKER_FLAGS=--coverage -DCMAKE_SHARED_LINKER_FLAGS=--coverage &&
       cmake --build "$build" -j "$jobs"; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 1
fi
find "$build" -name '*.gcda' -delete
# Not the tests of packages and pages: they run other builds.
ctest --test-dir "$build" --no-tests=error -j "$jobs" -E '^(Consumer|Tour|SharedLibrary)\.' \
  >"$build/ctest.log" 2>&1 || { tail -n 40 "$build/ctest.log" >&2; exit 1; }
tail -n 3 "$build/ctest.log"

folders=(core formats holes octree patching pivoting refinement smoothing trimming include)
filters=()
for folder in "${folders[@]}"; do filters+=(--filter "$root/$folder/"); done
# The shared library and its static twin are made of the same objects: counted once. Inlining makes several
# records of one line.
(cd "$build" && gcovr --root "$root" "${filters[@]}" \
  --exclude-unreachable-branches --exclude-throw-branches -j "$jobs" --html-details "$out/index.html" \
  --csv "$out/coverage.csv" --txt "$out/coverage.txt" . >"$build/gcovr.log" 2>&1) || {
  tail -n 20 "$build/gcovr.log" >&2
  exit 1
}
awk -F, -v folders="${folders[*]}" '
  NR > 1 { split($1, part, "/"); lines[part[1]] += $2; covered[part[1]] += $3; all += $2; hit += $3 }
  END {
    n = split(folders, name, " ")
    print "| folder | lines | covered, % |\n|---|---:|---:|"
    for (i = 1; i <= n; ++i)
      if (lines[name[i]] > 0) printf "| %s | %d | %.1f |\n", name[i], lines[name[i]], 100 * covered[name[i]] / lines[name[i]]
    printf "| all | %d | %.1f |\n", all, 100 * hit / all
  }' "$out/coverage.csv"
echo "$out/index.html"
