"""Shared fixtures: the palm package, the palm tool as the C++ side to check
the binding against, and synthetic frames and regions."""

import os
import shlex
import subprocess

import numpy
import pytest

import palm
from palm._palm import _sim

TOOL = os.environ.get("PALM_TOOL", "")


def run_tool(*args, check=True):
    """Runs the palm tool; returns its completed process (text output)."""
    if not TOOL:
        pytest.skip("PALM_TOOL is not set: the tool is not built")
    done = subprocess.run([TOOL] + [str(a) for a in args], capture_output=True, text=True)
    if check and done.returncode != 0:
        raise AssertionError("palm %s failed (%d): %s" %
                             (" ".join(shlex.quote(str(a)) for a in args), done.returncode,
                              done.stderr))
    return done


def read_grey(path):
    from PIL import Image

    with Image.open(path) as image:
        return numpy.ascontiguousarray(numpy.asarray(image.convert("L"), dtype=numpy.uint8))


def write_grey(path, array):
    from PIL import Image

    Image.fromarray(array, mode="L").save(path)


@pytest.fixture(scope="session")
def frames():
    """A frame pair of synthetic palm 7 that the crop locates."""
    vl, nir = _sim.render_frames(7, 3, "easy")
    assert palm.crop(vl, nir).ok
    return vl, nir


@pytest.fixture(scope="session")
def regions(frames):
    """The two regions of `frames`."""
    located = palm.crop(*frames)
    return located.vl_roi, located.nir_roi


@pytest.fixture(scope="session")
def other_regions():
    """The regions of another synthetic palm."""
    located = palm.crop(*_sim.render_frames(11, 5, "easy"))
    assert located.ok
    return located.vl_roi, located.nir_roi
