#!/usr/bin/python3
"""Compares files pairwise as GDAL reads them: the metadata of every domain (what
`gdalinfo -json -mdd all` lists) and each band's checksum, for the file and each of its
image subdatasets. Reads a JSON list of [original, copy] pairs from the file named by the
first argument; writes to the file named by the second (GDAL's drivers print on standard
output) a JSON object keyed by the original's path, each with "opened" (whether GDAL
opened the original) and "differences" (the keys whose values differ). A pair whose third
element is true is byte for byte the same: its checksums, which equal bytes can't change,
are not computed."""

import json
import sys

from osgeo import gdal

gdal.UseExceptions()


def describe(path, checksums=True):
    """Metadata and band checksums of the dataset and its subdatasets, with the path
    replaced so that two files can be compared."""
    values = {}
    dataset = gdal.Open(path)
    datasets = [("", dataset)]
    for index, (name, _) in enumerate(dataset.GetSubDatasets()):
        if index > 0:
            datasets.append((f"sub{index}", gdal.Open(name)))
    for prefix, ds in datasets:
        info = gdal.Info(ds, format="json", extraMDDomains=["all"])
        values[prefix + "size"] = info.get("size")
        for domain, content in (info.get("metadata") or {}).items():
            if isinstance(content, dict):
                for key, value in content.items():
                    values[f"{prefix}{domain}/{key}"] = str(value).replace(path, "FILE")
            else:
                values[f"{prefix}{domain}"] = str(content).replace(path, "FILE")
        for band in info.get("bands", []):
            number = band["band"]
            values[f"{prefix}band{number}/type"] = band.get("type")
            if not checksums:
                continue
            try:
                checksum = ds.GetRasterBand(number).Checksum()
            except RuntimeError:
                checksum = "unreadable"
            values[f"{prefix}band{number}/checksum"] = checksum
    return values


def main():
    with open(sys.argv[1], encoding="utf-8") as listing:
        pairs = json.load(listing)
    result = {}
    for pair in pairs:
        original, copy = pair[0], pair[1]
        checksums = not (len(pair) > 2 and pair[2])
        try:
            before = describe(original, checksums)
        except Exception:  # GDAL refuses the original: nothing to compare
            result[original] = {"opened": False, "differences": []}
            continue
        try:
            after = describe(copy, checksums)
        except Exception as error:
            result[original] = {"opened": True, "differences": [f"copy: {error}"]}
            continue
        keys = sorted(set(before) | set(after))
        differences = [key for key in keys if before.get(key) != after.get(key)]
        result[original] = {"opened": True, "differences": differences}
    with open(sys.argv[2], "w", encoding="utf-8") as out:
        json.dump(result, out)


if __name__ == "__main__":
    main()
