#!/usr/bin/env bash
# Runs the profile chain benchmarks (bench/ProfileChainBench.cpp) long enough to be read on a
# shared machine and prints markdown tables: accuracy of the baked links, and medians of the
# matching and build times of this library against Little CMS 2 with their ratios.
#
#   tools/measure/chain_bench.sh [BUILD_DIR] [MIN_TIME] [REPETITIONS]
#   (defaults: build-h15-bench, 0.5, 3; the build needs -DCMAKE_BUILD_TYPE=Release)
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build-h15-bench}
minTime=${2:-0.5}
repetitions=${3:-3}
out=$(mktemp "${TMPDIR:-/tmp}/chain-bench.XXXXXX.json")
trap 'rm -f "$out"' EXIT

echo "load before: $(cut -d' ' -f1-3 /proc/loadavg); $(nproc) processors"
"$build/bench/tintara_bench" --benchmark_filter='^Chain/' --benchmark_min_time="$minTime" \
    --benchmark_repetitions="$repetitions" --benchmark_report_aggregates_only=true \
    --benchmark_out="$out" --benchmark_out_format=json >/dev/null
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
python3 "$root/tools/measure/chain_tables.py" "$out"
