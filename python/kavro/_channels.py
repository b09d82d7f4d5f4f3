"""Channels: which elements are wired together, and where they stand."""

from __future__ import annotations

import numpy as np
from numpy.typing import NDArray

from kavro._check import Floats
from kavro._elements import Elements, rotation_matrices

Numbers = NDArray[np.int64]


def channels(elements: Elements) -> tuple[Numbers, int]:
    """The number of each element's channel, from 0 on, and how many channels there are."""
    given = elements.channel.copy()
    own = given < 0
    given[own] = given.max(initial=-1) + 1 + np.arange(own.sum())
    kinds, numbers = np.unique(given, return_inverse=True)
    return numbers.astype(np.int64), len(kinds)


class Wiring:
    """The channels of an array, where they stand and where they face.

    A channel stands where the middle one of its elements does, or between those that share the
    middle.
    """

    def __init__(self, elements: Elements) -> None:
        self.channel, self.count = channels(elements)
        points, _ = middles(elements)
        self._share = middle_share(self.channel, points)
        self.positions = self.means(points)
        facing = rotation_matrices(elements.euler)[:, 2]
        self.directions = unit_rows(self.means(facing))

    def means(self, values: Floats) -> Floats:
        """From one row for each element to one for each channel."""
        weighted = self._share.reshape(-1, *[1] * (values.ndim - 1)) * values
        means = np.zeros((self.count, *values.shape[1:]))
        np.add.at(means, self.channel, weighted)
        return means


def middle_share(group: Numbers, points: Floats) -> Floats:
    """Weights that pick the point nearest to its group's mean; those equally near share it."""
    count = int(group.max(initial=-1)) + 1
    sizes = np.bincount(group, minlength=count)
    means = np.stack([np.bincount(group, column, count) / sizes for column in points.T], axis=1)
    away = np.sqrt(((points - means[group]) ** 2).sum(axis=1))
    nearest, farthest = np.full(count, np.inf), np.zeros(count)
    np.minimum.at(nearest, group, away)
    np.maximum.at(farthest, group, away)
    chosen = away <= nearest[group] + 1e-6 * farthest[group]
    return np.asarray(chosen / np.bincount(group, chosen, count)[group])


def unit_rows(rows: Floats) -> Floats:
    """Rows of the length 1; rows of zeros stay."""
    lengths = np.sqrt((rows**2).sum(axis=-1, keepdims=True))
    return np.asarray(rows / np.maximum(lengths, np.finfo(float).tiny))


def middles(elements: Elements) -> tuple[Floats, Floats]:
    """Where elements stand as sources of waves: points in m, and of rings a circle's radius."""
    local = np.zeros((len(elements), 3))
    radius = np.zeros(len(elements))

    flat = elements.shape == "ring"
    radius[flat] = np.sqrt(
        (elements.inner_radius[flat] ** 2 + elements.outer_radius[flat] ** 2) / 2
    )

    # Height above the deepest point grows with the area below it.
    bent = elements.shape == "sph ring"
    focus = elements.geometric_focus[bent]
    inner, outer = elements.inner_radius[bent], elements.outer_radius[bent]
    height = (_depth(inner, focus) + _depth(outer, focus)) / 2
    local[bent, 2] = height
    radius[bent] = np.sqrt(height * (2 * focus - height))

    for i in np.flatnonzero(elements.shape == "poly"):
        local[i, :2] = _centroid(elements.corners[i])
    turned = np.einsum("nj,nji->ni", local, rotation_matrices(elements.euler))
    return elements.center + turned, radius


def _depth(radius: Floats, curvature: Floats) -> Floats:
    return np.asarray(radius**2 / (curvature + np.sqrt(curvature**2 - radius**2)))


def _centroid(corners: Floats) -> Floats:
    after = np.roll(corners, -1, axis=0)
    areas = corners[:, 0] * after[:, 1] - after[:, 0] * corners[:, 1]
    return np.asarray((corners + after).T @ areas / (3 * areas.sum()))
