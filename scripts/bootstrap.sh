#!/usr/bin/env bash
# Installs the Debian packages the build needs, when they are missing.
# Usage: scripts/bootstrap.sh [--with-clang]
set -euo pipefail

packages=(g++ gcc cmake ninja-build binutils libgtest-dev libbenchmark-dev)
if [[ "${1:-}" == "--with-clang" ]]; then
  packages+=(clang libclang-rt-14-dev)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "bootstrap: installing ${missing[*]}" >&2
sudo=""
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "bootstrap: need root or sudo to install ${missing[*]}" >&2; exit 1; }
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
