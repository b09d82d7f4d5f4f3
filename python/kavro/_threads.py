"""How many threads compute."""

from __future__ import annotations

import os
from types import EllipsisType

from kavro import _check


def threads(count: int | None | EllipsisType = ...) -> int | None:
    """How many threads the solver computes with; results do not depend on it.

    Parameters
    ----------
    count : int or None, optional
        From now on; None is OpenMP's default. Without it nothing changes.

    Returns
    -------
    int or None
        What held before the call.
    """
    setting = os.environ.get("KAVRO_THREADS", "")
    before = int(setting) if setting.isdecimal() and int(setting) > 0 else None
    if count is None:
        os.environ["KAVRO_THREADS"] = ""
    elif count is not ...:
        os.environ["KAVRO_THREADS"] = str(_check.whole("threads", "count", count, 1))
    return before
