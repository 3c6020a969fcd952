#!/usr/bin/env bash
# Fuzzes one target: builds it in the "asan" preset (clang, ASan + UBSan, the library
# instrumented for libFuzzer's coverage), seeds a corpus under build/fuzz/TARGET/ from the shared NITF files (or, without them, the demo
# sample), and runs fuzz_TARGET for SECONDS (default 60). TARGET is "reader" (the record
# reader, the default), "image" (opening a file and reading its images) or "j2k" (any bytes
# as the JPEG 2000 codestream of a C8 image, seeded with the shared files' codestreams). Fails on any
# crash, leak, timeout or out-of-memory; the input that caused it is left in
# build/fuzz/TARGET/artifacts/.
#
# usage: scripts/fuzz.sh [SECONDS] [TARGET]
set -euo pipefail

seconds="${1:-60}"
target="${2:-reader}"
case "$target" in
    reader | image | j2k) ;;
    *) echo "fuzz.sh: no fuzz target \"$target\" (reader, image, j2k)" >&2; exit 2 ;;
esac
root="$(cd "$(dirname "$0")/.." && pwd)"
shared="$root/../shared"
work="$root/build/fuzz/$target"
corpus="$work/corpus"
artifacts="$work/artifacts"

cd "$root"
cmake --preset asan >/dev/null
cmake --build --preset asan --target "fuzz_$target" tessel_sample

mkdir -p "$corpus" "$artifacts"

# Any shared file that starts like a NITF or NSIF file is a seed, whatever its extension.
seed_from() {
    local dir="$1" file magic
    [ -d "$dir" ] || return 0
    while IFS= read -r -d '' file; do
        magic="$(head -c 4 "$file" | tr '\0' ' ')"
        if [ "$magic" = "NITF" ] || [ "$magic" = "NSIF" ]; then
            cp -n "$file" "$corpus/seed-$(sha1sum "$file" | cut -c1-16)"
        fi
    done < <(find "$dir" -type f -print0)
}

# The codestreams inside the shared files, from their first SOC and SIZ markers on, at most
# 256 KiB of each.
seed_codestreams() {
    local dir file
    for dir in "$@"; do
        [ -d "$dir" ] || continue
        while IFS= read -r -d '' file; do
            python3 - "$file" "$corpus" <<'PY'
import hashlib, sys
data = open(sys.argv[1], "rb").read()
start = data.find(b"\xff\x4f\xff\x51")
if start >= 0:
    stream = data[start:start + 262144]
    name = hashlib.sha1(stream).hexdigest()[:16]
    open(sys.argv[2] + "/seed-" + name, "wb").write(stream)
PY
        done < <(find "$dir" -type f \( -name '*.ntf' -o -name '*.j2k' -o -name '*.nitf' \) -print0)
    done
}

if [ "$target" = j2k ]; then
    seed_codestreams "$shared/fixtures" "$shared/corpus/codice/JitcJpeg2000"
elif [ -d "$shared/corpus" ] || [ -d "$shared/fixtures" ]; then
    seed_from "$shared/corpus"
    seed_from "$shared/fixtures"
else
    echo "fuzz.sh: no shared files at $shared; seeding with the demo sample"
    for sample in "$root"/build/*/samples/sample.ntf; do
        [ -f "$sample" ] && cp -n "$sample" "$corpus/seed-sample"
    done
fi
echo "fuzz.sh: $(ls "$corpus" | wc -l) inputs in $corpus; fuzzing for $seconds s"

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
"$root/build/asan/tests/fuzz/fuzz_$target" \
    -max_len=1048576 -rss_limit_mb=4096 -timeout=10 -max_total_time="$seconds" \
    -print_final_stats=1 -artifact_prefix="$artifacts/" "$corpus"
