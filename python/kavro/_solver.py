"""The solver: every method of the library by its name."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any, Literal, overload

import numpy as np
from numpy.typing import NDArray

from kavro import _check, _kavro
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._methods import MeasureName, Measures, MethodName, SolveReport, report_from
from kavro._request import Progress, arguments, shown
from kavro._scene import Grid, Instants, Points, Times
from kavro._waveforms import Pulse, Sampled


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
    own = {"measure": measure, "velocity": velocity}
    values = (method, elements, grid, medium)
    return _solved("solve", values, {**options, **own}, report, out, progress)


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
    own = {"measure": measure, "velocity": velocity}
    values = ("auto", elements, grid, medium)
    return _solved("pressure", values, {**options, **own}, report, out, progress)


def _solved(
    owner: str,
    values: tuple[object, ...],
    options: dict[str, Any],
    report: bool,
    out: NDArray[Any] | None,
    progress: Progress,
) -> Any:
    _, elements, grid, medium = values
    _check.require(isinstance(elements, Elements), owner, "elements", "Elements", elements)
    is_grid = isinstance(grid, (Grid, Points))
    _check.require(is_grid, owner, "grid", "a Grid or Points", grid)
    _check.require(isinstance(medium, Medium), owner, "medium", "a Medium", medium)
    report = _check.flag(owner, "report", report)
    with shown(progress) as told:
        moving = None if options["velocity"] is False else options["velocity"]
        given = arguments(values, {**options, "velocity": moving, "progress": told})
        field, velocities, done = _kavro.solve(given, out, report)
    results = [field]
    if velocities is not None:
        results.append(velocities)
    if done is not None:
        results.append(report_from(done))
    return field if len(results) == 1 else tuple(results)


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
    sound. Losses make a pulse begin softly before its front and spread behind it: in a medium with
    attenuation the axis is longer by what carries more than a thousandth of the peak.

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
    pulses = list(excitation) if isinstance(excitation, (list, tuple)) else [excitation]
    known = len(pulses) > 0 and all(isinstance(pulse, (Pulse, Sampled)) for pulse in pulses)
    _check.require(known, me, "excitation", "a Pulse or Sampled, or a sequence of them", excitation)
    heard = elements[elements.amplitude != 0]
    heard = heard if len(heard) > 0 else elements
    arrivals = solve("impulse_begin_and_end_times", heard, grid, medium)
    duration = max(pulse.w if isinstance(pulse, Sampled) else pulse.pulse_width for pulse in pulses)
    early, late = 0.0, 0.0
    if medium.attenuationdBcmMHz > 0:
        farthest = (arrivals[:, 1] - heard.time_delay).max() * medium.soundspeed
        request = arguments(("pulse_reach", pulses, medium, max(farthest, 0.0)), {})
        early, late = _kavro.call(request)[0].ravel()
    first = np.floor((arrivals[:, 0].min() - early) / step)
    last = np.ceil((arrivals[:, 1].max() + duration + late) / step)
    return Times(first * step, last * step, step)


def chosen_method(
    method: str, elements: Elements, grid: Grid | Points, medium: Medium, options: dict[str, Any]
) -> str:
    """Check the arguments of `solve`, and tell by which method 'auto' would compute."""
    given = arguments(("chosen_method", method, elements, grid, medium), options)
    name: str = _kavro.call(given)[0]
    return name
