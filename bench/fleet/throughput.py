"""Files a second, for each number of workers."""

from __future__ import annotations

import os
import pathlib
import statistics
import subprocess
import time
from collections.abc import Callable
from typing import Any

from cluster import LocalPrograms
from demonstration import demand

from qo_cmc import fleet

WORKERS = (1, 2, 4)
REPETITIONS = 3


def median_rate(files: int, work: Callable[[], Any]) -> float:
    times = []
    for _ in range(REPETITIONS):
        begin = time.monotonic()
        work()
        times.append(time.monotonic() - begin)
    return files / statistics.median(times)


def measure(
    paths: list[pathlib.Path],
    folder: pathlib.Path,
    inspector: pathlib.Path,
    say: Callable[[str], None],
) -> list[str]:
    """The rows of a table, in Markdown."""
    for path in paths:
        path.read_bytes()  # what is timed is work, not the disk
    rows = [
        "| workers | `qo-cmc check -j` | `check`, processes | `check`, Dask |"
        " `shading_statistics`, processes | `shading_statistics`, Dask |",
        "|---|---|---|---|---|---|",
    ]
    for workers in WORKERS:
        rates = [median_rate(len(paths), lambda: _inspect(paths, inspector, workers))]
        rates += _rates(paths, {"workers": workers})
        with LocalPrograms(folder / "cluster", workers) as cluster:
            rates += _rates(paths, {"client": cluster.client})
        inspected, check, shading, dask_check, dask_shading = (f"{rate:.0f}" for rate in rates)
        rows.append(
            f"| {workers} | {inspected} | {check} | {dask_check} | {shading} | {dask_shading} |"
        )
        say(rows[-1])
    return rows


def _rates(paths: list[pathlib.Path], where: dict[str, Any]) -> list[float]:
    return [
        median_rate(len(paths), lambda: fleet.check(paths, progress=False, **where)),
        median_rate(len(paths), lambda: fleet.shading_statistics(paths, progress=False, **where)),
    ]


def _inspect(paths: list[pathlib.Path], inspector: pathlib.Path, workers: int) -> None:
    # By short names: a command line takes two megabytes.
    folder = os.path.commonpath(paths)
    names = [os.path.relpath(path, folder) for path in paths]
    done = subprocess.run(
        [inspector.resolve(), "check", "--json", "-j", str(workers), *names],
        cwd=folder,
        stdout=subprocess.DEVNULL,
        check=False,
    )
    demand(done.returncode in (0, 1), f"qo-cmc check ends with {done.returncode}")
