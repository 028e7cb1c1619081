"""What can be read and what cannot, and the exit code of each."""

import os
import pathlib
import resource
import subprocess
import unittest

import tool
from tool import container, general


class Input(tool.ToolTest):
    # Verbs that read containers, with what else they are given.
    readers = {
        "check": [],
        "records": [],
        "dump": [],
        "hex": [],
        "shading": ["-o", "out.csv"],
        "diff": ["sample.vexb"],
    }

    def test_every_reading_verb_takes_a_valid_container(self):
        for verb, more in self.readers.items():
            with self.subTest(verb):
                result = self.run_tool(verb, "sample.vexb", *more)
                self.assertCode(0, result)

    def test_a_container_that_is_not_valid_ends_with_1_and_says_so(self):
        sample = self.bytes_of("sample.vexb")
        bad = {
            "empty": b"",
            "short": sample[:23],
            "text": b"just a few lines of text\nwhich are no container\n",
            "truncated": sample[:-100],
            "longer": sample + b"1234",
            "wrong_sum": container(general(b"m"), checksum=1),
            "header_only_cut": sample[:24],
        }
        for name, content in bad.items():
            self.file(name, content)
            for verb, more in self.readers.items():
                with self.subTest(f"{verb} {name}"):
                    result = self.run_tool(verb, name, *more)
                    self.assertCode(1, result)
                    said = result.out if verb == "check" else result.err
                    self.assertIn(f"{name}: not valid\n".encode(), said)
                    self.assertFalse((self.folder / "out.csv").exists())

    def test_a_container_that_is_not_valid_has_its_json(self):
        self.file("empty", b"")
        for verb in ["check", "records", "dump", "hex"]:
            with self.subTest(verb):
                result = self.run_tool(verb, "--json", "empty")
                self.assertCode(1, result)
                self.assertEqual(1, len(result.objects))
                self.assertFalse(result.objects[0]["valid"])
                self.assertEqual("empty", result.objects[0]["file"])
                self.assertTrue(result.objects[0]["findings"])
                self.assertEqual("error", result.objects[0]["findings"][0]["severity"])

    def test_what_cannot_be_read_ends_with_2_and_one_line_with_its_name(self):
        os.mkfifo(self.folder / "fifo")
        unreadable = {
            ".": "is a directory",
            "/dev/zero": "is a character device",
            "/dev/null": "is a character device",
            "missing": "No such file or directory",
            "sample.vexb/below": "Not a directory",
            "a" * 5000: "File name too long",
        }
        for name, reason in unreadable.items():
            for verb, more in self.readers.items():
                with self.subTest(f"{verb} {name[:30]}"):
                    result = self.run_tool(verb, name, *more)
                    self.assertCode(2, result)
                    self.assertEqual(b"", result.out)
                    self.assertOneLine(f"qo-cmc: {name}: {reason}", result)

    @unittest.skipIf(os.geteuid() == 0, "root may read everything")
    def test_a_file_without_permission_ends_with_2(self):
        os.chmod(self.folder / "sample.vexb", 0)
        result = self.run_tool("check", "sample.vexb")
        self.assertCode(2, result)
        self.assertOneLine("qo-cmc: sample.vexb: Permission denied", result)

    def test_an_nvm_image_that_cannot_be_read_ends_with_2(self):
        for verb in ["check", "dump", "shading"]:
            for name in [".", "/dev/zero", "missing"]:
                with self.subTest(f"{verb} {name}"):
                    result = self.run_tool(verb, "sample.vexb", "--nvm", name, *self.readers[verb])
                    self.assertCode(2, result)
                    self.assertOneLine(f"qo-cmc: {name}: ", result)
        result = self.run_tool("diff", "sample.vexb", "sample.vexb", "--nvm-b", "missing")
        self.assertCode(2, result)

    def test_standard_input_is_read_by_every_verb(self):
        sample = self.bytes_of("sample.vexb")
        for verb, more in self.readers.items():
            with self.subTest(verb):
                result = self.run_tool(verb, "-", *more, stdin=sample)
                self.assertCode(0, result)
                named = self.run_tool(verb, "sample.vexb", *more)
                self.assertEqual(
                    named.out.replace(b"sample.vexb:", b""),
                    result.out.replace(b"standard input:", b""),
                )
        self.assertEqual("-", self.run_tool("check", "--json", "-", stdin=sample).objects[0]["file"])

    def test_standard_input_that_is_a_file_is_read(self):
        with open(self.folder / "sample.vexb", "rb") as sample:
            self.assertCode(0, self.run_tool("check", "-", stdin_file=sample))

    def test_standard_input_that_cannot_be_read_ends_with_2(self):
        for path in ["/dev/zero", "/"]:
            descriptor = os.open(path, os.O_RDONLY)
            with self.subTest(path):
                result = self.run_tool("check", "-", stdin_file=descriptor)
                self.assertCode(2, result)
                self.assertOneLine("qo-cmc: standard input: is a ", result)
            os.close(descriptor)

    def test_standard_input_is_asked_for_only_once(self):
        sample = self.bytes_of("sample.vexb")
        for arguments in [
            ["check", "-", "-"],
            ["check", "-", "--nvm", "-"],
            ["diff", "-", "-"],
            ["dump", "-", "--nvm", "-"],
        ]:
            with self.subTest(arguments):
                result = self.run_tool(*arguments, stdin=sample)
                self.assertCode(2, result)
                self.assertOneLine("qo-cmc: standard input: can be read only once", result)
        result = self.run_tool("check", "sample.vexb", "--nvm", "-", stdin=self.bytes_of("sample.nvm"))
        self.assertCode(0, result)

    def test_pipes_by_name_are_read(self):
        os.mkfifo(self.folder / "fifo")
        with subprocess.Popen(["sh", "-c", "cat sample.vexb >fifo"], cwd=self.folder):
            self.assertCode(0, self.run_tool("check", "fifo"))

    def test_a_regular_file_that_is_too_large_is_not_read(self):
        with open(self.folder / "large", "wb") as large:
            large.truncate(2**32)
        result = self.run_tool("check", "large")
        self.assertCode(2, result)
        self.assertOneLine("qo-cmc: large: has more than 4294967295 bytes", result)

    @unittest.skipIf(tool.SANITIZED, "the sanitizer itself needs the memory")
    def test_memory_that_is_not_there_ends_with_2(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (2**28, 2**28))

        with subprocess.Popen(["yes"], stdout=subprocess.PIPE) as endless:
            result = self.run_tool("check", "-", stdin_file=endless.stdout, preexec_fn=limit)
            endless.stdout.close()
            endless.kill()
        self.assertCode(2, result)
        self.assertOneLine("qo-cmc: standard input: no memory", result)

    def test_one_bad_file_never_stops_the_rest(self):
        self.file("text", b"text")
        names = ["missing", "sample.vexb", "text", ".", "sample.vexb"]
        for verb in ["check", "records", "dump", "hex"]:
            for jobs in ["1", "3"]:
                with self.subTest(f"{verb} -j{jobs}"):
                    result = self.run_tool(verb, "--json", "-j", jobs, *names)
                    self.assertCode(2, result)
                    self.assertEqual(
                        ["sample.vexb", "text", "sample.vexb"],
                        [each["file"] for each in result.objects],
                    )
                    self.assertEqual(
                        [True, False, True], [each["valid"] for each in result.objects]
                    )
                    self.assertIn(b"qo-cmc: missing: ", result.err)
                    self.assertIn(b"qo-cmc: .: ", result.err)
        self.assertCode(1, self.run_tool("check", "sample.vexb", "text", "sample.vexb"))

    def test_many_jobs_print_in_the_order_of_the_arguments(self):
        names = []
        for i in range(60):
            # Work of very different length, the longest first.
            content = container(general(b"m%d" % i)) if i % 3 else self.bytes_of("sample.vexb")
            names.append(self.file(f"{i:03}.vexb", content))
        alone = self.run_tool("dump", "--json", *names)
        self.assertCode(0, alone)
        self.assertEqual(names, [each["file"] for each in alone.objects])
        for jobs in ["2", "7", "256"]:
            together = self.run_tool("dump", "--json", "-j", jobs, *names)
            self.assertCode(0, together)
            self.assertEqual(alone.out, together.out)

    def test_names_that_look_like_options_come_after_two_dashes(self):
        pathlib.Path(self.folder, "--json").write_bytes(self.bytes_of("sample.vexb"))
        result = self.run_tool("check", "--", "--json")
        self.assertCode(0, result)
        self.assertEqual("--json: valid", result.lines[-1])


class Output(tool.ToolTest):
    def test_a_full_device_ends_with_2(self):
        for arguments in [
            ["check", "sample.vexb"],
            ["records", "sample.vexb"],
            ["dump", "sample.vexb", "--json"],
            ["hex", "sample.vexb"],
            ["--help"],
            ["--version"],
            ["dump", "--help"],
        ]:
            with self.subTest(arguments), open("/dev/full", "wb") as full:
                result = self.run_tool(*arguments, stdout=full)
                self.assertCode(2, result)
                self.assertOneLine("qo-cmc: standard output: No space left on device", result)

    def test_a_full_device_stops_many_jobs(self):
        with open("/dev/full", "wb") as full:
            result = self.run_tool("hex", "-j", "4", *["sample.vexb"] * 40, stdout=full)
        self.assertCode(2, result)
        self.assertOneLine("qo-cmc: standard output: No space left on device", result)

    def test_a_closed_standard_output_ends_with_2(self):
        result = self.run_tool("check", "sample.vexb", stdout=None, preexec_fn=lambda: os.close(1))
        self.assertEqual(2, result.code)

    def test_a_closed_standard_error_changes_nothing_else(self):
        result = self.run_tool("check", "missing", stderr=None, preexec_fn=lambda: os.close(2))
        self.assertEqual(2, result.code)

    def test_json_that_is_nested_without_end_is_refused(self):
        dump = self.run_tool("dump", "--json", "sample.vexb").out
        deep = b"[" * 3000000 + b"]" * 3000000
        for text in [deep, dump.replace(b'"unused_6":null', b'"unused_6":' + deep)]:
            self.file("deep.json", text)
            result = self.run_tool("pack", "deep.json", "-o", "out")
            self.assertCode(2, result)
            self.assertOneLine("qo-cmc: deep.json: is nested deeper than 32 levels", result)

    def test_text_that_is_no_json_is_refused_with_the_place(self):
        self.file("cut.json", b'{"schema": 1')
        result = self.run_tool("pack", "cut.json", "-o", "out")
        self.assertCode(2, result)
        start = "qo-cmc: cut.json: not JSON, or more than one object: parse error at line 1, column 13"
        self.assertOneLine(start, result)

    def test_the_ending_of_a_picture_is_read_in_any_case(self):
        for name, start in [("A.PNG", b"\x89PNG"), ("B.Html", b"<!DOCTYPE html>"), ("C.CSV", b"light,")]:
            with self.subTest(name):
                self.assertCode(0, self.run_tool("shading", "sample.vexb", "-o", name))
                self.assertEqual(start, self.bytes_of(name)[: len(start)])

    def test_files_that_cannot_be_written_end_with_2(self):
        self.file("dump.json", self.run_tool("dump", "--json", "sample.vexb").out)
        os.symlink("/dev/full", self.folder / "full.csv")
        self.file("file", b"")
        for arguments, name, reason in [
            (["pack", "dump.json", "-o", "/dev/full"], "/dev/full", "No space left on device"),
            (["pack", "dump.json", "-o", "."], ".", "Is a directory"),
            (["pack", "dump.json", "-o", "no/where"], "no/where", "No such file or directory"),
            (["shading", "sample.vexb", "-o", "full.csv"], "full.csv", "No space left on device"),
            (["shading", "sample.vexb", "-o", "no/t.csv"], "no/t.csv", "No such file or directory"),
            (["sample", "file"], "file", "Not a directory"),
        ]:
            with self.subTest(arguments):
                result = self.run_tool(*arguments)
                self.assertCode(2, result)
                self.assertOneLine(f"qo-cmc: {name}", result)
                self.assertIn(reason, result.error_lines[0])

    def test_a_regular_file_that_could_not_be_written_whole_is_removed(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000))
            # Or the process would end by the signal.
            import signal

            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)

        result = self.run_tool("sample", "made", preexec_fn=limit)
        self.assertCode(2, result)
        self.assertOneLine("qo-cmc: made/sample.vexb: File too large", result)
        self.assertFalse((self.folder / "made/sample.vexb").exists())

    def test_the_sample_is_the_same_each_time(self):
        self.assertCode(0, self.run_tool("sample", "deep/er"))
        self.assertCode(0, self.run_tool("sample", "deep/er"))
        for name in ["sample.vexb", "sample.nvm"]:
            self.assertEqual(self.bytes_of(name), self.bytes_of(f"deep/er/{name}"))


if __name__ == "__main__":
    unittest.main()
