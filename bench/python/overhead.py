"""overhead.py [regex]: what a call through Python costs beside the same call in C, for the rows whose
names the regex finds, all without one. Prints a section of Markdown, or nothing where it finds none.

Both sides are loops in this process on the same data: of Python here, of C++ in `c_calls`. Their
repetitions take turns in a shuffled order, so that what slows the machine for a while meets both.
"""

import datetime
import platform
import random
import re
import statistics
import sys
import time
from collections.abc import Callable
from dataclasses import dataclass

import c_calls
import numpy as np
import qo_cmc

REPETITIONS = 31
LEAST_NANOSECONDS = 4_000_000  # of one repetition: many times what the clock and the loop cost

Loop = Callable[[int], None]


@dataclass
class Row:
    """A call, in both languages, and what it may cost at most."""

    name: str
    python: Loop
    c: Loop
    most_ratio: float | None = None
    most_nanoseconds: float | None = None

    def goal(self) -> str:
        if self.most_ratio is not None:
            return f"{self.most_ratio:g} of C"
        return f"C + {self.most_nanoseconds / 1000:g} us"

    def is_met(self, python: float, c: float) -> bool:
        if self.most_ratio is not None:
            return python <= self.most_ratio * c
        return python - c <= self.most_nanoseconds


def parse_row() -> Row:
    container = c_calls.tables_of(12)

    def python(times: int) -> None:
        for _ in range(times):
            qo_cmc.parse(container)

    if len(qo_cmc.parse(container).lens_shading.lights) != 12:
        raise AssertionError("not the container that was written")
    return Row("python parse 600 KB", python, lambda times: c_calls.parse(container, times),
               most_ratio=1.3)  # fmt: skip


def resize_rows() -> list[Row]:
    src = np.random.default_rng(1).integers(0, 1 << 16, (13, 17), dtype=np.uint16)
    of_c = np.empty((49, 65), np.uint16)
    out = np.empty((49, 65), np.uint16)

    def new_result(times: int) -> None:
        for _ in range(times):
            qo_cmc.resize_2d_array_uint16(src, (49, 65))

    def given_result(times: int) -> None:
        for _ in range(times):
            qo_cmc.resize_2d_array_uint16(src, (49, 65), out=out)

    def c(times: int) -> None:
        c_calls.resize_2d_array_uint16(src, of_c, times)

    c(1)
    given_result(1)
    if not (out == of_c).all():
        raise AssertionError("Python and C give different grids")
    name = "python resize u16 17 x 13 -> 65 x 49"
    return [
        Row(name, new_result, c, most_nanoseconds=2000),
        Row(f"{name}, out=", given_result, c, most_nanoseconds=2000),
    ]


def nanoseconds_of(loop: Loop, times: int) -> int:
    """Processor time of that many calls."""
    begun = time.process_time_ns()
    loop(times)
    return time.process_time_ns() - begun


def calls_of(loop: Loop) -> int:
    """How many calls make a repetition."""
    times = 1
    while nanoseconds_of(loop, times) < LEAST_NANOSECONDS:
        times *= 2
    return times


def medians(row: Row) -> tuple[float, float]:
    """Nanoseconds of one call: through Python, and in C."""
    sides = (row.python, row.c)
    calls = [calls_of(side) for side in sides]
    turns = [0, 1] * REPETITIONS
    random.Random(1).shuffle(turns)
    taken: tuple[list[float], list[float]] = ([], [])
    for side in turns:
        taken[side].append(nanoseconds_of(sides[side], calls[side]) / calls[side])
    return statistics.median(taken[0]), statistics.median(taken[1])


def processor() -> str:
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        names = [line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")]
    return names[0] if names else platform.machine()


def print_heading() -> None:
    print(f"""## Through Python

Microseconds of processor time for a call through the Python package beside the same call in C, in one
process, medians of {REPETITIONS} interleaved repetitions. A parse is released again on both sides. `./dev bench
python` measures this part alone and writes it anew.

- Processor: {processor()}
- Date: {datetime.datetime.now(datetime.timezone.utc):%Y-%m-%d}
- Python {platform.python_version()}, NumPy {np.__version__}

| {"call":<42} | {"Python":>8} | {"C":>8} | {"ratio":>6} | {"more":>8} | {"goal":<9} | {"":<6} |
|---|---|---|---|---|---|---|""")


def main() -> None:
    wanted = re.compile(sys.argv[1] if len(sys.argv) > 1 else "")
    rows = [row for row in [parse_row(), *resize_rows()] if wanted.search(row.name)]
    if not rows:
        return
    print_heading()
    for row in rows:
        python, c = medians(row)
        result = "met" if row.is_met(python, c) else "missed"
        print(
            f"| {row.name:<42} | {python / 1000:8.3f} | {c / 1000:8.3f} | {python / c:6.2f} "
            f"| {(python - c) / 1000:8.3f} | {row.goal():<9} | {result:<6} |",
            flush=True,
        )


if __name__ == "__main__":
    main()
