#!/usr/bin/env bash
# Static analysis of src/: cppcheck and clang-tidy (checks in .clang-tidy),
# both with warnings as errors.
set -euo pipefail
cd "$(dirname "$0")/.."
for p in cppcheck clang-tidy; do
    command -v "$p" >/dev/null || { apt-get install -y -qq "$p" >/dev/null || true; }
done
echo "== cppcheck"
cppcheck --enable=warning,performance,portability --std=c++17 --error-exitcode=1 --inline-suppr \
    --suppress=missingIncludeSystem -q -I src src/
echo "== clang-tidy"
cmake -S . -B build-tidy -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DBILD_TESTS=OFF >/dev/null
find src -name '*.cpp' -print0 | xargs -0 -P "$(nproc)" -n 4 clang-tidy -p build-tidy --quiet
echo "static analysis: clean"
