"""From pressure to temperature and dose, and arrays for it, in Python."""

import numpy as np
import pytest

import kavro

LIVER = kavro.medium("liver")


def test_heat_rate_of_harmonics():
    p = np.array([[3e5, 1e5j, -2e4], [1e4, 2e3, 0]])
    nepers = 0.45 * np.arange(1, 4) ** 1.05 * 100 / 8.685889638
    expected = abs(p) ** 2 @ nepers / (1050 * 1578)
    assert np.allclose(kavro.heat_rate(p, LIVER, 1e6, harmonics=3), expected, rtol=1e-9)
    assert np.allclose(
        kavro.heat_rate(p[:, 1], LIVER, 2e6, law="march"),
        abs(p[:, 1]) ** 2 * 2 * nepers[0] / (1050 * 1578),
        rtol=1e-9,
    )
    with pytest.raises(kavro.InputError, match="of 2 harmonics along its last dimension"):
        kavro.heat_rate(p, LIVER, 1e6, harmonics=2)


def test_temperature_between_walls_and_switched_heat():
    grid = kavro.Grid(x=(0, 10e-3, 0.1e-3))
    x = kavro.grid_axes(grid)[0]
    sides = ["insulated", "fixed", "fixed", "fixed", "insulated", "fixed"]
    T = kavro.bioheat(
        1e5, grid, LIVER, [0, 1e5], walls=sides, wall_temperature=20, start_temperature=30 + x
    )
    assert T.shape == (101, 1, 1, 2) and T.flags.f_contiguous
    assert np.allclose(T[:-1, 0, 0, 0], 30 + x[:-1], rtol=0, atol=1e-12)
    steady = 20 + 1e5 * (10e-3**2 - x**2) / (2 * LIVER.thermalconductivity)
    assert np.allclose(T[:, 0, 0, 1], steady, rtol=0, atol=1e-3)
    heated = 3e5 / (LIVER.density * LIVER.specificheat)
    for times in (np.arange(5) * 10, kavro.Times(0, 40, 10), kavro.Instants([0, 10, 20, 30, 40])):
        T = kavro.bioheat(3e5, grid, LIVER, times, switching=[(10, 2), (20, 0)])
        assert np.allclose(T[50, 0, 0] - 37, heated * np.array([0, 0, 20, 20, 20]))
    with pytest.raises(kavro.InputError, match="of the shape \\(101, 1, 1\\)"):
        kavro.bioheat(np.ones(100), grid, LIVER, [1])
    with pytest.raises(kavro.InputError, match="'walls' must be 'insulated' or 'fixed'"):
        kavro.bioheat(0, grid, LIVER, [1], walls="open")


def test_minutes_at_43_degrees():
    assert np.allclose(kavro.thermal_dose([[43, 43], [44, 44], [42, 42]], [30, 90]), [1, 2, 0.25])
    t = [0, 20, 50, 60, 300]
    T = np.array([37, 44.5, 41, 41.000001, 37])
    fine = np.linspace(0, 300, 300001)
    line = np.interp(fine, t, T)
    rate = 2 ** ((line - 43) * (1 + (line < 43)))
    assert np.isclose(kavro.thermal_dose(T, t), np.trapz(rate, fine) / 60, rtol=0, atol=1e-7)


def test_random_places_are_those_of_the_toolbox():
    flat = kavro.random_array(5, 10e-3, 1e-3, seed=3)
    assert flat.center[4].tolist() == [-0.006973559462852638, 0.0016433319186070817, 0]
    bowl = kavro.random_array(100, 30e-3, 1.5e-3, rad_curvature=50e-3, minimum_gap=0.5e-3)
    apart = np.linalg.norm(bowl.center[:, None] - bowl.center, axis=-1)
    assert apart[~np.eye(100, dtype=bool)].min() >= 3.5e-3
    arrival = kavro.focus_delays(bowl, (0, 0, 50e-3), LIVER)
    assert np.allclose(arrival, 0, atol=1e-18)
    with pytest.raises(kavro.InputError, match="only 301 of 500 elements have found room"):
        kavro.random_array(500, 60e-3, 2.5e-3)


def test_focus_at_one_point_and_at_several():
    array = kavro.random_array(40, 15e-3, 1.2e-3, rad_curvature=40e-3, seed=2)
    points = np.array([(4e-3, -2e-3, 45e-3), (-4e-3, 0, 40e-3), (0, 5e-3, 42e-3)])

    def there(elements, at=points, **options):
        return kavro.solve("fnm_cw", elements, kavro.Points(at), LIVER, f0=1.5e6, **options)

    most = abs(there(array, points[:1], per_element=True)).sum()
    focused = kavro.focus(array, points[0], LIVER, f0=1.5e6)
    by_delays = focused.replace(phase=0)
    for elements in (focused, by_delays):
        p = kavro.pressure(elements, kavro.Points(points[:1]), LIVER, f0=1.5e6)
        assert np.isclose(abs(p[0]), most, rtol=0.01)
    assert np.isclose(abs(there(focused, points[:1])[0]), most, rtol=0.01)
    with pytest.warns(UserWarning, match="does not read the elements' delays"):
        there(by_delays)
    wanted = np.array([1e5, 2e5j, -3e5])
    assert np.allclose(there(kavro.focus(array, points, LIVER, f0=1.5e6, pressures=wanted)), wanted)
    uniform = kavro.focus(array, points, LIVER, f0=1.5e6, uniform=True)
    p = abs(there(uniform))
    assert np.allclose(p / p.mean(), 1, atol=1e-3) and np.allclose(uniform.amplitude, 1)


def test_windows():
    for name in ("rectangular", "cosine", "hann", "hamming", "blackman", "tukey", "gaussian"):
        w = kavro.window(name, 24)
        assert np.array_equal(w, w[::-1]) and (np.diff(w[:12]) >= 0).all() and w.max() <= 1
    for name, other in (("hann", np.hanning), ("hamming", np.hamming), ("blackman", np.blackman)):
        assert np.allclose(kavro.window(name, 9), other(9))
    assert np.allclose(kavro.window("tukey", 9, 1), np.hanning(9))
