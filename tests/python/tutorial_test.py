"""The tutorial runs to its end, and draws what its page shows."""

import os
import re
import subprocess
import sys
from pathlib import Path

import matplotlib.image
import numpy as np
import pytest

ROOT = Path(os.environ["QO_ROOT"])
DOCS = ROOT / "docs"
TUTORIAL = ROOT / "examples/python/tutorial.py"
PAGE = (DOCS / "python.md").read_text(encoding="utf-8")


def run(*arguments):
    return subprocess.run(
        [sys.executable, "-B", TUTORIAL, *arguments], capture_output=True, text=True
    )


@pytest.fixture(scope="module")
def drawn(tmp_path_factory):
    """The folder that it drew into, and what it printed."""
    folder = tmp_path_factory.mktemp("tutorial")
    done = run(folder)
    assert (0, "") == (done.returncode, done.stderr)
    return folder, done.stdout


def test_it_draws_the_pictures_of_its_page(drawn):
    folder, _ = drawn
    shown = set(re.findall(r"\]\((python_\w+\.png)\)", PAGE))
    assert len(shown) > 1
    assert shown == {path.name for path in folder.iterdir()}
    for name in shown:
        new = matplotlib.image.imread(folder / name)
        kept = matplotlib.image.imread(DOCS / name)
        assert new.shape == kept.shape, name
        # Rounding of a line's place may differ between processors.
        other = (abs(new - kept) > 2 / 255).any(axis=-1)
        assert np.count_nonzero(other) < 0.002 * other.size, name


def test_what_it_prints_stands_on_its_page(drawn):
    part = PAGE.split("## A tutorial", 1)[1]
    block = re.search(r"```output\n(.*?)```", part, re.S)
    assert block[1] == drawn[1]


def test_it_says_how_it_is_used():
    done = run()
    assert (1, "usage: tutorial.py FOLDER\n") == (done.returncode, done.stderr)
