"""A bar on the terminal."""

from __future__ import annotations

import importlib
import sys
from collections.abc import Iterable, Sized
from typing import Any


class NoBar:
    """What is shown where nothing is."""

    def __enter__(self) -> NoBar:
        return self

    def __exit__(self, *_: object) -> None:
        pass

    def update(self, count: int) -> None:
        pass


def bar(wanted: bool | None, items: Iterable[object], what: str) -> Any:
    """A bar of tqdm on standard error, or nothing; None: where a person can see it."""
    is_seen = sys.stderr is not None and sys.stderr.isatty()  # None where it is closed
    if wanted is False or (wanted is None and not is_seen):
        return NoBar()
    try:
        tqdm = importlib.import_module("tqdm").tqdm
    except ImportError:
        if wanted:
            raise
        return NoBar()
    return tqdm(total=len(items) if isinstance(items, Sized) else None, desc=what, unit=" files")
