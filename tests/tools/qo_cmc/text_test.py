"""What the text looks like: lines, columns, escapes, colours, the progress line."""

import os
import pty
import re
import subprocess
import unittest

import tool
from tool import container, general, record

ESCAPES = b"a\x1b[31mred\x07\x9b\xc2\x9b1m\r\x7f\xff\\\n"


class Text(tool.ToolTest):
    def test_check_ends_with_the_verdict_on_each_file(self):
        self.file("bad", b"text")
        result = self.run_tool("check", "sample.vexb", "bad")
        verdicts = [line for line in result.lines if line.endswith("valid")]
        self.assertEqual(["sample.vexb: valid", "bad: not valid"], verdicts)
        self.assertEqual("bad: not valid", result.lines[-1])

    def test_check_writes_one_line_a_finding(self):
        self.file("bad", container(general(b"m"), checksum=1))
        found = self.run_tool("check", "--json", "bad").objects[0]["findings"]
        lines = self.run_tool("check", "bad").lines
        self.assertEqual(len(found) + 1, len(lines))
        for each, line in zip(found, lines):
            offset = "-" if each["offset"] is None else str(each["offset"])
            start = f"bad:{offset}: {each['code']}: {each['message']} [{each['severity']}"
            self.assertTrue(line.startswith(start), line)

    def test_records_are_a_table_with_the_bytes_of_the_container(self):
        lines = self.run_tool("records", "sample.vexb").lines
        self.assertEqual(
            ["index", "offset", "size", "id", "name", "version", "fate"], lines[0].split()
        )
        image = self.bytes_of("sample.vexb")
        offset = 24
        for index, line in enumerate(lines[1:]):
            size = int.from_bytes(image[offset : offset + 4], "little")
            kind = int.from_bytes(image[offset + 6 : offset + 8], "little")
            columns = line.split()
            self.assertEqual([str(n) for n in (index, offset, size, kind)], columns[:4])
            self.assertIn(f" {image[offset + 4]}  ", line)
            offset += size
        self.assertEqual(len(image), offset)
        fates = {line[lines[0].index("fate") - 2 :].strip() for line in lines[1:]}
        self.assertTrue(all(fates), fates)

    def test_records_columns_are_aligned(self):
        lines = self.run_tool("records", "sample.vexb").lines
        for title in ["offset", "size", "id"]:
            end = lines[0].index(title) + len(title)
            for line in lines[1:]:
                self.assertTrue(line[end - 1].isdigit() and line[end] == " ", line)

    def test_several_files_are_told_apart(self):
        for verb in ["records", "dump", "hex"]:
            with self.subTest(verb):
                alone = self.run_tool(verb, "sample.vexb").out
                twice = self.run_tool(verb, "sample.vexb", "./sample.vexb").out
                self.assertEqual(b"sample.vexb:\n" + alone + b"./sample.vexb:\n" + alone, twice)

    def test_hex_shows_every_byte_once(self):
        image = self.bytes_of("sample.vexb")
        shown = bytearray()
        for line in self.run_tool("hex", "sample.vexb").lines:
            self.assertEqual(len(shown), int(line[:8], 16))
            shown += bytes.fromhex(line[10:57])
        self.assertEqual(image, shown)

    def test_hex_of_one_kind_shows_its_records(self):
        image = self.bytes_of("sample.vexb")
        rows = self.run_tool("records", "--json", "sample.vexb").objects[0]["records"]
        shown = b"".join(
            bytes.fromhex(line[10:57])
            for line in self.run_tool("hex", "--record", "14", "sample.vexb").lines
        )
        wanted = [image[r["offset"] : r["offset"] + r["size"]] for r in rows if r["id"] == 14]
        self.assertEqual(b"".join(wanted), shown)

    def test_hex_names_bytes_of_a_container_that_is_not_valid_too(self):
        cut = self.bytes_of("sample.vexb")[:1001]
        self.file("cut", cut)
        result = self.run_tool("hex", "cut")
        self.assertCode(1, result)
        self.assertEqual(cut, b"".join(bytes.fromhex(line[10:57]) for line in result.lines))

    def test_text_from_a_file_cannot_reach_the_terminal(self):
        self.file("bad\x1b[31m\n", container(general(ESCAPES), record(64, 1, ESCAPES)))
        for verb in ["check", "records", "dump", "hex"]:
            for more in [[], ["--json"]]:
                with self.subTest(f"{verb} {more}"):
                    result = self.run_tool(verb, *more, "bad\x1b[31m\n", "none\x1b[31m\n")
                    self.assertCode(2, result)  # for the missing one
                    self.assertNotEqual(b"", result.out)
                    self.assertHarmless(result.out)
                    self.assertHarmless(result.err)
                    self.assertNotIn(b"bad\\x1b[31m\\x0a: ", result.err)
        self.file("plain", container(general(b"m")))
        result = self.run_tool("diff", "plain", "bad\x1b[31m\n")
        self.assertCode(1, result)
        self.assertHarmless(result.out)
        result = self.run_tool("shading", "bad\x1b[31m\n", "-o", "page.html")
        self.assertHarmless(result.out)
        self.assertHarmless(result.err)
        if result.code == 0:
            self.assertHarmless(self.bytes_of("page.html"))

    def test_a_broken_document_cannot_reach_the_terminal(self):
        for name, content in [
            ("a", b'{"\x1b[31m": \xff}'),
            ("b", b'{"schema": 1, "slots": {"\\u001b[31m\\u009b": {"bytes": "\\u0007"}}}'),
            ("c", b'{"schema": 1, "slots": {"general": {"name": "\\u001b"}}}'),
        ]:
            self.file(name, content)
            result = self.run_tool("pack", name, "-o", "out")
            self.assertHarmless(result.err)

    def test_dump_shortens_arrays_unless_asked(self):
        short = self.run_tool("dump", "sample.vexb")
        full = self.run_tool("dump", "--full", "sample.vexb")
        self.assertCode(0, full)
        self.assertGreater(len(full.out), 4 * len(short.out))

    def test_dump_of_one_kind_shows_its_slot(self):
        text = self.run_tool("dump", "--record", "14", "sample.vexb").out.decode()
        self.assertIn("record_14", text)
        self.assertNotIn("record_15", text)

    def test_nothing_depends_on_the_locale(self):
        installed = subprocess.run(["locale", "-a"], stdout=subprocess.PIPE).stdout.decode().split()
        others = [each for each in installed if each.lower() in ("de_de.utf8", "de_de.utf-8")]
        # Without it only what every system has.
        locales = (others or []) + ["C.UTF-8", "POSIX"]
        for arguments in [
            ["check", "sample.vexb", "--nvm", "sample.nvm"],
            ["records", "sample.vexb"],
            ["dump", "--full", "sample.vexb", "--nvm", "sample.nvm"],
            ["dump", "--json", "sample.vexb"],
            ["hex", "sample.vexb"],
            ["diff", "sample.vexb", "sample.vexb", "--nvm-b", "sample.nvm"],
            ["shading", "sample.vexb", "--nvm", "sample.nvm", "-o", "out.csv"],
            ["shading", "sample.vexb", "--nvm", "sample.nvm", "-o", "out.html"],
        ]:
            outputs = set()
            for locale in ["C", *locales]:
                result = self.run_tool(*arguments, env={"LC_ALL": locale})
                written = self.bytes_of(arguments[-1]) if "-o" in arguments else b""
                outputs.add((result.code, result.out, result.err, written))
            with self.subTest(arguments):
                self.assertEqual(1, len(outputs))
        if not others:
            self.skipTest("de_DE.UTF-8 is not installed: compared with C.UTF-8 and POSIX only")


def on_terminal(command, folder, environment):
    """What the command writes when its standard output and error are a terminal."""
    ours, theirs = pty.openpty()
    process = subprocess.Popen(
        command, cwd=folder, env=environment, stdout=theirs, stderr=theirs, stdin=subprocess.DEVNULL
    )
    os.close(theirs)
    written = b""
    while True:
        try:
            piece = os.read(ours, 65536)
        except OSError:  # how a terminal ends
            break
        if not piece:
            break
        written += piece
    os.close(ours)
    process.wait()
    return written


class Terminal(tool.ToolTest):
    def setUp(self):
        super().setUp()
        self.file("bad", b"text")
        self.environment = {**os.environ, "TERM": "xterm"}
        self.environment.pop("NO_COLOR", None)

    def colours(self, *arguments, **environment):
        written = on_terminal(
            [tool.TOOL, *arguments], self.folder, {**self.environment, **environment}
        )
        return re.findall(rb"\x1b\[[0-9;]*m", written)

    def test_text_is_coloured_on_a_terminal_only(self):
        for verb in ["check", "records", "hex"]:
            with self.subTest(verb):
                self.assertNotIn(b"\x1b", self.run_tool(verb, "sample.vexb", "bad").out)
                self.assertTrue(self.colours(verb, "sample.vexb", "bad"))

    def test_colours_can_be_refused(self):
        self.assertEqual([], self.colours("check", "bad", NO_COLOR="1"))
        self.assertTrue(self.colours("check", "bad", NO_COLOR=""))
        self.assertEqual([], self.colours("check", "bad", TERM="dumb"))
        self.assertEqual([], self.colours("check", "--color", "never", "bad"))

    def test_colours_can_be_forced(self):
        for environment in [{}, {"NO_COLOR": "1"}]:
            result = self.run_tool("check", "--color=always", "bad", env=environment)
            self.assertIn(b"\x1b[31m", result.out)

    def test_json_is_never_coloured(self):
        self.assertNotIn(b"\x1b", self.run_tool("check", "--json", "--color=always", "bad").out)

    def test_coloured_text_is_the_plain_text_with_colours(self):
        for verb in ["check", "records", "hex"]:
            plain = self.run_tool(verb, "sample.vexb", "bad").out
            coloured = self.run_tool(verb, "--color=always", "sample.vexb", "bad").out
            self.assertEqual(plain, re.sub(rb"\x1b\[[0-9;]*m", b"", coloured))

    def test_many_files_show_their_progress_on_a_terminal(self):
        names = [self.file(f"{i}.vexb", container()) for i in range(20)]
        written = on_terminal([tool.TOOL, "check", *names], self.folder, self.environment)
        self.assertIn(b"\r\x1b[K1 of 20 files", written)
        # What stays on the screen after each erased line.
        screen = b"".join(
            re.sub(rb"[^\n]*\r\x1b\[K", b"", line + b"\n") for line in written.split(b"\r\n")
        )
        shown = re.sub(rb"\x1b\[[0-9;]*m", b"", screen).decode().split()
        self.assertEqual([word for name in names for word in (f"{name}:", "valid")], shown)

    def test_one_file_has_no_progress_line(self):
        written = on_terminal([tool.TOOL, "check", "sample.vexb"], self.folder, self.environment)
        self.assertNotIn(b" of 1", written)

    def test_progress_is_for_terminals_only(self):
        self.assertEqual(b"", self.run_tool("check", *["sample.vexb"] * 20).err)


if __name__ == "__main__":
    unittest.main()
