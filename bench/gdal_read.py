"""Times GDAL's reads of the large files, as bench_read does: the whole image and a 512 x 512
window at (3900, 3900), each from a freshly opened dataset, all bands in one ReadRaster.

Usage: /usr/bin/python3 gdal_read.py LARGE_DIR [REPEAT]
Prints per read the median time in milliseconds and the decoded MiB/s.
"""
import os
import statistics
import sys
import time

from osgeo import gdal

gdal.UseExceptions()
gdal.SetConfigOption("GDAL_PAM_ENABLED", "NO")

FILES = ["large_nc_u8_8192_t1024", "large_nc_u8x3_8192_imodeP_t1024"]
WINDOW = (3900, 3900, 512, 512)


def timed_read(path, window):
    dataset = gdal.Open(path)
    region = window or (0, 0, dataset.RasterXSize, dataset.RasterYSize)
    start = time.perf_counter()
    data = dataset.ReadRaster(*region)
    elapsed = time.perf_counter() - start
    dataset = None
    return elapsed, len(data)


def main():
    folder = sys.argv[1]
    repeat = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    for name in FILES:
        path = os.path.join(folder, name + ".ntf")
        for label, window in (("full", None), ("window512", WINDOW)):
            runs = [timed_read(path, window) for _ in range(repeat)]
            seconds = statistics.median(run[0] for run in runs)
            size = runs[0][1]
            print(f"{name}\t{label}\t{seconds * 1e3:.1f} ms\t{size / seconds / 2**20:.0f} MiB/s")


if __name__ == "__main__":
    main()
