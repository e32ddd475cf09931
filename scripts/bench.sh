#!/usr/bin/env bash
# Measures each stage alone (Google Benchmark) and the whole worker, on tracks that it makes itself.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh >&2
cmake --preset release -DTUNESIFT_BENCH=ON >/dev/null
cmake --build --preset release --target tunesift_bench make_track read_track ping_pong read_remote tunesift tunesift-worker >&2
build/bin/tunesift_bench --benchmark_counters_tabular=true
python3 bench/whole_process.py build/bin
python3 bench/decoders.py build/bin
[ "$(id -u)" -ne 0 ] || python3 bench/remote.py build/bin  # namespaces need root
python3 bench/library.py build/bin
python3 bench/many_runs.py build/bin/tunesift-worker
