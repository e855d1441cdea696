#!/usr/bin/env bash
# Builds bildconv and converts the sample images of examples/ in a copy under
# build/demo, so the repository stays as it is.
set -euo pipefail
cd "$(dirname "$0")/.."
BILD_SKIP_OPTIONAL=1 bash scripts/setup.sh
cmake -S . -B build
cmake --build build -j"$(nproc)" --target bildconv
rm -rf build/demo && mkdir -p build/demo
find examples -maxdepth 1 -type f ! -name '*.cpp' ! -name '*.md' -exec cp {} build/demo/ \;
cd build/demo
# shellcheck disable=SC2046
../bildconv $(ls | sort)
ls -l ./*.tif
