#!/usr/bin/env bash
# Installs what is missing, builds, and runs the main job.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build -DTINTARA_BUILD_TESTS=OFF -DTINTARA_BUILD_BENCH=OFF
build/tools/tintara_demo "$@"
