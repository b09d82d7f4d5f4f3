"""Fields in blocks, on the threads, processes or cluster of dask."""

from __future__ import annotations

from typing import Any

import dask.array as da
import numpy as np
from numpy.typing import NDArray

import kavro
from kavro import _check
from kavro._check import Floats
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._scene import Grid, Points, grid_axes, mesh, time_axis
from kavro._solver import MethodName, methods

__all__ = ["solve"]


def solve(
    method: MethodName,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    blocks: int,
    **options: Any,
) -> da.Array:
    """What `kavro.solve` returns, as a lazy dask array: bit for bit the same once it is computed.

    Each block is a task of its own: dask chooses where it runs, starts it again where a worker has
    died, and keeps no more blocks than are needed. Calls in one process take turns, so give a
    cluster a process for each core with ``threads=1``, or one for each machine.

    Parameters
    ----------
    method : str
        A method that computes each point by itself: not a nonlinear one, nor arrival times.
    elements, grid, medium, **options
        As for `kavro.solve`, with one name for a `measure`, which a block needs no memory of all
        times for; options are not checked before a block is computed.
    blocks : int
        In how many blocks the field is cut at most: a Grid along z, Points along the list.

    Examples
    --------
    >>> peak = kavro.distributed.solve("fnm_tsd", array, grid, medium, blocks=64, time=times,
    ...                                excitation=pulse, measure="peak")
    >>> peak.compute()
    """
    me = "distributed.solve"
    table = methods()
    apart = [name for name in table if not name.startswith(("kzk", "impulse_begin"))]
    _check.require(method in apart, me, "method", "one that computes points by themselves", method)
    count = _check.whole(me, "blocks", blocks, 1)
    kind = np.float64 if "time" in table[method].options else np.complex128
    measure = options.get("measure")
    _check.require(measure is None or isinstance(measure, str), me, "measure", "one name", measure)
    expected = "left out, because each block has its own"
    _check.require(not options.get("report"), me, "report", expected, True)
    expected = "left out, because a block has one field"
    _check.require(not options.get("velocity"), me, "velocity", expected, True)
    # What the field of a point holds.
    inner: tuple[int, ...] = ()
    if kind is np.float64 and measure is None:
        inner = (len(time_axis(options["time"])),)
    if options.get("per_element"):
        inner += (len(elements),)
    # What is cut, z or the list, goes to the tasks in pieces. A shorter regular grid would round
    # its samples in another way, so each block is a list of points.
    before: tuple[int, ...] = ()
    if isinstance(grid, Points):
        cut = grid.coordinates
        changed: dict[str, Any] = {"drop_axis": 1, "new_axis": [*range(1, 1 + len(inner))]}
    else:
        x, y, cut = grid_axes(grid)
        before = len(x), len(y)
        changed = {"new_axis": [0, 1, *range(3, 3 + len(inner))]}
    slabs = _slabs(len(cut), count)

    def block(piece: Floats) -> NDArray[Any]:
        part = Points(piece) if isinstance(grid, Points) else Points(mesh(x, y, piece))
        field: NDArray[Any] = kavro.solve(method, elements, part, medium, **options)
        return np.asarray(field.reshape(*before, len(piece), *inner, order="F"))

    pieces = da.from_array(cut, chunks=(slabs, *cut.shape[1:]))
    chunks = (*((n,) for n in before), slabs, *((n,) for n in inner))
    meta = np.empty((0,) * len(chunks), kind)
    return da.map_blocks(block, pieces, chunks=chunks, dtype=kind, meta=meta, **changed)


def _slabs(extent: int, count: int) -> tuple[int, ...]:
    """Slabs of equal size but the last, as files in chunks want them."""
    size = max(-(-extent // count), 1)
    return tuple(min(size, extent - begin) for begin in range(0, extent, size)) or (0,)
