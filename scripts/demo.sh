#!/usr/bin/env bash
# Sets up a fresh Debian machine, builds the release configuration and runs the main
# job on the sample file that the build writes.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release
tessel=build/release/tools/tessel
sample=build/release/samples/sample.ntf
"$tessel" info "$PWD/$sample"
