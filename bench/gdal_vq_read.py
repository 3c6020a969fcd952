"""Times GDAL's reads of the RPF sets that bench_vq reads: each frame of the CADRG set and of
the CIB set opened and its band 1 read whole, one frame after the other.

Usage: /usr/bin/python3 gdal_vq_read.py CORPUS_DIR [REPEAT]
Prints per set the median time in milliseconds of reading all its frames, and the decoded
MiB/s.
"""
import os
import statistics
import sys
import time

from osgeo import gdal

gdal.UseExceptions()
gdal.SetConfigOption("GDAL_PAM_ENABLED", "NO")

CADRG = ["codice/fromOSGEO/0000M033.GN3", "codice/fromOSGEO/bugs/bug3337.ntf",
         "codice/fromOSGEO/cadrg/001zc013.on1", "gdal/rpftoc/zone9/RPF/ZONE9/00027010.ON9"]
CIB = ["ogdi-test/rpf/ftdrum/rpf/n44w076/" + name for name in (
    "004b1r16.i12", "004b1s16.i12", "004b1t16.i12", "004b1u16.i12",
    "004crn26.i12", "004crq26.i12", "004crr26.i12", "004crs36.i12")]


def timed_set(folder, names):
    size = 0
    start = time.perf_counter()
    for name in names:
        dataset = gdal.Open(os.path.join(folder, name))
        size += len(dataset.GetRasterBand(1).ReadRaster())
        dataset = None
    return time.perf_counter() - start, size


def main():
    folder = sys.argv[1]
    repeat = int(sys.argv[2]) if len(sys.argv) > 2 else 10
    for label, names in (("cadrg", CADRG), ("cib", CIB)):
        runs = [timed_set(folder, names) for _ in range(repeat)]
        seconds = statistics.median(run[0] for run in runs)
        size = runs[0][1]
        print(f"{label}\t{len(names)} frames\t{seconds * 1e3:.3g} ms\t"
              f"{size / seconds / 2**20:.0f} MiB/s")


if __name__ == "__main__":
    main()
