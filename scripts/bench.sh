#!/usr/bin/env bash
# Measures. Prints Markdown.
#   bench.sh                      the benchmark suites of each folder
#   bench.sh --peers [SCAN.stl]   side by side with other mesh libraries, memory, and growth with size;
#                                 without a file on a virtual scan of the Stanford bunny
#   bench.sh --peers --patches    only how holes are filled
#   bench.sh --peers --points     only how points become meshes
#   bench.sh --peers --rounds=N   medians of N rounds instead of 5
#   bench.sh --peers --quick      fewer rounds, and growth up to a million faces only
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/bench
out=$build/out

peers=no
patches_only=no
points_only=no
rounds=5
most=10000000
scan=
for argument in "$@"; do
  case "$argument" in
    --peers) peers=yes ;;
    --patches) peers=yes; patches_only=yes ;;
    --points) peers=yes; points_only=yes ;;
    --rounds=*) rounds=${argument#--rounds=} ;;
    --quick) rounds=1; most=1000000 ;;
    --*) echo "bench.sh: unknown option $argument" >&2; exit 2 ;;
    *) scan=$argument ;;
  esac
done
if [[ -n $scan && ! -r $scan ]]; then
  echo "bench.sh: $scan can't be read" >&2
  exit 1
fi

setup=()
[[ $peers == yes ]] && setup+=(--peers)
"$root/scripts/setup.sh" ${setup[@]+"${setup[@]}"} >&2

mkdir -p "$out"
log=$build/build.log
if ! { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
         -DSCANMESH_BUILD_BENCH=ON -DSCANMESH_BUILD_PEERS="$([[ $peers == yes ]] && echo ON || echo OFF)" &&
       cmake --build "$build" -j "$(nproc)"; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 1
fi
grep 'left out' "$log" >&2 || true

if [[ $peers == no ]]; then
  for suite in core formats holes octree pivoting refinement smoothing; do
    printf '### %s\n\n```\n' "$suite"
    "$build/bench/${suite}_bench" 2>/dev/null
    printf '```\n\n'
  done
  exit 0
fi

meshes=/usr/share/doc/libcgal-dev/data.tar.gz
# Threads of an earlier parallel loop would spin for some milliseconds on the processors that the
# filling, which uses one, is timed on.
compare_patches() {
  local -x OMP_WAIT_POLICY=passive
  tar -xzf "$meshes" -C "$out" --strip-components=2 \
    data/meshes/{elephant-with-holes,lion,mech-holes-shark}.off
  "$build/bench/peers/peers_patches" truth --rounds "$rounds"
  "$build/bench/peers/peers_patches" scans "$scan" \
    "$out"/{elephant-with-holes,lion,mech-holes-shark}.off --rounds "$rounds"
  "$build/bench/peers/peers_patches" rings
}

compare_points() {
  local -r program=$build/bench/peers/peers_pivoting
  "$program" quality "$scan"
  "$program" meshes "$scan" --rounds "$rounds"
  "$program" processors "$scan" --rounds "$rounds"
  "$program" trees "$scan" "$split" --rounds "$rounds"
  local what
  for what in tree_memory x_tree_memory build_memory x_build_memory; do "$program" "$what"; done
}

if [[ -z $scan ]]; then
  scan=$out/bunny_scan.stl
  tar -xzf "$meshes" -C "$out" --strip-components=2 data/meshes/bunny00.off
  "$build/examples/make_scan" "$out/bunny00.off" "$scan" >&2
fi
if [[ $patches_only == yes ]]; then
  compare_patches
  exit 0
fi
split=$out/split.stl
"$build/bench/peers/peers_split_stl" "$scan" "$split"
if [[ $points_only == yes ]]; then
  compare_points
  exit 0
fi

printf 'On %s, %s processors, %s.\n\n' \
  "$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)" "$(nproc)" \
  "$("${CXX:-c++}" --version | head -n 1)"
"$build/bench/peers/peers_load" "$scan" "$split" --rounds "$rounds"
"$build/bench/peers/peers_files" "$split" --rounds "$rounds"
"$build/bench/peers/peers_simplify" "$scan" "$split" --rounds "$rounds"
"$build/bench/peers/peers_smooth" "$scan" "$split" --rounds "$rounds"
"$build/bench/peers/peers_reconstruct" "$scan" --rounds "$rounds"
"$build/bench/peers/peers_loop_check" || true
"$build/bench/peers/peers_subdivide" "$scan" "$split" --rounds "$rounds"
"$build/bench/peers/peers_hole_share" "$scan" "$split" --rounds "$rounds"
"$build/bench/peers/peers_memory" fresh
"$build/bench/peers/peers_memory" "$split"
"$build/bench/peers/peers_memory" writers "$split"
"$build/bench/peers/peers_growth" "$most" "$out/growth.stl"
compare_patches
compare_points
