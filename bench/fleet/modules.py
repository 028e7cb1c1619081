"""Containers of many invented modules, some of them planted to lie outside."""

from __future__ import annotations

import json
import pathlib
from collections.abc import Iterator
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

import qo_cmc

# Every second sample of the sample's tables, so that 20000 modules take less than a gigabyte.
STEP = 2
# Modules differ by a smooth factor, a few thousandths, and by noise of a unit or so.
VARIATION = 0.003
NOISE = 0.8
CHECKSUM_OFFSET = 20


@dataclass(frozen=True)
class Planted:
    """What is wrong with a module, in the words of the statistics."""

    number: int
    light: int
    channel: str
    row: int | None
    column: int | None

    @property
    def name(self) -> str:
        return name_of(self.number)


def name_of(number: int) -> str:
    return f"module_{number:05}.vexb"


class Pattern:
    """The container that all modules are made of, and where its tables stand in it."""

    def __init__(self) -> None:
        slots = qo_cmc.parse(qo_cmc.sample_container()).to_dict()
        self.image = np.frombuffer(qo_cmc.pack(_smaller(slots)), np.uint8)
        shading = qo_cmc.parse(self.image.tobytes()).lens_shading
        assert shading is not None
        content = self.image.tobytes()
        tables: list[npt.NDArray[np.uint16]] = []
        self.names: list[tuple[int, str]] = []
        self.offsets: list[int] = []
        begin = 0  # of a light's block: lights may have the same tables
        for light, of_light in enumerate(shading.lights):
            for channel, table in of_light.channels().items():
                self.names.append((light, channel))
                self.offsets.append(content.index(table.tobytes(), begin))
                tables.append(table)
            begin = max(self.offsets) + tables[0].nbytes
        self.tables = np.stack(tables).astype(np.float64)

    def with_tables(self, tables: npt.NDArray[np.uint16]) -> bytes:
        """The same container with other samples, and the checksum that they make."""
        image = self.image.copy()
        for offset, table in zip(self.offsets, tables):
            raw = np.frombuffer(table.astype("<u2").tobytes(), np.uint8)
            image[offset : offset + raw.size] = raw
        image[CHECKSUM_OFFSET : CHECKSUM_OFFSET + 4] = 0
        words = image[: image.size // 4 * 4].view("<u4")
        checksum = np.add.reduce(words, dtype=np.uint32)
        image[CHECKSUM_OFFSET : CHECKSUM_OFFSET + 4] = np.frombuffer(
            checksum.astype("<u4").tobytes(), np.uint8
        )
        return image.tobytes()


def _smaller(slots: dict[str, Any]) -> dict[str, Any]:
    """The sample's slots with smaller lens-shading tables, and those of the units left out."""
    shading = slots["lens_shading"]
    for light in shading["lights"]:
        light["tables"] = [
            [site and [row[::STEP] for row in site[::STEP]] for site in sites]
            for sites in light["tables"]
        ]
    table = shading["lights"][0]["tables"][0][0]
    shading.update(size=None, height=len(table), width=len(table[0]))
    slots["lens_shading_ext"] = None
    return slots


def _basis(height: int, width: int) -> npt.NDArray[np.float64]:
    """The smooth surfaces that a module's factor is made of."""
    v, u = np.meshgrid(np.linspace(-1, 1, height), np.linspace(-1, 1, width), indexing="ij")
    return np.stack([np.ones_like(u), u, v, u * v, u * u, v * v])


def planted_in(modules: int, pattern: Pattern) -> list[Planted]:
    """One bad module for every light and channel: whole tables and single places by turns."""
    rng = np.random.default_rng(modules)
    _, height, width = pattern.tables.shape
    numbers = rng.choice(modules, size=min(len(pattern.names), modules // 40), replace=False)
    planted = []
    for turn, (number, (light, channel)) in enumerate(zip(numbers, pattern.names)):
        row, column = int(rng.integers(height)), int(rng.integers(width))
        is_place = turn % 2 == 1
        place = (row, column) if is_place else (None, None)
        planted.append(Planted(int(number), light, channel, *place))
    return sorted(planted, key=lambda each: each.number)


def _spoil(samples: npt.NDArray[np.float64], table: int, each: Planted) -> None:
    if each.row is None:
        samples[table] *= 1.2
    else:
        samples[table, each.row, each.column] *= 0.8


def containers(modules: int, pattern: Pattern, planted: list[Planted]) -> Iterator[bytes]:
    """The same ones for the same number of modules."""
    rng = np.random.default_rng(20260)
    shape = pattern.tables.shape
    basis = _basis(*shape[1:])
    bad = {each.number: each for each in planted}
    for number in range(modules):
        weights = rng.normal(0.0, VARIATION, (shape[0], len(basis)))
        samples = pattern.tables * (1.0 + np.tensordot(weights, basis, axes=1))
        if number in bad:
            each = bad[number]
            _spoil(samples, pattern.names.index((each.light, each.channel)), each)
        samples += rng.normal(0.0, NOISE, shape)
        yield pattern.with_tables(samples.round().clip(0, 65535).astype(np.uint16))


def write_modules(folder: pathlib.Path, modules: int) -> list[Planted]:
    """Writes them, unless they are there, and tells which are bad."""
    pattern = Pattern()
    planted = planted_in(modules, pattern)
    stamp = folder / "written.json"
    written = {"modules": modules, "offsets": pattern.offsets, "size": pattern.image.size}
    if not stamp.exists() or json.loads(stamp.read_text(encoding="utf-8")) != written:
        stamp.unlink(missing_ok=True)
        folder.mkdir(parents=True, exist_ok=True)
        for number, container in enumerate(containers(modules, pattern, planted)):
            (folder / name_of(number)).write_bytes(container)
        stamp.write_text(json.dumps(written), encoding="utf-8")
    return planted
