"""Intensity and power of continuous waves."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray

from kavro import _check, _kavro
from kavro._check import Floats
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._solver import Progress, _lowered, _shown


def intensity(p: NDArray[Any], v: NDArray[Any]) -> Floats:
    """Time-averaged intensity of a continuous wave, a vector at every point.

    I = Re(p conj(v)) / 2: the power that passes through a surface is the integral of its component
    along the surface's normal.

    Parameters
    ----------
    p, v : array
        Pressure (Pa) and particle velocity (m/s) as `solve` returns them with ``velocity=True``.

    Returns
    -------
    array
        Of the shape of v, in W/m^2; 1 W/cm^2 is 1e4 W/m^2.

    Examples
    --------
    >>> p, v = kavro.solve("fnm_cw", disc, grid, medium, f0=1e6, velocity=True)
    >>> along_z = kavro.intensity(p, v)[..., 2]
    """
    me = "intensity"
    expected = "an array of numbers, such as solve returns"
    _check.require(np.asarray(p).dtype.kind in "iufc", me, "p", expected, p)
    pressure, velocity = np.asarray(p), np.asarray(v)
    axis = 3 if velocity.ndim > 3 else 1
    fits = (
        velocity.dtype.kind in "iufc"
        and velocity.ndim > axis
        and velocity.shape[axis] == 3
        and velocity.shape[:axis] + velocity.shape[axis + 1 :] == pressure.shape
    )
    expected = f"the velocity that belongs to p of the shape {pressure.shape}, with 3 components"
    _check.require(fits, me, "v", expected, v)
    return np.asarray(np.real(np.expand_dims(pressure, axis) * np.conj(velocity)) / 2)


def acoustic_power(
    elements: Elements,
    medium: Medium,
    f0: float,
    *,
    threads: int | None = None,
    progress: Progress = None,
) -> float:
    """Power in W that an array radiates in a continuous wave, all interaction of elements included.

    The time average of what passes through a sphere far away, without losses. Amplitudes and phases
    count, delays do not.

    Parameters
    ----------
    elements : Elements
        Of any shapes, mixed.
    medium : Medium
        Its density and speed of sound count.
    f0 : float
        Frequency in Hz.
    threads : int, optional
        Threads of this call; by default as `kavro.threads` says.
    progress : bool or function, optional
        As for `solve`.

    Examples
    --------
    >>> bowl = kavro.spherical_shell(32e-3, 64e-3, amplitude=0.3)
    >>> kavro.acoustic_power(bowl, kavro.water(), 1e6)
    """
    with _shown(progress) as shown:
        arguments: list[object] = ["acoustic_power", elements, medium, f0]
        for name, value in {"threads": threads, "progress": shown}.items():
            if value is not None:
                arguments += [name, value]
        (power,) = _kavro.call([_lowered(argument) for argument in arguments])
    return float(power.item())
