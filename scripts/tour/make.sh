#!/usr/bin/env bash
# Makes the page of the tour, everything in one file.
#   make.sh TOUR_DATA WORK SCAN.stl REPAIRED.stl STEPS.json OUT.html [TRUTH.off]
# TOUR_DATA is the program, WORK a directory where three.js and the data stay.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
tour_data=$1 work=$2 scan=$3 repaired=$4 steps=$5 page=$6
truth=("${@:7}")

# By its package, once. The last version that comes as one minified module.
version=0.160.1
three=$work/three-$version
if [[ ! -f $three/package/package.json ]]; then
  mkdir -p "$three"
  # 77 tells the test that this is no fault of the page.
  (cd "$work" && npm pack --silent "three@$version" >/dev/null) || {
    echo "tour: three@$version can't be had from the npm registry" >&2
    exit 77
  }
  tar -xzf "$work/three-$version.tgz" -C "$three"
fi
"$tour_data" "$scan" "$repaired" "$work/tour.json" ${truth[@]+"${truth[@]}"}
node "$here/assemble.mjs" "$three/package" "$work/tour.json" "$steps" "$page"
