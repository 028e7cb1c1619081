"""Names of files: as they are given, as they are shown, and which NVM image belongs to which."""

from __future__ import annotations

import errno
import os
import stat
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence, Sized
from typing import Any, Union, cast

AnyPath = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
NvmOf = Union[
    None,
    AnyPath,
    Mapping[Any, "AnyPath | None"],
    Callable[[Any], "AnyPath | None"],
    Sequence["AnyPath | None"],
]
# A container and its module's NVM image, as workers take them.
Named = tuple[str, "str | None"]

# What the parser takes: sizes in containers are u32.
LARGEST_INPUT = 0xFFFF_FFFF


def text_of(path: AnyPath) -> str:
    """A path as text; bytes that are none stand in it as the file system's own stand-ins."""
    return os.fsdecode(path)


def json_of(path: str) -> str | dict[str, str]:
    """A path as `qo-cmc --json` writes it: what is not UTF-8 keeps its bytes."""
    raw = os.fsencode(path)
    try:
        return raw.decode("utf-8")
    except UnicodeDecodeError:
        return {"bytes": raw.hex()}


def with_nvm(paths: Iterable[AnyPath], nvm: NvmOf) -> Iterator[Named]:
    """Each path with its NVM image. What cannot be right is said before the first one is taken."""
    if isinstance(paths, (str, bytes, os.PathLike)):  # text would be taken for paths of a letter
        raise TypeError(f"paths is {type(paths).__name__}, expected an iterable of paths")
    if nvm is None:
        return ((text_of(path), None) for path in paths)
    if isinstance(nvm, (str, bytes, os.PathLike)):
        image = text_of(nvm)
        return ((text_of(path), image) for path in paths)
    if isinstance(nvm, Mapping):
        table = nvm
        return ((text_of(path), _text_or_none(_looked_up(table, path))) for path in paths)
    if callable(nvm):
        image_of = nvm
        return ((text_of(path), _text_or_none(image_of(path))) for path in paths)
    if not isinstance(nvm, Sequence):
        raise TypeError(
            f"nvm is {type(nvm).__name__}, expected a path, a mapping, a function or a sequence"
        )
    if isinstance(paths, Sized) and len(paths) != len(nvm):
        raise ValueError(f"nvm has {len(nvm)} elements, expected {len(paths)}, as paths has")
    images = cast("Sequence[AnyPath | None]", nvm)
    return (
        (text_of(path), _text_or_none(image)) for path, image in zip(paths, images, strict=True)
    )


def _text_or_none(path: AnyPath | None) -> str | None:
    return None if path is None else text_of(path)


def _looked_up(table: Mapping[Any, AnyPath | None], path: AnyPath) -> AnyPath | None:
    """A path that is not in the table is an error: without its NVM image a module looks another."""
    for key in path, text_of(path):
        if key in table:
            return table[key]
    raise LookupError(f"nvm has no entry for {text_of(path)!r}; one of None says that it has none")


def read_file(path: str) -> bytes:
    """The whole of a regular file; nothing else, since a pipe could keep a worker for ever."""
    # Opening a pipe for reading without waiting for its other end answers at once.
    descriptor = os.open(path, os.O_RDONLY | os.O_CLOEXEC | os.O_NOCTTY | os.O_NONBLOCK)
    try:
        status = os.fstat(descriptor)
        if stat.S_ISDIR(status.st_mode):
            raise IsADirectoryError(errno.EISDIR, os.strerror(errno.EISDIR), path)
        if not stat.S_ISREG(status.st_mode):
            raise OSError(errno.EINVAL, "Is no regular file", path)
        if status.st_size > LARGEST_INPUT:
            raise OSError(errno.EFBIG, f"Has more than {LARGEST_INPUT} bytes", path)
        with open(descriptor, "rb", closefd=False) as file:
            return file.read()
    finally:
        os.close(descriptor)


def read_both(named: Named) -> tuple[bytes, bytes | None]:
    """The container, and the NVM image if there is one."""
    path, nvm = named
    return read_file(path), None if nvm is None else read_file(nvm)


def reason_of(error: BaseException, path: str) -> str:
    """Why nothing is known about a file, for people; another file that is to blame is named."""
    if isinstance(error, OSError) and error.strerror is not None:
        named = error.filename
        is_other = named is not None and named != path
        return f"{error.strerror}: {named!r}" if is_other else error.strerror
    if isinstance(error, MemoryError):
        return "Cannot allocate memory"
    return f"{type(error).__name__}: {error}"
