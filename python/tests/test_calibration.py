"""Calibration from a board frame pair, the record in the tool's file format,
the calibration in force, its mapping file and the focus measure, checked
against the palm tool on the same inputs."""

import math

import numpy
import pytest

import palm
from conftest import read_grey, run_tool


@pytest.fixture(scope="module")
def board(tmp_path_factory):
    """A rendered board pair, as files and as arrays."""
    folder = tmp_path_factory.mktemp("board")
    run_tool("simulate", "--board", folder)
    return folder, read_grey(folder / "nir.png"), read_grey(folder / "vl.png")


@pytest.fixture(scope="module")
def calibrated(board, tmp_path_factory):
    """The tool's calibration file of the board and its printed output."""
    folder, _, _ = board
    out = tmp_path_factory.mktemp("calib") / "device.calib"
    done = run_tool("calibrate", folder / "nir.png", folder / "vl.png", out)
    return out, done.stdout


@pytest.fixture
def default_afterwards():
    """Puts the default calibration and its tables back for the other tests."""
    yield
    palm.set_calib_para(palm.calib_data.default(), True)


def test_calib_calc_gives_the_record_the_tool_gives(board, calibrated):
    _, nir, vl = board
    path, stdout = calibrated
    code, data = palm.calib_calc(nir, vl)
    assert code == 0 and stdout.startswith("code 0\n")
    assert isinstance(data, palm.calib_data) and data.calibrated
    assert data.text() == path.read_text()
    assert stdout == "code 0\n" + data.text()
    assert data == palm.calib_data.read(path)
    assert data != palm.calib_data.default()


def test_the_record_is_written_and_read_in_the_tool_format(tmp_path, calibrated):
    path, _ = calibrated
    data = palm.calib_data.read(str(path))
    data.write(tmp_path / "copy.calib")
    assert (tmp_path / "copy.calib").read_bytes() == path.read_bytes()
    assert len(data.text().splitlines()) == 3
    lens = data.nir
    assert isinstance(lens, palm.cp_single)
    first = [float(v) for v in data.text().split()[1:13]]
    assert first == [lens.center_x, lens.center_y, lens.focal_x, lens.focal_y, *lens.left,
                     *lens.right, *lens.top, *lens.bottom]
    assert list(data.nir_to_vl) == [float(v) for v in data.text().splitlines()[2].split()[1:]]
    # Fields are writable, and a changed record is a different one.
    data.vl.focal_x = data.vl.focal_x + 1.0
    data.nir_to_vl = [1, 0, 0, 0, 1, 0, 0, 0, 1]
    data.nir.left = (-400.0, 0.5)
    assert data != palm.calib_data.read(path)
    assert data.nir.left == (-400.0, 0.5) and data.nir_to_vl[4] == 1.0
    data.write(tmp_path / "changed.calib")
    assert palm.calib_data.read(tmp_path / "changed.calib") == data


def test_the_default_record_is_the_tool_default(tmp_path, default_afterwards):
    palm.set_calib_para(palm.calib_data.default(), True)
    assert palm.store_calib_mapping_file(tmp_path / "py.map", "PALMLENS")
    run_tool("lens", "table", tmp_path / "tool.map")
    assert (tmp_path / "py.map").read_bytes() == (tmp_path / "tool.map").read_bytes()


def test_mapping_files_of_a_calibration_match_the_tool(tmp_path, calibrated, default_afterwards):
    path, _ = calibrated
    palm.set_calib_para(palm.calib_data.read(path), generate=True)
    assert palm.store_calib_mapping_file(str(tmp_path / "py.map"), b"DEV-01")
    run_tool("lens", "table", tmp_path / "tool.map", "--tag", "DEV-01", "--calib", path)
    data = (tmp_path / "py.map").read_bytes()
    assert len(data) == 2457608 and data[:8] == b"DEV-01\0\0"
    assert data == (tmp_path / "tool.map").read_bytes()
    # The tables of the default calibration differ; loading the file brings
    # the calibrated ones back, and only under the right tag.
    palm.set_calib_para(palm.calib_data.default(), True)
    assert palm.store_calib_mapping_file(tmp_path / "default.map", "DEV-01")
    assert (tmp_path / "default.map").read_bytes() != data
    assert not palm.load_calib_mapping_file(tmp_path / "tool.map", "DEV-02")
    assert palm.load_calib_mapping_file(tmp_path / "tool.map", "DEV-01")
    assert palm.store_calib_mapping_file(tmp_path / "again.map", "DEV-01")
    assert (tmp_path / "again.map").read_bytes() == data
    assert not palm.load_calib_mapping_file(tmp_path / "missing.map", "DEV-01")
    assert not palm.store_calib_mapping_file(tmp_path / "no" / "such" / "dir.map", "DEV-01")


def test_a_crop_after_a_calibration_matches_the_tool_with_that_file(tmp_path, calibrated,
                                                                    default_afterwards):
    from palm._palm import _sim
    from conftest import write_grey

    path, _ = calibrated
    vl, nir = _sim.render_frames(7, 3)
    write_grey(tmp_path / "vl.png", vl)
    write_grey(tmp_path / "nir.png", nir)
    palm.set_calib_para(palm.calib_data.read(path), True)
    mine = palm.crop(vl, nir)
    out = run_tool("crop", tmp_path / "vl.png", tmp_path / "nir.png", tmp_path / "out", "--calib",
                   path, check=False).stdout
    fields = dict(line.split(None, 1) for line in out.splitlines() if line.startswith("palm_"))
    assert ("crop code        %d" % mine.code) in out
    assert int(fields["palm_offset_x"]) == mine.palm_offset_x
    assert int(fields["palm_offset_y"]) == mine.palm_offset_y
    for name in ("nir_key", "vl_key", "vl_corner"):
        line = "%-17s" % name + "".join(" (%d, %d)" % p for p in getattr(mine, name))
        assert line in out.splitlines()
    # On the default calibration the regions land elsewhere in the VL frame.
    palm.set_calib_para(palm.calib_data.default(), True)
    assert palm.crop(vl, nir).vl_key != mine.vl_key


@pytest.mark.parametrize("x, y", [(320, 240), (0, 0), (639, 479), (303.84606067996, 100.5)])
@pytest.mark.parametrize("camera", ["nir", "vl"])
def test_lens_mapping_of_a_point_matches_the_tool(calibrated, camera, x, y):
    path, _ = calibrated
    for data, calib in ((palm.calib_data.default(), []), (palm.calib_data.read(path),
                                                           ["--calib", path])):
        cp = getattr(data, camera)
        for direction, mapping in (("--forward", palm.MappingForward),
                                   ("--backward", palm.MappingBackward)):
            out = run_tool("lens", "map", x, y, "--camera", camera, direction, *calib).stdout
            px, py = mapping((x - cp.center_x, y - cp.center_y), cp)
            assert out == "%.6f %.6f\n" % (px + cp.center_x, py + cp.center_y)


def test_focus_measure_matches_the_tool(board):
    folder, nir, vl = board
    for name, image in (("nir", nir), ("vl", vl)):
        for window in ((100, 380, 120, 520), (1, 480, 1, 640), (200, 201, 300, 301)):
            out = run_tool("focus", folder / (name + ".png"), *window).stdout.split()
            assert out[0] == "definition"
            mine = palm.calib_img_definition(image, *window)
            assert numpy.float32(mine) == numpy.float32(float(out[1]))
    assert palm.calib_img_definition(nir, 100, 100, 120, 520) == 0.0
    assert palm.calib_img_definition(nir, 0, 600, 0, 900) == 0.0
    assert palm.calib_img_definition(nir, -2**31, 2**31 - 1, -2**31, 2**31 - 1) == 0.0


def test_a_frame_without_the_board_fails_as_in_the_tool(tmp_path):
    from palm._palm import _sim
    from conftest import write_grey

    vl, nir = _sim.render_frames(3, 0)
    write_grey(tmp_path / "nir.png", nir)
    write_grey(tmp_path / "vl.png", vl)
    done = run_tool("calibrate", tmp_path / "nir.png", tmp_path / "vl.png", tmp_path / "x.calib",
                    check=False)
    code, data = palm.calib_calc(nir, vl)
    assert done.stdout == "code %d\n" % code
    assert code != 0 and data is None


def test_a_malformed_file_is_refused_with_the_tool_message(tmp_path):
    bad = tmp_path / "bad.calib"
    bad.write_text("nir 1 2 3\n")
    done = run_tool("lens", "table", tmp_path / "x.map", "--calib", bad, check=False)
    assert done.returncode == 2
    with pytest.raises(ValueError) as error:
        palm.calib_data.read(bad)
    assert "nir needs 12 numbers, has 3" in str(error.value)
    assert "nir needs 12 numbers, has 3" in done.stderr
    with pytest.raises(ValueError):
        palm.calib_data.read(tmp_path / "missing.calib")


frame = numpy.zeros((480, 640), numpy.uint8)


@pytest.mark.parametrize("call, error", [
    (lambda: palm.calib_calc(None, frame), TypeError),
    (lambda: palm.calib_calc(frame, frame.astype(numpy.float32)), TypeError),
    (lambda: palm.calib_calc(frame[:240], frame), ValueError),
    (lambda: palm.calib_calc(frame, numpy.zeros((0, 0), numpy.uint8)), ValueError),
    (lambda: palm.calib_img_definition(None, 0, 1, 0, 1), TypeError),
    (lambda: palm.calib_img_definition(frame, 0.5, 1, 0, 1), TypeError),
    (lambda: palm.calib_img_definition(frame, 0, 2**40, 0, 1), ValueError),
    (lambda: palm.set_calib_para(None), TypeError),
    (lambda: palm.set_calib_para("device.calib"), TypeError),
    (lambda: palm.set_calib_para(palm.calib_data.default(), 1), TypeError),
    (lambda: palm.store_calib_mapping_file("x.map", "TOO-LONG-TAG"), ValueError),
    (lambda: palm.store_calib_mapping_file("x.map", 5), TypeError),
    (lambda: palm.store_calib_mapping_file(None, "T"), TypeError),
    (lambda: palm.load_calib_mapping_file("x\0map", "T"), ValueError),
    (lambda: palm.load_calib_mapping_file("x.map", b"123456789"), ValueError),
    (lambda: palm.calib_data.read(None), TypeError),
    (lambda: palm.calib_data.read(""), ValueError),
    (lambda: palm.calib_data().write(5), TypeError),
    (lambda: palm.calib_data().write("/no/such/dir/x.calib"), ValueError),
    (lambda: setattr(palm.calib_data().nir, "focal_x", math.nan), ValueError),
    (lambda: setattr(palm.calib_data().nir, "focal_x", "1"), TypeError),
    (lambda: setattr(palm.calib_data().nir, "left", (1.0,)), TypeError),
    (lambda: setattr(palm.calib_data().nir, "top", (1.0, math.inf)), ValueError),
    (lambda: setattr(palm.calib_data(), "nir_to_vl", [1, 2]), TypeError),
    (lambda: setattr(palm.calib_data(), "nir_to_vl", [math.nan] * 9), ValueError),
    (lambda: setattr(palm.calib_data(), "nir", 5), TypeError),
    (lambda: palm.MappingForward((1.0, 2.0), None), TypeError),
    (lambda: palm.MappingForward(None, palm.calib_data.default().vl), TypeError),
    (lambda: palm.MappingBackward((1.0, math.nan), palm.calib_data.default().vl), ValueError),
])
def test_bad_input_raises(call, error):
    with pytest.raises(error):
        call()
