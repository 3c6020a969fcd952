#!/usr/bin/python3
"""Writes a small TIFF or PNG with GDAL for the tests of "tessel convert":
make_raster.py PATH FORMAT WIDTH HEIGHT BANDS TYPE [OPTION=VALUE...], where FORMAT is GTiff
or PNG, TYPE a GDAL data type name, and the options go to the driver. Sample i of band b
is (b * 37 + i * 3) cut to the type, so every band differs."""

import struct
import sys

from osgeo import gdal

gdal.UseExceptions()

PACK = {"Byte": ("B", 0xFF), "UInt16": ("H", 0xFFFF), "Int16": ("h", None),
        "Float32": ("f", None)}


def samples(band, count, data_type):
    code, mask = PACK[data_type]
    values = []
    for i in range(count):
        value = band * 37 + i * 3
        if mask is not None:
            value &= mask
        elif code == "h":
            value = value - 200
        else:
            value = value * 0.25 - 3.5
        values.append(value)
    return struct.pack("=%d%s" % (count, code), *values)


def main():
    path, driver, width, height, bands, data_type = sys.argv[1:7]
    width, height, bands = int(width), int(height), int(bands)
    options = sys.argv[7:]
    memory = gdal.GetDriverByName("MEM").Create("", width, height, bands,
                                               gdal.GetDataTypeByName(data_type))
    for band in range(bands):
        memory.GetRasterBand(band + 1).WriteRaster(0, 0, width, height,
                                                   samples(band, width * height, data_type))
    gdal.GetDriverByName(driver).CreateCopy(path, memory, options=options)


if __name__ == "__main__":
    main()
