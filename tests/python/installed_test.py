"""The installed package: what is installed where, and that nothing but the interpreter's path is
needed to use it. The tree that was built can be moved as well."""

import os
import pathlib
import re
import shutil
import subprocess

import pytest

BUILD = pathlib.Path(os.environ["QO_BUILD"])
SOURCES = pathlib.Path(os.environ["QO_ROOT"]) / "python/qo_cmc"
STANDINS = os.environ["QO_STANDINS"]

# The module that parses holds the library inside; what is resized is resized by the shared one.
USE = """
import qo_cmc
cmc = qo_cmc.parse(qo_cmc.sample_container(), nvm=qo_cmc.sample_nvm())
table = cmc.lens_shading.lights[0].tables[(0, 0)]
resized = qo_cmc.resize_2d_array_uint16(table, (13, 17))
print(qo_cmc.__file__, cmc.merged, table.shape, resized.shape, resized.dtype)
"""


def install(prefix, *arguments):
    subprocess.run(
        [os.environ["QO_CMAKE"], "--install", str(BUILD), "--prefix", str(prefix), *arguments],
        stdout=subprocess.DEVNULL, check=True,
    )  # fmt: skip


def files_below(folder):
    return sorted(str(each.relative_to(folder)) for each in folder.rglob("*") if each.is_file())


def package_below(prefix):
    (package,) = prefix.rglob("qo_cmc/__init__.py")
    return package.parent


def run_path_of(module):
    said = subprocess.run(
        ["readelf", "--dynamic", str(module)], capture_output=True, text=True, check=True
    ).stdout
    return re.findall(r"R(?:UN)?PATH.*\[(.*)\]", said)


def use(package, libraries):
    """What a program prints that has the package of this folder, and these folders of libraries."""
    return subprocess.run(
        [os.environ["QO_PYTHON"], "-B", "-c", USE],
        capture_output=True, text=True, check=False, cwd="/",
        env={"PYTHONPATH": str(package.parent), "LD_LIBRARY_PATH": ":".join(libraries)},
    )  # fmt: skip


def assert_it_works(package, libraries):
    said = use(package, libraries)
    assert said.stderr == ""
    assert said.stdout == f"{package}/__init__.py True (49, 65) (13, 17) uint16\n"


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    """A prefix with the library and the Python package."""
    folder = tmp_path_factory.mktemp("installed") / "the prefix"
    for component in ("runtime", "python"):
        install(folder, "--component", component)
    return folder


def test_the_component_holds_the_package_and_nothing_else(tmp_path):
    install(tmp_path, "--component", "python")
    package = package_below(tmp_path)
    sources = {
        str(each.relative_to(SOURCES))
        for pattern in ("*.py", "*.pyi", "py.typed")
        for each in SOURCES.rglob(pattern)
    }
    modules = {each.name for each in package.glob("*.so")}
    assert {each.split(".")[0] for each in modules} == {"_parsing", "_toolkit"}
    assert {"__init__.py", "py.typed"} <= sources
    folder = package.relative_to(tmp_path)
    assert files_below(tmp_path) == sorted(str(folder / each) for each in sources | modules)


def test_it_is_installed_where_the_interpreter_looks(prefix):
    said = subprocess.run(
        [os.environ["QO_PYTHON"], "-c", "import sys; print(*sys.path, sep='\\n')"],
        capture_output=True, text=True, check=True, env={},
    ).stdout  # fmt: skip
    folder = package_below(prefix).parent.relative_to(prefix)
    assert f"/usr/local/{folder}" in said.splitlines()


@pytest.mark.parametrize("component", ["runtime", "development", "docs", "tools", "standins"])
def test_other_components_hold_no_python(tmp_path, component):
    install(tmp_path, "--component", component)
    installed = files_below(tmp_path)
    assert installed or component == "tools"  # which this build may lack
    assert [each for each in installed if re.search(r"(dist|site)-packages|cpython|qo_cmc/[^/]*\.pyi?$", each)] == []


def test_the_library_is_found_in_the_prefix(prefix):
    assert_it_works(package_below(prefix), [STANDINS])


def test_the_prefix_can_be_moved(prefix, tmp_path):
    shutil.copytree(prefix, tmp_path / "moved")
    assert_it_works(package_below(tmp_path / "moved"), [STANDINS])


def test_the_library_is_the_one_of_the_prefix(prefix, tmp_path):
    shutil.copytree(prefix, tmp_path / "half")
    (library,) = (tmp_path / "half").rglob("libqo_cmc_parser.so")
    library.unlink()
    said = use(package_below(tmp_path / "half"), [STANDINS])
    assert "libqo_cmc_parser.so: cannot open shared object file" in said.stderr


def test_run_paths_lead_nowhere_else(prefix):
    package = package_below(prefix)
    (parsing,) = package.glob("_parsing.*.so")
    (toolkit,) = package.glob("_toolkit.*.so")
    (library,) = prefix.rglob("libqo_cmc_parser.so")
    assert run_path_of(parsing) == []
    assert run_path_of(toolkit) == [f"$ORIGIN/{os.path.relpath(library.parent, package)}"]


@pytest.mark.parametrize("module", ["_parsing", "_toolkit"])
def test_a_module_exports_only_what_is_asked_for(prefix, module):
    (binary,) = package_below(prefix).glob(f"{module}.*.so")
    said = subprocess.run(
        ["nm", "--dynamic", "--defined-only", "--format=posix", str(binary)],
        capture_output=True, text=True, check=True,
    ).stdout  # fmt: skip
    exported = {line.split()[0] for line in said.splitlines()}
    # The stack's own libraries take the log from the module, as they do from the inspector.
    assert exported == {f"PyInit_{module}"} | ({"qo_log"} if module == "_parsing" else set())


def test_a_built_module_looks_for_libraries_beside_itself_only():
    (toolkit,) = (BUILD / "python/qo_cmc").glob("_toolkit.*.so")
    (run_path,) = run_path_of(toolkit)
    assert run_path.split(":") == ["$ORIGIN/../../lib", "$ORIGIN/../../lib/platform"]


def test_a_built_tree_can_be_moved(tmp_path):
    shutil.copytree(BUILD / "python/qo_cmc", tmp_path / "built/python/qo_cmc")
    shutil.copytree(BUILD / "lib", tmp_path / "built/lib")
    assert_it_works(tmp_path / "built/python/qo_cmc", [])
