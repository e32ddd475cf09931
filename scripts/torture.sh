#!/usr/bin/env bash
# Runs every test at its full number of rounds, plain and under the sanitizers. Takes its time.
set -euo pipefail
cd "$(dirname "$0")/.."
export TEST_SCALE=1
for preset in release asan tsan; do
    scripts/test.sh "$preset"
done
scripts/fuzz.sh 600
