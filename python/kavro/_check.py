"""Checks of arguments. All messages read alike: who, which, what it must be, what it is."""

from __future__ import annotations

import math
from typing import Any, NoReturn

import numpy as np
from numpy.typing import NDArray

from kavro._errors import InputError

Floats = NDArray[np.float64]

# How many a maker makes: what their records take fits into 2 GB, as in the other hosts.
most_elements = 4_000_000


def default(value: Any) -> Any:
    """What a field may be given for what it will hold."""
    return value


def refuse(owner: str, name: str, expected: str, value: object) -> NoReturn:
    """Raise InputError for the argument `name` of the function or class `owner`."""
    raise InputError(f"{owner}: '{name}' must be {expected}, but it is {_described(value)}.")


def require(holds: Any, owner: str, name: str, expected: str, value: object) -> None:
    """Raise InputError unless something holds."""
    if not holds:
        refuse(owner, name, expected, value)


def values(
    owner: str, name: str, value: object, expected: str, kinds: str = "iufc"
) -> NDArray[Any]:
    """Numbers as they lie, of NumPy's kinds, none of them masked."""
    try:
        array = np.asarray(value)
    except (TypeError, ValueError):  # no numbers, or rows of different lengths
        refuse(owner, name, expected, value)
    fits = array.dtype.kind in kinds and not _hides_some(value)
    require(fits, owner, name, expected, value)
    return array


def numbers(
    owner: str, name: str, value: object, expected: str, shape: tuple[int | None, ...] | None = None
) -> Floats:
    """Real numbers as an array of doubles, of the given shape; None leaves an extent open."""
    array = values(owner, name, value, expected, "iuf")
    fits = shape is None or (
        array.ndim == len(shape) and all(b in (None, a) for a, b in zip(array.shape, shape))
    )
    require(fits, owner, name, expected, value)
    return np.array(array, dtype=np.float64)


def finite(
    owner: str, name: str, value: object, expected: str, shape: tuple[int | None, ...] | None = None
) -> Floats:
    """The same, all finite and at least one."""
    array = numbers(owner, name, value, expected, shape)
    require(array.size > 0 and np.isfinite(array).all(), owner, name, expected, value)
    return array


def real(owner: str, name: str, value: object, rule: str = "", unit: str = "") -> float:
    """One real number that follows the rule: 'positive', 'not negative', or any."""
    expected = {
        "positive": "a positive real number",
        "not negative": "a real number, zero or positive",
    }.get(rule, "a real number") + (f" ({unit})" if unit else "")
    number = float(finite(owner, name, value, expected, ()))
    follows = number > 0 if rule == "positive" else number >= 0 or rule == ""
    require(follows, owner, name, expected, value)
    return number


def lengths(owner: str, **values: float) -> dict[str, float]:
    """Positive lengths in m by their names."""
    return {name: real(owner, name, value, "positive", "m") for name, value in values.items()}


def one(owner: str, name: str, value: object) -> float:
    """One real number, finite or not: for what the solver checks, too."""
    return float(numbers(owner, name, value, "one real number", ()))


def whole(owner: str, name: str, value: object, least: int, most: float = math.inf) -> int:
    """A whole number from `least` to `most`."""
    bounds = f", {least} or more" if most == math.inf else f" from {least} to {most}"
    expected = "a whole number" + bounds
    number = float(finite(owner, name, value, expected, ()))
    fits = number == round(number) and least <= number <= most
    require(fits, owner, name, expected, value)
    return int(number)


def flag(owner: str, name: str, value: object) -> bool:
    """True or False, and nothing that merely counts as one."""
    require(isinstance(value, (bool, np.bool_)), owner, name, "True or False", value)
    return bool(value)


def choice(owner: str, name: str, value: object, choices: tuple[str, ...]) -> str:
    """One of some texts; capitals do not count."""
    text = value.strip().lower() if isinstance(value, str) else None
    if text not in choices:
        refuse(owner, name, "one of " + ", ".join(map(repr, choices)), value)
    return text


def _hides_some(value: object) -> bool:
    """Whether numbers are masked: what lies under a mask is not meant."""
    return isinstance(value, np.ma.MaskedArray) and bool(np.any(value.mask))


def _described(value: object) -> str:
    if value is None or isinstance(value, (str, bool)):
        return repr(value)
    if _hides_some(value):
        return "an array with masked values"
    if isinstance(value, (int, float, np.number)):
        try:
            return f"{value:.6g}"
        except (ValueError, OverflowError):  # a time span, or more than a double holds
            return f"a {type(value).__name__}"
    if isinstance(value, (list, tuple, np.ndarray)):
        try:
            array = np.asarray(value)
        except (TypeError, ValueError):
            return f"a {type(value).__name__} of different things"
        if array.dtype.kind in "iuf" and 0 < array.size <= 4:
            return np.array2string(array, separator=", ", formatter={"all": "{:.6g}".format})
        fault = ""
        if array.dtype.kind in "fc" and not np.isfinite(array).all():
            fault = " with values that are not finite"
        return f"an array of {array.dtype} of the shape {array.shape}{fault}"
    return f"a {type(value).__name__}"
