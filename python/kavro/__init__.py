"""KAVRO computes the sound field of ultrasound transducer arrays.

Elements, points, a medium, times and a waveform go into `solve`, the field comes out as a NumPy
array. All lengths are in m, times in s, angles in rad, amplitudes in m/s, pressures in Pa.
"""

import os as _os

from kavro._arrays import (
    annular_array,
    bowl_array,
    concentric_rings,
    convex_array,
    linear_array,
    planar_array,
    random_array,
    ring_array,
    window,
)
from kavro._echo import EchoReport, pulse_echo
from kavro._elements import (
    Elements,
    disc,
    polygon,
    rectangular_piston,
    ring,
    spherical_ring,
    spherical_shell,
)
from kavro._errors import InputError
from kavro._events import (
    Events,
    focused_events,
    plane_wave_events,
    synthetic_aperture_events,
)
from kavro._files import write_hdf5, write_uff
from kavro._focusing import focus, focus_delays
from kavro._heat import WallName, bioheat, heat_rate, thermal_dose
from kavro._kavro import __version__
from kavro._kavro import after_fork_in_child as _after_fork_in_child
from kavro._medium import Medium, medium, water
from kavro._power import acoustic_power, intensity
from kavro._results import BeamWidth, FieldIndices, beam_width, field_indices, to_xarray
from kavro._scene import (
    Grid,
    Instants,
    Points,
    Scatterers,
    Times,
    grid_axes,
    join_field,
    split_grid,
    time_axis,
)
from kavro._solver import (
    MeasureName,
    Method,
    MethodName,
    SolveReport,
    fit_time_samples,
    kzk_parameters,
    methods,
    pressure,
    solve,
    threads,
    transient_pressure,
)
from kavro._waveforms import (
    Pulse,
    Sampled,
    hanning_pulse,
    sampled,
    t_cubed_pulse,
    tone_burst,
    transducer_response,
    waveform,
)

if hasattr(_os, "register_at_fork"):
    _os.register_at_fork(after_in_child=_after_fork_in_child)

__all__ = [
    "BeamWidth",
    "EchoReport",
    "Elements",
    "Events",
    "FieldIndices",
    "Grid",
    "InputError",
    "Instants",
    "MeasureName",
    "Medium",
    "Method",
    "MethodName",
    "Points",
    "Pulse",
    "Sampled",
    "Scatterers",
    "SolveReport",
    "Times",
    "WallName",
    "__version__",
    "acoustic_power",
    "annular_array",
    "beam_width",
    "bioheat",
    "bowl_array",
    "concentric_rings",
    "convex_array",
    "disc",
    "field_indices",
    "fit_time_samples",
    "focus",
    "focus_delays",
    "focused_events",
    "grid_axes",
    "hanning_pulse",
    "heat_rate",
    "intensity",
    "join_field",
    "kzk_parameters",
    "linear_array",
    "medium",
    "methods",
    "planar_array",
    "plane_wave_events",
    "polygon",
    "pressure",
    "pulse_echo",
    "random_array",
    "rectangular_piston",
    "ring",
    "ring_array",
    "sampled",
    "solve",
    "spherical_ring",
    "spherical_shell",
    "split_grid",
    "synthetic_aperture_events",
    "t_cubed_pulse",
    "thermal_dose",
    "threads",
    "time_axis",
    "to_xarray",
    "tone_burst",
    "transducer_response",
    "transient_pressure",
    "water",
    "waveform",
    "window",
    "write_hdf5",
    "write_uff",
]
