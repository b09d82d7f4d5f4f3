"""Every linear method of every shape against what geometry says (oracle.py), at sizes and frequencies
that users have. Bounds are shares of the largest value."""

import csv
import pathlib

import kavro
import numpy as np
import oracle
import pytest

MHZ, MM = 1e6, 1e-3
LOSSLESS = kavro.medium("liver", attenuationdBcmMHz=0)
LIVER = kavro.medium("liver")
LINEAR = kavro.Medium(1540.3, 1060.3, 8, 1)  # losses show in the prefactor, roundings in k
PENTAGON = [[-2, -1], [1, -1.5], [2, 0.5], [0, 2], [-1.5, 1]]

# A face, its frequency, how large and how far away what it sees is.
FACES = {
    "disc": (kavro.disc(3 * MM), 1 * MHZ, 3 * MM, 6 * MM),
    "ring": (kavro.ring(1.2 * MM, 3 * MM), 1.5 * MHZ, 3 * MM, 6 * MM),
    "array element": (kavro.rectangular_piston(0.25 * MM, 5 * MM), 5 * MHZ, 2 * MM, 15 * MM),
    "rectangle": (kavro.rectangular_piston(4 * MM, 6 * MM), 1 * MHZ, 3 * MM, 6 * MM),
    "pentagon": (kavro.polygon(np.multiply(PENTAGON, MM)), 2 * MHZ, 2 * MM, 5 * MM),
    "bowl": (kavro.spherical_shell(10 * MM, 35 * MM), 1 * MHZ, 8 * MM, 33 * MM),
    "deep bowl": (kavro.spherical_shell(2.985 * MM, 3 * MM), 1 * MHZ, 2 * MM, 2.7 * MM),
    "hemisphere": (kavro.spherical_shell(3 * MM, 3 * MM), 1 * MHZ, 2 * MM, 3.5 * MM),
    "ring of a bowl": (kavro.spherical_ring(4 * MM, 10 * MM, 30 * MM), 1 * MHZ, 8 * MM, 28 * MM),
}
each_face = pytest.mark.parametrize("name", FACES)
PLACES = np.array(
    [[0, 0, 1], [0, 0, 0.7], [0.13, -0.2, 0.5], [1, 0.1, 0.8], [0, -0.93, 1.4], [0.3, 0.2, 1.1]]
    + [[-1.7, 0.4, 0.9], [0.4, 2.5, 2], [0, 1, 1.2], [0, 1.5, 0.6], [0.9, 1.1, 0.7], [3, -2, 5]]
)
CLOSE = np.concatenate([PLACES, PLACES * [1, 1, 0.1], PLACES[2:] * [1, 1, 0], -PLACES[2:]])


def scene(name, places=PLACES):
    """Two elements, weighted and delayed, one of them turned, and points around them."""
    one, f0, size, distance = FACES[name]
    pair = one + one.replace(center=(0.4 * size, 0.2 * size, -0.1 * size), euler=(0.2, -0.1, 0.7))
    pair = pair.replace(amplitude=[0.8, -1.5], phase=[0.3, -2], time_delay=[1.3e-7, -2e-7])
    return pair, f0, places * [size, size, distance]


def solved(method, elements, points, medium, **options):
    return kavro.solve(method, elements, kavro.Points(points), medium, **options)


def agree(found, expected, bound):
    scale = abs(expected).max()
    assert scale > 0 and abs(found - expected).max() < bound * scale


def offers(method, elements):
    return elements.shape[0] in kavro.methods()[method].shapes


@each_face
@pytest.mark.parametrize("medium", [LOSSLESS, LIVER, LINEAR], ids=["lossless", "liver", "linear"])
def test_continuous_waves(name, medium):
    elements, f0, points = scene(name)
    expected = oracle.radiated(elements, points, oracle.wave, medium, f0)
    midpoints = name in ("disc", "ring")
    for method, bound in (
        ("fnm_cw", 2e-12),
        ("rayleigh_cw", 2e-4 if midpoints else 2e-12),
        ("fnm_cw_single", 3e-5),
        ("fnm_cw_sse", 3e-6),
        ("fnm_cw_sse2", 3e-6),
        ("rayleigh_cw_sse", 2e-4 if midpoints else 3e-6),
    ):
        if offers(method, elements):
            agree(solved(method, elements, points, medium, f0=f0, ndiv=160), expected, bound)
    p, report = kavro.pressure(
        elements, kavro.Points(points), medium, f0=f0, tolerance=1e-8, report=True
    )
    assert report.abscissas[2] < 160
    agree(p, expected, 3e-8)
    if name != "pentagon":  # whose reference is exact
        gamma = oracle.growth(medium, f0, exact=False)
        same = kavro.Medium(medium.soundspeed, medium.density, medium.attenuationdBcmMHz, 1)
        expected = oracle.radiated(elements, points, oracle.wave, same, f0)
        found = solved("fnm_cw", elements, points, medium, f0=f0, ndiv=160, exact=False)
        agree(found, expected * gamma / (1j * gamma.imag), 2e-12)


@each_face
def test_velocities_are_gradients(name):
    """By differences of the sixth order, which do not mind a focus."""
    elements, f0, points = scene(name, np.delete(PLACES, 8, axis=0))  # without that on a rim
    d = (elements.rad_curvature + elements.geometric_focus)[0]
    if d:
        elements = elements[0]
        points = np.concatenate(
            [points, d * np.array([[0, 0, 1], [1e-9, 0, 1], [0, 2e-5, 1.00003]])]
        )
    h = 0.05 * LINEAR.soundspeed / (2 * np.pi * f0)

    def change(step):
        shifts = step * h * np.repeat(np.eye(3), len(points), axis=0)
        moved = np.tile(points, (3, 1)) + shifts
        p = oracle.radiated(elements, moved, oracle.wave, LINEAR, f0, True)
        return p.reshape(3, -1).T

    slopes = sum(w * (change(k) - change(-k)) for k, w in ((1, 3 / 4), (2, -3 / 20), (3, 1 / 60)))
    p, v = solved("fnm_cw", elements, points, LINEAR, f0=f0, ndiv=200, velocity=True)
    heard = p != 0
    agree(v[heard], 1j * slopes[heard] / h / (2 * np.pi * f0 * LINEAR.density), 1e-8)


@each_face
def test_impulse_responses(name):
    elements, _, points = scene(name, CLOSE)
    if not offers("impulse_response", elements):
        return
    regular = kavro.Times(-1.1e-6, 2.5e-5, 1.53e-7)
    instants = kavro.Instants(np.roll(kavro.time_axis(regular)[:151], 41))
    for times, exact in ((regular, True), (regular, False), (instants, True)):
        arguments = (LOSSLESS, kavro.time_axis(times), exact)
        expected = oracle.radiated(elements, points, oracle.response, *arguments)
        found = solved("impulse_response", elements, points, LOSSLESS, time=times, exact=exact)
        agree(found, expected, 1e-10)


@each_face
def test_arrivals(name):
    elements, _, points = scene(name, CLOSE)
    expected = [
        oracle.arrivals(e, oracle.local(e, points), LOSSLESS) for e in oracle.each(elements)
    ]
    for i, point in enumerate(points):
        found = solved("impulse_begin_and_end_times", elements, [point], LOSSLESS)
        np.testing.assert_allclose(found, [of_one[i] for of_one in expected], rtol=0, atol=1e-16)
    found = solved("impulse_begin_and_end_times", elements, points, LOSSLESS)
    whole = [[of_one[:, 0].min(), of_one[:, 1].max()] for of_one in expected]
    np.testing.assert_allclose(found, whole, rtol=0, atol=1e-16)


@pytest.mark.parametrize("name", ["bowl", "ring of a bowl"])
def test_the_response_in_a_focus_is_one_sample(name):
    element = scene(name)[0][0]
    d, times = element.rad_curvature + element.geometric_focus, kavro.Times(1e-5, 3e-5, 1e-8)
    focus = [[0, 0, d[0]]]
    h = solved("impulse_response", element, focus, LOSSLESS, time=times)[0]
    arrival = (d[0] / LOSSLESS.soundspeed + 1.3e-7 - 1e-5) / 1e-8
    assert np.flatnonzero(h).tolist() == [round(arrival)]
    bounds, _ = oracle.rims(oracle.each(element)[0])
    assert h.sum() * 1e-8 == pytest.approx(0.8 * sum(sign * up for _, sign, up in bounds))


def pulses(f0):
    """Without jumps, at which sums along a rim converge slowly: bounds are those of their kinks."""
    n = np.arange(16)
    signal = np.sin(1.1 * n + 0.3) * np.sin(np.pi * n / 15) ** 2
    yield kavro.hanning_pulse(f0, 3 / f0), 1e-5
    yield kavro.tone_burst(f0, 3 / f0), 1e-4
    yield kavro.t_cubed_pulse(f0, 4 / f0, 2 * f0), 2e-5
    yield kavro.sampled(signal, 0.2 / f0), 1e-4
    yield kavro.sampled(signal[:-1], 0.2 / f0), 1e-4


@each_face
def test_waves_over_time(name):
    elements, f0, points = scene(name)
    first = 0.9 * points[:, 2].min() / LOSSLESS.soundspeed
    times = kavro.Times(first, first + 6e-6, 2.43e-7)
    for pulse, bound in pulses(f0):
        options = {"time": times, "excitation": pulse, "ndiv": 256}
        direct = solved("fnm_transient", elements, points, LOSSLESS, **options)
        arguments = (LOSSLESS, kavro.time_axis(times), pulse)
        agree(direct, oracle.radiated(elements, points, oracle.pulse_wave, *arguments), bound)
        for method, close in (
            ("fnm_tsd", 1e-10),
            ("fnm_spectral", 1e-9),
            ("fnm_fdtsd", 1e-10 if isinstance(pulse, kavro.Sampled) else None),
            ("fnm_tsd_low_precision", 1e-5),
            ("fnm_tsd_sse", 1e-5),
        ):
            if close and offers(method, elements):
                agree(solved(method, elements, points, LOSSLESS, **options), direct, close)
        if offers("fnm_tsd_behind_source", elements):
            expected = oracle.radiated(elements, points, oracle.pulse_wave, *arguments, True)
            for method in ("fnm_transient_behind_source", "fnm_tsd_behind_source"):
                agree(solved(method, elements, points, LOSSLESS, **options), expected, bound)


# ---- sums over samples of the face


def compare(method, elements, points, f0, n, exact, bound, sums=None, **precisely):
    options = {} if method == "farfield_cw" else {"ndiv": n}
    found = solved(method, elements, points, LINEAR, f0=f0, exact=exact, **options)
    part = lambda *of_one: (sums or getattr(oracle, method))(*of_one, **precisely)
    agree(found, oracle.radiated(elements, points, part, LINEAR, f0, n, exact), bound)


exactly_and_not = pytest.mark.parametrize("exact", [True, False], ids=["exact", "reference"])


@exactly_and_not
@pytest.mark.parametrize("name", [name for name in FACES if name != "pentagon"])
def test_rayleigh_sums(name, exact):
    elements, f0, points = scene(name, CLOSE)
    case = (elements, points, f0)
    for n in (1, 4, 13):
        compare("rayleigh_cw", *case, n, exact, 2e-12)
        if n == 4 and offers("rayleigh_cw_sse", elements):
            real = np.float64 if exact else np.float32  # whose roundings the reference names
            bound = 1e-6 if not exact and "bowl" not in name else 5e-6
            compare("rayleigh_cw_sse", *case, n, exact, bound, oracle.rayleigh_cw, real=real)
        if offers("radiator_cw", elements):
            compare("radiator_cw", *case, n, exact, 2e-11)
            compare("farfield_cw", *case, n, exact, 2e-12)


@exactly_and_not
@pytest.mark.parametrize("profile", oracle.PROFILES)
def test_apodized_discs(profile, exact):
    elements, f0, points = scene("disc", CLOSE)
    case = (elements.replace(apodization=profile), points, f0)
    for n in (1, 4, 13):
        compare("rayleigh_cw_apodized", *case, n, exact, 2e-12, oracle.rayleigh_cw)
        if n > 1 and profile != "uniform":
            compare("fnm_cw_apodized", *case, n, exact, 2e-12)
    if exact:  # and the integral itself
        dense = lambda *of_one: oracle.rayleigh_cw(*of_one, midpoints=False)
        points = PLACES * 5e-3
        expected = oracle.radiated(case[0], points, dense, LINEAR, f0, 150, True)
        found = solved("fnm_cw_apodized", case[0], points, LINEAR, f0=f0, ndiv=64)
        agree(found, expected, 1e-9)


def test_surfaces_over_time_with_jumps():
    elements, f0, points = scene("disc", CLOSE)
    regular = kavro.Times(1.5e-6, 1.05e-5, 3.1e-7)
    listed = kavro.Instants(np.roll(kavro.time_axis(regular), 11))
    signal = 1 + np.sin(0.3 * np.arange(40))
    for pulse in (
        kavro.hanning_pulse(f0, 2 / f0),
        kavro.tone_burst(f0, 3.25 / f0),
        kavro.t_cubed_pulse(f0, 2.25 / f0, f0 / 10),
        kavro.sampled(signal, 5e-8),
    ):
        for n, exact, times in ((1, True, regular), (9, True, listed), (9, False, regular)):
            if exact or isinstance(pulse, kavro.Pulse):  # of samples the reference has no slope
                options = {"time": times, "excitation": pulse, "ndiv": n, "exact": exact}
                found = solved("rayleigh_transient", elements, points, LOSSLESS, **options)
                arguments = (LOSSLESS, kavro.time_axis(times), pulse, n, exact)
                expected = oracle.radiated(elements, points, oracle.rayleigh_transient, *arguments)
                agree(found, expected, 2e-12)


def golden_rows():
    """Values of surface integrals that were computed elsewhere."""
    with (pathlib.Path(__file__).parents[1] / "data" / "curved.csv").open() as file:
        return list(csv.DictReader(line for line in file if line[0] != "#"))


def test_golden_values_of_curved_and_holed_faces():
    next_to_the_rim, rows = "11", golden_rows()
    assert len(rows) == 30
    for row in rows:
        of = lambda name: float(row[name] or 0)
        element = kavro.Elements(
            row["shape"],
            radius=of("outer"),
            inner_radius=of("inner"),
            outer_radius=of("outer"),
            rad_curvature=of("roc"),
            geometric_focus=of("roc"),
            time_delay=of("delay"),
        )
        method, step = row["operation"], of("dt")
        medium = kavro.Medium(1500, 1000, of("dBcmMHz"), 1)
        options = {"f0": 1e6, "time": kavro.Times(0, (of("j") + 1) * step, step), "ndiv": 128}
        options = {**options, "excitation": kavro.hanning_pulse(1e6, 3e-6)}
        used = {k: v for k, v in options.items() if k in kavro.methods()[method].options}
        point = [[of("x"), of("y"), of("z")]]
        found = solved(method, element, point, medium, exact=False, **used)[0]
        value = of("value_re") + 1j * of("value_im")
        if method.endswith("_cw"):
            bound = 1e-5 if row["id"] == next_to_the_rim else 1e-10
        else:
            bound = 1e-11 if method[0] == "i" else max(1e-9, 10 * of("proto128"))
            found = found[int(of("j"))] if step else found[0] + 1j * found[1]
        assert abs(found - value) <= bound * abs(value), row
