"""Times GDAL's reads of the large JPEG 2000 file, as bench_j2k does: the whole image, a
512 x 512 window at (1900, 1900) and the whole overviews of levels 1 to 3, each from a
freshly opened dataset (cold), and the window repeated on one open dataset (warm).

Usage: /usr/bin/python3 gdal_j2k_read.py LARGE_DIR [REPEAT]
Prints per read the median time in milliseconds.
"""
import os
import statistics
import sys
import time

from osgeo import gdal

gdal.UseExceptions()
gdal.SetConfigOption("GDAL_PAM_ENABLED", "NO")

NAME = "large_c8_u8_8192_t1024_5lev"
WINDOW = (1900, 1900, 512, 512)


def timed(read):
    start = time.perf_counter()
    read()
    return time.perf_counter() - start


def cold(path, read):
    dataset = gdal.Open(path)
    elapsed = timed(lambda: read(dataset))
    dataset = None
    return elapsed


def full(dataset):
    dataset.ReadRaster(0, 0, dataset.RasterXSize, dataset.RasterYSize)


def window(dataset):
    dataset.ReadRaster(*WINDOW)


def overview(level):
    def read(dataset):
        band = dataset.GetRasterBand(1).GetOverview(level - 1)
        band.ReadRaster(0, 0, band.XSize, band.YSize)
    return read


def report(label, seconds):
    print(f"{NAME}\t{label}\t{statistics.median(seconds) * 1e3:.4g} ms")


def main():
    path = os.path.join(sys.argv[1], NAME + ".ntf")
    repeat = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    report("full cold", [cold(path, full) for _ in range(repeat)])
    report("window512 cold", [cold(path, window) for _ in range(repeat)])
    for level in (1, 2, 3):
        report(f"level{level} cold", [cold(path, overview(level)) for _ in range(repeat)])
    dataset = gdal.Open(path)
    window(dataset)
    report("window512 warm", [timed(lambda: window(dataset)) for _ in range(max(repeat, 50))])


if __name__ == "__main__":
    main()
