#!/usr/bin/env bash
# Checks all our sources against .clang-format and .clang-tidy.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh >&2
mapfile -t sources < <(git ls-files '*.h' '*.cpp')
clang-format --dry-run --Werror "${sources[@]}"

# clang-tidy cannot read GCC's precompiled headers, so it looks at the fuzz preset, which clang compiles.
cmake --preset fuzz -DTUNESIFT_TESTS=ON -DTUNESIFT_BENCH=ON >/dev/null
cmake --build --preset fuzz --target help >/dev/null
printf '%s\n' "${sources[@]}" | grep '\.cpp$' |
    xargs -P "$(nproc)" -n 4 clang-tidy-14 --quiet -p build/fuzz 2>/dev/null
echo "lint: clean"
