#!/usr/bin/env bash
# scripts/test.sh [PRESET]: installs what is missing, builds, and runs all tests of a preset (release unless
# told otherwise; asan, tsan, debug). Repetitive tests run at a tenth of their rounds unless TEST_SCALE says
# otherwise; scripts/torture.sh runs them all.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-release}

scripts/setup.sh >&2
cmake --preset "$preset" -DTUNESIFT_TESTS=ON >/dev/null
cmake --build --preset "$preset"
export TEST_SCALE=${TEST_SCALE:-0.1}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:quarantine_size_mb=16}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
# Most of the time goes into waiting for other processes, so twice as many tests as processors.
ctest --preset "$preset" --parallel $((2 * $(nproc)))
