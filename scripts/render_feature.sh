#!/usr/bin/env bash
# Renders docs/images/feature_removed.png: the Stanford bunny as scanned, and without its tail.
#   render_feature.sh BUNNY.stl [OUT.png]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/demo
if [[ $# -lt 1 || ! -r $1 ]]; then
  echo "usage: render_feature.sh BUNNY.stl [OUT.png]" >&2
  exit 2
fi
scan=$(realpath "$1")
picture=$(realpath -m "${2:-$root/docs/images/feature_removed.png}")

"$root/scripts/setup.sh" --render
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" --target remove_feature stl_to_pov >/dev/null
work=$build/render_feature
mkdir -p "$work" "$(dirname "$picture")"
"$build/examples/remove_feature" "$scan" "$work/after.stl" 48 48 12 32
"$build/examples/stl_to_pov" "$scan" "$work/before.inc" before
"$build/examples/stl_to_pov" "$work/after.stl" "$work/after.inc" after
cat >"$work/scene.pov" <<'SCENE'
#version 3.7;
global_settings { assumed_gamma 1.0 }
background { color rgb <0.955, 0.965, 0.98> }
#declare Sight = vnormalize(<0.9, 0.3, -0.6>);
#declare Aside = vnormalize(vcross(y, Sight));
camera { orthographic location Sight * 5 look_at 0 sky y right x * 1.1 * 2 up y * 1.1 }
#declare Light = Sight + 0.8 * y - 0.6 * Aside;
light_source { Light * 9 color rgb 0.95 shadowless }
light_source { (Sight + Aside) * 9 color rgb <0.26, 0.3, 0.36> shadowless }
#include "before.inc"
#include "after.inc"
#declare Low = min_extent(before);
#declare High = max_extent(before);
#declare Size = max(High.x - Low.x, High.y - Low.y, High.z - Low.z);
#macro Show(Object, Place)
  object { Object translate -(Low + High) / 2 scale 1 / Size
    texture { pigment { color rgb <0.60, 0.66, 0.74> } finish { ambient 0.12 diffuse 0.7 } }
    translate -Aside * 1.1 * (Place - 0.5) }
#end
Show(before, 0)
Show(after, 1)
SCENE
(cd "$work" && povray +Iscene.pov "+O$picture" +W800 +H400 +A0.2 +AM2 +R2 -D -GA >povray.log 2>&1) || {
  tail -n 20 "$work/povray.log" >&2
  exit 1
}
echo "$picture: $(($(stat -c %s "$picture") / 1024)) KiB"
