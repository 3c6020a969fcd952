#!/usr/bin/env bash
# Fuzzes one target: builds it in the "asan" preset (clang, ASan + UBSan, the library
# instrumented for libFuzzer's coverage), seeds a corpus under build/fuzz/TARGET/ from the
# shared files (scripts/fuzz_seeds.py; without them, the demo sample), and runs fuzz_TARGET
# for SECONDS (default 60). TARGET is "reader" (the record reader, the default), "image"
# (opening a file and reading its images), "vq" (every block of vector quantised RPF
# frames), "jpeg12" (the 12-bit JPEG decoder on a bare stream), "j2k" (any bytes as the
# JPEG 2000 codestream of a C8 image, through both decoders), "rpc" (the RPC record
# reader), "tre" (any bytes as the data of a described TRE), "paths" (any bytes as a
# metadata path on a small file), "setpath" (a path and a value written into a new file) or
# "profile" (product profile files, loaded and applied).
# Allocations above half the RSS limit count as out-of-memory findings (-malloc_limit_mb),
# so that no input allocates by a claimed size. Fails on any crash, leak,
# timeout or out-of-memory; the input that caused it is left in build/fuzz/TARGET/artifacts/.
#
# usage: scripts/fuzz.sh [SECONDS] [TARGET]
set -euo pipefail

seconds="${1:-60}"
target="${2:-reader}"
case "$target" in
    reader | image | vq | jpeg12 | j2k | rpc | tre | paths | setpath | profile) ;;
    *) echo "fuzz.sh: no fuzz target \"$target\" (reader, image, vq, jpeg12, j2k, rpc, tre, paths, setpath, profile)" >&2; exit 2 ;;
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
seeded=0
if [ -d "$shared" ]; then
    seeded="$(python3 "$root/scripts/fuzz_seeds.py" "$target" "$corpus" "$shared")"
fi
if [ "$seeded" = 0 ]; then
    echo "fuzz.sh: no seeds from $shared; seeding with the demo sample"
    for sample in "$root"/build/*/samples/sample.ntf; do
        [ -f "$sample" ] && cp -n "$sample" "$corpus/seed-sample"
    done
fi
echo "fuzz.sh: $(ls "$corpus" | wc -l) inputs in $corpus; fuzzing for $seconds s"

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
"$root/build/asan/tests/fuzz/fuzz_$target" \
    -max_len=1048576 -rss_limit_mb=4096 -malloc_limit_mb=2048 -timeout=10 -max_total_time="$seconds" \
    -print_final_stats=1 -artifact_prefix="$artifacts/" "$corpus"
