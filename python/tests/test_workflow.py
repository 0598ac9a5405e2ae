"""The device side: pre-check, enrolment from frame pairs, the feature
library and login, checked against the C++ tool on the same frames."""

import numpy
import pytest

import palm
from conftest import run_tool, write_grey
from palm._palm import _sim


@pytest.fixture(scope="module")
def stream():
    """40 frame pairs of a person presenting hand 1 of identity 7."""
    return _sim.stream_frames(7, 1, 0, 40, "easy")


@pytest.fixture(scope="module")
def enrolled(stream):
    result = palm.enrol(stream, 5)
    assert result["stage"] == 3
    return result


def test_precheck_gives_the_position_and_area_the_tool_gives(tmp_path, stream):
    for k in (0, 12, 39):
        nir = stream[k][1]
        write_grey(tmp_path / "nir.png", nir)
        out = run_tool("precheck", tmp_path / "nir.png").stdout.split()
        position, area = palm.precheck(nir)
        assert position == int(out[1])
        assert numpy.float64(area) == pytest.approx(float(out[3]), rel=1e-8)


def test_precheck_of_a_black_frame_is_too_small():
    assert palm.precheck(numpy.zeros((480, 640), numpy.uint8)) == (palm.POS_TOO_SMALL, 0.0)


def test_enrolment_gives_the_template_the_tool_gives(tmp_path, stream, enrolled):
    for k, (vl, nir) in enumerate(stream):
        write_grey(tmp_path / ("f%03d_vl.png" % k), vl)
        write_grey(tmp_path / ("f%03d_nir.png" % k), nir)
    out = run_tool("enrol", "--count", 5, tmp_path, tmp_path / "hand.rec").stdout
    assert "stage 3" in out.splitlines()
    assert enrolled["features"] == palm.read_record((tmp_path / "hand.rec").read_bytes())
    assert len(enrolled["features"]) == 5
    stages = [int(line.split()[3]) for line in out.splitlines() if line.startswith("frame ")]
    assert [f["stage"] for f in enrolled["frames"]] == stages


def test_a_stream_without_a_hand_does_not_finish():
    black = numpy.zeros((480, 640), numpy.uint8)
    result = palm.enrol([(black, black)] * 3, 25)
    assert result["stage"] in (0, -1) and result["features"] is None
    assert len(result["frames"]) == 3


def test_login_finds_the_enrolled_hand_and_no_one_else(enrolled):
    for palm_id in palm.feature_lib_query():
        palm.feature_lib_remove(palm_id)
    assert palm.feature_lib_update(42, enrolled["features"], palm.FIRST_HAND)
    try:
        assert palm.feature_lib_query() == [42] and palm.feature_lib_exist(42)
        found = palm.login(*_sim.login_frame(7, 1, 5, 0, "easy"))
        assert (found["found"], found["id"], found["hand"]) == (True, 42, palm.FIRST_HAND)
        stranger = palm.login(*_sim.login_frame(8, 1, 5, 0, "easy"))
        assert not stranger["found"] and stranger["id"] is None
        assert not palm.login(*_sim.login_frame(7, 1, 5, 0, "easy"), ids=[])["found"]
    finally:
        assert palm.feature_lib_remove(42)
    assert not palm.feature_lib_remove(42) and palm.feature_lib_query() == []


@pytest.mark.parametrize("call, error", [
    (lambda: palm.precheck(None), TypeError),
    (lambda: palm.precheck(numpy.zeros((480, 640), numpy.float32)), TypeError),
    (lambda: palm.enrol(None), TypeError),
    (lambda: palm.enrol("frames"), TypeError),
    (lambda: palm.enrol([numpy.zeros((4, 4), numpy.uint8)]), TypeError),
    (lambda: palm.enrol([(numpy.zeros((4, 4), numpy.uint8), None)]), TypeError),
    (lambda: palm.enrol([], 7), ValueError),
    (lambda: palm.login(None, None), TypeError),
    (lambda: palm.login(numpy.zeros((4, 4), numpy.uint8), numpy.zeros((4, 4), numpy.uint8),
                        ids="42"), TypeError),
    (lambda: palm.login(numpy.zeros((4, 4), numpy.uint8), numpy.zeros((4, 4), numpy.uint8),
                        intensity=5), ValueError),
    (lambda: palm.feature_lib_update(-1, [(b"\0" * 384, b"\0" * 384)]), ValueError),
    (lambda: palm.feature_lib_update(1, [(b"\0" * 384, b"\0" * 384)], 2), ValueError),
    (lambda: palm.feature_lib_update(1, []), ValueError),
    (lambda: palm.feature_lib_update(1, None), TypeError),
])
def test_bad_device_input_is_refused(call, error):
    with pytest.raises(error):
        call()
