"""Lines of JSON, and tables."""

from __future__ import annotations

import contextlib
import csv
import json
import os
from collections.abc import Iterator
from typing import Any, Protocol, Union


class Text(Protocol):
    """A text file, as far as it is written to."""

    def write(self, text: str, /) -> object:
        """Writes a piece."""


TextOrPath = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]", Text]


@contextlib.contextmanager
def opened(file: TextOrPath) -> Iterator[Text]:
    """A file that is written anew, or one that is the caller's, which stays open."""
    if isinstance(file, (str, bytes, os.PathLike)):
        # Names of files keep their bytes, be they UTF-8 or not.
        with open(file, "w", encoding="utf-8", errors="surrogateescape", newline="") as text:
            yield text
    else:
        yield file


def line_of(value: dict[str, Any]) -> str:
    """One line in ASCII, the same bytes as the inspector's for the same object."""
    text = json.dumps(value, ensure_ascii=True, separators=(",", ":"), allow_nan=False)
    return text.replace("\x7f", "\\u007f") + "\n"


class _Rows:
    """Passes rows on, each with a line feed alone at its end."""

    def __init__(self, text: Text) -> None:
        self._text = text

    def write(self, row: str) -> object:
        return self._text.write(row.removesuffix("\r\n") + "\n")


def csv_writer(text: Text) -> Any:
    """None is an empty cell, and numbers are written so that they can be read back."""
    # Cells are quoted where they hold what ends a row, and readers take a carriage return, which a
    # name of a file may hold, for such an end.
    return csv.writer(_Rows(text), lineterminator="\r\n")
