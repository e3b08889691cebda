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

# render NAME SHAPE SIGHT WIDTH AIM [flat]: SIGHT is where the camera looks from, WIDTH what it shows,
# AIM the point in the middle; z is up.
render() {
  local name=$1 shape=$2 sight=$3 width=$4 aim=$5
  "$build/examples/octree_reconstruction" "$work/soup.stl" "$work/$shape.stl" "$shape" >/dev/null
  "$build/examples/stl_to_pov" "$work/$shape.stl" "$work/$name.inc" surface "${@:6}"
  cat >"$work/$name.pov" <<SCENE
#version 3.7;
global_settings { assumed_gamma 1.0 max_trace_level 3 }
#include "$name.inc"
background { color rgb <0.955, 0.965, 0.98> }
// The exporter turns z round for the renderer's left-handed axes.
#macro Turned(P) <P.x, P.y, -P.z> #end
#declare Sight = vnormalize(Turned($sight));
#declare Aim = Turned($aim);
camera {
  orthographic
  sky <0, 0, -1>
  location Aim + Sight * 300
  look_at Aim
  right x * $width
  up y * $width * 0.62
}
#declare Aside = vnormalize(vcross(<0, 0, -1>, Sight));
light_source { Aim + Sight * 300 + Aside * 220 - z * 260 color rgb 0.9 shadowless }
light_source { Aim + Sight * 300 - Aside * 320 - z * 40 color rgb <0.26, 0.3, 0.36> shadowless }
object {
  surface
  texture {
    pigment { color rgb <0.60, 0.66, 0.74> }
    finish { ambient 0.14 diffuse 0.68 specular 0.10 roughness 0.06 }
  }
  interior_texture {
    pigment { color rgb <0.78, 0.09, 0.07> }
    finish { ambient 0.42 diffuse 0.5 }
  }
}
SCENE
  (cd "$work" && povray "+I$name.pov" "+O$pictures/octree_$name.png" +W760 +H471 +A0.1 +AM2 +R3 \
    -D -GA >"$name.log" 2>&1) || {
    tail -n 20 "$work/$name.log" >&2
    exit 1
  }
  echo "$pictures/octree_$name.png: $(($(stat -c %s "$pictures/octree_$name.png") / 1024)) KiB"
}

render part part '<0.5, -1, 1>' 128 '<0, 0, 4>'
render seam part '<0.2, -0.6, 1>' 26 '<30, -20, 12>' flat
render sculpture sculpture '<0.6, -1, 0.5>' 120 '<0, 0, 4>'
