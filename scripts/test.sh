#!/usr/bin/env bash
# Installs what is missing, builds Tidyreel twice (debug, and with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs the whole test suite in both builds, then runs each fuzz
# target for a short while. The debug suite runs on an X server of its own (xvfb-run), so the window
# tests drive the window as on a desktop; the sanitizer build has no window.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
jobs="$(nproc)"

for preset in debug asan; do
    echo "== $preset build"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j"$jobs"
    echo "== $preset tests"
    if [ "$preset" = debug ]; then
        xvfb-run -a -s "-screen 0 1280x1024x24" ctest --preset "$preset" -j"$jobs" --timeout 900
    else
        ctest --preset "$preset" -j"$jobs" --timeout 900
    fi
done

echo "== fuzz targets, 10 s each"
scripts/fuzz.sh 10
