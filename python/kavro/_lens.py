"""Cylindrical lenses: rectangles bent along y, as flat strips."""

from __future__ import annotations

import math

import numpy as np

from kavro import _check
from kavro._check import Floats
from kavro._elements import Elements, euler_of, rotation_matrices


def under_lens(
    owner: str,
    elements: Elements,
    elevation_focus: float | None,
    wavelength: float | None,
    rows: Floats | None = None,
) -> Elements:
    """The strips, of one channel each, that a maker's rectangles become; without a lens, themselves.

    `rows` says where along y in m the rectangles lie under the lens, which all rows have in common;
    0 if it is left out.
    """
    if elevation_focus is None:
        expected = "given together with 'elevation_focus'"
        _check.require(wavelength is None, owner, "wavelength", expected, wavelength)
        return elements
    rows = np.zeros(len(elements)) if rows is None else rows
    is_rect = elements.shape[0] == "rectangle"
    _check.require(is_rect, owner, "elevation_focus", "given for rectangles only", elevation_focus)
    focus = _check.real(owner, "elevation_focus", elevation_focus, "positive", "m")
    half = elements.height[0] / 2
    reach = float(np.abs(rows).max()) + half
    expected = f"at least half the height, {reach:.6g} m"
    _check.require(focus >= reach, owner, "elevation_focus", expected, elevation_focus)
    wavelength = _check.real(owner, "wavelength", wavelength, "positive", "m")

    low = np.arcsin((rows - half) / focus)
    angles = np.arcsin((rows + half) / focus) - low
    # Flat strips send grating orders of the amplitude h^2 / (2 pi F wavelength), 1e-3 here, which die
    # away at once where h is below the wavelength. An odd number has a strip in the middle, where the
    # channel stands.
    highest = max(0.8 * wavelength, math.sqrt(2e-3 * math.pi * focus * wavelength))
    pieces = focus * angles.max() / highest
    n = 1 + 2 * math.ceil(max(pieces - 1, 0) / 2)
    expected = f"so long that {_check.most_elements} strips suffice"
    fits = n * len(elements) <= _check.most_elements
    _check.require(fits, owner, "wavelength", expected, wavelength)
    tilts = low[:, None] + (np.arange(n) + 0.5) * angles[:, None] / n
    # As high as their pieces of the cylinder are long, and on the mean as far from the focal line.
    height = (focus * angles / n)[:, None]
    radius = focus - height**2 / (24 * focus)
    none = np.zeros_like(tilts)
    on_lens = np.stack(
        [none, radius * np.sin(tilts) - rows[:, None], focus - radius * np.cos(tilts)], axis=2
    )
    axes = rotation_matrices(elements.euler)
    tilted = rotation_matrices(np.stack([none, tilts, none], axis=2).reshape(-1, 3))
    whole = np.repeat(np.arange(len(elements)), n)
    return elements[whole].replace(
        center=(elements.center[:, None] + on_lens @ axes).reshape(-1, 3),
        euler=euler_of(tilted @ axes[whole]),
        height=np.repeat(height, n),
        channel=whole,
    )
