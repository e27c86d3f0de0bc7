#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need, if any is missing.
set -euo pipefail
packages=(cmake make g++ pkg-config binutils ccache libgtest-dev libgmock-dev libbenchmark-dev
          python3 python3-numpy python3-pytest python3-dask python3-distributed python3-tifffile
          libtinyxml2-dev libxml2-utils liblcms2-dev liblcms2-utils libtiff-dev libpng-dev libjpeg62-turbo-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  SUDO=""; [ "$(id -u)" -ne 0 ] && SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
