"""The lens shading of many modules: what is usual, and who lies outside."""

from __future__ import annotations

import math
from collections.abc import Iterable, Iterator
from dataclasses import dataclass, field
from typing import Any, Union

import numpy as np

from qo_cmc.fleet.dispatch import Lost, in_order
from qo_cmc.fleet.engines import AnyEngine, engine_for
from qo_cmc.fleet.false_alarms import FEWEST_MODULES
from qo_cmc.fleet.module_tables import ModuleKind, ModuleTables, NoTables, tables_of
from qo_cmc.fleet.paths import AnyPath, Named, NvmOf, with_nvm
from qo_cmc.fleet.progress import bar
from qo_cmc.fleet.shading_statistics import (
    LeftOut,
    OutsideModule,
    ShadingGroup,
    ShadingStatistics,
    group_of,
)
from qo_cmc.fleet.sums import Centred, Sums


@dataclass
class _BatchSums:
    """What a worker makes of a batch: sums by kind, and for each module where it went."""

    sums: dict[ModuleKind, Sums] = field(default_factory=dict)
    # A kind's number in `sums` and the mark of the samples, or why there are none.
    modules: list[Union[tuple[int, int], NoTables]] = field(default_factory=list)


def sum_batch(batch: list[Named], _: Any) -> _BatchSums:
    """A task of a worker, in the first pass."""
    result = _BatchSums()
    numbers: dict[ModuleKind, int] = {}
    for named in batch:
        module = tables_of(named)
        if isinstance(module, NoTables):
            result.modules.append(module)
            continue
        number = numbers.setdefault(module.kind, len(numbers))
        result.sums.setdefault(module.kind, Sums(module.samples.shape)).add(module)
        result.modules.append((number, module.mark))
    return result


@dataclass(frozen=True)
class _Counted:
    """A module of the first pass, to be judged in the second."""

    named: Named
    group: int
    mark: int


@dataclass(frozen=True)
class _Furthest:
    """The place of a module that deviates most, of those outside."""

    table: int
    row: int
    column: int
    sample: int
    mean: float
    spread: float
    deviation: float
    places: int


@dataclass(frozen=True)
class _Yardstick:
    """What workers need in the second pass."""

    limit: float
    groups: dict[int, tuple[ModuleKind, Centred]]


_CHANGED = NoTables("changed", "The file has changed since it was counted; it is not judged")


def judge_batch(
    batch: list[_Counted], yardstick: _Yardstick
) -> list[Union[None, _Furthest, NoTables]]:
    """A task of a worker, in the second pass: None for a module that is like the others."""
    return [_judgement(counted, yardstick) for counted in batch]


def _judgement(counted: _Counted, yardstick: _Yardstick) -> Union[None, _Furthest, NoTables]:
    module = tables_of(counted.named)
    kind, centred = yardstick.groups[counted.group]
    if isinstance(module, NoTables) or module.kind != kind or module.mark != counted.mark:
        return _CHANGED
    return _furthest(module, centred, yardstick.limit)


def _furthest(module: ModuleTables, centred: Centred, limit: float) -> _Furthest | None:
    others = centred.without(module.samples)
    deviation = others.deviation(module.samples)
    size = np.abs(deviation)
    places = int(np.count_nonzero(size > limit))
    if places == 0:
        return None
    at = np.unravel_index(np.argmax(size), size.shape)
    table, row, column = (int(index) for index in at)
    return _Furthest(
        table,
        row,
        column,
        int(module.samples[at]),
        float(others.mean[at]),
        float(others.spread[at]),
        float(deviation[at]),
        places,
    )


class _FirstPass:
    """The sums of all modules, and where each of them went."""

    def __init__(self) -> None:
        self.sums: dict[ModuleKind, Sums] = {}
        self.members: dict[ModuleKind, list[str]] = {}
        self.numbers: dict[ModuleKind, int] = {}
        self.counted: list[_Counted] = []
        self.left_out: dict[int, LeftOut] = {}  # by position among the paths
        self.positions: list[int] = []  # of those counted

    def take(self, start: int, batch: list[Named], answer: Union[_BatchSums, Lost]) -> None:
        if isinstance(answer, Lost):
            for position, (path, _) in enumerate(batch, start):
                self.left_out[position] = LeftOut(path, "lost", str(answer))
            return
        for kind, sums in answer.sums.items():
            self.numbers.setdefault(kind, len(self.numbers))
            self.sums.setdefault(kind, Sums(sums.of_samples.shape)).join(sums)
        kinds = list(answer.sums)
        for position, (named, went) in enumerate(zip(batch, answer.modules, strict=True), start):
            path, _ = named
            if isinstance(went, NoTables):
                self.left_out[position] = LeftOut(path, went.why, went.reason)
                continue
            kind = kinds[went[0]]
            self.members.setdefault(kind, []).append(path)
            self.counted.append(_Counted(named, self.numbers[kind], went[1]))
            self.positions.append(position)


def _first_pass(engine: AnyEngine, named: list[Named], shown: Any) -> _FirstPass:
    result = _FirstPass()
    start = 0
    for batch, answer in in_order(engine, sum_batch, named):
        result.take(start, batch, answer)
        start += len(batch)
        shown.update(len(batch))
    return result


def _second_pass(
    engine: AnyEngine,
    first: _FirstPass,
    centred: dict[ModuleKind, Centred],
    limit: float,
    shown: Any,
) -> Iterator[OutsideModule]:
    """Those outside; who cannot be judged any more joins those left out."""
    groups = {first.numbers[kind]: (kind, sums) for kind, sums in centred.items()}
    judged = {
        number: group for number, group in groups.items() if group[1].modules >= FEWEST_MODULES
    }
    places = [at for at, counted in enumerate(first.counted) if counted.group in judged]
    shown.update(len(first.positions) - len(places) + len(first.left_out))
    shared = engine.share(_Yardstick(limit, judged))
    to_judge = [first.counted[at] for at in places]
    positions = iter([first.positions[at] for at in places])
    for batch, answer in in_order(engine, judge_batch, to_judge, shared):
        verdicts: list[Union[None, _Furthest, NoTables]]
        if isinstance(answer, Lost):
            verdicts = [NoTables("lost", str(answer))] * len(batch)
        else:
            verdicts = answer
        for counted, verdict in zip(batch, verdicts, strict=True):
            position = next(positions)
            path, _ = counted.named
            if isinstance(verdict, NoTables):
                first.left_out[position] = LeftOut(path, verdict.why, verdict.reason)
            elif verdict is not None:
                yield _outside(path, counted.group, judged[counted.group][0], verdict)
        shown.update(len(batch))


def _outside(path: str, group: int, kind: ModuleKind, at: _Furthest) -> OutsideModule:
    light, channel = kind.tables[at.table]
    unit = 2.0 ** -kind.lights[light].fraction_bits
    return OutsideModule(
        path,
        group,
        light,
        kind.lights[light].light_id,
        channel,
        at.row,
        at.column,
        at.sample * unit,
        at.mean * unit,
        at.spread * unit,
        at.deviation,
        at.places,
    )


def shading_statistics(
    paths: Iterable[AnyPath],
    nvm: NvmOf = None,
    *,
    limit: float = 6.0,
    client: Any = None,
    workers: int | None = None,
    progress: bool | None = None,
) -> ShadingStatistics:
    """Tell what the lens shading of a fleet is like, and which modules lie outside.

    For every light, channel and place (row and column of the table) it takes the mean and the
    standard deviation of the gains in ``lens_shading``, with the module's calibration merged where
    an NVM image is given. Then each module is held against all the others.

    Parameters
    ----------
    paths, nvm, client, workers, progress
        As for `check`. Files are read twice.
    limit : float, optional
        From which deviation on a place lies outside.

    Returns
    -------
    ShadingStatistics
        Groups of modules that can be compared, modules outside, and those left out with the reason.

    Notes
    -----
    A deviation is an externally studentised residual: the gain less the mean of the other modules,
    in units of their spread times the square root of ``1 + 1 / others``. The module itself is in
    neither, and a bad one is seen among as few as three. The spread is taken to be at least that of
    a rounded value, one unit of the table by the square root of 12, since where all modules agree
    the next one may well differ by a unit.

    At a limit of 6 a place of a good module lies outside with a probability of 2e-9 in a large
    fleet, of 3e-8 among 100 modules, of 3e-4 among 10, and of 0.1 among 3, where the spread of two
    others is hardly known: `false_alarm_rate` has it for any number, `ShadingGroup.false_alarms`
    times the places and modules. In small fleets take a larger limit, or look at the number of
    places outside, which is large where a module is bad.

    Modules whose tables have other sizes, fraction bits, numbers of lights or channels than others'
    form groups of their own, and so do those into which no calibration was merged. Channels are the
    colours where record 2 names the cell and each has one table, the cell's sites otherwise. Sums
    are taken in whole numbers, and all else place by place: results have the same bits whatever the
    batches, the workers and their deaths were.

    Examples
    --------
    >>> import pathlib, tempfile
    >>> import qo_cmc
    >>> from qo_cmc import fleet
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     paths = [pathlib.Path(folder, f"{number}.vexb") for number in range(4)]
    ...     for path in paths:
    ...         _ = path.write_bytes(qo_cmc.sample_container())
    ...     statistics = fleet.shading_statistics(paths, workers=0)
    >>> statistics
    <ShadingStatistics: 4 modules in 1 group, 0 outside, 0 left out>
    >>> light = statistics.groups[0].lights[0]
    >>> list(light.mean), light.mean["G1"].shape, float(light.spread["G1"].max())
    (['C1', 'G1', 'G2', 'C2'], (49, 65), 0.0)
    """
    if not 0 < limit < math.inf:
        raise ValueError(f"limit is {limit}, expected a finite number above 0")
    named = list(with_nvm(paths, nvm))
    with engine_for(client, workers) as engine:
        with bar(progress, named, "sums") as shown:
            first = _first_pass(engine, named, shown)
        centred = {kind: Centred.of(sums) for kind, sums in first.sums.items()}
        with bar(progress, named, "deviations") as shown:
            outside = list(_second_pass(engine, first, centred, limit, shown))
    groups: list[ShadingGroup] = [
        group_of(kind, centred[kind], first.members[kind], limit) for kind in first.numbers
    ]
    left_out = [first.left_out[position] for position in sorted(first.left_out)]
    return ShadingStatistics(limit, tuple(groups), tuple(outside), tuple(left_out))
