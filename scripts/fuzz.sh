#!/usr/bin/env bash
# Fuzzes one target: builds it in the "asan" preset (clang, ASan + UBSan, the library
# instrumented for libFuzzer's coverage), seeds a corpus under build/fuzz/TARGET/ from the shared NITF files (or, without them, the demo
# sample), and runs fuzz_TARGET for SECONDS (default 60). TARGET is "reader" (the record
# reader, the default), "image" (opening a file and reading its images), "vq" (every
# block of vector quantised RPF frames, seeded with the corpus's C4 and M4 files only) or
# "jpeg12" (the 12-bit JPEG decoder on a bare stream, seeded with the 12-bit streams found
# in the shared files, or with one made up when there are none). Fails on any
# crash, leak, timeout or out-of-memory; the input that caused it is left in
# build/fuzz/TARGET/artifacts/.
#
# usage: scripts/fuzz.sh [SECONDS] [TARGET]
set -euo pipefail

seconds="${1:-60}"
target="${2:-reader}"
case "$target" in
    reader | image | vq | jpeg12) ;;
    *) echo "fuzz.sh: no fuzz target \"$target\" (reader, image, vq, jpeg12)" >&2; exit 2 ;;
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

# Every 12-bit JPEG stream (FF D8 up to FF D9, with an SOF of precision 12) in the files.
seed_jpeg12() {
    python3 - "$corpus" "$@" <<'PY'
import hashlib, os, sys
out, folders = sys.argv[1], sys.argv[2:]
found = 0
for folder in folders:
    for root, _, names in os.walk(folder):
        for name in names:
            with open(os.path.join(root, name), "rb") as f:
                data = f.read()
            start = data.find(b"\xff\xd8")
            while start >= 0:
                end = data.find(b"\xff\xd9", start)
                if end < 0:
                    break
                stream = data[start:end + 2]
                for sof in (b"\xff\xc0", b"\xff\xc1"):
                    at = stream.find(sof)
                    if 0 <= at and at + 4 < len(stream) and stream[at + 4] == 12:
                        digest = hashlib.sha1(stream).hexdigest()[:16]
                        with open(os.path.join(out, "seed-" + digest), "wb") as seed:
                            seed.write(stream)
                        found += 1
                        break
                start = data.find(b"\xff\xd8", end)
if found == 0:
    # A made-up stream: one flat 8x8 grey block, with its own tables.
    dqt = b"\xff\xdb\x00\x43\x00" + b"\x01" * 64
    dht = (b"\xff\xc4\x00\x14\x00" + bytes([0, 1] + [0] * 14) + b"\x00"
           + b"\xff\xc4\x00\x14\x10" + bytes([1] + [0] * 15) + b"\x00")
    sof = b"\xff\xc1\x00\x0b\x0c\x00\x08\x00\x08\x01\x01\x11\x00"
    sos = b"\xff\xda\x00\x08\x01\x01\x00\x00\x3f\x00"
    with open(os.path.join(out, "seed-made-up"), "wb") as seed:
        seed.write(b"\xff\xd8" + dqt + dht + sof + sos + b"\x1f\xff\xd9")
PY
}

if [ "$target" = vq ] && [ -f "$shared/corpus/MANIFEST.tsv" ]; then
    seed_vq_frames
elif [ "$target" = jpeg12 ]; then
    seed_jpeg12 "$shared/corpus" "$shared/fixtures"
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
