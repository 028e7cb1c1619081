"""The manual page: nothing is missing in it, and its examples do what they say."""

import os
import re
import shutil
import subprocess
import unittest

import tool

SOURCE = tool.ROOT / "tools/qo_cmc/qo-cmc.1.scd"
WHOLE = tool.BUILD / "tools/qo_cmc/qo-cmc.1.scd"
PAGE = tool.BUILD / "tools/qo_cmc/qo-cmc.1"


def section(text, title):
    return re.search(rf"^# {title}\n(.*?)(?=^# |\Z)", text, re.M | re.S).group(1)


def examples():
    """(what is said of it, its commands) for each example."""
    blocks = re.findall(r"^(\S[^\t]*?):\n\n\t(\$ .*?)\n\n", section(SOURCE.read_text(), "EXAMPLES"), re.M | re.S)
    for said, block in blocks:
        lines = [line.removesuffix("++") for line in block.replace("\t", "").split("\n")]
        yield " ".join(said.split()), [line.removeprefix("$ ").replace("\\*", "*") for line in lines]


class ManPage(tool.ToolTest):
    def setUp(self):
        super().setUp()
        self.text = SOURCE.read_text()

    def help_of(self, *verb):
        return self.run_tool(*verb, "--help").out.decode()

    def test_every_verb_is_described(self):
        described = re.findall(r"^\*(\w+)\* _", section(self.text, "VERBS"), re.M)
        self.assertEqual(tool.VERBS, described)

    def test_every_option_is_described(self):
        listed = set()
        for verb in [[], *[[each] for each in tool.VERBS]]:
            for line in re.findall(r"^  (-\S+)", self.help_of(*verb), re.M):
                listed.update(line.split(","))
        heads = re.findall(r"^(\*-.*)$", section(self.text, "OPTIONS"), re.M)
        described = {name for head in heads for name in re.findall(r"\*(-[a-z-]+)\*", head)}
        self.assertEqual(listed, described)

    def test_the_synopsis_has_the_options_of_each_verb(self):
        synopsis = section(self.text, "SYNOPSIS")
        for verb in tool.VERBS:
            line = re.search(rf"^\*qo-cmc {verb}\*.*$", synopsis, re.M) or re.search(
                rf"^\*qo-cmc {verb}.*$", synopsis, re.M
            )
            listed = set()
            for names in re.findall(r"^  (-\S+)", self.help_of(verb), re.M):
                listed.add(names.split(",")[0])
            with self.subTest(verb):
                self.assertEqual(listed - {"-h"}, set(re.findall(r"\*(-[a-z-]+)\*", line.group(0))))

    def test_every_exit_code_is_described(self):
        described = re.findall(r"^\*(\d)\*$", section(self.text, "EXIT CODES"), re.M)
        self.assertEqual(["0", "1", "2"], described)
        for verb in [[], *[[each] for each in tool.VERBS]]:
            tail = self.help_of(*verb).split("Exit codes")[1]
            self.assertEqual(described, re.findall(r"^  (\d)  ", tail, re.M))

    def test_every_code_is_there_with_severity_and_advice(self):
        # The table itself, read as text: the page is made from it by another way.
        table = (tool.ROOT / "tools/findings/codes.cpp").read_text()
        entries = re.findall(r'\{"([a-z0-9-]+)",\s*(note|warning|error),', table)
        self.assertGreater(len(entries), 40)
        findings = section(WHOLE.read_text(), "FINDINGS")
        described = re.findall(
            r"^\*([a-z0-9-]+)\* \((note|warning|error)\)\n\t\S.*\.\+\+\n\S.*\.$", findings, re.M
        )
        self.assertEqual(entries, described)
        self.assertNotIn("@findings@", WHOLE.read_text())

    @unittest.skipUnless(shutil.which("man"), "man is not installed")
    def test_the_page_can_be_shown(self):
        done = subprocess.run(
            ["man", "--warnings", "-l", PAGE],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            env={**os.environ, "MANWIDTH": "100", "LC_ALL": "C.UTF-8"},
            check=True,
        )
        self.assertEqual(b"", done.stderr)
        self.assertIn(b"checksum-mismatch", done.stdout)

    def test_every_example_runs(self):
        ran = 0
        environment = {
            **os.environ,
            "PATH": f"{tool.TOOL.parent}:{os.environ['PATH']}",
            "HOME": str(self.folder),
            "GIT_CONFIG_NOSYSTEM": "1",
        }
        subprocess.run(["git", "init", "-q"], cwd=self.folder, check=True)
        for said, commands in examples():
            for command in commands:
                with self.subTest(command):
                    done = subprocess.run(
                        ["sh", "-c", command],
                        cwd=self.folder,
                        env=environment,
                        stdout=subprocess.PIPE,
                        stderr=subprocess.PIPE,
                    )
                    self.assertEqual(0, done.returncode, done.stderr)
                    self.assertEqual(b"", done.stderr)
                    ran += 1
        self.assertEqual(self.text.count("$ qo-cmc") + self.text.count("$ git") + 1, ran)
        for made in ["shading.html", "shading.png", "other.json", "other.vexb"]:
            self.assertTrue((self.folder / made).stat().st_size, made)
        self.assertIn(b"second module", self.bytes_of("other.vexb"))

    def test_git_shows_the_fields_that_differ(self):
        """The example of git, to its end."""
        said, commands = next(each for each in examples() if "git" in each[0])
        environment = {
            **os.environ,
            "PATH": f"{tool.TOOL.parent}:{os.environ['PATH']}",
            "HOME": str(self.folder),
            "GIT_CONFIG_NOSYSTEM": "1",
        }

        def shell(command):
            return subprocess.run(
                ["sh", "-c", command],
                cwd=self.folder,
                env=environment,
                stdout=subprocess.PIPE,
                check=True,
            ).stdout.decode()

        shell("git init -q && git add sample.vexb")
        for command in commands[:-1]:
            shell(command)
        document = self.run_tool("dump", "--json", "sample.vexb").out
        for name, packed in [(b"second", "sample.vexb"), (b"third", "other.vexb")]:
            renamed = document.replace(b"sample module", name + b" module")
            if len(name) != len(b"sample"):
                renamed = renamed.replace(b'"size":112', b'"size":null', 1)
            self.file("other.json", renamed)
            self.assertCode(0, self.run_tool("pack", "other.json", "-o", packed))
        shown = shell("git -c core.pager=cat diff")
        changed = [line for line in shown.splitlines() if re.match(r"[-+](?![-+])", line)]
        self.assertEqual(2, len(changed), shown)
        self.assertIn("sample module", changed[0])
        self.assertIn("second module", changed[1])

        # One container that is not valid leaves the others to be seen.
        shell("git add sample.vexb")
        self.file("a.vexb", b"")
        shell("git add a.vexb")
        self.file("a.vexb", b"no container")
        self.file("sample.vexb", (self.folder / "other.vexb").read_bytes())
        self.assertIn("third module", shell("git -c core.pager=cat diff 2>/dev/null"))


if __name__ == "__main__":
    unittest.main()
