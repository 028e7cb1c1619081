"""What is wrong with many containers."""

from __future__ import annotations

from collections import Counter
from collections.abc import Iterable, Iterator, Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Union, overload

import qo_cmc
from qo_cmc.fleet import output
from qo_cmc.fleet.dispatch import Lost, in_order
from qo_cmc.fleet.engines import engine_for
from qo_cmc.fleet.paths import AnyPath, Named, NvmOf, json_of, read_both, reason_of, with_nvm
from qo_cmc.fleet.progress import bar

if TYPE_CHECKING:
    from qo_cmc import Finding

# Of lines of JSON; that of `qo-cmc --json`, whose keys these are.
SCHEMA = 1


@dataclass(frozen=True)
class FileReport:
    """What there is to say about one file.

    Attributes
    ----------
    path : str
        Its name, as it was given.
    valid : bool or None
        Whether the container is accepted; None when that is not known.
    findings : tuple of qo_cmc.Finding
        As `qo_cmc.check` gives them.
    error : str or None
        Why nothing is known: the file, or its NVM image, cannot be read, or whatever worker took it
        died.
    """

    path: str
    valid: bool | None
    findings: tuple[Finding, ...]
    error: str | None

    def to_dict(self) -> dict[str, Any]:
        """Give what `CheckReport.to_ndjson` writes.

        Returns
        -------
        dict
            The keys of a line of ``qo-cmc check --json``, and ``error``.

        Examples
        --------
        >>> from qo_cmc import fleet
        >>> fleet.FileReport("a.vexb", None, (), "No such file or directory").to_dict()["valid"]
        """
        return {
            "schema": SCHEMA,
            "file": json_of(self.path),
            "valid": self.valid,
            "findings": [finding.to_dict() for finding in self.findings],
            "error": self.error,
        }


class CheckReport(Sequence[FileReport]):
    """The reports of all files, in their order.

    Parameters
    ----------
    reports : iterable of FileReport
        Such as `iter_check` gives.

    Examples
    --------
    >>> import pathlib, tempfile
    >>> import qo_cmc
    >>> from qo_cmc import fleet
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     path = pathlib.Path(folder, "module.vexb")
    ...     _ = path.write_bytes(qo_cmc.sample_container())
    ...     report = fleet.check([path, folder], workers=0)
    >>> [each.valid for each in report]
    [True, None]
    >>> report[1].error
    'Is a directory'
    >>> report
    <CheckReport: 2 files, 1 valid, 0 not valid, 1 not checked>
    """

    def __init__(self, reports: Iterable[FileReport]) -> None:
        self._reports = tuple(reports)

    @overload
    def __getitem__(self, index: int) -> FileReport: ...

    @overload
    def __getitem__(self, index: slice) -> CheckReport: ...

    def __getitem__(self, index: int | slice) -> Union[FileReport, CheckReport]:
        if isinstance(index, slice):
            return CheckReport(self._reports[index])
        return self._reports[index]

    def __len__(self) -> int:
        return len(self._reports)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, CheckReport) and self._reports == other._reports

    def __hash__(self) -> int:
        return hash(self._reports)

    def __repr__(self) -> str:
        valid = Counter(report.valid for report in self._reports)
        return (
            f"<CheckReport: {len(self)} files, {valid[True]} valid, {valid[False]} not valid, "
            f"{valid[None]} not checked>"
        )

    @property
    def codes(self) -> Counter[str]:
        """How many findings there are of each code.

        Returns
        -------
        collections.Counter
            By code.
        """
        return Counter(finding.code for report in self._reports for finding in report.findings)

    def to_ndjson(self, file: output.TextOrPath) -> None:
        """Write a line of JSON for each file.

        Parameters
        ----------
        file : path or text file
            A path is written anew.
        """
        with output.opened(file) as text:
            for report in self._reports:
                text.write(output.line_of(report.to_dict()))

    def to_csv(self, file: output.TextOrPath) -> None:
        """Write a row for each finding, and one for each file without any.

        Parameters
        ----------
        file : path or text file
            A path is written anew. A text file is best opened with ``newline=""``, and with
            ``errors="surrogateescape"`` where names of files may be anything.
        """
        with output.opened(file) as text:
            write_csv(self._reports, text)


CSV_COLUMNS = (
    "file", "valid", "error", "code", "severity", "message", "offset", "record_index",
    "record_offset", "record_id", "record_version", "record_size", "field",
)  # fmt: skip


def _rows_of(report: FileReport) -> Iterator[list[Any]]:
    valid = {True: "true", False: "false", None: ""}[report.valid]
    about_file = [report.path, valid, report.error]
    if not report.findings:
        yield [*about_file, *[None] * (len(CSV_COLUMNS) - len(about_file))]
    for each in report.findings:
        record = each.record
        about_record: list[int | None] = [None] * 5
        if record is not None:
            about_record = [record.index, record.offset, record.id, record.version, record.size]
        about_finding = [each.code, each.severity, each.message, each.offset]
        yield [*about_file, *about_finding, *about_record, each.field]


def write_csv(reports: Iterable[FileReport], text: output.Text) -> None:
    """The table of reports, as they come."""
    table = output.csv_writer(text)
    table.writerow(CSV_COLUMNS)
    for report in reports:
        table.writerows(_rows_of(report))


def check_one(named: Named) -> FileReport:
    """The report of one file; nothing that is wrong with it is raised."""
    path, nvm = named
    try:
        container, image = read_both(named)
        seen = qo_cmc.check(container, nvm=image)
    except Exception as error:  # whatever it is, other files are not to go without their reports
        return FileReport(path, None, (), reason_of(error, path))
    return FileReport(path, seen.valid, tuple(seen.findings), None)


def check_batch(batch: list[Named], _: Any) -> list[FileReport]:
    """A task of a worker."""
    return [check_one(named) for named in batch]


def iter_check(
    paths: Iterable[AnyPath],
    nvm: NvmOf = None,
    *,
    client: Any = None,
    workers: int | None = None,
    progress: bool | None = None,
) -> Iterator[FileReport]:
    """Check containers, and give each report as soon as it and all before it are there.

    What is in flight is bounded: paths may come from a generator, and be any number. The parameters
    are those of `check`.

    Yields
    ------
    FileReport
        In the order of the paths.

    Examples
    --------
    >>> from qo_cmc import fleet
    >>> for report in fleet.iter_check(["no such file"], workers=0):
    ...     print(report.error)
    No such file or directory
    """
    named = with_nvm(paths, nvm)
    engine = engine_for(client, workers)
    return _reports(engine, named, paths, progress)


def _reports(
    engine: Any, named: Iterator[Named], paths: Iterable[AnyPath], progress: bool | None
) -> Iterator[FileReport]:
    with engine, bar(progress, paths, "check") as shown:
        for batch, reports in in_order(engine, check_batch, named, expected=paths):
            if isinstance(reports, Lost):
                reports = [FileReport(path, None, (), str(reports)) for path, _ in batch]
            shown.update(len(batch))
            yield from reports


def check(
    paths: Iterable[AnyPath],
    nvm: NvmOf = None,
    *,
    client: Any = None,
    workers: int | None = None,
    progress: bool | None = None,
) -> CheckReport:
    """Say what is wrong with containers, and where.

    Parameters
    ----------
    paths : iterable of path
        The containers; any number, a generator too.
    nvm : path, mapping, function or sequence, optional
        Their modules' NVM images: one for all; by path, as a mapping that has an entry for each, or
        as a function, which is called in this process; or one for each, in the same order. None in
        place of a path: the module has none.
    client : distributed.Client, optional
        A cluster whose workers see the files under the same names, and have this package.
    workers : int, optional
        Without a client, how many processes of this machine work: as many as it has processors. 0
        works in this process, where a file that ends its worker ends the caller.
    progress : bool, optional
        Whether a bar shows how far it is; by default where standard error is a terminal.

    Returns
    -------
    CheckReport
        A report for each path, in their order. A file that cannot be read, or that every worker
        dies of, has a report that says so.

    Notes
    -----
    Workers are processes that begin by importing the caller's main module: a script calls this
    under ``if __name__ == "__main__":``.

    Examples
    --------
    >>> import pathlib, tempfile
    >>> import qo_cmc
    >>> from qo_cmc import fleet
    >>> with tempfile.TemporaryDirectory() as folder:
    ...     paths = [pathlib.Path(folder, f"{number}.vexb") for number in range(3)]
    ...     for path in paths:
    ...         _ = path.write_bytes(qo_cmc.sample_container())
    ...     _ = paths[1].write_bytes(b"no container")
    ...     report = fleet.check(paths, workers=0)
    >>> [each.valid for each in report]
    [True, False, True]
    >>> report.codes["container-too-short"]
    1
    """
    return CheckReport(
        iter_check(paths, nvm, client=client, workers=workers, progress=progress)
    )
