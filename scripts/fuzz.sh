#!/usr/bin/env bash
# scripts/fuzz.sh [SECONDS]: builds the libFuzzer programs and runs each for that long (10 by default),
# starting from its corpus in fuzz/corpus. New inputs and findings go to build/fuzz/found. FUZZ_SEED makes chance
# repeat itself: a landing change is judged by the same inputs as the one before; without it, or with 0, every
# run tries others.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-10}

scripts/setup.sh >&2
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
for program in build/fuzz/bin/fuzz_*; do
    name=$(basename "$program")
    found=build/fuzz/found/$name
    mkdir -p "$found"
    echo "fuzzing $name for $seconds s"
    if ! "$program" -seed="${FUZZ_SEED:-0}" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=1024 -print_final_stats=1 \
        -artifact_prefix="$found/" "$found" "fuzz/corpus/$name" >"$found.log" 2>&1; then
        tail -50 "$found.log"
        echo "$name failed; its input is in $found" >&2
        exit 1
    fi
    grep -E 'number_of_executed_units|peak_rss' "$found.log"
done
