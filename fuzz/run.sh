#!/usr/bin/env bash
# Builds the libFuzzer targets with clang++ and runs each one for a while.
#   bash fuzz/run.sh            a smoke run: 12 s per target (what CI does)
#   bash fuzz/run.sh 900        15 minutes per target
#   bash fuzz/run.sh 900 tiff   one target only
# Corpora grow in build-fuzz/corpus/<target> (seeded by fuzz_saat); crashes
# land in build-fuzz/crashes/ and make the run fail.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-12}
shift || true
targets=${*:-bmp bia raw tiff konvert inflate lzw packbits ccitt jpeg}

need=""
for p in clang libclang-rt-14-dev; do dpkg -s "$p" >/dev/null 2>&1 || need="$need $p"; done
if [ -n "$need" ]; then
    sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq || true
    # shellcheck disable=SC2086
    $sudo apt-get install -y -qq $need
fi

CXX=clang++ cmake -S . -B build-fuzz -DBILD_FUZZ=ON -DBILD_TESTS=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build-fuzz -j"$(nproc)" --target fuzz_saat $(for t in $targets; do echo "fuzz_$t"; done) >/dev/null
mkdir -p build-fuzz/crashes
build-fuzz/fuzz_saat build-fuzz/seeds >/dev/null
status=0
# AddressSanitizer's quarantine of freed blocks (256 MiB by default) alone
# would reach the resident limit with 64 MiB row tables: it keeps less.
export ASAN_OPTIONS="${ASAN_OPTIONS:-quarantine_size_mb=32}"
for t in $targets; do
    mkdir -p "build-fuzz/corpus/$t"
    # Untouched reservations of up to 4 GiB pass the malloc limit; what a file
    # may make us touch (at most 2560 bytes per input byte, inputs of 128 KiB)
    # stays below the resident limit. A unit hangs after 5 s (instrumented).
    log="build-fuzz/fuzz_$t.log"
    if ! "build-fuzz/fuzz_$t" -max_total_time="$seconds" -timeout=5 -max_len=131072 \
        -malloc_limit_mb=4400 -rss_limit_mb=512 -print_final_stats=1 \
        -artifact_prefix="build-fuzz/crashes/${t}-" \
        "build-fuzz/corpus/$t" "build-fuzz/seeds/$t" >"$log" 2>&1; then
        echo "fuzz_$t: FAILED (see $log and build-fuzz/crashes/)"
        tail -n 30 "$log"
        status=1
    fi
    runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo "?")
    echo "fuzz_$t: ${seconds}s, ${runs} executions, corpus $(ls "build-fuzz/corpus/$t" | wc -l) files"
done
exit $status
