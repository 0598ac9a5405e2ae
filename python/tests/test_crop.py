"""The crop, checked field by field against the C++ tool on the same frames."""

import threading

import numpy
import pytest

import palm
from conftest import read_grey, run_tool

POINT_FIELDS = ["nir_key_normal", "nir_corner_normal", "nir_key", "nir_corner",
                "vl_key_normal", "vl_corner_normal", "vl_key", "vl_corner"]


def tool_crop(vl_path, nir_path, out_dir):
    """The fields the tool prints, parsed."""
    done = run_tool("crop", vl_path, nir_path, out_dir, check=False)
    fields = {}
    for line in done.stdout.splitlines():
        name, _, rest = line.partition(" ")
        rest = rest.strip()
        if name in POINT_FIELDS:
            numbers = [int(v) for v in rest.replace("(", " ").replace(")", " ")
                       .replace(",", " ").split()]
            fields[name] = tuple(zip(numbers[0::2], numbers[1::2]))
        elif name == "crop":
            fields["code"] = int(rest.split()[-1])
        elif name in ("area_percent", "rotate_angle"):
            fields[name] = float(rest)
        elif name in ("palm_offset_x", "palm_offset_y", "palm_position"):
            fields[name] = int(rest)
    return fields


@pytest.mark.parametrize("identity, rotation", [(7, 0), (21, -8), (3, 6)])
def test_crop_gives_every_field_and_both_regions_the_tool_gives(tmp_path, identity, rotation):
    run_tool("simulate", "--difficulty", "easy", "--identity", identity, "--rotation", rotation,
             tmp_path)
    vl, nir = read_grey(tmp_path / "vl.png"), read_grey(tmp_path / "nir.png")
    expected = tool_crop(tmp_path / "vl.png", tmp_path / "nir.png", tmp_path / "rois")
    located = palm.crop(vl, nir)
    fields = located.fields()
    for name, value in expected.items():
        if name == "rotate_angle":  # printed with six decimals
            assert fields[name] == pytest.approx(value, abs=5e-7)
        elif name == "area_percent":
            assert fields[name] == pytest.approx(value, abs=5e-7)
        else:
            assert fields[name] == value, name
    assert located.code == 0 and located.ok
    assert numpy.array_equal(located.vl_roi, read_grey(tmp_path / "rois" / "roi_vl.png"))
    assert numpy.array_equal(located.nir_roi, read_grey(tmp_path / "rois" / "roi_nir.png"))
    assert located.vl_roi.shape == (110, 110) and located.vl_roi.dtype == numpy.uint8
    for name in POINT_FIELDS:
        assert getattr(located, name) == fields[name]


def test_a_black_frame_has_no_hand_and_keeps_the_unlocated_offsets():
    black = numpy.zeros((480, 640), numpy.uint8)
    located = palm.crop(black, black)
    assert located.code == 3 and not located.ok
    assert (located.palm_offset_x, located.palm_offset_y) == (-10000, -10000)
    assert located.palm_position == palm.POS_LEFT
    assert located.vl_roi is None and located.nir_roi is None


def test_frames_of_different_sizes_give_code_2(frames):
    vl, nir = frames
    assert palm.crop(vl[:240].copy(), nir).code == 2


def test_crop_leaves_its_inputs_unchanged(frames):
    vl, nir = frames
    before = (vl.copy(), nir.copy())
    palm.crop(vl, nir)
    assert numpy.array_equal(vl, before[0]) and numpy.array_equal(nir, before[1])


def on_new_thread(f):
    """f() on a thread of its own: a thread's first crop fixes the size of its
    working images, and these frames must not fix it for the others."""
    result = []
    t = threading.Thread(target=lambda: result.append(f()))
    t.start()
    t.join()
    return result[0]


@pytest.mark.parametrize("shape", [(1, 1), (2, 3), (480, 1), (3, 640)])
def test_tiny_frames_are_answered_with_a_code(shape):
    image = numpy.full(shape, 200, numpy.uint8)
    assert on_new_thread(lambda: palm.crop(image, image).code) in (1, 3, 4, 5, 6, 7, 8)


def test_a_thread_keeps_the_working_size_of_its_first_frame(frames):
    small = numpy.full((240, 320), 200, numpy.uint8)

    def small_then_device_frame():
        palm.crop(small, small)
        return palm.crop(*frames).code

    assert palm.crop(*frames).code == 0
    assert on_new_thread(small_then_device_frame) != 0
