#!/usr/bin/python3
"""GDAL's time to open the files of bench_open, for comparison: gdal.Open and close,
averaged over many runs, after one untimed open."""
import os
import sys
import time

from osgeo import gdal

FILES = [
    "codice/JitcNitf21Samples/i_3001a.ntf",
    "codice/autzen-utm10.ntf",
    "codice/JitcNitf20Samples/U_1122A.NTF",
    "codice/fromOSGEO/cadrg/001zc013.on1",
]


def main():
    corpus = os.path.join(sys.argv[1] if len(sys.argv) > 1 else "../shared", "corpus")
    gdal.UseExceptions()
    for name in FILES:
        path = os.path.join(corpus, name)
        gdal.Open(path)
        runs = 200
        start = time.perf_counter()
        for _ in range(runs):
            dataset = gdal.Open(path)
            dataset = None
        elapsed = (time.perf_counter() - start) / runs
        print(f"{os.path.basename(name):24s} {elapsed * 1e6:10.1f} us")


if __name__ == "__main__":
    main()
