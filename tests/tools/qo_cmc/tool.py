"""Runs qo-cmc as its users do, on files of a folder that lasts as long as the test."""

import json
import os
import pathlib
import shutil
import struct
import subprocess
import tempfile
import unittest

TOOL = pathlib.Path(os.environ["QO_CMC"])
ROOT = pathlib.Path(os.environ["QO_ROOT"])
BUILD = pathlib.Path(os.environ["QO_BUILD"])
SANITIZED = bool(os.environ.get("QO_SANITIZE"))

VERBS = ["check", "records", "dump", "hex", "shading", "diff", "pack", "sample"]


def record(kind, version, body, size=None):
    """A record: u32 size, u8 version, u8 0, u16 kind, body."""
    return struct.pack("<IBBH", size if size is not None else 8 + len(body), version, 0, kind) + body


def words_of(image):
    whole = len(image) // 4
    return struct.unpack(f"<{whole}I", image[: 4 * whole])


def container(*records, rule=1, checksum=None, total=None):
    """A container around the records, its checksum by rule 1 (all other words) or 2 (records)."""
    body = b"".join(records)
    size = total if total is not None else 24 + len(body)
    head = struct.pack("<IIIII", 0x51424356, size, 0x10064, 3, 4)
    words = words_of(head + bytes(4) + body) if rule == 1 else words_of(body)
    return head + struct.pack("<I", sum(words) % 2**32 if checksum is None else checksum) + body


def general(name):
    """A record 1 with this name and no pairs."""
    return record(1, 100, bytes(16) + name + b"\0" * (8 - len(name) % 8))


class Result:
    def __init__(self, done):
        self.code = done.returncode
        self.out = done.stdout
        self.err = done.stderr

    @property
    def lines(self):
        return self.out.decode().splitlines()

    @property
    def error_lines(self):
        return self.err.decode().splitlines()

    @property
    def objects(self):
        return [json.loads(line) for line in self.lines]


class ToolTest(unittest.TestCase):
    """Each test starts in a folder with sample.vexb and sample.nvm."""

    @classmethod
    def setUpClass(cls):
        cls.made = pathlib.Path(tempfile.mkdtemp(prefix="qo_cmc_made_"))
        subprocess.run([TOOL, "sample", cls.made], check=True)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.made)

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="qo_cmc_test_"))
        self.addCleanup(shutil.rmtree, self.folder)
        for name in ["sample.vexb", "sample.nvm"]:
            shutil.copy(self.made / name, self.folder)

    def file(self, name, content):
        (self.folder / name).write_bytes(content)
        return name

    def bytes_of(self, name):
        return (self.folder / name).read_bytes()

    def run_tool(self, *arguments, stdin=b"", env=None, **more):
        environment = {key: value for key, value in os.environ.items() if key != "NO_COLOR"}
        environment.update(env or {})
        more = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **more}
        given = {"input": stdin} if "stdin_file" not in more else {"stdin": more.pop("stdin_file")}
        return Result(
            subprocess.run(
                [TOOL, *arguments], cwd=self.folder, env=environment, timeout=300, **given, **more
            )
        )

    def assertCode(self, code, result):
        self.assertEqual(code, result.code, (result.out or b"")[-2000:] + (result.err or b"")[-2000:])

    def assertOneLine(self, start, result):
        """One line on standard error, which starts like this, and nothing went wrong otherwise."""
        self.assertEqual(1, len(result.error_lines), result.err)
        self.assertTrue(result.error_lines[0].startswith(start), result.err)

    def assertHarmless(self, text):
        """Nothing that a terminal would take for more than characters."""
        for character in text.decode("utf-8"):
            code = ord(character)
            self.assertFalse(
                (code < 0x20 and character != "\n") or 0x7F <= code < 0xA0,
                f"U+{code:04X} in {text!r}",
            )
