"""The solver: every method of the library by its name."""

from __future__ import annotations

import dataclasses
import math
import os
from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from dataclasses import dataclass
from types import EllipsisType
from typing import Any, Literal, overload

import numpy as np
from numpy.typing import NDArray

from kavro import _check, _kavro
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._scene import Grid, Instants, Points, Times, grid_axes
from kavro._waveforms import Pulse, Sampled

Progress = bool | Callable[[float], object] | None

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


@overload
def solve(
    method: MethodName,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    measure: MeasureName | None = None,
    velocity: Literal[False] = False,
    report: Literal[False] = False,
    out: NDArray[Any] | None = None,
    progress: Progress = None,
    **options: Any,
) -> NDArray[Any]:
    ...


@overload
def solve(
    method: MethodName,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    measure: Measures,
    velocity: Literal[False] = False,
    report: Literal[False] = False,
    progress: Progress = None,
    **options: Any,
) -> dict[str, NDArray[Any]]:
    ...


@overload
def solve(
    method: MethodName,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    measure: MeasureName | Measures | None = None,
    velocity: Literal[False] = False,
    report: Literal[True],
    out: NDArray[Any] | None = None,
    progress: Progress = None,
    **options: Any,
) -> tuple[Any, SolveReport]:
    ...


@overload
def solve(
    method: MethodName,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    velocity: Literal[True],
    report: bool = False,
    out: NDArray[Any] | None = None,
    progress: Progress = None,
    **options: Any,
) -> tuple[Any, ...]:
    ...


def solve(
    method: MethodName,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    measure: MeasureName | Measures | None = None,
    velocity: bool = False,
    report: bool = False,
    out: NDArray[Any] | None = None,
    progress: Progress = None,
    **options: Any,
) -> Any:
    """The field of all elements together at every point, by the method of the given name.

    `methods` lists the methods, the shapes that offer each and the options that each takes.

    Parameters
    ----------
    method : str
        Name of a method, such as 'fnm_cw'.
    elements : Elements
    grid : Grid or Points
    medium : Medium
    measure : str or list of str, optional
        For methods over time: what is kept of the field instead of the field, in the memory of the
        points only. 'peak' (largest ``|p|``), 'peak_positive', 'peak_negative' (smallest p),
        'energy' (integral of p^2 dt, Pa^2 s), 'rms' or 'time_of_peak' (s): an array without the
        times; a list of some: a dict of these arrays. Bit for bit what the field's own would be.
    velocity : bool
        'fnm_cw'. True: return ``(p, v)``, or ``(p, v, SolveReport)``, with the particle velocity
        (m/s): one more dimension of the three components along x, y and z, behind those of the
        points. The tolerance goes for both.
    report : bool
        True: return ``(p, SolveReport)``, which tells what was done for the accuracy.
    out : array, optional
        Where the result goes: of the right shape and type, in Fortran order, not read before. After
        an error its content means nothing. Not for a list of measures.
    progress : bool or function, optional
        True: a percent line, or the bar of tqdm where that is installed. A function is called
        with the fraction done, about once for each percent and last with 1; what it raises ends
        the call.
    **options
        An option that the method does not use is a TypeError; None is as good as none.

        time : Times or Instants
            When, for methods over time.
        excitation : Pulse or Sampled, or a sequence of one for each element
            The waveform, for methods over time.
        f0 : float or sequence of float
            Frequency in Hz, for continuous waves; or several, for a spectrum. Equally spaced ones
            take 'fnm_cw' a fraction of the time of others.
        tolerance : float
            Largest error of the quadrature as a share of each element's field, for fast nearfield
            methods of exact elements: every point takes the abscissas that keep it. By default,
            where no `ndiv` is given, 1e-4 of continuous waves and 1e-3 over time. A warning tells
            where it is not reached.
        ndiv : int
            Abscissas along half a rim, an edge, or each direction of a face, instead of a
            tolerance.
        apodization : str
            'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', for apodized methods.
        kzk : dict
            Parameters of a nonlinear method.
        per_element : bool
            True: the field of each element by itself, along one more, last dimension.
        threads : int
            Threads of this call; by default as `threads` says.
        exact : bool
            False: the library's reference behaviour with its deliberate oddities.

    Returns
    -------
    array in Fortran order
        (nx, ny, nz, nt) over time on a Grid, (n, nt) at Points: pressure in Pa; complex
        (nx, ny, nz) and (n,) of continuous waves, for exp(+j 2 pi f0 t), (nx, ny, nz, nf) and
        (n, nf) where f0 is a sequence; (nx, nz, nt) and complex (nx, nz, harmonics) of nonlinear
        ones; (elements, 2) arrival times in s. Without nt where a measure is asked for.

    Raises
    ------
    InputError
        Something given is not what it must be.
    TypeError
        An option is unknown or not used by the method.
    MemoryError
        The result does not fit into memory; raised before it is taken.

    Examples
    --------
    >>> disc = kavro.disc(5e-3, amplitude=0.05)
    >>> grid = kavro.Grid(x=(-10e-3, 10e-3, 0.5e-3), z=(1e-3, 40e-3, 0.5e-3))
    >>> p = kavro.solve("fnm_cw", disc, grid, kavro.water(), f0=1e6)
    """
    with _shown(progress) as shown:
        own = {"measure": measure, "velocity": velocity or None, "progress": shown}
        arguments = _arguments(method, elements, grid, medium, {**options, **own})
        field, velocities, done = _kavro.solve(arguments, out, report)
    results = [field]
    if velocities is not None:
        results.append(velocities)
    if done is not None:
        results.append(_report_from(done))
    return field if len(results) == 1 else tuple(results)


def pressure(
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    measure: MeasureName | Measures | None = None,
    velocity: bool = False,
    report: bool = False,
    out: NDArray[Any] | None = None,
    progress: Progress = None,
    **options: Any,
) -> Any:
    """Pressure of an array at every point, to an accuracy: the one call for most questions.

    With `f0` the field is a continuous wave, with `time` and `excitation` a wave over time. The
    method and its precision follow from what is asked: the fast nearfield method, over time in single
    precision where its rounding stays well below the tolerance at all points of the grid, and by
    frequencies in a medium with losses or for a long sampled waveform. In a continuous wave whose
    elements all have the phase 0, a delay T counts as the phase -2 pi f0 T, at each of several
    frequencies f0.

    Parameters
    ----------
    elements, grid, medium, measure, velocity, report, out, progress, **options
        As for `solve`.

    Examples
    --------
    >>> p, report = kavro.pressure(array, grid, medium, f0=3e6, tolerance=1e-6, report=True)
    """
    by_any_method: Any = solve
    return by_any_method(
        "auto",
        elements,
        grid,
        medium,
        measure=measure,
        velocity=velocity,
        report=report,
        out=out,
        progress=progress,
        **options,
    )


def kzk_parameters(
    element: Elements,
    medium: Medium,
    drive: float | Pulse,
    *,
    accuracy: float = 0.01,
    harmonics: int = 5,
    grid: Grid | None = None,
    time: Times | None = None,
) -> tuple[dict[str, float], dict[str, float]]:
    """Parameters of a nonlinear march, and what it will cost.

    Chooses what `solve` takes as the option `kzk`, from the element's gain, its amplitude, the medium
    and the planes. `solve` chooses the same when the option is left out.

    Parameters
    ----------
    element : Elements
        One disc, shell or ring of a shell, with its amplitude.
    medium : Medium
    drive : float or Pulse
        Frequency in Hz: parameters of 'kzk_cw'. A pulse: parameters of 'kzk_transient'.
    accuracy : float, optional
        Error of the pressure on the axis, as a share of what the waves from the middle and the rim
        can add up to there.
    harmonics : int, optional
        'kzk_cw': how many are to be right. More are computed, as the wave's distortion asks for.
    grid : Grid, optional
        The points of the run; by default the axis, from 0.5 to 1.3 times the radius of curvature, or
        from 0.25 to 2 Rayleigh distances.
    time : Times, optional
        'kzk_transient': the instants of the run; they only count for the cost.

    Returns
    -------
    kzk : dict
        extent, points_per_radius, and growth and harmonics or step.
    cost : dict
        columns, harmonics or samples, steps, bytes beside the result, seconds on one thread.
    """
    f0 = drive.f0 if isinstance(drive, Pulse) else float(drive)
    points = grid if grid is not None else _usual_planes(element, medium, f0)
    choice: dict[str, float] = {"accuracy": accuracy}
    arguments: list[object] = [element, points, medium]
    if isinstance(drive, Pulse):
        z = grid_axes(points)[2]
        c = medium.soundspeed
        times = time if time is not None else Times(min(z) / c, max(z) / c + 10 / f0, 1 / f0 / 40)
        arguments = ["kzk_transient", *arguments, "excitation", drive, "time", times]
    else:
        choice["harmonics"] = harmonics
        arguments = ["kzk_cw", *arguments, "f0", f0]
    arguments += ["kzk", choice]
    kzk, cost = _kavro.call(["kzk_parameters", *map(_lowered, arguments)])
    return _numbers(kzk), _numbers(cost)


def _numbers(record: dict[str, Any]) -> dict[str, float]:
    return {name: float(number.item()) for name, number in record.items()}


_curvatures = ("rad_curvature", "geometric_focus")


def _usual_planes(element: Elements, medium: Medium, f0: float) -> Grid:
    """On the axis; fifty planes."""
    fields = vars(element)
    one = len(element) == 1 and element.shape[0] in ("circ", "shel", "sph ring")
    expected = "one disc, shell or ring of a shell"
    _check.require(one, "kzk_parameters", "element", expected, element)
    curvature = sum(float(fields[name][0]) for name in _curvatures if name in fields)
    if curvature > 0:
        first, last = 0.5 * curvature, 1.3 * curvature
    else:
        scale = math.pi * f0 * float(fields["radius"][0]) ** 2 / medium.soundspeed
        first, last = 0.25 * scale, 2 * scale
    return Grid(x=(0, 0, 1), z=(first, last, (last - first) / 49))


def transient_pressure(
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    times: Times | Instants,
    ndiv: int,
    excitation: Pulse | Sampled | Sequence[Pulse] | Sequence[Sampled],
    **options: Any,
) -> NDArray[Any]:
    """Pressure of discs over time in single precision: `solve` with 'fnm_tsd_sse'.

    Parameters
    ----------
    ndiv : int
        Abscissas along half the rim, rounded up to a multiple of 4. A disc needs 12, and 2 pi more
        for each wavelength of its radius.
    elements, grid, medium, times, excitation, **options
        As for `solve`.
    """
    p: NDArray[Any] = solve(
        "fnm_tsd_sse",
        elements,
        grid,
        medium,
        time=times,
        ndiv=ndiv,
        excitation=excitation,
        **options,
    )
    return p


def fit_time_samples(
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    excitation: Pulse | Sampled | Sequence[Pulse] | Sequence[Sampled],
    deltat: float,
) -> Times:
    """The time axis that holds all that the points of a grid receive.

    From the first arrival at any point to the end of the last one, on multiples of the step. Peaks
    of a field on an axis that begins too late or ends too early would show silence where there is
    sound.

    Parameters
    ----------
    elements : Elements
        Silent ones (amplitude 0) do not count, unless all are.
    grid, medium, excitation
        As for `solve`.
    deltat : float
        Time step in s.
    """
    me = "fit_time_samples"
    step = _check.real(me, "deltat", deltat, "positive", "s")
    pulses = [excitation] if isinstance(excitation, (Pulse, Sampled)) else list(excitation)
    known = len(pulses) > 0 and all(isinstance(pulse, (Pulse, Sampled)) for pulse in pulses)
    _check.require(known, me, "excitation", "a Pulse or Sampled, or a sequence of them", excitation)
    heard = elements[elements.amplitude != 0]
    heard = heard if len(heard) > 0 else elements
    arrivals = solve("impulse_begin_and_end_times", heard, grid, medium)
    duration = max(pulse.w if isinstance(pulse, Sampled) else pulse.pulse_width for pulse in pulses)
    first = np.floor(arrivals[:, 0].min() / step)
    last = np.ceil((arrivals[:, 1].max() + duration) / step)
    return Times(first * step, last * step, step)


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


def threads(count: int | None | EllipsisType = ...) -> int | None:
    """How many threads the solver computes with; results do not depend on it.

    Parameters
    ----------
    count : int or None, optional
        From now on; None is OpenMP's default. Without it nothing changes.

    Returns
    -------
    int or None
        What held before the call.
    """
    setting = os.environ.get("KAVRO_THREADS", "")
    before = int(setting) if setting.isdecimal() and int(setting) > 0 else None
    if count is None:
        os.environ["KAVRO_THREADS"] = ""
    elif count is not ...:
        os.environ["KAVRO_THREADS"] = str(_check.whole("threads", "count", count, 1))
    return before


def chosen_method(
    method: str, elements: Elements, grid: Grid | Points, medium: Medium, options: dict[str, Any]
) -> str:
    """Check the arguments of `solve`, and tell by which method 'auto' would compute."""
    name: str = _kavro.call(
        ["chosen_method", *_arguments(method, elements, grid, medium, options)]
    )[0]
    return name


def _arguments(
    method: str, elements: object, grid: object, medium: object, options: dict[str, Any]
) -> list[object]:
    given = [entry for item in options.items() if item[1] is not None for entry in item]
    return [_lowered(argument) for argument in (method, elements, grid, medium, *given)]


def _lowered(value: object) -> object:
    """As the compiled part reads it: records as their number of entries and columns of fields."""
    if isinstance(value, Elements):
        return len(value), vars(value)
    if isinstance(value, (list, tuple)):
        if not value or not all(map(_is_record, value)):
            return list(value)
        records = [_fields(entry) for entry in value]
        names = dict.fromkeys(name for record in records for name in record)
        return len(records), {name: [record.get(name) for record in records] for name in names}
    if _is_record(value):
        return 1, {name: [field] for name, field in _fields(value).items() if field is not None}
    return value


def _report_from(done: dict[str, Any]) -> SolveReport:
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


def _is_record(value: object) -> bool:
    if isinstance(value, (Elements, type)):
        return False
    return isinstance(value, dict) or dataclasses.is_dataclass(value)


def _fields(record: Any) -> dict[str, Any]:
    if isinstance(record, Grid):
        return record._record_()
    if isinstance(record, dict):
        return record
    return {field.name: getattr(record, field.name) for field in dataclasses.fields(record)}


@contextmanager
def _shown(progress: Progress) -> Iterator[Progress]:
    if progress is not True:
        yield progress
        return
    try:
        from tqdm.auto import tqdm
    except ImportError:
        yield True
        return
    with tqdm(total=100, unit="%") as bar:
        yield lambda fraction: bar.update(int(100 * fraction) - bar.n)
