"""Fields in blocks, on the threads, processes or cluster of dask."""

from __future__ import annotations

import math
from dataclasses import dataclass, replace
from operator import itemgetter
from typing import Any

import dask
import dask.array as da
import numpy as np
from dask.highlevelgraph import HighLevelGraph
from numpy.typing import NDArray

import kavro
from kavro import _check
from kavro._check import Floats
from kavro._echo_parts import pulse_echo
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._scene import Grid, Points, grid_axes, mesh, time_axis
from kavro._solver import MeasureName, Measures, MethodName, SolveReport, chosen_method, methods
from kavro._tasks import task

__all__ = ["pressure", "pulse_echo", "solve"]


def solve(
    method: MethodName,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    blocks: int | None = None,
    measure: MeasureName | Measures | None = None,
    report: bool = False,
    **options: Any,
) -> Any:
    """What `kavro.solve` returns, as a lazy dask array: bit for bit the same once it is computed.

    Each block is a task of its own: dask chooses where it runs, starts it again where a worker has
    died, and keeps no more blocks than are needed. A task computes on as many threads as its worker
    has, unless the option `threads` says otherwise. What is given is checked at once.

    Parameters
    ----------
    method : str
        A method that computes each point by itself: not a nonlinear one, nor arrival times.
    elements, grid, medium, **options
        As for `kavro.solve`, without `out` and `progress`.
    blocks : int, optional
        In how many blocks the field is cut at least: a Grid along z, and where its planes are too
        large along y and x; Points along the list. Blocks are equal but the last along each axis.
        By default 32, but of no less than 500 points, and no more than 16384 or 64 MiB.
    measure : str or list of str, optional
        One name: an array without the times. A list: a dict of arrays, for ``dask.compute`` to
        compute at once. No block holds all times of its points then.
    report : bool
        True: return ``(p, report)``, the report a ``dask.delayed`` of the `SolveReport`. Its mean
        is that of the blocks, weighed by their points.

    Examples
    --------
    >>> peak = kavro.distributed.solve("fnm_tsd", array, grid, medium, time=times,
    ...                                excitation=pulse, measure="peak")
    >>> peak.compute()
    """
    me = "distributed.solve"
    by_points = [name for name in methods() if not name.startswith(("kzk", "impulse_begin"))]
    expected = "one that computes points by themselves"
    _check.require(method in by_points, me, "method", expected, method)
    options["measure"] = measure
    return _in_blocks(me, method, elements, grid, medium, blocks, report, options)


def pressure(
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    blocks: int | None = None,
    measure: MeasureName | Measures | None = None,
    report: bool = False,
    **options: Any,
) -> Any:
    """What `kavro.pressure` returns, as a lazy dask array: bit for bit the same once it is computed.

    Method and precision are chosen once, for the whole grid.

    Parameters
    ----------
    elements, grid, medium, blocks, measure, report, **options
        As for `solve`.
    """
    options["measure"] = measure
    me = "distributed.pressure"
    return _in_blocks(me, "auto", elements, grid, medium, blocks, report, options)


def _in_blocks(
    me: str,
    method: str,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    blocks: int | None,
    report: bool,
    options: dict[str, Any],
) -> Any:
    for name, instead in (("out", "store the array"), ("progress", "dask shows its own")):
        expected = f"left out, because nothing is computed yet: {instead}"
        _check.require(options.pop(name, None) is None, me, name, expected, "given")
    expected = "left out, because a block has one field"
    _check.require(not options.pop("velocity", None), me, "velocity", expected, True)
    _check.require(isinstance(grid, (Grid, Points)), me, "grid", "a Grid or Points", grid)
    # The choice reads no more of a grid than its limits, and all its points may not have room here.
    limits = grid if isinstance(grid, Points) else Points(list(zip(*(grid.x, grid.y, grid.z)))[:2])
    chosen = chosen_method(method, elements, limits, medium, options)
    over_time = "time" in methods()[chosen].options
    if over_time:  # a continuous wave is left to the call, which makes phases of delays
        method = chosen
    measure = options["measure"]
    names = list(measure) if isinstance(measure, (list, tuple)) else []
    inner: tuple[int, ...] = ()  # what the field of a point holds
    if over_time and measure is None:
        inner = (len(time_axis(options["time"])),)
    elif np.ndim(options.get("f0", 0)) > 0:
        inner = (len(options["f0"]),)
    if options.get("per_element"):
        inner += (len(elements),)
    if names:
        inner += (len(names),)
    kind = np.dtype(np.float64 if over_time else np.complex128)

    axes = grid_axes(grid) if isinstance(grid, Grid) else None
    extents = tuple(map(len, axes or (limits.coordinates,)))
    chunks = _chunks(me, extents, kind.itemsize * math.prod(inner), blocks)
    scene = _Scene(method, elements, medium, options, axes, inner, kind.itemsize, report)
    once = dask.delayed(scene, traverse=False)  # goes to each worker once
    name = f"{me}-{once.key}"
    tasks = {}
    for index in np.ndindex(*map(len, chunks)):
        begins = [i * sizes[0] for i, sizes in zip(index, chunks)]
        cut = tuple(slice(begin, begin + n[0]) for begin, n in zip(begins, chunks))
        part = cut if axes else limits.coordinates[cut]
        tasks[(name, *index, *(0 for _ in inner))] = (_solved, part, once.key)
    graph = HighLevelGraph.from_collections(name, tasks, [once])
    ndim = len(extents) + len(inner)
    all_chunks = (*chunks, *((n,) for n in inner))
    empty = np.empty((0,) * ndim, kind)
    solved = da.Array(graph, name, all_chunks, meta=empty)
    field = solved
    if report:
        field = solved.map_blocks(itemgetter(0), dtype=kind, meta=empty)
        told = solved.map_blocks(itemgetter(1), dtype=object, meta=empty)
    p: Any = {name: field[..., i] for i, name in enumerate(names)} if names else field
    return (p, dask.delayed(_joined)(list(told.to_delayed().ravel()))) if report else p


def _chunks(
    me: str, extents: tuple[int, ...], bytes_of_point: int, blocks: int | None
) -> tuple[tuple[int, ...], ...]:
    """The last axis is cut first. Slabs are equal but the last, as files in chunks want them."""
    total = math.prod(extents)
    if blocks is None:
        most = min(16384, 2**26 // max(bytes_of_point, 1))
        room = min(max(total // 32, 500), most)
    else:
        blocks = _check.whole(me, "blocks", blocks, 1)
        expected = f"at most the number of points, {total}"
        _check.require(blocks <= max(total, 1), me, "blocks", expected, blocks)
        room = total // blocks
    chunks = []
    for extent in extents:
        slabs = -(-extent // max(min(extent, room), 1))
        size = -(-extent // max(slabs, 1))
        chunks.append(tuple(min(size, extent - i) for i in range(0, extent, size or 1)) or (0,))
        room //= max(size, 1)
    return tuple(chunks)


@dataclass(frozen=True, eq=False)
class _Scene:
    """What all blocks read."""

    method: str
    elements: Elements
    medium: Medium
    options: dict[str, Any]
    axes: tuple[Floats, Floats, Floats] | None  # of a Grid
    inner: tuple[int, ...]
    itemsize: int
    report: bool


def _solved(part: Any, scene: _Scene) -> Any:
    """The field of some rows of points, or where a Grid's axes are sliced. A shorter regular grid
    would round its samples in another way, so each block is a list of points."""
    if scene.axes is None:
        points, sizes = part, part.shape[:1]
    else:
        axes = [axis[cut] for axis, cut in zip(scene.axes, part)]
        points, sizes = mesh(*axes), tuple(map(len, axes))
    ends = " to ".join(f"[{x:.6g} {y:.6g} {z:.6g}]" for x, y, z in (*points[:1], *points[-1:]))
    what = f"Block of {len(points)} points from {ends} m"
    solve: Any = kavro.solve
    with task(what, scene.itemsize * len(points) * math.prod(scene.inner)) as threads:
        solved = solve(
            scene.method,
            scene.elements,
            Points(points),
            scene.medium,
            report=scene.report,
            **{"threads": threads, **scene.options},
        )
    field, report = solved if scene.report else (solved, None)
    if isinstance(field, dict):
        field = np.stack(list(field.values()), axis=-1)
    field = field.reshape(*sizes, *scene.inner, order="F")
    return (field, report) if scene.report else field


def _joined(reports: list[SolveReport]) -> SolveReport:
    worst = max(reports, key=lambda report: report.worst_error)
    weights = [report.points for report in reports]
    if sum(weights) == 0:
        return worst
    fewest, mean, most = np.transpose([report.abscissas for report in reports])
    return replace(
        worst,
        abscissas=(
            float(min(fewest[fewest > 0], default=0)),
            float(np.average(mean, weights=weights)),
            float(max(most)),
        ),
        points=sum(weights),
        unreached=sum(report.unreached for report in reports),
    )
