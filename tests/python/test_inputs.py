"""What is refused rather than guessed: numbers under masks, what no double holds, what is not True."""

import kavro
import numpy as np
import pytest

WATER = kavro.water()
POINT = kavro.Points([[0, 0, 1e-2]])
DISC = kavro.disc(2e-3)
HIDDEN = np.ma.array([1e6, 2e6], mask=[False, True])


@pytest.mark.parametrize(
    "name, call",
    [
        ("amplitude", lambda: DISC.replace(amplitude=HIDDEN)),
        ("option 'f0'", lambda: kavro.solve("fnm_cw", DISC, POINT, WATER, f0=HIDDEN)),
        ("'T' must be real", lambda: kavro.thermal_dose(HIDDEN, [0, 1])),
        ("'radius' must be .* a int", lambda: kavro.disc(10**400)),
        ("'radius' must be .* a timedelta64", lambda: kavro.disc(np.timedelta64(3))),
        ("'report'", lambda: kavro.solve("fnm_cw", DISC, POINT, WATER, f0=1e6, report=1)),
    ],
)
def test_is_refused(name, call):
    with pytest.raises(kavro.InputError, match=name):
        call()


def test_a_mask_that_hides_nothing_is_none():
    expected = kavro.solve("fnm_cw", DISC, POINT, WATER, f0=HIDDEN.data)
    shown = np.ma.array(HIDDEN.data)
    assert np.array_equal(kavro.solve("fnm_cw", DISC, POINT, WATER, f0=shown), expected)


def test_indices_do_not_depend_on_the_order_in_memory():
    """Nor on the points that are worked on together."""
    rng = np.random.default_rng(4)
    times = kavro.Times(0, 1999e-8, 1e-8)
    p = rng.standard_normal((5, 2, 7, 2000)) * np.hanning(2000)
    c, f = (
        kavro.field_indices(np.asarray(p, order=order), WATER, f0=1e6, time=times) for order in "CF"
    )
    one = kavro.field_indices(p[3, 1, 5], WATER, f0=1e6, time=times)
    for name in ("mechanical_index", "pulse_intensity_integral", "pulse_average"):
        assert np.array_equal(getattr(c, name), getattr(f, name))
        assert getattr(c, name)[3, 1, 5] == getattr(one, name)
    assert c.peak_point == f.peak_point
