"""What users give, as the compiled part reads it."""

from __future__ import annotations

import dataclasses
from collections.abc import Callable, Iterator, Mapping, Sequence
from contextlib import contextmanager
from typing import Any

from kavro._elements import Elements
from kavro._scene import Grid

Progress = bool | Callable[[float], object] | None


def arguments(values: Sequence[object], options: Mapping[str, object]) -> list[object]:
    """Values in their order, then the options that are given, by name and value."""
    given = [entry for item in options.items() if item[1] is not None for entry in item]
    return [_lowered(value) for value in (*values, *given)]


def _lowered(value: object) -> object:
    """As the compiled part reads it: records as their number of entries and columns of fields."""
    if isinstance(value, Elements):
        return len(value), vars(value)
    if isinstance(value, (list, tuple)):
        if not value or not all(map(_is_record, value)):
            return list(value)
        records = [_fields(entry) for entry in value]
        names = dict.fromkeys(name for record in records for name in record)
        return len(records), {name: [record.get(name) for record in records] for name in names}
    if _is_record(value):
        return 1, {name: [field] for name, field in _fields(value).items() if field is not None}
    return value


def _is_record(value: object) -> bool:
    if isinstance(value, (Elements, type)):
        return False
    return isinstance(value, dict) or dataclasses.is_dataclass(value)


def _fields(record: Any) -> dict[str, Any]:
    if isinstance(record, Grid):
        return record._record_()
    if isinstance(record, dict):
        return record
    return {field.name: getattr(record, field.name) for field in dataclasses.fields(record)}


@contextmanager
def shown(progress: Progress) -> Iterator[Progress]:
    """What to hand on as the option `progress`: where tqdm is installed, True is its bar."""
    if progress is not True:
        yield progress
        return
    try:
        from tqdm.auto import tqdm
    except ImportError:
        yield True
        return
    with tqdm(total=100, unit="%") as bar:
        yield lambda fraction: bar.update(int(100 * fraction) - bar.n)
