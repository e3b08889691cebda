#!/usr/bin/env bash
# Makes the Debian packages: libscanmesh0 for those who run programs, libscanmesh-dev for those who build them.
#   package.sh [OUT_DIRECTORY]
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${SCANMESH_BUILD_ROOT:-$root/build}/package
out=$(realpath -m "${1:-$build/debs}")

"$root/scripts/setup.sh"
mkdir -p "$build"
log=$build/build.log
if ! { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
         -DBUILD_TESTING=OFF -DSCANMESH_BUILD_EXAMPLES=OFF &&
       cmake --build "$build" -j "$(nproc)" &&
       cpack --config "$build/CPackConfig.cmake" -B "$out"; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 1
fi
for package in "$out"/libscanmesh*.deb; do
  echo "$package: $(dpkg-deb -f "$package" Depends)"
done
