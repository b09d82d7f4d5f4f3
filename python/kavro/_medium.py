"""The medium that carries the sound."""

from __future__ import annotations

import dataclasses
from dataclasses import dataclass

import numpy as np

from kavro import _check


@dataclass(frozen=True)
class Medium:
    """A medium; ``dataclasses.replace`` changes it.

    Continuous waves, fnm_spectral and nonlinear methods count the attenuation: in fnm_spectral and
    in exact continuous waves attenuationdBcmMHz times the frequency in MHz to the power of the
    exponent, above 0 and at most 2, otherwise times the frequency. The other linear methods over
    time are lossless and warn where it is not zero. `bioheat` reads the heat and blood fields.

    Parameters
    ----------
    soundspeed : float
        m/s.
    density : float
        kg/m^3.
    attenuationdBcmMHz : float
        dB/(cm MHz^y).
    powerlawexponent : float
        y, exponent of frequency in the attenuation.
    nonlinearityparameter : float
        beta = 1 + B/(2A).
    specificheat, specificheatofblood : float
        J/(kg K).
    thermalconductivity : float
        W/(m K).
    bloodperfusion : float
        kg/(m^3 s).
    referencefrequency : float, optional
        Hz: where the phase speed is soundspeed; by default the centre frequency of the waveform, a
        continuous wave's own, or the middle of several.
    """

    soundspeed: float
    density: float
    attenuationdBcmMHz: float = 0.0
    powerlawexponent: float = 2.0
    nonlinearityparameter: float = 1.0
    specificheat: float = 0.0
    specificheatofblood: float = 0.0
    thermalconductivity: float = 0.0
    bloodperfusion: float = 0.0
    referencefrequency: float | None = None

    def __post_init__(self) -> None:
        for name, value in vars(self).items():
            if name == "referencefrequency" and value is None:
                continue
            object.__setattr__(self, name, _check.one("Medium", name, value))


# Attenuation in dB/cm at 1 MHz, its exponent, B/A, specific heat, thermal conductivity. Tissues,
# acoustic values: T. L. Szabo, Diagnostic Ultrasound Imaging: Inside Out, appendix B; heat: tissue
# properties database of the IT'IS Foundation. Water, B/A: R. T. Beyer, J. Acoust. Soc. Am. 32, 719
# (1960); heat: CRC Handbook of Chemistry and Physics; attenuation: J. M. M. Pinkerton, Proc. Phys.
# Soc. B 62, 129 (1949). 'water' leaves it out, as most methods over time do.
_others = {
    "water": (0.0, 2.0, 5.0, 4182.0, 0.598),
    "lossy water": (0.0022, 2.0, 5.0, 4182.0, 0.598),
    "blood": (0.14, 1.21, 6.0, 3617.0, 0.52),
    "fat": (0.6, 1.0, 10.3, 2348.0, 0.21),
    "liver": (0.45, 1.05, 6.75, 3540.0, 0.52),
    "muscle": (0.57, 1.0, 7.43, 3421.0, 0.49),
}
_speed_and_density = {
    "blood": (1584.0, 1060.0),
    "fat": (1430.0, 928.0),
    "liver": (1578.0, 1050.0),
    "muscle": (1580.0, 1041.0),
}


def medium(name: str = "water", **fields: float) -> Medium:
    """A medium by name, with other values of its fields where they are given.

    Parameters
    ----------
    name : {'water', 'lossy water', 'blood', 'fat', 'liver', 'muscle'}
    **fields : float
        Fields of `Medium`; for water also temperature, 0 to 95 degrees Celsius (default 20), which
        sets soundspeed and density: the attenuation of lossy water is that at 20 degrees.

    Examples
    --------
    >>> lossless_liver = kavro.medium("liver", attenuationdBcmMHz=0)
    """
    name = _check.choice("medium", "name", name, tuple(_others))
    if name in ("water", "lossy water"):
        speed, density = _water(fields.pop("temperature", 20.0))
    else:
        speed, density = _speed_and_density[name]
    attenuation, exponent, b_over_a, heat, conductivity = _others[name]
    named = Medium(
        speed, density, attenuation, exponent, 1 + b_over_a / 2, heat, 3617.0, conductivity
    )
    return dataclasses.replace(named, **fields)


def water(temperature: float = 20.0) -> Medium:
    """Water of a temperature in degrees Celsius, without attenuation."""
    return medium("water", temperature=temperature)


def _water(temperature: float) -> tuple[float, float]:
    """Speed of sound: W. Marczak, J. Acoust. Soc. Am. 102, 2776 (1997). Density: G. S. Kell,
    J. Chem. Eng. Data 20, 97 (1975)."""
    expected = "a real number from 0 to 95 (degrees Celsius)"
    t = float(_check.finite("medium", "temperature", temperature, expected, ()))
    _check.require(0 <= t <= 95, "medium", "temperature", expected, temperature)
    speed = np.polyval(
        [2.787860e-9, -1.398845e-6, 3.287156e-4, -5.799136e-2, 5.038813, 1402.385], t
    )
    density = np.polyval(
        [-280.54253e-12, 105.56302e-9, -46.170461e-6, -7.9870401e-3, 16.945176, 999.83952], t
    ) / (1 + 16.879850e-3 * t)
    return float(speed), float(density)
