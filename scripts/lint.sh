#!/usr/bin/env bash
# scripts/lint.sh [format]: checks all our sources against .clang-format and, unless told "format", .clang-tidy,
# which takes a good ten minutes.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh >&2
mapfile -t sources < <(git ls-files '*.h' '*.cpp')
clang-format --dry-run --Werror "${sources[@]}"
echo "clang-format: clean"
[ "${1:-}" = format ] && exit 0

# clang-tidy cannot read GCC's precompiled headers: it gets the commands of a build by clang.
cmake --preset fuzz -B build/lint -DTUNESIFT_TESTS=ON -DTUNESIFT_BENCH=ON >/dev/null
cmake --build build/lint >/dev/null
printf '%s\n' "${sources[@]}" | grep '\.cpp$' |
    xargs -P "$(nproc)" -n 4 clang-tidy-14 --quiet -p build/lint 2>/dev/null
echo "clang-tidy: clean"
