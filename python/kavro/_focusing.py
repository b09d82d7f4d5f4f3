"""Delays, phases and amplitudes that focus an array."""

from __future__ import annotations

import numpy as np
from numpy.typing import ArrayLike, NDArray

from kavro import _check
from kavro._channels import Wiring, channels, middles
from kavro._check import Floats
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._scene import Points
from kavro._solver import solve


def focus_delays(elements: Elements, point: ArrayLike, medium: Medium) -> Floats:
    """Time delays that let the waves of all elements arrive at a point together.

    The element farthest from the point fires at time 0 and the nearest last. Distances are taken
    from the elements' centres, those of polygons from the centre of their area, those of rings
    from the circle that halves it; elements of one channel fire together, by the distance of the
    middle one of them. The wave arrives at max(distance) / soundspeed.

    Parameters
    ----------
    elements : Elements
    point : three numbers
        The focus in m.
    medium : Medium
        Of which the speed of sound is read.

    Returns
    -------
    (n,) array
        Delays in s, one for each element, zero or positive; ``elements.replace(time_delay=delays)``.
    """
    me = "focus_delays"
    focus = _check.finite(me, "point", point, "three real numbers (m)", (3,))
    speed = _check.real(me, "medium.soundspeed", medium.soundspeed, "positive", "m/s")
    wiring = Wiring(elements)
    away = wiring.means(distances(elements, focus))[wiring.channel]
    return np.asarray((away.max(initial=0.0) - away) / speed)


def focus(
    elements: Elements,
    point: ArrayLike,
    medium: Medium,
    *,
    f0: float,
    pressures: ArrayLike | None = None,
    uniform: bool = False,
) -> Elements:
    """The array focused at a point or at several, for pulses and for continuous waves.

    At one point, delays become those of `focus_delays`, T, and phases those of a continuous wave with
    these delays, -2 pi f0 T, from -pi to pi.

    At several points, amplitudes and phases become those of the least total drive whose continuous
    wave has the wanted pressures there: the pseudo-inverse of the matrix that takes the elements'
    drives to the pressures at the points, each entry the field of one element by the fast nearfield
    method (E. S. Ebbini, C. A. Cain, IEEE Trans. Ultrason. Ferroelectr. Freq. Control 36, 540, 1989).
    Delays become 0, for no delays make several foci. Elements of one channel are driven alike.

    Parameters
    ----------
    elements : Elements
    point : three numbers, or (m, 3)
        The focus in m, or the foci, as many as the channels at most.
    medium : Medium
    f0 : float
        Frequency in Hz.
    pressures : (m,), optional
        Several points: the pressures there in Pa, complex where their phases matter. By default all
        are alike, and the largest drive is the largest amplitude of the elements.
    uniform : bool
        Several points: True drives all elements alike, with the mean of the amplitudes that the
        elements have. Pressures then are in the wanted proportions as far as phases alone can have it,
        their own phases left open.

    Examples
    --------
    >>> array = kavro.random_array(64, 20e-3, 1.5e-3, rad_curvature=50e-3)
    >>> array = kavro.focus(array, [(-3e-3, 0, 50e-3), (3e-3, 0, 50e-3)], medium, f0=1e6)
    """
    me = "focus"
    f0 = _check.real(me, "f0", f0, "positive", "Hz")
    if np.size(np.asarray(point, dtype=object)) == 3:
        delays = focus_delays(elements, np.ravel(np.asarray(point)), medium)
        phases = np.angle(np.exp(-2j * np.pi * f0 * delays))
        return elements.replace(time_delay=delays, phase=phases)
    channel, count = channels(elements)
    expected = f"a focus, x, y, z, or m x 3 foci (m), as many as the {count} channels at most"
    foci = _check.finite(me, "point", point, expected, (None, 3))
    _check.require(len(foci) <= count, me, "point", expected, point)
    wanted = np.ones(len(foci), dtype=complex)
    if pressures is not None:
        wanted = np.asarray(pressures)
        fits = wanted.dtype.kind in "iufc" and wanted.shape == (len(foci),)
        fits = fits and bool(np.isfinite(wanted).all()) and bool((wanted != 0).all())
        expected = f"{len(foci)} pressures that are not zero (Pa)"
        _check.require(fits, me, "pressures", expected, pressures)
    plain = elements.replace(amplitude=1.0, phase=0.0, time_delay=0.0)
    alone = solve("fnm_cw", plain, Points(foci), medium, f0=f0, per_element=True)
    H = alone @ (channel[:, None] == np.arange(count))
    inverse = np.linalg.pinv(H)
    drives = inverse @ wanted
    amplitudes = np.abs(elements.amplitude)
    if uniform:
        drives = amplitudes.mean() * _turned_alike(H, inverse, drives, np.abs(wanted))
    elif pressures is None:
        drives = drives * (amplitudes.max() / np.abs(drives).max())
    each = drives[channel]
    return elements.replace(amplitude=np.abs(each), phase=np.angle(each), time_delay=0.0)


def _turned_alike(
    H: NDArray[np.complex128],
    inverse: NDArray[np.complex128],
    drives: NDArray[np.complex128],
    wanted: Floats,
) -> NDArray[np.complex128]:
    """Drives of magnitude 1 by turns: phases that the wanted pressures ask for, and pressures whose
    phases are those that come of it, the more wanted the less has come."""
    sought = wanted
    for _ in range(100):
        p = H @ np.exp(1j * np.angle(drives))
        sought = sought * (wanted * np.abs(p).mean()) / (np.abs(p) * wanted.mean())
        drives = inverse @ (sought * np.exp(1j * np.angle(p)))
    return np.asarray(np.exp(1j * np.angle(drives)))


def distances(elements: Elements, point: Floats) -> Floats:
    """How far each element is from a point, in m."""
    middle, radius = middles(elements)
    return np.asarray(np.sqrt(((point - middle) ** 2).sum(axis=1) + radius**2))
