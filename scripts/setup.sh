#!/usr/bin/env bash
# Installs the Debian packages Tidyreel needs to build, test and run (skips those already there).
set -euo pipefail

packages=(
    build-essential cmake ninja-build pkg-config git
    libxml2-dev qt6-base-dev nlohmann-json3-dev libfmt-dev libcli11-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    ffmpeg zip unzip xvfb xauth fonts-noto-color-emoji
    dbus-daemon dbus-session-bus-common dunst
    clang libclang-rt-14-dev
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$package")
    fi
done

if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
