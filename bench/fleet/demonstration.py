"""One worker of four is killed while it works, and nothing is lost."""

from __future__ import annotations

import pathlib
import threading
import time
from collections.abc import Callable

from cluster import LocalPrograms
from modules import Planted

from qo_cmc import fleet

WORKERS = 4
# Far from what 20000 good modules reach by chance.
LIMIT = 8.0


class Failed(Exception):
    """The demonstration does not show what it is for."""


def demand(is_so: bool, otherwise: str) -> None:
    """An assertion that no option of the interpreter takes away."""
    if not is_so:
        raise Failed(otherwise)


def demonstrate(
    paths: list[pathlib.Path],
    planted: list[Planted],
    folder: pathlib.Path,
    say: Callable[[str], None],
) -> list[str]:
    """The sentences that the page has of it."""
    expected = fleet.check(paths, progress=False)
    begin = time.monotonic()
    statistics = fleet.shading_statistics(paths, limit=LIMIT, progress=False)
    seconds = time.monotonic() - begin
    say(f"By processes: {expected!r}, {statistics!r}")

    with LocalPrograms(folder / "cluster", WORKERS) as cluster:
        report = _check_with_a_death(paths, cluster, say)
        demand(report == expected, "the cluster's reports are not those of the processes")
        cluster.add_worker()
        cluster.client.wait_for_workers(WORKERS, timeout=60)
        found = _statistics_with_a_death(paths, cluster, seconds / 4, say)
    demand(_bits(found) == _bits(statistics), "the cluster's statistics are not the processes'")
    _demand_the_planted(found, planted)
    places = sum(mean.size for light in found.groups[0].lights for mean in light.mean.values())
    say(f"All of the {len(planted)} planted modules are found, and no other.")
    return [
        f"- All {len(report)} reports came, in order, and equal to those of a run by processes.",
        f"- Mean and spread at {places} places had the same bits in both runs.",
        f"- At a limit of {LIMIT:g} the {len(planted)} planted modules were found, each at its"
        " light, channel and place, and no other one.",
    ]


def _check_with_a_death(
    paths: list[pathlib.Path], cluster: LocalPrograms, say: Callable[[str], None]
) -> fleet.CheckReport:
    reports = []
    for each in fleet.iter_check(paths, client=cluster.client, progress=False):
        reports.append(each)
        if len(reports) == len(paths) // 2:
            pid = cluster.kill_worker()
            say(f"Worker process {pid} killed after {len(reports)} of {len(paths)} reports.")
    demand(cluster.alive == WORKERS - 1, "the worker was not killed")
    report = fleet.CheckReport(reports)
    say(f"By the cluster: {report!r}")
    return report


def _statistics_with_a_death(
    paths: list[pathlib.Path], cluster: LocalPrograms, seconds: float, say: Callable[[str], None]
) -> fleet.ShadingStatistics:
    """The worker dies after so many seconds, which must be before the end."""
    killed: list[int] = []
    timer = threading.Timer(seconds, lambda: killed.append(cluster.kill_worker()))
    timer.start()
    try:
        found = fleet.shading_statistics(paths, limit=LIMIT, client=cluster.client, progress=False)
        demand(killed != [], "no worker was killed while it worked")
    finally:
        timer.cancel()
        timer.join()
    say(f"Worker process {killed[0]} killed {seconds:.1f} s after the statistics were begun.")
    say(f"By the cluster: {found!r}")
    return found


def _bits(statistics: fleet.ShadingStatistics) -> object:
    groups = [
        (
            group.paths,
            [
                (name, light.mean[name].tobytes(), light.spread[name].tobytes())
                for light in group.lights
                for name in light.mean
            ],
        )
        for group in statistics.groups
    ]
    return groups, statistics.outside, statistics.left_out


def _demand_the_planted(found: fleet.ShadingStatistics, planted: list[Planted]) -> None:
    expected = [(each.name, each.light, each.channel) for each in planted]
    outside = [(pathlib.Path(m.path).name, m.light, m.channel) for m in found.outside]
    demand(expected == outside, f"planted were {expected}, found {outside}")
    for each, module in zip(planted, found.outside):
        if each.row is not None:
            place = module.row, module.column
            demand(place == (each.row, each.column), f"{each} is found at {place}")
