"""Waveforms: the normal velocity of an element's face over time, times its amplitude."""

from __future__ import annotations

import dataclasses
import math
from dataclasses import dataclass
from typing import Any

import numpy as np
from numpy.typing import ArrayLike

from kavro import _check
from kavro._check import Floats


@dataclass(frozen=True)
class Pulse:
    """A waveform in closed form: what `tone_burst`, `hanning_pulse` and `t_cubed_pulse` make."""

    type: float
    f0: float
    pulse_width: float
    B: float = 0.0
    decomposition: str = "exact"

    def __post_init__(self) -> None:
        for name in ("type", "f0", "pulse_width", "B"):
            object.__setattr__(self, name, _check.one("Pulse", name, getattr(self, name)))


@dataclass(frozen=True, eq=False)
class Sampled:
    """A waveform of samples: what `sampled` and `transducer_response` make.

    `delay` in s is where the middle of a response lies.
    """

    signal: Floats
    ts: float
    w: float
    clip_threshold: float = 0.0
    decomposition: str = "exact"
    delay: float = 0.0

    def __post_init__(self) -> None:
        expected = "a vector of real numbers"
        samples = _check.numbers("Sampled", "signal", self.signal, expected, (None,))
        object.__setattr__(self, "signal", samples)
        for name in ("ts", "w", "clip_threshold", "delay"):
            object.__setattr__(self, name, _check.one("Sampled", name, getattr(self, name)))


def tone_burst(f0: float, pulse_width: float, *, decomposition: str = "exact") -> Pulse:
    """The waveform sin(2 pi f0 t) for 0 <= t <= pulse_width.

    Parameters
    ----------
    f0 : float
        Centre frequency in Hz.
    pulse_width : float
        Length in s.
    decomposition : {'exact', 'reference'}
        'reference' keeps the solver's reference behaviour, for those who must reproduce older
        results.
    """
    return _pulse("tone_burst", 1, f0, pulse_width, 0.0, decomposition)


def hanning_pulse(f0: float, pulse_width: float, *, decomposition: str = "exact") -> Pulse:
    """The waveform sin(2 pi f0 t) (1 - cos(2 pi t / pulse_width)) / 2; see `tone_burst`."""
    return _pulse("hanning_pulse", 2, f0, pulse_width, 0.0, decomposition)


def t_cubed_pulse(
    f0: float, pulse_width: float, B: float, *, decomposition: str = "exact"
) -> Pulse:
    """The waveform t^3 exp(-B t) sin(2 pi f0 t), whose scale is s^3; see `tone_burst`.

    Parameters
    ----------
    B : float
        Decay rate in 1/s.
    """
    return _pulse("t_cubed_pulse", 3, f0, pulse_width, B, decomposition)


def sampled(
    signal: ArrayLike,
    ts: float,
    w: float | None = None,
    clip_threshold: float = 0.0,
    *,
    decomposition: str = "exact",
) -> Sampled:
    """The Fourier series through the samples of a signal, the first at t = 0.

    A signal that does not begin and end near zero rings between its samples.

    Parameters
    ----------
    signal : (n,)
        Real samples, two or more.
    ts : float
        Time between two samples in s.
    w : float, optional
        Length in s; by default it ends with the last sample. The series has the period n ts.
    clip_threshold : float
        Which Fourier terms to keep: those above this share of the largest; below 0 a level in dB
        of their power. 0 keeps all.
    decomposition : {'exact', 'reference'}
        As for `tone_burst`.
    """
    me = "sampled"
    expected = "a vector of two or more real numbers"
    samples = _check.finite(me, "signal", signal, expected, (None,))
    _check.require(len(samples) >= 2, me, "signal", expected, signal)
    ts = _check.real(me, "ts", ts, "positive", "s")
    w = (len(samples) - 1) * ts if w is None else _check.real(me, "w", w, "positive", "s")
    clip = _check.real(me, "clip_threshold", clip_threshold)
    _check.require(clip < 1, me, "clip_threshold", "a real number below 1", clip_threshold)
    return Sampled(samples, ts, w, clip, _decomposition(me, decomposition))


def transducer_response(
    f0: float, fractional_bandwidth: float, *, two_way: bool = False
) -> Sampled:
    """The impulse response of a transducer: a Gaussian pulse.

    The waveform exp(-(t - delay)^2 / (2 s^2)) cos(2 pi f0 (t - delay)), which acts once: on transmit,
    or on receive. The largest magnitude of its spectrum, the Fourier integral, is 1.

    Parameters
    ----------
    f0 : float
        Centre frequency in Hz.
    fractional_bandwidth : float
        Width of the band over f0, between 0 and 2: from where the spectrum rises above -6 dB of its
        largest magnitude to where it falls below. For bandwidths above 1, which reach down to 0 Hz,
        s remains that of the Gaussian of this width.
    two_way : bool
        Whether the band is that of transmit and receive together, in which the response acts twice.

    Returns
    -------
    Sampled
        Its `delay`, half its length, is the time in s of the pulse's middle, by which it shifts what
        it acts on.

    Examples
    --------
    A probe of 5 MHz, whose echo has 70 % bandwidth:

    >>> response = kavro.transducer_response(5e6, 0.7, two_way=True)
    """
    me = "transducer_response"
    f0 = _check.real(me, "f0", f0, "positive", "Hz")
    expected = "a real number between 0 and 2"
    band = float(_check.finite(me, "fractional_bandwidth", fractional_bandwidth, expected, ()))
    _check.require(0 < band < 2, me, "fractional_bandwidth", expected, fractional_bandwidth)
    _check.require(isinstance(two_way, bool), me, "two_way", "True or False", two_way)

    # Standard deviations, in Hz and in s; -6 dB are 10^-0.3, half of that for each of two ways.
    of_f = band * f0 / 2 / math.sqrt(2 * math.log(10**0.3) / (1 + two_way))
    of_t = 1 / (2 * math.pi * of_f)
    # Six deviations to every side, where 1.5e-8 is left.
    ts = 1 / (2 * (f0 + 6 * of_f))
    steps = math.ceil(6 * of_t / ts)
    t = np.arange(-steps, steps + 1) * ts
    # The largest magnitude lies where the parts at f0 and at -f0 together have no slope.
    top = f0
    for _ in range(100):
        top = f0 * math.tanh(top * f0 / of_f**2)
    parts = sum(math.exp(-(((top + at) / of_f) ** 2) / 2) for at in (-f0, f0))
    largest = of_t * math.sqrt(math.pi / 2) * parts
    signal = np.exp(-((t / of_t) ** 2) / 2) * np.cos(2 * math.pi * f0 * t) / largest
    return dataclasses.replace(sampled(signal, ts), delay=steps * ts)


def waveform(kind: str, *values: Any, decomposition: str = "exact") -> Pulse | Sampled:
    """A waveform by the name of its kind.

    Parameters
    ----------
    kind : {'tone burst', 'hanning pulse', 't cubed pulse', 'sampled'}
    *values
        What the function of this name takes.

    Examples
    --------
    >>> pulse = kavro.waveform("hanning pulse", 2e6, 1.5e-6)
    """
    makers = {
        "tone burst": tone_burst,
        "hanning pulse": hanning_pulse,
        "t cubed pulse": t_cubed_pulse,
        "sampled": sampled,
    }
    make: Any = makers[_check.choice("waveform", "kind", kind, tuple(makers))]
    made: Pulse | Sampled = make(*values, decomposition=decomposition)
    return made


def _pulse(
    owner: str, type: int, f0: float, pulse_width: float, B: float, decomposition: str
) -> Pulse:
    return Pulse(
        type,
        _check.real(owner, "f0", f0, "positive", "Hz"),
        _check.real(owner, "pulse_width", pulse_width, "positive", "s"),
        _check.real(owner, "B", B, "not negative", "1/s"),
        _decomposition(owner, decomposition),
    )


def _decomposition(owner: str, value: str) -> str:
    return _check.choice(owner, "decomposition", value, ("exact", "reference"))
