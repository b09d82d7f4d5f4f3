"""What the package raises of its own."""

import sys
import warnings
from collections.abc import Iterator
from contextlib import contextmanager
from contextvars import ContextVar

_is_part = ContextVar("_is_part", default=False)
_of_silence = "The pressure is zero everywhere:"


class InputError(ValueError):
    """A fault in what a function was given; the message says what it must be and what it is."""


InputError.__module__ = "kavro"


@contextmanager
def part_of_a_field() -> Iterator[None]:
    """Around the call that solves a block: its silence says nothing of the whole field."""
    token = _is_part.set(True)
    try:
        yield
    finally:
        _is_part.reset(token)


def warn(text: str) -> None:
    """Warn at the line that called the package."""
    if _is_part.get() and text.startswith(_of_silence):
        return
    level = 2
    frame = sys._getframe(1)
    while frame.f_back and frame.f_globals.get("__name__", "").partition(".")[0] == "kavro":
        frame = frame.f_back
        level += 1
    warnings.warn(text, UserWarning, stacklevel=level)
