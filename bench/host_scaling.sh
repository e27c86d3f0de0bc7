#!/usr/bin/env bash
# How `tintara apply` scales from one thread to two: a 4000 x 4000 photo-like CMYK TIFF (smooth
# fields plus three codes of noise, uncompressed), FOGRA39L -> FOGRA29L relative colorimetric,
# the whole process (baking the link included), best wall time of three runs for each thread
# count, and the ratio. Builds nothing; run it on a quiet machine (well under a minute).
# usage: bench/host_scaling.sh BUILD_DIR [SIZE] [BITS]   (SIZE default 4000, BITS 8 or 16)
set -euo pipefail
build=${1:?usage: bench/host_scaling.sh BUILD_DIR [SIZE] [BITS]} size=${2:-4000} bits=${3:-8}
tintara=$build/tools/tintara
[ -f "$tintara" ] || tintara=$build/tools/tintara/tintara
[ -x "$tintara" ] || { echo "host_scaling.sh: no tintara in $build/tools (build the tintara_host target)" >&2; exit 1; }
here=$(cd "$(dirname "$0")/.." && pwd)
a=$here/tests/data/tools/FOGRA39L.icc b=$here/tests/data/tools/FOGRA29L.icc
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

in=$work/cmyk.tif
"$tintara" testimage -q --space cmyk -b "$bits" -n 3 -c none -s "${size}x$size" "$in"

# Best wall time in seconds of three runs with `threads` matching threads.
best_of_three() {
  local threads=$1 best= start end seconds
  for _ in 1 2 3; do
    start=$(date +%s.%N)
    "$tintara" apply -q -t "$threads" -i relative -p "$a" -p "$b" "$in" "$work/out.tif"
    end=$(date +%s.%N)
    seconds=$(awk -v s="$start" -v e="$end" 'BEGIN { print e - s }')
    best=$(awk -v a="$seconds" -v b="${best:-$seconds}" 'BEGIN { print (a < b) ? a : b }')
  done
  printf "%.3f" "$best"
}

one=$(best_of_three 1)
two=$(best_of_three 2)
printf "%s x %s %s-bit CMYK, FOGRA39L -> FOGRA29L relative, best of 3 wall times\n" "$size" "$size" "$bits"
printf "  1 thread  %8s s\n  2 threads %8s s\n  speed-up  %8.2f x\n" "$one" "$two" "$(awk -v a="$one" -v b="$two" 'BEGIN { print a / b }')"
