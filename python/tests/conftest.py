"""Shared fixtures: the checked-in test data and one baked FOGRA39 -> FOGRA29 link."""
import os
import pathlib

import pytest

import tintara

DATA = pathlib.Path(os.environ.get("TINTARA_TEST_DATA", pathlib.Path(__file__).resolve().parents[2] / "tests" / "data"))
PROFILES = DATA / "concat"


@pytest.fixture(scope="session")
def profiles():
    return PROFILES


@pytest.fixture(scope="session")
def press_link():
    """FOGRA39 to FOGRA29, relative colorimetric, 17 points per axis: quick to bake."""
    with tintara.Link.from_profiles([PROFILES / "FOGRA39L.icc", PROFILES / "FOGRA29L.icc"], tintara.RELATIVE,
                                    grid_bits=4) as link:
        yield link
