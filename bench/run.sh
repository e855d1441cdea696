#!/usr/bin/env bash
# The speed benchmark in one command:  bash bench/run.sh
#
# Installs what is missing (as root, with apt-get), builds Release in
# build-bench/, makes the inputs with the project's own writers
# (build-bench/eingaben), then prints
#   - bildconv against cat / cp -t of the same bytes, pair by pair, medians,
#     ratios and peak resident memory (bench/messen.py);
#   - the peers that are installed (ImageMagick, GraphicsMagick, Pillow,
#     netpbm) against cat in the same run;
#   - the row kernels in bytes per second (build-bench/bench_kerne).
# Inputs and outputs live in build-bench/bench-data on the same file system;
# the big files are removed at the end. RUNS=n sets the pair count (11).
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD=build-bench
DATA=$BUILD/bench-data
RUNS=${RUNS:-11}

# ---- what the benchmark needs -------------------------------------------
need=()
command -v cmake >/dev/null || need+=(cmake)
command -v g++ >/dev/null || need+=(g++)
[ -e /usr/include/benchmark/benchmark.h ] || need+=(libbenchmark-dev)
[ -x /usr/bin/python3 ] || need+=(python3)
[ -x /usr/bin/time ] || need+=(time)
# The peers are optional: whatever cannot be installed is skipped.
peers=()
/usr/bin/convert -version 2>/dev/null | grep -q ImageMagick || peers+=(imagemagick)
[ -x /usr/bin/gm ] || peers+=(graphicsmagick)
[ -x /usr/bin/bmptopnm ] && [ -x /usr/bin/pamtotiff ] || peers+=(netpbm)
/usr/bin/python3 -c 'import PIL' 2>/dev/null || peers+=(python3-pil)
# libtiff's tools make the TIFF inputs and are the reference for them; zlib
# and libtiff are the references of the decoder benchmarks.
command -v tiffcp >/dev/null || peers+=(libtiff-tools)
[ -e /usr/include/zlib.h ] || peers+=(zlib1g-dev)
[ -e /usr/include/x86_64-linux-gnu/tiffio.h ] || [ -e /usr/include/tiffio.h ] || peers+=(libtiff-dev)
if [ ${#need[@]} -gt 0 ] || [ ${#peers[@]} -gt 0 ]; then
  if [ "$(id -u)" = 0 ] && command -v apt-get >/dev/null; then
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    [ ${#need[@]} -eq 0 ] || apt-get install -y -qq "${need[@]}" >/dev/null
    for p in "${peers[@]}"; do
      apt-get install -y -qq "$p" >/dev/null 2>&1 || echo "note: $p not installable, skipped"
    done
  elif [ ${#need[@]} -gt 0 ]; then
    echo "missing: ${need[*]} (run as root to install them)" >&2
    exit 1
  fi
fi

# ---- build and inputs ----------------------------------------------------
cmake -S . -B $BUILD -DCMAKE_BUILD_TYPE=Release -DBILD_TESTS=OFF >/dev/null
decoders=""
for d in inflate lzw ccitt jpeg; do [ -f "bench/bench_$d.cpp" ] && decoders="$decoders bench_$d"; done
# shellcheck disable=SC2086
cmake --build $BUILD -j2 --target bildconv eingaben boden bench_kerne $decoders >/dev/null
rm -rf $DATA
mkdir -p $DATA/batch
$BUILD/eingaben $DATA
trap 'rm -rf "$DATA"' EXIT

echo "machine: $(nproc) cores, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2 | sed 's/^ //'),"\
  "load average $(cut -d' ' -f1-3 /proc/loadavg) at the start; $(date -u '+%Y-%m-%d %H:%M UTC')"
echo
/usr/bin/python3 bench/messen.py $BUILD $DATA "$RUNS"
echo
echo "Row kernels, one core, GB/s (10^9 bytes per second of CPU time, median of 5; target 2):"
$BUILD/bench_kerne --benchmark_min_time=0.1 --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
  --benchmark_format=json 2>/dev/null |
  /usr/bin/python3 -c '
import json, sys
for b in json.load(sys.stdin)["benchmarks"]:
    if b.get("aggregate_name") != "median":
        continue
    name, gbs = b["run_name"], b["bytes_per_second"] / 1e9
    print(f"  {name:<28} {gbs:6.2f}" + ("" if gbs >= 2 else "  BELOW TARGET"))'

echo
echo "Decoders alone against the references on the same data (zlib's inflate, libtiff's LZW and"
echo "fax decoding), one core, medians of 3:"
for d in $decoders; do
  $BUILD/$d --benchmark_min_time=0.2 --benchmark_repetitions=3 --benchmark_report_aggregates_only=true 2>/dev/null |
    grep -E '_median|^-|^Benchmark' || true
done
