"""Echoes: their time zero, channels and events, chunks of scatterers, the image they make, files."""

import kavro
import numpy as np
import pytest

WATER = kavro.water()
C = WATER.soundspeed
F0 = 5e6
PULSE = kavro.hanning_pulse(F0, 0.6e-6)


def probe(count, **options):
    return kavro.linear_array(count, 0.3e-3, width=0.27e-3, height=2e-3, amplitude=0.05, **options)


def analytic(rf):
    spectrum = np.fft.fft(rf, axis=0)
    spectrum[len(rf) // 2 + 1 :] = 0
    return 2 * np.fft.ifft(spectrum, axis=0)


def test_time_zero_and_strength_on_the_axis():
    disc = kavro.disc(0.2e-3, amplitude=0.05, time_delay=2e-6)
    far, sigma = 50e-3, 1e-4
    point = kavro.Scatterers([(0, 0, far)], sigma)
    response = kavro.transducer_response(F0, 0.8)
    times = kavro.Times(66e-6, 80e-6, 10e-9)
    scene = {"time": times, "excitation": PULSE, "response": response, "tolerance": 1e-6}
    rf, report = kavro.pulse_echo(disc, point, WATER, report=True, **scene)
    energy = np.abs(analytic(rf[:, 0, 0])) ** 2
    centre = (energy * kavro.time_axis(times)).sum() / energy.sum()
    assert report.firing_times == 2e-6 and report.first_sample == 66e-6 and report.step == 10e-9
    # The paths from the rim are a little longer.
    assert 0 < centre - (2e-6 + 2 * far / C + report.pulse_delay) < (0.2e-3) ** 2 / far / C
    assert report.pulse_delay == pytest.approx(0.3e-6 + 2 * response.delay, abs=2e-9)
    assert report.arrivals[0] == pytest.approx(2e-6 + 2 * far / C, abs=1e-9)

    # At single frequencies, near and far, the disc's field on its axis in closed form.
    f0 = np.array([0.5e6, 1e6, 1.5e6])
    k = 2 * np.pi * f0 / C
    for z in (0.3e-3, far):
        point = kavro.Scatterers([(0, 0, z)], sigma)
        spectrum = kavro.pulse_echo(disc, point, WATER, f0=f0, tolerance=1e-8)[0, 0]
        H = WATER.density * C * (np.exp(-1j * k * z) - np.exp(-1j * k * np.hypot(z, 0.2e-3)))
        expected = 4 * np.pi * sigma * 0.05 * H**2 / (1j * k * C * WATER.density)
        expected = expected / (np.pi * 0.2e-3**2) * np.exp(-2j * np.pi * f0 * 2e-6)
        np.testing.assert_allclose(spectrum, expected, rtol=1e-6)


def test_channels_and_silence():
    four = probe(4)
    points = kavro.Scatterers([(0, 0, 8e-3), (1e-3, 0.5e-3, 9e-3)], [1e-4, -2e-4])
    scene = {"time": kavro.Times(10e-6, 15e-6, 20e-9), "excitation": PULSE}

    def echoes(elements, **options):
        return kavro.pulse_echo(elements, points, WATER, **scene, **options)

    apart = echoes(four)
    size = np.abs(apart).max()
    wired = echoes(four, receivers=four.replace(channel=[3, -1, 3, 1]))
    assert wired.shape == (251, 3, 1)
    heard = [apart[:, 3], (apart[:, 0] + apart[:, 2]) / 2, apart[:, 1]]
    np.testing.assert_allclose(wired, np.stack(heard, axis=1), atol=1e-12 * size)

    # A channel without a delay is silent, as one without an amplitude; events add up.
    nan = np.nan
    delays = [[0, 1e-7, nan, 3e-7], [nan, nan, 2e-7, nan], [0, 1e-7, 2e-7, 3e-7]]
    rf, report = echoes(four, delays=delays, report=True)
    np.testing.assert_array_equal(report.firing_times, delays)
    np.testing.assert_allclose(rf[:, :, 0] + rf[:, :, 1], rf[:, :, 2], atol=1e-12 * size)
    some = four[[0, 1, 3]].replace(time_delay=[0, 1e-7, 3e-7])
    np.testing.assert_allclose(echoes(some, receivers=four)[..., 0], rf[..., 0], atol=1e-12 * size)
    weights = [[1, 1, 0, 1]]
    still = echoes(four.replace(time_delay=delays[2]), apodization=weights)
    np.testing.assert_allclose(still[..., 0], rf[..., 0], atol=1e-12 * size)
    with pytest.raises(kavro.InputError, match="events x channels, n x 4, but is 3 x 3"):
        echoes(four, delays=np.array(delays)[:, :3])
    taken = np.empty(rf.shape, order="F")
    assert echoes(four, delays=delays, out=taken) is taken and np.array_equal(taken, rf)


def test_scatterers_come_in_chunks():
    random = np.random.default_rng(5)
    n = 16384 + 500
    places = random.uniform((-2e-3, -1e-3, 5e-3), (2e-3, 1e-3, 8e-3), (n, 3))
    strengths = random.standard_normal(n)
    fractions = []

    def echoes(which, **options):
        cloud = kavro.Scatterers(places[which], strengths[which])
        return kavro.pulse_echo(kavro.disc(0.3e-3), cloud, WATER, f0=[1e6, 1.2e6], **options)

    whole = echoes(slice(None), progress=fractions.append)
    assert whole.shape == (1, 1, 2)
    parts = [echoes(slice(0, 16000)), echoes(slice(16000, None), threads=1)]
    np.testing.assert_allclose(sum(parts), whole, rtol=1e-2)
    assert fractions == sorted(fractions) and fractions[-1] == 1
    assert not kavro.pulse_echo(
        probe(2), kavro.Scatterers(np.zeros((0, 3)), 1), WATER, f0=1e6
    ).any()


def test_parts_on_other_machines_make_the_same_bits():
    distributed = pytest.importorskip("kavro.distributed", reason="dask is not installed")
    random = np.random.default_rng(6)
    n = 2 * 16384 + 7
    places = random.uniform((-2e-3, -1e-3, 6e-3), (2e-3, 1e-3, 8e-3), (n, 3))
    many = kavro.Scatterers(places, random.standard_normal(n))
    few = kavro.Scatterers(places[:5], 1e-4, exponent=1, reference_frequency=1e6)
    scene = {"time": kavro.Times(8e-6, 12e-6, 50e-9), "excitation": PULSE, "delays": [[0], [1e-6]]}
    for cloud, options in ((many, {"f0": 1e6}), (few, scene)):
        arguments = kavro.disc(0.3e-3), cloud, WATER
        whole, report = kavro.pulse_echo(*arguments, report=True, **options)
        rf, later = distributed.pulse_echo(*arguments, report=True, blocks=2, **options)
        assert rf.shape == whole.shape and rf.dtype == whole.dtype
        assert np.array_equal(rf.compute(), whole)
        assert repr(later.compute()) == repr(report)
    with pytest.raises(kavro.InputError, match="n x 1, but is 1 x 2"):
        distributed.pulse_echo(*arguments, **{**scene, "delays": [[0, 0]]})


def test_every_wire_is_a_bright_dot_at_its_place():
    # So low a probe has no near field across, whose longer paths would move the dots away.
    array = kavro.linear_array(32, 0.3e-3, width=0.27e-3, height=0.5e-3)
    wires = np.array([(-2e-3, 0, 9e-3), (0, 0, 12e-3), (2e-3, 0, 15e-3)])
    events = kavro.plane_wave_events(array, np.radians([-12, -6, 0, 6, 12]), WATER)
    rf, report = kavro.pulse_echo(
        array,
        kavro.Scatterers(wires, 1e-4),
        WATER,
        time=kavro.Times(8e-6, 26e-6, 25e-9),
        excitation=PULSE,
        response=kavro.transducer_response(F0, 0.9),
        events=events,
        report=True,
    )
    t = report.first_sample + report.step * np.arange(len(rf))
    slow = analytic(rf) * np.exp(-2j * np.pi * F0 * t)[:, None, None]
    near = np.linspace(-0.3e-3, 0.3e-3, 61)
    for wire in wires:
        x, z = np.meshgrid(wire[0] + near, wire[2] + near, indexing="ij")
        spot = np.zeros(x.shape, complex)
        for j, towards in enumerate(events.direction):
            for m, place in enumerate(array.center):
                at = (x * towards[0] + z * towards[2] + np.hypot(x - place[0], z)) / C
                at += report.pulse_delay
                spot += np.interp(at, t, slow[:, m, j]) * np.exp(2j * np.pi * F0 * at)
        brightest = np.unravel_index(np.abs(spot).argmax(), spot.shape)
        assert np.hypot(*near[list(brightest)]) < 0.1 * C / F0, wire


@pytest.fixture
def written(tmp_path):
    h5py = pytest.importorskip("h5py", reason="h5py is not installed")
    array = probe(3, elevation_focus=10e-3, wavelength=0.3e-3)
    events = kavro.focused_events(array, [(0, 0, 5e-3), (1e-3, 0, -5e-3)], WATER)
    scene = {"events": events, "excitation": PULSE}
    rf, report = kavro.pulse_echo(
        array,
        kavro.Scatterers([(0, 0, 8e-3)], 1e-4),
        WATER,
        time=kavro.Times(10e-6, 13e-6, 50e-9),
        report=True,
        **scene,
    )

    def write(function):
        function(tmp_path / "echoes.h5", rf, report, array, WATER, **scene)
        return h5py.File(tmp_path / "echoes.h5")

    return write, rf, report, events


def test_files_hold_what_beamformers_need(written):
    write, rf, report, events = written
    with write(kavro.write_hdf5) as file:
        assert np.array_equal(file["rf"], rf) and file["rf"].attrs["units"] == "Pa"
        assert np.allclose(file["time"], np.arange(61) * 50e-9 + 10e-6, rtol=1e-12)
        assert np.array_equal(file["events/firing_times"], events.delays)
        assert file.attrs["pulse_delay"] == report.pulse_delay
        np.testing.assert_allclose(
            file["receivers/position"], [(x, 0, 0) for x in (-3e-4, 0, 3e-4)], atol=1e-6
        )
        # Across the strips of a lens, to their outer rims.
        np.testing.assert_allclose(file["receivers/size"][:, 1], 2e-3, rtol=0.02)
    with write(kavro.write_uff) as file:
        channels = file["channel_data"]
        assert channels.attrs["class"] == b"uff.channel_data"
        assert np.allclose(channels["data"][:].T, rf, rtol=1e-6, atol=1e-6 * np.abs(rf).max())
        assert channels["sampling_frequency"][0, 0] == pytest.approx(20e6, rel=1e-6)
        start = 10e-6 - report.pulse_delay
        assert channels["initial_time"][0, 0] == pytest.approx(start, rel=1e-6)
        assert channels["probe/geometry"].shape == (7, 3)
        waves = [channels["sequence"][f"sequence_{i:04d}"] for i in (1, 2)]
        # Both pass the origin at time 0, one on its way to its point and the other after its own.
        assert [abs(wave["delay"][0, 0]) < 1e-12 for wave in waves] == [True, True]
        assert waves[1]["source/distance"][0, 0] == pytest.approx(np.hypot(1e-3, 5e-3), rel=1e-6)
        assert waves[1]["source/azimuth"][0, 0] == pytest.approx(np.arctan2(1, -5), rel=1e-6)


def test_files_refuse_what_they_cannot_hold(written, tmp_path):
    write, rf, report, events = written
    array = probe(2)
    with pytest.raises(kavro.InputError, match="'rf' must be real, of the shape \\(nt, 2, 2\\)"):
        kavro.write_hdf5(tmp_path / "x.h5", rf, report, array, WATER)
    with pytest.raises(kavro.InputError, match="'events' must be Events, 2 of them"):
        kavro.write_uff(tmp_path / "x.h5", rf, report, probe(3), WATER, events[:1])
    assert not (tmp_path / "x.h5").exists()
