#!/usr/bin/env bash
# Reads every CGATS measurement file that the installed Debian packages ship (ArgyllCMS's
# reference charts in argyll-ref, the FOGRA and TR characterisation data in icc-profiles-free,
# colord-data's targets and spectra; each installed here if missing) and those kept with the
# tests, writes each, reads it back and compares, and compares every value with Little CMS 2's
# reader, on the original file and on ours. One line per file and a summary.
#   scripts/check-charts.sh [BUILD_DIR]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="${1:-$root/build}"
for package in argyll-ref icc-profiles-free colord-data; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO="sudo"
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "$package"
  fi
done
cmake --build "$build" -j2 --target tintara_chartcheck > /dev/null
mapfile -t files < <(grep -rlsa -m1 '^BEGIN_DATA_FORMAT' /usr/share /usr/local/share /opt 2>/dev/null | sort;
                     ls "$root"/tests/data/charts/*)
exec "$build/tools/tintara_chartcheck" "${files[@]}"
