"""Help, version and wrong usage."""

import re
import unittest

import tool


class Usage(tool.ToolTest):
    def test_help_goes_to_standard_output_with_0(self):
        for arguments in [["--help"], ["-h"], *[[verb, "--help"] for verb in tool.VERBS]]:
            with self.subTest(arguments):
                result = self.run_tool(*arguments)
                self.assertCode(0, result)
                self.assertEqual(b"", result.err)
                self.assertIn(b"Usage: qo-cmc", result.out)
                self.assertIn(b"Exit codes", result.out)

    def test_help_lists_every_verb(self):
        text = self.run_tool("--help").out.decode()
        listed = re.findall(r"^  (\w+) {2,}", text[text.index("Verbs:") : text.index("Exit codes")], re.M)
        self.assertEqual(tool.VERBS, listed)

    def test_version_says_what_is_linked(self):
        result = self.run_tool("--version")
        self.assertCode(0, result)
        header = (tool.ROOT / "include/qo_cmc/version.h").read_text()
        numbers = re.findall(r"^#define QO_CMC_VERSION_[A-Z]+ (\d+)", header, re.MULTILINE)
        self.assertEqual(3, len(numbers))
        version = ".".join(numbers)
        self.assertEqual(
            [f"qo-cmc {version}", "linked with stand-ins of the stack's libraries"], result.lines
        )

    def test_wrong_usage_ends_with_2_and_one_line(self):
        for arguments in [
            [],
            ["--nonsense"],
            ["nonsense"],
            ["esc\x1b[31m\n"],
            ["check"],
            ["records"],
            ["dump"],
            ["hex"],
            ["shading"],
            ["diff"],
            ["diff", "sample.vexb"],
            ["diff", "sample.vexb", "sample.vexb", "sample.vexb"],
            ["pack"],
            ["sample"],
            ["check", "--nonsense", "sample.vexb"],
            ["check", "--nvm"],
            ["check", "sample.vexb", "--nvm"],
            ["check", "--color", "sometimes", "sample.vexb"],
            ["check", "-j", "0", "sample.vexb"],
            ["check", "-j", "257", "sample.vexb"],
            ["check", "-j", "many", "sample.vexb"],
            ["records", "sample.vexb", "--nvm", "sample.nvm"],
            ["dump", "--record", "-1", "sample.vexb"],
            ["dump", "--record", "65536", "sample.vexb"],
            ["dump", "--record", "4", "sample.vexb"],
            ["dump", "--record", "lens", "sample.vexb"],
            ["hex", "--record", "70000", "sample.vexb"],
            ["shading", "sample.vexb"],
            ["shading", "sample.vexb", "-o", "out"],
            ["shading", "sample.vexb", "-o", "out.jpeg"],
            ["shading", "sample.vexb", "-o", "-"],
            ["shading", "sample.vexb", "sample.vexb", "-o", "out.png"],
            ["pack", "sample.vexb"],
            ["pack", "sample.vexb", "-o", "out", "--checksum", "3"],
            ["pack", "sample.vexb", "-o", "-"],
            ["sample", "a", "b"],
        ]:
            with self.subTest(arguments):
                result = self.run_tool(*arguments)
                self.assertCode(2, result)
                self.assertEqual(b"", result.out)
                self.assertOneLine("qo-cmc: ", result)
                self.assertHarmless(result.err)
        self.assertEqual(
            {"sample.vexb", "sample.nvm"}, {each.name for each in self.folder.iterdir()}
        )

    def test_what_help_calls_a_verb_is_called_so_where_it_is_missing(self):
        result = self.run_tool()
        self.assertOneLine("qo-cmc: usage: a verb is missing (qo-cmc --help lists them)", result)


if __name__ == "__main__":
    unittest.main()
