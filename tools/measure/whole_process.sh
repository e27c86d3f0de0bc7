#!/usr/bin/env bash
# Whole-process timing of one image conversion, FOGRA39L -> FOGRA29L relative colorimetric, by
# `tintara apply` (1 and 2 threads), Little CMS's tificc and ArgyllCMS's cctiff: same profiles,
# same intent, uncompressed TIFF in and out; prints the median wall time of RUNS runs each.
#
#   tools/measure/whole_process.sh [BUILD_DIR] [RUNS] [SIZE] [BITS]
#   (defaults: build-h15-bench, 5, 4000x4000, 8)
#
# tificc writes 8 bits unless told (-w); cctiff keeps the source's depth.
# The source image is `tintara testimage --space cmyk` (ramps, patches and gradients, written
# straight as CMYK, no conversion), untagged, so every tool takes the profiles from its command line.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build-h15-bench}
runs=${2:-5}
size=${3:-4000x4000}
bits=${4:-8}
tintara=$build/tools/tintara
src=$root/tests/data/concat/FOGRA39L.icc
dst=$root/tests/data/concat/FOGRA29L.icc
work=$(mktemp -d "${TMPDIR:-/tmp}/tintara-measure.XXXXXX")
trap 'rm -rf "$work"' EXIT

for tool in "$tintara" tificc cctiff; do
    command -v "$tool" >/dev/null || { echo "missing: $tool" >&2; exit 1; }
done

"$tintara" testimage -s "$size" -b "$bits" --space cmyk -c none "$work/in.tif"

# Runs "$@" once to warm up (and leave the output), then $runs times; prints the median wall
# time and the median CPU time (user + system) in seconds. Banners on stderr are dropped.
median() {
    "$@" >/dev/null 2>&1 || { echo "failed: $*" >&2; exit 1; }
    local log=$work/times
    : >"$log"
    for _ in $(seq "$runs"); do
        /usr/bin/time -a -o "$log" -f "%e %U %S" "$@" >/dev/null 2>&1
    done
    awk '{ w[NR] = $1; c[NR] = $2 + $3 }
         function med(v, n,   i, j, t) {
             for (i = 1; i <= n; ++i) for (j = i + 1; j <= n; ++j) if (v[j] < v[i]) { t = v[i]; v[i] = v[j]; v[j] = t }
             return (n % 2) ? v[(n + 1) / 2] : (v[n / 2] + v[n / 2 + 1]) / 2
         }
         END { printf "%.3f %.3f\n", med(w, NR), med(c, NR) }' "$log"
}

echo "image: $size CMYK, $bits bits, $(stat -c %s "$work/in.tif") bytes; runs: $runs; $(nproc) processors"
echo "load before: $(cut -d' ' -f1-3 /proc/loadavg)"
echo
echo "| tool | command | median wall s | median CPU s | wall vs tificc | CPU vs tificc |"
echo "|---|---|---|---|---|---|"
declare -A wall cpu
row() {
    local name=$1; shift
    local w c
    read -r w c < <(median "$@")
    wall[$name]=$w
    cpu[$name]=$c
    local rw rc
    rw=$(awk -v a="$w" -v b="${wall[tificc]:-$w}" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')
    rc=$(awk -v a="$c" -v b="${cpu[tificc]:-$c}" 'BEGIN { printf "%.2f", (b > 0 ? a / b : 0) }')
    echo "| $name | \`$(basename "$1") ${*:2}\` | $w | $c | $rw | $rc |" | sed "s#$work/##g; s#$root/##g"
}
row tificc tificc -n -t1 "-w$bits" "-i$src" "-o$dst" "$work/in.tif" "$work/lcms.tif"
row "tintara -t 1" "$tintara" apply -i relative -p "$src" -p "$dst" -t 1 --no-embed -c none "$work/in.tif" "$work/t1.tif"
row "tintara -t 2" "$tintara" apply -i relative -p "$src" -p "$dst" -t 2 --no-embed -c none "$work/in.tif" "$work/t2.tif"
# At a grid of 17 points, the size Little CMS precalculates for CMYK by default.
row "tintara -t 1 -g 4" "$tintara" apply -i relative -p "$src" -p "$dst" -t 1 -g 4 --no-embed -c none "$work/in.tif" "$work/t1g4.tif"
row cctiff cctiff -N -D -i r "$src" -i r "$dst" "$work/in.tif" "$work/argyll.tif"
echo
echo "load after: $(cut -d' ' -f1-3 /proc/loadavg)"
cmp -s "$work/t1.tif" "$work/t2.tif" && echo "tintara: 1 and 2 threads give identical files" || echo "tintara: 1 and 2 threads DIFFER"
echo "sample differences of the outputs:"
for pair in "t1 lcms" "t1 argyll" "lcms argyll"; do
    set -- $pair
    echo "  $1 vs $2: $(python3 "$root/tools/measure/tiff_diff.py" "$work/$1.tif" "$work/$2.tif" 2>&1 || true)"
done
