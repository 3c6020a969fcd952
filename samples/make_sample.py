#!/usr/bin/env python3
"""Write the TesselLib demo file: a small NITF 2.10 file built field by field.

Usage: make_sample.py OUTPUT

Contents:
  * file header titled "TesselLib sample", unclassified, fixed date (the output is
    byte-identical from run to run);
  * image 1: 64 x 48, one 8-bit band, MONO, IMODE B, 2 x 2 blocks of 32 x 24,
    ICORDS G over Mont-Saint-Michel, with an RPC00B and a USE00A extension;
    pixel (row, col) = 2 * row + 2 * col;
  * image 2: 16 x 16, RGB, IMODE P, one block, ICORDS D over Geneva;
    red = 16 * col, green = 16 * row, blue = 8 * (row + col);
  * one text segment (STA);
  * one XML_DATA_CONTENT data extension segment.

Only the standard library is used.
"""

import sys

FILE_DATE = "20240115120000"
IMAGE_DATE = "20240115103000"

# One arc-second per pixel; the RPC below maps the same geometry.
GRADIENT_ROWS, GRADIENT_COLS = 48, 64
GRADIENT_BLOCK_ROWS, GRADIENT_BLOCK_COLS = 24, 32
RGB_SIZE = 16


class FieldWriter:
    """Accumulates fixed-width NITF fields, checking every width."""

    def __init__(self):
        self.data = bytearray()

    def alpha(self, value, width):
        """BCS-A: left-justified, blank-filled."""
        raw = value.encode("ascii")
        if len(raw) > width:
            raise ValueError(f"{value!r} is wider than {width}")
        self.data += raw.ljust(width, b" ")

    def number(self, value, width):
        """BCS-N: right-justified, zero-filled."""
        raw = str(value).encode("ascii")
        if len(raw) > width:
            raise ValueError(f"{value!r} is wider than {width}")
        self.data += raw.rjust(width, b"0")

    def raw(self, value):
        self.data += value

    def offset(self):
        return len(self.data)

    def patch_number(self, offset, value, width):
        raw = str(value).encode("ascii").rjust(width, b"0")
        if len(raw) != width:
            raise ValueError(f"{value!r} is wider than {width}")
        self.data[offset : offset + width] = raw


def security_group(w, classification):
    """Classification letter and the 2.1 security fields, all blank but the letter."""
    w.alpha(classification, 1)
    widths = (2, 11, 2, 20, 2, 8, 4, 1, 8, 43, 1, 40, 1, 8, 15)
    for width in widths:
        w.alpha("", width)


def tre(tag, payload):
    """One tagged record extension: tag, length, data."""
    if len(tag) != 6:
        raise ValueError(f"TRE tag {tag!r} must be 6 characters")
    return tag.encode("ascii") + f"{len(payload):05d}".encode("ascii") + payload


def fields(entry):
    """Concatenate (value, width) pairs of already formatted text, checking each width."""
    out = bytearray()
    for value, width in entry:
        raw = value.encode("ascii")
        if len(raw) != width:
            raise ValueError(f"{value!r} is not {width} characters")
        out += raw
    return bytes(out)


def coefficient(value):
    """RPC coefficient in the 12-character form +n.nnnnnnE+n."""
    mantissa, exponent = f"{value:+.6E}".split("E")
    text = f"{mantissa}E{int(exponent):+d}"
    if len(text) != 12:
        raise ValueError(f"coefficient {value} does not fit 12 characters")
    return text


def rpc00b():
    """RPC00B for image 1: a north-up grid of one arc-second per pixel.

    line = 24 - 3600 * (lat - 48.635), sample = 32 + 3600 * (lon + 1.51), with small
    height and cross terms so that every coefficient group carries something.
    Term order: 1 L P H LP LH PH L2 P2 H2 PLH L3 LP2 LH2 L2P P3 PH2 L2H P2H H3.
    """
    line_num = [0.0] * 20
    line_den = [0.0] * 20
    samp_num = [0.0] * 20
    samp_den = [0.0] * 20
    line_num[2] = -1.05  # 25.2 lines per unit of latitude / 24 lines of scale
    line_num[3] = 2.5e-4
    line_num[8] = -1.2e-5
    samp_num[1] = 1.125  # 36 samples per unit of longitude / 32 samples of scale
    samp_num[3] = -3.1e-4
    samp_num[4] = 4.0e-6
    line_den[0] = 1.0
    line_den[1] = 1.5e-6
    samp_den[0] = 1.0
    samp_den[2] = -2.0e-6
    header = fields(
        [
            ("1", 1),  # SUCCESS
            ("0001.50", 7),  # ERR_BIAS
            ("0000.75", 7),  # ERR_RAND
            ("000024", 6),  # LINE_OFF
            ("00032", 5),  # SAMP_OFF
            ("+48.6350", 8),  # LAT_OFF
            ("-001.5100", 9),  # LONG_OFF
            ("+0010", 5),  # HEIGHT_OFF
            ("000024", 6),  # LINE_SCALE
            ("00032", 5),  # SAMP_SCALE
            ("+00.0070", 8),  # LAT_SCALE
            ("+000.0100", 9),  # LONG_SCALE
            ("+0500", 5),  # HEIGHT_SCALE
        ]
    )
    coefficients = "".join(coefficient(v) for v in line_num + line_den + samp_num + samp_den)
    payload = header + coefficients.encode("ascii")
    assert len(payload) == 1041
    return tre("RPC00B", payload)


def use00a():
    """USE00A: exploitation usability of image 1."""
    payload = fields(
        [
            ("000", 3),  # ANGLE_TO_NORTH
            ("984.3", 5),  # MEAN_GSD (inches)
            (" ", 1),
            ("00255", 5),  # DYNAMIC_RANGE
            ("   ", 3),
            (" ", 1),
            ("   ", 3),
            ("12.50", 5),  # OBL_ANG
            ("+03.20", 6),  # ROLL_ANG
            (" " * 12, 12),
            (" " * 15, 15),
            (" " * 4, 4),
            (" ", 1),
            ("   ", 3),
            (" ", 1),
            (" ", 1),
            ("00", 2),  # N_REF
            ("01234", 5),  # REV_NUM
            ("001", 3),  # N_SEG
            ("000048", 6),  # MAX_LP_SEG
            (" " * 6, 6),
            (" " * 6, 6),
            ("+42.5", 5),  # SUN_EL
            ("135.0", 5),  # SUN_AZ
        ]
    )
    assert len(payload) == 107
    return tre("USE00A", payload)


def gradient_pixels():
    """Image 1 in file order: blocks row by row, each block row by row."""
    out = bytearray()
    for block_row in range(GRADIENT_ROWS // GRADIENT_BLOCK_ROWS):
        for block_col in range(GRADIENT_COLS // GRADIENT_BLOCK_COLS):
            for r in range(GRADIENT_BLOCK_ROWS):
                row = block_row * GRADIENT_BLOCK_ROWS + r
                for c in range(GRADIENT_BLOCK_COLS):
                    col = block_col * GRADIENT_BLOCK_COLS + c
                    out.append(2 * row + 2 * col)
    return bytes(out)


def rgb_pixels():
    """Image 2 in file order: pixel interleaved R G B."""
    out = bytearray()
    for row in range(RGB_SIZE):
        for col in range(RGB_SIZE):
            out += bytes((16 * col, 16 * row, 8 * (row + col)))
    return bytes(out)


def image_subheader(image):
    w = FieldWriter()
    w.alpha("IM", 2)
    w.alpha(image["iid1"], 10)
    w.alpha(IMAGE_DATE, 14)
    w.alpha("", 17)  # TGTID
    w.alpha(image["iid2"], 80)
    security_group(w, "U")
    w.alpha("0", 1)  # ENCRYP
    w.alpha(image["isorce"], 42)
    w.number(image["rows"], 8)
    w.number(image["cols"], 8)
    w.alpha("INT", 3)
    w.alpha(image["irep"], 8)
    w.alpha("VIS", 8)
    w.number(8, 2)  # ABPP
    w.alpha("R", 1)
    w.alpha(image["icords"], 1)
    w.alpha("".join(image["igeolo"]), 60)
    w.number(0, 1)  # NICOM
    w.alpha("NC", 2)
    w.number(len(image["bands"]), 1)
    for band in image["bands"]:
        w.alpha(band, 2)  # IREPBAND
        w.alpha("", 6)  # ISUBCAT
        w.alpha("N", 1)  # IFC
        w.alpha("", 3)  # IMFLT
        w.number(0, 1)  # NLUTS
    w.number(0, 1)  # ISYNC
    w.alpha(image["imode"], 1)
    w.number(image["cols"] // image["block_cols"], 4)  # NBPR
    w.number(image["rows"] // image["block_rows"], 4)  # NBPC
    w.number(image["block_cols"], 4)  # NPPBH
    w.number(image["block_rows"], 4)  # NPPBV
    w.number(8, 2)  # NBPP
    w.number(image["idlvl"], 3)
    w.number(image["ialvl"], 3)
    w.number(image["iloc"], 10)
    w.alpha("1.0", 4)  # IMAG
    w.number(0, 5)  # UDIDL
    extensions = b"".join(image["tres"])
    if extensions:
        w.number(3 + len(extensions), 5)  # IXSHDL
        w.number(0, 3)  # IXSOFL
        w.raw(extensions)
    else:
        w.number(0, 5)
    return bytes(w.data)


def text_subheader():
    w = FieldWriter()
    w.alpha("TE", 2)
    w.alpha("README", 7)  # TEXTID
    w.number(0, 3)  # TXTALVL
    w.alpha(FILE_DATE, 14)
    w.alpha("About this sample", 80)
    security_group(w, "U")
    w.alpha("0", 1)  # ENCRYP
    w.alpha("STA", 3)
    w.number(0, 5)  # TXSHDL
    return bytes(w.data)


TEXT = (
    "TesselLib sample file, written by samples/make_sample.py.\r\n"
    "Image 1: 64 x 48 grey gradient, value = 2 * row + 2 * column, with RPC00B and USE00A.\r\n"
    "Image 2: 16 x 16 RGB, red = 16 * column, green = 16 * row, blue = 8 * (row + column).\r\n"
).encode("ascii")

XML_DOCUMENT = (
    '<?xml version="1.0" encoding="UTF-8"?>\n'
    "<sample>\n"
    '  <producer name="TesselLib" />\n'
    '  <image index="1" content="gradient" />\n'
    '  <image index="2" content="rgb" />\n'
    "</sample>\n"
).encode("ascii")


def des_subheader():
    """XML_DATA_CONTENT with the 283-byte user-defined subheader."""
    user = FieldWriter()
    user.number(99999, 5)  # DESCRC: no checksum
    user.alpha("XML", 8)  # DESSHFT
    user.alpha("2024-01-15T12:00:00Z", 20)  # DESSHDT
    user.alpha("", 40)  # DESSHRP
    user.alpha("", 60)  # DESSHSI
    user.alpha("", 10)  # DESSHSV
    user.alpha("", 20)  # DESSHSD
    user.alpha("", 120)  # DESSHTN
    assert user.offset() == 283

    w = FieldWriter()
    w.alpha("DE", 2)
    w.alpha("XML_DATA_CONTENT", 25)
    w.number(1, 2)  # DESVER
    security_group(w, "U")
    w.number(user.offset(), 4)  # DESSHL
    w.raw(user.data)
    return bytes(w.data)


def images():
    gradient = {
        "iid1": "GRADIENT",
        "iid2": "Grey gradient over Mont-Saint-Michel",
        "isorce": "TesselLib synthetic",
        "rows": GRADIENT_ROWS,
        "cols": GRADIENT_COLS,
        "block_rows": GRADIENT_BLOCK_ROWS,
        "block_cols": GRADIENT_BLOCK_COLS,
        "irep": "MONO",
        "bands": ["M"],
        "imode": "B",
        # Centres of the corner pixels: UL, UR, LR, LL.
        "icords": "G",
        "igeolo": ["483830N0013108W", "483830N0013005W", "483743N0013005W", "483743N0013108W"],
        "idlvl": 1,
        "ialvl": 0,
        "iloc": 0,
        "tres": [rpc00b(), use00a()],
        "pixels": gradient_pixels(),
    }
    rgb = {
        "iid1": "RGBCHIP",
        "iid2": "Colour ramp over Geneva",
        "isorce": "TesselLib synthetic",
        "rows": RGB_SIZE,
        "cols": RGB_SIZE,
        "block_rows": RGB_SIZE,
        "block_cols": RGB_SIZE,
        "irep": "RGB",
        "bands": ["R", "G", "B"],
        "imode": "P",
        "icords": "D",
        "igeolo": ["+46.215+006.140", "+46.215+006.155", "+46.200+006.155", "+46.200+006.140"],
        "idlvl": 2,
        "ialvl": 0,
        "iloc": 0,
        "tres": [],
        "pixels": rgb_pixels(),
    }
    return [gradient, rgb]


def file_header(image_parts, text_parts, des_parts):
    """The file header; FL and HL are patched once the lengths are known."""
    w = FieldWriter()
    w.alpha("NITF", 4)
    w.alpha("02.10", 5)
    w.number(3, 2)  # CLEVEL
    w.alpha("BF01", 4)
    w.alpha("TESSEL", 10)  # OSTAID
    w.alpha(FILE_DATE, 14)
    w.alpha("TesselLib sample", 80)
    security_group(w, "U")
    w.number(0, 5)  # FSCOP
    w.number(0, 5)  # FSCPYS
    w.alpha("0", 1)  # ENCRYP
    w.raw(b"\x00\x00\x00")  # FBKGC
    w.alpha("TesselLib", 24)  # ONAME
    w.alpha("", 18)  # OPHONE
    fl_offset = w.offset()
    w.number(0, 12)
    hl_offset = w.offset()
    w.number(0, 6)
    w.number(len(image_parts), 3)
    for subheader, data in image_parts:
        w.number(len(subheader), 6)
        w.number(len(data), 10)
    w.number(0, 3)  # NUMS
    w.number(0, 3)  # NUMX
    w.number(len(text_parts), 3)
    for subheader, data in text_parts:
        w.number(len(subheader), 4)
        w.number(len(data), 5)
    w.number(len(des_parts), 3)
    for subheader, data in des_parts:
        w.number(len(subheader), 4)
        w.number(len(data), 9)
    w.number(0, 3)  # NUMRES
    w.number(0, 5)  # UDHDL
    w.number(0, 5)  # XHDL
    header_length = w.offset()
    w.patch_number(hl_offset, header_length, 6)
    segments = image_parts + text_parts + des_parts
    file_length = header_length + sum(len(s) + len(d) for s, d in segments)
    w.patch_number(fl_offset, file_length, 12)
    return bytes(w.data)


def build():
    image_parts = [(image_subheader(i), i["pixels"]) for i in images()]
    text_parts = [(text_subheader(), TEXT)]
    des_parts = [(des_subheader(), XML_DOCUMENT)]
    out = bytearray(file_header(image_parts, text_parts, des_parts))
    for subheader, data in image_parts + text_parts + des_parts:
        out += subheader + data
    return bytes(out)


def main(argv):
    if len(argv) != 2:
        sys.stderr.write("usage: make_sample.py OUTPUT\n")
        return 2
    with open(argv[1], "wb") as f:
        f.write(build())
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
