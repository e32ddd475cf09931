#!/usr/bin/env bash
# Installs everything that building and testing on Debian 12 needs. This list is the only one.
set -euo pipefail

packages=(
    # tools
    g++ cmake ninja-build pkg-config git
    clang clang-format clang-tidy libclang-rt-14-dev   # lint and libFuzzer
    # libraries
    qtbase5-dev qtdeclarative5-dev
    libboost-dev libboost-chrono-dev libboost-thread-dev libboost-system-dev libboost-filesystem-dev
    libavformat-dev libavcodec-dev libavutil-dev libswresample-dev
    libflac-dev libvorbis-dev
    # tests and benchmarks
    libgtest-dev libgmock-dev libbenchmark-dev
    ffmpeg flac vorbis-tools python3 procps iproute2 nftables
    lintian dpkg-dev parallel slurm-wlm              # the package; the recipes for many machines
)

missing=()
for package in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup.sh: needs root (or sudo) to install: ${missing[*]}" >&2; exit 1; }
    as_root=(sudo)
fi
echo "installing: ${missing[*]}" >&2
"${as_root[@]}" apt-get update -qq >&2
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
