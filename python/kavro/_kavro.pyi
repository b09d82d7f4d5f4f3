from typing import Any

from numpy.typing import NDArray

__version__: str

def solve(
    arguments: list[Any], out: NDArray[Any] | None, report: bool
) -> tuple[Any, NDArray[Any] | None, dict[str, Any] | None]: ...
def call(arguments: list[Any], out: NDArray[Any] | None = None) -> tuple[Any, ...]: ...
def after_fork_in_child() -> None: ...
