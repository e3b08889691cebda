#!/usr/bin/env bash
# Repairs every mesh of a folder by the toolkit, reads the results back as binary STL, and lets two others
# judge them: CGAL (closed, manifold, oriented, outward, no self-intersections) and ADMesh.
#   judge.sh [FOLDER]   default: the data archive of Debian's libcgal-dev
# The table goes to standard output and to build/judge/table.txt.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/judge
archive=/usr/share/doc/libcgal-dev/data.tar.gz

"$root/scripts/setup.sh" --peers
mkdir -p "$build"
folder=${1:-}
if [[ -z $folder ]]; then
  folder=$build/archive
  mkdir -p "$folder"
  tar -xzf "$archive" -C "$folder" --strip-components=2 --wildcards 'data/meshes/*.off' 'data/meshes/*.stl' \
    'data/meshes/*.ply'
fi

cmake -S "$root" -B "$build/bench" -DCMAKE_BUILD_TYPE=Release -DSCANMESH_BUILD_PEERS=ON \
  -DBUILD_TESTING=OFF >"$build/configure.log"
cmake --build "$build/bench" -j "$(nproc)" --target peers_repair_folder peers_judge >"$build/build.log" ||
  { cat "$build/build.log" >&2; exit 1; }
programs=$build/bench/bench/peers

out=$build/out
rm -rf "$out"
"$programs/peers_repair_folder" "$folder" "$out" >"$build/repair.tsv"
"$programs/peers_judge" "$out"/before/*.stl >"$build/before.tsv"
"$programs/peers_judge" "$out"/after/*.stl >"$build/after.tsv"

# ADMesh on its own, judged the same way.
if command -v admesh >/dev/null; then
  mkdir -p "$out/admesh"
  for file in "$out"/before/*.stl; do
    timeout 60 admesh --write-binary-stl="$out/admesh/$(basename "$file")" "$file" >/dev/null 2>&1 || true
  done
  "$programs/peers_judge" "$out"/admesh/*.stl >"$build/admesh.tsv" || true
fi

python3 - "$build" <<'PYTHON' | tee "$build/table.txt"
import pathlib
import sys

build = pathlib.Path(sys.argv[1])


def rows(name):
    path = build / name
    if not path.exists():
        return {}
    lines = (line.rstrip("\n").split("\t") for line in path.open())
    return {fields[0].removesuffix(".stl"): fields[1:] for fields in lines}


repair, before, after, admesh = (rows(n) for n in ("repair.tsv", "before.tsv", "after.tsv", "admesh.tsv"))
print(f"{'mesh':34} {'before':28} {'after':28} {'parts':>9} {'kept':>7} {'moved':>8} {'seconds':>8}")
for name, (state, parts, now, kept, moved, seconds, _) in repair.items():
    def verdict(table):
        fields = table.get(name, ["", "", "", "", ""])
        return "healthy" if fields[0] == "healthy" else fields[1]
    if verdict(before) == "healthy" and verdict(after) == "healthy" and float(kept) == 1:
        continue  # nothing to tell
    print(f"{name:34} {verdict(before):28} {verdict(after):28} {parts + '>' + now:>9} {float(kept):7.4f} "
          f"{float(moved):8.1e} {float(seconds):8.2f}")


def healthy(table):
    return sum(1 for fields in table.values() if fields[0] == "healthy")


print(f"\n{len(repair)} meshes; healthy before {healthy(before)}, after {healthy(after)}"
      + (f", after ADMesh {healthy(admesh)}" if admesh else ""))
short = [name for name, fields in repair.items() if float(fields[3]) < 0.98]
print(f"less than 98 % of the points kept: {', '.join(short) if short else 'none'}")
print(f"seconds in all: {sum(float(fields[5]) for fields in repair.values()):.1f}, "
      f"slowest {max(float(fields[5]) for fields in repair.values()):.2f}")
sys.exit(0 if healthy(after) == len(repair) else 1)
PYTHON
