#!/usr/bin/env bash
# Builds and runs every test twice: a release build with gcc, and a build with
# AddressSanitizer and UndefinedBehaviorSanitizer with clang. Both include the
# export check, the 32-bit layout check and the fuzz corpus replays.
# Fails loudly at the first failure.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/bootstrap.sh --with-clang
jobs=$(nproc 2>/dev/null || echo 2)

for preset in release asan-ubsan; do
  echo "=== ${preset}: configure and build ==="
  cmake --preset "$preset" -DRV_BUILD_TESTS=ON
  cmake --build --preset "$preset" -j "$jobs"
  echo "=== ${preset}: test ==="
  ctest --preset "$preset" -j "$jobs"
done
echo "=== all tests passed ==="
