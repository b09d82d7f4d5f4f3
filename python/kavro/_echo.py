"""Echoes: what the channels of an array receive from point scatterers."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import numpy as np
from numpy.typing import ArrayLike, NDArray

from kavro import _kavro
from kavro._check import Floats
from kavro._elements import Elements
from kavro._events import Events
from kavro._medium import Medium
from kavro._scene import Instants, Scatterers, Times
from kavro._solver import Progress, _lowered, _shown
from kavro._waveforms import Pulse, Sampled


@dataclass(frozen=True, eq=False)
class EchoReport:
    """What belongs to echoes: their times, and what was summed.

    Time 0 is that of the delays: an undelayed pulse begins then. Nothing is shifted.

    Attributes
    ----------
    firing_times : (events, channels)
        In s, the delays as they count; nan: silent. Of elements that share a channel but not their
        own delay, the first.
    frequencies : (count, first, last)
        Of those that were summed, in Hz.
    scatterers : int
        Their number.
    first_sample : float or None
        Time of the first sample in s. This and what follows is None for spectra.
    step : float or None
        Between samples in s; None where the instants are a list.
    pulse_delay : float or None
        The pulse's own delay in s: from its begin to the middle of the energy of its envelope,
        responses included. By a scatterer with the delay tau on both ways the echo is centred at
        firing time + tau + pulse_delay.
    arrivals : (first, last) or None
        When the first echo begins and the last one ends, in s.
    period : float or None
        Of the frequencies in s, their inverse spacing.
    """

    firing_times: Floats
    frequencies: tuple[int, float, float]
    scatterers: int
    first_sample: float | None = None
    step: float | None = None
    pulse_delay: float | None = None
    arrivals: tuple[float, float] | None = None
    period: float | None = None


def pulse_echo(
    elements: Elements,
    scatterers: Scatterers,
    medium: Medium,
    *,
    time: Times | Instants | None = None,
    excitation: Pulse | Sampled | None = None,
    f0: float | ArrayLike | None = None,
    events: Events | None = None,
    delays: ArrayLike | None = None,
    apodization: ArrayLike | None = None,
    receivers: Elements | None = None,
    response: Pulse | Sampled | None = None,
    transmit_response: Pulse | Sampled | None = None,
    receive_response: Pulse | Sampled | None = None,
    tolerance: float | None = None,
    threads: int | None = None,
    progress: Progress = None,
    report: bool = False,
    out: NDArray[Any] | None = None,
) -> Any:
    """What the channels of an array receive from point scatterers.

    In every event its channels send; a scatterer of the strength sigma answers the pressure p(t) that
    arrives at it with sigma p(t - r / c) / r at the distance r; and each channel hears the mean
    pressure over its faces, as a rigid wall feels it. Exact in the near field, for all shapes, with
    the medium's losses and dispersion on both ways. Left out are echoes of echoes and those off the
    faces themselves. Memory does not grow with the number of scatterers.

    Parameters
    ----------
    elements : Elements
        Of any shapes; those of one `channel` are wired together.
    scatterers : Scatterers
    medium : Medium
    time : Times or Instants
        When. Time 0 is that of the delays: an undelayed pulse begins then. Nothing is shifted.
    excitation : Pulse or Sampled
        The waveform.
    f0 : float or (n,)
        Frequencies in Hz, in place of these two: spectra of waves that go out as
        exp(+j 2 pi f0 t), times the elements' amplitudes.
    events : Events, optional
        Transmit events; or by themselves
    delays : (events, channels), optional
        When each channel fires, in s; nan: it is silent.
    apodization : (events, channels), optional
        Factors of the elements' amplitudes. By default one event, with the elements' own delays and
        amplitudes.
    receivers : Elements, optional
        Another array, that listens instead.
    response : Sampled, optional
        Impulse response of the transducers in 1/s, which acts on both ways, as
        `kavro.transducer_response` makes it; or
    transmit_response, receive_response : Sampled, optional
        One for each way.
    tolerance : float, optional
        Largest error of the quadrature as a share of each element's field at a scatterer, and of what
        is left out of the band as a share of the echo: 1e-12 to 0.1; by default 1e-3.
    threads, progress
        As `kavro.solve` has them.
    report : bool
        True: return ``(rf, EchoReport)``.
    out : array, optional
        Where the result goes, as for `kavro.solve`.

    Returns
    -------
    array in Fortran order
        (nt, receivers, events), in Pa; with f0 (receivers, events, frequencies), complex, in Pa.

    Examples
    --------
    A wire at 20 mm, one plane wave, 64 channels:

    >>> probe = kavro.linear_array(64, 0.3e-3, width=0.27e-3, height=5e-3, amplitude=0.05)
    >>> wire = kavro.Scatterers([(0, 0, 20e-3)], 1e-4)
    >>> rf = kavro.pulse_echo(probe, wire, kavro.water(), time=kavro.Times(25e-6, 35e-6, 20e-9),
    ...                       excitation=kavro.hanning_pulse(5e6, 0.6e-6))
    """
    options: dict[str, object] = {
        "time": time,
        "excitation": excitation,
        "f0": f0,
        "events": events,
        "delays": delays,
        "apodization": apodization,
        "receivers": receivers,
        "response": response,
        "transmit_response": transmit_response,
        "receive_response": receive_response,
        "tolerance": tolerance,
        "threads": threads,
    }
    with _shown(progress) as told:
        options["progress"] = told
        rf, done = _kavro.call(
            ["pulse_echo", *arguments_of(elements, scatterers, medium, options)], out
        )
    return (rf, report_from(done)) if report else rf


def arguments_of(
    elements: Elements, scatterers: Scatterers, medium: Medium, options: dict[str, object]
) -> list[object]:
    """As the compiled part takes them, of the options those that are given."""
    arguments: list[object] = [elements, scatterers, medium]
    for name, value in options.items():
        if value is not None:
            arguments += [name, value]
    return [_lowered(argument) for argument in arguments]


def report_from(done: dict[str, Any]) -> EchoReport:
    numbers = {name: field.ravel().tolist() for name, field in done.items()}
    count, first, last = numbers["frequencies"]
    of_any = (done["firing_times"], (int(count), first, last), int(*numbers["scatterers"]))
    if "period" not in done:
        return EchoReport(*of_any)
    begin, end = numbers["arrivals"]
    start, step, delay, period = (
        None if np.isnan(*numbers[name]) else float(*numbers[name])
        for name in ("first_sample", "step", "pulse_delay", "period")
    )
    return EchoReport(*of_any, start, step, delay, (begin, end), period)
