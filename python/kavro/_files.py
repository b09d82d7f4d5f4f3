"""Echoes in files, for beamformers."""

from __future__ import annotations

import os
from collections.abc import Mapping
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from kavro import _check
from kavro._channels import Wiring
from kavro._check import Floats
from kavro._echo import EchoReport
from kavro._elements import Elements, rotation_matrices
from kavro._events import Events
from kavro._medium import Medium
from kavro._waveforms import Pulse, Sampled

if TYPE_CHECKING:
    import h5py

Path = str | os.PathLike[str]


def write_hdf5(
    path: Path,
    rf: NDArray[Any],
    report: EchoReport,
    elements: Elements,
    medium: Medium,
    *,
    receivers: Elements | None = None,
    events: Events | None = None,
    excitation: Pulse | Sampled | None = None,
) -> None:
    """Write echoes over time to an HDF5 file, with everything that a beamformer needs.

    Needs h5py. Datasets, each with the attribute `units`:

    - rf (nt, receivers, events) in Pa, and time (nt,) in s;
    - receivers and transmitters, groups of one row for each channel: position in m, direction (a unit
      vector that the face looks along), size (along the face's own x and y) in m;
    - events, a group of one row for each: firing_times in s (nan: silent), and where `events` are
      given apodization, origin, direction and distance as `Events` has them.

    Attributes of the file: time_zero (in words), pulse_delay (s), soundspeed (m/s), density (kg/m^3),
    attenuationdBcmMHz, powerlawexponent and, of a pulse in closed form, centre_frequency (Hz).

    Parameters
    ----------
    path : str or path
        The file; it is replaced where there is one.
    rf, report
        What `pulse_echo` returned with ``report=True``.
    elements, medium, receivers, events, excitation
        What it was given.
    """
    _check_echoes("write_hdf5", rf, report, receivers or elements)
    with _new_file(path) as file:
        _put(file, "rf", rf, "Pa")
        _put(file, "time", _instants(report, len(rf)), "s")
        for name, array in (("receivers", receivers or elements), ("transmitters", elements)):
            group = file.create_group(name)
            wiring = Wiring(array)
            _put(group, "position", wiring.positions, "m")
            _put(group, "direction", wiring.directions, "1")
            _put(group, "size", _sizes(array, wiring), "m")
        group = file.create_group("events")
        _put(group, "firing_times", report.firing_times, "s")
        if events is not None:
            units = {"apodization": "1", "origin": "m", "direction": "1", "distance": "m"}
            for name, unit in units.items():
                _put(group, name, getattr(events, name), unit)
        file.attrs["time_zero"] = (
            "that of the firing times: an undelayed pulse begins then; the echo of a point with the "
            "delay tau on both ways is centred at firing time + tau + pulse_delay"
        )
        file.attrs["pulse_delay"] = report.pulse_delay
        for name in ("soundspeed", "density", "attenuationdBcmMHz", "powerlawexponent"):
            file.attrs[name] = getattr(medium, name)
        if isinstance(excitation, Pulse):
            file.attrs["centre_frequency"] = excitation.f0


def write_uff(
    path: Path,
    rf: NDArray[Any],
    report: EchoReport,
    elements: Elements,
    medium: Medium,
    events: Events,
    *,
    receivers: Elements | None = None,
    excitation: Pulse | Sampled | None = None,
) -> None:
    """Write echoes over time as the channel data of an Ultrasound File Format (UFF) of USTB.

    Needs h5py. The file holds /channel_data: data in single precision, sampling_frequency,
    initial_time, sound_speed, modulation_frequency 0, the probe's geometry and a sequence of waves.
    Its time 0 is when the middle of the pulse passes the point (0, 0, 0): `initial_time` is the first
    sample less the pulse's delay, and each wave's `delay` is when it passes there.

    Parameters
    ----------
    path : str or path
        The file; it is replaced where there is one.
    rf, report
        What `pulse_echo` returned with ``report=True``.
    elements, medium, events, receivers, excitation
        What it was given. Events are needed, because the file describes their waves.
    """
    me = "write_uff"
    array = receivers or elements
    _check_echoes(me, rf, report, array)
    expected = f"Events, {rf.shape[2]} of them"
    fits = isinstance(events, Events) and len(events) == rf.shape[2]
    _check.require(fits, me, "events", expected, events)
    assert report.first_sample is not None and report.pulse_delay is not None and report.step
    speed = medium.soundspeed
    pulse = {"center_frequency": excitation.f0} if isinstance(excitation, Pulse) else {}
    with _new_file(path) as file:
        file.attrs["version"] = np.bytes_("v1.0.1")
        _put_uff(
            file,
            "channel_data",
            "uff.channel_data",
            {
                "sampling_frequency": 1 / report.step,
                "initial_time": report.first_sample - report.pulse_delay,
                "sound_speed": speed,
                "modulation_frequency": 0.0,
                "data": rf,
                "probe": ("uff.probe", {"geometry": _uff_geometry(array)}),
                "sequence": ("uff.wave", [_uff_wave(event, speed) for event in _rows(events)]),
                "pulse": ("uff.pulse", pulse),
            },
        )


def _check_echoes(owner: str, rf: NDArray[Any], report: EchoReport, array: Elements) -> None:
    fits = isinstance(report, EchoReport) and report.step is not None
    expected = "that of echoes over time, at instants of equal steps"
    _check.require(fits, owner, "report", expected, report)
    shape = (Wiring(array).count, len(report.firing_times))
    fits = rf.ndim == 3 and rf.shape[1:] == shape and rf.dtype.kind == "f"
    expected = f"real, of the shape (nt, {shape[0]}, {shape[1]})"
    _check.require(fits, owner, "rf", expected, rf)


def _instants(report: EchoReport, count: int) -> Floats:
    assert report.first_sample is not None and report.step is not None
    return np.asarray(np.arange(count) * report.step + report.first_sample)


def _new_file(path: Path) -> h5py.File:
    import h5py

    return h5py.File(path, "w")


def _put(group: h5py.Group, name: str, values: Floats, units: str) -> None:
    group[name] = values
    group[name].attrs["units"] = units


def _sizes(elements: Elements, wiring: Wiring) -> Floats:
    """How far each channel reaches along x and y of the frame of its first element."""
    half = np.stack([elements.width, elements.height], axis=1) / 2
    round_ = np.maximum(elements.radius, elements.outer_radius)[:, None]
    half = np.maximum(half, round_)
    for i, corners in enumerate(elements.corners):
        if len(corners) > 0:
            half[i] = np.abs(corners).max(axis=0)
    _, first = np.unique(wiring.channel, return_index=True)
    frames = rotation_matrices(elements.euler[first])[wiring.channel]
    offsets = elements.center - wiring.positions[wiring.channel]
    reach = np.abs(np.einsum("nij,nj->ni", frames, offsets))[:, :2] + half
    sizes = np.zeros((wiring.count, 2))
    np.maximum.at(sizes, wiring.channel, 2 * reach)
    return sizes


# ---- UFF: groups and datasets with the attributes class, name and, of groups, array and size;
# numbers in single precision, along the axes as a host that counts columns first reads them


def _put_uff(group: h5py.Group, name: str, kind: str, value: Any) -> None:
    if isinstance(value, (Mapping, list)):
        item = group.create_group(name)
        item.attrs["array"] = float(isinstance(value, list))
        item.attrs["size"] = [1.0, float(len(value)) if isinstance(value, list) else 1.0]
        parts = value.items() if isinstance(value, Mapping) else _numbered(name, kind, value)
        for part, content in parts:
            typed = content if isinstance(content, tuple) else ("single", content)
            _put_uff(item, part, *typed)
    else:
        item = group.create_dataset(name, data=np.atleast_2d(value).T.astype(np.float32))
        item.attrs["complex"] = 0.0
        item.attrs["imaginary"] = 0.0
    item.attrs["class"] = np.bytes_(kind)
    item.attrs["name"] = np.bytes_(name)


def _numbered(name: str, kind: str, values: list[Any]) -> list[tuple[str, tuple[str, Any]]]:
    return [(f"{name}_{i:04d}", (kind, value)) for i, value in enumerate(values, 1)]


def _uff_geometry(elements: Elements) -> Floats:
    """x, y, z, azimuth, elevation, width and height of each channel."""
    wiring = Wiring(elements)
    _, azimuth, elevation = _spherical(wiring.directions)
    sizes = _sizes(elements, wiring)
    return np.column_stack([wiring.positions, azimuth, elevation, sizes])


def _rows(events: Events) -> list[Events]:
    return [events[i] for i in range(len(events))]


def _uff_wave(event: Events, speed: float) -> dict[str, Any]:
    origin, direction, distance = event.origin[0], event.direction[0], float(event.distance[0])
    plane = np.isinf(distance)
    source = direction if plane else origin + distance * direction
    away, azimuth, elevation = _spherical(source)
    if plane:
        passes = -float(direction @ origin) / speed
    else:
        # On its way to a point in front of it, or after one behind it.
        side = -1.0 if distance > 0 and direction @ source > 0 else 1.0
        passes = (distance + side * float(away)) / speed
    point = {
        "distance": np.inf if plane else away,
        "azimuth": azimuth,
        "elevation": elevation,
    }
    return {
        "wavefront": ("uff.wavefront", 0.0 if plane else 1.0),
        "source": ("uff.point", point),
        "delay": passes,
        "sound_speed": speed,
    }


def _spherical(points: Floats) -> tuple[Floats, Floats, Floats]:
    """Distance, azimuth from z towards x, and elevation towards y."""
    x, y, z = np.moveaxis(points, -1, 0)
    flat = np.hypot(x, z)
    return np.hypot(flat, y), np.arctan2(x, z), np.arctan2(y, flat)
