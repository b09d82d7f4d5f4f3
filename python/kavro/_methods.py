"""The methods of `solve`: their names, their options, and what they tell of their accuracy."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any, Literal

import numpy as np

from kavro import _kavro

MethodName = Literal[
    "farfield_cw",
    "fnm_cw",
    "fnm_cw_apodized",
    "fnm_cw_single",
    "fnm_cw_sse",
    "fnm_cw_sse2",
    "radiator_cw",
    "rayleigh_cw",
    "rayleigh_cw_apodized",
    "rayleigh_cw_sse",
    "impulse_begin_and_end_times",
    "impulse_response",
    "fnm_transient",
    "fnm_transient_behind_source",
    "fnm_spectral",
    "fnm_fdtsd",
    "fnm_tsd",
    "fnm_tsd_behind_source",
    "fnm_tsd_low_precision",
    "fnm_tsd_sse",
    "rayleigh_transient",
    "kzk_transient",
    "kzk_cw",
]

MeasureName = Literal["peak", "peak_positive", "peak_negative", "energy", "rms", "time_of_peak"]
Measures = list[MeasureName] | tuple[MeasureName, ...]


@dataclass(frozen=True)
class Method:
    """A method of `solve`: its shapes, its options, and how many abscissas it takes by default.

    A method with the option 'tolerance' keeps one by default, and counts abscissas only where
    `exact` is False.
    """

    name: str
    summary: str
    shapes: tuple[str, ...]
    options: tuple[str, ...]
    ndiv: int
    ndiv_multiple: int


def methods() -> dict[str, Method]:
    """The methods of `solve` by name, as the library tells."""
    table = {}
    for line in _kavro.call(["methods"])[0].splitlines():
        kind, name, *cells = line.split("\t")
        if kind == "method":
            shapes, options, ndiv, multiple, summary = cells
            table[name] = Method(
                name, summary, _listed(shapes), _listed(options), int(ndiv), int(multiple)
            )
    return table


def _listed(cell: str) -> tuple[str, ...]:
    return tuple(cell.split(",")) if cell else ()


@dataclass(frozen=True)
class SolveReport:
    """What a call of `solve` has done for its accuracy.

    Attributes
    ----------
    method : str
    tolerance : float or None
        That was kept; None where abscissas were counted.
    abscissas : (fewest, mean, most)
        Taken for a rim or a piece of an edge.
    points : int
        That a field reached; 0 where abscissas were counted.
    unreached : int
        Those of them where the tolerance is not reached.
    worst_error : float
        There, as a share of an element's field.
    worst_point : (x, y, z) or None
        In m.
    reason : str
        Why; empty where nothing is unreached.
    """

    method: str
    tolerance: float | None
    abscissas: tuple[float, float, float]
    points: int
    unreached: int
    worst_error: float
    worst_point: tuple[float, float, float] | None
    reason: str


def report_from(done: dict[str, Any]) -> SolveReport:
    """Of what the compiled part tells."""
    tolerance, points, unreached, error = (
        float(done[name].item()) for name in ("tolerance", "points", "unreached", "worst_error")
    )
    fewest, mean, most = done["abscissas"].ravel().tolist()
    x, y, z = done["worst_point"].ravel().tolist()
    return SolveReport(
        done["method"],
        None if np.isnan(tolerance) else tolerance,
        (fewest, mean, most),
        int(points),
        int(unreached),
        error,
        None if np.isnan(x) else (x, y, z),
        done["reason"],
    )
