#!/usr/bin/env bash
# Builds the library and rvimg (release, gcc) and runs the demo.
# Usage: scripts/demo.sh [DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh
cmake --preset release >/dev/null
cmake --build --preset release --target rvimg
exec build/release/tools/rvimg demo "$@"
