#!/usr/bin/python3
"""Describes the images of a NITF file as GDAL reads them, for the tests of files that we
compose and write: for each image segment its size, its metadata in the default domain,
its block size, and each band's data type and the SHA-256 of its samples in host byte order. Writes a JSON
list to standard output, or {"error": ...} when GDAL refuses the file."""

import hashlib
import json
import sys

from osgeo import gdal

gdal.UseExceptions()


def describe(dataset):
    bands = []
    for number in range(1, dataset.RasterCount + 1):
        band = dataset.GetRasterBand(number)
        samples = band.ReadRaster(0, 0, dataset.RasterXSize, dataset.RasterYSize)
        bands.append({"type": gdal.GetDataTypeName(band.DataType),
                      "sha256": hashlib.sha256(samples).hexdigest()})
    block = dataset.GetRasterBand(1).GetBlockSize() if dataset.RasterCount else None
    return {"size": [dataset.RasterXSize, dataset.RasterYSize], "block": block,
            "metadata": dataset.GetMetadata() or {}, "bands": bands}


def main():
    try:
        dataset = gdal.Open(sys.argv[1])
        names = [name for name, _ in dataset.GetSubDatasets()]
        images = [describe(gdal.Open(name)) for name in names] if names else [describe(dataset)]
        print(json.dumps(images))
    except Exception as error:  # GDAL's refusal is the answer
        print(json.dumps({"error": str(error)}))


if __name__ == "__main__":
    main()
