#!/usr/bin/env bash
# Runs clang-tidy (profile in .clang-tidy) over the library and the command-line tool;
# fails on any finding. Needs a configured build with compile_commands.json.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/debug}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
run-clang-tidy -p "$build" -quiet -j "$(nproc)" \
  "^$PWD/(core|file|io|image|tables|paths|products|sensors|platform|tools)/" >"$log" 2>&1 || true
findings=$(sed 's/\x1b\[[0-9;]*m//g' "$log" | grep -E "^$PWD/.*(warning|error):" | sort -u || true)
if [ -n "$findings" ]; then
  echo "$findings"
  echo "clang-tidy: $(echo "$findings" | wc -l) findings"
  exit 1
fi
echo "clang-tidy: clean"
