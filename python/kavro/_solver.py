"""The solver: every method of the library by its name."""

from __future__ import annotations

import dataclasses
import os
from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from dataclasses import dataclass
from types import EllipsisType
from typing import Any, Literal

from numpy.typing import NDArray

from kavro import _check, _kavro
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._scene import Grid, Instants, Points, Times
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


def solve(
    method: MethodName,
    elements: Elements,
    grid: Grid | Points,
    medium: Medium,
    *,
    out: NDArray[Any] | None = None,
    progress: Progress = None,
    **options: Any,
) -> NDArray[Any]:
    """The field of all elements together at every point, by the method of the given name.

    `methods` lists the methods, the shapes that offer each and the options that each takes.

    Parameters
    ----------
    method : str
        Name of a method, such as 'fnm_cw'.
    elements : Elements
    grid : Grid or Points
    medium : Medium
    out : array, optional
        Where the result goes: of the right shape and type, in Fortran order, not read before. After
        an error its content means nothing.
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
        f0 : float
            Frequency in Hz, for continuous waves.
        ndiv : int
            Abscissas along half a rim, an edge, or each direction of a face.
        apodization : str
            'uniform', 'cosine', 'raisedcosine', 'quadratic' or 'quartic', for apodized methods.
        kzk : dict
            Parameters of a nonlinear method.
        threads : int
            Threads of this call; by default as `threads` says.
        exact : bool
            False: the library's reference behaviour with its deliberate oddities.

    Returns
    -------
    array in Fortran order
        (nx, ny, nz, nt) over time on a Grid, (n, nt) at Points: pressure in Pa; complex
        (nx, ny, nz) and (n,) of continuous waves, for exp(+j 2 pi f0 t); (nx, nz, nt) and complex
        (nx, nz, harmonics) of nonlinear ones; (elements, 2) arrival times in s.

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
        arguments: list[object] = [method, elements, grid, medium]
        for name, value in {**options, "progress": shown}.items():
            if value is not None:
                arguments += [name, value]
        return _kavro.solve([_lowered(argument) for argument in arguments], out)


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
    return solve(
        "fnm_tsd_sse",
        elements,
        grid,
        medium,
        time=times,
        ndiv=ndiv,
        excitation=excitation,
        **options,
    )


@dataclass(frozen=True)
class Method:
    """A method of `solve`: its shapes, its options, and how many abscissas it takes by default."""

    name: str
    summary: str
    shapes: tuple[str, ...]
    options: tuple[str, ...]
    ndiv: int
    ndiv_multiple: int


def methods() -> dict[str, Method]:
    """The methods of `solve` by name, as the library tells."""
    table = {}
    for line in _kavro.table_of_methods().splitlines():
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
