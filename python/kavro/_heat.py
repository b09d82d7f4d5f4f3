"""From pressure to temperature: heat rate, temperature in tissue, thermal dose."""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import Any, Literal

import numpy as np
from numpy.typing import ArrayLike, NDArray

from kavro import _check, _kavro
from kavro._check import Floats
from kavro._medium import Medium
from kavro._scene import Grid, Instants, Times, time_axis
from kavro._solver import Progress, _lowered, _shown

WallName = Literal["insulated", "fixed"]


def heat_rate(
    p: ArrayLike,
    medium: Medium,
    f0: float,
    *,
    harmonics: int | None = None,
    law: Literal["power", "march"] = "power",
) -> Floats:
    """Heat that a continuous wave leaves in the medium.

    ``2 alpha |p|^2 / (2 density soundspeed)``: of a plane wave twice alpha times its intensity, and of
    waves that cross what they lose together at each point. All that is attenuated counts as absorbed.
    The harmonics of a nonlinear wave each heat by themselves (W. L. Nyborg, J. Acoust. Soc. Am. 70,
    310, 1981).

    Parameters
    ----------
    p : array
        Complex pressure of a continuous wave, or its magnitude, in Pa.
    medium : Medium
    f0 : float
        Frequency in Hz, of the fundamental.
    harmonics : int, optional
        How many harmonics of f0 the last dimension of p holds, as in the result of 'kzk_cw'; the heat
        rate is their sum, without that dimension. By default p is one wave.
    law : {'power', 'march'}
        Attenuation alpha at a frequency of f MHz in dB/cm, of which 8.6859 are a neper, from the
        medium's attenuation a and exponent y: a f^y, as in exact continuous waves, or a f0 n^2 for
        harmonic n, which is what 'kzk_cw' takes from the wave.

    Returns
    -------
    array
        W/m^3.

    Examples
    --------
    >>> heat = kavro.heat_rate(p, kavro.medium("liver"), 1e6)
    """
    me = "heat_rate"
    field = np.asarray(p)
    _check.require(field.dtype.kind in "iufc", me, "p", "numbers, real or complex (Pa)", p)
    megahertz = 1e-6 * _check.real(me, "f0", f0, "positive", "Hz")
    by_march = _check.choice(me, "law", law, ("power", "march")) == "march"
    count = 1
    if harmonics is not None:
        count = _check.whole(me, "harmonics", harmonics, 1)
        expected = f"of {count} harmonics along its last dimension"
        _check.require(field.ndim > 0 and field.shape[-1] == count, me, "p", expected, p)
    n = np.arange(1, count + 1)
    exponent = medium.powerlawexponent or 1.0
    frequencies = megahertz * n**2 if by_march else (megahertz * n) ** exponent
    alpha = 100 * medium.attenuationdBcmMHz * frequencies * math.log(10) / 20
    intensity = np.abs(field) ** 2 / (2 * medium.density * medium.soundspeed)
    heat = 2 * alpha[0] * intensity if harmonics is None else intensity @ (2 * alpha)
    return np.asarray(heat, dtype=np.float64)


def bioheat(
    Q: ArrayLike,
    grid: Grid,
    medium: Medium,
    times: ArrayLike | Times | Instants,
    *,
    start_temperature: ArrayLike | None = None,
    arterial_temperature: float = 37.0,
    wall_temperature: float | None = None,
    walls: WallName | Sequence[WallName] = "insulated",
    switching: ArrayLike | None = None,
    axisymmetric: bool = False,
    threads: int | None = None,
    progress: Progress = None,
) -> Floats:
    """Temperature in tissue that is heated, conducts, and is cooled by blood.

    Pennes' equation (J. Appl. Physiol. 1, 93, 1948) on a regular grid, from the time 0 on::

        density C dT/dt = k laplace(T) - w C_b (T - T_a) + Q

    The temperature is a series of the modes that the walls allow, each of which follows the heat
    exactly: the times may be as far apart as you like. The grid's first and last points lie on the
    walls; where it has one point along an axis, nothing varies along that axis. A smooth heat rate
    that has come to rest at the walls is exact to rounding with three points to its half width; what
    does not meet the walls as the temperature must costs an error of about h^2/12 times its second
    derivative, with the spacing h.

    Parameters
    ----------
    Q : float or array
        Heat rate in W/m^3, such as `heat_rate` gives: (nx, ny, nz), or without dimensions of one, or
        one number for all points.
    grid : Grid
    medium : Medium
        density, specificheat (C), thermalconductivity (k), bloodperfusion (w) and specificheatofblood
        (C_b) are read.
    times : array, Times or Instants
        In s, in order, zero or positive.
    start_temperature : float or array, optional
        At the time 0, in degrees Celsius; by default the arterial one.
    arterial_temperature : float
        T_a in degrees Celsius.
    wall_temperature : float, optional
        Of fixed walls; by default the arterial one.
    walls : str or sequence of str
        'insulated' (no heat passes) or 'fixed' (they keep a temperature); three of these for x, y and
        z, or six for the first and last x, y and z.
    switching : (n, 2), optional
        From the instant (s) in the first column on, the heat rate is Q times the factor in the second
        one; before the first there is none. ``[(0, 1), (10, 0)]`` heats for ten seconds.
    axisymmetric : bool
        True: x is the distance from an axis along z, from 0 on, and y has one value, as in the grids of
        'kzk_cw'. The axis is no wall.
    threads : int, optional
        Threads of this call.
    progress : bool or function, optional
        As for `solve`.

    Returns
    -------
    (nx, ny, nz, times) array in Fortran order
        Degrees Celsius.

    Examples
    --------
    >>> liver = kavro.medium("liver", bloodperfusion=15)
    >>> T = kavro.bioheat(heat, grid, liver, range(21), switching=[(0, 1), (10, 0)])
    """
    me = "bioheat"
    _check.require(isinstance(grid, Grid), me, "grid", "a Grid", grid)
    heat = _field(me, "Q", Q, grid)
    instants = (
        times
        if isinstance(times, (Times, Instants))
        else _check.numbers(me, "times", times, "real numbers (s)")
    )
    options: dict[str, object] = {
        "arterial_temperature": arterial_temperature,
        "wall_temperature": wall_temperature,
        "walls": walls,
        "axisymmetric": axisymmetric,
        "threads": threads,
    }
    if start_temperature is not None:
        options["start_temperature"] = _field(me, "start_temperature", start_temperature, grid)
    if switching is not None:
        expected = "n x 2 real numbers: instants (s) and factors"
        options["switching"] = _check.numbers(me, "switching", switching, expected, (None, 2))
    with _shown(progress) as shown:
        options["progress"] = shown
        arguments: list[object] = ["bioheat", heat, grid, medium, instants]
        for name, value in options.items():
            if value is not None:
                arguments += [name, value]
        (temperatures,) = _kavro.call([_lowered(argument) for argument in arguments])
    return np.asarray(temperatures)


def _field(owner: str, name: str, value: ArrayLike, grid: Grid) -> Floats:
    """One number, or those of all points, x fastest."""
    shape = grid.shape
    expected = f"one real number, or an array of the shape {shape}, with or without extents of 1"
    array = _check.numbers(owner, name, value, expected)
    fits = array.ndim == 0 or [n for n in array.shape if n > 1] == [n for n in shape if n > 1]
    _check.require(fits, owner, name, expected, value)
    return array if array.ndim == 0 else array.reshape(shape, order="F")


def thermal_dose(
    T: ArrayLike, times: ArrayLike | Times | Instants, *, threshold: float = -math.inf
) -> Floats:
    """Minutes at 43 degrees Celsius that would do as much to tissue: CEM43.

    The integral of R^(43 - T) over time, with R = 0.5 above 43 degrees and R = 0.25 below (S. A.
    Sapareto, W. C. Dewey, Int. J. Radiat. Oncol. Biol. Phys. 10, 787, 1984). Between two instants the
    temperature goes along a straight line, over which the integral is exact.

    Parameters
    ----------
    T : array
        Temperatures in degrees Celsius, the last dimension over time, as `bioheat` gives.
    times : (n,), Times or Instants
        In s, in order.
    threshold : float
        Temperature below which nothing counts, 43 at most. By default everything does, as in the
        source; some authors take 39.

    Returns
    -------
    array
        Equivalent minutes; 240 and more are taken to kill most tissues.

    Examples
    --------
    >>> float(kavro.thermal_dose([37, 56, 56, 37], [0, 5, 10, 15]).round())
    786.0
    """
    me = "thermal_dose"
    expected = "a real number, 43 at most (degrees Celsius)"
    lowest = float(_check.numbers(me, "threshold", threshold, expected, ()))
    _check.require(lowest <= 43, me, "threshold", expected, threshold)
    if isinstance(times, (Times, Instants)):
        times = time_axis(times)
    expected = "a vector of instants (s), none before the last"
    t = _check.finite(me, "times", times, expected, (None,))
    _check.require((np.diff(t) >= 0).all(), me, "times", expected, times)
    temperatures = np.asarray(T)
    fits = temperatures.dtype.kind in "iuf" and temperatures.shape[-1:] == t.shape
    expected = f"real, its last dimension the {len(t)} instants of 'times'"
    _check.require(fits, me, "T", expected, T)
    dose = np.zeros(temperatures.shape[:-1])
    for i in range(1, len(t)):
        rate = _mean_rate(
            temperatures[..., i - 1].astype(float), temperatures[..., i].astype(float), lowest
        )
        dose += (t[i] - t[i - 1]) / 60 * rate
    return dose


def _mean_rate(first: Floats, last: Floats, lowest: float) -> NDArray[Any]:
    """Along straight lines between temperatures. Where they hardly differ, a difference of integrals
    would lose digits."""
    change = last - first
    level = np.abs(change) < 1e-5
    middle = (first + last) / 2
    at_middle = np.exp2((middle - 43) * (1 + (middle < 43))) * (middle >= lowest)
    along = (_summed(last, lowest) - _summed(first, lowest)) / np.where(level, 1, change)
    return np.where(level, at_middle, along)


def _summed(temperature: Floats, lowest: float) -> Floats:
    """The integral of the rate over temperature, from the threshold on."""
    below = np.minimum(np.maximum(temperature, lowest), 43)
    low = (4 ** (below - 43) - 4 ** (lowest - 43)) / math.log(4)
    return np.asarray(low + (2 ** (np.maximum(temperature, 43) - 43) - 1) / math.log(2))
