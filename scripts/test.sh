#!/usr/bin/env bash
# Installs what is missing, builds Tidyreel twice (debug, and with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs the whole test suite in both builds, then runs each fuzz
# target for a short while.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
jobs="$(nproc)"

for preset in debug asan; do
    echo "== $preset build"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j"$jobs"
    echo "== $preset tests"
    ctest --preset "$preset" -j"$jobs" --timeout 900
done

echo "== fuzz targets, 10 s each"
scripts/fuzz.sh 10
