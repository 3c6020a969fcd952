#!/usr/bin/env python3
"""Write 12-bit JPEG files with GDAL's JPEG driver, for comparing our 12-bit decoding.

Usage: make_jpeg12_streams.py OUT.jpg WIDTH HEIGHT BANDS [CREATION_OPTION...]

The samples are a smooth pattern with some noise, in 0..4095. Three bands are stored as
YCbCr with the luminance sampled 2x2 (GDAL's default), one band as grey.
"""

import array
import math
import sys

from osgeo import gdal

gdal.UseExceptions()


def main():
    path, width, height, bands = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4])
    dataset = gdal.GetDriverByName("MEM").Create("", width, height, bands, gdal.GDT_UInt16)
    for band in range(bands):
        samples = array.array("H", [
            min(4095, int(2048 + 1500 * math.sin(x * 0.21 + band) * math.cos(y * 0.13 - band / 2)
                          + (x * y * 7 + band * 13) % 97))
            for y in range(height) for x in range(width)])
        dataset.GetRasterBand(band + 1).WriteRaster(0, 0, width, height, samples.tobytes())
    gdal.GetDriverByName("JPEG").CreateCopy(path, dataset, options=sys.argv[5:])


if __name__ == "__main__":
    main()
