#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the benchmarks need.
# Idempotent: when everything is present it prints nothing and installs nothing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git ccache
  clang clang-format clang-tidy libclang-rt-dev
  libjpeg62-turbo-dev libopenjp2-7-dev libxml2-dev nlohmann-json3-dev
  libboost-dev libfmt-dev libspdlog-dev libgeographiclib-dev
  libtiff-dev libpng-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  gdal-bin python3-gdal python3 libopenjp2-tools
  pybind11-dev python3-numpy python3-pytest libgdal-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
