"""Fields in blocks are, bit for bit, those of one call."""

import kavro
import numpy as np
import pytest

pytest.importorskip("dask.array")

from kavro import distributed  # noqa: E402


@pytest.mark.parametrize("listed", [False, True])
def test_blocks_join_to_the_whole(listed):
    array = kavro.linear_array(3, 3e-3, 1e-3)
    grid = kavro.Grid(x=(-2e-3, 2e-3, 1e-3), y=(0, 1e-3, 1e-3), z=(5e-3, 6.1e-3, 1e-4))
    points = kavro.split_grid(grid, 1)[0] if listed else grid
    over_time = {"time": kavro.Times(0, 20e-6, 1e-7), "excitation": kavro.hanning_pulse(1e6, 3e-6)}
    peaks = {**over_time, "measure": "peak"}
    for method, options in (
        ("fnm_tsd", over_time),
        ("fnm_tsd", peaks),
        ("fnm_tsd", {**over_time, "per_element": True}),
        ("fnm_cw", {"f0": 1e6}),
    ):
        scene = method, array, points, kavro.water()
        whole = kavro.solve(*scene, **options)
        lazy = distributed.solve(*scene, blocks=5, **options)
        cut = 0 if listed else 2
        assert lazy.shape == whole.shape and lazy.dtype == whole.dtype
        assert lazy.chunks[cut] == ((24,) * 5 if listed else (3, 3, 3, 3))
        assert np.array_equal(lazy.compute(), whole)
        assert np.array_equal(lazy.compute(scheduler="processes", num_workers=2), whole)
    with pytest.raises(kavro.InputError, match="'method' must be one that computes points"):
        distributed.solve("kzk_cw", array, points, kavro.water(), blocks=2)
    with pytest.raises(kavro.InputError, match="'measure' must be one name"):
        distributed.solve("fnm_tsd", *scene[1:], blocks=2, **{**peaks, "measure": ["peak"]})
