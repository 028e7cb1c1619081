"""The completions of bash, zsh and fish offer what --help lists, and nothing else."""

import re
import shutil
import subprocess
import unittest

import tool

FOLDER = tool.ROOT / "tools/qo_cmc/completions"
VALUES = {"--color": {"auto", "always", "never"}, "--checksum": {"1", "2"}}


class Completions(tool.ToolTest):
    def options_of(self, *verb):
        """The options in the help of a verb, or of the program."""
        text = self.run_tool(*verb, "--help").out.decode()
        names = set()
        for line in re.findall(r"^  (-\S+)", text, re.M):
            names.update(line.split(","))
        self.assertIn("--help", names)
        return names

    def bash(self, *words):
        """What bash offers after these words, the last of them unfinished."""
        script = (
            f'source "{FOLDER}/qo-cmc.bash"\n'
            'COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))\n'
            '_qo_cmc\nprintf "%s\\n" "${COMPREPLY[@]}"'
        )
        done = subprocess.run(
            ["bash", "-uc", script, "bash", "qo-cmc", *words],
            cwd=self.folder,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            check=True,
        )
        self.assertEqual(b"", done.stderr)
        return set(done.stdout.decode().split())

    def fish(self, *words):
        line = " ".join(["qo-cmc", *words])
        done = subprocess.run(
            ["fish", "--no-config", "-c",
             f'source "{FOLDER}/qo-cmc.fish"; complete -C {line!r}'],
            cwd=self.folder,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            check=True,
        )
        self.assertEqual(b"", done.stderr)
        return {each.split("\t")[0] for each in done.stdout.decode().splitlines()}

    def zsh_options_of(self, verb):
        """As written in the function's branch of the verb; names in braces are alternatives."""
        text = (FOLDER / "_qo-cmc").read_text()
        branch = re.search(rf"^    {verb}\)\n(.*?);;", text, re.M | re.S).group(1)
        for name in re.findall(r"\$(help|jobs|json|color)\b", branch):
            branch += re.search(rf"^  {name}=\((.*)\)$", text, re.M).group(1)
        return set(re.findall(r"(?<![\w-])(--?[a-z][a-z-]*)(?=[\[,}])", branch))

    def test_bash_offers_what_help_lists(self):
        self.assertEqual({*tool.VERBS, *self.options_of()}, self.bash("") | self.bash("-"))
        self.assertEqual({"check"}, self.bash("c"))
        for verb in tool.VERBS:
            with self.subTest(verb):
                self.assertEqual(self.options_of(verb), self.bash(verb, "-"))
                self.assertEqual({"sample.vexb", "sample.nvm"}, self.bash(verb, "sam"))
        for option, values in VALUES.items():
            self.assertEqual(values, self.bash("pack", option, ""))

    @unittest.skipUnless(shutil.which("fish"), "fish is not installed")
    def test_fish_offers_what_help_lists(self):
        self.assertEqual(set(tool.VERBS), self.fish("''"))
        self.assertEqual(self.options_of(), self.fish("-"))
        for verb in tool.VERBS:
            with self.subTest(verb):
                self.assertEqual(self.options_of(verb), self.fish(verb, "-"))
        self.assertEqual(VALUES["--color"], self.fish("check", "--color", "''"))
        self.assertEqual(VALUES["--checksum"], self.fish("pack", "--checksum", "''"))

    def test_zsh_offers_what_help_lists(self):
        text = (FOLDER / "_qo-cmc").read_text()
        self.assertEqual(tool.VERBS, re.findall(r"^    '(\w+):", text, re.M))
        for verb in tool.VERBS:
            with self.subTest(verb):
                self.assertEqual(self.options_of(verb), self.zsh_options_of(verb))
        for values in VALUES.values():
            listed = re.findall(r":\(([^()]*)\)'", text)
            self.assertIn(values, [set(each.split()) for each in listed])

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_can_read_its_completion(self):
        subprocess.run(["zsh", "-n", FOLDER / "_qo-cmc"], check=True)


if __name__ == "__main__":
    unittest.main()
