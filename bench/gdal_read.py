"""Times GDAL's reads of the large files, as bench_read does: the whole image and a 512 x 512
window at (3900, 3900), each from a freshly opened dataset, all bands in one ReadRaster.

Usage: /usr/bin/python3 gdal_read.py LARGE_DIR [REPEAT [WINDOW_REPEAT [NAMES [X,Y]]]]
Prints per read the median time in milliseconds and the decoded MiB/s. Windows are read
WINDOW_REPEAT times (REPEAT when not given): GDAL's first window reads of a process are
several times slower than the later ones, so a median over a few reads differs from one
over hundreds. NAMES (comma-separated, without ".ntf") replaces the two uncompressed files,
and X,Y the window's origin.
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
    window_repeat = int(sys.argv[3]) if len(sys.argv) > 3 else repeat
    names = sys.argv[4].split(",") if len(sys.argv) > 4 else FILES
    window = WINDOW
    if len(sys.argv) > 5:
        x, y = (int(v) for v in sys.argv[5].split(","))
        window = (x, y, WINDOW[2], WINDOW[3])
    for name in names:
        path = os.path.join(folder, name + ".ntf")
        for label, region in (("full", None), ("window512", window)):
            count = window_repeat if region else repeat
            runs = [timed_read(path, region) for _ in range(count)]
            seconds = statistics.median(run[0] for run in runs)
            size = runs[0][1]
            print(f"{name}\t{label}\t{seconds * 1e3:.3g} ms\t{size / seconds / 2**20:.0f} MiB/s")


if __name__ == "__main__":
    main()
