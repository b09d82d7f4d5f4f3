"""Arrays of elements. All stand around the origin and radiate towards +z."""

from __future__ import annotations

import math

import numpy as np
from numpy.typing import ArrayLike

from kavro import _check, _kavro
from kavro._check import Floats
from kavro._elements import Elements, curvature, rotation_matrices
from kavro._errors import InputError
from kavro._lens import under_lens


def linear_array(
    count: int,
    pitch: float,
    radius: float | None = None,
    *,
    width: float | None = None,
    height: float | None = None,
    amplitude: ArrayLike = 1.0,
    elevation_focus: float | None = None,
    wavelength: float | None = None,
) -> Elements:
    """Discs or rectangles in a row along x; element 0 has the smallest x.

    Parameters
    ----------
    count : int
        Number of elements, 1 or more.
    pitch : float
        Distance between neighbouring centres in m, at least the diameter or the width.
    radius : float
        Radius of each disc in m; or, for rectangles,
    width, height : float
        sizes of each along x and y in m.
    amplitude : float or (count,)
        Factor of the waveform (surface velocity in m/s).
    elevation_focus, wavelength : float, optional
        Of rectangles, in m: a lens that focuses in y, as `kavro.rectangular_piston` has it; every
        rectangle becomes strips of one channel.

    Examples
    --------
    >>> discs = kavro.linear_array(64, 0.6e-3, 0.25e-3)
    >>> probe = kavro.linear_array(128, 0.3e-3, width=0.27e-3, height=5e-3)
    >>> lens = kavro.linear_array(
    ...     128, 0.3e-3, width=0.27e-3, height=5e-3, elevation_focus=20e-3, wavelength=0.3e-3
    ... )
    """
    me = "linear_array"
    count = _check.whole(me, "count", count, 1, _check.most_elements)
    pitch = _check.real(me, "pitch", pitch, "positive", "m")
    shape, sizes = _face(me, np.array([pitch]), radius, width, height)
    center = np.zeros((count, 3))
    center[:, 0] = _steps(count, pitch)
    flat = Elements(shape, center, amplitude=amplitude, **sizes)
    return under_lens(me, flat, elevation_focus, wavelength)


def planar_array(
    count: tuple[int, int],
    pitch: float | tuple[float, float],
    radius: float | None = None,
    *,
    width: float | None = None,
    height: float | None = None,
    amplitude: ArrayLike = 1.0,
    elevation_focus: float | None = None,
    wavelength: float | None = None,
) -> Elements:
    """Discs or rectangles on a rectangular grid in the x-y plane, numbered along x first.

    Parameters
    ----------
    count : (nx, ny)
        Numbers of elements along x and y.
    pitch : float or (px, py)
        Distances between neighbouring centres along x and y in m.
    radius, width, height, amplitude, elevation_focus, wavelength
        As for `linear_array`; a lens is common to all rows.
    """
    me = "planar_array"
    expected = "two whole numbers (nx, ny), 1 or more"
    counts = _check.finite(me, "count", count, expected, (2,))
    whole = (counts >= 1).all() and (counts == counts.round()).all()
    _check.require(whole, me, "count", expected, count)
    expected = f"of no more than {_check.most_elements} elements together"
    _check.require(counts.prod() <= _check.most_elements, me, "count", expected, count)
    expected = "one or two positive real numbers (m)"
    pitches = np.atleast_1d(_check.finite(me, "pitch", pitch, expected))
    fits = pitches.shape in ((1,), (2,)) and (pitches > 0).all()
    _check.require(fits, me, "pitch", expected, pitch)
    pitches = np.broadcast_to(pitches, 2)
    shape, sizes = _face(me, pitches, radius, width, height)
    x, y = np.meshgrid(*(_steps(int(n), p) for n, p in zip(counts, pitches)))
    center = np.stack([x.ravel(), y.ravel(), np.zeros(x.size)], axis=1)
    flat = Elements(shape, center, amplitude=amplitude, **sizes)
    return under_lens(me, flat, elevation_focus, wavelength, center[:, 1])


def convex_array(
    count: int,
    pitch: float,
    radius: float | None = None,
    *,
    rad_curvature: float,
    width: float | None = None,
    height: float | None = None,
    amplitude: ArrayLike = 1.0,
    elevation_focus: float | None = None,
    wavelength: float | None = None,
) -> Elements:
    """Discs or rectangles on an arc in the x-z plane, radiating outwards.

    The arc's highest point is the origin; element 0 has the smallest x.

    Parameters
    ----------
    count : int
        Number of elements, 1 or more.
    pitch : float
        Distance between neighbouring centres along the arc in m.
    rad_curvature : float
        Radius of curvature of the arc in m. The centres may take up half a circle at most.
    radius, width, height, amplitude, elevation_focus, wavelength
        As for `linear_array`.
    """
    me = "convex_array"
    count = _check.whole(me, "count", count, 1, _check.most_elements)
    pitch = _check.real(me, "pitch", pitch, "positive", "m")
    shape, sizes = _face(me, np.array([pitch]), radius, width, height)
    arc = _check.real(me, "rad_curvature", rad_curvature, "positive", "m")
    least = (count - 1) * pitch / math.pi
    expected = f"at least {least:.6g} m, so that the array takes up no more than half a circle"
    _check.require((count - 1) * pitch <= math.pi * arc, me, "rad_curvature", expected, arc)
    theta = _steps(count, pitch / arc)
    none = np.zeros(count)
    # R (1 - cos theta), written so that a shallow arc loses no digits
    depth = 2 * arc * np.sin(theta / 2) ** 2
    center = np.stack([arc * np.sin(theta), none, -depth], axis=1)
    euler = np.stack([theta, none, none], axis=1)
    flat = Elements(shape, center, euler, amplitude=amplitude, **sizes)
    return under_lens(me, flat, elevation_focus, wavelength)


def ring_array(
    count: int,
    pitch: float | None = None,
    radius: float | None = None,
    *,
    ring_radius: float | None = None,
    amplitude: ArrayLike = 1.0,
) -> Elements:
    """Discs evenly spaced on a circle in the x-y plane; element 0 lies on +x.

    Parameters
    ----------
    count : int
        Number of discs, 2 or more.
    pitch : float
        Straight distance between neighbouring centres in m; or
    ring_radius : float
        the radius of the circle through the centres in m.
    radius : float
        Radius of each disc in m.
    amplitude : float or (count,)
        Factor of the waveform (surface velocity in m/s).
    """
    me = "ring_array"
    count = _check.whole(me, "count", count, 2, _check.most_elements)
    size = _check.real(me, "radius", radius, "positive", "m")
    expected = "given, or 'ring_radius', and not both"
    _check.require((pitch is None) != (ring_radius is None), me, "pitch", expected, pitch)
    if ring_radius is None:
        pitch = _check.real(me, "pitch", pitch, "positive", "m")
        circle = pitch / (2 * math.sin(math.pi / count))
    else:
        circle = _check.real(me, "ring_radius", ring_radius, "positive", "m")
        pitch = 2 * circle * math.sin(math.pi / count)
    _check_spacing(me, np.array([pitch]), {"radius": size})
    phi = np.arange(count) * (2 * math.pi / count)
    center = circle * np.stack([np.cos(phi), np.sin(phi), np.zeros(count)], axis=1)
    return Elements("disc", center, amplitude=amplitude, radius=size)


def bowl_array(elements: Elements, rad_curvature: float) -> Elements:
    """The elements of a flat array, placed on a bowl that focuses at (0, 0, rad_curvature).

    Each keeps its x and y, moves along z onto the bowl and is turned to radiate towards the
    centre of curvature.

    Parameters
    ----------
    elements : Elements
        In the plane z = 0, facing +z.
    rad_curvature : float
        Radius of curvature in m, larger than the distance of every centre from the z axis.
    """
    me = "bowl_array"
    bowl = _check.real(me, "rad_curvature", rad_curvature, "positive", "m")
    facing = rotation_matrices(elements.euler)[:, 2, 2] > 1 - 1e-12
    flat = np.all(elements.center[:, 2] == 0) and np.all(facing)
    _check.require(flat, me, "elements", "in the plane z = 0 and face +z", elements)
    center = elements.center.copy()
    r2 = (center[:, :2] ** 2).sum(axis=1)
    outermost = math.sqrt(r2.max(initial=0.0))
    expected = (
        f"larger than {outermost:.6g} m, the distance of the outermost centre from the z axis"
    )
    _check.require((r2 < bowl**2).all(), me, "rad_curvature", expected, bowl)
    # R - sqrt(R^2 - r^2), written so that a shallow bowl loses no digits
    center[:, 2] = r2 / (bowl + np.sqrt(bowl**2 - r2))
    return elements.replace(center=center, euler=_euler_towards(bowl, center))


def random_array(
    count: int,
    aperture_radius: float,
    radius: float,
    *,
    rad_curvature: float = math.inf,
    minimum_gap: float = 0.0,
    hole_radius: float = 0.0,
    seed: int = 0,
    amplitude: ArrayLike = 1.0,
) -> Elements:
    """Discs at random places on a disc or a bowl, none too close to another.

    Places without order leave no grating lobes. Each is drawn, all of the aperture alike, until the
    element lies within and clear of those before. On a bowl, whose lowest point is the origin,
    elements look at its centre of curvature, (0, 0, rad_curvature). The same arguments give the same
    places in every host, to the last bit.

    Parameters
    ----------
    count : int
        Number of elements, 1 or more.
    aperture_radius : float
        Radius of the disc, or of the bowl's rim, in m.
    radius : float
        Radius of each element in m.
    rad_curvature : float
        Radius of curvature of the bowl in m; inf, the default, is flat.
    minimum_gap : float
        Between the rims of two elements in m.
    hole_radius : float
        Of a hole in the middle in m; 0, the default, is none.
    seed : int
        0 or more: another one gives other places.
    amplitude : float or (count,)
        Factor of the waveform (surface velocity in m/s).

    Raises
    ------
    InputError
        Random places cover about half of an aperture at most: not all elements have found room.

    Examples
    --------
    >>> bowl = kavro.random_array(256, 60e-3, 2.5e-3, rad_curvature=120e-3, minimum_gap=0.2e-3)
    """
    me = "random_array"
    bowl = _check.one(me, "rad_curvature", rad_curvature)
    options = {
        "rad_curvature": bowl,
        "minimum_gap": minimum_gap,
        "hole_radius": hole_radius,
        "seed": seed,
    }
    named = [entry for option in options.items() for entry in option]
    (center,) = _kavro.call(["random_array", count, aperture_radius, radius, *named])
    euler = np.zeros((1, 3)) if math.isinf(bowl) else _euler_towards(bowl, center)
    return Elements("disc", center, euler, amplitude=amplitude, radius=radius)


def _euler_towards(depth: float, center: Floats) -> Floats:
    """Of elements that look at (0, 0, depth)."""
    x, y, z = (np.array([0, 0, depth]) - center).T
    return np.stack([np.arctan2(x, np.hypot(y, z)), np.arctan2(-y, z), np.zeros(len(x))], axis=1)


def window(name: str, n: int, parameter: float | None = None) -> Floats:
    """Weights that fall off towards both ends, for the apodization of an array.

    With u from -1 (first) to 1 (last):

    - 'rectangular': 1;
    - 'cosine': cos(pi u / 2);
    - 'hann': 0.5 + 0.5 cos(pi u);
    - 'hamming': 0.54 + 0.46 cos(pi u);
    - 'blackman': 0.42 + 0.5 cos(pi u) + 0.08 cos(2 pi u);
    - 'tukey': 1 in the middle, and a cosine's flank over a share of the whole, half of it at either
      end: the parameter, by default 0.5; 0 is rectangular, 1 is hann;
    - 'gaussian': exp(-(u / width)^2 / 2), the width the parameter, by default 0.4.

    Parameters
    ----------
    name : str
    n : int
        Number of weights, 1 or more; a single one is 1.
    parameter : float, optional
        Of 'tukey' or 'gaussian'.

    Returns
    -------
    (n,) array
        Symmetric, at most 1.

    Examples
    --------
    >>> array = kavro.linear_array(64, 0.4e-3, 0.18e-3, amplitude=kavro.window("hamming", 64))
    """
    me = "window"
    name = _check.choice(me, "name", name, _windows)
    n = _check.whole(me, "n", n, 1)
    expected = "'tukey' or 'gaussian' where a parameter is given"
    _check.require(parameter is None or name in ("tukey", "gaussian"), me, "name", expected, name)
    # Both halves alike to the last bit.
    u = _steps(n, 1.0) / max((n - 1) / 2, 1.0)
    if name == "rectangular":
        w = np.ones(n)
    elif name == "cosine":
        w = np.cos(np.pi * u / 2)
    elif name == "hann":
        w = 0.5 + 0.5 * np.cos(np.pi * u)
    elif name == "hamming":
        w = 0.54 + 0.46 * np.cos(np.pi * u)
    elif name == "blackman":
        w = 0.42 + 0.5 * np.cos(np.pi * u) + 0.08 * np.cos(2 * np.pi * u)
    elif name == "tukey":
        share = 0.5 if parameter is None else _check.real(me, "share", parameter, "not negative")
        _check.require(share <= 1, me, "share", "from 0 to 1", share)
        w = np.ones(n)
        flank = np.abs(u) > 1 - share
        w[flank] = 0.5 + 0.5 * np.cos(np.pi * (np.abs(u[flank]) - 1 + share) / share)
    else:
        width = 0.4 if parameter is None else _check.real(me, "width", parameter, "positive")
        w = np.exp(-((u / width) ** 2) / 2)
    return np.maximum(w, 0)


_windows = ("rectangular", "cosine", "hann", "hamming", "blackman", "tukey", "gaussian")


def annular_array(
    count: int,
    radius: float,
    gap: float = 0.0,
    *,
    inner_radius: float = 0.0,
    equal: str = "area",
    rad_curvature: float = math.inf,
    amplitude: ArrayLike = 1.0,
) -> Elements:
    """Concentric rings of equal area or width, flat or on a bowl; element 0 is the innermost.

    Parameters
    ----------
    count : int
        Number of rings.
    radius : float
        Outer radius of the outermost ring in m.
    gap : float
        Distance between neighbouring rings in m.
    inner_radius : float
        Radius of a hole in the middle in m.
    equal : {'area', 'width'}
        What all rings have in common; the area is that seen along the axis.
    rad_curvature, amplitude
        As for `concentric_rings`.
    """
    me = "annular_array"
    count = _check.whole(me, "count", count, 1, _check.most_elements)
    outer = _check.real(me, "radius", radius, "positive", "m")
    gap = _check.real(me, "gap", gap, "not negative", "m")
    hole = _check.real(me, "inner_radius", inner_radius, "not negative", "m")
    room = outer - hole - (count - 1) * gap
    expected = f"larger than hole and gaps together, {outer - room:.6g} m"
    _check.require(room > 0, me, "radius", expected, radius)
    if _check.choice(me, "equal", equal, ("area", "width")) == "width":
        inner = hole + np.arange(count) * (room / count + gap)
        rims = np.stack([inner, inner + room / count], axis=1)
    else:
        rims = _rims_of_equal_area(count, outer, gap, hole)
    return concentric_rings(rims, rad_curvature=rad_curvature, amplitude=amplitude)


def concentric_rings(
    rims: ArrayLike, *, rad_curvature: float = math.inf, amplitude: ArrayLike = 1.0
) -> Elements:
    """Rings of given radii around the z axis, flat or on a bowl.

    Parameters
    ----------
    rims : (n, 2)
        Inner and outer radii in m, from the innermost ring outwards.
    rad_curvature : float
        Radius of curvature in m of the bowl on which the rings lie; inf, the default, is flat.
    amplitude : float or (n,)
        Factor of the waveform (surface velocity in m/s).
    """
    me = "concentric_rings"
    expected = "n x 2 inner and outer radii (m), rings that do not overlap, innermost first"
    radii = _check.finite(me, "rims", rims, expected, (None, 2))
    steps = np.diff(radii.ravel())
    in_order = radii[0, 0] >= 0 and (steps >= 0).all() and (steps[::2] > 0).all()
    _check.require(in_order, me, "rims", expected, rims)
    sizes = {"inner_radius": radii[:, 0], "outer_radius": radii[:, 1]}
    if rad_curvature == math.inf:
        return Elements("ring", amplitude=amplitude, **sizes)
    bowl = curvature(me, rad_curvature, radii[-1, 1])
    return Elements("spherical ring", amplitude=amplitude, geometric_focus=bowl, **sizes)


def _rims_of_equal_area(count: int, radius: float, gap: float, hole: float) -> Floats:
    # The share of each ring in radius^2 that lets the last one end at the outer radius: the more
    # area, the farther out, so that bisection finds it.
    rims = np.zeros((count, 2))
    low, high = 0.0, radius**2
    for _ in range(200):
        share = (low + high) / 2
        inner = hole
        for i in range(count):
            rims[i] = inner, math.sqrt(inner**2 + share)
            inner = rims[i, 1] + gap
        low, high = (low, share) if rims[-1, 1] > radius else (share, high)
    rims[-1, 1] = radius
    return rims


def _steps(count: int, pitch: float) -> Floats:
    """Positions of count elements, pitch apart, centred on 0."""
    return np.asarray((np.arange(count) - (count - 1) / 2) * pitch)


def _face(
    owner: str, pitch: Floats, radius: float | None, width: float | None, height: float | None
) -> tuple[str, dict[str, float]]:
    """A disc or a rectangle that has room at this pitch: the shape and its sizes."""
    if radius is None and width is not None and height is not None:
        shape, sizes = "rectangle", _check.lengths(owner, width=width, height=height)
    elif radius is not None and width is None and height is None:
        shape, sizes = "disc", _check.lengths(owner, radius=radius)
    else:
        values = {"radius": radius, "width": width, "height": height}
        given = ", ".join(repr(name) for name, value in values.items() if value is not None)
        raise InputError(
            f"{owner}: 'radius' must be given for discs, or 'width' and 'height' for rectangles, "
            f"but what is given is {given or 'none of them'}."
        )
    _check_spacing(owner, pitch, sizes)
    return shape, sizes


def _check_spacing(owner: str, pitch: Floats, sizes: dict[str, float]) -> None:
    """Neighbours may touch and not overlap; the pitch is along x, or along x and y."""
    if "radius" in sizes:
        extent = np.full(2, 2 * sizes["radius"])
        what = f"the diameter {extent[0]:.6g} m, so that the discs"
    else:
        extent = np.array([sizes["width"], sizes["height"]])
        listed = ", ".join(f"{size:.6g}" for size in extent[: len(pitch)])
        what = f"the size {listed} m, so that the rectangles"
    apart = (pitch >= extent[: len(pitch)] * (1 - 1e-12)).all()
    value = pitch if len(pitch) > 1 else float(pitch[0])
    _check.require(apart, owner, "pitch", f"at least {what} do not overlap", value)
