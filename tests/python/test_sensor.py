"""The sensor models of an image, vectorised over numpy arrays: ground to image equals the
RPC00B polynomials evaluated here from GDAL's own reading of the TRE (its "RPC" metadata
domain), and the replacement sensor model equals an independent numpy evaluation of the RSM
equations on files GDAL writes; image to ground inverts them; corner models map the corners;
and each image answers with its own support data."""

import json
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

import tessel
from conftest import shared_dir


def rpc00b_terms(p, l, h):
    """The twenty RPC00B terms in the order the TRE lists the coefficients."""
    return np.stack([np.ones_like(p), l, p, h, l * p, l * h, p * h, l * l, p * p, h * h,
                     p * l * h, l ** 3, l * p * p, l * h * h, l * l * p, p ** 3, p * h * h,
                     l * l * h, p * p * h, h ** 3])


def expected_image_points(rpc, lat, lon, height):
    number = {key: float(value) for key, value in rpc.items() if not key.endswith("COEFF")}
    coefficients = {key: np.array(value.split(), dtype=float)
                    for key, value in rpc.items() if key.endswith("COEFF")}
    p = (lat - number["LAT_OFF"]) / number["LAT_SCALE"]
    l = (lon - number["LONG_OFF"]) / number["LONG_SCALE"]
    h = np.full_like(p, (height - number["HEIGHT_OFF"]) / number["HEIGHT_SCALE"])
    terms = rpc00b_terms(p, l, h)

    def ratio(name):
        numerator = np.tensordot(coefficients[name + "_NUM_COEFF"], terms, axes=1)
        return numerator / np.tensordot(coefficients[name + "_DEN_COEFF"], terms, axes=1)

    line = ratio("LINE") * number["LINE_SCALE"] + number["LINE_OFF"]
    sample = ratio("SAMP") * number["SAMP_SCALE"] + number["SAMP_OFF"]
    return line, sample


def rpc_files(sample_file):
    files = [sample_file, shared_dir() / "corpus" / "geocal" / "rpc.ntf"]
    return [path for path in files if path.is_file()]


def gdal_rpc(gdal, path):
    dataset = gdal.OpenEx(str(path), gdal.OF_RASTER, allowed_drivers=["NITF"])
    subdatasets = dataset.GetMetadata("SUBDATASETS")
    if subdatasets:
        dataset = gdal.OpenEx(subdatasets["SUBDATASET_1_NAME"], gdal.OF_RASTER,
                              allowed_drivers=["NITF"])
    return dataset.GetMetadata("RPC")


def ground_grid(rpc):
    lat0, lon0 = float(rpc["LAT_OFF"]), float(rpc["LONG_OFF"])
    lat_span, lon_span = 0.5 * float(rpc["LAT_SCALE"]), 0.5 * float(rpc["LONG_SCALE"])
    lat, lon = np.meshgrid(np.linspace(lat0 - lat_span, lat0 + lat_span, 7),
                           np.linspace(lon0 - lon_span, lon0 + lon_span, 5), indexing="ij")
    return lat, lon, float(rpc["HEIGHT_OFF"])


def test_to_image_equals_the_rpc00b_polynomials(gdal, sample_file):
    checked = 0
    for path in rpc_files(sample_file):
        rpc = gdal_rpc(gdal, path)
        sensor = tessel.open(str(path)).image(0).sensor()
        assert sensor.name == "VEXA_RPC_B"
        lat, lon, height = ground_grid(rpc)
        line, sample = sensor.to_image(lat, lon, height)
        assert line.shape == lat.shape and sample.shape == lat.shape
        expected_line, expected_sample = expected_image_points(rpc, lat, lon, height)
        np.testing.assert_allclose(line, expected_line, rtol=0, atol=1e-6, err_msg=str(path))
        np.testing.assert_allclose(sample, expected_sample, rtol=0, atol=1e-6, err_msg=str(path))
        checked += 1
    assert checked >= 1


def test_to_ground_inverts_to_image(gdal, sample_file):
    for path in rpc_files(sample_file):
        rpc = gdal_rpc(gdal, path)
        sensor = tessel.open(str(path)).image(0).sensor("RPC00B")
        lat, lon, height = ground_grid(rpc)
        line, sample = sensor.to_image(lat, lon, height)
        back_lat, back_lon = sensor.to_ground(line, sample, height)
        np.testing.assert_allclose(back_lat, lat, rtol=0, atol=1e-6, err_msg=str(path))
        np.testing.assert_allclose(back_lon, lon, rtol=0, atol=1e-6, err_msg=str(path))


def test_numbers_in_give_numbers_out(sample_file):
    sensor = tessel.open(str(sample_file)).image(0).sensor()
    line, sample = sensor.to_image(48.635, -1.51, 0.0)
    assert isinstance(line, float) and isinstance(sample, float)
    lines, samples = sensor.to_image([48.635, 48.636], -1.51)  # the rest broadcast
    assert lines.shape == (2,) and samples.shape == (2,)
    assert lines[0] == pytest.approx(line)


def test_image_without_rpc_refuses_an_rpc_model_and_not_from_another_image(sample_file):
    opened = tessel.open(str(sample_file))
    assert opened.image(0).sensor("RPC00B").name == "VEXA_RPC_B"
    with pytest.raises(tessel.Error, match="RPC00B"):
        opened.image(1).sensor("RPC00B")


def test_unknown_model_name_is_refused_with_the_names_known(sample_file):
    with pytest.raises(tessel.Error, match="no sensor model VEXA_NONE .*VEXA_RSM_POLY"):
        tessel.open(str(sample_file)).image(0).sensor("VEXA_NONE")


def test_image_with_corners_only_gets_its_corner_model(sample_file):
    # The second image of the sample has decimal corners and no TRE of a model.
    image = tessel.open(str(sample_file)).image(1)
    sensor = image.sensor()
    assert sensor.name == "VEXA_4C_IGEOLO"
    line, sample = sensor.to_image(46.215, 6.140)
    assert line == pytest.approx(0.0, abs=1e-9) and sample == pytest.approx(0.0, abs=1e-9)
    lat, lon = sensor.to_ground(np.array([0.0, image.height]), np.array([0.0, image.width]))
    np.testing.assert_allclose(lat, [46.215, 46.200], rtol=0, atol=1e-9)
    np.testing.assert_allclose(lon, [6.140, 6.155], rtol=0, atol=1e-9)


@pytest.fixture(scope="module")
def rsm_reference(gdal, tmp_path_factory):
    """Files with RSM support data written by GDAL, and the reference image points of each."""
    folder = tmp_path_factory.mktemp("rsm")
    script = Path(__file__).resolve().parent.parent / "sensors" / "rsm_reference.py"
    made = subprocess.run([sys.executable, str(script), str(folder)], check=True,
                          capture_output=True, text=True)
    return json.loads(made.stdout)["files"]


def test_rsm_to_image_equals_the_reference_equations(rsm_reference):
    checked = 0
    for made in rsm_reference:
        sensor = tessel.open(made["path"]).image(0).sensor()
        assert sensor.name == "VEXA_RSM_POLY", made["path"]
        points = np.array(made["points"], dtype=float)
        lat, lon, height = points[:, 0], points[:, 1], points[:, 2]
        line, sample = sensor.to_image(lat, lon, height)
        np.testing.assert_allclose(line, points[:, 4], rtol=0, atol=1e-6, err_msg=made["path"])
        np.testing.assert_allclose(sample, points[:, 5], rtol=0, atol=1e-6, err_msg=made["path"])
        # The rectangular domain holds the Earth-centred z fixed, the others the height. The
        # inversion stops within its default precision of 0.001 pixel.
        held = points[:, 3] if made["domain"] == "R" else height
        back_lat, back_lon = sensor.to_ground(line, sample, held)
        np.testing.assert_allclose(back_lat, lat, rtol=0, atol=1e-6, err_msg=made["path"])
        np.testing.assert_allclose(back_lon, lon, rtol=0, atol=1e-6, err_msg=made["path"])
        checked += len(points)
    assert checked > 0
