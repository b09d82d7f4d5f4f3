"""What the package raises of its own."""

import sys
import warnings


class InputError(ValueError):
    """A fault in what a function was given; the message says what it must be and what it is."""


InputError.__module__ = "kavro"


def warn(text: str) -> None:
    """Warn at the line that called the package."""
    level = 2
    frame = sys._getframe(1)
    while frame.f_back and frame.f_globals.get("__name__", "").partition(".")[0] == "kavro":
        frame = frame.f_back
        level += 1
    warnings.warn(text, UserWarning, stacklevel=level)
