"""Echoes in parts, as lazy tasks of dask."""

from __future__ import annotations

import dataclasses
from typing import Any

import dask
import dask.array as da
import numpy as np
from numpy.typing import NDArray

from kavro import _check, _echo, _kavro
from kavro._check import Floats
from kavro._echo import EchoReport, arguments_of, report_from
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._scene import Scatterers, time_axis
from kavro._tasks import task

# Scatterers are added up in chunks of this many, wherever that is done.
_CHUNK = 16384


def pulse_echo(
    elements: Elements,
    scatterers: Scatterers,
    medium: Medium,
    *,
    blocks: int | None = None,
    report: bool = False,
    **options: Any,
) -> Any:
    """What `kavro.pulse_echo` returns, as a lazy dask array: bit for bit the same once it is computed.

    Scatterers are cut into blocks, whose sums are tasks of their own.

    Parameters
    ----------
    elements, scatterers, medium, **options
        As for `kavro.pulse_echo`, without `out` and `progress`. A task computes on as many threads as
        its worker has, unless the option `threads` says otherwise.
    blocks : int, optional
        In how many blocks the scatterers are cut at most; by default, and at most, one for every 16384
        of them.
    report : bool
        True: return ``(rf, report)``, the report a ``dask.delayed`` of the `EchoReport`.
    """
    me = "distributed.pulse_echo"
    for name in ("out", "progress"):
        given = options.pop(name, None)
        _check.require(given is None, me, name, "left out, because nothing is computed yet", given)
    chunks = max(-(-len(scatterers.strengths) // _CHUNK), 1)
    count = chunks if blocks is None else min(_check.whole(me, "blocks", blocks, 1), chunks)
    none = _cut(scatterers, 0, 0)
    shape, checked = _checked(elements, none, medium, options)

    scene = dask.delayed((elements, medium, options), traverse=False)
    ends = [_CHUNK * (i * chunks // count) for i in range(count + 1)]
    parts = [dask.delayed(_cut(scatterers, *cut), traverse=False) for cut in zip(ends, ends[1:])]
    extent = dask.delayed(_joined)([dask.delayed(_extent)(scene, part) for part in parts])
    total: Any = None
    for part in parts:
        total = dask.delayed(_added)(total, dask.delayed(_sums)(scene, extent, part))
    echoes = dask.delayed(_signals)(scene, extent, total, none, len(scatterers.strengths))
    kind = np.float64 if checked.period is not None else np.complex128
    rf = da.from_delayed(echoes[0], shape, kind)
    return (rf, echoes[1]) if report else rf


def _checked(
    elements: Elements, none: Scatterers, medium: Medium, options: dict[str, Any]
) -> tuple[tuple[int, ...], EchoReport]:
    """What the whole call would refuse, and else the shape of its result: of one instant only."""
    one = dict(options)
    if options.get("time") is not None:
        one["time"] = dataclasses.replace(options["time"], **_first_of(options["time"]))
    rf, report = _echo.pulse_echo(elements, none, medium, report=True, **one)
    if report.period is None:
        return rf.shape, report
    return (len(time_axis(options["time"])), *rf.shape[1:]), report


def _first_of(time: Any) -> dict[str, Any]:
    if hasattr(time, "time_samples"):
        return {"time_samples": time.time_samples[:1]}
    return {"tmax": time.tmin}


def _cut(scatterers: Scatterers, begin: int, end: int) -> Scatterers:
    return dataclasses.replace(
        scatterers,
        positions=scatterers.positions[begin:end],
        strengths=scatterers.strengths[begin:end],
    )


def _call(command: str, own: list[Floats], scene: Any, part: Scatterers) -> tuple[Any, ...]:
    elements, medium, options = scene
    with task(f"{command} of {len(part.strengths)} scatterers", 0) as threads:
        arguments = arguments_of(elements, part, medium, {"threads": threads, **options})
        return _kavro.call([command, *own, *arguments])


def _extent(scene: Any, part: Scatterers) -> Floats:
    extent: Floats = _call("echo_extent", [], scene, part)[0]
    return extent


def _joined(extents: list[Floats]) -> Floats:
    rows = np.concatenate(extents)
    return np.concatenate([rows[:, :2].min(axis=0), rows[:, 2:].max(axis=0)])


def _sums(scene: Any, extent: Floats, part: Scatterers) -> Floats:
    sums: Floats = _call("echo_sum", [extent], scene, part)[0]
    return sums


def _added(total: Floats | None, sums: Floats) -> Floats:
    """One chunk after the other, as a call adds them up."""
    result = np.zeros(sums.shape[:2]) if total is None else total.copy()
    for i in range(sums.shape[2]):
        result += sums[:, :, i]
    return result


def _signals(
    scene: Any, extent: Floats, total: Floats, none: Scatterers, count: int
) -> tuple[NDArray[Any], EchoReport]:
    rf, done = _call("echo_signals", [extent, total], scene, none)
    return rf, dataclasses.replace(report_from(done), scatterers=count)
