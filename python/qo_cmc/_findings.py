"""What there is to say about a container."""

from __future__ import annotations

from dataclasses import asdict, dataclass
from typing import Any


@dataclass(frozen=True)
class RecordReference:
    """A record of a container.

    Attributes
    ----------
    index : int
        Its number among all records of the container, from 0.
    offset : int
        Bytes from the container's start.
    id, version, size : int
        What its header says.
    """

    index: int
    offset: int
    id: int
    version: int
    size: int


@dataclass(frozen=True)
class Finding:
    """One finding about a container, as ``qo-cmc check`` has it.

    Attributes
    ----------
    code : str
        A stable word, which programs may look for.
    severity : str
        "note", "warning" or "error". Only what refuses the container is an error.
    message : str
        A sentence.
    offset : int or None
        Bytes from the container's start.
    record : RecordReference or None
        The record that it is about.
    field : str
        The field that it is about, or "".

    Examples
    --------
    >>> import qo_cmc
    >>> [finding.code for finding in qo_cmc.check(b"vexb").findings]
    ['container-too-short']
    """

    code: str
    severity: str
    message: str
    offset: int | None
    record: RecordReference | None
    field: str

    def to_dict(self) -> dict[str, Any]:
        """Give the finding as ``qo-cmc check --json`` prints it.

        Returns
        -------
        dict
            With the same keys.
        """
        return asdict(self)

    def __str__(self) -> str:
        where = "" if self.record is None else f" [record {self.record.id}]"
        return f"{self.code}: {self.message}{where}"


@dataclass(frozen=True)
class RecordRow:
    """A record of the container, and what became of it.

    Attributes
    ----------
    index, offset, size, id, version : int
        As in RecordReference.
    name : str
        What the kind is called.
    fate : str
        "kept", "converted", "replaced", "superseded", "released", "leaked", "refused", "not read",
        "foreign" or "not parsed".
    """

    index: int
    offset: int
    size: int
    id: int
    name: str
    version: int
    fate: str


@dataclass(frozen=True)
class Report:
    """What `check` finds.

    Attributes
    ----------
    valid : bool
        Whether the container by itself is one.
    findings : tuple of Finding
        In the order of their offsets.
    """

    valid: bool
    findings: tuple[Finding, ...]


class InvalidContainer(ValueError):
    """A container that is refused.

    Attributes
    ----------
    findings : tuple of Finding
        Why, and what else there is to say.

    Examples
    --------
    >>> import qo_cmc
    >>> try:
    ...     qo_cmc.parse(b"no container")
    ... except qo_cmc.InvalidContainer as refused:
    ...     print(refused.findings[0].code)
    container-too-short
    """

    def __init__(self, findings: tuple[Finding, ...]) -> None:
        super().__init__(findings)
        self.findings = tuple(findings)

    def __str__(self) -> str:
        errors = [str(finding) for finding in self.findings if finding.severity == "error"]
        return "; ".join(errors) or "the container is refused"
