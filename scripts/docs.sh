#!/usr/bin/env bash
# Makes the site of the exported headers and the guide. An exported operation or class without a comment is an
# error, and so is everything else that Doxygen warns of; fields may speak for themselves.
#   docs.sh [OUT_DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=$(realpath -m "${1:-${SCANMESH_BUILD_ROOT:-$root/build}/docs}")
"$root/scripts/setup.sh" --docs
mkdir -p "$out"
cd "$root"
{ cat docs/Doxyfile; printf 'OUTPUT_DIRECTORY = "%s"\n' "$out"; } >"$out/Doxyfile"
rm -rf "$out/html"
doxygen "$out/Doxyfile" >"$out/doxygen.log" 2>&1 || { cat "$out/doxygen.log" >&2; exit 1; }
cp docs/images/*.svg "$out/html/" 2>/dev/null || true

# What isn't exported but stands in an exported header: the innards of trees and pools.
inner='(KdT::KdTree|KdTreeX|KdTreeX_Static|XYZPoint3T|PointCloudPtr|T_node|Oct_Pool|M_point_arry|MemAllo|_edge|_vert|XNode)'
problems=$(grep -i 'warning' "$out/doxygen.log" |
  grep -vE '\(variable\).*is not documented|enum value|(class|struct) [A-Za-z0-9_:]*'"$inner"' is not documented' |
  grep -vE "Member XNode \(typedef\)" | grep -vE "README.md.*(CONTRIBUTING|CHANGELOG)" || true)
if [[ -n $problems ]]; then
  printf '%s\n' "$problems" >&2
  exit 1
fi
echo "$out/html/index.html: $(find "$out/html" -name '*.html' | wc -l) pages"
