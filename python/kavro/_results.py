"""What to make of a field."""

from __future__ import annotations

from collections.abc import Mapping
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Literal, NamedTuple

import numpy as np
from numpy.typing import ArrayLike, NDArray

from kavro import _check
from kavro._check import Floats
from kavro._errors import InputError
from kavro._medium import Medium
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
    expected = f"a vector of {len(x)} numbers, one for each position"
    magnitudes = np.abs(_check.values(me, "values", values, expected))
    _check.require(magnitudes.shape == x.shape, me, "values", expected, values)
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


@dataclass(frozen=True, eq=False)
class FieldIndices:
    """Mechanical index and intensities: maps over the points, and their values at the peak.

    Attributes
    ----------
    mechanical_index, pulse_intensity_integral, pulse_average : array
        Maps; the integral in J/m^2, the average in W/m^2.
    mi, isppa : float
        Their values at the spatial peak; 1 W/cm^2 is 1e4 W/m^2.
    pulse_duration : float
        There, in s.
    peak_point : tuple of int
        The index of the spatial peak in the maps.
    temporal_average : array or None
    ispta : float or None
        In W/m^2, where a repetition frequency is given.
    """

    mechanical_index: Floats
    pulse_intensity_integral: Floats
    pulse_average: Floats
    mi: float
    isppa: float
    pulse_duration: float
    peak_point: tuple[int, ...]
    temporal_average: Floats | None = None
    ispta: float | None = None


def field_indices(
    p: NDArray[Any] | Mapping[str, NDArray[Any]],
    medium: Medium,
    *,
    f0: float,
    time: Times | Instants | None = None,
    pulse_duration: float | None = None,
    prf: float | None = None,
    derating: float = 0.0,
    depth: ArrayLike | None = None,
) -> FieldIndices:
    """Mechanical index and intensities of a pulse's field, as IEC 62359 and 62127-1 define them.

    At every point, for a plane wave's relation of pressure and intensity:

    - pulse intensity integral: integral of p^2 dt / (density soundspeed);
    - pulse duration: 1.25 times the time in which that integral grows from a tenth to nine tenths;
    - pulse-average intensity: their quotient;
    - temporal-average intensity: the integral times the repetition frequency;
    - mechanical index: the largest rarefaction in MPa over the root of f0 in MHz.

    Spatial peaks are where the pulse intensity integral is largest.

    Parameters
    ----------
    p : array or dict
        Real pressure in Pa, of which the last dimension is time; or the measures 'peak_negative'
        and 'energy' of a field.
    medium : Medium
    f0 : float
        Centre frequency in Hz.
    time : Times or Instants, optional
        Those of p; needed with a field.
    pulse_duration : float, optional
        In s; needed with measures, instead of that of p.
    prf : float, optional
        Pulse repetition frequency in Hz.
    derating : float
        In dB/(cm MHz), 0.3 in regulations: pressures are reduced with depth first.
    depth : float or array, optional
        Depth of the points in m, such as the grid's z; needed for derating.

    Examples
    --------
    >>> indices = kavro.field_indices(p, water, f0=2e6, time=times, derating=0.3,
    ...                               depth=kavro.grid_axes(grid)[2])
    >>> indices.mi, 1e-4 * indices.isppa
    """
    me = "field_indices"
    megahertz = 1e-6 * _check.real(me, "f0", f0, "positive", "Hz")
    if isinstance(p, Mapping):
        rarefaction, energy = _given_measures(me, p)
        durations = None
    else:
        rarefaction, energy, durations = _measured(me, p, time)
    _check.require(energy.size > 0, me, "p", "of one point or more", p)
    if pulse_duration is not None or durations is None:
        duration = _check.real(me, "pulse_duration", pulse_duration, "positive", "s")
        durations = np.full(energy.shape, duration)
    factor = _derating_factor(me, derating, depth, megahertz, energy.shape)

    integral = np.asarray(factor**2 * energy / (medium.density * medium.soundspeed))
    index = np.asarray(1e-6 * factor * rarefaction / np.sqrt(megahertz))
    average = np.zeros(energy.shape)
    np.divide(integral, durations, out=average, where=durations > 0)
    in_order = np.where(np.isnan(integral), -np.inf, integral).ravel(order="F")
    peak = tuple(int(i) for i in np.unravel_index(in_order.argmax(), energy.shape, order="F"))
    rate = None if prf is None else _check.real(me, "prf", prf, "positive", "Hz")
    return FieldIndices(
        index,
        integral,
        average,
        float(index[peak]),
        float(average[peak]),
        float(durations[peak]),
        peak,
        None if rate is None else rate * integral,
        None if rate is None else float(rate * integral[peak]),
    )


def _given_measures(owner: str, measures: Mapping[str, NDArray[Any]]) -> tuple[Floats, Floats]:
    expected = "a dict with the arrays 'peak_negative' and 'energy' of one shape"
    wanted = ("peak_negative", "energy")
    if not all(name in measures for name in wanted):
        has = ", ".join(map(repr, measures)) or "nothing"
        raise InputError(f"{owner}: 'p' must be {expected}, but it holds {has}.")
    lowest, energy = (_check.numbers(owner, "p", measures[name], expected) for name in wanted)
    _check.require(lowest.shape == energy.shape, owner, "p", expected, measures)
    return np.maximum(-lowest, 0), energy


def _measured(
    owner: str, p: NDArray[Any], time: Times | Instants | None
) -> tuple[Floats, Floats, Floats]:
    """Rarefaction, integral of p^2 dt by trapezoids, and pulse duration at every point."""
    expected = "the times of p where a field over time is given"
    _check.require(isinstance(time, (Times, Instants)), owner, "time", expected, time)
    assert time is not None
    t = time_axis(time)
    expected = f"real, its last dimension the {len(t)} instants of 'time'"
    field = _check.values(owner, "p", p, expected, "iuf")
    fits = field.ndim > 0 and field.shape[-1] == len(t) > 1
    _check.require(fits, owner, "p", expected, p)
    steps = np.diff(t)
    _check.require((steps > 0).all(), owner, "time", "an axis of increasing instants", time)
    weights = (np.append(steps, 0) + np.append(0, steps)) / 2
    order: Literal["F", "C"] = "F" if field.flags.f_contiguous else "C"
    rows = field.reshape(-1, len(t), order=order)
    found = np.zeros((3, len(rows)))
    some = max(_AT_ONCE // len(t), 1)
    for i in range(0, len(rows), some):
        found[:, i : i + some] = _of_rows(rows[i : i + some].astype(float), weights, t)
    rarefaction, energy, durations = (
        column.reshape(field.shape[:-1], order=order) for column in found
    )
    return rarefaction, energy, durations


# Samples of a field that are worked on together: few enough for a copy or five in the cache.
_AT_ONCE = 1 << 16


def _of_rows(p: Floats, weights: Floats, t: Floats) -> tuple[Floats, Floats, Floats]:
    grown = np.cumsum(p**2 * weights, axis=1)
    energy = grown[:, -1]
    durations = np.zeros(len(p))
    sounds = energy > 0
    share = grown[sounds] / energy[sounds][:, None]
    durations[sounds] = 1.25 * (_when(share, t, 0.9) - _when(share, t, 0.1))
    return np.maximum(-p.min(axis=1), 0), energy, durations


def _when(share: Floats, t: Floats, level: float) -> Floats:
    """When each row, which does not fall, comes to a level: interpolated from its last rise."""

    def at(i: NDArray[np.intp]) -> Floats:
        return np.asarray(np.take_along_axis(share, i[:, None], axis=1))

    above = (share >= level).argmax(axis=1)
    high = at(above)
    low = at(np.maximum(above - 1, 0))
    below = (share >= low).argmax(axis=1)
    with np.errstate(all="ignore"):  # a row that begins above the level never comes to it
        part = ((level - low) / (high - low))[:, 0]
    return np.asarray(
        np.where(high[:, 0] == level, t[above], t[below] + part * (t[above] - t[below]))
    )


def _derating_factor(
    owner: str, derating: float, depth: ArrayLike | None, megahertz: float, shape: tuple[int, ...]
) -> Floats:
    rate = _check.real(owner, "derating", derating, "not negative", "dB/(cm MHz)")
    if rate == 0:
        return np.ones(())
    expected = f"one depth (m), or one for each of the points, of the shape {shape}"
    depths = _check.finite(owner, "depth", depth, expected)
    try:
        depths = np.broadcast_to(depths, shape)
    except ValueError:
        _check.refuse(owner, "depth", expected, depth)
    return np.asarray(10 ** (-rate * megahertz * 100 * np.maximum(depths, 0) / 20))


def to_xarray(
    p: NDArray[Any],
    grid: Grid | Points,
    times: Times | Instants | None = None,
    *,
    f0: ArrayLike | None = None,
    name: str = "pressure",
    units: str = "Pa",
) -> xarray.DataArray:
    """A field as an xarray.DataArray with its coordinates: x, y, z in m, time in s, frequency in Hz.

    Parameters
    ----------
    p : array
        What `solve` returned, of any method but arrival times; it is not copied. Fields of each
        element have a last dimension 'element', counted from 0.
    grid : Grid or Points
        The one that p belongs to. At Points the dimension is 'point', with x, y, z along it.
    times : Times or Instants, optional
        Those of a field over time. Without them a nonlinear continuous wave has a dimension
        'harmonic', counted from 1.
    f0 : (nf,), optional
        Frequencies of a spectrum in Hz, the sequence that `solve` was given.
    name, units : str
        What the field is and its unit.
    """
    import xarray

    axes = dict(zip("xyz", grid_axes(grid)))
    metres = {"units": "m"}
    is_march = False  # which knows no y
    if isinstance(grid, Points):
        dims, shape = ["point"], [len(grid.coordinates)]
        coords: dict[str, Any] = {n: ("point", axis, metres) for n, axis in axes.items()}
    else:
        is_march = p.shape[:3] != grid.shape and p.shape[:2] == (len(axes["x"]), len(axes["z"]))
        if is_march:
            del axes["y"]
        dims, shape = list(axes), [len(axis) for axis in axes.values()]
        coords = {n: (n, axis, metres) for n, axis in axes.items()}
    if times is not None and p.ndim > len(dims):
        coords["time"] = ("time", time_axis(times), {"units": "s"})
        dims.append("time")
        shape.append(len(coords["time"][1]))
    elif f0 is not None and p.ndim > len(dims):
        expected = "a vector of real numbers (Hz)"
        frequencies = _check.finite("to_xarray", "f0", f0, expected, (None,))
        coords["frequency"] = ("frequency", frequencies, {"units": "Hz"})
        dims.append("frequency")
        shape.append(len(frequencies))
    counted = {"harmonic": 1} if is_march and times is None else {}
    for last, first in {**counted, "element": 0}.items():
        if p.ndim > len(dims):
            shape.append(p.shape[len(dims)])
            coords[last] = np.arange(first, first + shape[-1])
            dims.append(last)
    expected = f"an array of the shape {tuple(shape)}, as grid, times and f0 ask"
    _check.require(p.shape == tuple(shape), "to_xarray", "p", expected, p)
    return xarray.DataArray(p, coords, dims, name, {"units": units})
