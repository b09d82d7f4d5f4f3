"""Particle velocity, intensity and power: that they are the library's, in the right shapes."""

import kavro
import numpy as np
import pytest

WATER = kavro.water()
POINTS = kavro.Points([[0, 0, 9e-3], [1e-3, 2e-3, 5e-3], [0, 1e-3, 3e-3], [4e-3, 0, 2e-2]])
PAIR = kavro.disc(2e-3) + kavro.spherical_shell(4e-3, 9e-3, center=(3e-3, 0, 0))


def wave(elements=PAIR, grid=POINTS, **options):
    options = {"f0": 1e6, "velocity": True, **options}
    return kavro.solve("fnm_cw", elements, grid, WATER, **options)


def test_disc_on_its_axis():
    """v = w (exp(-jkz) - z/R exp(-jkR))"""
    z, a = np.arange(5e-3, 30e-3, 5e-3), 4e-3
    k, R = 2 * np.pi * 1e6 / WATER.soundspeed, np.hypot(z, a)
    axis = kavro.Grid(z=(z[0], z[-1], 5e-3))
    disc = kavro.disc(a, amplitude=0.3)
    out = np.empty((1, 1, 5), complex, "F")
    p, v, report = wave(disc, axis, tolerance=1e-10, out=out, report=True)
    assert p is out and v.shape == (1, 1, 5, 3) and report.tolerance == 1e-10
    expected = 0.3 * (np.exp(-1j * k * z) - z / R * np.exp(-1j * k * R))
    np.testing.assert_allclose(v[0, 0, :, 2], expected, atol=1e-9)
    assert abs(v[..., :2]).max() < 1e-12
    again = kavro.pressure(disc, axis, WATER, f0=1e6, tolerance=1e-10, velocity=True)
    assert all(map(np.array_equal, again, (p, v)))
    assert np.array_equal(wave(ndiv=16)[0], wave(ndiv=16, velocity=False))


def test_components_and_elements():
    for grid, axis in ((POINTS, 1), (kavro.Grid(x=(0, 2e-3, 1e-3), z=(9e-3, 1e-2, 1e-3)), 3)):
        p, v = wave(grid=grid, per_element=True)
        assert v.shape == (*p.shape[:-1], 3, 2)
        np.testing.assert_allclose(v.sum(axis=-1), wave(grid=grid)[1], atol=1e-14)
        I = kavro.intensity(p, v)
        third = np.real(p * np.conj(v.take(2, axis=axis))) / 2
        assert np.array_equal(I.take(2, axis=axis), third)


def test_power_of_rings_is_that_of_the_disc():
    whole = kavro.acoustic_power(kavro.disc(3e-3, amplitude=0.7), WATER, 1e6)
    parts = kavro.disc(2e-3, amplitude=0.7) + kavro.ring(2e-3, 3e-3, amplitude=0.7)
    assert kavro.acoustic_power(parts, WATER, 1e6, threads=2) == pytest.approx(whole, rel=1e-9)
    plane_wave = 0.5 * WATER.density * WATER.soundspeed * np.pi * 3e-3**2 * 0.7**2
    assert whole == pytest.approx(plane_wave, rel=0.05)


def test_what_is_refused():
    with pytest.raises(TypeError, match="'velocity' is not used by fnm_cw_sse"):
        kavro.solve("fnm_cw_sse", PAIR[0], POINTS, WATER, f0=1e6, velocity=True)
    with pytest.raises(kavro.InputError, match="3 components"):
        kavro.intensity(np.ones(4), np.ones((3, 4)))
    with pytest.raises(kavro.InputError, match="one positive number"):
        kavro.acoustic_power(PAIR, WATER, 0)
