#!/usr/bin/env python3
"""Derives broken files from the corpus and runs the tessel command on each under ASan.

usage: mutation_sweep.py [--count N] [--seed S] [--jobs J] [--timeout SECONDS]
                         [--tool PATH] [--corpus DIR] [--work DIR] [--keep]

Each derived file is one of:
  truncation  the file cut at a segment boundary (header end, each subheader and data
              start), or one byte before or after it
  bitflip     one to eight bits flipped, most of them in the headers
  lying       a length field (FL, HL, a subheader or data length) set to 0, to all nines,
              or moved by a little
  maximum     a count or size field (segment counts, NROWS, NCOLS, NBANDS, NBPR, NBPC,
              NPPBH, NPPBV, NLUTS, NICOM) set to the largest value its width allows

and on each, `tessel info`, `tessel dump` and `tessel read` (a window of at most 256 x 256
pixels of the first image, failed tiles allowed) run with a limit of --timeout seconds.
A run is counted as a crash (a sanitizer report, or death by a signal), a hang (the limit
passed), a leak (LeakSanitizer's report), a clean refusal (a non-zero status with a message
and no report) or a success. Files behind findings are kept in WORK/findings/ with the
command's output. Prints a summary (also written to WORK/summary.txt every 100 files, so
that a sweep stopped early leaves its counts); exits 1 when there was a crash, hang or leak.
"""
import argparse
import concurrent.futures
import json
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


# --- where the fields of a file are ---------------------------------------------------------

def digits(data, at, width):
    text = data[at:at + width]
    return int(text) if len(text) == width and text.isdigit() else None


def header_layout(data):
    """The header's length and count fields: a list of (name, offset, width), the boundaries
    of the segments, and the image subheader offsets. None when the header can't be read."""
    version = data[:9]
    fields = []
    if version in (b"NITF02.10", b"NSIF01.00"):
        at = 9 + 2 + 4 + 10 + 14 + 80
        # FSCLAS .. FSCTLN, FSCOP, FSCPYS, ENCRYP, FBKGC, ONAME, OPHONE
        at += 1 + 2 + 11 + 2 + 20 + 2 + 8 + 4 + 1 + 8 + 43 + 1 + 40 + 1 + 8 + 15
        at += 5 + 5 + 1 + 3 + 24 + 18
        counts = [("NUMI", 6, 10), ("NUMS", 4, 6), ("NUMX", 0, 0), ("NUMT", 4, 5),
                  ("NUMDES", 4, 9), ("NUMRES", 4, 7)]
        nitf20 = False
    elif version == b"NITF02.00":
        at = 9 + 2 + 4 + 10 + 14 + 80
        at += 1 + 40 + 40 + 40 + 20 + 20
        downgrade = data[at:at + 6]
        at += 6
        if downgrade == b"999998":
            at += 40
        at += 5 + 5 + 1 + 27 + 18
        counts = [("NUMI", 6, 10), ("NUMS", 4, 6), ("NUML", 4, 3), ("NUMT", 4, 5),
                  ("NUMDES", 4, 9), ("NUMRES", 4, 7)]
        nitf20 = True
    else:
        return None
    fields.append(("FL", at, 12))
    header_length = digits(data, at + 12, 6)
    fields.append(("HL", at + 12, 6))
    if header_length is None:
        return None
    at += 18
    boundaries = [header_length]
    images = []
    position = header_length
    for name, subheader_width, data_width in counts:
        count = digits(data, at, 3)
        if count is None:
            return fields, boundaries, images, nitf20
        fields.append((name, at, 3))
        at += 3
        for index in range(count):
            if subheader_width == 0:
                break
            sub = digits(data, at, subheader_width)
            length = digits(data, at + subheader_width, data_width)
            fields.append((name + "_LSH", at, subheader_width))
            fields.append((name + "_L", at + subheader_width, data_width))
            at += subheader_width + data_width
            if sub is None or length is None:
                return fields, boundaries, images, nitf20
            if name == "NUMI":
                images.append(position)
            boundaries.append(position + sub)
            position += sub + length
            boundaries.append(position)
    return fields, boundaries, images, nitf20


def image_fields(data, start, nitf20):
    """Size and count fields of the image subheader at `start`."""
    fields = []
    at = start + 2 + 10 + 14 + 17 + 80
    if nitf20:
        at += 1 + 40 + 40 + 40 + 20 + 20
        downgrade = data[at:at + 6]
        at += 6
        if downgrade == b"999998":
            at += 40
    else:
        at += 1 + 2 + 11 + 2 + 20 + 2 + 8 + 4 + 1 + 8 + 43 + 1 + 40 + 1 + 8 + 15
    at += 1 + 42  # ENCRYP, ISORCE
    fields += [("NROWS", at, 8), ("NCOLS", at + 8, 8)]
    at += 16 + 3 + 8 + 8 + 2 + 1
    icords = data[at:at + 1]
    at += 1
    if (nitf20 and icords not in (b"N", b"")) or (not nitf20 and icords not in (b" ", b"")):
        at += 60
    fields.append(("NICOM", at, 1))
    comments = digits(data, at, 1)
    if comments is None:
        return fields
    at += 1 + 80 * comments
    ic = data[at:at + 2]
    at += 2
    if ic not in (b"NC", b"NM"):
        at += 4
    fields.append(("NBANDS", at, 1))
    bands = digits(data, at, 1)
    at += 1
    if bands == 0:
        fields.append(("XBANDS", at, 5))
        bands = digits(data, at, 5)
        at += 5
    if bands is None or bands > 999:
        return fields
    for _ in range(bands):
        at += 2 + 6 + 1 + 3
        fields.append(("NLUTS", at, 1))
        luts = digits(data, at, 1)
        at += 1
        if luts:
            entries = digits(data, at, 5)
            fields.append(("NELUT", at, 5))
            if entries is None:
                return fields
            at += 5 + luts * entries
    at += 1 + 1  # ISYNC, IMODE
    fields += [("NBPR", at, 4), ("NBPC", at + 4, 4), ("NPPBH", at + 8, 4), ("NPPBV", at + 12, 4)]
    return fields


# --- making the files -------------------------------------------------------------------------

def set_field(data, at, width, value):
    text = str(value).rjust(width, "0")[-width:].encode()
    return data[:at] + text + data[at + width:]


def apply(data, operation):
    """The derived file: `operation` is ("cut", n), ("set", at, width, value) or
    ("flip", [(position, bit), ...])."""
    if operation[0] == "cut":
        return data[:operation[1]]
    if operation[0] == "set":
        return set_field(data, *operation[1:])
    flipped = bytearray(data)
    for position, bit in operation[1]:
        flipped[position] ^= 1 << bit
    return bytes(flipped)


def mutants_of(data, rng):
    """The derived files of one corpus file, as (kind, description, operation)."""
    layout = header_layout(data)
    out = []
    if layout is None:
        return out
    fields, boundaries, images, nitf20 = layout
    for boundary in sorted(set(boundaries)):
        for cut in (boundary - 1, boundary, boundary + 1):
            if 0 < cut < len(data):
                out.append(("truncation", "cut at %d" % cut, ("cut", cut)))
    for start in images[:3]:
        fields = fields + image_fields(data, start, nitf20)
    for name, at, width in fields:
        if at + width > len(data):
            continue
        if name in ("FL", "HL") or name.endswith("_LSH") or name.endswith("_L"):
            old = digits(data, at, width) or 0
            for value in (0, 10 ** width - 1, max(0, old - 1), old + 1, old + 1000):
                out.append(("lying", "%s@%d=%d" % (name, at, value), ("set", at, width, value)))
        else:
            out.append(("maximum", "%s@%d=max" % (name, at),
                        ("set", at, width, 10 ** width - 1)))
    header_end = max(boundaries[:2]) if boundaries else min(len(data), 4096)
    for _ in range(12):
        flips = []
        for _ in range(rng.randint(1, 8)):
            limit = header_end if rng.random() < 0.8 else len(data)
            flips.append((rng.randrange(max(1, min(limit, len(data)))), rng.randrange(8)))
        out.append(("bitflip", "flips %s" % flips, ("flip", flips)))
    return out


def corpus_files(corpus):
    for root, _, names in os.walk(corpus):
        for name in sorted(names):
            path = os.path.join(root, name)
            if not os.path.isfile(path) or os.path.islink(path):
                continue
            with open(path, "rb") as f:
                if f.read(4) in (b"NITF", b"NSIF") and os.path.getsize(path) <= 16 << 20:
                    yield path


# --- running the tool ------------------------------------------------------------------------

SLOW_SECONDS = 3

SANITIZER_MARKS = ("ERROR: AddressSanitizer", "runtime error:", "ERROR: UndefinedBehavior",
                   "AddressSanitizer:DEADLYSIGNAL")


def classify(status, output, timed_out):
    if timed_out:
        return "hang"
    if "ERROR: LeakSanitizer" in output:
        return "leak"
    if any(mark in output for mark in SANITIZER_MARKS) or status < 0 or status >= 128:
        return "crash"
    return "success" if status in (0, 3) else "refusal"


def run(arguments, timeout):
    started = time.monotonic()
    outcome, output = run_timed(arguments, timeout)
    elapsed = time.monotonic() - started
    if elapsed > SLOW_SECONDS:
        print("slow (%.1f s): %s" % (elapsed, " ".join(arguments[1:3])), file=sys.stderr, flush=True)
    return outcome, output


def run_timed(arguments, timeout):
    env = dict(os.environ)
    env.setdefault("ASAN_OPTIONS", "detect_leaks=1:allocator_may_return_null=0")
    env.setdefault("UBSAN_OPTIONS", "print_stacktrace=1")
    env["TESSEL_LOG"] = "off"
    try:
        done = subprocess.run(arguments, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=timeout, env=env)
        output = done.stdout.decode("utf-8", "replace")
        return classify(done.returncode, output, False), output
    except subprocess.TimeoutExpired as expired:
        output = (expired.stdout or b"").decode("utf-8", "replace")
        return "hang", output


def read_window(info_output):
    try:
        info = json.loads(info_output)
        image = info["images"][0]
        rows, columns = int(image["rows"]), int(image["columns"])
    except (ValueError, KeyError, IndexError, TypeError):
        return None
    if rows <= 0 or columns <= 0:
        return None
    return "0,0,%d,%d" % (min(columns, 256), min(rows, 256))


def sweep_one(job):
    index, kind, description, source, operation, corpus, tool, timeout, work = job
    folder = tempfile.mkdtemp(prefix="m%06d-" % index, dir=work)
    path = os.path.join(folder, "m.ntf")
    with open(os.path.join(corpus, source), "rb") as f:
        data = apply(f.read(), operation)
    with open(path, "wb") as f:
        f.write(data)
    results = []
    outcome, info_output = run([tool, "info", path, "--json"], timeout)
    results.append(("info", outcome, info_output))
    outcome, output = run([tool, "dump", path], timeout)
    results.append(("dump", outcome, output))
    window = read_window(info_output) if results[0][1] == "success" else None
    if window is not None:
        arguments = [tool, "read", path, "-o", os.path.join(folder, "out.tif"),
                     "--window", window, "--allow-failed-tiles"]
        outcome, output = run(arguments, timeout)
        results.append(("read", outcome, output))
    findings = [r for r in results if r[1] in ("crash", "hang", "leak")]
    if findings:
        kept = os.path.join(work, "findings", "m%06d" % index)
        os.makedirs(kept, exist_ok=True)
        shutil.copy(path, os.path.join(kept, "m.ntf"))
        with open(os.path.join(kept, "report.txt"), "w") as f:
            f.write("%s %s of %s\n" % (kind, description, source))
            for command, outcome, output in findings:
                f.write("--- %s: %s\n%s\n" % (command, outcome, output[-20000:]))
    shutil.rmtree(folder, ignore_errors=True)
    return index, kind, [(command, outcome) for command, outcome, _ in results]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--count", type=int, default=2000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--timeout", type=float, default=10)
    parser.add_argument("--tool", default=os.path.join(ROOT, "build/asan/tools/tessel"))
    parser.add_argument("--corpus", default=os.path.join(ROOT, "..", "shared", "corpus"))
    parser.add_argument("--work", default=os.path.join(ROOT, "build", "sweep"))
    args = parser.parse_args()

    if not os.path.isdir(args.corpus):
        print("mutation_sweep.py: no corpus at %s" % args.corpus, file=sys.stderr)
        return 2
    rng = random.Random(args.seed)
    sources = list(corpus_files(args.corpus))
    rng.shuffle(sources)
    # Round robin over the corpus, so that a short sweep still sees many files.
    pools = []
    for source in sources:
        with open(source, "rb") as f:
            mutants = mutants_of(f.read(), rng)
        rng.shuffle(mutants)
        if mutants:
            pools.append((os.path.relpath(source, args.corpus), mutants))
    jobs = []
    while len(jobs) < args.count and any(m for _, m in pools):
        for source, mutants in pools:
            if mutants and len(jobs) < args.count:
                kind, description, operation = mutants.pop()
                jobs.append((len(jobs), kind, description, source, operation))
    os.makedirs(args.work, exist_ok=True)
    shutil.rmtree(os.path.join(args.work, "findings"), ignore_errors=True)

    totals = {}
    kinds = {}
    files_with_findings = 0
    with concurrent.futures.ThreadPoolExecutor(max_workers=args.jobs) as executor:
        futures = [executor.submit(sweep_one,
                                   job + (args.corpus, args.tool, args.timeout, args.work))
                   for job in jobs]
        for done, future in enumerate(concurrent.futures.as_completed(futures), 1):
            try:
                _, kind, results = future.result()
            except Exception as error:  # a fault of the sweep itself, not of the tool
                print("sweep error: %r" % error, file=sys.stderr, flush=True)
                kind, results = "error", [("sweep", "error")]
            kinds[kind] = kinds.get(kind, 0) + 1
            bad = False
            for command, outcome in results:
                totals[(command, outcome)] = totals.get((command, outcome), 0) + 1
                bad = bad or outcome in ("crash", "hang", "leak")
            files_with_findings += bad
            if done % 100 == 0 or done == len(jobs):
                # A sweep stopped early still leaves the counts of what it ran.
                summary = summarise(done, len(pools), kinds, totals, files_with_findings)
                with open(os.path.join(args.work, "summary.txt"), "w") as f:
                    f.write(summary)
                print("%d of %d files" % (done, len(jobs)), file=sys.stderr, flush=True)

    print(summarise(len(jobs), len(pools), kinds, totals, files_with_findings), end="")
    return 1 if files_with_findings else 0


def summarise(files, sources, kinds, totals, files_with_findings):
    outcomes = ("crash", "hang", "leak", "refusal", "success")
    lines = ["files: %d from %d corpus files (%s)" % (
        files, sources, ", ".join("%s %d" % item for item in sorted(kinds.items())))]
    lines.append("%-6s %s" % ("", " ".join("%8s" % o for o in outcomes)))
    for command in ("info", "dump", "read"):
        lines.append("%-6s %s" % (command, " ".join("%8d" % totals.get((command, o), 0)
                                                    for o in outcomes)))
    lines.append("files with a crash, hang or leak: %d" % files_with_findings)
    return "\n".join(lines) + "\n"


if __name__ == "__main__":
    sys.exit(main())
