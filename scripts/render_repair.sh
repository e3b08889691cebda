#!/usr/bin/env bash
# Renders docs/images/repair.png: models as they come, their inside in red where it shows, and what repair
# makes of them, side by side.
#   render_repair.sh [OUT.png]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/demo
picture=$(realpath -m "${1:-$root/docs/images/repair.png}")
meshes=/usr/share/doc/libcgal-dev/data.tar.gz

"$root/scripts/setup.sh" --render
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF >/dev/null
cmake --build "$build" --target stl_to_pov scanmesh_cli >/dev/null
work=$build/render_repair
mkdir -p "$work" "$(dirname "$picture")"
source "$root/scripts/render_scene.sh"

# The middle of a binary STL file as the renderer's vector, and the width to show.
frame() {
  python3 - "$1" <<'PYTHON'
import struct
import sys

data = open(sys.argv[1], "rb").read()
count = struct.unpack_from("<I", data, 80)[0]
corners = [struct.unpack_from("<3f", data, 84 + 50 * i + 12 * k) for i in range(count) for k in (1, 2, 3)]
low = [min(p[k] for p in corners) for k in range(3)]
high = [max(p[k] for p in corners) for k in range(3)]
extent = sum((h - l) ** 2 for l, h in zip(low, high)) ** 0.5
# The pictures are wider than high: the height has to show all of it from any side.
print("<" + ", ".join(str((l + h) / 2) for l, h in zip(low, high)) + ">", extent / 0.62)
PYTHON
}

# pair NAME SIGHT UP
pictures=()
pair() {
  local name=$1 sight=$2 up=$3 aim extent
  tar -xzf "$meshes" -C "$work" --strip-components=2 "data/meshes/$name.off"
  "$build/cli/scanmesh" convert --quiet "$work/$name.off" "$work/${name}_before.stl"
  "$build/cli/scanmesh" repair --quiet "$work/$name.off" "$work/${name}_after.stl"
  read -r aim extent < <(frame "$work/${name}_before.stl" | sed 's/, /,/g')
  for when in before after; do
    render_scene "$work/${name}_$when.stl" "$work/${name}_$when.png" "$work" "$sight" "$up" "$aim" "$extent" 620
    pictures+=("$work/${name}_$when.png")
  done
}

pair mask_cone '<0.7, 0.35, 1>' '<0, 1, 0>'
pair lion '<0.5, 0.3, 1>' '<0, 1, 0>'
pair three_peaks '<0.6, 0.35, 1>' '<0, 1, 0>'
montage -tile 2x -geometry +4+4 -background '#f3f5fa' "${pictures[@]}" "$picture"
echo "$picture"
