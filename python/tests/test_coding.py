"""Coding and matching, checked against the C++ tool on the same inputs, and
the accept rule of each match policy."""

import numpy
import pytest

import palm
from conftest import run_tool, write_grey


def tool_distances(tmp_path, a, b):
    (tmp_path / "a.bin").write_bytes(a)
    (tmp_path / "b.bin").write_bytes(b)
    lines = run_tool("match", tmp_path / "a.bin", tmp_path / "b.bin").stdout.split()
    return {lines[k]: numpy.float32(lines[k + 1]) for k in range(0, len(lines), 2)}


def test_extract_gives_the_code_the_tool_gives(tmp_path, regions):
    for roi in regions:
        write_grey(tmp_path / "roi.png", roi)
        hex_code = run_tool("extract", "--hex", tmp_path / "roi.png").stdout.strip()
        assert palm.extract(roi).hex() == hex_code


def test_match_gives_the_distances_the_tool_gives(tmp_path, regions, other_regions):
    same = (palm.extract(regions[0]), palm.extract(numpy.roll(regions[0], 2, axis=0)))
    pairs = [(palm.extract(regions[0]), palm.extract(other_regions[0])),
             (palm.extract(regions[1]), palm.extract(other_regions[1])), same]
    for a, b in pairs:
        expected = tool_distances(tmp_path, a, b)
        assert numpy.float32(palm.match(a, b, palm.DEGREE_LIGHT)) == expected["light"]
        assert numpy.float32(palm.match(a, b, palm.DEGREE_HEAVY)) == expected["heavy"]
        assert numpy.float32(palm.match(a, b, palm.DEGREE_ALL)) == expected["all"]
        assert palm.match(a, b) == palm.match(a, b, palm.DEGREE_ALL)


def test_a_code_is_at_distance_zero_from_itself_and_unknown_degrees_give_one(regions):
    code = palm.extract(regions[1])
    assert palm.match(code, code) == 0.0
    assert palm.match(code, code, palm.DEGREE_LIGHT) == 0.0
    assert palm.match(code, code, 3) == 1.0
    assert palm.match(code, code, -1) == 1.0


def test_codes_may_be_bytes_bytearray_or_uint8_arrays(regions, other_regions):
    a, b = palm.extract(regions[0]), palm.extract(other_regions[0])
    d = palm.match(a, b)
    assert palm.match(bytearray(a), memoryview(b)) == d
    assert palm.match(numpy.frombuffer(a, numpy.uint8), b) == d


def test_match_pairs_equals_match_for_every_pair(regions, other_regions):
    codes = [palm.extract(r) for r in regions + other_regions]
    array = numpy.frombuffer(b"".join(codes), numpy.uint8).reshape(4, 384)
    first, second = numpy.triu_indices(4, 1)
    for degree in (0, 1, 2, 5):
        got = palm.match_pairs(array, first, second, degree)
        assert got.dtype == numpy.float32
        assert list(got) == [numpy.float32(palm.match(codes[i], codes[j], degree))
                             for i, j in zip(first, second)]


def test_match_pairs_refuses_indices_outside_the_codes():
    codes = numpy.zeros((2, 384), numpy.uint8)
    with pytest.raises(ValueError, match="indexes outside the 2 codes"):
        palm.match_pairs(codes, numpy.array([0]), numpy.array([2]))
    with pytest.raises(ValueError, match="indexes outside"):
        palm.match_pairs(codes, numpy.array([-1]), numpy.array([0]))
    with pytest.raises(ValueError, match="differ in length"):
        palm.match_pairs(codes, numpy.array([0, 1]), numpy.array([0]))
    with pytest.raises(TypeError, match="integer dtype"):
        palm.match_pairs(codes, numpy.array([0.0]), numpy.array([1.0]))
    with pytest.raises(ValueError, match="shape"):
        palm.match_pairs(numpy.zeros((2, 383), numpy.uint8), numpy.array([0]), numpy.array([1]))
    assert len(palm.match_pairs(codes, numpy.array([], numpy.int64),
                                numpy.array([], numpy.int64))) == 0


def test_policy_1_accepts_each_distance_up_to_its_limit_while_the_sum_stays_below_the_bias():
    assert palm.decision(0.36, 0.2, 1)  # the print limit is inclusive; 0.56 < 0.592
    assert palm.decision(0.3, 0.291, 1)
    assert not palm.decision(0.3, 0.292, 1)  # the sum test gives exactly 0, and it is strict
    assert not palm.decision(0.36, 0.35, 1)  # inside both limits, refused by the sum
    assert not palm.decision(1.0, 1.0, 1)


def test_policy_5_accepts_any_real_pair_of_distances():
    assert palm.decision(1.0, 1.0, 5)


def test_policy_limits_are_the_rows_of_the_policy_table():
    assert palm.policy_limits(1) == (numpy.float32(0.36), numpy.float32(0.35),
                                     numpy.float32(0.592))
    assert palm.policy_limits(0) == (numpy.float32(0.35), numpy.float32(0.34),
                                     numpy.float32(0.622))
    assert palm.MATCH_POLICY_COUNT == 6 and palm.DEFAULT_MATCH_POLICY == 1


def test_decisions_over_arrays_equal_decision_on_each_pair():
    grid = numpy.arange(0.25, 0.40, 0.001, dtype=numpy.float32)
    p, v = [a.ravel() for a in numpy.meshgrid(grid, grid)]
    for policy in range(6):
        got = palm.decisions(p, v, policy)
        assert got.dtype == numpy.bool_
        assert list(got) == [palm.decision(float(x), float(y), policy) for x, y in zip(p, v)]


@pytest.mark.parametrize("policy", [-1, 6, 2**40])
def test_a_policy_outside_0_to_5_is_a_value_error(policy):
    with pytest.raises(ValueError, match="out of range"):
        palm.decision(0.1, 0.1, policy)
    with pytest.raises(ValueError):
        palm.policy_limits(policy)


@pytest.mark.parametrize("value", [None, "0.3", b"0.3", True])
def test_a_distance_that_is_not_a_number_is_a_type_error(value):
    with pytest.raises(TypeError, match="expected a float"):
        palm.decision(value, 0.1, 1)
