#!/usr/bin/python3
"""GDAL's RPC transformer on the record and points of bench_sensor: points per second.

Usage: gdal_sensor.py [REPEATS]

The record comes from bench/rpc_bench_record.json as "RPC" metadata of an in-memory dataset;
the points are the same grids as bench_sensor's (100 x 100 at three heights), mapped with one
vectorised TransformPoints call per direction and height, which is GDAL's fastest use from
Python. GDAL's image coordinates put the first pixel's centre at 0.5, 0.5, so the image grid is
shifted by 0.5 for it. Prints the best of REPEATS runs (default 20) for each direction.
"""
import json
import os
import sys
import time

from osgeo import gdal

gdal.UseExceptions()

GRID = 100


def main():
    repeats = int(sys.argv[1]) if len(sys.argv) > 1 else 20
    here = os.path.dirname(os.path.abspath(__file__))
    with open(os.path.join(here, "rpc_bench_record.json")) as f:
        r = json.load(f)["RPC00B"]
    meta = {k: (" ".join("%.17g" % v for v in r[k]) if isinstance(r[k], list) else str(r[k]))
            for k in r if k != "SUCCESS"}
    ds = gdal.GetDriverByName("MEM").Create("", int(2 * r["SAMP_SCALE"]), int(2 * r["LINE_SCALE"]))
    ds.SetMetadata(meta, "RPC")
    heights = [r["HEIGHT_OFF"] - r["HEIGHT_SCALE"] / 2, r["HEIGHT_OFF"],
               r["HEIGHT_OFF"] + r["HEIGHT_SCALE"] / 2]
    ground = {h: [(r["LONG_OFF"] + r["LONG_SCALE"] * 0.9 * (2.0 * (i + 0.5) / GRID - 1),
                   r["LAT_OFF"] + r["LAT_SCALE"] * 0.9 * (2.0 * (j + 0.5) / GRID - 1), h)
                  for j in range(GRID) for i in range(GRID)] for h in heights}
    image = {h: [((i + 0.5) * 2 * r["SAMP_SCALE"] / GRID, (j + 0.5) * 2 * r["LINE_SCALE"] / GRID, h)
                 for j in range(GRID) for i in range(GRID)] for h in heights}
    # The height of each point is its z, added to RPC_HEIGHT (0).
    transformer = gdal.Transformer(ds, None, ["METHOD=RPC"])
    count = 3 * GRID * GRID
    results = {}
    for name, direction, points in (("ground_to_image", 1, ground), ("image_to_ground", 0, image)):
        best = float("inf")
        for _ in range(repeats):
            start = time.perf_counter()
            for h in heights:
                transformer.TransformPoints(direction, points[h])
            best = min(best, time.perf_counter() - start)
        results[name] = {"points": count, "seconds": best, "points_per_second": count / best}
    results["gdal"] = gdal.__version__
    results["loadavg"] = os.getloadavg()
    print(json.dumps(results, indent=2))


if __name__ == "__main__":
    main()
