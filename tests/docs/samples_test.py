"""Every program and every piece of CMake on the pages: compiled, run, its output compared."""

import json
import os
import sys
import unittest

import client
import pages

COMPILERS = {
    "c": [os.environ["QO_CC"], "-std=c11"],
    "cpp": [os.environ["QO_CXX"], "-std=c++20", "-pthread"],
}
WARNINGS = ["-Wall", "-Wextra", "-pedantic", "-Werror"]
KNOWN_LANGUAGES = {*COMPILERS, "python", "cmake", "sh", "output"}

PROJECT = """cmake_minimum_required(VERSION 3.25)
project(client LANGUAGES C CXX)
add_executable(client client.c)
"""
CLIENT = """#include <qo_cmc/parser.h>
int main(void) { return qo_cmc_parser_init(0) != 0; }
"""

# Runs blocks of Python, handed over as a list, one after the other as in a notebook, and prints a
# list of what each printed.
NOTEBOOK = """
import contextlib, io, json, sys
names, printed = {"__name__": "__main__"}, []
for place, text in json.load(sys.stdin):
    with contextlib.redirect_stdout(io.StringIO()) as output:
        exec(compile(text, place, "exec"), names)
    printed.append(output.getvalue())
json.dump(printed, sys.stdout)
"""


class Samples(client.ClientTest):
    def test_every_block_says_what_it_is(self):
        for page in pages.PAGES:
            for block in pages.blocks_of(page):
                with self.subTest(block.place):
                    self.assertIn(block.language, KNOWN_LANGUAGES)
                    if block.not_run is not None:
                        self.assertGreater(len(block.not_run.split()), 3, "that is no reason")

    def test_programs_compile_and_print_what_their_page_says(self):
        blocks = pages.all_blocks(*COMPILERS)
        self.assertGreater(len(blocks), 0)
        for block in blocks:
            with self.subTest(block.place):
                source = self.work / f"program.{block.language}"
                source.write_text(block.text)
                program = self.work / "program"
                self.run_tool(
                    *COMPILERS[block.language], *WARNINGS, source, "-o", program,
                    f"-I{self.include}", f"-I{self.standins}/include",
                    f"-L{self.library}", f"-L{self.standins}",
                    "-Wl,--as-needed", "-lqo_cmc_parser", "-lqo_nvm", "-lm", "-ldl",
                    env=self.environment,
                )  # fmt: skip
                printed = self.run_tool(
                    program, "sample.vexb", cwd=self.work, env=self.environment
                )
                if block.output is not None:
                    self.assertEqual(block.output, printed)

    @unittest.skipUnless("QO_PYTHON_PACKAGE" in os.environ, "the Python package is not built")
    def test_python_prints_what_its_page_says(self):
        count = 0
        for page in pages.PAGES:
            blocks = [block for block in pages.all_blocks("python") if block.page == page]
            if not blocks:
                continue
            # A page's blocks follow each other, as a reader would go through them.
            printed = self.run_tool(
                sys.executable, "-B", "-c", NOTEBOOK,
                input=json.dumps([(block.place, block.text) for block in blocks]),
                cwd=self.work,
                env={**os.environ, "PYTHONPATH": os.environ["QO_PYTHON_PACKAGE"]},
            )  # fmt: skip
            for block, output in zip(blocks, json.loads(printed)):
                with self.subTest(block.place):
                    count += 1
                    self.assertEqual(block.output or "", output)
        self.assertGreater(count, 0)

    def test_pieces_of_cmake_make_a_client(self):
        blocks = pages.all_blocks("cmake")
        self.assertGreater(len(blocks), 0)
        for number, block in enumerate(blocks):
            with self.subTest(block.place):
                folder = self.work / f"client_{number}"
                folder.mkdir()
                (folder / "CMakeLists.txt").write_text(PROJECT + block.text)
                (folder / "client.c").write_text(CLIENT)
                (folder / "qo_cmc_parser").symlink_to(pages.ROOT)
                build = folder / "build"
                self.run_tool(
                    pages.CMAKE, "-S", folder, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}",
                    f"-DCMAKE_C_COMPILER={COMPILERS['c'][0]}",
                    f"-DCMAKE_CXX_COMPILER={COMPILERS['cpp'][0]}",
                )  # fmt: skip
                # A library that is built along takes minutes: the test "consumers" does that.
                if "add_subdirectory" not in block.text:
                    self.run_tool(pages.CMAKE, "--build", build, env=self.environment)
                    self.run_tool(build / "client", env=self.environment)


if __name__ == "__main__":
    unittest.main()
