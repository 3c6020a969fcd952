"""The Python module on the demo sample, whose pixels and metadata are known by construction
(samples/make_sample.py): image 0 is a 64 x 48 gradient, pixel (row, col) = 2 * row + 2 * col,
in 2 x 2 blocks of 32 x 24 with an RPC00B; image 1 is a 16 x 16 RGB image."""

import numpy as np
import pytest

import tessel


def gradient(rows, cols):
    row, col = np.mgrid[0:rows, 0:cols]
    return (2 * row + 2 * col).astype(np.uint8)


def test_version_is_the_librarys(sample_file):
    assert tessel.version() == tessel.__version__
    assert tessel.version().count(".") == 2


def test_open_gives_version_and_segment_counts(sample_file):
    f = tessel.open(str(sample_file))
    assert f.version == "NITF-2.10"
    assert f.segments == {"images": 2, "graphics": 0, "labels": 0, "texts": 1,
                          "data_extensions": 1, "reserved_extensions": 0}
    assert f.image_count == 2 and len(f) == 2
    assert len(f.images) == 2


def test_image_structure(sample_file):
    image = tessel.open(str(sample_file)).image(0)
    assert (image.width, image.height, image.bands) == (64, 48, 1)
    assert image.pixel_type == "INT"
    assert image.dtype == np.dtype("uint8")
    assert image.bits_per_pixel == 8
    assert image.compression == "NC"
    assert image.block_size == (32, 24)
    assert image.block_count == (2, 2)
    assert image.levels == 0  # uncompressed: no pyramid inside the file
    rgb = tessel.open(str(sample_file))[1]
    assert (rgb.width, rgb.height, rgb.bands) == (16, 16, 3)
    assert rgb.representation.strip() == "RGB"


def test_whole_read_has_shape_bands_rows_columns_and_the_known_pixels(sample_file):
    pixels = tessel.open(str(sample_file)).image(0).read()
    assert pixels.shape == (1, 48, 64)
    assert pixels.dtype == np.uint8
    np.testing.assert_array_equal(pixels[0], gradient(48, 64))


def test_window_read_across_blocks(sample_file):
    image = tessel.open(str(sample_file)).image(0)
    pixels = image.read(window=(30, 20, 10, 8))
    assert pixels.shape == (1, 8, 10)
    np.testing.assert_array_equal(pixels[0], gradient(48, 64)[20:28, 30:40])


def test_band_selection_and_order(sample_file):
    rgb = tessel.open(str(sample_file)).image(1)
    pixels = rgb.read(bands=[2, 0])
    row, col = np.mgrid[0:16, 0:16]
    np.testing.assert_array_equal(pixels[0], (8 * (row + col)).astype(np.uint8))
    np.testing.assert_array_equal(pixels[1], (16 * col).astype(np.uint8))


def test_resampled_read_has_the_asked_size(sample_file):
    pixels = tessel.open(str(sample_file)).image(0).read(size=(32, 24))
    assert pixels.shape == (1, 24, 32)


def test_missing_level_is_an_error(sample_file):
    with pytest.raises(ValueError, match="no pyramid level 40"):
        tessel.open(str(sample_file)).image(0).read(level=40)


def test_window_outside_the_image_is_an_error(sample_file):
    image = tessel.open(str(sample_file)).image(0)
    with pytest.raises(ValueError, match="lies outside the image"):
        image.read(window=(60, 0, 10, 10))
    with pytest.raises(ValueError, match="at least 1"):
        image.read(window=(0, 0, 0, 10))


def test_unknown_band_is_an_error(sample_file):
    with pytest.raises(ValueError, match="band 3 doesn't exist"):
        tessel.open(str(sample_file)).image(1).read(bands=[3])


def test_image_index_past_the_end_is_an_index_error(sample_file):
    with pytest.raises(IndexError, match="no image 2"):
        tessel.open(str(sample_file)).image(2)


def test_missing_file_raises_the_librarys_message(tmp_path):
    with pytest.raises(tessel.Error, match="No such file or directory"):
        tessel.open(str(tmp_path / "absent.ntf"))


def test_file_that_is_not_nitf_raises(tmp_path):
    other = tmp_path / "other.ntf"
    other.write_bytes(b"GIF89a" + bytes(200))
    with pytest.raises(tessel.Error) as raised:
        tessel.open(str(other))
    assert str(raised.value)
    assert isinstance(raised.value, RuntimeError)


def test_truncated_file_raises_and_never_crashes(sample_file, tmp_path):
    data = sample_file.read_bytes()
    for length in (10, 400, len(data) // 2, len(data) - 7):
        cut = tmp_path / f"cut{length}.ntf"
        cut.write_bytes(data[:length])
        try:
            f = tessel.open(str(cut))
        except tessel.Error as error:
            assert str(error)
            continue
        for index in range(f.image_count):
            try:
                f.image(index).read()
            except (tessel.Error, ValueError):
                pass


def test_metadata_paths_have_python_types(sample_file):
    f = tessel.open(str(sample_file))
    assert f.path("/FileHeader/FTITLE").strip() == "TesselLib sample"
    assert f.path("/FileHeader/NoSuchField") is None
    image = f.image(0)
    assert image.path("/Image/NROWS") in (48, "48", "00000048")


def test_tree_is_a_dict_of_the_whole_metadata(sample_file):
    tree = tessel.open(str(sample_file)).tree()
    assert isinstance(tree, dict)
    assert tree
    assert "TesselLib sample" in repr(tree)


def test_histogram_counts_every_pixel_but_the_fill_value(sample_file):
    histogram = tessel.open(str(sample_file)).image(0).histogram(band=0)
    assert histogram["band"] == 0
    assert histogram["bins"].dtype == np.uint64
    # 0, the lowest value of the type, is where fill lies: it isn't counted.
    counted = gradient(48, 64)[gradient(48, 64) != 0]
    assert int(histogram["bins"].sum()) == counted.size
    assert (histogram["min"], histogram["max"]) == (counted.min(), counted.max())
    assert histogram["mean"] == pytest.approx(counted.mean(), rel=1e-12)
    assert int(histogram["bins"][100]) == np.count_nonzero(counted == 100)


def test_histogram_of_a_missing_band_is_an_error(sample_file):
    with pytest.raises(ValueError, match="band 5 doesn't exist"):
        tessel.open(str(sample_file)).image(0).histogram(band=5)
