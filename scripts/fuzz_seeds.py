#!/usr/bin/env python3
"""Writes the seed inputs of one fuzz target into its corpus folder.

usage: fuzz_seeds.py TARGET CORPUS SHARED

reader, image: every shared file that starts like a NITF or NSIF file.
vq:            the corpus files whose manifest lists compression C4 or M4.
jpeg12:        every 12-bit JPEG stream (FF D8 up to FF D9 with an SOF of precision 12)
               in the shared files, or one made-up stream when there is none.
j2k:           the JPEG 2000 codestreams in the shared files, from their SOC and SIZ
               markers on, at most 256 KiB of each.
rpc:           the data of each RPC00A and RPC00B TRE in the shared files (1041 bytes after
               its tag and length) behind a selector byte (bit 0: read as RPC00B), one
               state document, and replacement sensor model documents (the same inputs go
               to both readers).
tre:           the data of each described TRE found in the shared files, behind the byte
               that selects its tag in fuzz_tre.cpp (its index in TRE_TAGS).
paths:         metadata paths of every form the path language has.
setpath:       writes by path: a selector byte (bit 0: the value is JSON), the path, a line
               end and the value, for each kind of thing a write makes or changes.
profile:       the repository's product profiles, and a few made-up ones (references,
               variables, every kind of layer).
Prints the number of seeds written.
"""
import csv
import hashlib
import json
import os
import sys


def shared_files(shared, *folders):
    for folder in folders:
        for root, _, names in os.walk(os.path.join(shared, folder)):
            for name in sorted(names):
                path = os.path.join(root, name)
                if os.path.isfile(path) and not os.path.islink(path):
                    yield path


def read(path):
    with open(path, "rb") as f:
        return f.read()


def nitf_files(shared):
    for path in shared_files(shared, "corpus", "fixtures"):
        with open(path, "rb") as f:
            if f.read(4) in (b"NITF", b"NSIF"):
                yield read(path)


def vq_frames(shared):
    manifest = os.path.join(shared, "corpus", "MANIFEST.tsv")
    if not os.path.exists(manifest):
        return
    with open(manifest, newline="") as f:
        for row in csv.DictReader(f, delimiter="\t"):
            compressions = (row.get("compressions") or "").split(",")
            path = os.path.join(shared, "corpus", row["relative_path"])
            if ("C4" in compressions or "M4" in compressions) and os.path.exists(path):
                yield read(path)


def twelve_bit_streams(shared):
    for path in shared_files(shared, "corpus", "fixtures"):
        data = read(path)
        start = data.find(b"\xff\xd8")
        while start >= 0:
            end = data.find(b"\xff\xd9", start)
            if end < 0:
                break
            stream = data[start:end + 2]
            for sof in (b"\xff\xc0", b"\xff\xc1"):
                at = stream.find(sof)
                if 0 <= at and at + 4 < len(stream) and stream[at + 4] == 12:
                    yield stream
                    break
            start = data.find(b"\xff\xd8", end)


def made_up_twelve_bit_stream():
    # One flat 8 x 8 grey block with its own tables.
    dqt = b"\xff\xdb\x00\x43\x00" + b"\x01" * 64
    dht = (b"\xff\xc4\x00\x14\x00" + bytes([0, 1] + [0] * 14) + b"\x00"
           + b"\xff\xc4\x00\x14\x10" + bytes([1] + [0] * 15) + b"\x00")
    sof = b"\xff\xc1\x00\x0b\x0c\x00\x08\x00\x08\x01\x01\x11\x00"
    sos = b"\xff\xda\x00\x08\x01\x01\x00\x00\x3f\x00"
    return b"\xff\xd8" + dqt + dht + sof + sos + b"\x1f\xff\xd9"


def codestreams(shared):
    for path in shared_files(shared, "fixtures", "corpus/codice/JitcJpeg2000"):
        if not path.lower().endswith((".ntf", ".nitf", ".j2k")):
            continue
        data = read(path)
        start = data.find(b"\xff\x4f\xff\x51")
        if start >= 0:
            yield data[start:start + 262144]


def rpc_records(shared):
    for path in shared_files(shared, "corpus", "fixtures"):
        data = read(path)
        for selector, tag in ((0, b"RPC00A"), (1, b"RPC00B")):
            at = data.find(tag + b"01041")
            if at >= 0:
                yield bytes([selector]) + data[at + 11:at + 11 + 1041]
    yield b'\x03{"IID2":"x","RPC00B":{"SUCCESS":"1"}}'
    yield from rsm_documents()


def rsm_documents():
    """Replacement sensor model documents: 1 x 2 sections over a small geodetic area, in
    each ground domain."""
    identity = {"IID": "fuzz", "EDITION": "1", "ISID": "", "SID": "S", "STID": "EO",
                "YEAR": "2020", "MONTH": "1", "DAY": "2", "HOUR": "3", "MINUTE": "4",
                "SECOND": "5.5", "NRG": "10", "NCG": "10", "TRG": "0.1", "TCG": "0.1",
                "FULLR": "100", "FULLC": "200", "MINR": "0", "MAXR": "99", "MINC": "0",
                "MAXC": "199", "IE0": "0.5", "IA0": "1.0", "SPX": "0.3", "SPY": "0.7",
                "SPZ": "6e5", "SVX": "1e-4", "SVY": "1e-4", "SVZ": "1", "SAX": "0", "SAY": "0",
                "SAZ": "0"}
    for v in range(1, 9):
        identity.update({"V%dX" % v: "0.3", "V%dY" % v: "0.7", "V%dZ" % v: str(100 * v)})
    index = {"IID": "fuzz", "EDITION": "1", "R0": "700", "RX": "0", "RY": "-1000", "RZ": "0",
             "RXX": "0", "RXY": "0", "RXZ": "0", "RYY": "0", "RYZ": "0", "RZZ": "0",
             "C0": "-300", "CX": "1000", "CY": "0", "CZ": "0", "CXX": "0", "CXY": "0",
             "CXZ": "0", "CYY": "0", "CYZ": "0", "CZZ": "0", "RNIS": "1", "CNIS": "2",
             "TNIS": "2", "RSSIZ": "100", "CSSIZ": "100"}

    def section(column):
        return {"IID": "fuzz", "EDITION": "1", "RSN": 1, "CSN": column + 1, "RFEP": "",
                "CFEP": "", "RNRMO": 50, "CNRMO": 50 + 100 * column, "XNRMO": 0.3 + 0.1 * column,
                "YNRMO": 0.7, "ZNRMO": 100, "RNRMSF": 50, "CNRMSF": 50, "XNRMSF": 0.05,
                "YNRMSF": 0.05, "ZNRMSF": 500, "RNPWRX": 1, "RNPWRY": 1, "RNPWRZ": 1,
                "RNTRMS": 8, "RNPCF": [0, 0.01, -1, 0.02, 0.001, 0, 0, 0], "RDPWRX": 0,
                "RDPWRY": 0, "RDPWRZ": 0, "RDTRMS": 1, "RDPCF": [1], "CNPWRX": 2, "CNPWRY": 1,
                "CNPWRZ": 0, "CNTRMS": 6, "CNPCF": [0, 1, 0.01, 0.02, 0, 0.001], "CDPWRX": 1,
                "CDPWRY": 0, "CDPWRZ": 0, "CDTRMS": 2, "CDPCF": [1, 0.001]}

    for domain in ("G", "H", "R"):
        document = {"RSMIDA": dict(identity, GRNDD=domain), "RSMPIA": index,
                    "RSMPCA": [section(0), section(1)]}
        yield b"\x02" + json.dumps(document, separators=(",", ":")).encode()


# The tags of fuzz_tre.cpp, in its order.
TRE_TAGS = ["ACFTB", "AIMIDB", "BLOCKA", "CSCRNA", "CSDIDA", "CSEXRA", "ENGRDA", "GEOLOB",
            "GEOPSB", "HISTOA", "ICHIPB", "J2KLRA", "MSTGTA", "PIAIMC", "PIAPRD", "RPC00A",
            "RPC00B", "RPFHDR", "RSMAPA", "RSMDCA", "RSMECA", "RSMGGA", "RSMGIA", "RSMIDA",
            "RSMPCA", "RSMPIA", "SENSRB", "STDIDC", "USE00A", "RPFDES", "MATESA", "BANDSB"]


def tre_records(shared):
    seen = set()
    for path in shared_files(shared, "corpus", "fixtures"):
        data = read(path)
        if data[:4] not in (b"NITF", b"NSIF"):
            continue
        for index, tag in enumerate(TRE_TAGS):
            name = tag.ljust(6).encode()
            at = data.find(name)
            while at >= 0 and at + 11 <= len(data):
                length = data[at + 6:at + 11]
                if length.isdigit():
                    payload = data[at + 11:at + 11 + int(length)]
                    key = (index, hashlib.sha1(payload).hexdigest())
                    if key not in seen:
                        seen.add(key)
                        yield bytes([index]) + payload
                    break
                at = data.find(name, at + 1)


def metadata_paths():
    for path in ["/FileHeader/FL", "/FileHeader/FDT?parse=FDT", "/FileHeader/FTITLE?format=RAW",
                 "/Images/_count", "/Images/0/TREs/BLOCKA/FRLC_LOC", "/Image/NROWS?parse=int",
                 "/TRE/BLOCKA/N_GRAY?parse=double", "/Images/1/TREs/STDIDC", "@Info",
                 "NITF_FILE_HEADER/FL/@Info", "USE00A/@Info", "/", "/Images/0?format=JSON",
                 "/Images/0/IID1?format=XML", "BLOCKA/_count", "/FileHeader/NOSUCH"]:
        yield path.encode()


def path_writes():
    writes = [(False, "/FileHeader/FTITLE", "A title"), (False, "/FileHeader/FBKGC", "#10ff20"),
              (False, "/FileHeader/NUMI", "5"), (False, "/Images/2/IID1", "THIRD"),
              (False, "/Images/0/NBANDS", "12"), (False, "/Images/0/NROWS", "100"),
              (False, "/Images/0/Bands/3/IREPBAND", "B"), (False, "/Images/0/Comments/2", "c"),
              (False, "/Images/0/TREs/BLOCKA/N_GRAY", "00001"),
              (False, "/FileHeader/TREs/RPFHDR/LOCSEC", "HEX:1234"),
              (False, "/FileHeader/TREs/ZZTEST/X", "x"), (False, "/Labels/0/LID", "L"),
              (False, "/Text/1/Data", "body"), (False, "/DESs/0/DataBase64", "AAEC"),
              (False, "/DESs/0/UserDefinedSubHeader/X", "x"), (False, "/FileHeader", "x"),
              (True, "/FileHeader", '{"FTITLE": "T", "CLEVEL": 5, "ONAME": true}'),
              (True, "/Images", '[{"IID1": "A", "NBANDS": "3"}, {"Bands": [{}, {"IFC": "N"}]}]'),
              (True, "/", '{"FileHeader": {"Security": {"FSCLSY": "US"}}, "Text": [{}]}'),
              (True, "/FileHeader/FTITLE", "null")]
    for json, path, value in writes:
        yield bytes([1 if json else 0]) + path.encode() + b"\n" + value.encode()


def profiles():
    folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "resources",
                          "Resources", "Raster", "NITF", "Profiles")
    for name in sorted(os.listdir(folder)) if os.path.isdir(folder) else []:
        if name.endswith(".json"):
            yield read(os.path.join(folder, name))
    product = ('{"Name":"F","Title":"T $%i$","Type":"Y","Priority":"2","Base":"Generic",'
               '"Match":[{"Key":"$/FileHeader/FHDR$","Operator":"StartsWith","Value":"N"}],'
               '"LayerDefinitions":[LAYERS],"MosaicDefinitions":[MOSAIC],"Properties":{"P":"@{V}"}}')
    layers = ('{"ref":"#/L","Bands":[{"Name":"x"}]},'
              '{"Type":"Feature","Key":"F","Title":"F","MapDoc":"","Source":"s"},'
              '{"Type":"Table","Key":"T","Title":"T","MapDoc":{"a":1},"Source":"s",'
              '"DisplayLevel":"$%i$","Disposition":"TOC|Hidden"}')
    mosaic = ('{"ItemURI":{"Path":"p","Key":"k","Tag":"t","Group":"g","DisplayName":"d",'
              '"ProductName":"n","SourceTimeStamp":"$/FileHeader/FDT?parse=FDT$",'
              '"Properties":{}},"Footprint":"F","ProcessingTemplate":"P",'
              '"Variables":{"V":{"SourcePaths":[{"Path":"$%i$","Map":[["0","1"]],'
              '"NotSet":"9"}],"Default":"2"}},"Properties":{},'
              '"Match":[{"Key":"x","Operator":"NotEqual","Value":["y"]}]}')
    product = product.replace("LAYERS", layers).replace("MOSAIC", mosaic)
    yield ('{"@Variables":{"V":"@{W}","W":"w"},"L":{"Type":"Image","Key":"K_$%i$",'
           '"Title":"@{V}","MapDoc":"","Source":"$uri.path$",'
           '"Properties":{"Band-N":"$/Images/%i/Bands/%b/IREPBAND$"}},'
           '"Aliases":{"A":"F"},"Products":[PRODUCT]}').replace("PRODUCT", product).encode()
    yield b'{"Products":[{"Name":"R","LayerDefinitions":[{"ref":"tessel_common.json#/ImageLayer"}]}]}'


def seeds(target, shared):
    if target == "tre":
        return tre_records(shared)
    if target == "paths":
        return metadata_paths()
    if target == "setpath":
        return path_writes()
    if target == "profile":
        return profiles()
    if target == "vq":
        return vq_frames(shared)
    if target == "jpeg12":
        found = list(twelve_bit_streams(shared))
        return found or [made_up_twelve_bit_stream()]
    if target == "j2k":
        return codestreams(shared)
    if target == "rpc":
        return rpc_records(shared)
    return nitf_files(shared)


def main():
    target, corpus, shared = sys.argv[1:4]
    count = 0
    for data in seeds(target, shared):
        name = os.path.join(corpus, "seed-" + hashlib.sha1(data).hexdigest()[:16])
        if not os.path.exists(name):
            with open(name, "wb") as f:
                f.write(data)
        count += 1
    print(count)


if __name__ == "__main__":
    main()
