"""The enrolment object frame by frame and its second path, checked against
`palm enrol` and `palm precheck` on the same frames. The second path writes
a debug line for each rejected frame into the working directory, so each
test runs in its own."""

import numpy
import pytest

import palm
from conftest import run_tool, write_grey
from palm._palm import _sim

DEBUG_FILE = "D:\\error_flage3.txt"
BLACK = numpy.zeros((480, 640), numpy.uint8)


@pytest.fixture(scope="module")
def stream():
    """Two black frame pairs, then 40 of a person presenting hand 1 of identity 7."""
    return [(BLACK, BLACK)] * 2 + list(_sim.stream_frames(7, 1, 0, 40))


@pytest.fixture(scope="module")
def tool_run(stream, tmp_path_factory):
    folder = tmp_path_factory.mktemp("enrol2")
    for k, (vl, nir) in enumerate(stream):
        write_grey(folder / ("f%03d_vl.png" % k), vl)
        write_grey(folder / ("f%03d_nir.png" % k), nir)
    out = run_tool("enrol", "--count", 5, folder, folder / "hand.rec").stdout.splitlines()
    frames = [line.split() for line in out if line.startswith("frame ")]
    return folder, frames, out


def offer(enroll, frames, second):
    lines = []
    for k, (vl, nir) in enumerate(frames):
        if second:
            changed, accepted = enroll.enrolling_siti_enroll(vl, nir, -1, "f%03d " % k, False)
        else:
            changed = enroll.enrolling(vl, nir)
        lines.append(["frame", "f%03d" % k, "stage", str(enroll.get_stage()), "candidates",
                      str(enroll.candidates_count()), "changed", str(int(changed))])
        if enroll.get_stage() in (3, -1):
            break
    return lines


@pytest.mark.parametrize("second", [False, True])
def test_both_paths_enrol_as_the_tool_does(tmp_path, monkeypatch, stream, tool_run, second):
    monkeypatch.chdir(tmp_path)
    folder, tool_frames, out = tool_run
    enroll = palm.feature_enroll(5)
    assert enroll.get_required_count() > 0
    assert offer(enroll, stream, second) == tool_frames
    assert "stage %d" % enroll.get_stage() in out and enroll.get_stage() == 3
    assert "images %d" % len(enroll.get_images()) in out
    assert enroll.get_features() == palm.read_record((folder / "hand.rec").read_bytes())
    assert len(enroll.get_features()) == 5
    vl, nir = enroll.get_images()[0]
    assert vl.shape == nir.shape == (480, 640)
    assert (tmp_path / DEBUG_FILE).exists() == second


def test_each_rejected_frame_leaves_one_line_with_the_tool_area(tmp_path, monkeypatch, stream,
                                                                 tool_run):
    monkeypatch.chdir(tmp_path)
    folder, _, _ = tool_run
    enroll = palm.feature_enroll(5)
    taken = []
    for k, (vl, nir) in enumerate(stream):
        changed, accepted = enroll.enrolling_siti_enroll(vl, nir, -1, "f%03d " % k, False)
        taken.append(accepted)
        if enroll.get_stage() in (3, -1):
            break
    lines = (tmp_path / DEBUG_FILE).read_bytes().decode("gbk").splitlines()
    assert not taken[0] and not taken[1] and any(taken)
    assert lines[0] == "f000 手掌太小:0.00000" and lines[1] == "f001 手掌太小:0.00000"
    names = [line.split()[0] for line in lines]
    assert len(set(names)) == len(names)  # a frame stops at its first failure
    for line in lines:
        name, reason = line.split(" ", 1)
        if reason.startswith(("手掌太小:", "手掌太大:")):
            area = run_tool("precheck", folder / (name + "_nir.png")).stdout.split()[3]
            assert reason.split(":")[1] == "%.5f" % float(area)


def test_the_stage_argument_sets_the_stage_before_the_frame(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    enroll = palm.feature_enroll(25)
    assert enroll.enrolling_siti_enroll(BLACK, BLACK, 2, "x", True) == (False, False)
    assert enroll.get_stage() == 2
    for stage in (-1, 3, 7):
        enroll.enrolling_siti_enroll(BLACK, BLACK, stage)
        assert enroll.get_stage() == 2
    enroll.enrolling_siti_enroll(BLACK, BLACK, 0)
    assert enroll.get_stage() == 0
    enroll.reset()
    assert enroll.get_stage() == 0 and enroll.get_features() is None and enroll.get_images() == []
    text = (tmp_path / DEBUG_FILE).read_bytes().decode("gbk").splitlines()
    assert text[0] == "x手掌太小:0.00000" and len(text) == 5


@pytest.mark.parametrize("call, error", [
    (lambda: palm.feature_enroll(7), ValueError),
    (lambda: palm.feature_enroll("5"), TypeError),
    (lambda: palm.feature_enroll().enrolling(None, BLACK), TypeError),
    (lambda: palm.feature_enroll().enrolling(BLACK, BLACK[:, :320]), ValueError),
    (lambda: palm.feature_enroll().enrolling_siti_enroll(BLACK, None), TypeError),
    (lambda: palm.feature_enroll().enrolling_siti_enroll(BLACK, BLACK, "0"), TypeError),
    (lambda: palm.feature_enroll().enrolling_siti_enroll(BLACK, BLACK, 2**40), ValueError),
    (lambda: palm.feature_enroll().enrolling_siti_enroll(BLACK, BLACK, 0, 5), TypeError),
    (lambda: palm.feature_enroll().enrolling_siti_enroll(BLACK, BLACK, 0, "a\0b"), ValueError),
    (lambda: palm.feature_enroll().enrolling_siti_enroll(BLACK, BLACK, 0, "x" * 70000),
     ValueError),
    (lambda: palm.feature_enroll().enrolling_siti_enroll(BLACK, BLACK, 0, "", 1), TypeError),
    (lambda: palm.feature_enroll().enrolling_siti_enroll(BLACK.astype(float), BLACK), TypeError),
])
def test_bad_input_raises(call, error, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    with pytest.raises(error):
        call()
