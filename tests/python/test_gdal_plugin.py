"""The GDAL driver plugin gdal_TESSEL.so, loaded through GDAL_DRIVER_PATH, against GDAL's own
NITF driver: every fixture and corpus image that both read has the same size, band types and
pixels through gdalinfo's JSON (gdal.Info) and gdal_translate (gdal.Translate), and the
command-line tools themselves open files through the plugin. The images left out are those
the module's pixel test leaves out, for the same reasons."""

import json
import os
import subprocess

import numpy as np
import pytest

import tessel
from conftest import corpus_files, fixture_files
from test_pixels_against_gdal import VQ_ABSENT_FILL, gdal_datasets, left_out


@pytest.fixture(scope="module")
def plugin(gdal):
    if gdal.GetDriverByName("TESSEL") is None:
        pytest.skip("the TESSEL driver isn't loaded (GDAL_DRIVER_PATH)")
    return gdal


def open_ours(gdal, path, index):
    return gdal.OpenEx(f"TESSEL_IM:{index}:{path}", gdal.OF_RASTER, allowed_drivers=["TESSEL"])


def translated(gdal, dataset, name, where):
    """The dataset written by gdal_translate into an in-memory GeoTIFF, read back."""
    target = f"/vsimem/{name}.tif"
    out = gdal.Translate(target, dataset, format="GTiff")
    assert out is not None, f"{where}: gdal_translate failed: {gdal.GetLastErrorMsg()}"
    pixels = out.ReadAsArray()
    out = None
    gdal.Unlink(target)
    return pixels[np.newaxis] if pixels.ndim == 2 else pixels


def info(gdal, dataset):
    return gdal.Info(dataset, format="json")


def compare(gdal, ours, theirs, compression, where):
    our_info, their_info = info(gdal, ours), info(gdal, theirs)
    assert our_info["size"] == their_info["size"], where
    assert ours.RasterCount == theirs.RasterCount, where
    assert [b["type"] for b in our_info["bands"]] == [b["type"] for b in their_info["bands"]], where
    our_pixels = translated(gdal, ours, "ours", where)
    their_pixels = theirs.ReadAsArray()
    their_pixels = their_pixels[np.newaxis] if their_pixels.ndim == 2 else their_pixels
    if compression in ("C4", "M4"):
        their_pixels = np.where(our_pixels == VQ_ABSENT_FILL, our_pixels, their_pixels)
    np.testing.assert_array_equal(our_pixels, their_pixels, err_msg=where)


def compare_complex_pair(gdal, ours, theirs, where):
    """GDAL's driver splits some complex images into two real bands, the plugin gives one
    complex band: the samples must still be the same."""
    our_pixels = translated(gdal, ours, "ours", where)[0]
    their_pixels = theirs.ReadAsArray()
    np.testing.assert_array_equal(our_pixels.real, their_pixels[0], err_msg=where)
    np.testing.assert_array_equal(our_pixels.imag, their_pixels[1], err_msg=where)


def compare_files(gdal, files):
    counts = {"compared": 0}
    differ = []
    for path in files:
        try:
            theirs_all = gdal_datasets(gdal, path)
            f = tessel.open(str(path))
        except (RuntimeError, tessel.Error):
            counts["not read by both"] = counts.get("not read by both", 0) + 1
            continue
        for index, theirs in enumerate(theirs_all[: f.image_count]):
            try:
                reason = left_out(path, f.image(index))
                ours = open_ours(gdal, path, index)
                theirs.ReadAsArray()
            except (RuntimeError, tessel.Error):
                reason = "not read by both"
            if reason:
                counts[reason] = counts.get(reason, 0) + 1
                continue
            try:
                if np.iscomplexobj(f.image(index).read(window=(0, 0, 1, 1))) and \
                        theirs.RasterCount == 2 and ours.RasterCount == 1:
                    compare_complex_pair(gdal, ours, theirs, f"{path} image {index}")
                    counts["compared"] += 1
                    continue
                compare(gdal, ours, theirs, f.image(index).compression, f"{path} image {index}")
            except (AssertionError, RuntimeError) as failure:
                differ.append(str(failure).splitlines()[:4])
                continue
            counts["compared"] += 1
    print(counts)
    assert not differ, differ
    return counts


def test_fixture_images_through_the_plugin_equal_gdals_nitf_driver(plugin):
    files = fixture_files()
    if not files:
        pytest.skip("no fixtures (TESSEL_SHARED_DIR)")
    assert compare_files(plugin, files)["compared"] >= 60


def test_corpus_images_through_the_plugin_equal_gdals_nitf_driver(plugin):
    files = corpus_files()
    if not files:
        pytest.skip("no corpus (TESSEL_SHARED_DIR)")
    assert compare_files(plugin, files)["compared"] >= 100


def test_files_of_several_images_list_them_as_subdatasets(plugin, sample_file):
    dataset = plugin.OpenEx(str(sample_file), plugin.OF_RASTER, allowed_drivers=["TESSEL"])
    subdatasets = dataset.GetMetadata("SUBDATASETS")
    assert subdatasets["SUBDATASET_2_NAME"] == f"TESSEL_IM:1:{sample_file}"
    rgb = plugin.Open(subdatasets["SUBDATASET_2_NAME"])
    assert rgb.GetDriver().ShortName == "TESSEL"
    assert (rgb.RasterXSize, rgb.RasterYSize, rgb.RasterCount) == (16, 16, 3)
    assert [rgb.GetRasterBand(i + 1).GetColorInterpretation() for i in range(3)] == [
        plugin.GCI_RedBand, plugin.GCI_GreenBand, plugin.GCI_BlueBand]


def test_metadata_rpc_and_gcps_come_from_the_file(plugin, sample_file):
    dataset = open_ours(plugin, sample_file, 0)
    assert dataset.GetMetadataItem("NITF_FTITLE") == "TesselLib sample"
    assert dataset.GetMetadataItem("NITF_IID1") == "GRADIENT"
    assert dataset.GetMetadataItem("COMPRESSION", "IMAGE_STRUCTURE") == "NC"
    assert json.loads(dataset.GetMetadataItem("RPC00B", "TRE"))["LINE_OFF"] == "000024"
    native = gdal_datasets(plugin, sample_file)[0]
    ours_rpc, their_rpc = dataset.GetMetadata("RPC"), native.GetMetadata("RPC")
    for key in ("LINE_OFF", "SAMP_OFF", "LAT_OFF", "LONG_OFF", "HEIGHT_OFF", "LAT_SCALE"):
        assert float(ours_rpc[key]) == pytest.approx(float(their_rpc[key]), abs=1e-12), key
    for key in ("LINE_NUM_COEFF", "SAMP_DEN_COEFF"):
        np.testing.assert_allclose([float(v) for v in ours_rpc[key].split()],
                                   [float(v) for v in their_rpc[key].split()], atol=1e-15)
    gcps = dataset.GetGCPs()
    assert len(gcps) == 4
    # IGEOLO 483830N0013108W...: the upper left corner is 48 38 30 N, 1 31 08 W.
    assert gcps[0].GCPY == pytest.approx(48 + 38 / 60 + 30 / 3600)
    assert gcps[0].GCPX == pytest.approx(-(1 + 31 / 60 + 8 / 3600))
    assert (gcps[2].GCPPixel, gcps[2].GCPLine) == (63.5, 47.5)
    assert dataset.GetGCPSpatialRef().GetAuthorityCode(None) == "4326"


def test_pyramid_levels_are_overviews_equal_to_gdals(plugin):
    files = [path for path in fixture_files() if path.name.startswith(("c8_", "derived_c8"))]
    if not files:
        pytest.skip("no JPEG 2000 fixtures (TESSEL_SHARED_DIR)")
    compared = 0
    for path in files:
        ours = open_ours(plugin, path, 0)
        theirs = gdal_datasets(plugin, path)[0]
        ours_band, their_band = ours.GetRasterBand(1), theirs.GetRasterBand(1)
        assert ours_band.GetOverviewCount() == tessel.open(str(path)).image(0).levels
        for level in range(min(ours_band.GetOverviewCount(), their_band.GetOverviewCount())):
            np.testing.assert_array_equal(ours_band.GetOverview(level).ReadAsArray(),
                                          their_band.GetOverview(level).ReadAsArray(),
                                          err_msg=f"{path} overview {level}")
            compared += 1
    assert compared >= 3


def test_palette_images_carry_gdals_colour_table(plugin):
    files = [path for path in corpus_files() if path.suffix.lower().startswith((".i", ".t"))]
    compared = 0
    for path in files[:10]:
        ours = open_ours(plugin, path, 0)
        theirs = gdal_datasets(plugin, path)[0]
        if ours is None or theirs.GetRasterBand(1).GetColorTable() is None:
            continue
        ours_table = ours.GetRasterBand(1).GetColorTable()
        their_table = theirs.GetRasterBand(1).GetColorTable()
        assert ours.GetRasterBand(1).GetColorInterpretation() == plugin.GCI_PaletteIndex
        count = min(ours_table.GetCount(), their_table.GetCount())
        assert count >= 216
        # GDAL's NoData index (216 in these frames) is its own transparent entry.
        nodata = theirs.GetRasterBand(1).GetNoDataValue()
        indices = [i for i in range(count) if i != nodata]
        entries = [ours_table.GetColorEntry(i)[:3] for i in indices]
        assert entries == [their_table.GetColorEntry(i)[:3] for i in indices], path
        compared += 1
    if compared == 0:
        pytest.skip("no paletted corpus frames")


def test_gdalinfo_and_gdal_translate_commands_use_the_plugin(plugin, sample_file, tmp_path):
    shown = subprocess.run(["gdalinfo", "-json", "-if", "TESSEL", f"TESSEL_IM:1:{sample_file}"],
                           capture_output=True, text=True, check=True, env=os.environ)
    described = json.loads(shown.stdout)
    assert described["driverShortName"] == "TESSEL"
    assert described["size"] == [16, 16]
    assert [band["type"] for band in described["bands"]] == ["Byte"] * 3
    output = tmp_path / "rgb.tif"
    subprocess.run(["gdal_translate", "-q", "-if", "TESSEL", f"TESSEL_IM:1:{sample_file}",
                    str(output)], check=True, env=os.environ)
    pixels = plugin.Open(str(output)).ReadAsArray()
    row, col = np.mgrid[0:16, 0:16]
    np.testing.assert_array_equal(pixels[0], (16 * col).astype(np.uint8))
    np.testing.assert_array_equal(pixels[2], (8 * (row + col)).astype(np.uint8))


def test_a_file_that_is_not_nitf_is_refused(plugin, tmp_path):
    other = tmp_path / "other.ntf"
    other.write_bytes(b"NITF02.10" + bytes(40))  # the signature, then nothing that parses
    with pytest.raises(RuntimeError):
        plugin.OpenEx(str(other), plugin.OF_RASTER, allowed_drivers=["TESSEL"])


def test_truncated_files_fail_or_read_but_never_crash(plugin, sample_file, tmp_path):
    data = sample_file.read_bytes()
    for length in (4, 300, len(data) // 3, len(data) // 2, len(data) - 5):
        cut = tmp_path / f"cut{length}.ntf"
        cut.write_bytes(data[:length])
        try:
            dataset = plugin.OpenEx(str(cut), plugin.OF_RASTER, allowed_drivers=["TESSEL"])
        except RuntimeError as error:
            assert str(error)
            continue
        try:
            dataset.ReadAsArray()
        except RuntimeError as error:
            assert str(error)
