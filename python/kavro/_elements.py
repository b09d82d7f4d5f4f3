"""Elements: what radiates, where it stands and how it is driven."""

from __future__ import annotations

import dataclasses
from collections.abc import Iterator, Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from kavro import _check
from kavro._check import Floats, default

if TYPE_CHECKING:
    from kavro._medium import Medium

_ME = "Elements"
_no_corners = np.zeros((0, 2))
_no_corners.setflags(write=False)
_triples = ("center", "euler")
_texts = ("shape", "apodization")
_per_channel = ("amplitude", "time_delay", "phase")


@dataclass(frozen=True, eq=False, repr=False)
class Elements:
    """Elements of any shapes as a structure of arrays: each attribute holds all elements' values.

    Made by `kavro.disc`, `kavro.linear_array` and their like. ``a + b`` joins, ``a[::2]`` and
    ``a[a.amplitude > 0]`` choose, `replace` changes, ``len(a)`` counts. One value stands for all.

    Parameters
    ----------
    shape : str, (n,)
        'circ' (disc), 'rect', 'poly', 'ring', 'shel' (shell, a bowl), 'sph ring' (ring of a shell).
    center : (n, 3)
        Centre in m; of bowls the deepest point, of polygons where their corners' origin lies.
    euler : (n, 3)
        Euler angles in rad. An element of the angles (a, b, 0) radiates towards
        (sin a, -cos a sin b, cos a cos b); a third angle alone turns it in its own plane.
    amplitude : (n,)
        Factor of the waveform (surface velocity in m/s).
    time_delay : (n,)
        By how much it fires later in s; continuous waves do not read it.
    phase : (n,)
        Phase of a continuous wave in rad.
    apodization : str, (n,)
        For the apodized methods, in the place of the option of this name; '' for none.
    radius, inner_radius, outer_radius, width, height, rad_curvature, geometric_focus : (n,)
        Sizes in m; those that belong to other shapes are 0.
    corners : sequence of n arrays (k, 2)
        A polygon's corners in m, in order around its face; none for other shapes.
    channel : int, (n,)
        Elements of one number, 0 or more, are wired together: they fire together, and what they
        receive adds up. -1 is a channel of its own. Channels are counted in the order of their
        numbers, whichever these are, then come the elements without a number in their order.
    """

    shape: NDArray[np.str_] = default("circ")
    center: Floats = default((0.0, 0.0, 0.0))
    euler: Floats = default((0.0, 0.0, 0.0))
    amplitude: Floats = default(1.0)
    time_delay: Floats = default(0.0)
    phase: Floats = default(0.0)
    apodization: NDArray[np.str_] = default("")
    radius: Floats = default(0.0)
    inner_radius: Floats = default(0.0)
    outer_radius: Floats = default(0.0)
    width: Floats = default(0.0)
    height: Floats = default(0.0)
    rad_curvature: Floats = default(0.0)
    geometric_focus: Floats = default(0.0)
    corners: tuple[Floats, ...] = (_no_corners,)
    channel: NDArray[np.int64] = default(-1)

    if TYPE_CHECKING:  # what it takes is more than what it holds

        def __init__(
            self,
            shape: ArrayLike = "circ",
            center: ArrayLike = ...,
            euler: ArrayLike = ...,
            amplitude: ArrayLike = 1.0,
            time_delay: ArrayLike = 0.0,
            phase: ArrayLike = 0.0,
            apodization: ArrayLike = "",
            radius: ArrayLike = 0.0,
            inner_radius: ArrayLike = 0.0,
            outer_radius: ArrayLike = 0.0,
            width: ArrayLike = 0.0,
            height: ArrayLike = 0.0,
            rad_curvature: ArrayLike = 0.0,
            geometric_focus: ArrayLike = 0.0,
            corners: Any = ...,
            channel: ArrayLike = -1,
        ) -> None:
            ...

    def __post_init__(self) -> None:
        columns = {name: _column(name, value) for name, value in vars(self).items()}
        count = next((len(c) for c in columns.values() if len(c) != 1), 1)
        for name, column in columns.items():
            expected = f"one, or {count}, one for each element"
            _check.require(len(column) in (1, count), _ME, name, expected, getattr(self, name))
            object.__setattr__(self, name, _repeated(column, count))

    def replace(self, **changes: Any) -> Elements:
        """The same elements with other values, each one for all elements or one for each.

        Amplitudes, delays and phases may also be one for each channel, where elements share them.

        ``replace(amplitude=0.05, time_delay=delays)``
        """
        from kavro._channels import channels

        channel, count = channels(self)
        for name in _per_channel:
            if name in changes and count < len(self):
                column = _column(name, changes[name])
                if len(column) not in (1, len(self)):
                    expected = (
                        f"one, or {len(self)}, one for each element, or {count}, "
                        "one for each channel"
                    )
                    _check.require(len(column) == count, _ME, name, expected, changes[name])
                    changes[name] = column[channel]
        changed = dataclasses.replace(self, **changes)
        for name, value in changes.items():
            expected = f"one, or {len(self)}, one for each element"
            _check.require(len(changed) == len(self), _ME, name, expected, value)
        return changed

    def focused(self, point: ArrayLike, medium: Medium, f0: float | None = None) -> Elements:
        """The elements with the time delays that let all waves arrive at a point together.

        Parameters
        ----------
        point : three numbers
            The focus in m.
        medium : kavro.Medium
            Of which the speed of sound is read.
        f0 : float, optional
            Frequency in Hz for which the phases of a continuous wave are set, too.
        """
        from kavro._focusing import focus_delays

        delays = focus_delays(self, point, medium)
        if f0 is None:
            return self.replace(time_delay=delays)
        return self.replace(time_delay=delays, phase=-2 * np.pi * f0 * delays)

    def __len__(self) -> int:
        return len(self.shape)

    def __getitem__(self, which: int | slice | Sequence[int] | NDArray[Any]) -> Elements:
        """The chosen elements: by number, slice, or an array of numbers or truths."""
        numbers = np.atleast_1d(np.arange(len(self))[which])
        return Elements(
            **{
                name: tuple(column[i] for i in numbers) if name == "corners" else column[numbers]
                for name, column in vars(self).items()
            }
        )

    def __iter__(self) -> Iterator[Elements]:
        return (self[i] for i in range(len(self)))

    def __add__(self, other: Elements) -> Elements:
        if not isinstance(other, Elements):
            return NotImplemented
        return _joined([self, other])

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Elements):
            return NotImplemented
        pairs = zip(vars(self).values(), vars(other).values())
        return len(self) == len(other) and all(all(map(np.array_equal, a, b)) for a, b in pairs)

    def __array__(self, *arguments: Any, **options: Any) -> NDArray[Any]:
        raise TypeError("Elements are no array of numbers; an attribute is, such as center")

    def __reduce__(self) -> tuple[Any, ...]:
        return Elements, tuple(vars(self).values())

    def __repr__(self) -> str:
        names, counts = np.unique(self.shape, return_counts=True)
        listed = ", ".join(f"{count} x '{name}'" for name, count in zip(names, counts))
        return f"Elements({listed or 'none'})"


def _column(name: str, value: Any) -> Any:
    if name == "corners":
        return _corners(value)
    if name in _texts:
        texts = value.tolist() if isinstance(value, np.ndarray) else value
        texts = [texts] if isinstance(texts, str) else texts
        is_list = isinstance(texts, (list, tuple)) and all(isinstance(t, str) for t in texts)
        _check.require(is_list, _ME, name, "a text, or n of them", value)
        return np.array(texts, dtype=np.str_)
    if name in _triples:
        expected = "three real numbers, or n x 3"
        rows = _check.numbers(_ME, name, value, expected)
        fits = rows.ndim in (1, 2) and rows.shape[-1] == 3
        _check.require(fits, _ME, name, expected, value)
        return np.atleast_2d(rows)
    if name == "channel":
        expected = "a whole number, 0 or more, or -1, or n of them"
        numbers = _check.numbers(_ME, name, value, expected)
        whole = np.isfinite(numbers) & (numbers >= -1) & (numbers == numbers.round())
        _check.require(numbers.ndim < 2 and whole.all(), _ME, name, expected, value)
        return np.atleast_1d(numbers.astype(np.int64))
    expected = "one real number, or n of them"
    column = _check.numbers(_ME, name, value, expected)
    _check.require(column.ndim < 2, _ME, name, expected, value)
    return np.atleast_1d(column)


def _corners(value: Any) -> tuple[Floats, ...]:
    expected = "a sequence of k x 2 real numbers, one for each element"
    _check.require(isinstance(value, (tuple, list)), _ME, "corners", expected, value)
    return tuple(
        face
        if _is_fixed(face)
        else _fixed(_check.numbers(_ME, "corners", face, expected, (None, 2)))
        for face in value
    )


def _repeated(column: Any, count: int) -> Any:
    if isinstance(column, tuple):
        return column if len(column) == count else column * count
    return _fixed(np.array(np.broadcast_to(column, (count, *column.shape[1:])), order="C"))


def _is_fixed(face: Any) -> bool:
    """Whether a polygon's corners come from elements that were made before."""
    is_double = isinstance(face, np.ndarray) and face.dtype == np.float64 and face.ndim == 2
    return is_double and not face.flags.writeable and face.shape[1] == 2


def _fixed(array: Any) -> Any:
    array.setflags(write=False)
    return array


def _joined(parts: Sequence[Elements]) -> Elements:
    columns: dict[str, Any] = {}
    for field in dataclasses.fields(Elements):
        values = [getattr(part, field.name) for part in parts]
        columns[field.name] = sum(values, ()) if field.name == "corners" else np.concatenate(values)
    return Elements(**columns)


def disc(
    radius: float,
    *,
    center: ArrayLike = (0, 0, 0),
    euler: ArrayLike = (0, 0, 0),
    amplitude: float = 1.0,
    time_delay: float = 0.0,
) -> Elements:
    """One flat circular piston in the plane z = 0, which radiates towards +z.

    Parameters
    ----------
    radius : float
        Radius in m, positive.
    center, euler, amplitude, time_delay
        As `Elements` has them.

    Examples
    --------
    >>> pair = kavro.disc(5e-3) + kavro.disc(5e-3, center=(-12e-3, 0, 0), euler=(0.2, 0, 0))
    """
    size = _check.real("disc", "radius", radius, "positive", "m")
    return Elements("circ", center, euler, amplitude, time_delay, radius=size)


def rectangular_piston(
    width: float,
    height: float,
    *,
    center: ArrayLike = (0, 0, 0),
    euler: ArrayLike = (0, 0, 0),
    amplitude: float = 1.0,
    time_delay: float = 0.0,
    elevation_focus: float | None = None,
    wavelength: float | None = None,
) -> Elements:
    """One rectangular piston in the plane z = 0, which radiates towards +z, flat or under a lens.

    A lens acts as if the face were part of a cylinder about the line y = 0, z = elevation_focus: its
    middle stays where it is, its rims at y = -height / 2 and height / 2 stand ahead. The face is
    returned as flat strips, together as large as that part of the cylinder, all of channel 0. There
    are as many as it takes for errors below 0.1 % of the largest pressure at any distance, and below
    0.01 % in the focus, at the wavelength and longer ones; at half the wavelength they are 0.5 % near
    the face, and 0.01 % in the focus.

    Parameters
    ----------
    width, height : float
        Sizes along x and y in m, positive.
    center, euler, amplitude, time_delay
        As `Elements` has them.
    elevation_focus : float, optional
        Distance in m at which a lens focuses in y, at least height / 2.
    wavelength : float
        In m, where there is a lens: the shortest that the waveform has much of.

    Examples
    --------
    >>> strips = kavro.rectangular_piston(
    ...     0.27e-3, 7e-3, elevation_focus=25e-3, wavelength=0.3e-3
    ... )
    """
    from kavro._lens import under_lens

    me = "rectangular_piston"
    sizes = {
        "width": _check.real(me, "width", width, "positive", "m"),
        "height": _check.real(me, "height", height, "positive", "m"),
    }
    flat = Elements("rect", center, euler, amplitude, time_delay, **sizes)
    return under_lens(me, flat, elevation_focus, wavelength)


def polygon(
    corners: ArrayLike,
    *,
    center: ArrayLike = (0, 0, 0),
    euler: ArrayLike = (0, 0, 0),
    amplitude: float = 1.0,
    time_delay: float = 0.0,
) -> Elements:
    """One flat piston in the form of a convex polygon in the plane z = 0, towards +z.

    Parameters
    ----------
    corners : (k, 2), k at least 3
        x and y of each corner in m, in order around a convex face, in either sense.
    center, euler, amplitude, time_delay
        As `Elements` has them.

    Examples
    --------
    A hexagon of 5 mm sides:

    >>> phi = np.arange(6) * np.pi / 3
    >>> hexagon = kavro.polygon(5e-3 * np.stack([np.cos(phi), np.sin(phi)], axis=1))
    """
    expected = "k x 2 numbers (m) with k at least 3"
    face = _check.finite("polygon", "corners", corners, expected, (None, 2))
    _check.require(len(face) >= 3, "polygon", "corners", expected, corners)
    expected = "in order around a convex face, none twice in a row"
    _check.require(_goes_around(face), "polygon", "corners", expected, corners)
    return Elements("poly", center, euler, amplitude, time_delay, corners=(face,))


def _goes_around(corners: Floats) -> bool:
    """Whether the sides turn the same way everywhere, once around in all."""
    sides = np.roll(corners, -1, axis=0) - corners
    after = np.roll(sides, -1, axis=0)
    cross = sides[:, 0] * after[:, 1] - sides[:, 1] * after[:, 0]
    turns = np.arctan2(cross, (sides * after).sum(axis=1))
    turns = turns * np.sign(turns.sum())
    return bool(
        np.any(sides != 0, axis=1).all()
        and np.all((turns > -1e-9) & (turns < np.pi - 1e-9))
        and np.pi < turns.sum() < 3 * np.pi
    )


def ring(
    inner_radius: float,
    outer_radius: float,
    *,
    center: ArrayLike = (0, 0, 0),
    euler: ArrayLike = (0, 0, 0),
    amplitude: float = 1.0,
    time_delay: float = 0.0,
) -> Elements:
    """One flat circular piston with a hole, around the origin in the plane z = 0, towards +z.

    Parameters
    ----------
    inner_radius : float
        Radius of the hole in m; 0 makes the ring a disc.
    outer_radius : float
        Radius of the outer rim in m, larger than `inner_radius`.
    center, euler, amplitude, time_delay
        As `Elements` has them.
    """
    sizes = _rims("ring", inner_radius, outer_radius)
    return Elements("ring", center, euler, amplitude, time_delay, **sizes)


def spherical_shell(
    radius: float,
    rad_curvature: float,
    *,
    center: ArrayLike = (0, 0, 0),
    euler: ArrayLike = (0, 0, 0),
    amplitude: float = 1.0,
    time_delay: float = 0.0,
) -> Elements:
    """One focusing bowl: its deepest point is the origin, its focus (0, 0, rad_curvature).

    Parameters
    ----------
    radius : float
        Radius of the rim in m, positive.
    rad_curvature : float
        Radius of curvature in m, at least `radius` (a hemisphere).
    center, euler, amplitude, time_delay
        As `Elements` has them.
    """
    me = "spherical_shell"
    rim = _check.real(me, "radius", radius, "positive", "m")
    sizes = {"radius": rim, "rad_curvature": curvature(me, rad_curvature, rim)}
    return Elements("shel", center, euler, amplitude, time_delay, **sizes)


def spherical_ring(
    inner_radius: float,
    outer_radius: float,
    rad_curvature: float,
    *,
    center: ArrayLike = (0, 0, 0),
    euler: ArrayLike = (0, 0, 0),
    amplitude: float = 1.0,
    time_delay: float = 0.0,
) -> Elements:
    """The part of a bowl between two rims; see `spherical_shell`.

    Parameters
    ----------
    inner_radius : float
        Radius of the hole's rim in m; 0 makes it the whole bowl.
    outer_radius : float
        Radius of the outer rim in m, larger than `inner_radius`.
    rad_curvature : float
        Radius of curvature in m, at least `outer_radius`.
    center, euler, amplitude, time_delay
        As `Elements` has them.
    """
    me = "spherical_ring"
    sizes = _rims(me, inner_radius, outer_radius)
    sizes["geometric_focus"] = curvature(me, rad_curvature, sizes["outer_radius"])
    return Elements("sph ring", center, euler, amplitude, time_delay, **sizes)


def _rims(owner: str, inner_radius: float, outer_radius: float) -> dict[str, float]:
    inner = _check.real(owner, "inner_radius", inner_radius, "not negative", "m")
    outer = _check.real(owner, "outer_radius", outer_radius, "positive", "m")
    expected = f"larger than inner_radius, {inner:.6g} m"
    _check.require(outer > inner, owner, "outer_radius", expected, outer_radius)
    return {"inner_radius": inner, "outer_radius": outer}


def curvature(owner: str, rad_curvature: float, rim: float) -> float:
    """A bowl's radius of curvature in m, at least the radius of its rim."""
    radius = _check.real(owner, "rad_curvature", rad_curvature, "positive", "m")
    expected = f"at least the radius of the rim, {rim:.6g} m"
    _check.require(radius >= rim, owner, "rad_curvature", expected, rad_curvature)
    return radius


def rotation_matrices(euler: Floats) -> Floats:
    """n x 3 x 3 matrices that take global vectors into the elements' own frames.

    Rows are an element's own axes in global coordinates, the third the way it radiates.
    """
    s1, s2, s3 = np.sin(euler).T
    c1, c2, c3 = np.cos(euler).T
    rows = [
        [c1 * c3 - s1 * s2 * s3, s1 * s2 * c3 + c1 * s3, -s1 * c2],
        [-c2 * s3, c2 * c3, s2],
        [c1 * s2 * s3 + s1 * c3, s1 * s3 - c1 * s2 * c3, c1 * c2],
    ]
    return np.moveaxis(np.array(rows), 2, 0)


def euler_of(matrices: Floats) -> Floats:
    """The angles in rad, n x 3, of which `rotation_matrices` makes these."""
    side = np.hypot(matrices[:, 1, 0], matrices[:, 1, 1])
    # Where the first and the third turn are about one axis, one of them does.
    alike = side <= 1e-12
    first = np.where(alike, 0, np.arctan2(-matrices[:, 0, 2], matrices[:, 2, 2]))
    third = np.where(
        alike,
        np.arctan2(matrices[:, 0, 1], matrices[:, 0, 0]),
        np.arctan2(-matrices[:, 1, 0], matrices[:, 1, 1]),
    )
    return np.stack([first, np.arctan2(matrices[:, 1, 2], side), third], axis=1)
