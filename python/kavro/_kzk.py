"""Parameters of the nonlinear marches."""

from __future__ import annotations

import math
from typing import Any

from kavro import _check, _kavro
from kavro._elements import Elements
from kavro._medium import Medium
from kavro._methods import methods
from kavro._request import arguments
from kavro._scene import Grid, Times, grid_axes
from kavro._waveforms import Pulse


def kzk_parameters(
    element: Elements,
    medium: Medium,
    drive: float | Pulse,
    *,
    accuracy: float = 0.01,
    harmonics: int = 5,
    grid: Grid | None = None,
    time: Times | None = None,
) -> tuple[dict[str, float], dict[str, float]]:
    """Parameters of a nonlinear march, and what it will cost.

    Chooses what `solve` takes as the option `kzk`, from the element's gain, its amplitude, the medium
    and the planes. `solve` chooses the same when the option is left out.

    Parameters
    ----------
    element : Elements
        One disc, spherical shell or spherical ring, with its amplitude.
    medium : Medium
    drive : float or Pulse
        Frequency in Hz: parameters of 'kzk_cw'. A pulse: parameters of 'kzk_transient'.
    accuracy : float, optional
        Error of the pressure on the axis, as a share of what the waves from the middle and the rim
        can add up to there.
    harmonics : int, optional
        'kzk_cw': how many are to be right. More are computed, as the wave's distortion asks for.
    grid : Grid, optional
        The points of the run; by default the axis, from 0.5 to 1.3 times the radius of curvature, or
        from 0.25 to 2 Rayleigh distances.
    time : Times, optional
        'kzk_transient': the instants of the run; they only count for the cost.

    Returns
    -------
    kzk : dict
        extent, points_per_radius, and growth and harmonics or step.
    cost : dict
        columns, harmonics or samples, steps, bytes beside the result, seconds on one thread.
    """
    if isinstance(drive, Pulse):
        f0 = drive.f0
    else:
        f0 = _check.real("kzk_parameters", "drive", drive, "positive", "Hz")
    points = grid if grid is not None else _usual_planes(element, medium, f0)
    choice: dict[str, float] = {"accuracy": accuracy}
    options: dict[str, object]
    if isinstance(drive, Pulse):
        z = grid_axes(points)[2]
        c = medium.soundspeed
        times = time if time is not None else Times(min(z) / c, max(z) / c + 10 / f0, 1 / f0 / 40)
        method, options = "kzk_transient", {"excitation": drive, "time": times}
    else:
        choice["harmonics"] = harmonics
        method, options = "kzk_cw", {"f0": f0}
    options["kzk"] = choice
    given = arguments(("kzk_parameters", method, element, points, medium), options)
    kzk, cost = _kavro.call(given)
    return _numbers(kzk), _numbers(cost)


def _numbers(record: dict[str, Any]) -> dict[str, float]:
    return {name: float(number.item()) for name, number in record.items()}


_curvatures = ("rad_curvature", "geometric_focus")


def _usual_planes(element: Elements, medium: Medium, f0: float) -> Grid:
    """On the axis; fifty planes."""
    fields = vars(element)
    one = len(element) == 1 and element.shape[0] in methods()["kzk_cw"].shapes
    expected = "one disc, spherical shell or spherical ring"
    _check.require(one, "kzk_parameters", "element", expected, element)
    curvature = sum(float(fields[name][0]) for name in _curvatures if name in fields)
    if curvature > 0:
        first, last = 0.5 * curvature, 1.3 * curvature
    else:
        scale = math.pi * f0 * float(fields["radius"][0]) ** 2 / medium.soundspeed
        first, last = 0.25 * scale, 2 * scale
    return Grid(x=(0, 0, 1), z=(first, last, (last - first) / 49))
