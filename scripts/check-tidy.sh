#!/usr/bin/env bash
# Runs clang-tidy (profile in .clang-tidy) over the library, the command-line tool, the
# Python module and the GDAL plugin; fails on any finding. Needs a configured build with
# compile_commands.json; in a unity build it checks each batch, whose sources the header
# filter reports as its own.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/asan}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
build="$(cd "$build" && pwd)"
sources="^$PWD/(core|file|io|image|tables|paths|products|sensors|platform|tools|python|plugins)/"
batches="^$build/(tools/)?unity/(tessel|tessel_cli)/"
checked=$(python3 -c 'import json, re, sys
entries = json.load(open(sys.argv[1] + "/compile_commands.json"))
print(sum(1 for e in entries if re.match(sys.argv[2], e["file"])))' "$build" "$sources|$batches")
if [ "$checked" -eq 0 ]; then
  echo "clang-tidy: no library source in $build/compile_commands.json" >&2
  exit 1
fi
# Batches include their sources, which is what they are for.
run-clang-tidy -p "$build" -quiet -checks=-bugprone-suspicious-include -j "$(nproc)" "$sources|$batches" >"$log" 2>&1 || true
findings=$(sed 's/\x1b\[[0-9;]*m//g' "$log" | grep -E "^$PWD/.*(warning|error):" | sort -u || true)
if [ -n "$findings" ]; then
  echo "$findings"
  echo "clang-tidy: $(echo "$findings" | wc -l) findings"
  exit 1
fi
echo "clang-tidy: clean ($checked translation units)"
