#!/usr/bin/env python3
"""run.py MODULES INSPECTOR FOLDER PAGE: demonstrates and times qo_cmc.fleet, and renews PAGE.

What is measured stands between two comments of the page; the rest of it is written by people.
"""

from __future__ import annotations

import datetime
import os
import pathlib
import sys

import demonstration
import modules
import throughput

BEGIN, END = "<!-- measured by ./dev fleet: do not edit -->", "<!-- end of what is measured -->"


def say(sentence: str) -> None:
    print(sentence, flush=True)


def processor() -> str:
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        names = [line.partition(":")[2].strip() for line in info if line.startswith("model name")]
    return f"{names[0]}, {len(os.sched_getaffinity(0))} logical processors" if names else "unknown"


def renew(page: pathlib.Path, measured: list[str]) -> None:
    text = page.read_text(encoding="utf-8")
    before, begin, rest = text.partition(BEGIN + "\n")
    _, end, after = rest.partition(END + "\n")
    if not begin or not end:
        raise SystemExit(f"fleet: {page} has no place for what is measured")
    lines = "".join(line + "\n" for line in measured)
    page.write_text(f"{before}{begin}\n{lines}\n{end}{after}", encoding="utf-8")


def main(count: int, inspector: pathlib.Path, folder: pathlib.Path, page: pathlib.Path) -> None:
    say(f"Writing {count} modules into {folder / 'modules'}, unless they are there")
    planted = modules.write_modules(folder / "modules", count)
    paths = [folder / "modules" / modules.name_of(number) for number in range(count)]
    sentences = demonstration.demonstrate(paths, planted, folder, say)
    say(f"Files a second, medians of {throughput.REPETITIONS}")
    rows = throughput.measure(paths, folder, inspector, say)
    size = paths[0].stat().st_size
    today = datetime.datetime.now(datetime.timezone.utc).date()
    renew(
        page,
        [
            f"{count} modules of {size} bytes, {today}, {processor()}.",
            "",
            *sentences,
            "",
            f"Files a second, medians of {throughput.REPETITIONS} runs:",
            "",
            *rows,
        ],
    )


if __name__ == "__main__":
    try:
        main(int(sys.argv[1]), *(pathlib.Path(word) for word in sys.argv[2:]))
    except demonstration.Failed as failed:
        sys.exit(f"fleet: {failed}")
