"""Prints, as one JSON object keyed by path, the geodetic corners that GDAL's NITF driver
gives the first image of each file (from IGEOLO, or from BLOCKA, GEOLOB or the RPF tables
where the file has them, listed under "tres"): the four GCPs (upper left, upper right,
lower right, lower left, at the centres of the corner pixels) or, where GDAL turned them
into a geotransform, that transform at the same four pixel centres; each as [lat, lon] in
degrees on WGS-84. A file GDAL can't open, or without corners, gives {"error": text}.

Usage: /usr/bin/python3 gdal_corner_points.py FILE...
"""
import json
import sys

from osgeo import gdal, osr

gdal.UseExceptions()
gdal.SetConfigOption("GDAL_PAM_ENABLED", "NO")


def to_geodetic(srs_wkt, points):
    source = osr.SpatialReference()
    source.ImportFromWkt(srs_wkt)
    source.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    target = osr.SpatialReference()
    target.ImportFromEPSG(4326)
    target.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    transform = osr.CoordinateTransformation(source, target)
    result = []
    for x, y in points:
        lon, lat, _ = transform.TransformPoint(x, y)
        result.append([lat, lon])
    return result


def corners(path):
    dataset = gdal.OpenEx(path, allowed_drivers=["NITF"])
    result = placement(dataset)
    # GDAL places an image by other records before IGEOLO: BLOCKA, GEOLOB, the RPF tables.
    result["tres"] = sorted(dataset.GetMetadata("TRE").keys())
    return result


def placement(dataset):
    width, height = dataset.RasterXSize, dataset.RasterYSize
    gcps = dataset.GetGCPs()
    if gcps:
        by_position = {(round(g.GCPPixel, 3), round(g.GCPLine, 3)): (g.GCPX, g.GCPY) for g in gcps}
        wanted = [(0.5, 0.5), (width - 0.5, 0.5), (width - 0.5, height - 0.5), (0.5, height - 0.5)]
        points = [by_position[(round(px, 3), round(ln, 3))] for px, ln in wanted]
        return {"corners": to_geodetic(dataset.GetGCPProjection(), points), "source": "gcps"}
    gt = dataset.GetGeoTransform(can_return_null=True)
    if gt is None or not dataset.GetProjection():
        return {"error": "no corners"}
    pixels = [(0.5, 0.5), (width - 0.5, 0.5), (width - 0.5, height - 0.5), (0.5, height - 0.5)]
    points = [(gt[0] + px * gt[1] + ln * gt[2], gt[3] + px * gt[4] + ln * gt[5]) for px, ln in pixels]
    return {"corners": to_geodetic(dataset.GetProjection(), points), "source": "geotransform"}


def main():
    out = {}
    for path in sys.argv[1:]:
        try:
            out[path] = corners(path)
        except Exception as error:  # noqa: BLE001 - every failure is reported, not raised
            out[path] = {"error": str(error)}
    json.dump(out, sys.stdout)


if __name__ == "__main__":
    main()
