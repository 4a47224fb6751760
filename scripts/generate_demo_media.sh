#!/usr/bin/env bash
# Generates the demo project's media with ffmpeg and writes the project with absolute media paths.
# Usage: generate_demo_media.sh OUTPUT_FOLDER
set -euo pipefail

out="$(mkdir -p "$1" && cd "$1" && pwd)"
examples="$(cd "$(dirname "$0")/../examples" && pwd)"
media="$out/media"
mkdir -p "$media"

clip() {  # name seconds pattern [audio]
    local target="$media/$1.mov"
    [ -f "$target" ] && return 0
    local audio=(-an)
    if [ "${4:-}" = "audio" ]; then
        audio=(-f lavfi -t "$2" -i "sine=frequency=440:sample_rate=48000" -c:a aac -b:a 96k)
    fi
    ffmpeg -hide_banner -loglevel error -y -f lavfi -t "$2" -i "$3=size=320x180:rate=25" "${audio[@]}" \
        -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25 "$target.partial.mov"
    mv "$target.partial.mov" "$target"
}

clip "Interview" 180 testsrc2 audio
clip "Drone" 120 mandelbrot
clip "B-Roll Market" 90 smptebars

media_url="file://$(printf '%s' "$media" | sed 's/ /%20/g')"
sed "s#@MEDIA_URL@#$media_url#g" "$examples/Demo Film.fcpxml.in" > "$out/Demo Film.fcpxml"
echo "$out/Demo Film.fcpxml"
