#!/usr/bin/env python3
"""Print what GDAL decodes from NITF files, as SHA-256 digests of the raster.

Usage: gdal_band_digests.py [--overview N] FILE...

With --overview N (N >= 1) the digests are those of each band's overview N - 1, the pyramid
level N; an image without that overview is {"error": "no overview N"}.

Prints one JSON object: for each file, a list of its images, each with "size" [width, height],
"bands" (the SHA-256 of ReadRaster of each band, native type, little-endian), "pair" (for
two-band images: the digest of both bands interleaved sample by sample, or null) and "msb12"
(for 12-bit bands, the digest of the samples unpacked most significant bits first, or null),
or "error".

GDAL unpacks two 12-bit samples from bytes b0 b1 b2 as b0 | (b1 & 0xF0) << 4 and
(b1 & 0x0F) << 4 | b2 >> 4 | (b2 & 0x0F) << 8. "msb12" recovers the bytes from that and
unpacks them as the NITF standard packs them: b0 << 4 | b1 >> 4 and (b1 & 0x0F) << 8 | b2.
Samples pair up in raster order, which holds for blocks of an even width.
"""

import array
import hashlib
import json
import sys

from osgeo import gdal

gdal.UseExceptions()


def msb12(band):
    if band.GetMetadataItem("NBITS", "IMAGE_STRUCTURE") != "12":
        return None
    gdal_samples = array.array("H", band.ReadRaster())
    samples = array.array("H", gdal_samples)
    for i in range(0, len(samples) - 1, 2):
        s0, s1 = gdal_samples[i], gdal_samples[i + 1]
        b0 = s0 & 0xFF
        b1 = ((s0 >> 8) & 0x0F) << 4 | ((s1 >> 4) & 0x0F)
        b2 = (s1 & 0x0F) << 4 | ((s1 >> 8) & 0x0F)
        samples[i] = b0 << 4 | b1 >> 4
        samples[i + 1] = (b1 & 0x0F) << 8 | b2
    if len(samples) % 2 == 1:
        s0 = gdal_samples[-1]
        samples[-1] = (s0 & 0xFF) << 4 | ((s0 >> 8) & 0x0F)
    return hashlib.sha256(samples.tobytes()).hexdigest()


def overview_digests(dataset, level):
    bands = [dataset.GetRasterBand(i + 1) for i in range(dataset.RasterCount)]
    if not bands or bands[0].GetOverviewCount() < level:
        return {"error": "no overview %d" % level}
    views = [band.GetOverview(level - 1) for band in bands]
    return {"size": [views[0].XSize, views[0].YSize],
            "bands": [hashlib.sha256(view.ReadRaster()).hexdigest() for view in views],
            "pair": None, "msb12": [None] * len(views)}


def image_digests(dataset, level=0):
    if level > 0:
        return overview_digests(dataset, level)
    bands = [hashlib.sha256(dataset.GetRasterBand(i + 1).ReadRaster()).hexdigest()
             for i in range(dataset.RasterCount)]
    pair = None
    if dataset.RasterCount == 2:
        size = gdal.GetDataTypeSize(dataset.GetRasterBand(1).DataType) // 8
        interleaved = dataset.ReadRaster(band_list=[1, 2], buf_pixel_space=2 * size,
                                         buf_line_space=2 * size * dataset.RasterXSize,
                                         buf_band_space=size)
        pair = hashlib.sha256(interleaved).hexdigest()
    twelve = [msb12(dataset.GetRasterBand(i + 1)) for i in range(dataset.RasterCount)]
    return {"size": [dataset.RasterXSize, dataset.RasterYSize], "bands": bands, "pair": pair,
            "msb12": twelve}


def file_digests(path, level):
    dataset = gdal.Open(path)
    names = [value for key, value in (dataset.GetMetadata("SUBDATASETS") or {}).items()
             if key.endswith("_NAME")]
    if not names:
        return [image_digests(dataset, level)]
    images = []
    for name in sorted(names, key=lambda n: int(n.split(":")[1])):
        try:
            images.append(image_digests(gdal.Open(name), level))
        except Exception as error:  # one image GDAL can't decode doesn't stop the others
            images.append({"error": str(error)})
    return images


def main():
    result = {}
    paths = sys.argv[1:]
    level = 0
    if len(paths) >= 2 and paths[0] == "--overview":
        level = int(paths[1])
        paths = paths[2:]
    for path in paths:
        try:
            result[path] = file_digests(path, level)
        except Exception as error:
            result[path] = {"error": str(error)}
    json.dump(result, sys.stdout)


if __name__ == "__main__":
    main()
