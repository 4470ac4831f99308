#!/usr/bin/env bash
# Line and branch coverage of the product code (src/, plugins/, include/) by the Linux
# tests: a build instrumented for gcov in build/coverage, every test run once, then
# gcovr's summary. Installs gcovr (Debian's package) when it is missing.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/ensure-packages.sh
ensure_packages "${BUILD_PACKAGES[@]}" "${TEST_PACKAGES[@]}" gcovr

dir=build/coverage
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTESSAROVEN_COVERAGE=ON -DTESSAROVEN_BENCH=OFF >/dev/null
ninja -C "$dir" -j2
# Counts from an earlier run would add up with this one's.
find "$dir" -name '*.gcda' -delete
(cd "$dir" && ctest -j2 --timeout 900 --output-on-failure)
# The coverage folder is named as the only place to search: gcovr would otherwise also
# merge in the counts of any other instrumented build below the checkout.
gcovr -r . "$dir" --filter 'src/' --filter 'plugins/' --filter 'include/' \
  --exclude-unreachable-branches --exclude-throw-branches --print-summary "$@"
