"""Results, their shapes and their errors; what goes in and out as arrays."""

import dataclasses
import functools
import operator
import os
import pickle

import kavro
import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st
from hypothesis.extra.numpy import arrays

settings.register_profile("kavro", derandomize=True, database=None, deadline=None, max_examples=60)
settings.load_profile("kavro")

WATER = kavro.water()
GRID = kavro.Grid(x=(-2e-3, 2e-3, 1e-3), y=(0, 1e-3, 1e-3), z=(5e-3, 20e-3, 5e-3))
POINTS = kavro.Points([[0, 0, 5e-3], [1e-3, 0, 9e-3], [2e-3, 1e-3, 20e-3]])
MEMORY = os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGE_SIZE")
TIMES = kavro.Times(0, 20e-6, 100e-9)
PULSE = kavro.hanning_pulse(1e6, 3e-6)
PAIR = kavro.disc(2e-3, center=(-3e-3, 0, 0), time_delay=2e-7) + kavro.disc(2e-3, amplitude=-2)


def tsd(elements=PAIR, grid=GRID, **options):
    options = {"time": TIMES, "excitation": PULSE, **options}
    return kavro.solve("fnm_tsd", elements, grid, WATER, **options)


def cw(elements=PAIR.replace(time_delay=0), grid=GRID, **options):
    return kavro.solve("fnm_cw", elements, grid, WATER, **{"f0": 1e6, **options})


def test_continuous_wave_on_the_axis():
    """p = rho c (exp(-jkz) - exp(-jk sqrt(z^2 + a^2)))"""
    z = np.arange(5e-3, 35e-3, 5e-3)
    k = 2 * np.pi * 1e6 / WATER.soundspeed
    disc = kavro.disc(4e-3, amplitude=2).replace(phase=0.5)
    p = cw(disc, kavro.Points(np.stack([0 * z, 0 * z, z], axis=1)))
    both = np.exp(-1j * k * z) - np.exp(-1j * k * np.hypot(z, 4e-3))
    expected = 2 * np.exp(0.5j) * WATER.density * WATER.soundspeed * both
    np.testing.assert_allclose(p, expected, atol=1e-9 * abs(expected).max())


def test_shapes_order_and_the_callers_own_array():
    disc = kavro.disc(4e-3)
    plane = kavro.Grid(x=(0, 5e-3, 1e-3), z=(5e-3, 30e-3, 5e-3))
    march = {"extent": 4, "points_per_radius": 20, "growth": 0.02, "harmonics": 2}
    results = [
        (tsd(), (5, 2, 4, 201), float),
        (tsd(grid=POINTS), (3, 201), float),
        (cw(), (5, 2, 4), complex),
        (cw(grid=POINTS), (3,), complex),
        (kavro.solve("kzk_cw", disc, plane, WATER, f0=1e6, kzk=march), (6, 6, 2), complex),
        (kavro.solve("impulse_begin_and_end_times", PAIR, GRID, WATER), (2, 2), float),
        (tsd(grid=kavro.Points(np.zeros((0, 3)))), (0, 201), float),
    ]
    for p, shape, kind in results:
        assert p.shape == shape and p.dtype == kind and p.flags.f_contiguous
    one = kavro.Points(np.stack([axis[1] for axis in kavro.grid_axes(GRID)])[None])
    assert np.array_equal(tsd()[1, 1, 1], tsd(grid=one)[0])

    for solve in (tsd, cw):
        expected = solve()
        out = np.full_like(expected, np.nan)
        assert solve(out=out) is out and np.array_equal(out, expected)
    for wrong in (
        np.zeros((5, 2, 4, 201)),
        np.zeros((5, 2, 4, 201), np.float32, "F"),
        np.zeros((5, 2, 4), order="F"),
        [0.0],
    ):
        with pytest.raises(kavro.InputError, match="'out'.*NumPy|'out'.*float64.*5, 2, 4, 201"):
            tsd(out=wrong)


def test_measures_are_those_of_the_field():
    p = tsd()
    expected = {"peak": np.abs(p).max(axis=3), "peak_negative": p.min(axis=3)}
    for names in (["peak", "peak_negative"], ("peak_negative", "peak")):
        found = tsd(measure=names)
        assert list(found) == list(names)
        assert all(np.array_equal(found[name], expected[name]) for name in names)
    out = np.full((5, 2, 4), np.nan, order="F")
    assert tsd(measure="peak", out=out) is out and np.array_equal(out, expected["peak"])
    each = tsd(measure="peak", grid=POINTS, per_element=True)
    assert each.shape == (3, 2)
    assert np.array_equal(each[:, 1], tsd(PAIR[1], POINTS, measure="peak"))
    for wrong, text in (
        ({"measure": ["peak"], "out": out}, "'out' takes one array"),
        ({"measure": ["peak", "loud"]}, "or a list of them, not 'loud'"),
        ({"measure": ["peak", 1]}, "'measure' must be one of 'peak'"),
        ({"measure": []}, "'measure' must be one of 'peak'"),
    ):
        with pytest.raises(kavro.InputError, match=text):
            tsd(**wrong)


def test_report_tells_what_was_done():
    p, report = cw(report=True)
    assert np.array_equal(p, cw(tolerance=1e-4)) and report.method == "fnm_cw"
    assert report.tolerance == 1e-4 and report.points == 40
    assert (report.unreached, report.worst_point, report.reason) == (0, None, "")
    fewest, mean, most = report.abscissas
    assert 0 < fewest < mean < most < 64
    peaks, report = tsd(report=True, measure=["peak"], ndiv=20)
    assert list(peaks) == ["peak"] and report.tolerance is None
    assert report.abscissas == (20, 20, 20)

    out = np.zeros((1, 201), order="F")
    burst = {"excitation": kavro.tone_burst(1.03e6, 2.7e-6), "tolerance": 1e-9}
    with pytest.warns(UserWarning, match="The tolerance is not reached at 1 of 1 points"):
        p, report = tsd(PAIR[0], kavro.Points([[1e-3, 0, 5e-3]]), **burst, out=out, report=True)
    assert p is out and report.unreached == 1 and report.worst_point == (1e-3, 0, 5e-3)
    assert report.worst_error > 1e-9 and report.reason


def test_pressure_chooses_by_what_is_asked():
    wave, report = kavro.pressure(PAIR, GRID, WATER, f0=1e6, report=True)
    turned = PAIR.replace(phase=-2e6 * np.pi * PAIR.time_delay)
    expected = cw(turned, ndiv=100)
    np.testing.assert_allclose(wave, expected, atol=1e-4 * abs(expected).max())
    assert (report.method, report.unreached) == ("fnm_cw", 0)
    over_time = {"time": TIMES, "excitation": PULSE, "measure": "peak"}
    peak = kavro.pressure(PAIR, GRID, WATER, **over_time)
    expected = abs(tsd(ndiv=100)).max(axis=-1)
    np.testing.assert_allclose(peak, expected, atol=2e-3 * expected.max())
    with pytest.raises(kavro.InputError, match="'f0'"):
        kavro.pressure(PAIR, GRID, WATER)
    # Single precision would be accurate enough, but keeps no such tolerance.
    near, fine = kavro.Points([[0, 0, 1e-5]]), {**over_time, "tolerance": 7e-6, "report": True}
    assert kavro.pressure(kavro.disc(3e-4), near, WATER, **fine)[1].method == "fnm_tsd"


NUMBERS = st.sampled_from(("i1", "u2", ">i4", "u8", "f2", "f4", ">f8", "f8", "g")).flatmap(
    lambda kind: arrays(kind, (6, 9), elements=st.integers(1, 100))
)
STEPS = st.sampled_from([-3, -2, -1, 1, 2])


@given(NUMBERS, STEPS, STEPS, st.booleans(), st.booleans())
def test_numbers_of_any_real_type_and_stride(numbers, down, across, turned, listed):
    rows = (numbers.T if turned else numbers)[::down, ::across]
    rows = rows[:, :3] if rows.shape[1] > 2 else rows[:, [0, 1, 1]]
    plain = np.array(rows, np.float64, order="C")
    given_as = rows.tolist() if listed else rows
    points = kavro.Points(given_as)
    pair = PAIR.replace(amplitude=given_as[0][:2], time_delay=0)
    ndiv = rows[0, 0].copy()
    numbers[:] = 0  # which belong to the caller
    p = cw(pair, points, ndiv=ndiv)
    same = PAIR.replace(amplitude=plain[0, :2], time_delay=0)
    assert np.array_equal(p, cw(same, kavro.Points(plain), ndiv=int(plain[0, 0])))


def test_what_is_not_a_real_number_is_refused():
    good = np.zeros(2)
    for fault in (
        good + 1j,
        good.astype(object),
        good.astype(str),
        np.zeros(3),
        np.zeros((2, 1)),
        [1, [2, 3]],
        None,
        True,
    ):
        with pytest.raises(kavro.InputError, match="amplitude"):
            PAIR.replace(amplitude=fault)
    with pytest.raises(kavro.InputError, match="'coordinates' must be n x 3"):
        kavro.Points(np.zeros((3, 2)))
    with pytest.raises(kavro.InputError, match="'soundspeed' must be one real number"):
        dataclasses.replace(WATER, soundspeed=[1500, 1600])
    for option in ({"f0": 1e6 + 1j}, {"f0": "1e6"}):
        with pytest.raises(kavro.InputError, match="The option 'f0' must be one positive number"):
            cw(**option)


@pytest.mark.parametrize(
    ("error", "text", "call"),
    [
        (
            kavro.InputError,
            "There is no method 'fnm'.",
            lambda: kavro.solve("fnm", PAIR, GRID, WATER),
        ),
        (TypeError, "There is no option 'f'. fnm_tsd takes the options 'time', ", lambda: tsd(f=1)),
        (TypeError, "The option 'f0' is not used by fnm_tsd.", lambda: tsd(f0=1e6)),
        (
            kavro.InputError,
            "fnm_tsd needs the option 'time', made by kavro.Times",
            lambda: tsd(time=None),
        ),
        (
            kavro.InputError,
            "'medium' must be a Medium, but it is",
            lambda: kavro.solve("fnm_cw", PAIR, GRID, 1, f0=1),
        ),
        (kavro.InputError, "(element 1)", lambda: tsd(PAIR.replace(radius=[1, np.nan]))),
        (
            kavro.InputError,
            "shape 'polygon', element 2",
            lambda: kavro.solve(
                "impulse_response",
                PAIR + kavro.polygon([[0, 0], [1, 0], [0, 1]]),
                GRID,
                WATER,
                time=TIMES,
            ),
        ),
        (
            kavro.InputError,
            "'kzk' must be a dict with the fields 'extent'",
            lambda: kavro.solve("kzk_cw", PAIR[0], GRID, WATER, f0=1e6, kzk=3),
        ),
        (kavro.InputError, "one row or one row per element", lambda: tsd(excitation=[PULSE] * 3)),
    ],
)
def test_errors(error, text, call):
    with pytest.raises(error) as raised:
        call()
    assert type(raised.value) is error and text in str(raised.value)


@pytest.mark.skipif(MEMORY > 30e9, reason="a result that has no room here cannot be asked for")
def test_what_does_not_fit_into_memory_is_told_before():
    with pytest.raises(MemoryError, match="output values is too large"):
        cw(grid=kavro.Grid(x=(0, 1, 1e-3), y=(0, 1, 1e-3), z=(0, 2, 1e-3)))


def test_warnings():
    with pytest.warns(UserWarning, match="Non-zero attenuation") as record:
        kavro.solve("fnm_tsd", PAIR, POINTS, kavro.medium("fat"), time=TIMES, excitation=PULSE)
        missed = kavro.Times(0, 10, 1)
        kavro.pressure(PAIR, POINTS, kavro.water(), time=missed, excitation=PULSE)
    assert [warning.filename for warning in record] == 2 * [__file__]


def test_parts_of_a_grid_join_to_the_whole():
    for grid, whole in ((GRID, tsd()), (GRID, cw()), (POINTS, tsd(grid=POINTS))):
        solve = cw if np.iscomplexobj(whole) else tsd
        parts = [solve(grid=part) for part in kavro.split_grid(grid, 3)]
        assert len(parts) == 3
        assert np.array_equal(kavro.join_field(parts, grid), whole)
    with pytest.raises(kavro.InputError, match="'parts' must be as many rows"):
        kavro.join_field(parts, GRID)


CORNERS = [[0, 0], [2e-3, 0], [0, 1e-3]]
KINDS = (
    kavro.disc(1e-3).replace(apodization="cosine"),
    kavro.polygon(CORNERS, center=(1e-3, 0, 0)),
    kavro.rectangular_piston(1e-3, 2e-3, euler=(0.1, 0.2, 0)),
    kavro.spherical_ring(1e-3, 2e-3, 5e-3, amplitude=3).replace(phase=1),
)


@given(st.data(), st.lists(st.sampled_from(KINDS), min_size=1, max_size=6))
def test_elements_are_a_sequence(data, ones):
    """As a list of elements is."""
    n = len(ones)
    whole = functools.reduce(operator.add, ones)
    assert len(whole) == n and list(whole) == ones and whole == whole[:]
    for chosen in (
        data.draw(st.slices(n)),
        data.draw(st.lists(st.integers(-n, n - 1), min_size=1)),
    ):
        by_hand = ones[chosen] if isinstance(chosen, slice) else [ones[i] for i in chosen]
        if by_hand:
            assert whole[chosen] == functools.reduce(operator.add, by_hand)
    copied = pickle.loads(pickle.dumps(whole))
    assert copied == whole and all(map(np.array_equal, copied.corners, whole.corners))
    amplitude = np.arange(n) + 1.0
    changed = whole.replace(amplitude=amplitude)
    assert changed != whole or n == 1
    assert changed[amplitude > 1] == changed[1:] and np.array_equal(changed.amplitude, amplitude)
    assert changed.replace(amplitude=whole.amplitude) == whole


def test_elements_do_not_change():
    mixed = functools.reduce(operator.add, KINDS)
    with pytest.raises(ValueError, match="read-only"):
        mixed.amplitude[0] = 2
    with pytest.raises(IndexError):
        mixed[4]
    for changes in (
        {"amplitude": [1, 2]},
        {"center": np.zeros((2, 3))},
        {"corners": [CORNERS] * 2},
    ):
        with pytest.raises(kavro.InputError, match=f"'{next(iter(changes))}' must be one, or 4"):
            mixed.replace(**changes)
        with pytest.raises(kavro.InputError, match="must be one, or 1"):
            mixed[0].replace(**changes)


def test_scenes_equal_and_pickle():
    for scene in (GRID, TIMES, PULSE, WATER):
        assert pickle.loads(pickle.dumps(scene)) == scene
    assert kavro.waveform("Hanning pulse", 1e6, 3e-6) == PULSE
    assert GRID.shape == (5, 2, 4) == tuple(map(len, kavro.grid_axes(GRID)))
    assert np.array_equal(kavro.time_axis(kavro.Times(0, 1, 0.1)), np.arange(11) * 0.1)
    assert kavro.grid_axes(kavro.Grid(x=(-0.3, 0.3, 0.1)))[0][3] == 0  # 3 * 0.1 is not 0.3
    for wrong in ((0, 1), (1, 0, 0.1), (0, 1, 0), (0, np.inf, 1), "x"):
        with pytest.raises(kavro.InputError, match="Grid: 'y' must be"):
            kavro.Grid(y=wrong)


def test_makers_refuse_what_overlaps_or_has_no_shape():
    for call, text in (
        (lambda: kavro.linear_array(4, 1e-3, 0.6e-3), "the diameter 0.0012 m"),
        (
            lambda: kavro.planar_array((2, 2), 1e-3, width=1e-3, height=2e-3),
            "the size 0.001, 0.002 m",
        ),
        (lambda: kavro.linear_array(4, 1e-3), "'radius' must be given for discs"),
        (
            lambda: kavro.linear_array(2.5, 1e-3, 1e-4),
            "a whole number from 1 to 4000000, but it is",
        ),
        (
            lambda: kavro.linear_array(10**9, 1e-3, 1e-4),
            "a whole number from 1 to 4000000, but it is",
        ),
        (
            lambda: kavro.ring_array(10**9, 1e-3, 1e-4),
            "a whole number from 2 to 4000000, but it is",
        ),
        (lambda: kavro.planar_array((10**5, 41), 1e-3, 1e-4), "no more than 4000000 elements"),
        (lambda: kavro.random_array(10**8, 1, 1e-9), "at most 4000000, but it is 100000000"),
        (
            lambda: kavro.rectangular_piston(1, 1, elevation_focus=1, wavelength=1e-300),
            "'wavelength' must be so long that 4000000 strips suffice",
        ),
        (lambda: kavro.convex_array(9, 1e-3, 4e-4, rad_curvature=2e-3), "half a circle"),
        (lambda: kavro.ring_array(4, 1e-3, 1e-4, ring_radius=1), "and not both"),
        (lambda: kavro.bowl_array(kavro.disc(1, center=(0, 0, 1)), 9), "in the plane z = 0"),
        (lambda: kavro.concentric_rings([[0, 2], [1, 3]]), "that do not overlap"),
        (lambda: kavro.annular_array(4, 1e-3, 1e-3), "hole and gaps together, 0.003 m"),
        (lambda: kavro.polygon([[0, 0], [1, 1], [1, 0], [0, 1]]), "around a convex face"),
        (lambda: kavro.spherical_shell(2, 1), "at least the radius of the rim, 2 m"),
        (lambda: kavro.ring(2, 1), "larger than inner_radius, 2 m"),
        (lambda: kavro.sampled([0], 1), "two or more real numbers"),
        (lambda: kavro.medium("steel"), "one of 'water', 'lossy water'"),
    ):
        with pytest.raises(kavro.InputError) as raised:
            call()
        assert text in str(raised.value)


def test_beam_width():
    x = np.linspace(-5e-3, 5e-3, 401)
    width, left, right = kavro.beam_width(x, np.exp(-((x - 1e-3) ** 2) / 1e-6) * 1j)
    half = 1e-3 * np.sqrt(0.3 * np.log(10))
    np.testing.assert_allclose(
        [width, left, right], [2 * half, 1e-3 - half, 1e-3 + half], atol=1e-6
    )
    assert np.isnan(kavro.beam_width(x, x + 1)).tolist() == [True, True, True]


def test_xarray():
    pytest.importorskip("xarray")
    field = kavro.to_xarray(tsd(), GRID, TIMES)
    assert field.dims == ("x", "y", "z", "time") and field.time.attrs["units"] == "s"
    at = field.sel(x=1e-3, y=0, z=10e-3, method="nearest")
    assert np.array_equal(at, tsd()[3, 0, 1])
    assert kavro.to_xarray(cw(grid=POINTS), POINTS).z.values.tolist() == [5e-3, 9e-3, 20e-3]
    for each, times, dims in (
        (tsd(per_element=True), TIMES, ("x", "y", "z", "time", "element")),
        (cw(per_element=True), None, ("x", "y", "z", "element")),
        (tsd(grid=POINTS, per_element=True, measure="peak"), None, ("point", "element")),
    ):
        grid = POINTS if "point" in dims else GRID
        field = kavro.to_xarray(each, grid, times)
        assert field.dims == dims and field.element.values.tolist() == [0, 1]
    march = kavro.to_xarray(np.zeros((5, 4, 3)), dataclasses.replace(GRID, y=0))
    assert march.dims == ("x", "z", "harmonic") and march.harmonic.values.tolist() == [1, 2, 3]
    with pytest.raises(kavro.InputError, match="'p' must be an array of the shape"):
        kavro.to_xarray(tsd(), GRID, kavro.Times(0, 1, 1))


def test_several_frequencies_are_one_more_dimension():
    frequencies = [1e6, 1.5e6, 2e6, 2.5e6]
    p = cw(f0=frequencies)
    assert p.shape == (5, 2, 4, 4) and cw(grid=POINTS, f0=np.array(frequencies)).shape == (3, 4)
    for i, f0 in enumerate(frequencies):
        alone = cw(f0=f0)
        assert alone.shape == (5, 2, 4)
        assert np.abs(p[..., i] - alone).max() < 1e-4 * np.abs(alone).max()
    assert np.array_equal(cw(f0=[1e6])[..., 0], cw(f0=1e6))  # a list of one is a list
    assert cw(f0=frequencies, per_element=True).shape == (5, 2, 4, 4, 2)
    for wrong in ([], [1e6, "2e6"], [[1e6, 2e6], [1e6, 2e6]], [1e6, -1.0], 0):
        with pytest.raises(kavro.InputError, match="'f0' must be one positive .* or a vector"):
            cw(f0=wrong)
    pytest.importorskip("xarray")
    field = kavro.to_xarray(p, GRID, f0=frequencies)
    assert field.dims == ("x", "y", "z", "frequency")
    assert field.sel(frequency=2e6, z=4e-3, method="nearest").shape == (5, 2)
    with pytest.raises(kavro.InputError, match=r"shape \(5, 2, 4, 2\)"):
        kavro.to_xarray(p, GRID, f0=[1e6, 2e6])
