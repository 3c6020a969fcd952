#!/usr/bin/env bash
# Fuzzes one target: builds it in the "asan" preset (clang, ASan + UBSan, the library
# instrumented for libFuzzer's coverage), seeds a corpus under build/fuzz/TARGET/ from the shared NITF files (or, without them, the demo
# sample), and runs fuzz_TARGET for SECONDS (default 60). TARGET is "reader" (the record
# reader, the default), "image" (opening a file and reading its images) or "rpc" (the RPC
# record reader, seeded with the RPC00A/RPC00B TREs of the shared files). Fails on any
# crash, leak, timeout or out-of-memory; the input that caused it is left in
# build/fuzz/TARGET/artifacts/.
#
# usage: scripts/fuzz.sh [SECONDS] [TARGET]
set -euo pipefail

seconds="${1:-60}"
target="${2:-reader}"
case "$target" in
    reader | image | rpc) ;;
    *) echo "fuzz.sh: no fuzz target \"$target\" (reader, image, rpc)" >&2; exit 2 ;;
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

# The data of each RPC00A/RPC00B TRE of a file, after a selector byte (bit 0: read as
# RPC00B). A TRE's data is 1041 bytes after its tag and length.
seed_rpc_from() {
    local dir="$1" file tag offset
    [ -d "$dir" ] || return 0
    while IFS= read -r -d '' file; do
        for tag in RPC00A RPC00B; do
            offset="$(grep -abo "${tag}01041" "$file" 2>/dev/null | head -n 1 | cut -d: -f1)" || true
            [ -n "$offset" ] || continue
            {
                if [ "$tag" = RPC00B ]; then printf '\001'; else printf '\000'; fi
                tail -c +"$((offset + 12))" "$file" | head -c 1041
            } >"$corpus/seed-$tag-$(sha1sum "$file" | cut -c1-16)"
        done
    done < <(find "$dir" -type f -print0)
}

if [ "$target" = rpc ]; then
    seed_rpc_from "$shared/corpus"
    seed_rpc_from "$shared/fixtures"
    printf '\003{"IID2":"x","RPC00B":{"SUCCESS":"1"}}' >"$corpus/seed-state"
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
