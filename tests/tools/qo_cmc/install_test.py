"""What a packager installs: the program by itself, its page, its completions, its schemas."""

import os
import pathlib
import subprocess
import unittest

import tool


class Install(tool.ToolTest):
    def test_everything_of_the_program_is_installed(self):
        root = self.folder / "system"
        subprocess.run(
            [os.environ["QO_CMAKE"], "--install", tool.BUILD],
            env={**os.environ, "DESTDIR": str(root)},
            stdout=subprocess.DEVNULL,
            check=True,
        )
        installed = {each.name: each for each in root.rglob("*") if each.is_file()}
        sources = tool.ROOT / "tools"
        for name, source in {
            "qo-cmc.1": tool.BUILD / "tools/qo_cmc/qo-cmc.1",
            "_qo-cmc": sources / "qo_cmc/completions/_qo-cmc",
            "qo-cmc.fish": sources / "qo_cmc/completions/qo-cmc.fish",
            "qo-cmc.schema.json": sources / "qo_cmc/schema/qo-cmc.schema.json",
            "slots.schema.json": sources / "document/slots.schema.json",
        }.items():
            with self.subTest(name):
                self.assertEqual(source.read_bytes(), installed[name].read_bytes())
        programs = sorted(
            str(each.relative_to(root)) for each in root.rglob("qo-cmc") if each.is_file()
        )
        self.assertEqual(2, len(programs), programs)  # in bin, and the completion of bash
        program = root / next(each for each in programs if "/bin/" in each)

        # Without the library, and without the stand-ins.
        needed = subprocess.run(
            ["readelf", "--dynamic", program], stdout=subprocess.PIPE, check=True
        ).stdout
        self.assertNotIn(b"libqo_", needed)
        self.assertNotIn(b"RUNPATH", needed)
        done = subprocess.run([program, "check", "--allow-warnings", "sample.vexb"], cwd=self.folder, stdout=subprocess.DEVNULL)
        self.assertEqual(0, done.returncode)


if __name__ == "__main__":
    unittest.main()
