"""Images and codes that cannot be used are refused with TypeError or
ValueError and a message naming the function and the argument."""

import numpy
import pytest

import palm

GOOD_ROI = numpy.full((110, 110), 128, numpy.uint8)
GOOD_FRAME = numpy.full((480, 640), 128, numpy.uint8)

BAD_IMAGES = [
    (None, TypeError, "got None"),
    ([[1, 2], [3, 4]], TypeError, "numpy.ndarray"),
    (b"\0" * 12100, TypeError, "numpy.ndarray"),
    (numpy.zeros((110, 110), numpy.float64), TypeError, "dtype uint8, got float64"),
    (numpy.zeros((110, 110), numpy.int8), TypeError, "dtype uint8"),
    (numpy.zeros((110, 110), numpy.uint16), TypeError, "dtype uint8"),
    (numpy.zeros((110, 110), bool), TypeError, "dtype uint8"),
    (numpy.zeros((110, 110, 3), numpy.uint8), ValueError, "2-D"),
    (numpy.zeros(12100, numpy.uint8), ValueError, "2-D"),
    (numpy.zeros((220, 220), numpy.uint8)[::2, ::2], ValueError, "C-contiguous"),
    (numpy.asfortranarray(numpy.zeros((110, 120), numpy.uint8)), ValueError, "C-contiguous"),
    (numpy.zeros((0, 110), numpy.uint8), ValueError, "empty"),
    (numpy.zeros((1, 9000), numpy.uint8), ValueError, "too large"),
]


@pytest.mark.parametrize("image, error, words", BAD_IMAGES)
def test_extract_refuses(image, error, words):
    with pytest.raises(error, match="extract\\(roi\\)") as e:
        palm.extract(image)
    assert words in str(e.value)


@pytest.mark.parametrize("shape", [(110, 109), (109, 110), (480, 640), (1, 1)])
def test_extract_refuses_any_size_but_110_by_110(shape):
    with pytest.raises(ValueError, match="expected shape \\(110, 110\\)"):
        palm.extract(numpy.zeros(shape, numpy.uint8))


@pytest.mark.parametrize("image, error, words", BAD_IMAGES)
def test_crop_refuses_in_either_place(image, error, words):
    with pytest.raises(error, match="crop\\(vl\\)") as e:
        palm.crop(image, GOOD_FRAME)
    assert words in str(e.value)
    with pytest.raises(error, match="crop\\(nir\\)"):
        palm.crop(GOOD_FRAME, image)


@pytest.mark.parametrize("image, error, words", BAD_IMAGES)
def test_resize_area_refuses(image, error, words):
    with pytest.raises(error, match="resize_area\\(image\\)"):
        palm.resize_area(image, 110, 110)


def test_a_read_only_array_is_accepted():
    roi = GOOD_ROI.copy()
    roi.flags.writeable = False
    assert palm.extract(roi) == palm.extract(GOOD_ROI)


@pytest.mark.parametrize("code, error", [
    (None, TypeError),
    ("x" * 384, TypeError),
    (12, TypeError),
    (b"x" * 383, ValueError),
    (b"x" * 385, ValueError),
    (b"", ValueError),
    (numpy.zeros(96, numpy.uint32), ValueError),
    (numpy.zeros(768, numpy.uint8)[::2], ValueError),
])
def test_match_refuses_codes_that_are_not_384_bytes(code, error):
    with pytest.raises(error, match="match\\(a\\)"):
        palm.match(code, b"\0" * 384)
    with pytest.raises(error, match="match\\(b\\)"):
        palm.match(b"\0" * 384, code)


@pytest.mark.parametrize("degree, error", [(None, TypeError), (2.0, TypeError), ("2", TypeError),
                                           (2**31, ValueError)])
def test_match_refuses_degrees_that_are_not_32_bit_integers(degree, error):
    with pytest.raises(error, match="match\\(degree\\)"):
        palm.match(b"\0" * 384, b"\0" * 384, degree)


@pytest.mark.parametrize("width, height", [(0, 110), (110, 0), (-1, 5), (9000, 110)])
def test_resize_area_refuses_sizes_out_of_range(width, height):
    with pytest.raises(ValueError, match="out of range"):
        palm.resize_area(GOOD_ROI, width, height)
