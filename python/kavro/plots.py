"""Pictures of arrays and fields with matplotlib, in millimetres. Each takes and returns axes."""

from __future__ import annotations

from typing import Any, NamedTuple

import matplotlib.pyplot as plt
import numpy as np
from matplotlib.animation import FuncAnimation
from matplotlib.axes import Axes
from matplotlib.cm import ScalarMappable
from matplotlib.collections import PathCollection
from matplotlib.colors import Normalize, to_rgba
from matplotlib.path import Path
from mpl_toolkits.mplot3d.art3d import Line3DCollection, Poly3DCollection
from numpy.typing import NDArray

from kavro import _check
from kavro._channels import channels
from kavro._check import Floats
from kavro._elements import Elements, rotation_matrices
from kavro._scene import Grid, Instants, Points, Times, grid_axes, time_axis

__all__ = ["animate_field", "show_array", "show_field"]

_dark = "0.25"
_light = "0.55"
_plain = "#5b8db8"


def show_array(
    elements: Elements, *, color: str | None = None, title: str | None = None, ax: Axes = None
) -> Axes:
    """Draw elements where they are and as they are turned.

    An array that lies flat and faces +z is drawn from the front, any other in three dimensions.

    Parameters
    ----------
    elements : Elements
    color : {'delay', 'amplitude', 'none'}, optional
        What the colour stands for; by default the delays if they differ, else the amplitudes if
        they differ, else nothing.
    title : str, optional
    ax : matplotlib axes, optional
        Where to draw; by default new or current axes.
    """
    values, label = _element_values(elements, color)
    faces = [_face_of(elements[i]) for i in range(len(elements))]
    channel, count = channels(elements)
    points = np.concatenate([face.vertices for face in faces] or [np.zeros((1, 3))])
    flat = np.ptp(points[:, 2]) < 1e-6
    ax = _axes(ax, three_dimensional=not flat)
    low, high = values.min(initial=np.inf), values.max(initial=-np.inf)
    colors = ScalarMappable(Normalize(low, high if high > low else low + 1), "viridis")
    fills = colors.to_rgba(values) if label else np.tile(to_rgba(_plain), (len(elements), 1))
    if flat:
        _draw_flat(ax, faces, fills, points)
    else:
        # Outlines of the strips of a lens would hide their colours.
        strips = np.bincount(channel)[channel] > 3
        bare = [face._replace(rims=[]) if strip else face for face, strip in zip(faces, strips)]
        _draw_solid(ax, bare, fills, points)
    ax.set_xlabel("x (mm)")
    ax.set_ylabel("y (mm)")
    word = "channel" if count < len(elements) else "element"
    ax.set_title(title or (f"One {word}" if count == 1 else f"Array of {count} {word}s"))
    if label:
        ax.figure.colorbar(colors, ax=ax, label=label)
    return ax


def show_field(
    p: NDArray[Any],
    grid: Grid | Points,
    *,
    instant: float | None = None,
    time: Times | Instants | None = None,
    dB: float | None = None,
    reference: float | None = None,
    title: str | None = None,
    color_bar: bool = True,
    ax: Axes = None,
) -> Axes:
    """Draw a field: its peak over time, its magnitude, or a snapshot.

    A regular grid that extends along two axes is drawn as a map (z runs downwards, away from the
    array), one that extends along one axis as a curve; points likewise, as dots or a curve.

    Parameters
    ----------
    p : array
        As `kavro.solve` returns it, or without the dimensions of size 1, as after squeeze; of a
        complex field the magnitude is drawn.
    grid : Grid or Points
        The one that p belongs to.
    instant : float, optional
        Time of a snapshot in s; the nearest sample is drawn. Needs `time`.
    time : Times or Instants, optional
        Those of p.
    dB : float, optional
        Range shown in dB below the reference; without it the scale is linear.
    reference : float, optional
        Pressure in Pa that stands for 0 dB, or for the end of a linear scale; by default the
        largest magnitude shown.
    title : str, optional
    color_bar : bool
    ax : matplotlib axes, optional
        Where to draw; by default the current ones.
    """
    field = _field(p, grid)
    if instant is None:
        values = np.abs(field).max(axis=1)
        caption = "Peak pressure" if field.shape[1] > 1 else "Pressure magnitude"
    else:
        sample, drawn_at = _sample("show_field", instant, time, field)
        values = field[:, sample]
        caption = f"Pressure at {1e6 * drawn_at:.4g} us"
    reference = _reference("show_field", reference, values)
    scale = _scale(reference, dB, signed=instant is not None)
    ax = _axes(ax)
    _draw(ax, grid, scale, scale.of(values), color_bar)
    ax.set_title(title or caption)
    return ax


def animate_field(
    p: NDArray[Any],
    grid: Grid | Points,
    times: Times | Instants,
    *,
    frames: int = 100,
    dB: float | None = None,
    reference: float | None = None,
    interval: float = 50.0,
    ax: Axes = None,
) -> FuncAnimation:
    """A film of a field over time, to be kept, shown or saved: ``film.save("pulse.gif")``.

    Parameters
    ----------
    p, grid, times, dB, reference, ax
        As for `show_field`; by default the largest magnitude of the whole film is the reference.
    frames : int
        How many frames there are at most, spread evenly over the times.
    interval : float
        Time between two frames in ms.
    """
    field = _field(p, grid)
    instants = time_axis(times)
    fits = len(instants) == field.shape[1]
    _check.require(fits, "animate_field", "times", f"the {field.shape[1]} times of p", times)
    samples = np.unique(np.linspace(0, len(instants) - 1, frames).round().astype(int))
    scale = _scale(_reference("animate_field", reference, field), dB, signed=True)
    ax = _axes(ax)
    change = _draw(ax, grid, scale, scale.of(field[:, 0]), color_bar=True)

    def draw(sample: int) -> list[Any]:
        ax.set_title(f"{1e6 * instants[sample]:.2f} us")
        return [change(scale.of(field[:, sample]))]

    return FuncAnimation(ax.figure, draw, samples, interval=interval)


# ---- elements


class _Face(NamedTuple):
    """A surface in m: triangles, the closed curves that bound it, curves along its bend."""

    vertices: Floats
    triangles: NDArray[np.int_]
    rims: list[Floats]
    ribs: list[Floats]


def _element_values(elements: Elements, color: str | None) -> tuple[Floats, str]:
    choices = {
        "delay": (1e6 * elements.time_delay, "Time delay (us)"),
        "amplitude": (elements.amplitude, "Amplitude (m/s)"),
        "none": (np.zeros(len(elements)), ""),
    }
    if color is None:
        color = next((name for name in choices if np.unique(choices[name][0]).size > 1), "none")
    return choices[_check.choice("show_array", "color", color, tuple(choices))]


def _face_of(element: Elements) -> _Face:
    shape = element.shape[0]
    if shape in ("circ", "rect", "poly"):
        rim = _rim(element, shape)
        n = np.arange(1, len(rim) - 1)
        face = _Face(rim, np.stack([0 * n, n, n + 1], axis=1), [rim], [])
    elif shape == "ring":
        radii = np.array([element.inner_radius[0], element.outer_radius[0]])
        face = _turned(radii, np.zeros(2))
    elif shape == "shel":
        face = _turned(*_meridian(0.0, element.radius[0], element.rad_curvature[0]))
    elif shape == "sph ring":
        sizes = element.inner_radius[0], element.outer_radius[0], element.geometric_focus[0]
        face = _turned(*_meridian(*sizes))
    else:
        _check.refuse("show_array", "elements.shape", "a shape that is known", shape)
    turn = rotation_matrices(element.euler)[0]

    def placed(points: Floats) -> Floats:
        return np.asarray(points @ turn + element.center[0])

    rims, ribs = ([placed(curve) for curve in curves] for curves in (face.rims, face.ribs))
    return _Face(placed(face.vertices), face.triangles, rims, ribs)


def _rim(element: Elements, shape: str) -> Floats:
    if shape == "circ":
        phi = np.arange(48) * (2 * np.pi / 48)
        corners = element.radius[0] * np.stack([np.cos(phi), np.sin(phi)], axis=1)
    elif shape == "rect":
        signs = np.array([[-1, -1], [1, -1], [1, 1], [-1, 1]])
        corners = signs * [element.width[0] / 2, element.height[0] / 2]
    else:
        corners = element.corners[0]
    return np.pad(corners, ((0, 0), (0, 1)))


def _meridian(inner: float, outer: float, curvature: float) -> tuple[Floats, Floats]:
    """Radii and heights along a bowl in equal steps of the angle seen from its focus."""
    angles = np.linspace(np.arcsin(inner / curvature), np.arcsin(min(outer / curvature, 1)), 13)
    return curvature * np.sin(angles), 2 * curvature * np.sin(angles / 2) ** 2


def _turned(radii: Floats, heights: Floats) -> _Face:
    """The surface that a meridian sweeps about the z axis."""
    n = 48
    phi = np.arange(n) * (2 * np.pi / n)
    circle = np.stack([np.cos(phi), np.sin(phi)], axis=1)
    points = np.concatenate(
        [np.column_stack([r * circle, np.full(n, h)]) for r, h in zip(radii, heights)]
    )
    i = np.arange(n * (len(radii) - 1))
    across = i - i % n + (i + 1) % n  # the next one on the same circle
    triangles = np.concatenate(
        [np.stack([i, i + n, across + n], axis=1), np.stack([i, across + n, across], axis=1)]
    )
    rims = [points[-n:]] + ([points[:n]] if radii[0] > 0 else [])
    ribs = [points[start::n] for start in range(0, n, n // 12)] if heights.any() else []
    return _Face(points, triangles, rims, ribs)


def _draw_flat(ax: Axes, faces: list[_Face], fills: Floats, points: Floats) -> None:
    paths = []
    for face in faces:
        # Rims of a hole run the other way round, so that the hole stays one.
        rims = [face.rims[0], *(rim[::-1] for rim in face.rims[1:])]
        closed = [Path(1e3 * rim[[*range(len(rim)), 0], :2], closed=True) for rim in rims]
        paths.append(Path.make_compound_path(*closed))
    ax.add_collection(PathCollection(paths, facecolors=fills, edgecolors=_dark, linewidths=0.8))
    # A little room around, and more above and below a mere row.
    middle = 1e3 * (points.max(axis=0) + points.min(axis=0)) / 2
    half = 0.55e3 * np.ptp(points, axis=0)[:2]
    half = np.maximum(half, 0.3 * half.max())
    ax.set_xlim(middle[0] - half[0], middle[0] + half[0])
    ax.set_ylim(middle[1] - half[1], middle[1] + half[1])
    ax.set_aspect("equal")


def _draw_solid(ax: Axes, faces: list[_Face], fills: Floats, points: Floats) -> None:
    triangles = np.concatenate([1e3 * face.vertices[face.triangles] for face in faces])
    fills = np.repeat(fills, [len(face.triangles) for face in faces], axis=0)
    fills[:, :3] *= _light_on(triangles)[:, None]
    solid = Poly3DCollection(triangles, facecolors=fills, edgecolors=fills, linewidths=0.3)
    ax.add_collection3d(solid)
    rims = [1e3 * rim[[*range(len(rim)), 0]] for face in faces for rim in face.rims]
    ax.add_collection3d(Line3DCollection(rims, colors=_dark, linewidths=0.8))
    ribs = [1e3 * rib for face in faces for rib in face.ribs]
    ax.add_collection3d(Line3DCollection(ribs, colors=_light, linewidths=0.5))
    middle = 1e3 * (points.max(axis=0) + points.min(axis=0)) / 2
    half = 0.55e3 * np.ptp(points, axis=0).max()
    for set_limits, at in zip((ax.set_xlim, ax.set_ylim, ax.set_zlim), middle):
        set_limits(at - half, at + half)
    ax.set_box_aspect((1, 1, 1))
    ax.set_zlabel("z (mm)")


def _light_on(triangles: Floats) -> Floats:
    """How bright each triangle is in a light that comes obliquely, 0.6 to 1."""
    a, b, c = np.moveaxis(triangles, 1, 0)
    normals = np.cross(b - a, c - a)
    lengths = np.linalg.norm(normals, axis=1)
    light = np.array([-0.6, 0.48, 0.64])
    return np.asarray(0.6 + 0.4 * np.abs(normals @ light) / np.maximum(lengths, 1e-300))


# ---- fields


class _Scale(NamedTuple):
    """How pressures become numbers to draw."""

    low: float
    high: float
    colors: str
    label: str
    reference: float
    factor: float
    in_dB: bool

    def of(self, values: Floats) -> Floats:
        if not self.in_dB:
            return np.asarray(self.factor * values)
        share = np.maximum(np.abs(values) / self.reference, 10 ** (self.low / 20))
        return np.asarray(20 * np.log10(share))


def _field(p: NDArray[Any], grid: Grid | Points) -> Floats:
    """One row for each point of the grid, one column for each time."""
    shape = (len(grid.coordinates),) if isinstance(grid, Points) else grid.shape
    field = np.abs(p) if np.iscomplexobj(p) else np.asarray(p)
    # Extents of 1 do not count: a march knows no y, and squeezed fields are welcome.
    asked, given = ([n for n in extents if n > 1] for extents in (shape, field.shape))
    expected = f"an array of the shape {shape}, as the grid asks, or one more dimension"
    fits = given[: len(asked)] == asked and len(given) <= len(asked) + 1 and field.size > 0
    _check.require(fits, "show_field", "p", expected, p)
    _check.require(np.isfinite(field).any(), "show_field", "p", "finite somewhere", p)
    return np.asarray(field.reshape(int(np.prod(shape)), -1, order="F"))


def _sample(
    owner: str, instant: float, time: Times | Instants | None, field: Floats
) -> tuple[int, float]:
    expected = f"the {field.shape[1]} times of p, where an instant is given"
    _check.require(isinstance(time, (Times, Instants)), owner, "time", expected, time)
    assert time is not None
    instants = time_axis(time)
    _check.require(len(instants) == field.shape[1], owner, "time", expected, time)
    wanted = _check.real(owner, "instant", instant, unit="s")
    sample = int(np.abs(instants - wanted).argmin())
    step = np.ptp(instants) / max(len(instants) - 1, 1)
    expected = f"a time from {instants.min():.6g} to {instants.max():.6g} s"
    inside = instants.min() <= wanted <= instants.max()
    near = inside or abs(instants[sample] - wanted) <= step / 2
    _check.require(near, owner, "instant", expected, instant)
    return sample, float(instants[sample])


def _reference(owner: str, reference: float | None, values: Floats) -> float:
    if reference is not None:
        return _check.real(owner, "reference", reference, "positive", "Pa")
    return float(np.nanmax(np.abs(values))) or 1.0  # silence is drawn as silence


def _scale(reference: float, dB: float | None, signed: bool) -> _Scale:
    units = ((1e6, "MPa"), (1e3, "kPa"), (0.0, "Pa"))
    size, unit = next(pair for pair in units if reference >= pair[0])
    factor = 1 / (size or 1.0)
    if dB is not None:
        depth = _check.real("show_field", "dB", dB, "positive", "dB")
        label = f"Pressure (dB re {factor * reference:.3g} {unit})"
        return _Scale(-depth, 0.0, "viridis", label, reference, 1.0, True)
    low, colors = (-reference, "RdBu_r") if signed else (0.0, "viridis")
    label = f"Pressure ({unit})"
    return _Scale(factor * low, factor * reference, colors, label, reference, factor, False)


def _draw(ax: Axes, grid: Grid | Points, scale: _Scale, values: Floats, color_bar: bool) -> Any:
    """Draws the values; returns what draws others in their place."""
    axes = [1e3 * axis for axis in grid_axes(grid)]
    extends = [i for i in range(3) if axes[i].size and np.ptp(axes[i]) > 0]
    expected = f"a plane or a line (its points differ in {len(extends)} coordinates)"
    _check.require(len(extends) in (1, 2), "show_field", "grid", expected, grid)
    if len(extends) == 1:
        return _draw_line(ax, "xyz"[extends[0]], axes[extends[0]], scale, values)
    across, along = (axes[i] for i in extends)
    if isinstance(grid, Points):
        artist = ax.scatter(across, along, 20, values, cmap=scale.colors)
    else:
        mesh = values.reshape(len(across), len(along), order="F").T
        artist = ax.pcolormesh(across, along, mesh, cmap=scale.colors, shading="nearest")
    artist.set_clim(scale.low, scale.high)
    ax.set_aspect("equal")
    ax.set_xlabel(f"{'xyz'[extends[0]]} (mm)")
    ax.set_ylabel(f"{'xyz'[extends[1]]} (mm)")
    if extends[1] == 2 and not ax.yaxis_inverted():
        ax.invert_yaxis()
    if color_bar:
        ax.figure.colorbar(artist, ax=ax, label=scale.label)

    def change(values: Floats) -> Any:
        mesh = values
        if not isinstance(grid, Points):
            mesh = values.reshape(len(across), len(along), order="F").T
        artist.set_array(mesh.ravel())
        return artist

    return change


def _draw_line(ax: Axes, name: str, positions: Floats, scale: _Scale, values: Floats) -> Any:
    order = np.argsort(positions, kind="stable")
    (line,) = ax.plot(positions[order], values[order])
    ax.set_xlim(positions.min(), positions.max())
    ax.set_ylim(scale.low, scale.high + 0.05 * (scale.high - scale.low))
    ax.set_xlabel(f"{name} (mm)")
    ax.set_ylabel(scale.label)

    def change(values: Floats) -> Any:
        line.set_ydata(values[order])
        return line

    return change


def _axes(ax: Axes, three_dimensional: bool = False) -> Axes:
    if ax is None:
        figure = plt.gcf()
        if figure.axes and (figure.gca().name == "3d") == three_dimensional:
            return figure.gca()
        return figure.add_subplot(projection="3d" if three_dimensional else None)
    if three_dimensional:
        expected = "three-dimensional axes, subplot_kw={'projection': '3d'}, for this array"
        _check.require(ax.name == "3d", "show_array", "ax", expected, ax)
    return ax
