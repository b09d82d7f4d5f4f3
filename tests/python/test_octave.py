"""The same numbers as in GNU Octave: makers to rounding, fields to the last bit."""

import dataclasses
import os
import subprocess
from pathlib import Path

import kavro
import numpy as np
import pytest

toolbox = os.environ.get("KAVRO_TOOLBOX")
pytestmark = pytest.mark.skipif(not toolbox, reason="the module for GNU Octave was not built")

FIELDS = (
    "center",
    "euler",
    "amplitude",
    "time_delay",
    "phase",
    "channel",
    "radius",
    "inner_radius",
    "outer_radius",
    "width",
    "height",
    "rad_curvature",
    "geometric_focus",
)
POINT = (6e-3, 1e-3, 25e-3)


class Numbers:
    """What Octave wrote, to be read in the same order."""

    def __init__(self, file):
        self.left = np.fromfile(file)

    def take(self, like):
        real = np.asarray(like).ravel(order="F").view(np.float64)
        taken, self.left = self.left[: real.size], self.left[real.size :]
        return taken, real

    def elements(self, like):
        """Octave's elements, which those made here must equal but for rounding."""
        columns = {
            name: np.copy(column) for name, column in vars(like).items() if name != "corners"
        }
        corners = []
        for i in range(len(like)):
            for name in FIELDS:
                columns[name][i] = self.take(columns[name][i])[0]
            theirs, ours = self.take(like.corners[i].T)
            np.testing.assert_allclose(ours, theirs, rtol=1e-15, atol=1e-18)
            corners.append(theirs.reshape(-1, 2))
        for name in FIELDS:
            np.testing.assert_allclose(
                getattr(like, name),
                columns[name],
                1e-15,
                1e-16 if name == "euler" else 1e-17,
                err_msg=name,
            )
        return kavro.Elements(**columns, corners=corners)


@pytest.fixture(scope="module")
def octave(tmp_path_factory):
    file = tmp_path_factory.mktemp("octave") / "numbers"
    script = Path(__file__).with_name("octave_scene.m")
    command = [os.environ["OCTAVE_CLI"], "--no-init-file", "--quiet", script, toolbox, file]
    subprocess.run(command, check=True)
    return Numbers(file)


def test_same_numbers_as_in_octave(octave):
    water = kavro.water()
    phi = np.arange(6) * np.pi / 3
    hexagon = 3e-3 * np.stack([np.cos(phi), np.sin(phi)], axis=1)
    flat = kavro.ring_array(12, 5e-3, 2e-3) + kavro.ring_array(7, radius=1e-3, ring_radius=4e-3)
    mixed = (
        kavro.disc(2e-3, center=(1e-3, 2e-3, 0), euler=(0.1, 0.2, 0.3), amplitude=2)
        + kavro.rectangular_piston(2e-3, 3e-3)
        + kavro.polygon(hexagon, time_delay=1e-7)
        + kavro.ring(1e-3, 2e-3)
        + kavro.spherical_shell(5e-3, 20e-3)
        + kavro.spherical_ring(2e-3, 5e-3, 20e-3, center=(0, 0, -1e-3))
    )
    discs = kavro.linear_array(5, 1e-3, 0.4e-3, amplitude=[1, 2, -1, 0.5, 1])
    *_, mixed, discs = [
        octave.elements(made)
        for made in (
            kavro.linear_array(5, 1e-3, 0.4e-3),
            kavro.convex_array(5, 1e-3, width=0.8e-3, height=4e-3, rad_curvature=30e-3).focused(
                POINT, water
            ),
            kavro.planar_array((3, 2), (1e-3, 2e-3), width=0.9e-3, height=1.5e-3),
            kavro.bowl_array(flat, 50e-3).focused(POINT, water),
            kavro.annular_array(5, 20e-3, 0.3e-3, rad_curvature=60e-3).focused(POINT, water),
            kavro.annular_array(4, 20e-3, 0.3e-3, inner_radius=2e-3, equal="width"),
            mixed.focused(POINT, water),
            discs.focused(POINT, water),
        )
    ]

    lens = {"elevation_focus": 20e-3, "wavelength": 2e-3}
    face = {"width": 0.8e-3, "height": 4e-3, **lens}
    convex = kavro.convex_array(5, 1e-3, rad_curvature=30e-3, **face)
    turned = {"euler": (0.1, 0.2, 0.3), "center": (1e-3, 2e-3, 3e-3), "amplitude": 2}
    for made in (
        convex.focused(POINT, water),
        kavro.planar_array((2, 3), (1e-3, 4e-3), **face),
        kavro.rectangular_piston(2e-3, 3e-3, **lens, **turned),
    ):
        octave.elements(made)
    wired = mixed.replace(channel=[6, -1, 2, 6, -1, 2])
    points = [(0, 0, 20e-3), (3e-3, 1e-3, 30e-3), (-1e-3, 0, -20e-3), (0, 0, -1e-3)]
    for events in (
        kavro.plane_wave_events(
            convex,
            [-0.2, 0, 0.3],
            water,
            elevation=[0, 0.1, -0.1],
            aperture=[0, 2, 3],
            origin=(1e-3, 2e-3, 3e-3),
        ),
        kavro.focused_events(convex, points, water, f_number=4, count=3),
        kavro.focused_events(wired, points, water, aperture=[True, False, True, True]),
        kavro.synthetic_aperture_events(wired, aperture=[3, 1]),
    ):
        for column in vars(events).values():
            np.testing.assert_allclose(*octave.take(column), rtol=1e-13, atol=1e-17)
    response = kavro.transducer_response(5e6, 0.7, two_way=True)
    numbers = [*response.signal, response.ts, response.delay, response.w / 2]
    np.testing.assert_allclose(*octave.take(numbers), rtol=1e-12, atol=1e-4)

    for name in ("water", "lossy water", "blood", "fat", "liver", "muscle"):
        theirs, ours = octave.take(dataclasses.astuple(kavro.medium(name))[:9])
        assert np.array_equal(theirs, ours), name
    warm = kavro.water(37)
    assert np.array_equal(*octave.take([warm.soundspeed, warm.density]))

    grid = kavro.Grid((-4e-3, 4e-3, 1e-3), (-2e-3, 3e-3, 2e-3), (5e-3, 30e-3, 3e-3))
    times = kavro.Times(0, 30e-6, 50e-9)
    pulse = kavro.hanning_pulse(1e6, 3e-6)
    n = np.arange(61)
    sampled = kavro.sampled(n * (60 - n) * (30 - n) / 1e4, 50e-9)
    list_ = kavro.Points([[1e-3, 2e-3, 10e-3], [0, 0, 20e-3], [-3e-3, 0, 7e-3]])
    plane = kavro.Grid(x=(0, 5e-3, 1e-3), z=(5e-3, 30e-3, 5e-3))
    march = {"extent": 4, "points_per_radius": 20, "growth": 0.02, "harmonics": 2}

    lossy = kavro.medium("lossy water", referencefrequency=2e6)
    cloud = kavro.Scatterers(
        [(0, 0, 15e-3), (2e-3, 1e-3, 20e-3)], [1e-4, -2e-4], exponent=2, reference_frequency=1e6
    )
    wired = mixed.replace(channel=[1, -1, 0, 1, -1, 0])

    def echo(**options):
        return kavro.pulse_echo(wired, cloud, water, **options)

    def run(method, elements, grid=grid, medium=water, **options):
        return kavro.solve(method, elements, grid, medium, **options)

    for name, ours in {
        "fnm_tsd": run("fnm_tsd", mixed, time=times, excitation=pulse),
        "reference": run("fnm_tsd", mixed, time=times, excitation=sampled, exact=False),
        "fnm_transient": run("fnm_transient", mixed, time=times, excitation=pulse, ndiv=20),
        "fnm_fdtsd": run("fnm_fdtsd", discs, time=times, excitation=sampled),
        "fnm_tsd_sse": run("fnm_tsd_sse", discs, time=times, excitation=[pulse] * 5),
        "apodized": run("fnm_cw_apodized", discs.replace(phase=0.2), f0=1e6, apodization="cosine"),
        "arrivals": run("impulse_begin_and_end_times", mixed),
        "echoes": echo(
            time=kavro.Times(15e-6, 40e-6, 50e-9),
            excitation=pulse,
            receivers=discs,
            response=sampled,
            delays=[[0, 1e-7, np.nan, 2e-7], [0, 0, 0, 0]],
        ),
        "echoes' spectra": echo(f0=[1e6, 2e6]),
        "transient_pressure": kavro.transient_pressure(discs, grid, water, times, 12, pulse),
        "list": run("fnm_cw", mixed.replace(phase=0.1), list_, kavro.medium("liver"), f0=1e6),
        "fnm_spectral": run("fnm_spectral", discs, list_, lossy, time=times, excitation=pulse),
        "kzk_cw": run("kzk_cw", kavro.disc(4e-3), plane, f0=1e6, kzk=march),
    }.items():
        theirs, bits = octave.take(ours)
        assert np.abs(theirs).max() > 0, name
        assert np.array_equal(theirs, bits), name

    fitted = kavro.fit_time_samples(discs, grid, water, sampled, 70e-9)
    assert np.array_equal(*octave.take([fitted.deltat, fitted.tmin, fitted.tmax]))
    fitted = kavro.fit_time_samples(discs, grid, water, pulse, 70e-9)
    p = run("fnm_tsd", discs, time=fitted, excitation=pulse)
    depth = kavro.grid_axes(grid)[2]
    options = {"f0": 1e6, "time": fitted, "prf": 1e3, "derating": 0.3}
    of_field = kavro.field_indices(p, water, **options, depth=depth)
    measures = run(
        "fnm_tsd", discs, time=fitted, excitation=pulse, measure=["energy", "peak_negative"]
    )
    of_measures = kavro.field_indices(measures, water, f0=1e6, pulse_duration=2e-6)
    for ours in (
        of_field.mechanical_index,
        of_field.pulse_intensity_integral,
        of_field.pulse_average,
        of_field.temporal_average,
        [of_field.mi, of_field.isppa, of_field.ispta, of_field.pulse_duration],
        [np.ravel_multi_index(of_field.peak_point, grid.shape, order="F") + 1],
        of_measures.pulse_average,
    ):
        np.testing.assert_allclose(*octave.take(np.asarray(ours, float)), rtol=1e-12)
    assert octave.left.size == 0
