#!/usr/bin/env bash
# Builds the library and rvimg (release, gcc) and runs the demo.
# Usage: scripts/demo.sh [DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh
cmake --preset release -DRV_BUILD_TESTS=OFF -DRV_BUILD_BENCH=OFF >/dev/null
cmake --build --preset release --target rvimg
exec build/release/tools/rvimg demo "$@"
