"""Channels, lenses, transmit events, responses: what echoes need around the solver."""

import kavro
import numpy as np
import pytest

WATER = kavro.water()
C = WATER.soundspeed
LENS = {"elevation_focus": 25e-3, "wavelength": C / 5e6}


def cylinder_field(points, width, height, focus, f0):
    """The Rayleigh integral over a part of a cylinder."""
    k = 2 * np.pi * f0 / C
    x, across = np.polynomial.legendre.leggauss(12)
    angle, along = np.polynomial.legendre.leggauss(300)
    top = np.arcsin(height / 2 / focus)
    x, across = x[:, None] * width / 2, across[:, None] * width / 2
    y, z = focus * np.sin(top * angle), focus - focus * np.cos(top * angle)
    weights = across * along * top * focus
    r = [np.sqrt((p[0] - x) ** 2 + (p[1] - y) ** 2 + (p[2] - z) ** 2) for p in points]
    integrals = [(weights * np.exp(-1j * k * r) / r).sum() for r in r]
    return 1j * k * WATER.density * C / (2 * np.pi) * np.array(integrals)


def test_lens_is_the_cylinder():
    sizes = 0.27e-3, 7e-3
    piston = kavro.rectangular_piston(*sizes, **LENS)
    area = 2 * 25e-3 * np.arcsin(3.5 / 25) * 0.27e-3
    assert (piston.width * piston.height).sum() == pytest.approx(area, rel=1e-12)

    y = np.linspace(0, 7e-3, 12)
    for z, most in ((5e-3, 1e-4), (25e-3, 1e-5), (50e-3, 1e-5)):
        points = [(x, at, z) for x in (0, 8e-3) for at in y]
        expected = cylinder_field(points, *sizes, 25e-3, 5e6)
        p = kavro.solve("fnm_cw", piston, kavro.Points(points), WATER, f0=5e6, tolerance=1e-7)
        assert np.abs(p - expected).max() < most * np.abs(expected).max()


def test_arrays_under_a_lens():
    def field(elements):
        points = kavro.Points([(1e-3, 0.5e-3, 8e-3), (0, 2e-3, 25e-3), (-3e-3, -1e-3, 40e-3)])
        return kavro.solve("fnm_cw", elements, points, WATER, f0=5e6)

    # Rows that touch are one tall rectangle; elements on an arc are turned pistons.
    rows = kavro.planar_array((2, 3), (0.3e-3, 2e-3), width=0.27e-3, height=2e-3, **LENS)
    tall = kavro.linear_array(2, 0.3e-3, width=0.27e-3, height=6e-3, **LENS)
    np.testing.assert_allclose(field(rows), field(tall), rtol=1e-3)
    assert np.unique(rows.channel).tolist() == [0, 1, 2, 3, 4, 5]

    sizes = {"width": 0.27e-3, "height": 7e-3}
    flat = kavro.convex_array(3, 0.3e-3, rad_curvature=10e-3, **sizes, amplitude=[1, 2, 3])
    arc = kavro.convex_array(3, 0.3e-3, rad_curvature=10e-3, **sizes, **LENS, amplitude=[1, 2, 3])
    for i, one in enumerate(flat):
        place = {"center": one.center[0], "euler": one.euler[0], "amplitude": i + 1}
        piston = kavro.rectangular_piston(*sizes.values(), **place, **LENS)
        assert arc[arc.channel == i] == piston.replace(channel=i)

    # A wave that starts together meets in the focal line together, from all strips.
    assert np.ptp(kavro.focus_delays(tall.replace(channel=0), (0, 0, 25e-3), WATER)) == 0
    away = np.linalg.norm(tall.center[:, 1:] - [0, 25e-3], axis=1)
    assert np.ptp(away) < 1e-15 and 25e-3 - away[0] < 2e-6


def test_channels_of_joined_and_chosen_elements():
    def count(elements):
        return kavro.synthetic_aperture_events(elements).delays.shape[1]

    array = kavro.linear_array(4, 1e-3, 0.4e-3)
    assert count(array) == 4 and count((array + array)[::2]) == 4
    rows = kavro.planar_array((2, 3), 1e-3, 0.4e-3).replace(channel=[5, 3, 4, -1, 5, 3])
    turn = np.array([[0.6, 0.8, 0], [-0.8, 0.6, 0], [0, 0, 1]])
    rows = rows.replace(center=rows.center @ turn + 0.01)
    expected = np.array([(0.5e-3, 0, 0), (-0.5e-3, 0, 0), (-0.5e-3, 0, 0), (0.5e-3, 0, 0)])
    origin = kavro.synthetic_aperture_events(rows).origin
    np.testing.assert_allclose(origin, expected @ turn + 0.01, atol=1e-15)
    assert count(rows + array) == 8

    delays = rows.replace(time_delay=[1, 2, 3, 4]).time_delay
    assert delays.tolist() == [3, 1, 2, 4, 3, 1]
    delays = rows.replace(time_delay=kavro.focus_delays(rows, (2e-3, 0, 9e-3), WATER)).time_delay
    assert delays[0] == delays[4] and delays[1] == delays[5]
    with pytest.raises(kavro.InputError, match="6, one for each element, or 4, one for each chan"):
        rows.replace(phase=[1, 2, 3])
    with pytest.raises(kavro.InputError, match="'channel' must be a whole number, 0 or more"):
        rows.replace(channel=1.5)


def moved_array():
    """Off the origin and turned, so that nothing is where it is by chance."""
    array = kavro.linear_array(48, 0.35e-3, 0.15e-3)
    return array.replace(center=array.center + [2e-3, 1e-3, -4e-3])


def peak_times(elements, events, event, points):
    """When the waves of an event have their largest envelope."""
    fires = events.apodization[event] > 0
    fired = elements[fires].replace(time_delay=events.delays[event, fires])
    times = kavro.Times(-10e-6, 50e-6, 20e-9)
    pulse = kavro.hanning_pulse(2e6, 2e-6)
    scene = {"time": times, "excitation": pulse}
    p = kavro.solve("fnm_tsd", fired, kavro.Points(points), WATER, **scene)
    spectrum = np.fft.fft(p, axis=1)
    spectrum[:, p.shape[1] // 2 :] = 0
    return times.tmin + 20e-9 * np.abs(np.fft.ifft(spectrum, axis=1)).argmax(axis=1) - 1e-6


def stated_times(events, event, points):
    origin, direction, distance = (
        getattr(events, name)[event] for name in ("origin", "direction", "distance")
    )
    if np.isinf(distance):
        return (points - origin) @ direction / C
    away = points - origin - distance * direction
    return (distance + np.sign(away @ direction) * np.linalg.norm(away, axis=1)) / C


def test_waves_are_where_events_say():
    array = moved_array()
    plane = kavro.plane_wave_events(array, [0.2, -0.1], WATER, origin=(0, 0, 5e-3))
    points = [(6e-3, 1e-3, 25e-3), (1e-3, 1e-3, -19e-3), (2e-3, 1e-3, 3e-3)]
    focused = kavro.focused_events(array, points, WATER, origin=(0, 1e-3, 6e-3))
    single = kavro.synthetic_aperture_events(array, aperture=[40, 3])
    assert np.all(focused.distance[:2] * [1, -1] > 0) and focused.distance[2] < 0
    for events, event, at in (
        (plane, 0, [(6e-3, 1e-3, 20e-3), (3e-3, 1e-3, 8e-3)]),
        (plane, 1, [(0, 1e-3, 20e-3)]),
        (focused, 0, [(6e-3, 1e-3, 25e-3)]),
        (focused, 1, [(2e-3, 1e-3, 20e-3), (6e-3, 1e-3, 30e-3)]),
        (focused, 2, [(2e-3, 1e-3, 3e-3)]),
        (single, 0, [(-5e-3, 1e-3, 12e-3)]),
    ):
        late = peak_times(array, events, event, np.array(at)) - stated_times(
            events, event, np.array(at)
        )
        assert np.abs(late).max() < 0.05e-6, (event, late)  # a tenth of the period


def test_parts_of_arrays_fire():
    array = kavro.linear_array(64, 0.3e-3, width=0.27e-3, height=5e-3)

    def firing(events):
        assert np.array_equal(np.isnan(events.delays), events.apodization == 0)
        return [np.flatnonzero(row).tolist() for row in events.apodization]

    points = [(0.15e-3, 0, 12e-3), (-9.45e-3, 0, 12e-3), (0, 0, -6e-3)]
    by_ratio = firing(kavro.focused_events(array, points, WATER, f_number=4))
    # 1.5 mm to both sides of elements 32 and 0, 0.75 mm to both sides of the middle.
    assert by_ratio == [[*range(27, 38)], [*range(0, 6)], [*range(29, 35)]]
    by_count = firing(kavro.focused_events(array, points, WATER, count=3))
    assert by_count == [[31, 32, 33], [0, 1, 2], [30, 31, 32]]
    half = np.arange(64) < 32
    both = kavro.focused_events(array, points[:1], WATER, count=3, aperture=half)
    assert firing(both) == [[29, 30, 31]]
    mask = np.zeros((2, 64), bool)
    mask[0, 5] = mask[1, 6:8] = True
    plane = kavro.plane_wave_events(array, [0, 0.1], WATER, aperture=mask)
    assert firing(plane) == [[5], [6, 7]] and firing(plane[1]) == [[6, 7]] and len(plane) == 2
    for wrong in ([64], [1, 1], [True] * 63, np.zeros((2, 64), bool), [0.5]):
        with pytest.raises(kavro.InputError, match="from 0 to 63, or 64 or 2 x 64 truths"):
            kavro.plane_wave_events(array, [0, 0.1], WATER, aperture=wrong)


@pytest.mark.parametrize("two_way", [False, True])
def test_response_has_its_band_and_no_gain(two_way):
    response = kavro.transducer_response(5e6, 0.6, two_way=two_way)
    f = np.linspace(0, 12e6, 12001)
    t = response.ts * np.arange(len(response.signal)) - response.delay
    spectrum = np.exp(-2j * np.pi * f[:, None] * t) @ response.signal * response.ts
    assert np.abs(spectrum).max() == pytest.approx(1, abs=1e-6)
    assert np.abs(spectrum.imag).max() < 1e-9  # symmetric about its delay
    level = np.abs(spectrum) ** (2 if two_way else 1)
    assert f[level > 10**-0.3].ptp() == pytest.approx(3e6, abs=2e3)
    assert response.delay == pytest.approx(response.w / 2, rel=1e-12)


def test_scatterers_are_checked():
    made = kavro.Scatterers([(0, 0, 1e-2), (0, 1e-3, 2e-2)], -1e-4, 2, 5e6)
    assert made.positions.shape == (2, 3) and made.strengths.tolist() == [-1e-4, -1e-4]
    assert len(kavro.Scatterers(np.zeros((0, 3)), []).strengths) == 0
    for arguments, message in (
        (([0, 0, 1], 1), "'positions' must be n x 3"),
        (([(0, 0, np.nan)], 1), "'positions' must be n x 3"),
        (([(0, 0, 1)], [1, 2]), "'strengths' must be one real number .m., or 1,"),
        (([(0, 0, 1)], np.inf), "'strengths'"),
        (([(0, 0, 1)], 1, 2), "'reference_frequency' must be a positive real number .Hz."),
        (([(0, 0, 1)], 1, -1), "'exponent'"),
    ):
        with pytest.raises(kavro.InputError, match=message):
            kavro.Scatterers(*arguments)
