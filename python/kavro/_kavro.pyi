from typing import Any

from numpy.typing import NDArray

__version__: str

def solve(
    arguments: list[Any], out: NDArray[Any] | None, report: bool
) -> tuple[Any, dict[str, Any] | None]: ...
def call(arguments: list[Any]) -> tuple[Any, ...]: ...
def after_fork_in_child() -> None: ...
