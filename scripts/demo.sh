#!/usr/bin/env bash
# Installs what is missing, builds Tidyreel and runs it on the bundled demo project; with a display
# it then opens the desktop window on that project.
# Settings and remembered effects of the demo live in build/demo, never in the user's home.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release -j"$(nproc)"

demo="build/demo"
project="$(scripts/generate_demo_media.sh "$demo")"
export XDG_CONFIG_HOME="$PWD/$demo/config" XDG_DATA_HOME="$PWD/$demo/data"
tidyreel="build/release/tidyreel"

echo
echo "== Roles of the demo project"
"$tidyreel" roles "$project" --lang en
echo
echo "== Colour grading run"
"$tidyreel" grade "$project" -o "$demo/output" --lang en
echo
echo "== Video description run"
"$tidyreel" describe "$project" -o "$demo/output" --chapters --descriptions --lang en \
    --description1 "Mehr Filme auf example.org" --description2 "More films on example.org"
echo
echo "== Archive run (trim the used media and write a self-contained bundle)"
"$tidyreel" archive "$project" -o "$demo/output" --buffer 2 --min-segment 5 --lang en
echo
echo "Written to $demo/output:"
ls -1R "$demo/output"

# With a display, the desktop window opens on the same project (same demo settings); close it to end.
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -x build/release/tidyreel-desktop ]; then
    echo
    echo "== Desktop window on the demo project"
    build/release/tidyreel-desktop "$project"
fi
