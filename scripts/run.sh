#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build -DTINTARA_BUILD_TESTS=OFF -DTINTARA_BUILD_BENCH=OFF

# The job: a generated sRGB test image separated to FOGRA39 (coated offset) CMYK, then carried
# over to FOGRA29 (uncoated) through a device link, with a soft proof of every stage as PNG.
tintara=build/tools/tintara
profiles=tests/data/tools
out=${1:-build/job}
mkdir -p "$out"
step() { printf '\n== %s\n' "$*"; }

step "test image"
"$tintara" testimage -s 2400x1800 -e "$profiles/sRGB.icc" "$out/testimage.tif"
"$tintara" info "$profiles/FOGRA39L.icc" | sed -n '1,8p'

step "sRGB -> FOGRA39 CMYK, perceptual"
"$tintara" apply -i perceptual -p "$profiles/sRGB.icc" -p "$profiles/FOGRA39L.icc" \
  "$out/testimage.tif" "$out/fogra39.tif"
step "soft proof of the source and of FOGRA39 on sRGB, absolute colorimetric"
"$tintara" apply -i relative -p "$profiles/sRGB.icc" -p "$profiles/sRGB.icc" "$out/testimage.tif" "$out/testimage-proof.png"
"$tintara" apply -i absolute -p "$profiles/FOGRA39L.icc" -i relative -p "$profiles/sRGB.icc" \
  "$out/fogra39.tif" "$out/fogra39-proof.png"
step "device link FOGRA39 -> FOGRA29, relative colorimetric, 33 points"
"$tintara" link -i relative -p "$profiles/FOGRA39L.icc" -p "$profiles/FOGRA29L.icc" -g 5 -o "$out/fogra39-to-29.lnk"
step "FOGRA39 -> FOGRA29 through the link"
"$tintara" apply -l "$out/fogra39-to-29.lnk" -e "$profiles/FOGRA29L.icc" "$out/fogra39.tif" "$out/fogra29.tif"
step "soft proof of FOGRA29 on sRGB, absolute colorimetric"
"$tintara" apply -i absolute -p "$profiles/FOGRA29L.icc" -i relative -p "$profiles/sRGB.icc" \
  "$out/fogra29.tif" "$out/fogra29-proof.png"
step "a few colours through the chain"
printf '255 255 255\n0 0 0\n233 196 170\n255 0 0\n' |
  "$tintara" convert -i perceptual -p "$profiles/sRGB.icc" -p "$profiles/FOGRA39L.icc" -n 1
step "results in $out"
ls -l "$out"
