"""Area averaging, for dataset regions that are not 110x110."""

import numpy

import palm


def test_halving_averages_each_block_of_four_and_rounds_to_nearest():
    image = numpy.array([[0, 1, 10, 20], [2, 2, 30, 41]], numpy.uint8)
    assert palm.resize_area(image, 2, 1).tolist() == [[1, 25]]  # 1.25 -> 1, 25.25 -> 25
    image = numpy.array([[0, 1], [1, 0]], numpy.uint8)
    assert palm.resize_area(image, 1, 1).tolist() == [[1]]  # 0.5 rounds up


def test_the_same_size_gives_the_same_image():
    image = numpy.arange(110 * 110, dtype=numpy.uint32).astype(numpy.uint8).reshape(110, 110)
    assert numpy.array_equal(palm.resize_area(image, 110, 110), image)


def test_a_fractional_ratio_weighs_each_source_pixel_by_the_part_covered():
    # Three pixels onto two: each new pixel covers one and a half old ones.
    image = numpy.array([[0, 90, 180]], numpy.uint8)
    assert palm.resize_area(image, 2, 1).tolist() == [[30, 150]]


def test_a_uniform_image_stays_uniform_at_any_size():
    image = numpy.full((128, 96), 77, numpy.uint8)
    for w, h in ((110, 110), (7, 300), (1, 1)):
        out = palm.resize_area(image, w, h)
        assert out.shape == (h, w) and out.dtype == numpy.uint8
        assert (out == 77).all()
