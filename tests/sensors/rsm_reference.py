#!/usr/bin/python3
"""Writes NITF files with replacement sensor model support data (RSMIDA, RSMPIA and one RSMPCA
per image section) through GDAL, and evaluates the published ground-to-image equations of the
polynomial form for a grid of ground points on each, with numpy.

Usage: rsm_reference.py FOLDER

The evaluation works from the TRE texts as written (each value read back from its field), so
it sees exactly what a reader of the file sees:
  - the ground point goes to the domain's (x, y, z): G longitude and latitude in radians,
    H the same with the longitude in 0..2pi, R Earth-centred metres (WGS-84);
  - the section comes from the low-order index polynomial, floor((row - MINR) / RSSIZ) and
    floor((col - MINC) / CSSIZ), each clamped to the section grid; sections are stored row by
    row;
  - each polynomial runs over z^k, y^j, x^i with x fastest and every power from 0 to its
    maximum; row = RN / RD and column = CN / CD at the normalised point, then scaled and
    offset back to pixels.
Prints one JSON object: {"files": [{"path", "domain", "sections", "points"}]}, each point
[lat, lon, height, z of the domain, line, sample] with no pixel offset.
"""
import json
import math
import os
import sys

import numpy as np
from osgeo import gdal

gdal.UseExceptions()

A = 6378137.0
E2 = 0.006694379990141317
TWO_PI = 6.283185307179586


def geodetic_to_ecef(lat_deg, lon_deg, h):
    lat = math.radians(lat_deg)
    lon = math.radians(lon_deg)
    n = A / math.sqrt(1.0 - E2 * math.sin(lat) ** 2)
    return ((n + h) * math.cos(lat) * math.cos(lon), (n + h) * math.cos(lat) * math.sin(lon),
            (n * (1.0 - E2) + h) * math.sin(lat))


def to_domain(domain, lat, lon, h):
    if domain == "R":
        return geodetic_to_ecef(lat, lon, h)
    x = math.radians(lon)
    if domain == "H" and x < 0:
        x += TWO_PI
    return (x, math.radians(lat), h)


def real(v):
    text = "%+.14E" % v
    assert len(text) == 21, text
    return text


def alpha(v, width):
    return str(v).ljust(width)[:width]


def numeric(v, width):
    return ("%0" + str(width) + "d") % v


# --- Records ----------------------------------------------------------------------------

class Layout:
    def __init__(self, name, domain, rows, cols, rnis, cnis, lat0, lon0, dlat, dlon,
                 height0=200.0, height_scale=400.0, minr=0, minc=0):
        self.name, self.domain = name, domain
        self.rows, self.cols, self.rnis, self.cnis = rows, cols, rnis, cnis
        self.lat0, self.lon0, self.dlat, self.dlon = lat0, lon0, dlat, dlon
        self.height0, self.height_scale = height0, height_scale
        self.minr, self.minc = minr, minc

    def place(self, row, col):
        """The nominal place of an image position: latitude falls with the row."""
        return (self.lat0 - self.dlat * (row - self.minr) / self.rows,
                self.lon0 + self.dlon * (col - self.minc) / self.cols)


def rsmida(l):
    fields = [alpha("GEN " + l.name, 80), alpha("ED1", 40), alpha("SEQ", 40), alpha("SENSOR", 40),
              alpha("EO", 40), "2022", "07", "15", "10", "42", "%09.6f" % 31.25,
              alpha("", 8), alpha("", 8), alpha("", 21), alpha("", 21), l.domain]
    fields += [alpha("", 21)] * 12
    for v in range(8):
        lat, lon = l.place(l.minr + (v & 1) * l.rows, l.minc + ((v >> 1) & 1) * l.cols)
        h = l.height0 + (1 if v >= 4 else -1) * l.height_scale
        fields += [real(c) for c in to_domain(l.domain, lat, lon, h)]
    fields += [alpha("", 21)] * 3
    fields += [alpha(l.rows, 8), alpha(l.cols, 8), alpha(l.minr, 8),
               alpha(l.minr + l.rows - 1, 8), alpha(l.minc, 8), alpha(l.minc + l.cols - 1, 8)]
    fields += [alpha("", 21)] * 12 + [alpha("", 21)] * 9
    return "".join(fields)


def index_polynomials(l):
    """Low-order row and column polynomials (10 coefficients each) over the domain."""
    r = [0.0] * 10
    c = [0.0] * 10
    if l.domain == "R":
        p0 = np.array(geodetic_to_ecef(*l.place(l.minr, l.minc), l.height0))
        pr = np.array(geodetic_to_ecef(*l.place(l.minr + l.rows, l.minc), l.height0)) - p0
        pc = np.array(geodetic_to_ecef(*l.place(l.minr, l.minc + l.cols), l.height0)) - p0
        rr, cc = pr.dot(pr), pc.dot(pc)
        r[0] = l.minr - l.rows * pr.dot(p0) / rr
        r[1:4] = list(l.rows * pr / rr)
        c[0] = l.minc - l.cols * pc.dot(p0) / cc
        c[1:4] = list(l.cols * pc / cc)
    else:
        x0, y0, _ = to_domain(l.domain, l.lat0, l.lon0, 0)
        dy, dx = math.radians(l.dlat), math.radians(l.dlon)
        r[0], r[2] = l.minr + y0 * l.rows / dy, -l.rows / dy
        c[0], c[1] = l.minc - x0 * l.cols / dx, l.cols / dx
    # Heights move the image a few pixels.
    r[3] += 2.5 / l.height_scale
    c[3] -= 3.0 / l.height_scale
    r[0] -= 2.5 * l.height0 / l.height_scale
    c[0] += 3.0 * l.height0 / l.height_scale
    return r, c


def rsmpia(l):
    r, c = index_polynomials(l)
    fields = [alpha("GEN " + l.name, 80), alpha("ED1", 40)]
    fields += [real(v) for v in r] + [real(v) for v in c]
    fields += [numeric(l.rnis, 3), numeric(l.cnis, 3), numeric(l.rnis * l.cnis, 3)]
    fields += [real(l.rows / l.rnis), real(l.cols / l.cnis)]
    return "".join(fields)


def monomials(p, x, y, z):
    """Columns x^i y^j z^k in record order (x fastest) for powers p = (px, py, pz)."""
    px, py, pz = p
    return np.stack([x ** i * y ** j * z ** k for k in range(pz + 1) for j in range(py + 1)
                     for i in range(px + 1)], axis=-1)


def global_mapping(l):
    """The image geometry of the whole layout as two ratios of polynomials over the
    domain normalised to the whole image: (normalisation, row numerator, row denominator,
    column numerator, column denominator), each polynomial as (powers, {(i, j, k): c})."""
    x0, y0, z0 = to_domain(l.domain, *l.place(l.minr + l.rows / 2, l.minc + l.cols / 2),
                           l.height0)
    r, c = index_polynomials(l)
    if l.domain == "R":
        scale = (60000.0, 60000.0, 60000.0)
    else:
        scale = (math.radians(l.dlon / 2), math.radians(l.dlat / 2), l.height_scale)
    # The index polynomial's linear part in normalised units, plus small curvature, a height
    # slope and a denominator, all a fraction of a pixel to a few pixels.
    def linear(p):
        return {(0, 0, 0): p[0] + p[1] * x0 + p[2] * y0 + p[3] * z0, (1, 0, 0): p[1] * scale[0],
                (0, 1, 0): p[2] * scale[1], (0, 0, 1): p[3] * scale[2]}
    rn = linear(r)
    cn = linear(c)
    # Curvature that the index polynomial doesn't follow: a fifth of a pixel at most, so
    # that points 0.7 pixel from a border stay on their side whichever way they are mapped.
    rn[(1, 1, 0)] = 0.1
    rn[(2, 1, 1)] = -0.05
    rn[(0, 3, 0)] = 0.05
    cn[(2, 1, 0)] = 0.08
    cn[(3, 0, 0)] = -0.04
    cn[(1, 2, 1)] = 0.05
    rd = {(0, 0, 0): 1.0, (1, 0, 0): 2e-4, (0, 1, 1): -1e-4}
    cd = {(0, 0, 0): 1.0, (0, 1, 0): -1.5e-4, (1, 1, 0): 1e-4}
    return ((x0, y0, z0), scale, rn, rd, cn, cd)


def evaluate_terms(terms, u, v, w):
    return sum(c * u ** i * v ** j * w ** k for (i, j, k), c in terms.items())


ROW_NUM_POWERS, ROW_DEN_POWERS = (2, 3, 1), (1, 1, 1)
COL_NUM_POWERS, COL_DEN_POWERS = (3, 2, 1), (1, 1, 0)


def section_record(l, rs, cs):
    """One section: the global mapping re-expressed in the section's own normalisation (an
    exact least-squares fit, since an affine change of variables keeps the powers), with a
    quarter-pixel shift of its own so that a wrong choice of section shows."""
    rows_per, cols_per = l.rows / l.rnis, l.cols / l.cnis
    row_c, col_c = l.minr + (rs + 0.5) * rows_per, l.minc + (cs + 0.5) * cols_per
    lat_c, lon_c = l.place(row_c, col_c)
    x0, y0, z0 = to_domain(l.domain, lat_c, lon_c, l.height0)
    if l.domain == "R":
        xs = ys = zs = 30000.0
    else:
        xs, ys, zs = (math.radians(l.dlon / l.cnis / 2), math.radians(l.dlat / l.rnis / 2),
                      l.height_scale)
    origin, scale, grn, grd, gcn, gcd = global_mapping(l)
    shift = 0.25 * (rs + 2 * cs) / max(1, l.rnis + 2 * l.cnis)
    rng = np.random.default_rng(17 + 5 * rs + cs)
    xn, yn, zn = (rng.uniform(-1.5, 1.5, 400) for _ in range(3))
    u = (x0 + xn * xs - origin[0]) / scale[0]
    v = (y0 + yn * ys - origin[1]) / scale[1]
    w = (z0 + zn * zs - origin[2]) / scale[2]

    def fit(powers, target):
        coeff, *_ = np.linalg.lstsq(monomials(powers, xn, yn, zn), target, rcond=None)
        return (powers[0], powers[1], powers[2], list(coeff))

    d_row = evaluate_terms(grd, u, v, w)
    d_col = evaluate_terms(gcd, u, v, w)
    rd = fit(ROW_DEN_POWERS, d_row)
    cd = fit(COL_DEN_POWERS, d_col)
    rn = fit(ROW_NUM_POWERS,
             (evaluate_terms(grn, u, v, w) + (shift - row_c) * d_row) / (rows_per / 2))
    cn = fit(COL_NUM_POWERS,
             (evaluate_terms(gcn, u, v, w) + (shift - col_c) * d_col) / (cols_per / 2))
    fields = [alpha("GEN " + l.name, 80), alpha("ED1", 40), numeric(rs + 1, 3),
              numeric(cs + 1, 3), alpha("", 21), real(0.01)]
    fields += [real(v) for v in (row_c, col_c, x0, y0, z0, rows_per / 2, cols_per / 2, xs, ys, zs)]
    for px, py, pz, coeff in (rn, rd, cn, cd):
        fields += [numeric(px, 1), numeric(py, 1), numeric(pz, 1), numeric(len(coeff), 3)]
        fields += [real(v) for v in coeff]
    return "".join(fields)


# --- Reading the records back and evaluating --------------------------------------------

def read_section(text):
    """The numbers of an RSMPCA text, as a reader of the file gets them."""
    pos = 80 + 40 + 3 + 3 + 21 + 21
    norms = [float(text[pos + 21 * n:pos + 21 * (n + 1)]) for n in range(10)]
    pos += 210
    polys = []
    for _ in range(4):
        px, py, pz = int(text[pos]), int(text[pos + 1]), int(text[pos + 2])
        count = int(text[pos + 3:pos + 6])
        pos += 6
        coeff = np.array([float(text[pos + 21 * n:pos + 21 * (n + 1)]) for n in range(count)])
        pos += 21 * count
        polys.append((px, py, pz, coeff))
    return norms, polys


def read_index(text):
    pos = 120
    values = [float(text[pos + 21 * n:pos + 21 * (n + 1)]) for n in range(20)]
    pos += 420
    rnis, cnis = int(text[pos:pos + 3]), int(text[pos + 3:pos + 6])
    rssiz, cssiz = float(text[pos + 9:pos + 30]), float(text[pos + 30:pos + 51])
    return values[:10], values[10:], rnis, cnis, rssiz, cssiz


def evaluate(poly, x, y, z):
    px, py, pz, coeff = poly
    xs = x ** np.arange(px + 1)
    ys = y ** np.arange(py + 1)
    zs = z ** np.arange(pz + 1)
    # Index i + (px+1) (j + (py+1) k): x fastest, then y, then z.
    grid = np.einsum("k,j,i->kji", zs, ys, xs).reshape(-1)
    n = min(len(coeff), len(grid))
    return float(np.dot(coeff[:n], grid[:n]))


def low_order(c, x, y, z):
    return (c[0] + c[1] * x + c[2] * y + c[3] * z + c[4] * x * x + c[5] * x * y + c[6] * x * z +
            c[7] * y * y + c[8] * y * z + c[9] * z * z)


def ground_to_image(index, sections, minr, minc, x, y, z):
    r_poly, c_poly, rnis, cnis, rssiz, cssiz = index
    row, col = low_order(r_poly, x, y, z), low_order(c_poly, x, y, z)
    rs = min(max(math.floor((row - minr) / rssiz), 0), rnis - 1)
    cs = min(max(math.floor((col - minc) / cssiz), 0), cnis - 1)
    norms, polys = sections[rs * cnis + cs]
    rnrmo, cnrmo, xnrmo, ynrmo, znrmo, rnrmsf, cnrmsf, xnrmsf, ynrmsf, znrmsf = norms
    xn, yn, zn = (x - xnrmo) / xnrmsf, (y - ynrmo) / ynrmsf, (z - znrmo) / znrmsf
    r = evaluate(polys[0], xn, yn, zn) / evaluate(polys[1], xn, yn, zn)
    c = evaluate(polys[2], xn, yn, zn) / evaluate(polys[3], xn, yn, zn)
    return r * rnrmsf + rnrmo, c * cnrmsf + cnrmo


LAYOUTS = [
    Layout("g2x2", "G", 400, 480, 2, 2, 42.4, 20.0, 0.2, 0.24),
    Layout("g3x1", "G", 600, 300, 3, 1, -33.6, -70.8, 0.3, 0.15, height0=550.0, minr=20,
           minc=10),
    Layout("r2x2", "R", 400, 400, 2, 2, 48.9, 2.2, 0.1, 0.15),
    Layout("h1x3", "H", 300, 600, 1, 3, 51.6, 179.85, 0.1, 0.3),
    Layout("g1x1", "G", 200, 250, 1, 1, 35.7, 139.6, 0.05, 0.07),
]


def grid_points(l):
    """A grid over the image's nominal footprint, with rows and columns next to the section
    borders, at three heights."""
    rows = [l.minr + f * l.rows for f in (0.03, 0.3, 0.97)]
    cols = [l.minc + f * l.cols for f in (0.03, 0.6, 0.97)]
    for n in range(1, l.rnis):
        rows += [l.minr + n * l.rows / l.rnis - 0.7, l.minr + n * l.rows / l.rnis + 0.7]
    for n in range(1, l.cnis):
        cols += [l.minc + n * l.cols / l.cnis - 0.7, l.minc + n * l.cols / l.cnis + 0.7]
    for h in (l.height0 - 0.8 * l.height_scale, l.height0, l.height0 + 0.8 * l.height_scale):
        for row in rows:
            for col in cols:
                lat, lon = l.place(row, col)
                if lon > 180:
                    lon -= 360
                yield lat, lon, h


def write_file(folder, l):
    path = os.path.join(folder, l.name + ".ntf")
    texts = [("RSMIDA", rsmida(l)), ("RSMPIA", rsmpia(l))]
    sections = []
    for rs in range(l.rnis):
        for cs in range(l.cnis):
            text = section_record(l, rs, cs)
            texts.append(("RSMPCA", text))
            sections.append(read_section(text))
    options = ["TRE=%s=%s" % (name, text) for name, text in texts]
    ds = gdal.GetDriverByName("NITF").Create(path, 16, 16, 1, gdal.GDT_Byte, options=options)
    ds.GetRasterBand(1).Fill(7)
    ds = None
    index = read_index(texts[1][1])
    points = []
    for lat, lon, h in grid_points(l):
        x, y, z = to_domain(l.domain, lat, lon, h)
        line, sample = ground_to_image(index, sections, l.minr, l.minc, x, y, z)
        points.append([lat, lon, h, z, line, sample])
    return {"path": path, "domain": l.domain, "sections": len(sections), "points": points,
            "tres": [[name, text] for name, text in texts]}


def move_tres_to_overflow(source, target):
    """Copies a GDAL file with its image's TREs moved into a TRE_OVERFLOW data extension:
    the image subheader keeps IXSHDL 3 and IXSOFL 1 (the first DES), the DES holds the TREs."""
    data = bytearray(open(source, "rb").read())
    assert data[:9] == b"NITF02.10", "a NITF 2.1 file from GDAL"
    hl = int(data[354:360])
    numi = int(data[360:363])
    assert numi == 1
    lish, li = int(data[363:369]), int(data[369:379])
    pos = 379
    assert int(data[pos:pos + 3]) == 0  # NUMS
    pos += 3 + 3  # NUMS, NUMX
    assert int(data[pos:pos + 3]) == 0  # NUMT
    pos += 3
    numdes_at = pos
    assert int(data[pos:pos + 3]) == 0
    subheader = bytes(data[hl:hl + lish])
    image = bytes(data[hl + lish:hl + lish + li])
    start = subheader.index(b"RSMIDA")
    ixshdl = int(subheader[start - 8:start - 3])
    assert ixshdl - 3 == len(subheader) - start, "the TREs end the subheader"
    tres = subheader[start:]
    new_subheader = subheader[:start - 8] + b"00003" + b"001"
    des_subheader = (b"DE" + b"TRE_OVERFLOW".ljust(25) + b"01" + b"U" + b" " * 166 +
                     b"IXSHD " + b"001" + b"0000")
    header = bytearray(data[:hl])
    header[363:369] = b"%06d" % len(new_subheader)
    header[numdes_at:numdes_at + 3] = (b"001" + b"%04d" % len(des_subheader) +
                                       b"%09d" % len(tres))
    new_hl = hl + 13
    total = new_hl + len(new_subheader) + len(image) + len(des_subheader) + len(tres)
    header[342:354] = b"%012d" % total
    header[354:360] = b"%06d" % new_hl
    with open(target, "wb") as out:
        out.write(bytes(header[:new_hl]) + new_subheader + image + des_subheader + tres)


def write_bad_files(folder):
    """Files whose records a reader must refuse or survive: {"path", "case"} each."""
    l = LAYOUTS[0]
    sections = [section_record(l, rs, cs) for rs in range(l.rnis) for cs in range(l.cnis)]
    unparsable = sections[1]
    at = 80 + 40 + 3 + 3 + 21 + 21 + 2 * 21  # XNRMO
    unparsable = unparsable[:at] + "NOT A NUMBER".ljust(21) + unparsable[at + 21:]
    zero = sections[0]
    # The row denominator (powers 1 1 1, 8 terms) follows the row numerator: all zeros.
    start = 80 + 40 + 3 + 3 + 21 + 21 + 210 + 6 + 21 * 24 + 6
    zero = zero[:start] + real(0.0) * 8 + zero[start + 21 * 8:]
    cases = {
        "uncovered": [("RSMIDA", rsmida(l)), ("RSMPIA", rsmpia(l))] +
                     [("RSMPCA", t) for t in sections[:3]],
        "zero_denominator": [("RSMIDA", rsmida(l)), ("RSMPIA", rsmpia(l))] +
                            [("RSMPCA", zero)] + [("RSMPCA", t) for t in sections[1:]],
        "unparsable": [("RSMIDA", rsmida(l)), ("RSMPIA", rsmpia(l)), ("RSMPCA", sections[0]),
                       ("RSMPCA", unparsable)],
        "no_index": [("RSMIDA", rsmida(l))] + [("RSMPCA", t) for t in sections],
    }
    files = []
    for case, texts in cases.items():
        path = os.path.join(folder, "bad_" + case + ".ntf")
        options = ["TRE=%s=%s" % (name, text) for name, text in texts]
        ds = gdal.GetDriverByName("NITF").Create(path, 16, 16, 1, gdal.GDT_Byte, options=options)
        ds = None
        files.append({"path": path, "case": case})
    return files


def main():
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    files = [write_file(folder, l) for l in LAYOUTS]
    overflow = dict(files[0])
    overflow["path"] = os.path.join(folder, LAYOUTS[0].name + "_overflow.ntf")
    overflow["overflowOf"] = files[0]["path"]
    move_tres_to_overflow(files[0]["path"], overflow["path"])
    files.append(overflow)
    print(json.dumps({"files": files, "bad": write_bad_files(folder)}))


if __name__ == "__main__":
    main()
