#!/usr/bin/env bash
# Builds everything and runs every test. BUILD_DIR and CMAKE_ARGS choose
# another build (the sanitizer build in CI, for one).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
build=${BUILD_DIR:-build}
# shellcheck disable=SC2086
cmake -S . -B "$build" -DBILD_TESTS=ON ${CMAKE_ARGS:-}
cmake --build "$build" -j"$(nproc)"
ctest --test-dir "$build" --output-on-failure -j"$(nproc)"
