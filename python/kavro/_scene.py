"""Where and when the field is computed: points and times."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from kavro import _check
from kavro._check import Floats, default


@dataclass(frozen=True)
class Grid:
    """A regular grid of points.

    Parameters
    ----------
    x, y, z : float or (first, last, step)
        The samples along each axis in m: one, or from the first in steps that do not pass the last.
        Once made, a grid holds three numbers for each.

    Examples
    --------
    The x-z plane in front of an array, 201 x 1 x 197 points:

    >>> grid = kavro.Grid(x=(-25e-3, 25e-3, 0.25e-3), z=(1e-3, 50e-3, 0.25e-3))
    """

    x: tuple[float, float, float] = default(0.0)
    y: tuple[float, float, float] = default(0.0)
    z: tuple[float, float, float] = default(0.0)

    if TYPE_CHECKING:  # what it takes is more than what it holds

        def __init__(self, x: ArrayLike = 0.0, y: ArrayLike = 0.0, z: ArrayLike = 0.0) -> None:
            ...

    def __post_init__(self) -> None:
        for name in "xyz":
            object.__setattr__(self, name, _axis("Grid", name, getattr(self, name), "m"))

    @property
    def shape(self) -> tuple[int, int, int]:
        """Numbers of samples along x, y and z."""
        x, y, z = (len(_samples(*axis)) for axis in (self.x, self.y, self.z))
        return x, y, z

    def _record_(self) -> dict[str, Any]:
        record: dict[str, Any] = {"delta": [axis[2] for axis in (self.x, self.y, self.z)]}
        for name in "xyz":
            record[name + "min"], record[name + "max"], _ = getattr(self, name)
        return record


@dataclass(frozen=True, eq=False)
class Points:
    """A list of points.

    Parameters
    ----------
    coordinates : (n, 3)
        x, y and z of each point in m.
    """

    coordinates: Floats

    if TYPE_CHECKING:

        def __init__(self, coordinates: ArrayLike) -> None:
            ...

    def __post_init__(self) -> None:
        expected = "n x 3 real numbers (m)"
        rows = _check.numbers("Points", "coordinates", self.coordinates, expected, (None, 3))
        object.__setattr__(self, "coordinates", np.asfortranarray(rows))


@dataclass(frozen=True)
class Times:
    """A regular time axis. Time 0 is when an element of time_delay 0 starts to move.

    Parameters
    ----------
    tmin, tmax : float
        First sample, and the limit that the last does not pass, in s.
    deltat : float
        Step in s.

    Examples
    --------
    50 us at 20 MHz:

    >>> times = kavro.Times(0, 50e-6, 50e-9)
    """

    tmin: float
    tmax: float
    deltat: float

    def __post_init__(self) -> None:
        axis = _axis("Times", "tmin, tmax, deltat", (self.tmin, self.tmax, self.deltat), "s")
        for name, number in zip(("tmin", "tmax", "deltat"), axis):
            object.__setattr__(self, name, number)


@dataclass(frozen=True, eq=False)
class Instants:
    """A list of times, in any order.

    Parameters
    ----------
    time_samples : (n,)
        Times in s.
    """

    time_samples: Floats

    if TYPE_CHECKING:

        def __init__(self, time_samples: ArrayLike) -> None:
            ...

    def __post_init__(self) -> None:
        instants = _check.numbers(
            "Instants", "time_samples", self.time_samples, "a vector of real numbers (s)", (None,)
        )
        object.__setattr__(self, "time_samples", instants)


@dataclass(frozen=True, eq=False)
class Scatterers:
    """Point scatterers, which send echoes.

    A scatterer of the strength sigma answers the pressure p(t) that arrives at it with the spherical
    wave sigma p(t - r / soundspeed) / r at the distance r. Its scattering cross section is
    4 pi sigma^2.

    Parameters
    ----------
    positions : (n, 3)
        x, y and z of each scatterer in m; n may be 0.
    strengths : float or (n,)
        sigma in m; negative ones answer with the opposite sign.
    exponent : float
        y of strengths that go with the frequency f as (f / reference_frequency)^y, zero or positive;
        2 for bodies much smaller than the wavelength (Rayleigh).
    reference_frequency : float, optional
        Hz: where the strengths are what is given; needed where the exponent is not 0.

    Examples
    --------
    >>> wires = kavro.Scatterers([(-5e-3, 0, 20e-3), (0, 0, 30e-3), (5e-3, 0, 40e-3)], 1e-4)
    """

    positions: Floats
    strengths: Floats
    exponent: float = 0.0
    reference_frequency: float | None = None

    if TYPE_CHECKING:

        def __init__(
            self,
            positions: ArrayLike,
            strengths: ArrayLike,
            exponent: float = 0.0,
            reference_frequency: float | None = None,
        ) -> None:
            ...

    def __post_init__(self) -> None:
        me = "Scatterers"
        expected = "n x 3 real numbers (m)"
        rows = _check.numbers(me, "positions", self.positions, expected, (None, 3))
        _check.require(np.isfinite(rows).all(), me, "positions", expected, self.positions)
        n = len(rows)
        expected = f"one real number (m), or {n}, one for each row of 'positions'"
        sigma = _check.numbers(me, "strengths", self.strengths, expected)
        fits = sigma.shape in ((), (1,), (n,)) and np.isfinite(sigma).all()
        _check.require(fits, me, "strengths", expected, self.strengths)
        exponent = _check.real(me, "exponent", self.exponent, "not negative")
        reference = self.reference_frequency
        if exponent != 0 or reference is not None:
            reference = _check.real(me, "reference_frequency", reference, "positive", "Hz")
        object.__setattr__(self, "positions", np.asfortranarray(rows))
        object.__setattr__(self, "strengths", np.array(np.broadcast_to(sigma, n)))
        object.__setattr__(self, "exponent", exponent)
        object.__setattr__(self, "reference_frequency", reference)


def grid_axes(grid: Grid | Points) -> tuple[Floats, Floats, Floats]:
    """The coordinates x, y and z in m that belong to a grid: its samples, or each point's."""
    if isinstance(grid, Points):
        x, y, z = grid.coordinates.T
    else:
        x, y, z = (_samples(*axis) for axis in (grid.x, grid.y, grid.z))
    return x, y, z


def time_axis(times: Times | Instants) -> Floats:
    """The instants in s that belong to a description of times."""
    if isinstance(times, Instants):
        return np.array(times.time_samples)
    return _samples(times.tmin, times.tmax, times.deltat)


def split_grid(grid: Grid | Points, count: int) -> list[Points]:
    """Cut the points of a grid into lists of about equal size, to compute them apart.

    The field at a point does not depend on the others: `join_field` makes of the parts' results
    what one call gives, to the last bit. Nonlinear methods march through the whole grid, and
    arrival times join by their minimum and maximum alone.

    Parameters
    ----------
    grid : Grid or Points
    count : int
        Number of parts; there are fewer where there are fewer points.
    """
    count = _check.whole("split_grid", "count", count, 1)
    if isinstance(grid, Points):
        points = grid.coordinates
    else:
        points = mesh(*grid_axes(grid))
    count = min(count, max(len(points), 1))
    ends = [i * len(points) // count for i in range(count + 1)]
    return [Points(points[begin:end]) for begin, end in zip(ends, ends[1:])]


def join_field(parts: Sequence[NDArray[Any]], grid: Grid | Points) -> NDArray[Any]:
    """Put the fields of a split grid together.

    Parameters
    ----------
    parts : sequence of arrays
        The results for the parts of ``split_grid(grid, count)``, in the same order.
    grid : Grid or Points
        The grid that was split.
    """
    field: NDArray[Any] = np.concatenate(parts)
    points = len(grid.coordinates) if isinstance(grid, Points) else int(np.prod(grid.shape))
    expected = f"as many rows together as the grid has points, {points}"
    _check.require(len(field) == points, "join_field", "parts", expected, len(field))
    if isinstance(grid, Points):
        return field
    whole: NDArray[Any] = field.reshape(*grid.shape, *field.shape[1:], order="F")
    return whole


def mesh(x: Floats, y: Floats, z: Floats) -> Floats:
    """The points of a grid of these coordinates, (n, 3), along x first."""
    axes = np.meshgrid(x, y, z, indexing="ij")
    return np.stack([axis.ravel(order="F") for axis in axes], axis=1)


def _axis(owner: str, name: str, value: object, unit: str) -> tuple[float, float, float]:
    expected = f"one real number, or first, last (not below it) and a positive step ({unit})"
    axis = _check.finite(owner, name, value, expected)
    if axis.ndim == 0:
        return float(axis), float(axis), 0.0
    _check.require(axis.shape == (3,), owner, name, expected, value)
    first, last, step = (float(number) for number in axis)
    runs = step > 0 if last > first else last == first and step >= 0
    _check.require(runs, owner, name, expected, value)
    return first, last, step


def _samples(first: float, last: float, step: float) -> Floats:
    """Counted as the solver counts: the quotient gets 1e-10 before it is rounded down.

    Limits alike but for the sign have an exact 0 between them where a sample falls there but for
    rounding.
    """
    if first == last or step == 0:
        return np.array([first])
    samples = np.arange(np.floor((last - first) / step + 1e-10) + 1) * step + first
    if first == -last:
        samples[np.abs(samples) < 1e-9 * step] = 0.0
    return np.asarray(samples)
