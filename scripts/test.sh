#!/usr/bin/env bash
# Builds everything and runs all tests and the example suite: first with g++, then with clang++ and the address and
# undefined-behaviour sanitizers; between the two the sources are checked. --fast stops after the first round.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

presets=(dev asan-ubsan)
case "$#:${1-}" in
    0:) ;;
    1:--fast) presets=(dev) ;;
    *)
        echo "usage: scripts/test.sh [--fast]" >&2
        exit 2
        ;;
esac

scripts/setup.sh
for preset in "${presets[@]}"; do
    printf '\n== %s ==\n' "$preset"
    cmake --preset "$preset"
    cmake --build --preset "$preset"
    ctest --preset "$preset"
    if [[ "$preset" == dev && "$*" != --fast ]]; then
        scripts/lint.sh
    fi
done
