"""palm.evaluate on small synthetic sets and datasets with known pair counts."""

import csv
import json
import os
import subprocess
import sys

import numpy
import pytest

import palm
from palm import evaluate
from conftest import TOOL, write_grey
from palm._palm import _sim


def run_module(*args):
    return subprocess.run([sys.executable, "-m", "palm.evaluate"] + [str(a) for a in args],
                          capture_output=True, text=True, env=os.environ.copy())


def check_png(path):
    from PIL import Image

    with Image.open(path) as image:
        image.load()
        assert image.format == "PNG"
        assert image.size[0] >= 300 and image.size[1] >= 300


def test_synthetic_set_has_the_pair_counts_of_its_palms_and_captures(tmp_path):
    # 3 palms of 2 captures: 15 pairs per light, 3 of them genuine.
    done = run_module("--synthetic", 3, "--captures", 2, "--out", tmp_path, "--quiet")
    assert done.returncode == 0, done.stderr
    summary = json.loads((tmp_path / "summary.json").read_text())
    assert summary["failed_to_crop"] == 0 and summary["captures"] == 6
    for light in ("print", "vein", "sum"):
        assert summary[light]["genuine_pairs"] == 3
        assert summary[light]["impostor_pairs"] == 12
        assert 0.0 <= summary[light]["eer"] <= 1.0
    assert [p["policy"] for p in summary["policies"]] == list(range(6))
    for p in summary["policies"]:
        assert 0.0 <= p["fmr"] <= 1.0 and 0.0 <= p["fnmr"] <= 1.0
    assert summary["policies"][5]["fmr"] == 1.0  # policy 5 accepts every pair
    for name in ("det.png", "histogram_print.png", "histogram_vein.png"):
        check_png(tmp_path / name)
    with open(tmp_path / "pairs.csv") as f:
        rows = list(csv.DictReader(f))
    assert len(rows) == 15 and sum(int(r["genuine"]) for r in rows) == 3
    assert "print genuine pairs 3, impostor pairs 12" in done.stdout.replace("  ", " ")


def make_dataset(root, lights, identities=3, captures=2, size=110):
    """Regions of synthetic palms cropped by the synthetic camera, written as
    PNG under root/LIGHT/ID/NAME.png, resized to size x size."""
    for i in range(identities):
        for k in range(captures):
            located = palm.crop(*_sim.render_frames(40 + i, k, "easy"))
            assert located.ok
            for light, roi in (("print", located.vl_roi), ("vein", located.nir_roi)):
                if light not in lights:
                    continue
                folder = root / light / ("id%d" % i)
                folder.mkdir(parents=True, exist_ok=True)
                image = numpy.kron(roi, numpy.ones((2, 2), numpy.uint8)) if size == 220 else roi
                write_grey(folder / ("c%d.png" % k), image)


def test_a_dataset_gives_the_distances_of_its_codes(tmp_path):
    make_dataset(tmp_path / "data", ("print", "vein"))
    summary = evaluate.evaluate(*evaluate.load_dataset(str(tmp_path / "data")),
                                str(tmp_path / "out"), jobs=2, quiet=True)
    assert summary["print"]["genuine_pairs"] == 3 and summary["vein"]["impostor_pairs"] == 12
    with open(tmp_path / "out" / "pairs.csv") as f:
        rows = list(csv.DictReader(f))
    row = rows[0]
    assert (row["capture_a"], row["capture_b"]) == ("id0/c0", "id0/c1")
    a = evaluate.read_region(str(tmp_path / "data" / "print" / "id0" / "c0.png"))
    b = evaluate.read_region(str(tmp_path / "data" / "print" / "id0" / "c1.png"))
    assert numpy.float32(row["print"]) == numpy.float32(palm.match(palm.extract(a),
                                                                   palm.extract(b)))
    assert float(row["sum"]) == pytest.approx(float(row["print"]) + float(row["vein"]))


def test_regions_of_another_size_are_resized_by_area_averaging(tmp_path):
    make_dataset(tmp_path / "big", ("print",), identities=2, size=220)
    make_dataset(tmp_path / "small", ("print",), identities=2, size=110)
    big = evaluate.evaluate(*evaluate.load_dataset(str(tmp_path / "big")),
                            str(tmp_path / "o1"), quiet=True)
    small = evaluate.evaluate(*evaluate.load_dataset(str(tmp_path / "small")),
                              str(tmp_path / "o2"), quiet=True)
    assert big["print"] == small["print"]  # 2x2 blocks of one value average back exactly


def test_one_tree_alone_evaluates_that_light_alone(tmp_path):
    make_dataset(tmp_path / "data", ("vein",))
    done = run_module(tmp_path / "data", "--out", tmp_path / "out", "--quiet")
    assert done.returncode == 0, done.stderr
    summary = json.loads((tmp_path / "out" / "summary.json").read_text())
    assert summary["print"] is None and summary["sum"] is None and summary["policies"] == []
    assert summary["vein"]["genuine_pairs"] == 3
    check_png(tmp_path / "out" / "det.png")
    assert not (tmp_path / "out" / "histogram_print.png").exists()


def test_an_unreadable_image_is_reported_and_its_capture_loses_that_light(tmp_path):
    make_dataset(tmp_path / "data", ("print", "vein"), identities=2)
    (tmp_path / "data" / "vein" / "id1" / "c1.png").write_bytes(b"not an image")
    summary = evaluate.evaluate(*evaluate.load_dataset(str(tmp_path / "data")),
                                str(tmp_path / "out"), quiet=True)
    assert [u["capture"] for u in summary["unreadable"]] == ["id1/c1"]
    assert summary["print"]["genuine_pairs"] + summary["print"]["impostor_pairs"] == 6
    assert summary["vein"]["genuine_pairs"] + summary["vein"]["impostor_pairs"] == 3
    assert summary["sum"]["genuine_pairs"] + summary["sum"]["impostor_pairs"] == 3


def test_the_equal_error_rate_lies_where_the_two_error_rates_cross():
    assert evaluate.equal_error_rate([0.1, 0.2], [0.3, 0.4]) == (0.0, 0.2)
    eer, _ = evaluate.equal_error_rate([0.1, 0.3], [0.2, 0.4])
    assert eer == pytest.approx(0.5)
    eer, threshold = evaluate.equal_error_rate([0.1, 0.2, 0.3, 0.45], [0.4, 0.5, 0.6, 0.7])
    assert eer == pytest.approx(0.25) and threshold == pytest.approx(0.4)
    assert evaluate.equal_error_rate([], [0.3]) == (None, None)


@pytest.mark.parametrize("args, words", [
    ([], "give either DATASET_DIR or --synthetic N"),
    (["somewhere", "--synthetic", "3"], "give either"),
    (["--synthetic", "1"], "--synthetic must be 2 to 100000"),
    (["--synthetic", "x"], "invalid int value"),
    (["/nonexistent/dataset"], "is not a folder"),
    (["--synthetic", "3", "--difficulty", "medium"], "invalid choice"),
])
def test_bad_command_lines_fail_in_the_tool_style(args, words):
    done = run_module(*args)
    assert done.returncode == 2
    assert done.stderr.startswith("palm: ") and words in done.stderr


def test_the_difficulty_changes_the_captures_and_is_checked():
    easy = _sim.render_frames(7, 3, "easy")
    realistic = _sim.render_frames(7, 3, "realistic")
    assert all(numpy.array_equal(a, b) for a, b in zip(_sim.render_frames(7, 3), realistic))
    assert not numpy.array_equal(easy[1], realistic[1])
    assert not numpy.array_equal(realistic[1], _sim.render_frames(7, 3, "hard")[1])
    with pytest.raises(ValueError, match="difficulty"):
        _sim.render_frames(7, 3, "medium")
    with pytest.raises(TypeError):
        _sim.login_frame(7, 1, 5, 0, 2)


def test_a_synthetic_set_names_its_difficulty(tmp_path):
    done = run_module("--synthetic", 2, "--captures", 2, "--difficulty", "easy", "--out", tmp_path,
                      "--quiet")
    assert done.returncode == 0, done.stderr
    summary = json.loads((tmp_path / "summary.json").read_text())
    assert summary["difficulty"] == "easy"
    assert summary["vein"]["genuine_std"] >= 0 and "overlap" in summary["vein"]


def test_a_folder_without_either_tree_is_refused(tmp_path):
    done = run_module(tmp_path)
    assert done.returncode == 2 and "holds neither print/ nor vein/" in done.stderr


@pytest.mark.skipif(not TOOL, reason="the tool is not built")
def test_the_tool_command_hands_over_to_the_module(tmp_path):
    done = subprocess.run([TOOL, "evaluate", "--synthetic", "2", "--captures", "2", "--out",
                           str(tmp_path), "--quiet"], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    summary = json.loads((tmp_path / "summary.json").read_text())
    assert summary["print"]["genuine_pairs"] == 2 and summary["print"]["impostor_pairs"] == 4
    done = subprocess.run([TOOL, "evaluate"], capture_output=True, text=True)
    assert done.returncode == 2 and done.stderr.startswith("palm: ")
