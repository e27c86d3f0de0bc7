#!/usr/bin/env bash
# Builds with AddressSanitizer and UndefinedBehaviorSanitizer and runs the suite.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTINTARA_SANITIZE=ON -DTINTARA_BUILD_BENCH=OFF
cd build-asan
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest -j "$(nproc)" --output-on-failure --timeout 1200
