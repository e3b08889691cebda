#!/usr/bin/env bash
# Measures what smoothing does to known surfaces, and renders docs/images/smoothing_*.png.
#   render_smoothing.sh SCAN.stl [OUT_DIRECTORY]
# The tables of docs/smoothing.md go to the standard output stream.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/bench
if [[ $# -lt 1 || ! -r $1 ]]; then
  echo "usage: render_smoothing.sh SCAN.stl [OUT_DIRECTORY]" >&2
  exit 2
fi
scan=$(realpath "$1")
pictures=$(realpath -m "${2:-$root/docs/images}")

"$root/scripts/setup.sh" --render >&2
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
  -DSCANMESH_BUILD_BENCH=ON >/dev/null
cmake --build "$build" --target smoothing_quality stl_to_pov >/dev/null
work=$build/render_smoothing
mkdir -p "$work" "$pictures"
"$build/bench/smoothing_quality" "$scan" "$work"

# render PICTURE SIGHT UP WIDTH HEIGHT NAME...: the named results side by side. SIGHT is where the
# camera looks from and UP what it holds upright, in the files' axes; WIDTH and HEIGHT are what each
# takes in the picture, in units of its largest extent.
render() {
  local picture=$1 sight=$2 up=$3 width=$4 height=$5
  shift 5
  local count=$# scene=$work/$picture.pov i=0
  local name
  {
    echo '#version 3.7;'
    echo 'global_settings { assumed_gamma 1.0 max_trace_level 3 }'
    echo 'background { color rgb <0.955, 0.965, 0.98> }'
    echo "#declare Sight = vnormalize($sight);"
    echo "#declare Aside = vnormalize(vcross($up, Sight));"
    echo "camera { orthographic location Sight * 5 look_at 0 sky $up"
    echo "  right x * $width * $count up y * $height }"
    echo "#declare Light = Sight + 0.8 * $up - 0.6 * Aside;"
    echo 'light_source { Light * 9 color rgb 0.95 shadowless }'
    echo 'light_source { (Sight + Aside) * 9 color rgb <0.26, 0.3, 0.36> shadowless }'
    for name in "$@"; do
      echo "#include \"$name.inc\""
      echo "#local Low = min_extent($name); #local High = max_extent($name);"
      echo '#local Size = max(High.x - Low.x, High.y - Low.y, High.z - Low.z);'
      echo "object { $name translate -(Low + High) / 2 scale 1 / Size"
      echo '  texture { pigment { color rgb <0.60, 0.66, 0.74> }'
      echo '    finish { ambient 0.12 diffuse 0.7 specular 0.1 roughness 0.06 } }'
      echo "  translate -Aside * $width * ($i - ($count - 1) / 2) }"
      i=$((i + 1))
    done
  } >"$scene"
  for name in "$@"; do
    "$build/examples/stl_to_pov" "$work/$name.stl" "$work/$name.inc" "$name"
  done
  (cd "$work" && povray "+I$picture.pov" "+O$pictures/$picture.png" +W730 \
    "+H$(awk "BEGIN { print int(730 * $height / ($width * $count)) }")" +A0.2 +AM2 +R2 -D -GA \
    >"$picture.log" 2>&1) || {
    tail -n 20 "$work/$picture.log" >&2
    exit 1
  }
  echo "$pictures/$picture.png: $(($(stat -c %s "$pictures/$picture.png") / 1024)) KiB" >&2
}

render smoothing_part '<-0.55, 0.6, -0.8>' y 1.2 0.85 part_noisy part_taubin part_sharp
render smoothing_scan '<-0.2, 0.2, -1>' y 1.05 1.06 scan_noisy scan_taubin scan_fast
render smoothing_spikes '<-0.2, 0.2, -1>' y 1.05 1.06 scan_spiky scan_despiked
