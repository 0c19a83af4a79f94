#!/usr/bin/env bash
# The console in a real browser. Builds the console and the demo host,
# installs what is missing (Debian's chromium, Node and npm; the pinned
# playwright-core with npm ci, into build/tests/browser) and runs the
# CTest test labelled "browser". It never downloads a browser of its own.
#   scripts/browser-test.sh
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

PACKAGES+=(chromium)
command -v node >/dev/null || PACKAGES+=(nodejs)
command -v npm >/dev/null || PACKAGES+=(npm)
BUILD_TARGETS="robocomm-console robocomm-demo-host" build_into "$ROOT/build"

modules="$ROOT/build/tests/browser"
lock="$ROOT/tests/browser/package-lock.json"
if ! cmp -s "$lock" "$modules/node_modules/.installed-lock.json"; then
  mkdir -p "$modules"
  cp "$ROOT/tests/browser/package.json" "$lock" "$modules/"
  (cd "$modules" && npm ci --ignore-scripts --no-audit --no-fund)
  cp "$lock" "$modules/node_modules/.installed-lock.json"
fi
ctest --test-dir "$ROOT/build" -L browser --output-on-failure --timeout 300
