"""Files and buffers that containers and NVM images come from."""

from __future__ import annotations

import errno
import os
import stat
from typing import NoReturn, Union

# Whatever has the buffer protocol: Python gives it no name before 3.12.
Buffer = Union[bytes, bytearray, memoryview]
Source = Union[str, "os.PathLike[str]", Buffer]

# A container cannot declare more.
_LARGEST = 2**32 - 1
# Pipes have no size, and files are mostly smaller than one piece.
_PIECE = 2**20


def _refuse_as_too_large(path: str | os.PathLike[str]) -> NoReturn:
    raise OSError(errno.EFBIG, os.strerror(errno.EFBIG), os.fspath(path))


def _content_of_file(path: str | os.PathLike[str]) -> bytes:
    what = os.stat(path)
    # A device is not even opened: reading it may never end, or change something.
    if stat.S_ISCHR(what.st_mode) or stat.S_ISBLK(what.st_mode):
        raise OSError(errno.EINVAL, "Is a device", os.fspath(path))
    if what.st_size > _LARGEST:
        _refuse_as_too_large(path)
    pieces = []
    size = 0
    with open(path, "rb") as file:
        while piece := file.read(_PIECE):
            pieces.append(piece)
            size += len(piece)
            if size > _LARGEST:
                _refuse_as_too_large(path)
    return b"".join(pieces)


def content_of(source: Source) -> bytes:
    """Read a file, or take the bytes of a buffer.

    What others may still write into is copied, so that nothing changes while it is parsed.
    """
    if isinstance(source, (str, os.PathLike)):
        return _content_of_file(source)
    if isinstance(source, bytes):
        return source
    try:
        view = memoryview(source)
    except TypeError:
        raise TypeError(
            f"expected a path or a buffer of bytes, not {type(source).__name__}"
        ) from None
    return view.tobytes()
