"""What somebody meets who has not read everything."""

import numpy as np
import pytest

import kavro


def test_a_fitted_axis_holds_a_lossy_field():
    medium = kavro.medium("liver")
    disc = kavro.disc(2e-3)
    points = kavro.Points([(0, 0, 0.15), (20e-3, 0, 0.15)])
    pulse = kavro.tone_burst(7e6, 0.5e-6)
    times = kavro.fit_time_samples(disc, points, medium, pulse, 20e-9)
    wide = kavro.Times(times.tmin - 4e-6, times.tmax + 8e-6, 20e-9)
    p = np.abs(kavro.pressure(disc, points, medium, time=wide, excitation=pulse))
    t = kavro.time_axis(wide)
    outside = p[:, (t < times.tmin - 1e-9) | (t > times.tmax + 1e-9)].max(axis=1)
    assert (outside < 1e-3 * p.max(axis=1)).all()


@pytest.mark.filterwarnings("ignore:The tolerance is not reached")
def test_losses_beyond_all_numbers_leave_silence():
    medium = kavro.medium("liver", attenuationdBcmMHz=5, powerlawexponent=0.5)
    bowl = kavro.spherical_shell(20.7, 109.2)
    behind_the_focus = kavro.Points([(151.7, 0, 122.5)])
    assert kavro.pressure(bowl, behind_the_focus, medium, f0=2e5) == 0
    p, v = kavro.solve("fnm_cw", bowl, behind_the_focus, medium, f0=2e5, velocity=True)
    assert p == 0 and (v == 0).all()


def test_losses_beyond_single_precision_leave_what_they_leave():
    medium = kavro.medium("liver", attenuationdBcmMHz=60, powerlawexponent=0.5)
    deep_bowl = kavro.spherical_shell(97e-3, 0.1)
    next_to_its_rim = kavro.Points([(97e-3, 0, z) for z in (0.102, 0.105, 0.12)])
    scene = (deep_bowl, next_to_its_rim, medium)
    expected = kavro.solve("fnm_cw", *scene, f0=1e6, ndiv=512)
    p = kavro.solve("fnm_cw_sse", *scene, f0=1e6, ndiv=512)
    assert (np.abs(p - expected) < 1e-3 * np.abs(expected)).all() and (expected != 0).all()


def test_an_axis_that_no_wave_falls_into_is_told_of(recwarn):
    disc, water = kavro.disc(5e-3), kavro.water()
    pulse = kavro.hanning_pulse(5e6, 0.6e-6)
    ahead, behind = kavro.Points([(0, 0, 20e-3)]), kavro.Points([(0, 0, -20e-3)])
    too_coarse = kavro.Times(0, 10, 1e-3)
    missed = "no instant of the time axis falls into a wave"
    for measure in (None, "peak", "time_of_peak", ["rms", "time_of_peak"]):
        with pytest.warns(UserWarning, match=missed):
            kavro.pressure(disc, ahead, water, time=too_coarse, excitation=pulse, measure=measure)
    options = {"time": too_coarse, "excitation": pulse}
    with pytest.warns(UserWarning, match=missed):
        kavro.solve(
            "fnm_tsd_behind_source", kavro.spherical_shell(5e-3, 2e-2), behind, water, **options
        )
    recwarn.clear()
    silent = kavro.sampled(np.zeros(9), 1e-7)
    kavro.pressure(disc, behind, water, **options)
    kavro.pressure(disc, ahead, water, time=too_coarse, excitation=silent)
    kavro.solve("impulse_response", disc, ahead, water, time=too_coarse)
    fitting = kavro.fit_time_samples(disc, ahead, water, pulse, 2e-8)
    kavro.pressure(disc, ahead, water, time=fitting, excitation=pulse)
    assert not recwarn


def test_no_false_alarm_on_a_corner(recwarn):
    piston = kavro.rectangular_piston(0.6e-3, 1.5e-3, center=(1.2e-3, 1.25e-3, 0))
    corner, times = kavro.Points([(1.5e-3, 2e-3, 0)]), kavro.Times(0, 3e-6, 5e-9)
    given = {"time": times, "excitation": kavro.hanning_pulse(5e6, 0.6e-6)}
    p = kavro.solve("fnm_tsd", piston, corner, kavro.water(), **given)
    exact = kavro.solve("fnm_tsd", piston, corner, kavro.water(), ndiv=1024, **given)
    assert np.abs(p - exact).max() < 1e-3 * np.abs(exact).max() and not recwarn


@pytest.mark.parametrize(
    "call, complaint",
    [
        (lambda e, g: kavro.focus_delays(e, (0, 0, 1), 1500), "'medium' must be a Medium, but it"),
        (lambda e, g: kavro.plane_wave_events(e, [15], kavro.water()), "angles from -pi to pi"),
        (lambda e, g: kavro.medium("fat", density=-1), "'density' must be a positive real number"),
        (lambda e, g: kavro.fit_time_samples(e, g, kavro.water(), 5e6, 1e-8), "a Pulse or Sampled"),
        (lambda e, g: kavro.pressure(e, g, kavro.water(), hz=1), "There is no option 'hz'"),
        (lambda e, g: kavro.pressure(e, kavro.water(), g), "'grid' must be a Grid or Points, but"),
        (lambda e, g: kavro.field_indices({"peak": 3}, kavro.water(), f0=1), "it holds 'peak'"),
        (lambda e, g: kavro.kzk_parameters(e, kavro.water(), -1), "'drive' must be a positive"),
        (lambda e, g: kavro.linear_array(2, 1, 0.1, width=1), "what is given is 'radius', 'width'"),
    ],
)
def test_complaints(call, complaint):
    with pytest.raises((kavro.InputError, TypeError), match=complaint):
        call(kavro.disc(1e-3), kavro.Grid(z=1e-2))
