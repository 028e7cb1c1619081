"""The command line: ``python3 -m qo_cmc.fleet --help``."""

from __future__ import annotations

import argparse
import contextlib
import errno
import importlib
import io
import math
import os
import sys
from collections.abc import Iterable, Iterator
from typing import Any, TextIO

from qo_cmc.fleet import checks, output
from qo_cmc.fleet.checks import FileReport
from qo_cmc.fleet.shading import shading_statistics
from qo_cmc.fleet.shading_statistics import ShadingStatistics

FINE, FOUND, NOT_DONE = 0, 1, 2

EPILOGUE = """\
exit codes, the largest of all files:
  0  fine, also with notes
  1  check: an error or a warning; shading: a module outside, or a refused container
  2  it could not be done: wrong usage, a file that cannot be read, a failed write
"""


def _parser() -> argparse.ArgumentParser:
    common = argparse.ArgumentParser(add_help=False)
    common.add_argument("paths", metavar="PATH", nargs="*", help="a container")
    common.add_argument(
        "--files-from", metavar="FILE", help="a file with a path on each line; - is standard input"
    )
    common.add_argument(
        "-0", "--null", action="store_true", help="paths in --files-from end with NUL, not lines"
    )
    images = common.add_mutually_exclusive_group()
    images.add_argument("--nvm", metavar="FILE", help="the NVM image of all modules")
    images.add_argument(
        "--nvm-suffix",
        metavar="SUFFIX",
        help="each module's NVM image is its path with SUFFIX, such as .nvm, as the ending",
    )
    common.add_argument("--format", choices=["ndjson", "csv"], default="ndjson")
    common.add_argument("-o", "--output", metavar="FILE", help="instead of standard output")
    workers = common.add_mutually_exclusive_group()
    workers.add_argument(
        "-j",
        "--jobs",
        metavar="N",
        type=_count,
        help="processes; as many as processors by default, 0: none but this",
    )
    workers.add_argument("--scheduler", metavar="ADDRESS", help="work on this Dask cluster instead")
    common.add_argument("--no-progress", action="store_true", help="show no bar on a terminal")

    parser = argparse.ArgumentParser(
        prog="python3 -m qo_cmc.fleet",
        description="Checks many containers, or finds the modules with unusual lens shading.",
        epilog=EPILOGUE,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    verbs = parser.add_subparsers(dest="verb", required=True, metavar="VERB")
    check = verbs.add_parser("check", parents=[common], help="say what is wrong with containers")
    check.add_argument(
        "--allow-warnings", action="store_true", help="end with 0 unless a container is refused"
    )
    shading = verbs.add_parser(
        "shading", parents=[common], help="mean, spread, and the modules outside"
    )
    shading.add_argument(
        "--limit", metavar="S", type=_limit, default=6.0, help="deviation; 6 by default"
    )
    shading.add_argument(
        "--places", metavar="FILE", help="write a table of mean and spread at every place, as CSV"
    )
    return parser


def _count(text: str) -> int:
    if not text.isdecimal():
        raise argparse.ArgumentTypeError(f"expected a number of processes, not {text!r}")
    return int(text)


def _limit(text: str) -> float:
    with contextlib.suppress(ValueError):
        if 0 < float(text) < math.inf:
            return float(text)
    raise argparse.ArgumentTypeError(f"expected a number above 0, not {text!r}")


def _open_stream(stream: TextIO | None, name: str) -> TextIO:
    """Standard input or output, which Python has as None where the caller has closed it."""
    if stream is None:
        raise OSError(errno.EBADF, os.strerror(errno.EBADF), name)
    return stream


def _paths_of(chosen: argparse.Namespace) -> list[str]:
    paths = list(chosen.paths)
    if chosen.files_from is not None:
        if chosen.files_from == "-":
            listed = _open_stream(sys.stdin, "standard input").buffer.read()
        else:
            with open(chosen.files_from, "rb") as file:
                listed = file.read()
        ends = b"\0" if chosen.null else b"\n"
        paths += [os.fsdecode(name) for name in listed.split(ends) if name]
    return paths


def _nvm_of(chosen: argparse.Namespace) -> Any:
    if chosen.nvm_suffix is None:
        return chosen.nvm
    suffix = chosen.nvm_suffix
    return lambda path: os.path.splitext(path)[0] + suffix


@contextlib.contextmanager
def _client_of(chosen: argparse.Namespace) -> Iterator[Any]:
    if chosen.scheduler is None:
        yield None
        return
    distributed: Any = importlib.import_module("distributed")
    try:
        client = distributed.Client(chosen.scheduler)
    except ValueError as error:
        raise OSError(f"--scheduler {chosen.scheduler!r}: {error}") from error
    with client:
        yield client


@contextlib.contextmanager
def _output_of(chosen: argparse.Namespace) -> Iterator[output.Text]:
    """Names of files keep their bytes, be they UTF-8 or not."""
    if chosen.output is not None:
        with output.opened(chosen.output) as text:
            yield text
        return
    binary = _open_stream(sys.stdout, "standard output").buffer
    text_file = io.TextIOWrapper(binary, "utf-8", "surrogateescape", newline="")
    try:
        yield text_file
        text_file.flush()
    finally:
        # What is left after a failed write is not tried once more when the program ends.
        with contextlib.suppress(OSError, ValueError):
            text_file.detach()


def _say(sentence: str) -> None:
    if sys.stderr is not None:  # where it is closed, print would take standard output instead
        print(f"qo_cmc.fleet: {sentence}", file=sys.stderr)


def _code_of(report: FileReport, allow_warnings: bool) -> int:
    if report.error is not None:
        return NOT_DONE
    counts = {"error"} if allow_warnings else {"error", "warning"}
    is_found = any(finding.severity in counts for finding in report.findings)
    return FOUND if is_found or not report.valid else FINE


class _Seen:
    """Passes reports on, and remembers what the shell wants to know."""

    def __init__(self, reports: Iterable[FileReport], allow_warnings: bool) -> None:
        self._reports, self._allow_warnings = reports, allow_warnings
        self.code = FINE

    def __iter__(self) -> Iterator[FileReport]:
        for report in self._reports:
            self.code = max(self.code, _code_of(report, self._allow_warnings))
            if report.error is not None:
                _say(f"{report.path!r}: {report.error}")
            yield report


def _check(chosen: argparse.Namespace, client: Any, paths: list[str]) -> int:
    reports = checks.iter_check(
        paths,
        _nvm_of(chosen),
        client=client,
        workers=chosen.jobs,
        progress=False if chosen.no_progress else None,
    )
    seen = _Seen(reports, chosen.allow_warnings)
    with _output_of(chosen) as text:
        if chosen.format == "csv":
            checks.write_csv(seen, text)
        else:
            for report in seen:
                text.write(output.line_of(report.to_dict()))
    return seen.code


def _shading_code(statistics: ShadingStatistics) -> int:
    whys = {left.why for left in statistics.left_out}
    if whys & {"unreadable", "lost", "changed"}:
        return NOT_DONE
    return FOUND if statistics.outside or whys & {"refused", "nvm-refused"} else FINE


def _shading(chosen: argparse.Namespace, client: Any, paths: list[str]) -> int:
    with contextlib.ExitStack() as files:
        # First of all: a long run is not to end with a name that cannot be written to.
        text = files.enter_context(_output_of(chosen))
        places = None
        if chosen.places is not None:
            places = files.enter_context(output.opened(chosen.places))
        statistics = shading_statistics(
            paths,
            _nvm_of(chosen),
            limit=chosen.limit,
            client=client,
            workers=chosen.jobs,
            progress=False if chosen.no_progress else None,
        )
        for left in statistics.left_out:
            _say(f"{left.path!r}: {left.reason}")
        (statistics.to_csv if chosen.format == "csv" else statistics.to_ndjson)(text)
        if places is not None:
            statistics.places_to_csv(places)
    return _shading_code(statistics)


def main(arguments: list[str] | None = None) -> int:
    """Do what the command line says, and give the exit code."""
    parser = _parser()
    chosen = parser.parse_args(arguments)
    try:
        paths = _paths_of(chosen)
        if not paths and chosen.files_from is None:
            parser.error("no PATH, and no --files-from")
        with _client_of(chosen) as client:
            return (_check if chosen.verb == "check" else _shading)(chosen, client, paths)
    except BrokenPipeError:
        # The reader has had enough. Nothing of ours is left in the buffer; Python flushes its own.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return NOT_DONE
    except (OSError, ImportError, RuntimeError) as error:
        _say(str(error))
        return NOT_DONE
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main())
