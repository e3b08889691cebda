#!/usr/bin/env bash
# Renders docs/images/octree_*.png: what the octree pipeline makes of virtual scans, the inside in red
# where a gap lets it show.
#   render_octree.sh [OUT_DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/demo
pictures=$(realpath -m "${1:-$root/docs/images}")

"$root/scripts/setup.sh" --render
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" --target octree_reconstruction stl_to_pov >/dev/null
work=$build/render_octree
mkdir -p "$work" "$pictures"
source "$root/scripts/render_scene.sh"

# render NAME SHAPE SIGHT WIDTH AIM [flat]: SIGHT is where the camera looks from, WIDTH what it shows,
# AIM the point in the middle; z is up.
render() {
  local name=$1 shape=$2 sight=$3 width=$4 aim=$5
  "$build/examples/octree_reconstruction" "$work/soup.stl" "$work/$shape.stl" "$shape" >/dev/null
  render_scene "$work/$shape.stl" "$pictures/octree_$name.png" "$work" "$sight" '<0, 0, 1>' "$aim" "$width" 760 "${@:6}"
}

render part part '<0.5, -1, 1>' 128 '<0, 0, 4>'
render seam part '<0.2, -0.6, 1>' 26 '<30, -20, 12>' flat
render sculpture sculpture '<0.6, -1, 0.5>' 120 '<0, 0, 4>'
