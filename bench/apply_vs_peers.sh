#!/usr/bin/env bash
# Whole-process speed and peak memory of `tintara apply` beside Little CMS's tificc and
# ArgyllCMS's cctiff (Debian liblcms2-utils, argyll) on photo-like CMYK TIFFs, FOGRA39L ->
# FOGRA29L relative colorimetric, uncompressed. Prints the median wall and CPU time of RUNS runs
# and the peak resident memory (/usr/bin/time -v).
# usage: bench/apply_vs_peers.sh TINTARA WORKDIR [SIZES] [RUNS]   (SIZES default "4000")
set -euo pipefail
tintara=$1 work=$2 sizes=${3:-4000} runs=${4:-5}
here=$(cd "$(dirname "$0")/.." && pwd)
a=$here/tests/data/tools/FOGRA39L.icc b=$here/tests/data/tools/FOGRA29L.icc
mkdir -p "$work"
median() { sort -n | awk '{v[NR]=$1} END {print (NR % 2) ? v[(NR+1)/2] : (v[NR/2]+v[NR/2+1])/2}'; }
# One run: "wall cpu peakKB" of the command.
measure() {
  /usr/bin/time -f "%e %U %S %M" -o "$work/time.txt" "$@" >/dev/null 2>&1
  awk '{printf "%s %.2f %s\n", $1, $2 + $3, $4}' "$work/time.txt"
}
printf "%-6s %-3s %-12s %9s %9s %10s\n" size bit program wall_s cpu_s peak_MB
for size in $sizes; do
  for bits in 8 16; do
    in=$work/cmyk$size-$bits.tif
    [ -f "$in" ] || "$tintara" testimage --space cmyk -b $bits -n 3 -c none -s ${size}x$size "$in" >/dev/null
    declare -A cmds=(
      [tintara-j1]="$tintara apply -j 1 -i relative -p $a -p $b $in $work/out.tif"
      [tintara-j2]="$tintara apply -j 2 -i relative -p $a -p $b $in $work/out.tif"
      [tificc]="tificc -t1 -i$a -o$b $in $work/out.tif"
      [cctiff]="cctiff -ir $a -ir $b $in $work/out.tif"
    )
    for name in tintara-j1 tintara-j2 tificc cctiff; do
      : >"$work/runs.txt"
      for ((r = 0; r < runs; ++r)); do measure ${cmds[$name]} >>"$work/runs.txt"; done
      printf "%-6s %-3s %-12s %9s %9s %10.1f\n" "$size" "$bits" "$name" \
        "$(cut -d' ' -f1 "$work/runs.txt" | median)" "$(cut -d' ' -f2 "$work/runs.txt" | median)" \
        "$(cut -d' ' -f3 "$work/runs.txt" | median | awk '{print $1 / 1024}')"
    done
    rm -f "$work/out.tif"
  done
done
