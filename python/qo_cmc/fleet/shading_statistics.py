"""What is known about the lens shading of a fleet, and how it is written."""

from __future__ import annotations

import math
from collections.abc import Iterator
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from qo_cmc.fleet import output
from qo_cmc.fleet.false_alarms import false_alarm_rate
from qo_cmc.fleet.module_tables import ModuleKind
from qo_cmc.fleet.paths import json_of
from qo_cmc.fleet.sums import Centred

# Of lines of JSON.
SCHEMA = 1

Gains = npt.NDArray[np.float64]


@dataclass(frozen=True, eq=False)
class LightStatistics:
    """One light source of a group.

    Attributes
    ----------
    light_id : int
        Its number, as the containers give it.
    fraction_bits : int
        Of the table samples; gains are samples by 2 to this power.
    mean, spread : dict of str to numpy.ndarray
        By channel, height x width, as gains. The spread is the standard deviation with the number
        of modules less one as divisor; of a single module it is NaN.
    """

    light_id: int
    fraction_bits: int
    mean: dict[str, Gains]
    spread: dict[str, Gains]


@dataclass(frozen=True, eq=False)
class ShadingGroup:
    """Modules whose tables can be compared.

    Attributes
    ----------
    paths : tuple of str
        Its modules, in the order of the input.
    merged : bool
        Whether the modules' calibrations were merged.
    height, width : int
        Of every table.
    lights : tuple of LightStatistics
        In the order of the containers.
    false_alarms : float
        How many places of good modules are to be expected outside, if samples are normally
        distributed: `false_alarm_rate` times the places and modules.
    """

    paths: tuple[str, ...]
    merged: bool
    height: int
    width: int
    lights: tuple[LightStatistics, ...]
    false_alarms: float

    def __repr__(self) -> str:
        return (
            f"<ShadingGroup: {len(self.paths)} modules, {len(self.lights)} lights, "
            f"{self.height} x {self.width}>"
        )


@dataclass(frozen=True)
class OutsideModule:
    """A module that lies outside, and where it does so most.

    Attributes
    ----------
    path : str
        Its name, as it was given.
    group : int
        Index of its group.
    light, light_id : int
        Index of the light source, and its number.
    channel : str
        "C1", "G1", "G2" or "C2"; "(row, column)" of the cell where no record 2 names it, or where
        several sites of a colour have a table each.
    row, column : int
        The place in the table.
    gain : float
        What the module has there.
    mean, spread : float
        What the others have there; the spread is at least that of a rounded value.
    deviation : float
        The externally studentised residual; its sign tells above from below.
    places : int
        How many places of all the module's tables lie outside.
    """

    path: str
    group: int
    light: int
    light_id: int
    channel: str
    row: int
    column: int
    gain: float
    mean: float
    spread: float
    deviation: float
    places: int


@dataclass(frozen=True)
class LeftOut:
    """A module that was not counted, or not judged.

    Attributes
    ----------
    path : str
        Its name, as it was given.
    why : str
        "unreadable", "refused" (the container), "nvm-refused", "no-tables", "lost" (its workers
        died), or "changed": it was counted, and could not be judged because it has changed since.
    reason : str
        A sentence.
    """

    path: str
    why: str
    reason: str


def group_of(
    kind: ModuleKind, centred: Centred, members: list[str], limit: float
) -> ShadingGroup:
    """A group from its sums."""
    means, spreads = centred.mean(), centred.spread()
    lights = []
    for index, light in enumerate(kind.lights):
        tables = [table for table, (of_light, _) in enumerate(kind.tables) if of_light == index]
        unit = 2.0**-light.fraction_bits
        lights.append(
            LightStatistics(
                light.light_id,
                light.fraction_bits,
                {name: means[table] * unit for name, table in zip(light.channels, tables)},
                {name: spreads[table] * unit for name, table in zip(light.channels, tables)},
            )
        )
    alarms = false_alarm_rate(len(members), limit) * len(members) * means.size
    return ShadingGroup(
        tuple(members), kind.merged, kind.height, kind.width, tuple(lights), alarms
    )


@dataclass(frozen=True, eq=False)
class ShadingStatistics:
    """The lens shading of a fleet.

    Attributes
    ----------
    limit : float
        From which deviation on a place lies outside.
    groups : tuple of ShadingGroup
        In the order of their first modules.
    outside : tuple of OutsideModule
        In the order of the input.
    left_out : tuple of LeftOut
        In the order of the input.
    """

    limit: float
    groups: tuple[ShadingGroup, ...]
    outside: tuple[OutsideModule, ...]
    left_out: tuple[LeftOut, ...]

    def __repr__(self) -> str:
        groups = f"{len(self.groups)} group" + "s" * (len(self.groups) != 1)
        modules = sum(len(group.paths) for group in self.groups)
        return (
            f"<ShadingStatistics: {modules} modules in {groups}, {len(self.outside)} outside, "
            f"{len(self.left_out)} left out>"
        )

    def to_ndjson(self, file: output.TextOrPath) -> None:
        """Write a line of JSON for each group, then for each module outside, or left out.

        Parameters
        ----------
        file : path or text file
            A path is written anew.

        Notes
        -----
        ``kind`` tells the lines apart: "group", "outside" and "left-out". The other keys are the
        attributes of the classes; the name of a file is ``file``. A spread of a single module is
        null.
        """
        with output.opened(file) as text:
            for line in self._lines():
                text.write(output.line_of({"schema": SCHEMA, **line}))

    def _lines(self) -> Iterator[dict[str, Any]]:
        for number, group in enumerate(self.groups):
            yield {
                "kind": "group",
                "group": number,
                "limit": self.limit,
                "merged": group.merged,
                "height": group.height,
                "width": group.width,
                "false_alarms": group.false_alarms,
                "files": [json_of(path) for path in group.paths],
                "lights": [_light_line(light) for light in group.lights],
            }
        for outside in self.outside:
            values = dict(vars(outside))
            yield {"kind": "outside", "file": json_of(values.pop("path")), **values}
        for left in self.left_out:
            yield {
                "kind": "left-out",
                "file": json_of(left.path),
                "why": left.why,
                "reason": left.reason,
            }

    def to_csv(self, file: output.TextOrPath) -> None:
        """Write a row for each module outside, then for each that was left out.

        Parameters
        ----------
        file : path or text file
            A path is written anew; a text file as `CheckReport.to_csv` takes it.
        """
        with output.opened(file) as text:
            table = output.csv_writer(text)
            table.writerow(["file", "why", "reason", *_COLUMNS])
            for outside in self.outside:
                values = vars(outside)
                table.writerow([outside.path, "outside", "", *[values[key] for key in _COLUMNS]])
            for left in self.left_out:
                table.writerow([left.path, left.why, left.reason, *[""] * len(_COLUMNS)])

    def places_to_csv(self, file: output.TextOrPath) -> None:
        """Write a row for each place of each table, with its mean and spread.

        Parameters
        ----------
        file : path or text file
            A path is written anew.
        """
        with output.opened(file) as text:
            table = output.csv_writer(text)
            table.writerow(_PLACE_COLUMNS)
            for number, group in enumerate(self.groups):
                for index, light in enumerate(group.lights):
                    table.writerows(_places_of(number, len(group.paths), index, light))


_COLUMNS = (
    "group", "light", "light_id", "channel", "row", "column", "gain", "mean", "spread", "deviation",
    "places",
)  # fmt: skip
_PLACE_COLUMNS = (
    "group", "modules", "light", "light_id", "channel", "row", "column", "mean", "spread",
)  # fmt: skip


def _numbers(gains: Gains) -> list[Any]:
    """Rows of numbers; None for what is not known."""
    return [[None if math.isnan(value) else value for value in row] for row in gains.tolist()]


def _light_line(light: LightStatistics) -> dict[str, Any]:
    return {
        "light_id": light.light_id,
        "fraction_bits": light.fraction_bits,
        "mean": {channel: _numbers(gains) for channel, gains in light.mean.items()},
        "spread": {channel: _numbers(gains) for channel, gains in light.spread.items()},
    }


def _places_of(group: int, modules: int, index: int, light: LightStatistics) -> Iterator[list[Any]]:
    for channel, gains in light.mean.items():
        means, spreads = _numbers(gains), _numbers(light.spread[channel])
        for row, columns in enumerate(means):
            for column, mean in enumerate(columns):
                place = [channel, row, column, mean, spreads[row][column]]
                yield [group, modules, index, light.light_id, *place]
