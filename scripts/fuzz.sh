#!/usr/bin/env bash
# Fuzzes one target: builds it in the "asan" preset (clang, ASan + UBSan, the library
# instrumented for libFuzzer's coverage), seeds a corpus under build/fuzz/TARGET/ from the shared NITF files (or, without them, the demo
# sample), and runs fuzz_TARGET for SECONDS (default 60). TARGET is "reader" (the record
# reader, the default), "image" (opening a file and reading its images) or "vq" (every
# block of vector quantised RPF frames, seeded with the corpus's C4 and M4 files only). Fails on any
# crash, leak, timeout or out-of-memory; the input that caused it is left in
# build/fuzz/TARGET/artifacts/.
#
# usage: scripts/fuzz.sh [SECONDS] [TARGET]
set -euo pipefail

seconds="${1:-60}"
target="${2:-reader}"
case "$target" in
    reader | image | vq) ;;
    *) echo "fuzz.sh: no fuzz target \"$target\" (reader, image, vq)" >&2; exit 2 ;;
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

# The corpus files whose manifest lists compression C4 or M4.
seed_vq_frames() {
    local manifest="$shared/corpus/MANIFEST.tsv" file
    [ -f "$manifest" ] || return 0
    while IFS= read -r file; do
        if [ -f "$shared/corpus/$file" ]; then
            cp -n "$shared/corpus/$file" "$corpus/seed-$(sha1sum "$shared/corpus/$file" | cut -c1-16)"
        fi
    done < <(awk -F'\t' 'NR > 1 && $9 ~ /(^|,)[CM]4(,|$)/ { print $1 }' "$manifest")
}

if [ "$target" = vq ] && [ -f "$shared/corpus/MANIFEST.tsv" ]; then
    seed_vq_frames
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
