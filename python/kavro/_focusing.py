"""Time delays that focus an array."""

from __future__ import annotations

import numpy as np
from numpy.typing import ArrayLike

from kavro import _check
from kavro._check import Floats
from kavro._elements import Elements, rotation_matrices
from kavro._medium import Medium


def focus_delays(elements: Elements, point: ArrayLike, medium: Medium) -> Floats:
    """Time delays that let the waves of all elements arrive at a point together.

    The element farthest from the point fires at time 0 and the nearest last. Distances are taken
    from the elements' centres, those of polygons from the centre of their area, those of rings
    from the circle that halves it. The wave arrives at max(distance) / soundspeed.

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
        Delays in s, zero or positive; ``elements.replace(time_delay=delays)``.
    """
    me = "focus_delays"
    focus = _check.finite(me, "point", point, "three real numbers (m)", (3,))
    speed = _check.real(me, "medium.soundspeed", medium.soundspeed, "positive", "m/s")
    away = distances(elements, focus)
    return np.asarray((away.max(initial=0.0) - away) / speed)


def distances(elements: Elements, point: Floats) -> Floats:
    """How far each element is from a point, in m."""
    turned = rotation_matrices(elements.euler)
    away = np.einsum("nij,nj->ni", turned, point - elements.center)
    middle = np.zeros((len(elements), 3))
    radius2 = np.zeros(len(elements))

    flat = elements.shape == "ring"
    radius2[flat] = (elements.inner_radius[flat] ** 2 + elements.outer_radius[flat] ** 2) / 2

    # Height above the deepest point grows with the area below it.
    bent = elements.shape == "sph ring"
    focus = elements.geometric_focus[bent]
    inner, outer = elements.inner_radius[bent], elements.outer_radius[bent]
    height = (_depth(inner, focus) + _depth(outer, focus)) / 2
    middle[bent, 2] = height
    radius2[bent] = height * (2 * focus - height)

    for i in np.flatnonzero(elements.shape == "poly"):
        middle[i, :2] = _centroid(elements.corners[i])
    return np.asarray(np.sqrt(((away - middle) ** 2).sum(axis=1) + radius2))


def _depth(radius: Floats, curvature: Floats) -> Floats:
    return np.asarray(radius**2 / (curvature + np.sqrt(curvature**2 - radius**2)))


def _centroid(corners: Floats) -> Floats:
    after = np.roll(corners, -1, axis=0)
    areas = corners[:, 0] * after[:, 1] - after[:, 0] * corners[:, 1]
    return np.asarray((corners + after).T @ areas / (3 * areas.sum()))
