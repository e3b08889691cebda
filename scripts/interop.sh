#!/usr/bin/env bash
# What other mesh libraries make of the files written here, and what is made here of theirs: the same
# counts, the same coordinates. Prints the tables of docs/formats.md; fails when a pair differs.
#   interop.sh [SCAN.stl]   without a file on a virtual scan of the Stanford bunny
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/bench
out=$build/out/interop

scan=${1:-}
if [[ -n $scan && ! -r $scan ]]; then
  echo "interop.sh: $scan can't be read" >&2
  exit 1
fi
"$root/scripts/setup.sh" --peers >&2

mkdir -p "$out"
log=$build/build.log
if ! { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
         -DSCANMESH_BUILD_BENCH=ON -DSCANMESH_BUILD_PEERS=ON &&
       cmake --build "$build" -j "$(nproc)" --target peers_interop make_scan; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 1
fi
grep 'left out' "$log" >&2 || true

if [[ -z $scan ]]; then
  scan=$out/bunny_scan.stl
  tar -xzf /usr/share/doc/libcgal-dev/data.tar.gz -C "$out" --strip-components=2 \
    data/meshes/bunny00.off
  "$build/examples/make_scan" "$out/bunny00.off" "$scan" >&2
fi
"$build/bench/peers/peers_interop" "$scan" "$out" 2>/dev/null
