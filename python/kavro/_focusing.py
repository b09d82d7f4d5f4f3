"""Time delays that focus an array."""

from __future__ import annotations

import numpy as np
from numpy.typing import ArrayLike

from kavro import _check
from kavro._channels import Wiring, middles
from kavro._check import Floats
from kavro._elements import Elements
from kavro._medium import Medium


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


def distances(elements: Elements, point: Floats) -> Floats:
    """How far each element is from a point, in m."""
    middle, radius = middles(elements)
    return np.asarray(np.sqrt(((point - middle) ** 2).sum(axis=1) + radius**2))
