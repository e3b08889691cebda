#!/usr/bin/env bash
# Opens a page of the tour in headless Chromium: both views must have drawn, a drag must turn both, the
# charts must be there, and nothing may have been logged as an error.
#   check.sh PAGE.html [SCREENSHOT.png]
set -euo pipefail
page=$(realpath "$1")
screenshot=$(realpath -m "${2:-${page%.html}.png}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Drawn by software, on machines without a graphics card too.
browse() {
  timeout 300 chromium --headless=new --no-sandbox --disable-dev-shm-usage --hide-scrollbars \
    --use-gl=angle --use-angle=swiftshader --enable-unsafe-swiftshader --window-size=1240,1320 \
    --virtual-time-budget=20000 --user-data-dir="$work/profile" --enable-logging=stderr "$@" \
    "file://$page#check"
}
browse --dump-dom >"$work/dom.html" 2>"$work/log"
body=$(grep -o '<body[^>]*>' "$work/dom.html" || true)
console=$(grep -E 'CONSOLE' "$work/log" || true)

fail() {
  echo "$page: $1" >&2
  echo "$body" >&2
  echo "$console" >&2
  exit 1
}
value() { sed -n "s/.*data-$1=\"\([^\"]*\)\".*/\1/p" <<<"$body"; }
[[ $(value errors) == '[]' ]] || fail "an error in the page"
[[ -z $console ]] || fail "the page wrote to the console"
[[ $(value turned) == true ]] || fail "a drag on one view doesn't turn the other"
[[ $(value charts) -ge 3 ]] || fail "histograms are missing"
# The share of pixels that aren't background, of each view.
awk -F'[][,]' '{ exit !($2 > 0.03 && $3 > 0.03 && $2 < 0.97 && $3 < 0.97) }' <<<"$(value drawn)" ||
  fail "a view that hasn't drawn"
browse --screenshot="$screenshot" >/dev/null 2>&1
[[ -s $screenshot ]] || fail "no screenshot"
echo "$page: both views drawn: $(value drawn)"
echo "$screenshot: $(($(stat -c %s "$screenshot") / 1024)) KiB"
