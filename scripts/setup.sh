#!/usr/bin/env bash
# Installs the Debian packages that scanmesh needs; says nothing and is done at once when all are there.
#   setup.sh             to build, run the demo and run the tests
#   setup.sh --check     also what scripts/check.sh uses
#   setup.sh --render    also what scripts/render.sh uses
#   setup.sh --coverage  also what scripts/coverage.sh uses
#   setup.sh --docs      also what scripts/docs.sh uses
#   setup.sh --report    also what demo.sh --report and the test of its page use
#   setup.sh --windows    also the cross compiler that scripts/check.sh windows uses
#   setup.sh --peers     also the mesh libraries that bench/peers compares with
set -euo pipefail

packages=(cmake make g++ ccache libeigen3-dev libboost-dev nlohmann-json3-dev libcli11-dev libfmt-dev
          libopencv-core-dev libgtest-dev libgmock-dev
          libbenchmark-dev libcgal-demo pkg-config dpkg-dev file
          python3)
for option in "$@"; do
  case "$option" in
    --check) packages+=(clang clang-format clang-tidy libomp-dev) ;;
    --windows) packages+=(g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev) ;;
    --coverage) packages+=(gcovr) ;;
    --docs) packages+=(doxygen) ;;
    --report)
      packages+=(chromium)
      # Node and its package manager come from elsewhere on some machines.
      command -v node >/dev/null || packages+=(nodejs)
      command -v npm >/dev/null || packages+=(npm)
      ;;
    --render) packages+=(povray imagemagick) ;;
    --peers) packages+=(libopen3d-dev libcgal-dev libopenmesh-dev libmeshoptimizer-dev
                        libassimp-dev admesh) ;;
    *) echo "setup.sh: unknown option $option" >&2; exit 2 ;;
  esac
done

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
  echo "setup.sh: not a Debian system, nothing installed. Needed here: ${packages[*]}" >&2
  exit 0
fi

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ $status == "install ok installed" ]] || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

as_root=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || {
    echo "setup.sh: needs root or sudo to install: ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi

echo "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
install() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq update &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get -qq -y --no-install-recommends install "${missing[@]}"
}
if ! install >"$log" 2>&1 </dev/null; then
  cat "$log" >&2
  echo "setup.sh: the installation failed" >&2
  exit 1
fi
