#!/usr/bin/env bash
# Measures. Prints Markdown.
#   bench.sh                      the benchmark suites of each folder; also as JSON in build/bench/out
#   bench.sh --peers [SCAN.stl]   side by side with other mesh libraries, memory, and growth with size;
#                                 without a file on a virtual scan of the Stanford bunny
#   bench.sh --peers --patches    only how holes are filled
#   bench.sh --peers --points     only how points become meshes
#   bench.sh --peers --rounds=N   medians of N rounds instead of 5
#   bench.sh --peers --quick      fewer rounds, and growth up to a million faces only
#   bench.sh --peers --json=FILE  keeps the run in FILE, beside earlier ones, instead of build/bench/runs.json
#   bench.sh --scale[=FACES]      the road of a scan of 20 million faces, with time and memory of each step
# With --peers all ratios come once more in one table at the end. Keep two or three runs of each state in a
# file of its own; `bench_ratios.py compare OLD.json NEW.json` then tells what became worse beyond the noise.
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
scale=0
json=$build/runs.json
for argument in "$@"; do
  case "$argument" in
    --peers) peers=yes ;;
    --patches) peers=yes; patches_only=yes ;;
    --points) peers=yes; points_only=yes ;;
    --rounds=*) rounds=${argument#--rounds=} ;;
    --quick) rounds=1; most=1000000 ;;
    --json=*) json=${argument#--json=} ;;
    --scale) scale=20000000 ;;
    --scale=*) scale=${argument#--scale=} ;;
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

if [[ $scale -gt 0 ]]; then
  trap 'rm -f "$out/scale.stl" "$out/scale_small.stl"' EXIT
  "$build/bench/scale" write "$scale" "$out/scale.stl"
  "$build/bench/scale" run "$out/scale.stl" $((scale / 20)) "$out/scale_small.stl"
  exit 0
fi
if [[ $peers == no ]]; then
  for suite in core formats holes octree pivoting refinement smoothing trimming; do
    printf '### %s\n\n```\n' "$suite"
    "$build/bench/${suite}_bench" --benchmark_out="$out/$suite.json" 2>/dev/null
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

compare_all() {
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
}

if [[ -z $scan ]]; then
  scan=$out/bunny_scan.stl
  tar -xzf "$meshes" -C "$out" --strip-components=2 data/meshes/bunny00.off
  "$build/examples/make_scan" "$out/bunny00.off" "$scan" >&2
fi
split=$out/split.stl
"$build/bench/peers/peers_split_stl" "$scan" "$split"
what=compare_all
[[ $patches_only == yes ]] && what=compare_patches
[[ $points_only == yes ]] && what=compare_points
"$what" | tee "$out/run.md"
printf '\n### Ratios\n\n'
"$root/scripts/bench_ratios.py" keep "$json" <"$out/run.md"
