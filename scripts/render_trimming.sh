#!/usr/bin/env bash
# Renders docs/images/trimming_*.png: openings cut into the back of the Stanford bunny, and into flat and
# round faces of a virtually scanned part. The inside shows in red.
#   render_trimming.sh BUNNY.stl [OUT_DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/demo
if [[ $# -lt 1 || ! -r $1 ]]; then
  echo "usage: render_trimming.sh BUNNY.stl [OUT_DIRECTORY]" >&2
  exit 2
fi
scan=$(realpath "$1")
pictures=$(realpath -m "${2:-$root/docs/images}")

"$root/scripts/setup.sh" --render
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" --target subdivide octree_reconstruction trim_openings stl_to_pov >/dev/null
work=$build/render_trimming
mkdir -p "$work" "$pictures"
source "$root/scripts/render_scene.sh"

# render NAME SURFACE SIGHT UP WIDTH AIM DEPTH: cuts the openings of $work/NAME.txt with walls of that
# depth. SIGHT is where the camera looks from, WIDTH what it shows, AIM the point in the middle.
render() {
  local name=$1 surface=$2 sight=$3 up=$4 width=$5 aim=$6 depth=$7
  "$build/examples/trim_openings" "$surface" "$work/$name.stl" "$work/$name.txt" "$depth"
  render_scene "$work/$name.stl" "$pictures/trimming_$name.png" "$work" "$sight" "$up" "$aim" "$width" 900 flat
}

cat >"$work/bunny.txt" <<'OPENINGS'
circle 14 129 5  0.35 0.93 -0.12  5
slot 10 94 50.5  0.13 0.6 0.78  1 0 -0.15  8 3
rectangle 18 113 35  0.2 0.55 0.8  0.9 0 -0.3  6 3.5
OPENINGS
"$build/examples/subdivide" "$scan" "$work/fine.stl" >/dev/null
render bunny "$work/fine.stl" '<0.5, 0.8, 0.9>' '<0, 1, 0>' 100 '<8, 109, 25>' 3

cat >"$work/part.txt" <<'OPENINGS'
circle 17.5 -17.2 21  0.3 -0.95 0  3
circle 18 -35 0  0 -1 0  5
slot -5 -35 0  0 -1 0  1 0 0  4 2
rectangle 37 -35 0  0 -1 0  1 0 0  4 2.5
OPENINGS
"$build/examples/octree_reconstruction" "$work/soup.stl" "$work/whole_part.stl" part >/dev/null
render part "$work/whole_part.stl" '<0.35, -1, 0.6>' '<0, 0, 1>' 88 '<14, -10, 4>' 4
