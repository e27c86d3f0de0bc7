#!/usr/bin/env bash
# Installs what is missing, builds in Release and runs the whole test suite in parallel.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build
cd build
ctest -j "$(nproc)" --output-on-failure --timeout 600
