"""The type stubs say what the package is, and strict users of it are accepted."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

import qo_cmc

PACKAGE = Path(qo_cmc.__file__).parent
SAMPLE = Path(__file__).parent / "typed_sample.py"


def run(folder, *command):
    # mypy is no program that the sanitizers watch; it reads types only.
    kept = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
    return subprocess.run([sys.executable, "-m", *command], capture_output=True, text=True,
                          cwd=folder, env={**kept, "MYPYPATH": str(PACKAGE.parent)})


def strict(folder, source):
    return run(folder, "mypy", "--strict", "--no-color-output", "--cache-dir",
               str(folder / "cache"), str(source))


def test_a_user_of_everything_is_accepted_by_mypy(tmp_path):
    done = strict(tmp_path, SAMPLE)
    assert done.returncode == 0, done.stdout + done.stderr
    used = SAMPLE.read_text()
    toolkit = [name for name in dir(qo_cmc._toolkit) if not name.startswith("_")]
    assert [name for name in toolkit if f"qo_cmc.{name}" not in used] == []


@pytest.mark.parametrize("line,error", [
    ("qo_cmc.resize_2d_array_uint16(np.zeros((3, 3), np.float32), (5, 5))", "arg-type"),
    ("qo_cmc.resize_2d_array_uint16(np.zeros((3, 3), np.uint16), 5)", "arg-type"),
    ("qo_cmc.mul_mm(np.zeros((3, 3), np.float32))", "call-arg"),
    ("qo_cmc.lu_decomposition((5, 5))[4]", "misc"),
])
def test_a_wrong_use_is_found_by_mypy(tmp_path, line, error):
    source = tmp_path / "wrong.py"
    source.write_text(f"import numpy as np\n\nimport qo_cmc\n\n{line}\n")
    done = strict(tmp_path, source)
    assert done.returncode == 1
    assert f"[{error}]" in done.stdout


@pytest.mark.skipif("address" in os.environ.get("QO_SANITIZE", ""),
                    reason="stubtest loads the modules, and mypy would be watched with them")
def test_stubs_agree_with_the_modules(tmp_path):
    done = run(tmp_path, "mypy.stubtest", "qo_cmc._toolkit", "qo_cmc._parsing")
    assert done.returncode == 0, done.stdout + done.stderr
