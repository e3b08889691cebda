#!/usr/bin/env bash
# Runs every fuzzer, with AddressSanitizer and UndefinedBehaviorSanitizer, one process each in turn.
#   fuzz.sh [SECONDS [TARGET...]]   60 seconds each by default
# What it learns stays in build/fuzz/corpus; a finding stops it and lies in build/fuzz/findings. Once
# mended, a finding is copied to fuzz/regressions/TARGET, which an ordinary test replays.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/fuzz
seconds=${1:-60}
shift $(($# > 0 ? 1 : 0))
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=(binary_stl ascii_stl ply_header ply_body mesh_operations openings
  mesh_file repair)

"$root/scripts/setup.sh" --check
mkdir -p "$build"
log=$build/build.log
if ! { cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
         -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" -DSCANMESH_SANITIZE=address,undefined \
         -DSCANMESH_FUZZ=ON -DSCANMESH_BUILD_EXAMPLES=OFF &&
       cmake --build "$build" -j "$(nproc)" --target "${targets[@]/#/fuzz_}"; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 1
fi

# One thread per parallel loop: a mesh of a hundred faces gains nothing by more.
export OMP_NUM_THREADS=1
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_stack_use_after_return=0:quarantine_size_mb=16}
status=0
for target in "${targets[@]}"; do
  corpus=$build/corpus/$target
  mkdir -p "$corpus" "$build/findings"
  kept=("$root/fuzz/seeds/$target")
  [[ ! -d $root/fuzz/regressions/$target ]] || kept+=("$root/fuzz/regressions/$target")
  options=(-max_total_time="$seconds" -max_len=4096 -timeout=25 -rss_limit_mb=4096 -print_final_stats=1 -close_fd_mask=1
           -artifact_prefix="$build/findings/$target-")
  [[ ! -f $root/fuzz/$target.dict ]] || options+=(-dict="$root/fuzz/$target.dict")
  echo "== $target"
  if "$build/fuzz/fuzz_$target" "${options[@]}" "$corpus" "${kept[@]}" >"$build/$target.log" 2>&1; then
    grep -E 'stat::number_of_executed_units|stat::average_exec_per_sec|stat::peak_rss' "$build/$target.log"
    grep -oE 'cov: [0-9]+ ft: [0-9]+ corp: [0-9]+' "$build/$target.log" | tail -n 1
  else
    tail -n 40 "$build/$target.log" >&2
    status=1
  fi
done
exit $status
