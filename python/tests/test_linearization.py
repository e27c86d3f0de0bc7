"""Linearization from a simulated press: tone curves that take the dot gain back out."""
import numpy as np
import pytest

import tintara

ABSORB = np.array([[0.85, 0.45, 0.15], [0.35, 0.80, 0.30], [0.05, 0.12, 0.90], [0.90, 0.92, 0.88]])


def press(inks, gain):
    """XYZ of CMYK patches: each ink absorbs its share of the paper's X, Y, Z, with dot gain."""
    dots = 1.0 - (1.0 - np.asarray(inks) / 100.0) ** gain
    return np.array([93.0, 96.0, 80.0]) * np.prod(1.0 - dots[:, :, None] * ABSORB, axis=1)


def wedges(steps=11):
    levels = np.linspace(0, 100, steps)
    return np.concatenate([np.eye(4)[ink] * levels[:, None] for ink in range(4)])


def test_curves_take_dot_gain_out_and_are_a_trafo():
    nominal = wedges()
    with tintara.Linearization() as lin:
        lin.calc(nominal, press(nominal, 2.0))
        ramp = np.array([[v] * 4 for v in range(0, 101, 10)], dtype=float)
        curves = lin(ramp)
        assert np.allclose(curves[[0, -1]], [[0] * 4, [100] * 4], atol=0.01)
        assert (np.diff(curves, axis=0) > 0).all() and (curves[5] < 50).all()
        # A press with less gain needs less correction.
        lin.calc(nominal, press(nominal, 1.5))
        assert (lin(ramp)[5] > curves[5] + 2).all()
        with lin.bake(4) as link:
            assert link.match(np.full((1, 4), 255, np.uint8)).tolist() == [[255] * 4]


@pytest.mark.parametrize("nominal, measured, code", [
    (wedges()[:1], press(wedges()[:1], 2.0), 3),          # one row
    (wedges(), press(wedges(), 2.0)[:-1], 23),            # rows do not pair
    (wedges()[:, :, None], press(wedges(), 2.0), 3),      # not a table
])
def test_bad_tables_raise_and_keep_the_curves(nominal, measured, code):
    good = wedges()
    with tintara.Linearization() as lin:
        lin.calc(good, press(good, 2.0))
        before = lin([[50.0] * 4])
        with pytest.raises(tintara.TintaraError) as failure:
            lin.calc(nominal, measured)
        assert failure.value.code == code
        assert np.array_equal(lin([[50.0] * 4]), before)
        with pytest.raises(tintara.TintaraError, match="ArgErr"):
            lin.limit_slope(2.0, 1.0)
