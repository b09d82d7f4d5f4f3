"""Fields in blocks are, bit for bit, those of one call, whatever happens to those who compute them."""

import os
import signal
import time
import warnings

import kavro
import numpy as np
import pytest

dask = pytest.importorskip("dask")

from kavro import distributed as kd  # noqa: E402

WATER = kavro.water()
ARRAY = kavro.linear_array(3, 3e-3, 1e-3).replace(time_delay=[0, 1e-7, 3e-7])
GRID = kavro.Grid(x=(-2e-3, 2e-3, 1e-3), y=(0, 1e-3, 1e-3), z=(5e-3, 6.1e-3, 1e-4))
POINTS = kavro.split_grid(GRID, 1)[0]
SIGNAL = {"time": kavro.Times(0, 20e-6, 1e-7), "excitation": kavro.hanning_pulse(1e6, 3e-6)}


@pytest.fixture(scope="module")
def cluster():
    """Two processes of two threads, with a limit of memory."""
    distributed = pytest.importorskip("distributed")
    two = {"n_workers": 2, "threads_per_worker": 2, "memory_limit": "600MB"}
    with (
        distributed.LocalCluster(**two, dashboard_address=None) as processes,
        distributed.Client(processes) as client,
    ):
        yield client


def assert_equal(field, expected):
    assert np.array_equal(field, expected) and field.dtype == expected.dtype


@pytest.mark.parametrize("grid", [GRID, POINTS])
def test_blocks_join_to_the_whole(grid):
    measures = {"measure": ["energy", "peak"], "per_element": True}
    for solve, one, options in (
        (kd.solve, kavro.solve, {**SIGNAL, "per_element": True}),
        (kd.solve, kavro.solve, {**SIGNAL, "measure": "peak", "ndiv": 8}),
        (kd.pressure, kavro.pressure, {**SIGNAL, **measures}),
        (kd.pressure, kavro.pressure, {"f0": 1e6}),  # its phases are the delays
        (kd.pressure, kavro.pressure, {"f0": [1e6, 2e6, 3e6], "per_element": True}),
    ):
        scene = ("fnm_tsd",) * (one is kavro.solve) + (ARRAY, grid, WATER)
        expected, told = one(*scene, **options, report=True)
        for blocks in (1, 5, 40):
            lazy, report = solve(*scene, blocks=blocks, **options, report=True)
            fields, report = dask.compute(lazy, report)
            if isinstance(expected, dict):
                assert list(fields) == ["energy", "peak"]
                for name in fields:
                    assert_equal(fields[name], expected[name])
            else:
                assert lazy.npartitions >= blocks and lazy.shape == expected.shape
                assert_equal(fields, expected)
            assert (report.method, report.abscissas[::2], report.points, report.unreached) == (
                (told.method, told.abscissas[::2], told.points, told.unreached)
            )
            assert report.abscissas[1] == pytest.approx(told.abscissas[1], rel=1e-12)


def test_a_block_that_no_wave_reaches_is_no_fault():
    far = kavro.Grid(x=(0, 0, 1), z=(5e-3, 60e-3, 0.02e-3))
    early = {**SIGNAL, "time": kavro.Times(0, 15e-6, 1e-6)}
    with warnings.catch_warnings(), dask.config.set(scheduler="synchronous"):
        warnings.simplefilter("error")
        field = kd.pressure(ARRAY, far, WATER, **early).compute()
    assert field[0, 0, 0].any() and not field[0, 0, -500:].any()


def test_blocks_are_large_and_equal_but_the_last():
    def chunks(*shape, **options):
        x, y, z = ((0, (n - 1) * 1e-3, 1e-3) if n > 1 else 0 for n in shape)
        return kd.pressure(ARRAY, kavro.Grid(x, y, z), WATER, f0=1e6, **options).chunks

    assert chunks(100, 1, 100) == ((100,), (1,), (5,) * 20)  # of 500 points
    assert chunks(100, 1, 1000)[2] == (31,) * 32 + (8,)  # about a 32nd each
    assert chunks(300, 300, 2) == ((300,), (18,) * 16 + (12,), (1, 1))
    assert chunks(40000, 1, 1)[0] == (1250,) * 32
    assert chunks(1000, 1000, 1000)[1:] == ((16,) * 62 + (8,), (1,) * 1000)  # of 16384 at most
    over_time = {"time": kavro.Times(0, 1, 1e-4), "excitation": SIGNAL["excitation"]}
    volume = kd.solve(
        "fnm_tsd", ARRAY, kavro.Grid((0, 0.1, 1e-3), 0, (0, 1, 1e-3)), WATER, **over_time
    )
    assert max(map(np.prod, zip(*map(lambda c: c[:1], volume.chunks)))) * 8 <= 2**26


def test_the_choice_of_precision_is_that_of_the_whole_grid():
    """Single precision would do for the nearest blocks by themselves."""
    grid = kavro.Grid(z=(1e-3, 0.4, 1e-3))
    disc = kavro.disc(5e-4)
    options = {**SIGNAL, "tolerance": 1e-4, "report": True}
    expected, report = kavro.pressure(disc, grid, WATER, **options)
    near = kavro.pressure(disc, kavro.Grid(z=(1e-3, 6e-3, 1e-3)), WATER, **options)[1]
    assert report.method == "fnm_tsd" != near.method
    assert_equal(kd.pressure(disc, grid, WATER, blocks=80, **options)[0].compute(), expected)


@pytest.mark.parametrize(
    ("changes", "error", "text"),
    [
        ({"blocks": 0}, kavro.InputError, "'blocks' must be a whole number, 1 or more"),
        ({"blocks": 121}, kavro.InputError, "'blocks' must be at most the number of points, 120"),
        ({"method": "kzk_cw"}, kavro.InputError, "'method' must be one that computes points"),
        ({"out": np.zeros(3)}, kavro.InputError, "'out' must be left out"),
        ({"grid": 3}, kavro.InputError, "'grid' must be a Grid or Points"),
        ({"f0": 1e6}, TypeError, "The option 'f0' is not used by fnm_tsd"),
        ({"measure": ["loud"]}, kavro.InputError, "not 'loud'"),
    ],
)
def test_what_is_given_is_checked_at_once(changes, error, text):
    scene = {"method": "fnm_tsd", "elements": ARRAY, "grid": GRID, "medium": WATER, **SIGNAL}
    with pytest.raises(error, match=text):
        kd.solve(**{**scene, **changes})


def test_an_error_in_one_block_names_it(cluster):
    """Warnings are errors here, and the third point misses its tolerance: it lies next to a rim."""
    points = kavro.Points([[0, 0, 5e-3], [0, 0, 6e-3], [1e-3, 0, 1e-9], [0, 0, 7e-3]])
    lazy = kd.pressure(ARRAY, points, WATER, blocks=4, **SIGNAL, tolerance=1e-6)
    cluster.run(warnings.simplefilter, "error")
    with pytest.raises(UserWarning, match=r"next to an edge.*of 1 points from \[0.001 0 1e-09\]"):
        lazy.compute()
    cluster.run(warnings.resetwarnings)


def test_a_block_without_room_says_how_to_cut(cluster):
    plane = kavro.Grid(x=(-2e-2, 2e-2, 5e-5), z=(5e-3, 4e-2, 5e-5))
    text = r"28\d MiB have no room .*: ask for more blocks. .Block of 18\d{4} points"
    with pytest.raises(MemoryError, match=text):
        kd.solve("fnm_tsd", ARRAY, plane, WATER, blocks=2, **SIGNAL).compute()


def test_a_worker_that_dies_is_replaced(cluster):
    row = kavro.linear_array(64, 3e-4, 1e-4)
    plane = kavro.Grid(x=(-2e-2, 2e-2, 2e-4), z=(5e-3, 4e-2, 1e-4))
    scene = row, plane, WATER
    expected = kavro.pressure(*scene, **SIGNAL, measure="peak")
    running = cluster.compute(kd.pressure(*scene, blocks=24, **SIGNAL, measure="peak"))
    while not any(cluster.has_what().values()):
        time.sleep(0.01)
    assert not running.done()
    os.kill(next(iter(cluster.run(os.getpid).values())), signal.SIGKILL)
    assert_equal(running.result(timeout=60), expected)
