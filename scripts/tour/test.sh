#!/usr/bin/env bash
# The tour from end to end with the programs of a build: scans a surface, repairs the scan, makes the page
# and opens it.
#   test.sh EXAMPLES_DIRECTORY WORK
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
programs=$1 work=$2
mkdir -p "$work"
tar -xzf /usr/share/doc/libcgal-dev/data.tar.gz -C "$work" --strip-components=2 data/meshes/bunny00.off
"$programs/make_scan" "$work/bunny00.off" "$work/scan.stl" --truth "$work/truth.off" >/dev/null
"$programs/repair_scan" "$work/scan.stl" "$work/repaired.stl" --steps "$work/steps.json" >/dev/null
"$here/make.sh" "$programs/tour_data" "$work" "$work/scan.stl" "$work/repaired.stl" \
  "$work/steps.json" "$work/page.html" "$work/truth.off"
"$here/check.sh" "$work/page.html"
