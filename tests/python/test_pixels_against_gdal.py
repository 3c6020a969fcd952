"""Every image of the shared fixtures and corpus that both this module and GDAL read gives the
same array through img.read() as through GDAL's ReadAsArray, and every pyramid level the
same array as GDAL's overview of it.

Some images differ from GDAL on purpose and are left to the library's own tests, each counted
under its reason: row-interleaved images (IMODE R, whose blocks read as failed tiles),
uncompressed 12-bit samples (GDAL unpacks them in another nibble order), bi-level C1/M1 images
(no decoder in the library), two JPEG fixtures read by the library's own rules (three bands
with IREP MONO stay unconverted; a progressive stream without AC table 0 gets the standard
tables), JP2 wrappers whose colour box says sYCC (GDAL converts them to RGB) and JPEG 2000
samples signed and narrower than 8 bits (GDAL doesn't give them as decoded). Vector quantised
frames differ only where a subframe is absent: the library fills it with 217, GDAL with its
NoData value. A complex image that GDAL splits into two real bands is compared as
band 1 + 1j * band 2."""

import numpy as np
import pytest

import tessel
from conftest import corpus_files, fixture_files


def gdal_datasets(gdal, path):
    """GDAL's own NITF driver's dataset of each image of a file, in image order."""
    dataset = gdal.OpenEx(str(path), gdal.OF_RASTER, allowed_drivers=["NITF"])
    subdatasets = dataset.GetMetadata("SUBDATASETS") or {}
    names = [subdatasets[key] for key in sorted(subdatasets, key=lambda k: int(k.split("_")[1]))
             if key.endswith("_NAME")]
    if not names:
        return [dataset]
    return [gdal.OpenEx(name, gdal.OF_RASTER, allowed_drivers=["NITF"]) for name in names]


def gdal_pixels(dataset):
    pixels = dataset.ReadAsArray()
    return pixels[np.newaxis] if pixels.ndim == 2 else pixels


JPEG_BY_RULE = ("c3_3band_irep_mono.ntf", "c3_u8_progressive.ntf")
VQ_ABSENT_FILL = 217


def is_sycc_jp2(path):
    data = path.read_bytes()
    colr = data.find(b"colr")
    return colr >= 0 and data[colr + 4] == 1 and data[colr + 7:colr + 11] == b"\0\0\0\x12"


def left_out(path, image):
    nbpp = str(image.path("/Image/NBPP") or "").strip().lstrip("0")
    reasons = [
        (image.path("/Image/IMODE") == "R", "IMODE R"),
        (image.compression in ("NC", "NM") and nbpp == "12", "12-bit uncompressed"),
        (image.compression in ("C1", "M1"), "bi-level C1/M1"),
        (path.name in JPEG_BY_RULE, "JPEG read by the library's rules"),
        (image.compression in ("C8", "M8") and is_sycc_jp2(path), "JP2 sYCC"),
        (image.compression in ("C8", "M8") and image.dtype == np.int8, "J2K signed under 8 bits"),
    ]
    return next((reason for applies, reason in reasons if applies), None)


def compare_image(image, dataset, where):
    ours = image.read()
    theirs = gdal_pixels(dataset)
    assert (image.width, image.height) == (dataset.RasterXSize, dataset.RasterYSize), where
    if np.iscomplexobj(ours) and ours.shape[0] == 1 and theirs.shape[0] == 2:
        theirs = (theirs[0] + 1j * theirs[1].astype(np.float64))[np.newaxis]
        np.testing.assert_array_equal(ours, theirs.astype(ours.dtype), err_msg=where)
        return
    assert ours.shape == theirs.shape, where
    assert ours.dtype == theirs.dtype, where
    if image.compression in ("C4", "M4"):
        absent = ours == VQ_ABSENT_FILL
        nodata = dataset.GetRasterBand(1).GetNoDataValue()
        if nodata is not None and absent.any():
            assert (theirs[absent & (theirs != VQ_ABSENT_FILL)] == nodata).all(), where
            theirs = np.where(absent, ours, theirs)
    np.testing.assert_array_equal(ours, theirs, err_msg=where)


def compare_file(gdal, path, counts):
    try:
        datasets = gdal_datasets(gdal, path)
    except RuntimeError:
        counts["GDAL doesn't read"] = counts.get("GDAL doesn't read", 0) + 1
        return
    try:
        f = tessel.open(str(path))
    except tessel.Error:
        counts["not opened"] = counts.get("not opened", 0) + 1
        return
    for index, dataset in enumerate(datasets[: f.image_count]):
        where = f"{path} image {index}"
        try:
            image = f.image(index)
            reason = left_out(path, image)
        except tessel.Error:
            counts["image not read"] = counts.get("image not read", 0) + 1
            continue
        if reason:
            counts[reason] = counts.get(reason, 0) + 1
            continue
        try:
            gdal_pixels(dataset)
        except RuntimeError:
            counts["GDAL doesn't read"] = counts.get("GDAL doesn't read", 0) + 1
            continue
        try:
            compare_image(image, dataset, where)
        except AssertionError as failure:
            counts.setdefault("differ", []).append(str(failure).splitlines()[0:4])
            continue
        counts["compared"] += 1


def run_over(gdal, files):
    counts = {"compared": 0}
    for path in files:
        compare_file(gdal, path, counts)
    print(counts)
    return counts


def test_fixture_images_equal_gdals_read_as_array(gdal):
    files = fixture_files()
    if not files:
        pytest.skip("no fixtures (TESSEL_SHARED_DIR)")
    counts = run_over(gdal, files)
    assert counts["compared"] >= 60


def test_corpus_images_equal_gdals_read_as_array(gdal):
    files = corpus_files()
    if not files:
        pytest.skip("no corpus (TESSEL_SHARED_DIR)")
    counts = run_over(gdal, files)
    assert counts["compared"] >= 100


def test_pyramid_levels_equal_gdals_overviews(gdal):
    files = [path for path in fixture_files() if path.name.startswith(("c8_", "derived_c8"))]
    if not files:
        pytest.skip("no JPEG 2000 fixtures (TESSEL_SHARED_DIR)")
    compared = 0
    for path in files:
        image = tessel.open(str(path)).image(0)
        # A band lives only while its dataset does.
        dataset = gdal.OpenEx(str(path), gdal.OF_RASTER, allowed_drivers=["NITF"])
        band = dataset.GetRasterBand(1)
        for level in range(1, min(image.levels, band.GetOverviewCount()) + 1):
            overview = band.GetOverview(level - 1)
            ours = image.read(level=level, bands=[0])
            assert ours.shape == (1, overview.YSize, overview.XSize), f"{path} level {level}"
            np.testing.assert_array_equal(ours[0], overview.ReadAsArray(),
                                          err_msg=f"{path} level {level}")
            assert image.at_level(level).width == overview.XSize
            compared += 1
    assert compared >= 3
