"""Transmit events: which channels fire when, and what wave that makes."""

from __future__ import annotations

import math
from collections.abc import Sequence
from dataclasses import dataclass, fields
from typing import Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from kavro import _check
from kavro._channels import Wiring, middle_share, unit_rows
from kavro._check import Floats
from kavro._elements import Elements
from kavro._focusing import distances
from kavro._medium import Medium


@dataclass(frozen=True, eq=False)
class Events:
    """Transmit events of an array of k channels: n rows, one for each event.

    What `plane_wave_events` and its like make. A wave is at a point x at the time
    (distance + s |x - focus|) / soundspeed, with focus = origin + distance * direction and s the
    sign of direction . (x - focus); a plane one, of the distance inf, at
    direction . (x - origin) / soundspeed. What the waveform takes to its peak comes on top.
    ``events[i:j]`` chooses, ``len(events)`` counts.

    Parameters
    ----------
    delays : (n, k)
        When each channel fires, in s, also before time 0; nan: it is silent.
    apodization : (n, k)
        Factors of the elements' amplitudes.
    origin : (n, 3)
        The point in m that the wave passes at time 0.
    direction : (n, 3)
        A unit vector, in which the wave goes there.
    distance : (n,)
        How far ahead of the origin in m the wave meets in a point; negative: behind the origin.
    """

    delays: Floats
    apodization: Floats
    origin: Floats
    direction: Floats
    distance: Floats

    def __post_init__(self) -> None:
        n, k = np.shape(self.delays) if np.ndim(self.delays) == 2 else (None, None)
        for field in fields(self):
            columns = {"delays": (k,), "apodization": (k,), "distance": ()}.get(field.name, (3,))
            expected = "an array of " + " x ".join(str(size or "n") for size in (n, *columns))
            value = getattr(self, field.name)
            rows = _check.numbers("Events", field.name, value, expected, (n, *columns))
            object.__setattr__(self, field.name, rows)

    def __len__(self) -> int:
        return len(self.delays)

    def __getitem__(self, which: int | slice | Sequence[int] | NDArray[Any]) -> Events:
        """The chosen events: by number, slice, or an array of numbers or truths."""
        rows = np.atleast_1d(np.arange(len(self))[which])
        return Events(*(getattr(self, field.name)[rows] for field in fields(self)))


def plane_wave_events(
    elements: Elements,
    angles: ArrayLike,
    medium: Medium,
    *,
    elevation: ArrayLike = 0.0,
    aperture: ArrayLike | None = None,
    origin: ArrayLike = (0, 0, 0),
) -> Events:
    """Transmit events that send plane waves.

    Time 0 of each event is when its wave passes the origin; some channels fire before it, and have
    negative delays.

    Parameters
    ----------
    elements : Elements
        Of k channels.
    angles : (n,)
        Angles in rad, by which the waves are turned from +z towards +x.
    medium : Medium
        Of which the speed of sound is read.
    elevation : float or (n,)
        By how much the waves are turned towards +y in rad: a wave goes towards
        (sin a cos e, sin e, cos a cos e).
    aperture : list of int, or bool, (k,) or (n, k), optional
        The channels that fire: their numbers, from 0 on, or a truth for each; by default all.
    origin : three numbers
        The point in m that the waves pass at time 0.

    Examples
    --------
    Eleven plane waves, from -15 to 15 degrees:

    >>> probe = kavro.linear_array(64, 0.3e-3, width=0.27e-3, height=5e-3)
    >>> events = kavro.plane_wave_events(probe, np.radians(np.linspace(-15, 15, 11)), kavro.water())
    """
    me = "plane_wave_events"
    wiring = Wiring(elements)
    a = np.atleast_1d(_check.finite(me, "angles", angles, "a vector of real numbers (rad)"))
    _check.require(a.ndim == 1, me, "angles", "a vector of real numbers (rad)", angles)
    speed = _check.real(me, "medium.soundspeed", medium.soundspeed, "positive", "m/s")
    expected = f"one real number, or a vector of {len(a)}, one for each angle (rad)"
    e = _check.finite(me, "elevation", elevation, expected)
    _check.require(e.shape in ((), (1,), a.shape), me, "elevation", expected, elevation)
    start = _check.finite(me, "origin", origin, "three real numbers (m)", (3,))
    fires = _aperture(me, aperture, len(a), wiring.count)

    direction = np.stack([np.sin(a) * np.cos(e), np.sin(e) + 0 * a, np.cos(a) * np.cos(e)], axis=1)
    delays = direction @ (wiring.positions - start).T / speed
    return _events(delays, fires, start, direction, math.inf)


def focused_events(
    elements: Elements,
    points: ArrayLike,
    medium: Medium,
    *,
    aperture: ArrayLike | None = None,
    count: int | None = None,
    f_number: float | None = None,
    origin: ArrayLike = (0, 0, 0),
) -> Events:
    """Transmit events that send focused or diverging waves.

    Waves meet in points in front of the array, and seem to come from points behind it. Time 0 of each
    event is when its wave passes the origin, so that it is in a point in front of the array at
    |point - origin| / soundspeed; some channels fire before time 0, and have negative delays.

    Parameters
    ----------
    elements : Elements
        Of k channels.
    points : (n, 3)
        Each event's point in m.
    medium : Medium
        Of which the speed of sound is read.
    aperture : list of int, or bool, (k,) or (n, k), optional
        The channels that may fire: their numbers, from 0 on, or a truth for each; by default all.
    count : int, optional
        How many of them fire, those nearest to the point (of equally near ones the lower number
        first).
    f_number : float, optional
        Distance of the point from the nearest channel over the width of the part of the array that
        fires, which lies around that channel.
    origin : three numbers
        The point in m that the waves pass at time 0.

    Examples
    --------
    Lines 1 mm apart, focused at 30 mm by a part of the array that moves along:

    >>> probe = kavro.linear_array(64, 0.3e-3, width=0.27e-3, height=5e-3)
    >>> points = [(1e-3 * i, 0, 30e-3) for i in range(-8, 9)]
    >>> events = kavro.focused_events(probe, points, kavro.water(), f_number=2.5)
    """
    me = "focused_events"
    wiring = Wiring(elements)
    focus = _check.finite(me, "points", points, "n x 3 real numbers (m)", (None, 3))
    speed = _check.real(me, "medium.soundspeed", medium.soundspeed, "positive", "m/s")
    start = _check.finite(me, "origin", origin, "three real numbers (m)", (3,))
    fires = _aperture(me, aperture, len(focus), wiring.count)
    away = np.stack([wiring.means(distances(elements, point)) for point in focus])
    fires &= _near_enough(me, np.where(fires, away, np.inf), count, f_number)

    # Which side of the array a point is on, and of the origin.
    facing = wiring.directions.sum(axis=0)
    together = np.zeros(wiring.count, dtype=np.int64)
    middle = middle_share(together, wiring.positions) @ wiring.positions
    ahead = np.where((focus - middle) @ facing >= 0, 1, -1)[:, None]
    far = np.sqrt(((focus - start) ** 2).sum(axis=1))
    distance = np.where((focus - start) @ facing >= 0, far, -far)
    with np.errstate(invalid="ignore"):
        direction = (focus - start) / distance[:, None]
    direction[far == 0] = unit_rows(facing)
    delays = (distance[:, None] - ahead * away) / speed
    return _events(delays, fires, start, direction, distance)


def synthetic_aperture_events(elements: Elements, *, aperture: ArrayLike | None = None) -> Events:
    """Transmit events in which one channel after the other fires alone, at time 0.

    Parameters
    ----------
    elements : Elements
        Of k channels.
    aperture : list of int, or bool, (k,), optional
        The channels that fire: their numbers, from 0 on, in this order, or a truth for each; by
        default all.

    Examples
    --------
    Every fourth channel:

    >>> probe = kavro.linear_array(64, 0.3e-3, width=0.27e-3, height=5e-3)
    >>> events = kavro.synthetic_aperture_events(probe, aperture=range(0, 64, 4))
    """
    me = "synthetic_aperture_events"
    wiring = Wiring(elements)
    fires = _aperture(me, aperture, 1, wiring.count)
    is_list = aperture is not None and np.asarray(aperture).dtype.kind != "b"
    chosen = np.asarray(aperture).astype(int) if is_list else np.flatnonzero(fires)
    fires = np.arange(wiring.count) == chosen[:, None]
    origin, direction = wiring.positions[chosen], wiring.directions[chosen]
    return _events(np.zeros(fires.shape), fires, origin, direction, 0.0)


def _aperture(owner: str, value: ArrayLike | None, n: int, k: int) -> NDArray[np.bool_]:
    """Which channels fire in which event."""
    if value is None:
        return np.ones((n, k), dtype=bool)
    expected = (
        f"different numbers of channels from 0 to {k - 1}, or {k} or {n} x {k} truths of which "
        "each event has a true one"
    )
    given = np.asarray(value)
    if given.dtype.kind == "b":
        fits = given.shape in ((k,), (n, k)) and np.atleast_2d(given).any(axis=1).all()
        _check.require(fits, owner, "aperture", expected, value)
        return np.array(np.broadcast_to(given, (n, k)))
    numbers = _check.finite(owner, "aperture", given, expected, (None,))
    known = np.isin(numbers, np.arange(k)).all() and len(np.unique(numbers)) == len(numbers)
    _check.require(known, owner, "aperture", expected, value)
    fires = np.zeros((n, k), dtype=bool)
    fires[:, numbers.astype(int)] = True
    return fires


def _near_enough(
    owner: str, away: Floats, count: int | None, f_number: float | None
) -> NDArray[np.bool_]:
    near = np.ones(away.shape, dtype=bool)
    if f_number is not None:
        ratio = _check.real(owner, "f_number", f_number, "positive")
        reach = away.min(axis=1, keepdims=True) * math.sqrt(1 + 1 / (4 * ratio**2)) * (1 + 1e-9)
        near = away <= reach
    if count is not None:
        most = away.shape[1]
        number = _check.whole(owner, "count", count, 1)
        _check.require(number <= most, owner, "count", f"a whole number from 1 to {most}", count)
        order = np.argsort(away, axis=1, kind="stable")
        np.put_along_axis(near, order[:, number:], False, axis=1)
    return near


def _events(
    delays: Floats,
    fires: NDArray[np.bool_],
    origin: Floats,
    direction: Floats,
    distance: Floats | float,
) -> Events:
    n = len(delays)
    return Events(
        np.where(fires, delays, np.nan),
        fires.astype(float),
        np.broadcast_to(origin, (n, 3)),
        direction,
        np.broadcast_to(distance, n),
    )
