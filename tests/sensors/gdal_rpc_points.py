#!/usr/bin/python3
"""GDAL's RPC transformer on a grid of image points at three heights, for one file.

Prints one JSON object: {"width", "height", "heights", "points"} where each point is
[pixel, line, height, lon, lat, inverse_ok, pixel_back, line_back, forward_ok]: the image
point (GDAL's convention: the first pixel's centre at 0.5, 0.5), the ground point that GDAL
finds for it at that height, and the image point that GDAL computes from that ground point.
Where GDAL's inversion fails on the image grid (an image cut from a larger scene, whose
corners lie far from the record's centre), the forward comparison still has
"ground_points": [lon, lat, height, pixel, line, ok], a grid over the record's ground
extent (offset plus or minus scale) with GDAL's image position of each.
All points of a file come from this one run.

With a third argument OUT, the two point lists go to OUT.points and OUT.ground instead, as
little-endian float64 rows (NaN for a failed value, 1 and 0 for the flags), and the JSON
holds only their row counts: a reader then needn't parse megabytes of text.
"""
import json
import math
import struct
import sys

from osgeo import gdal

gdal.UseExceptions()


def finite(values):
    """A failed transformation leaves inf or NaN, which JSON can't hold: null instead."""
    return [v if not isinstance(v, float) or math.isfinite(v) else None for v in values]


def main():
    path, steps = sys.argv[1], int(sys.argv[2])
    ds = gdal.Open(path)
    rpc = ds.GetMetadata("RPC") or {}
    if not rpc:
        print(json.dumps({"error": "no RPC metadata"}))
        return
    height_off = float(rpc["HEIGHT_OFF"])
    height_scale = float(rpc["HEIGHT_SCALE"])
    heights = [height_off - height_scale / 2, height_off, height_off + height_scale / 2]
    width, rows = ds.RasterXSize, ds.RasterYSize
    grid = [((i + 0.5) * width / steps, (j + 0.5) * rows / steps)
            for j in range(steps) for i in range(steps)]
    lat_off, lat_scale = float(rpc["LAT_OFF"]), float(rpc["LAT_SCALE"])
    lon_off, lon_scale = float(rpc["LONG_OFF"]), float(rpc["LONG_SCALE"])
    ground_grid = [(lon_off + lon_scale * (2 * (i + 0.5) / steps - 1),
                    lat_off + lat_scale * (2 * (j + 0.5) / steps - 1))
                   for j in range(steps) for i in range(steps)]
    points = []
    ground_points = []
    for h in heights:
        options = ["METHOD=RPC", "RPC_HEIGHT=%.17g" % h, "RPC_PIXEL_ERROR_THRESHOLD=1e-11",
                   "RPC_MAX_ITERATIONS=200"]
        transformer = gdal.Transformer(ds, None, options)
        ground, ground_ok = transformer.TransformPoints(0, [(x, y, 0.0) for x, y in grid])
        back, back_ok = transformer.TransformPoints(1, [(g[0], g[1], 0.0) for g in ground])
        for k, (x, y) in enumerate(grid):
            points.append(finite([x, y, h, ground[k][0], ground[k][1], bool(ground_ok[k]),
                           back[k][0], back[k][1], bool(back_ok[k])]))
        image, image_ok = transformer.TransformPoints(1, [(x, y, 0.0) for x, y in ground_grid])
        for k, (x, y) in enumerate(ground_grid):
            ground_points.append(finite([x, y, h, image[k][0], image[k][1], bool(image_ok[k])]))
    summary = {"width": width, "height": rows, "heights": heights}
    if len(sys.argv) > 3:
        write_rows(sys.argv[3] + ".points", points)
        write_rows(sys.argv[3] + ".ground", ground_points)
        summary.update({"point_rows": len(points), "ground_rows": len(ground_points)})
    else:
        summary.update({"points": points, "ground_points": ground_points})
    print(json.dumps(summary))


def write_rows(path, rows):
    with open(path, "wb") as out:
        for row in rows:
            values = [math.nan if v is None else float(v) for v in row]
            out.write(struct.pack("<%dd" % len(values), *values))


if __name__ == "__main__":
    main()
