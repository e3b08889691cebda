#!/usr/bin/env bash
# Renders docs/images/hole_*.png: models with the holes they come with, their inside in red where it
# shows, beside the same models with every ring filled and the new faces in green.
#   render_holes.sh [OUT_DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/demo
pictures=$(realpath -m "${1:-$root/docs/images}")
meshes=/usr/share/doc/libcgal-dev/data.tar.gz

"$root/scripts/setup.sh" --render
if [[ ! -r $meshes ]]; then
  echo "render_holes.sh: $meshes (package libcgal-dev) is needed for its models" >&2
  exit 1
fi
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" --target fill_to_pov >/dev/null
work=$build/render_holes
mkdir -p "$work" "$pictures"

# render NAME SIGHT ZOOM AIM: SIGHT is where the camera looks from, ZOOM the width shown of each
# model in units of its extent, AIM the point in the middle.
render() {
  local name=$1 sight=$2 zoom=$3 aim=$4
  tar -xzf "$meshes" -C "$work" --strip-components=2 "data/meshes/$name.off"
  "$build/examples/fill_to_pov" "$work/$name.off" "$work/$name.inc"
  cat >"$work/$name.pov" <<SCENE
#version 3.7;
global_settings { assumed_gamma 1.0 max_trace_level 3 }
#include "$name.inc"
background { color rgb <0.955, 0.965, 0.98> }
#declare Sight = vnormalize($sight);
#declare Aside = vnormalize(vcross(y, Sight)) * $zoom;
camera {
  orthographic
  location Sight * 5 + $aim
  look_at $aim
  right x * $zoom * 2
  up y * $zoom
}
light_source { vrotate(Sight * 9, <25, 30, 0>) color rgb 0.95 shadowless }
light_source { vrotate(Sight * 9, <-30, -50, 0>) color rgb <0.26, 0.3, 0.36> shadowless }
#declare Outside = texture {
  pigment { color rgb <0.60, 0.66, 0.74> }
  finish { ambient 0.14 diffuse 0.68 specular 0.12 roughness 0.05 }
}
#declare Patched = texture {
  pigment { color rgb <0.42, 0.72, 0.40> }
  finish { ambient 0.14 diffuse 0.68 specular 0.12 roughness 0.05 }
}
#declare Inside = texture {
  pigment { color rgb <0.78, 0.09, 0.07> }
  finish { ambient 0.42 diffuse 0.5 }
}
object { before texture { Outside } interior_texture { Inside } translate Aside * 0.5 }
object { rest texture { Outside } interior_texture { Inside } translate -Aside * 0.5 }
object { patches texture { Patched } interior_texture { Inside } translate -Aside * 0.5 }
SCENE
  (cd "$work" && povray "+I$name.pov" "+O$pictures/hole_$name.png" +W1300 +H650 +A0.1 +AM2 +R3 \
    -D -GA >"$name.log" 2>&1) || {
    tail -n 20 "$work/$name.log" >&2
    exit 1
  }
  echo "$pictures/hole_$name.png: $(($(stat -c %s "$pictures/hole_$name.png") / 1024)) KiB"
}

render elephant-with-holes '<0.5, 0.2, -1>' 1.05 '<0, 0, 0>'
render lion '<0.5, 0.2, -1>' 1.1 '<0, 0, 0>'
render mech-holes-shark '<-0.9, 0.35, -0.6>' 1.7 '<0, 0, 0>'
