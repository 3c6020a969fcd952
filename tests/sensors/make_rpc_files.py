#!/usr/bin/python3
"""Writes NITF files that carry rational polynomial coefficients, made with GDAL, into a folder.

Usage: make_rpc_files.py FOLDER

Each file is a small single-band image. The RPC00B files come from GDAL's NITF driver writing
the "RPC" metadata of a source dataset (creation option RPC00B=YES); the RPC00A files carry a
record formatted here and passed as a raw TRE (creation option TRE=RPC00A=...), which GDAL
reads back as RPC metadata in its own term order. The records differ in offsets, scales and
coefficients, including terms that only one of the two orders places where they are.
GDAL 3.6 moves the RPC00A terms 7 to 18 into its own order differently from the published
term tables (its RPC metadata of an RPC00A record holds the H^2 coefficient where L^2 belongs),
so it can't judge an RPC00A record directly. Each RPC00A file therefore has a twin, written as
RPC00B with the coefficients moved by the published tables, which GDAL evaluates as it should.
Prints one JSON object: {"files": [{"path", "tre", "width", "height", "oracle"}]}, where
"oracle" is the file whose GDAL reading stands for this one.
"""
import json
import os
import sys

from osgeo import gdal

gdal.UseExceptions()

# (name, tre, width, height, offsets and scales, coefficients as four lists of twenty)
BASE_LINE_NUM = [0.001, -0.02, -1.0, 0.003, 1e-5, 2e-5, -1e-5, 3e-6, 1e-6, 2e-6]
BASE_SAMP_NUM = [-0.002, 1.0, 0.01, 4e-4, -2e-5, 1e-5, 2e-6, 0, 0, 0]


def pad(values):
    return list(values) + [0.0] * (20 - len(values))


def record(lat, lon, h, lat_s, lon_s, h_s, rows, cols, line_num, line_den, samp_num, samp_den):
    return {
        "ERR_BIAS": 1.5, "ERR_RAND": 0.5,
        "LINE_OFF": rows // 2, "SAMP_OFF": cols // 2,
        "LAT_OFF": lat, "LONG_OFF": lon, "HEIGHT_OFF": h,
        "LINE_SCALE": rows // 2, "SAMP_SCALE": cols // 2,
        "LAT_SCALE": lat_s, "LONG_SCALE": lon_s, "HEIGHT_SCALE": h_s,
        "LINE_NUM_COEFF": pad(line_num), "LINE_DEN_COEFF": pad(line_den),
        "SAMP_NUM_COEFF": pad(samp_num), "SAMP_DEN_COEFF": pad(samp_den),
    }


FILES = [
    ("gen_rpc00b_plain", "RPC00B", 120, 100,
     record(42.3, 20.1, 100, 0.05, 0.05, 500, 100, 120, BASE_LINE_NUM, [1.0, 1e-4, 1e-4, 1e-4],
            BASE_SAMP_NUM, [1.0, -2e-4, -2e-4, -2e-4])),
    ("gen_rpc00b_south_west", "RPC00B", 200, 160,
     record(-33.9, -70.65, 550, 0.08, 0.1, 800, 160, 200,
            [0.003, 0.05, -1.02, 0.01, 2e-4, -3e-4, 1e-4, 5e-5, -2e-5, 3e-5, 1e-6, -2e-6, 3e-6,
             1e-6, -1e-6, 2e-6, 1e-7, -1e-7, 2e-7, 1e-8],
            [1.0, 2e-3, -1e-3, 5e-4, 1e-5, 0, 0, 2e-5, -1e-5, 1e-6],
            [0.001, 0.98, 0.04, -0.002, 3e-4, 1e-4, -2e-4, 1e-5, 2e-5, -3e-5, 1e-6, 2e-6, -1e-6,
             3e-7, 0, 1e-7, 0, -2e-7, 0, 1e-8],
            [1.0, -1e-3, 2e-3, -5e-4, 0, 1e-5, 0, 0, 3e-6])),
    ("gen_rpc00b_dateline", "RPC00B", 90, 140,
     record(64.85, 179.9, 30, 0.02, 0.06, 200, 140, 90,
            [-0.01, 0.01, -0.97, 0.002, 5e-4, 0, 0, 1e-4, 2e-4, -1e-4],
            [1.0, 0, 0, 0, 1e-4, 0, 0, 0, 0, 0, 0, 2e-5],
            [0.02, 1.03, -0.03, 0.001, 0, 2e-4, 0, -3e-4, 1e-4, 0, 0, 0, 5e-6],
            [1.0])),
    ("gen_rpc00b_mountain", "RPC00B", 256, 256,
     record(46.55, 7.98, 2500, 0.04, 0.05, 2000, 256, 256,
            [0.0, -0.015, -1.0, 0.06, 1e-3, -2e-4, 3e-3, 1e-5, 4e-5, -2e-3, 1e-5, 1e-5, -3e-6,
             2e-6, 1e-6, 1e-6, 4e-6, -5e-6, 2e-6, 1e-6],
            [1.0, 1e-3, -2e-3, 3e-3, 0, 0, 1e-5],
            [0.0, 1.0, 0.015, -0.04, -2e-3, 1e-3, 1e-4, 3e-5, 1e-5, 2e-3, 0, 1e-6, 2e-6, -1e-6],
            [1.0, -1e-3, 1e-3, -2e-3])),
    ("gen_rpc00a_plain", "RPC00A", 120, 100,
     record(42.3, 20.1, 100, 0.05, 0.05, 500, 100, 120, BASE_LINE_NUM, [1.0, 1e-4, 1e-4, 1e-4],
            BASE_SAMP_NUM, [1.0, -2e-4, -2e-4, -2e-4])),
    ("gen_rpc00a_cross_terms", "RPC00A", 150, 110,
     record(35.68, 139.76, 40, 0.03, 0.04, 300, 110, 150,
            [0.002, -0.01, -1.01, 0.004, 2e-3, -1e-3, 5e-4, 3e-4, -2e-4, 1e-4, 2e-4, 5e-5, -4e-5,
             3e-5, 2e-5, -1e-5, 1e-5, 2e-5, -3e-5, 1e-6],
            [1.0, 1e-3, 5e-4, -1e-4, 2e-4, 0, 0, 1e-4, 0, 0, 5e-5],
            [-0.003, 1.02, 0.02, 0.001, -1e-3, 4e-4, 2e-4, -3e-4, 1e-4, -2e-4, 1e-4, -6e-5, 3e-5,
             2e-5, -1e-5, 4e-5, -2e-5, 1e-5, 1e-5, -1e-6],
            [1.0, 5e-4, -5e-4, 2e-4, -1e-4, 0, 0, 2e-4, 0, 0, -5e-5])),
    ("gen_rpc00a_equator", "RPC00A", 64, 300,
     record(0.5, -0.25, 0, 0.6, 0.6, 100, 300, 64,
            [0.0, 0.02, -0.99, 0.0, 1e-3, 0, 0, 0, 1e-3, 2e-3, 0, 1e-4, 0, 0, 2e-4],
            [1.0, 0, 1e-3],
            [0.01, 1.01, 0.0, 0.0, 0, 1e-3, 0, 1e-3, 0, 0, 0, 0, 1e-4, 0, 0, 0, 0, 1e-4],
            [1.0, 1e-3])),
]


def coefficient(value):
    """Twelve characters: sign, one digit, six decimals, E, sign, one exponent digit."""
    text = "%+.6E" % value
    mantissa, exponent = text.split("E")
    return "%sE%s%d" % (mantissa, exponent[0], abs(int(exponent)))


def rpc00_payload(r):
    out = "1" + "%07.2f" % r["ERR_BIAS"] + "%07.2f" % r["ERR_RAND"]
    out += "%06d" % r["LINE_OFF"] + "%05d" % r["SAMP_OFF"]
    out += "%+08.4f" % r["LAT_OFF"] + "%+09.4f" % r["LONG_OFF"] + "%+05d" % r["HEIGHT_OFF"]
    out += "%06d" % r["LINE_SCALE"] + "%05d" % r["SAMP_SCALE"]
    out += "%+08.4f" % r["LAT_SCALE"] + "%+09.4f" % r["LONG_SCALE"] + "%+05d" % r["HEIGHT_SCALE"]
    for key in ("LINE_NUM_COEFF", "LINE_DEN_COEFF", "SAMP_NUM_COEFF", "SAMP_DEN_COEFF"):
        out += "".join(coefficient(c) for c in r[key])
    assert len(out) == 1041, len(out)
    return out


# Where each RPC00A term stands in the RPC00B order: 7 LPH, 8 L2, 9 P2, 10 H2, 12 L2P, 13 L2H,
# 14 LP2, 16 P2H, 17 LH2, 18 PH2 become 10, 7, 8, 9, 14, 17, 12, 18, 13, 16.
A_TO_B = [0, 1, 2, 3, 4, 5, 6, 10, 7, 8, 9, 11, 14, 17, 12, 15, 18, 13, 16, 19]


def as_rpc00b(r):
    out = dict(r)
    for key in ("LINE_NUM_COEFF", "LINE_DEN_COEFF", "SAMP_NUM_COEFF", "SAMP_DEN_COEFF"):
        moved = [0.0] * 20
        for a, b in enumerate(A_TO_B):
            moved[b] = r[key][a]
        out[key] = moved
    return out


def rpc_metadata(r):
    meta = {}
    for key, value in r.items():
        if isinstance(value, list):
            meta[key] = " ".join("%.17g" % v for v in value)
        else:
            meta[key] = "%.17g" % value
    return meta


def write(folder, name, tre, width, height, r):
    path = os.path.join(folder, name + ".ntf")
    source = gdal.GetDriverByName("MEM").Create("", width, height, 1, gdal.GDT_Byte)
    options = ["ICORDS=G"]
    if tre == "RPC00B":
        source.SetMetadata(rpc_metadata(r), "RPC")
        options.append("RPC00B=YES")
    else:
        options += ["RPC00B=NO", "TRE=RPC00A=" + rpc00_payload(r)]
    gdal.GetDriverByName("NITF").CreateCopy(path, source, options=options)
    check = gdal.Open(path)
    if not check.GetMetadata("RPC"):
        raise RuntimeError("GDAL reads no RPC metadata from " + path)
    oracle = path
    if tre == "RPC00A":
        oracle = write(folder, name + "_as_rpc00b", "RPC00B", width, height, as_rpc00b(r))["path"]
    return {"path": path, "tre": tre, "width": width, "height": height, "oracle": oracle}


def main():
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    files = [write(folder, *entry) for entry in FILES]
    print(json.dumps({"files": files}))


if __name__ == "__main__":
    main()
