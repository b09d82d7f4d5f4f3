"""Pictures: what is drawn, where, and in which numbers."""

import kavro
import numpy as np
import pytest

matplotlib = pytest.importorskip("matplotlib")
matplotlib.use("Agg")

import matplotlib.pyplot as plt  # noqa: E402
from kavro.plots import animate_field, show_array, show_field  # noqa: E402

WATER = kavro.water()
TIMES = kavro.Times(0, 10e-6, 1e-6)
PLANE = kavro.Grid(x=(-2e-3, 2e-3, 1e-3), z=(5e-3, 7e-3, 1e-3))


@pytest.fixture(autouse=True)
def figure():
    yield plt.figure()
    plt.close("all")


def drawn(ax):
    return np.asarray(ax.collections[0].get_array()).reshape(3, 5)


def test_arrays_of_all_shapes(figure):
    flat = kavro.disc(1e-3) + kavro.rectangular_piston(1e-3, 2e-3, center=(5e-3, 0, 0))
    flat += kavro.ring(1e-3, 2e-3, center=(-5e-3, 0, 0)) + kavro.polygon(np.eye(3)[:, :2] * 1e-3)
    ax = show_array(flat.replace(time_delay=[0, 1e-6, 2e-6, 3e-6]))
    assert ax.name == "rectilinear" and len(ax.collections[0].get_paths()) == 4
    assert figure.axes[1].get_ylabel() == "Time delay (us)"
    hole = ax.collections[0].get_paths()[2]
    assert hole.contains_point((-3.5, 0)) and ax.get_xlabel() == "x (mm)"

    plt.figure()
    bowls = kavro.spherical_shell(5e-3, 9e-3) + kavro.spherical_ring(2e-3, 5e-3, 9e-3)
    ax = show_array(bowls + flat, title="All")
    assert ax.name == "3d" and ax.get_title() == "All"
    depth = 1e3 * (9e-3 - np.sqrt(9e-3**2 - 5e-3**2))
    highest = max(segment[:, 2].max() for segment in ax.collections[1]._segments3d)
    assert highest == pytest.approx(depth)
    with pytest.raises(kavro.InputError, match="'ax' must be three-dimensional axes"):
        show_array(bowls, ax=plt.figure().gca())


def test_fields(figure):
    p = np.arange(5 * 3 * 11, dtype=float).reshape(5, 1, 3, 11) - 100
    peak = np.abs(p).max(axis=3)[:, 0].T
    ax = show_field(p, PLANE)
    assert np.array_equal(drawn(ax), peak) and ax.yaxis_inverted()
    assert figure.axes[1].get_ylabel() == "Pressure (Pa)"
    assert show_field(p, PLANE, ax=ax) is ax
    ax = show_field(1e3 * p, PLANE, instant=4.1e-6, time=TIMES, ax=plt.figure().gca())
    assert np.array_equal(drawn(ax), p[:, 0, :, 4].T) and ax.get_title() == "Pressure at 4 us"
    ax = show_field(p + 0j, PLANE, dB=20, reference=1e3, ax=plt.figure().gca())
    np.testing.assert_allclose(drawn(ax), np.maximum(20 * np.log10(peak / 1e3), -20))
    assert ax.figure.axes[1].get_ylabel() == "Pressure (dB re 1 kPa)"
    assert ax.get_title() == "Peak pressure, 0 dB = 1 kPa"
    points = kavro.Points([[0, 0, 3e-3], [0, 0, 1e-3], [0, 0, 2e-3]])
    (line,) = show_field(np.array([3.0, 1, 2]), points, ax=plt.figure().gca()).lines
    np.testing.assert_allclose(line.get_xydata(), [[1, 1], [2, 2], [3, 3]])
    ax = show_field(p[:, 0], PLANE, ax=plt.figure().gca())  # of a march, or squeezed
    assert np.array_equal(drawn(ax), peak)
    for call, text in (
        (lambda: show_field(p[1:], PLANE), "'p' must be an array of the shape"),
        (lambda: show_field(p, PLANE, instant=1e-6), "'time' must be the 11 times of p"),
        (
            lambda: show_field(p, PLANE, instant=1, time=TIMES),
            "'instant' must be a time from 0 to 1e-05",
        ),
        (lambda: show_field(np.zeros((1, 1, 1)), kavro.Grid()), "a plane or a line"),
    ):
        with pytest.raises(kavro.InputError, match=text):
            call()


def test_film(tmp_path):
    image = pytest.importorskip("PIL.Image")
    p = np.random.default_rng(1).normal(size=(5, 1, 3, 11))
    animate_field(p, PLANE, TIMES, frames=4).save(tmp_path / "film.gif", writer="pillow")
    assert image.open(tmp_path / "film.gif").n_frames == 4
    ax = plt.gcf().axes[0]
    assert np.array_equal(drawn(ax), p[:, 0, :, 10].T) and ax.get_title() == "10.00 us"
