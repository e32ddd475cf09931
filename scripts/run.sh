#!/usr/bin/env bash
# scripts/run.sh analyze [TRACK...]: installs what is missing, builds a release, and runs tunesift with the
# arguments given. Everything but tunesift's own output goes to standard error.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

"$root/scripts/setup.sh" >&2
(
    cd "$root"
    cmake --preset release -DTUNESIFT_BENCH=OFF -DTUNESIFT_TESTS=OFF -B build >/dev/null
    cmake --build build --target tunesift tunesift-worker tunesift-probe
) >&2
exec "$root/build/bin/tunesift" "$@"
