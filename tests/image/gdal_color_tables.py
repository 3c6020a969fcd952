#!/usr/bin/env python3
"""Print the colour table that GDAL gives the first band of each file's first image.

Usage: gdal_color_tables.py FILE...

Prints one JSON object: for each file, a list of [c1, c2, c3, c4] entries, or null when the
band has no colour table, or {"error": text}.
"""

import json
import sys

from osgeo import gdal

gdal.UseExceptions()


def color_table(path):
    dataset = gdal.Open(path)  # kept: its bands die with it
    table = dataset.GetRasterBand(1).GetColorTable()
    if table is None:
        return None
    return [list(table.GetColorEntry(i)) for i in range(table.GetCount())]


def main():
    result = {}
    for path in sys.argv[1:]:
        try:
            result[path] = color_table(path)
        except Exception as error:  # one file GDAL can't open doesn't stop the others
            result[path] = {"error": str(error)}
    json.dump(result, sys.stdout)


if __name__ == "__main__":
    main()
