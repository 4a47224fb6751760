#!/usr/bin/env bash
# Installs what is missing, builds Tidyreel and runs it on the bundled demo project.
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
echo "Written to $demo/output:"
ls -1 "$demo/output"
