#!/usr/bin/env bash
# Renders the README's picture, docs/images/bunny_repair.png: the demonstration's scan, its inside in
# red wherever a hole lets it show, beside what the repair made of it.
#   render.sh [OUT.png]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/demo
picture=$(realpath -m "${1:-$root/docs/images/bunny_repair.png}")

"$root/scripts/setup.sh" --render
"$root/scripts/demo.sh" >/dev/null
cmake --build "$build" --target stl_to_pov >/dev/null
work=$build/render
mkdir -p "$work" "$(dirname "$picture")"
"$build/examples/stl_to_pov" "$build/out/bunny_scan.stl" "$work/scan.inc" scan_mesh
"$build/examples/stl_to_pov" "$build/out/bunny_repaired.stl" "$work/repaired.inc" repaired_mesh

cat >"$work/scene.pov" <<'SCENE'
#version 3.7;
global_settings { assumed_gamma 1.0 max_trace_level 3 }
#include "scan.inc"
#include "repaired.inc"

#declare Paper = rgb <0.955, 0.965, 0.98>;
background { color Paper }
camera {
  orthographic
  location <0, 110, -420>
  look_at <0, -2, 0>
  right x * 392
  up y * 178
}

light_source {
  <-260, 380, -420> color rgb 1.05
  area_light <120, 0, 0>, <0, 90, 80>, 9, 9 adaptive 1 jitter
}
light_source { <420, 120, -260> color rgb <0.26, 0.3, 0.36> shadowless }

#declare Outside = texture {
  pigment { color rgb <0.60, 0.66, 0.74> }
  finish { ambient 0.16 diffuse 0.68 specular 0.12 roughness 0.05 }
}
#declare Inside = texture {
  pigment { color rgb <0.78, 0.09, 0.07> }
  finish { ambient 0.42 diffuse 0.5 }
}
#macro Show(Body, X)
  object {
    Body
    texture { Outside }
    interior_texture { Inside }
    rotate y * 222
    translate <X, 0, 0>
  }
#end
Show(scan_mesh, -114)
Show(repaired_mesh, 82)
SCENE
(cd "$work" && povray +Iscene.pov "+O$picture" +W1500 +H680 +A0.1 +AM2 +R3 -D -GA >povray.log 2>&1) || {
  tail -n 20 "$work/povray.log" >&2
  exit 1
}
echo "$picture: $(($(stat -c %s "$picture") / 1024)) KiB"
