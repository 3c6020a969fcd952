#!/usr/bin/env bash
# Sets up a fresh Debian machine, builds the debug configuration and runs every test.
# Usage: scripts/test.sh [preset]   (debug by default; asan, tsan, release, clang)
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-debug}"
bash scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" --output-on-failure -j "$(nproc)"
