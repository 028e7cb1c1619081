"""The lens-shading tables of one module, and which other modules' they can be compared with."""

from __future__ import annotations

import zlib
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Union

import numpy as np
import numpy.typing as npt

import qo_cmc
from qo_cmc.fleet.paths import Named, read_both, reason_of

if TYPE_CHECKING:
    from qo_cmc import ParsedCmc

Samples = npt.NDArray[np.uint16]


@dataclass(frozen=True)
class LightKind:
    """A light source, but for its samples: what its number is, their unit, which tables it has."""

    light_id: int
    fraction_bits: int
    channels: tuple[str, ...]


@dataclass(frozen=True)
class ModuleKind:
    """What modules must agree in before their samples can be compared."""

    merged: bool
    height: int
    width: int
    lights: tuple[LightKind, ...]

    @property
    def tables(self) -> list[tuple[int, str]]:
        """Light and channel of every table, in the order in which samples are stacked."""
        return [
            (light, channel)
            for light, kind in enumerate(self.lights)
            for channel in kind.channels
        ]


@dataclass(frozen=True)
class ModuleTables:
    """A module's samples: tables x height x width, in the order of its kind's tables."""

    kind: ModuleKind
    samples: Samples

    @property
    def mark(self) -> int:
        """Tells a file that has changed from one that has not."""
        return zlib.crc32(self.samples.data)


@dataclass(frozen=True)
class NoTables:
    """Why a module counts in no statistics.

    `why` is one of "unreadable", "refused", "nvm-refused" and "no-tables".
    """

    why: str
    reason: str


def tables_of(named: Named) -> Union[ModuleTables, NoTables]:
    """Whatever is wrong with the file, the answer says so."""
    path, nvm_path = named
    try:
        container, nvm = read_both(named)
    except Exception as error:  # other files are not to go without their statistics
        return NoTables("unreadable", reason_of(error, path))
    try:
        return _tables_in(qo_cmc.parse(container, nvm=nvm))
    except qo_cmc.InvalidContainer as refused:
        codes = [each.code for each in refused.findings if each.severity == "error"]
        return NoTables("refused", "The container is refused: " + ", ".join(codes))
    except ValueError as refused:
        return NoTables("nvm-refused", f"The NVM image {nvm_path!r} is refused: {refused}")
    except MemoryError as error:
        return NoTables("unreadable", reason_of(error, path))


def _tables_in(cmc: ParsedCmc) -> Union[ModuleTables, NoTables]:
    found = cmc.lens_shading
    if found is None:
        return NoTables("no-tables", "There is no lens shading" + _warnings_of(cmc))
    kinds: list[LightKind] = []
    tables: list[Samples] = []
    for light in found.lights:
        by_channel = _tables_by_channel(light)
        kinds.append(LightKind(light.light_id, light.fraction_bits, tuple(by_channel)))
        tables += by_channel.values()
    if not tables or not found.width or not found.height:
        return NoTables("no-tables", "The lens shading has no samples" + _warnings_of(cmc))
    kind = ModuleKind(cmc.merged, found.height, found.width, tuple(kinds))
    return ModuleTables(kind, np.stack(tables))


def _tables_by_channel(light: Any) -> dict[str, Samples]:
    """By "C1" and so on, or, where that names none or not all of them, by "(row, column)"."""
    sites = sorted(light.tables)
    by_site = {f"({row}, {column})": light.tables[row, column] for row, column in sites}
    try:
        by_channel: dict[str, Samples] = dict(light.channels())
    except LookupError:
        return by_site
    # A cell of 4 x 4 may have several sites of a colour, each with a table of its own.
    return by_channel if _addresses(by_channel) == _addresses(by_site) else by_site


def _addresses(tables: dict[str, Samples]) -> set[int]:
    return {int(table.ctypes.data) for table in tables.values()}


def _warnings_of(cmc: ParsedCmc) -> str:
    codes = [each.code for each in cmc.findings if each.severity != "note"]
    return ": " + ", ".join(codes) if codes else ""
