#!/usr/bin/env bash
# Builds bildconv and converts the sample images of examples/ in a copy under
# build/demo, so the repository stays as it is. Installs only what the
# converter needs (cmake, g++, make) when it is missing; the tests and their
# tools are scripts/test.sh's business.
set -euo pipefail
cd "$(dirname "$0")/.."
need=""
for p in cmake g++ make; do dpkg -s "$p" >/dev/null 2>&1 || need="$need $p"; done
if [ -n "$need" ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq || true
    # shellcheck disable=SC2086
    $sudo apt-get install -y -qq $need
fi
cmake -S . -B build
cmake --build build -j"$(nproc)" --target bildconv
rm -rf build/demo && mkdir -p build/demo
find examples -maxdepth 1 -type f ! -name '*.cpp' ! -name '*.md' -exec cp {} build/demo/ \;
cd build/demo
# The shell's glob is sorted; bildconv has no options a name could be taken for.
# shellcheck disable=SC2035
../bildconv *
ls -l ./*.tif
