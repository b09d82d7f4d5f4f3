"""What a task does on a worker of dask."""

from __future__ import annotations

import multiprocessing
import sys
from collections.abc import Iterator
from contextlib import contextmanager
from typing import Any

from kavro._errors import part_of_a_field


@contextmanager
def task(what: str, size: int) -> Iterator[int | None]:
    """Around what a task computes, of so many bytes: its threads, and errors that name it.

    Calls in one process take turns, so each may have all threads that the process was given.
    """
    worker = _worker()
    limit = None if worker is None else worker.memory_manager.memory_limit
    alone = multiprocessing.parent_process() is None
    try:
        if limit and 4 * size > limit:  # else it is killed there, and nobody is told why
            raise MemoryError(
                f"{size / 2**20:.0f} MiB have no room in a worker of {limit / 2**20:.0f} MiB, which "
                "holds them up to four times: computed, copied, written, and the next ones."
            )
        with part_of_a_field():
            yield (None if alone else 1) if worker is None else int(worker.state.nthreads)
    except Exception as error:
        finer = " Cut finer: ask for more blocks." if isinstance(error, MemoryError) else ""
        error.args = (f"{error}{finer} ({what}.)",)
        raise


def _worker() -> Any:
    """That of the cluster that computes here, if one does."""
    if "distributed" not in sys.modules:
        return None
    from distributed import get_worker

    try:
        return get_worker()
    except ValueError:
        return None
