"""Parsed CMCs."""

from __future__ import annotations

from collections import Counter
from collections.abc import Mapping
from functools import cached_property
from types import TracebackType
from typing import Any

from qo_cmc import _parsing
from qo_cmc._findings import Finding, RecordRow, Report
from qo_cmc._sources import Source, content_of


class ParsedCmc(_parsing.Slots):
    """A parsed CMC: an attribute for every slot, None where it is empty.

    Slots and their members have the names of the C structure. Arrays are read-only views without a
    copy; each keeps what it looks into alive, also when the ParsedCmc is gone. Values that a record
    has at odd addresses are arrays that NumPy knows to be unaligned: it copies what it computes
    with.

    Objects compare equal when their slots do. They can be copied and pickled, which parses the same
    bytes again. Parsed CMCs that were closed are equal only to themselves.

    Attributes
    ----------
    findings : tuple of Finding
        What there is to say about the container, as ``qo-cmc check`` has it.
    records : tuple of RecordRow
        All records of the container, and what became of each.
    merged : bool
        Whether the module's calibration was merged into `lens_shading`.
    container : bytes
        What was parsed.
    nvm : bytes or None
        The module's NVM image.
    closed : bool
        Whether `close` has released it.

    Examples
    --------
    >>> import qo_cmc
    >>> with qo_cmc.parse(qo_cmc.sample_container(), nvm=qo_cmc.sample_nvm()) as cmc:
    ...     print(cmc.general.name, cmc.merged, cmc.lens_shading.width, cmc.lens_shading.height)
    sample module True 65 49
    """

    # Looked up once: they do not change, and stay when the slots are released.
    @cached_property
    def findings(self) -> tuple[Finding, ...]:
        """What there is to say about the container."""
        return self._findings()

    @cached_property
    def records(self) -> tuple[RecordRow, ...]:
        """All records of the container, and what became of each."""
        return self._records()

    @property
    def container(self) -> bytes:
        """The bytes of the container."""
        return self._container

    @property
    def nvm(self) -> bytes | None:
        """The bytes of the module's NVM image."""
        return self._nvm

    def to_dict(self) -> dict[str, Any]:
        """Give the slots as ``qo-cmc dump --json`` prints them.

        Returns
        -------
        dict
            What stands there under ``slots``, key for key, as `pack` takes it.

        Examples
        --------
        >>> import qo_cmc
        >>> qo_cmc.parse(qo_cmc.sample_container()).to_dict()["general"]["name"]
        'sample module'
        """
        return self._to_dict()

    def close(self) -> None:
        """Release the slots now, and not with the last reference. Does nothing a second time.

        Raises
        ------
        BufferError
            While arrays look into them.
        """
        self._close()

    def __enter__(self) -> ParsedCmc:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        # Arrays that an error's frames hold must not hide the error.
        if error is None or self._views == 0:
            self.close()

    def __eq__(self, other: object) -> bool:
        if self is other:
            return True
        if not isinstance(other, ParsedCmc):
            return NotImplemented
        if self.closed or other.closed:
            return False
        if (self.container, self.nvm) == (other.container, other.nvm):
            return True
        return self.to_dict() == other.to_dict()

    __hash__ = None  # type: ignore[assignment]  # equal by content, as lists are

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), (self.container, self.nvm)

    def __repr__(self) -> str:
        if self.closed:
            return "<ParsedCmc, closed>"
        name = "" if self.general is None else f" {self.general.name!r}"
        slots = sum(getattr(self, slot) is not None for slot in self._fields)
        counts = Counter(finding.severity for finding in self.findings)
        parts = [f"{slots} slots"]
        if self.merged:
            parts.append("merged with its module's calibration")
        for severity in ("warning", "note"):
            if count := counts[severity]:
                parts.append(f"{count} {severity}{'s' if count > 1 else ''}")
        return f"<ParsedCmc{name}: {', '.join(parts)}>"


def _image_of(nvm: Source | None) -> bytes | None:
    """An empty image is none, as for the library."""
    return None if nvm is None else content_of(nvm) or None


def parse(source: Source, nvm: Source | None = None) -> ParsedCmc:
    """Parse a container.

    Parameters
    ----------
    source : str, os.PathLike or buffer
        The container: a path is a file, any buffer is its content. The interpreter's lock is
        released meanwhile.
    nvm : str, os.PathLike or buffer, optional
        The module's NVM image, whose calibration is merged into `lens_shading`. An empty one counts
        as none.

    Returns
    -------
    ParsedCmc

    Raises
    ------
    InvalidContainer
        Where the container is refused; `InvalidContainer.findings` says why.
    ValueError
        Where the NVM image is refused.
    OSError
        Where a file cannot be read.
    MemoryError
        Where there is no memory for the parsed CMC itself. A slot that there is no memory for is
        empty, and a finding.

    Examples
    --------
    >>> import qo_cmc
    >>> cmc = qo_cmc.parse(qo_cmc.sample_container())
    >>> cmc.lens_shading.lights[0].tables[0, 0].shape
    (49, 65)
    >>> cmc.record_26.groups[0].values.dtype
    dtype('float32')
    """
    return ParsedCmc(content_of(source), _image_of(nvm))


def check(source: Source, nvm: Source | None = None) -> Report:
    """Tell what there is to say about a container, whatever it holds.

    Parameters
    ----------
    source, nvm : str, os.PathLike or buffer
        As for `parse`. An NVM image that is refused, or empty, is a finding here.

    Returns
    -------
    Report
        Whether the container is valid, and the findings, as ``qo-cmc check`` has them.

    Raises
    ------
    OSError
        Where a file cannot be read.

    Examples
    --------
    >>> import qo_cmc
    >>> report = qo_cmc.check(qo_cmc.sample_container()[:-1])
    >>> report.valid, report.findings[0].code
    (False, 'size-mismatch')
    """
    image = None if nvm is None else content_of(nvm)
    return Report(*_parsing.check(content_of(source), image))


def pack(slots: Mapping[str, Any], checksum: int = 1) -> bytes:
    """Build a container of slots, as ``qo-cmc pack`` does.

    Parameters
    ----------
    slots : mapping
        As `ParsedCmc.to_dict` gives them. NumPy arrays may stand for lists.
    checksum : {1, 2}, optional
        1: over all words but its own; 2: over the records.

    Returns
    -------
    bytes
        The container, whose slots are these once it is parsed.

    Raises
    ------
    ValueError
        For slots that are malformed, that contradict themselves, or that no records give back; the
        text begins with the path of the value.
    TypeError
        For values of types that slots do not have.

    Examples
    --------
    >>> import qo_cmc
    >>> slots = qo_cmc.parse(qo_cmc.sample_container()).to_dict()
    >>> slots["general"]["name"] = "OTHER"
    >>> slots["general"]["record"]["size"] = None  # worked out anew
    >>> qo_cmc.parse(qo_cmc.pack(slots)).general.name
    'OTHER'
    """
    if checksum not in (1, 2):
        raise ValueError(f"checksum is 1 or 2, not {checksum!r}")
    return _parsing.pack(dict(slots), checksum)
