"""What to make of a field."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

from kavro import _check
from kavro._check import Floats
from kavro._scene import Grid, Instants, Points, Times, grid_axes, time_axis

if TYPE_CHECKING:
    import xarray


class BeamWidth(NamedTuple):
    """Width of a main lobe, and where it ends: numbers in the unit of the positions."""

    width: float
    left: float
    right: float


def beam_width(positions: ArrayLike, values: ArrayLike, level: float = -6.0) -> BeamWidth:
    """Width of the main lobe of a profile at a level below its peak.

    From the largest magnitude the profile is followed to both sides until it falls to the level;
    between two samples the crossing is interpolated linearly in magnitude.

    Parameters
    ----------
    positions : (n,)
        Increasing positions (m).
    values : (n,)
        Real or complex amplitudes, such as peak pressures.
    level : float
        Level below the peak in dB, negative.

    Returns
    -------
    BeamWidth
        width, left and right (m); NaN where the profile ends before it has fallen that far.
    """
    me = "beam_width"
    expected = "a vector of increasing real numbers"
    x = _check.finite(me, "positions", positions, expected, (None,))
    _check.require((np.diff(x) > 0).all(), me, "positions", expected, positions)
    magnitudes = np.abs(np.asarray(values))
    expected = f"a vector of {len(x)} numbers, one for each position"
    fits = magnitudes.dtype.kind in "iuf" and magnitudes.shape == x.shape
    _check.require(fits, me, "values", expected, values)
    db = _check.real(me, "level", level)
    _check.require(db < 0, me, "level", "a negative real number (dB)", level)
    top = int(np.argmax(magnitudes))
    threshold = magnitudes[top] * 10 ** (db / 20)
    right = _crossing(x[top:], magnitudes[top:], threshold)
    left = _crossing(x[top::-1], magnitudes[top::-1], threshold)
    return BeamWidth(right - left, left, right)


def _crossing(x: Floats, values: Floats, threshold: float) -> float:
    """Where values, which start above the threshold, first fall to it."""
    below = np.flatnonzero(values <= threshold)
    if len(below) == 0 or below[0] == 0:
        return float("nan")
    i = below[0]
    share = (values[i - 1] - threshold) / (values[i - 1] - values[i])
    return float(x[i - 1] + share * (x[i] - x[i - 1]))


def to_xarray(
    p: NDArray[Any],
    grid: Grid | Points,
    times: Times | Instants | None = None,
    *,
    name: str = "pressure",
    units: str = "Pa",
) -> xarray.DataArray:
    """A field as an xarray.DataArray with its coordinates: x, y, z in m, time in s.

    Parameters
    ----------
    p : array
        What `solve` returned, of any method but arrival times; it is not copied.
    grid : Grid or Points
        The one that p belongs to. At Points the dimension is 'point', with x, y, z along it.
    times : Times or Instants, optional
        Those of a field over time. The last dimension of a nonlinear continuous wave is 'harmonic',
        counted from 1.
    name, units : str
        What the field is and its unit.
    """
    import xarray

    axes = dict(zip("xyz", grid_axes(grid)))
    metres = {"units": "m"}
    if isinstance(grid, Points):
        dims, shape = ["point"], [len(grid.coordinates)]
        coords: dict[str, Any] = {n: ("point", axis, metres) for n, axis in axes.items()}
    else:
        if p.ndim == 3 and p.shape != grid.shape:  # of a march, which knows no y
            del axes["y"]
        dims, shape = list(axes), [len(axis) for axis in axes.values()]
        coords = {n: (n, axis, metres) for n, axis in axes.items()}
    if p.ndim == len(dims) + 1:
        if times is None:
            coords["harmonic"] = np.arange(1, p.shape[-1] + 1)
        else:
            coords["time"] = ("time", time_axis(times), {"units": "s"})
        last = next(reversed(coords))
        dims.append(last)
        shape.append(p.shape[-1] if times is None else len(coords[last][1]))
    expected = f"an array of the shape {tuple(shape)}, as grid and times ask"
    _check.require(p.shape == tuple(shape), "to_xarray", "p", expected, p)
    return xarray.DataArray(p, coords, dims, name, {"units": units})
