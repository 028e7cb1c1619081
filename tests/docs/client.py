"""The library as a client has it: installed, with the stand-ins, beside a sample to read."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import pages


class ClientTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(tempfile.mkdtemp(prefix="qo_docs_"))
        cls.addClassCleanup(shutil.rmtree, cls.work)
        cls.prefix = cls.work / "prefix"
        for component in [], ["--component", "standins"]:
            cls.run_tool(pages.CMAKE, "--install", pages.BUILD, "--prefix", cls.prefix, *component)
        cls.run_tool(os.environ["QO_CMC"], "sample", cls.work)
        cls.include = cls.prefix / "include"
        cls.library = cls.folder_of("libqo_cmc_parser.so")
        cls.standins = cls.folder_of("libqo_nvm.so")
        # For the loader, and for the linker, which follows what the library needs.
        cls.environment = {**os.environ, "LD_LIBRARY_PATH": f"{cls.library}:{cls.standins}"}

    @classmethod
    def folder_of(cls, name):
        return next(cls.prefix.rglob(name)).parent

    @staticmethod
    def run_tool(*command, **options):
        """What the command prints; what is wrong with it becomes the failure's message."""
        done = subprocess.run(
            [str(word) for word in command],
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
            **options,
        )
        if done.returncode != 0:
            raise AssertionError(f"{command[0]} ends with {done.returncode}:\n{done.stdout}")
        return done.stdout
