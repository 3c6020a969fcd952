#!/usr/bin/env bash
# Fails when a tracked C++ file differs from what clang-format makes of it.
set -euo pipefail
cd "$(dirname "$0")/.."
files=$(git ls-files '*.cpp' '*.h' '*.c')
[ -z "$files" ] && exit 0
# shellcheck disable=SC2086
clang-format --dry-run --Werror $files
echo "clang-format: $(echo "$files" | wc -l) files clean"
