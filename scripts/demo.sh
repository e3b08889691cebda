#!/usr/bin/env bash
# Repairs a scan from end to end.
#   demo.sh                    scans the Stanford bunny virtually, repairs the scan, measures the repair,
#                              and smooths what it has repaired
#   demo.sh SCAN.stl [OUT.stl] repairs a file of yours, binary or ASCII
#   demo.sh --report [...]     also makes a page to look at of it: both meshes to turn, holes, histograms
# Options of repair_scan may follow, --longest-ring N for instance.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/demo
out=$build/out
archive=/usr/share/doc/libcgal-dev/data.tar.gz

report=no
if [[ ${1:-} == --report ]]; then
  report=yes
  shift
fi
files=()
while [[ $# -gt 0 && $1 != --* ]]; do
  files+=("$1")
  shift
done
if [[ ${#files[@]} -gt 2 ]]; then
  echo "usage: demo.sh [--report] [SCAN.stl [OUT.stl]] [options of repair_scan]" >&2
  exit 2
fi
if [[ ${#files[@]} -gt 0 && ! -r ${files[0]} ]]; then
  echo "demo.sh: ${files[0]} can't be read" >&2
  exit 1
fi

setup=()
targets=(make_scan repair_scan smooth_scan repair scanmesh_cli)
extra=()
truth=()
if [[ $report == yes ]]; then
  setup+=(--report)
  targets+=(tour_data)
  extra+=(--steps "$out/steps.json")
fi
"$root/scripts/setup.sh" ${setup[@]+"${setup[@]}"}

echo "Building in $build"
mkdir -p "$out"
log=$build/build.log
if ! { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF &&
       cmake --build "$build" -j "$(nproc)" --target "${targets[@]}"; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 1
fi

if [[ ${#files[@]} -gt 0 ]]; then
  scan=${files[0]}
  result=${files[1]:-$out/$(basename "${scan%.*}")_repaired.stl}
  "$build/examples/repair_scan" "$scan" "$result" ${extra[@]+"${extra[@]}"} "$@"
else
  scan=$out/bunny_scan.stl
  result=$out/bunny_repaired.stl
  if [[ ! -f $out/bunny00.off ]]; then
    tar -xzf "$archive" -C "$out" --strip-components=2 data/meshes/bunny00.off
  fi
  "$build/examples/make_scan" "$out/bunny00.off" "$scan" --truth "$out/bunny_truth.off"
  "$build/examples/repair_scan" "$scan" "$result" --truth "$out/bunny_truth.off" \
    ${extra[@]+"${extra[@]}"} "$@"
  truth=("$out/bunny_truth.off")
  smoothed=$out/bunny_smoothed.stl
  echo
  "$build/examples/smooth_scan" "$result" "$smoothed" bilateral
fi
# The toolkit's own repair of the same scan, in one call, judged by its report.
healthy=${result%.stl}_healthy.stl
echo
"$build/examples/repair" "$scan" "$healthy" || [[ $? -eq 1 ]]
"$build/cli/scanmesh" info "$healthy"
echo
echo "Scan:     $scan"
echo "Repaired: $result"
echo "Healthy:  $healthy"
[[ -z ${smoothed:-} ]] || echo "Smoothed: $smoothed"

if [[ $report == yes ]]; then
  page=${result%.stl}.html
  "$root/scripts/tour/make.sh" "$build/examples/tour_data" "$out" "$scan" "$result" "$out/steps.json" \
    "$page" ${truth[@]+"${truth[@]}"}
  echo "Page:     $page"
fi
