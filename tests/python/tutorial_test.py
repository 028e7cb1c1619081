"""The tutorial runs to its end, and draws what its page shows."""

import os
import re
import subprocess
import sys
from pathlib import Path

import matplotlib.image
import numpy as np

ROOT = Path(os.environ["QO_ROOT"])
DOCS = ROOT / "docs"
TUTORIAL = ROOT / "examples/python/tutorial.py"


def run(*arguments):
    return subprocess.run(
        [sys.executable, "-B", TUTORIAL, *arguments], capture_output=True, text=True
    )


def test_the_tutorial_draws_the_pictures_of_its_page(tmp_path):
    done = run(tmp_path)
    assert (0, "") == (done.returncode, done.stderr)
    page = (DOCS / "python.md").read_text(encoding="utf-8")
    shown = set(re.findall(r"\]\((python_\w+\.png)\)", page))
    assert len(shown) > 1
    assert shown == {path.name for path in tmp_path.iterdir()}
    for name in shown:
        drawn = matplotlib.image.imread(tmp_path / name)
        kept = matplotlib.image.imread(DOCS / name)
        assert drawn.shape == kept.shape, name
        # Rounding of a line's place may differ between processors.
        other = (abs(drawn - kept) > 2 / 255).any(axis=-1)
        assert np.count_nonzero(other) < 0.002 * other.size, name


def test_what_it_prints_stands_on_its_page(tmp_path):
    printed = run(tmp_path).stdout
    page = (DOCS / "python.md").read_text(encoding="utf-8")
    part = page.split("## A tutorial", 1)[1]
    block = re.search(r"```output\n(.*?)```", part, re.S)
    assert block[1] == printed


def test_it_says_how_it_is_used():
    done = run()
    assert (1, "usage: tutorial.py FOLDER\n") == (done.returncode, done.stderr)
