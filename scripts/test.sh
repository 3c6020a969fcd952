#!/usr/bin/env bash
# Sets up a fresh Debian machine, builds the test configuration and runs every test.
# Usage: scripts/test.sh [preset]   (asan by default: clang with AddressSanitizer and
# UndefinedBehaviorSanitizer; also tsan, debug, release, clang)
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-asan}"
bash scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" --output-on-failure -j "$(nproc)"
