"""The exposure judge over frame pairs and register values, checked against
`palm exposure` on the same frames."""

import numpy
import pytest

import palm
from conftest import run_tool, write_grey


def flat(level, shape=(48, 64)):
    return numpy.full(shape, level, numpy.uint8)


def tool_lines(folder, li, ir, use_max=False):
    args = ["exposure", "--init", li, ir] + (["--max"] if use_max else []) + [folder]
    return run_tool(*args).stdout.splitlines()


def judge_lines(pairs, li, ir, use_max=False):
    judge = palm.cmos_judge(li, ir)
    lines = []
    for name, vl, nir in pairs:
        li_changed, ir_changed = judge.Cmos_Judge(nir, vl, use_max)
        lines.append("frame %s li_reg %d ir_reg %d li_changed %d ir_changed %d" %
                     (name, judge.get_li_reg(), judge.get_ir_reg(), li_changed, ir_changed))
        assert (judge.li_reg, judge.ir_reg) == (judge.get_li_reg(), judge.get_ir_reg())
    return lines


def write_pairs(folder, pairs):
    for name, vl, nir in pairs:
        write_grey(folder / ("%s_vl.png" % name), vl)
        write_grey(folder / ("%s_nir.png" % name), nir)


# Brightness walks: dark, then bright, then the edges of each rung's range.
LEVELS = [(10, 10), (10, 10), (200, 200), (200, 200), (200, 200), (80, 90), (81, 91), (70, 70),
          (175, 180), (174, 179), (60, 60), (195, 190), (194, 189), (255, 255)]


@pytest.mark.parametrize("li, ir", [(128, 128), (240, 255), (184, 300), (511, 368), (0, 65535)])
def test_the_registers_follow_the_tool_frame_by_frame(tmp_path, li, ir):
    pairs = [("f%02d" % k, flat(v), flat(n)) for k, (v, n) in enumerate(LEVELS)]
    write_pairs(tmp_path, pairs)
    assert judge_lines(pairs, li, ir) == tool_lines(tmp_path, li, ir)


def test_use_max_sees_one_saturated_pixel_as_the_tool_does(tmp_path):
    rng = numpy.random.default_rng(5)
    pairs = []
    for k in range(8):
        vl = rng.integers(40, 120, (480, 640), dtype=numpy.uint8)
        nir = rng.integers(40, 120, (480, 640), dtype=numpy.uint8)
        if k % 3 == 1:
            nir[240, 320] = 255
            vl[235, 330] = 255
        pairs.append(("p%d" % k, vl, nir))
    write_pairs(tmp_path, pairs)
    for use_max in (False, True):
        assert judge_lines(pairs, 240, 255, use_max) == tool_lines(tmp_path, 240, 255, use_max)


def test_init_picks_the_nearest_rung_and_reports_it_once():
    judge = palm.cmos_judge(184, 300)
    assert (judge.li_reg, judge.ir_reg) == (128, 255)
    status = judge.get_status()
    assert status["ir_stage"] == [128, 255, 368] and status["li_stage"] == [128, 240, 511]
    assert status["ir_pending"] and not status["li_pending"]
    assert judge.Cmos_Judge(flat(255), flat(255)) == (False, True)
    assert judge.Cmos_Judge(flat(255), flat(255)) == (False, True)  # ir: 180 or above, down
    assert judge.ir_reg == 128
    judge.init(128, 128)
    assert judge.get_status()["ir_pending"] is False
    assert judge.Cmos_Judge(flat(90), flat(81)) == (False, True)  # 90 moves ir, 81 not li
    assert (judge.li_reg, judge.ir_reg) == (128, 255)
    # The smallest frame the window fits.
    assert palm.cmos_judge().Cmos_Judge(flat(0, (29, 29)), flat(0, (29, 29))) == (True, True)


frame = flat(0)


@pytest.mark.parametrize("call, error", [
    (lambda: palm.cmos_judge(-1, 128), ValueError),
    (lambda: palm.cmos_judge(128, 65536), ValueError),
    (lambda: palm.cmos_judge("128", 128), TypeError),
    (lambda: palm.cmos_judge().init(None, 0), TypeError),
    (lambda: palm.cmos_judge().Cmos_Judge(None, frame), TypeError),
    (lambda: palm.cmos_judge().Cmos_Judge(frame, frame.astype(numpy.int16)), TypeError),
    (lambda: palm.cmos_judge().Cmos_Judge(frame, frame, 1), TypeError),
    (lambda: palm.cmos_judge().Cmos_Judge(frame, flat(0, (48, 63))), ValueError),
    (lambda: palm.cmos_judge().Cmos_Judge(flat(0, (28, 64)), flat(0, (28, 64))), ValueError),
    (lambda: palm.cmos_judge().Cmos_Judge(flat(0, (0, 0)), flat(0, (0, 0))), ValueError),
])
def test_bad_input_raises(call, error):
    with pytest.raises(error):
        call()
