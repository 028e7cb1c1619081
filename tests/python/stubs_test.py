"""The type stubs say what the package is, and strict users of it are accepted."""

import os
import subprocess
import sys
from pathlib import Path

import qo_cmc

PACKAGE = Path(qo_cmc.__file__).parent
SAMPLE = Path(__file__).parent / "typed_sample.py"


# Lines that mypy has to refuse, and why; what is right about them stands in the sample.
WRONG = [
    ("qo_cmc.resize_2d_array_uint16(floats, (5, 5))", "arg-type"),
    ("qo_cmc.resize_2d_array_uint16(np.zeros((3, 3), np.uint16), 5)", "arg-type"),
    ("qo_cmc.mul_mm(floats)", "call-arg"),
    ("qo_cmc.lu_decomposition((5, 5))[4]", "misc"),
    ("qo_cmc.StatusError('').status = 'x'", "assignment"),
]

# What stubtest says of every class that pybind11 makes.
OF_PYBIND11 = ("metaclass differs", "__init__ is inconsistent")


def run(folder, *command):
    return subprocess.run([sys.executable, "-m", *command], capture_output=True, text=True,
                          cwd=folder, env={**os.environ, "MYPYPATH": str(PACKAGE.parent)})


def test_a_strict_user_of_everything_is_accepted_and_wrong_uses_are_not(tmp_path):
    source = tmp_path / "wrong.py"
    # What is imported is looked at as strictly: the package with its program.
    head = ("import numpy as np\nimport numpy.typing as npt\n\nimport qo_cmc\n"
            "import qo_cmc.fleet.__main__\nimport qo_cmc.plot\n\n"
            "floats: npt.NDArray[np.float32] = np.zeros((3, 3), np.float32)\n")
    source.write_text(head + "".join(f"{line}\n" for line, _ in WRONG))
    done = run(tmp_path, "mypy", "--strict", "--no-color-output", "--cache-dir",
               str(tmp_path / "cache"), str(SAMPLE), str(source))
    found = [line for line in done.stdout.splitlines() if ": error:" in line]
    expected = [(head.count("\n") + 1 + i, error) for i, (_, error) in enumerate(WRONG)]
    assert len(found) == len(expected), done.stdout + done.stderr
    for line, (number, error) in zip(found, expected):
        assert line.startswith(f"wrong.py:{number}: error:") and line.endswith(f"[{error}]"), line


def test_the_sample_uses_every_name_of_the_toolkit():
    used = SAMPLE.read_text()
    names = [name for name in dir(qo_cmc._toolkit) if not name.startswith("_")]
    assert len(names) > 29
    assert [name for name in names if f"qo_cmc.{name}" not in used] == []


def test_stubs_agree_with_the_modules(tmp_path):
    done = run(tmp_path, "mypy.stubtest", "--concise", "qo_cmc._toolkit", "qo_cmc._parsing")
    assert done.stderr == ""
    left = [line for line in done.stdout.splitlines()
            if not any(said in line for said in OF_PYBIND11) and not line.startswith("Found ")]
    assert left == []
