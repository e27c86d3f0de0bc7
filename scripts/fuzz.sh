#!/usr/bin/env bash
# Runs every libFuzzer target under AddressSanitizer and UndefinedBehaviorSanitizer for a given
# time each (not part of CI). Usage: scripts/fuzz.sh [SECONDS] [TARGET...]
#   SECONDS  time per target (default 60); TARGETs default to all of them.
#   JOBS=n   targets run side by side (default 1); they run niced.
# Corpora grow in build-fuzz/corpus/TARGET, seeded from the test data and fuzz/seeds; crashes
# land in build-fuzz/artifacts/TARGET. A summary of executions per target ends the run.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
build=build-fuzz
if [ ! -f "$build/CMakeCache.txt" ]; then
  CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTINTARA_BUILD_FUZZ=ON \
    -DTINTARA_SANITIZE=ON -DTINTARA_BUILD_TESTS=OFF -DTINTARA_BUILD_BENCH=OFF >/dev/null
fi
all=$(cd fuzz && ls fuzz_*.cpp host/fuzz_*.cpp | xargs -n1 basename | sed 's/\.cpp$//')
targets=${*:-$all}
# shellcheck disable=SC2086
nice cmake --build "$build" -j2 --target $targets >/dev/null

# Seeds: real files of the kind each target reads.
seed() {
  local target=$1
  shift
  mkdir -p "$build/corpus/$target"
  for file in "$@"; do [ -f "$file" ] && cp -n "$file" "$build/corpus/$target/" || true; done
  if [ -d "fuzz/seeds/$target" ]; then cp -n fuzz/seeds/"$target"/* "$build/corpus/$target/"; fi
}
profiles=(tests/data/icc/*.icc tests/data/tools/*.icc tests/data/io/*.icc tests/data/concat/*.icc
  tests/data/icc-trafo/*.icc tests/data/icc/fuzz-regressions/*)
for target in $targets; do
  case $target in
    fuzz_profile | fuzz_profile_trafo | fuzz_host_info) seed "$target" "${profiles[@]}" ;;
    fuzz_link) seed "$target" tests/data/link/* tests/data/tools/*.lnk ;;
    fuzz_cgats) seed "$target" tests/data/charts/*.{ti1,ti2,ti3,cie,sp,cal} tests/data/charts-fuzz/* ;;
    fuzz_cxf) seed "$target" tests/data/charts/*.cxf ;;
    fuzz_concat)
      # Two bytes of split (the first profile's length), one of intents, then both profiles.
      seed "$target"
      for a in tests/data/icc/{sRGB-v2,Gray-v2,LStar-RGB-v2,CineonLog-v2,AdobeCompat-v2}.icc; do
        for b in tests/data/icc/{sRGB-v4,GrayLab-v2,CineLogCurve-abstract-v2}.icc; do
          n=$(stat -c %s "$a")
          out="$build/corpus/$target/$(basename "$a" .icc)+$(basename "$b" .icc)"
          { printf "\\x$(printf %02x $((n >> 8)))\\x$(printf %02x $((n & 255)))\\x07"; cat "$a" "$b"; } >"$out"
        done
      done
      ;;
    *) seed "$target" ;;
  esac
done

run() {
  local target=$1 log="$build/artifacts/$1/fuzz.log" extra=()
  mkdir -p "$build/artifacts/$target"
  # Trafo building is slow on large profiles: inputs stay below the size of the largest link.
  case $target in
    fuzz_profile_trafo | fuzz_concat) extra=(-max_len=80000) ;;
    fuzz_host_merge_link) extra=(-max_len=160000) ;; # two members of a few thousand nodes each
  esac
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    /usr/bin/time -o "$build/artifacts/$target/cpu" -f '%U %S' \
    nice "$build/fuzz/$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=30 -print_final_stats=1 \
    "${extra[@]}" -artifact_prefix="$build/artifacts/$target/" "$build/corpus/$target" >"$log" 2>&1 || true
  local runs crashes cpu
  runs=$(grep -o 'stat::number_of_executed_units: *[0-9]*' "$log" | grep -o '[0-9]*$' || echo "?")
  crashes=$(find "$build/artifacts/$target" -name 'crash-*' -o -name 'leak-*' -o -name 'timeout-*' -o -name 'oom-*' | wc -l)
  cpu=$(awk '/^[0-9.]+ [0-9.]+$/ {printf "%.0f", $1 + $2}' "$build/artifacts/$target/cpu")
  printf '%-20s %6ss wall %6ss CPU %10s runs %3s findings  corpus %s\n' "$target" "$seconds" "${cpu:-?}" \
    "${runs:-?}" "$crashes" "$(ls "$build/corpus/$target" | wc -l)"
}
export -f run
export build seconds
printf '%s\n' $targets | xargs -P "${JOBS:-1}" -I{} bash -c 'run {}'
