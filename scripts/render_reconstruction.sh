#!/usr/bin/env bash
# Renders the pictures of docs/reconstruction.md: points beside the mesh made of them, and the seam of
# two scans before and after stitching, the inside in red where a gap lets it show.
#   render_reconstruction.sh SCAN.stl [OUT_DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/demo
if [[ $# -lt 1 || ! -r $1 ]]; then
  echo "usage: render_reconstruction.sh SCAN.stl [OUT_DIRECTORY]" >&2
  exit 2
fi
scan=$(realpath "$1")
pictures=$(realpath -m "${2:-$root/docs/images}")
archive=/usr/share/doc/libcgal-demo/data.tar.gz

"$root/scripts/setup.sh" --render
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" --target stl_to_pov points_to_mesh stitch_scans >/dev/null
work=$build/render_reconstruction
mkdir -p "$work" "$pictures"

# render NAME WIDTH HEIGHT, the scene comes on the standard input.
render() {
  cat >"$work/$1.pov"
  (cd "$work" && povray "+I$1.pov" "+O$pictures/$1.png" "+W$2" "+H$3" +A0.1 +AM2 +R3 -D -GA \
    >"$1.log" 2>&1) || {
    tail -n 20 "$work/$1.log" >&2
    exit 1
  }
  echo "$pictures/$1.png: $(($(stat -c %s "$pictures/$1.png") / 1024)) KiB"
}

common='#version 3.7;
global_settings { assumed_gamma 1.0 max_trace_level 3 }
background { color rgb <0.955, 0.965, 0.98> }
#declare Outside = texture {
  pigment { color rgb <0.60, 0.66, 0.74> }
  finish { ambient 0.14 diffuse 0.68 specular 0.08 roughness 0.05 }
}
#declare Inside = texture {
  pigment { color rgb <0.78, 0.09, 0.07> }
  finish { ambient 0.42 diffuse 0.5 }
}'

tar -xzf "$archive" -C "$work" --strip-components=2 data/points_3/kitten.xyz
"$build/examples/points_to_mesh" "$work/kitten.xyz" "$work/kitten.stl" >/dev/null
"$build/examples/stl_to_pov" "$work/kitten.stl" "$work/kitten.inc" kitten
{
  echo '#declare kitten_points = union {'
  awk 'NF >= 6 { printf "sphere { <%s, %s, %s>, 0.005 }\n", $1, $2, -$3 }' "$work/kitten.xyz"
  echo '}'
} >"$work/kitten_points.inc"
render pivoting_points 600 360 <<SCENE
$common
#include "kitten.inc"
#include "kitten_points.inc"
#declare Middle = (min_extent(kitten) + max_extent(kitten)) / 2;
camera { orthographic location <0, 0.25, -5> look_at 0 right x * 2 up y * 1.2 }
light_source { <-3, 5, -6> color rgb 1 shadowless }
light_source { <5, 1, -3> color rgb <0.26, 0.3, 0.36> shadowless }
object {
  kitten_points
  texture { pigment { color rgb <0.2, 0.3, 0.45> } finish { ambient 0.3 diffuse 0.6 } }
  translate -Middle rotate y * 25 translate x * -0.5
}
object {
  kitten
  texture { Outside } interior_texture { Inside }
  translate -Middle rotate y * 25 translate x * 0.5
}
SCENE

for ratio in 4 8; do
  "$build/examples/stitch_scans" "$scan" "$work/before.stl" "$work/after.stl" --ratio "$ratio" \
    >/dev/null
  "$build/examples/stl_to_pov" "$work/before.stl" "$work/before.inc" before flat
  "$build/examples/stl_to_pov" "$work/after.stl" "$work/after.inc" after flat
  render "pivoting_seam_$ratio" 810 378 <<SCENE
$common
#include "before.inc"
#include "after.inc"
#declare Low = min_extent(after);
#declare High = max_extent(after);
#declare Middle = (Low + High) / 2;
#declare Size = vlength(High - Low) * 0.36;
camera { orthographic location z * -1000 look_at 0 right x * Size * 2.143 up y * Size }
light_source { <-900, 900, -900> color rgb 0.95 shadowless }
light_source { <900, 200, -500> color rgb <0.3, 0.33, 0.38> shadowless }
#macro Show(Body, X)
  object {
    Body
    texture { Outside } interior_texture { Inside }
    translate -Middle
    clipped_by { box { <-Size * 0.52, -Size, -1000>, <Size * 0.52, Size, 1000> } }
    translate x * X * Size
  }
#end
Show(before, -0.54)
Show(after, 0.54)
SCENE
done
