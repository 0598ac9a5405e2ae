"""The guidance overlay from a crop result or a given placement, checked
against `palm guide` on the same card and frames."""

import numpy
import pytest

import palm
from conftest import read_grey, run_tool, write_grey


def pattern(width, height):
    """A card whose pixels are never 0 and differ from their neighbours."""
    y, x = numpy.mgrid[0:height, 0:width]
    return (1 + (7 * x + 31 * y) % 251).astype(numpy.uint8)


def tool_transform(tmp_path, card, angle, scale, dx, dy, width, height):
    write_grey(tmp_path / "card.png", card)
    out = run_tool("guide", tmp_path / "card.png", tmp_path / "canvas.png", "--transform", angle,
                   scale, dx, dy, "--canvas", width, height).stdout.split()
    assert out[0] == "drawn" and out[2] == "rect"
    return bool(int(out[1])), tuple(int(v) for v in out[3:7]), read_grey(tmp_path / "canvas.png")


@pytest.mark.parametrize("card_size, placement, canvas", [
    ((5, 3), (0, 100, 0, 0), (20, 10)),
    ((61, 41), (30, 150, 7, -5), (160, 120)),
    ((61, 41), (-45, 73, -20, 11), (160, 120)),
    ((61, 41), (90, 200, 0, 0), (160, 120)),
    ((31, 5), (0, 100, 0, 0), (20, 10)),     # wider than the canvas
    ((5, 31), (0, 100, 0, 0), (20, 10)),     # taller
    ((31, 31), (0, 100, 3, 2), (20, 10)),    # both
    ((200, 200), (17, 120, -9, 4), (100, 80)),
    ((61, 41), (0, 100, 500, 0), (160, 120)),  # moved off the canvas
    ((61, 41), (91, 100, 0, 0), (160, 120)),   # out of range: nothing drawn
    ((61, 41), (0, 49, 0, 0), (160, 120)),
])
def test_transform_draws_what_the_tool_draws(tmp_path, card_size, placement, canvas):
    card = pattern(*card_size)
    ui = palm.user_interactive(card, *canvas)
    drawn, rect = ui.Transform(*placement)
    tool_drawn, tool_rect, tool_canvas = tool_transform(tmp_path, card, *placement, *canvas)
    assert (drawn, rect) == (tool_drawn, tool_rect)
    assert ui.canvas.any() == (drawn and rect[0] < rect[2] and rect[1] < rect[3])
    assert ui.rect == rect
    assert ui.canvas.shape == (canvas[1], canvas[0]) and ui.canvas.dtype == numpy.uint8
    assert numpy.array_equal(ui.canvas, tool_canvas)
    assert numpy.array_equal(ui.card, card)


def test_a_card_larger_than_the_canvas_is_placed_at_the_offset_itself():
    ui = palm.user_interactive(pattern(31, 31), 20, 10)
    assert ui.Transform(0, 100, 3, 2) == (True, (3, 0, 20, 8))
    # The template pixel (x + 2, y + 12) at canvas pixel (x, y).
    assert numpy.array_equal(ui.canvas[0:8, 3:20], pattern(31, 31)[12:20, 5:22])
    assert not ui.canvas[8:, :].any() and not ui.canvas[:, :3].any()


@pytest.fixture(scope="module")
def hand_frames(tmp_path_factory):
    """Frame pairs of a palm the crop locates and of one too small for guidance."""
    folder = tmp_path_factory.mktemp("guide_frames")
    run_tool("simulate", "--identity", 7, "--scale", 1.6, "--offset", 150, 0, folder / "big")
    run_tool("simulate", "--identity", 7, folder / "small")
    return folder


@pytest.mark.parametrize("card_size", [(121, 161), (1401, 1001)])
def test_gen_interactive_on_a_crop_result_draws_what_the_tool_draws(tmp_path, hand_frames,
                                                                    card_size):
    card = pattern(*card_size)
    write_grey(tmp_path / "card.png", card)
    frames = hand_frames / "big"
    out = run_tool("guide", tmp_path / "card.png", frames / "vl.png", frames / "nir.png",
                   tmp_path / "canvas.png").stdout.split()
    assert out[0] == "rect"
    vl, nir = read_grey(frames / "vl.png"), read_grey(frames / "nir.png")
    result = palm.crop(vl, nir, precheck=True)
    assert result.ok and result.area_percent > 0
    ui = palm.user_interactive(card)
    canvas, rect = ui.gen_interactive(result)
    assert rect == tuple(int(v) for v in out[1:5])
    assert numpy.array_equal(canvas, read_grey(tmp_path / "canvas.png"))
    assert canvas.shape == (480, 640) and canvas[rect[1]:rect[3], rect[0]:rect[2]].any()
    # Without the pre-check the area is 0, below the smallest scale.
    assert ui.gen_interactive(palm.crop(vl, nir)) == (None, (0, 0, 0, 0))


def test_no_overlay_where_the_tool_prints_none(tmp_path, hand_frames):
    card = pattern(121, 161)
    write_grey(tmp_path / "card.png", card)
    frames = hand_frames / "small"
    out = run_tool("guide", tmp_path / "card.png", frames / "vl.png", frames / "nir.png",
                   tmp_path / "canvas.png").stdout
    assert out == "none\n"
    ui = palm.user_interactive(card)
    result = palm.crop(read_grey(frames / "vl.png"), read_grey(frames / "nir.png"), precheck=True)
    canvas, rect = ui.gen_interactive(result)
    assert canvas is None
    # A black frame has no key points: the rectangle stays as it was.
    ui.Transform(0, 100, 0, 0)
    before = ui.rect
    black = numpy.zeros((480, 640), numpy.uint8)
    assert ui.gen_interactive(palm.crop(black, black, precheck=True)) == (None, before)


card = pattern(5, 3)


@pytest.mark.parametrize("call, error", [
    (lambda: palm.user_interactive(None), TypeError),
    (lambda: palm.user_interactive(card.astype(numpy.float64)), TypeError),
    (lambda: palm.user_interactive(numpy.zeros((0, 0), numpy.uint8)), ValueError),
    (lambda: palm.user_interactive(card, 0, 480), ValueError),
    (lambda: palm.user_interactive(card, 640, 100000), ValueError),
    (lambda: palm.user_interactive(card, "640", 480), TypeError),
    (lambda: palm.user_interactive(card).gen_interactive(None), TypeError),
    (lambda: palm.user_interactive(card).gen_interactive({"area_percent": 100}), TypeError),
    (lambda: palm.user_interactive(card).Transform(0.5, 100, 0, 0), TypeError),
    (lambda: palm.user_interactive(card).Transform(0, 100, 2**40, 0), ValueError),
    (lambda: palm.user_interactive(card).init(card, -1, 1), ValueError),
    (lambda: palm.crop(card, card, precheck=1), TypeError),
])
def test_bad_input_raises(call, error):
    with pytest.raises(error):
        call()
