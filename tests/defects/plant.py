"""Plants defects in a copy of this tree, one at a time, and asks the tests whether they notice.

    tests/defects/plant.py [REGEX]       all of them, or those whose names or classes match

`./dev defects` runs it. The copy and its two builds stand in build/defects/ and are kept, so that a
second run compiles little. A defect survives when none of its tests fails. One whose place is not
found exactly once, one that does not compile and one whose tests do not run here are errors: nothing
was learned from them. So is a test that fails before anything is planted.
"""

import os
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import time
import xml.etree.ElementTree

import known_defects

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build" / "defects"
TREE = WORK / "tree"
NOT_COPIED = {".git", "build", "out"}

# A loop without an end is a failure too, and found soon. What a defect asks of the heap must not
# take the machine along; the sanitizer's own address space is too large for the limit.
SECONDS_FOR_A_TEST = 45
MEGABYTES = 4096

BUILDS = {
    "plain": {
        "cmake": ["-DCMAKE_C_FLAGS_DEBUG=-O1 -DNDEBUG", "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -DNDEBUG"],
        "environment": {},
    },
    "asan": {
        "cmake": [
            "-DCMAKE_C_COMPILER=clang-14",
            "-DCMAKE_CXX_COMPILER=clang++-14",
            "-DCMAKE_C_FLAGS_DEBUG=-O1 -DNDEBUG -g1",
            "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -DNDEBUG -g1",
            "-DQO_SANITIZE=address,undefined,float-cast-overflow",
            "-DQO_ROWS=base",
        ],
        "environment": {
            "ASAN_OPTIONS": "detect_leaks=0:allocator_may_return_null=1"
            f":max_allocation_size_mb={MEGABYTES}:hard_rss_limit_mb={MEGABYTES}"
        },
    },
}


class Trouble(Exception):
    """Why nothing can be said about a defect."""


def run(command, limit=False, environment=None):
    """Runs a command; answers its exit code and what it printed."""

    def keep_small():
        bytes_ = MEGABYTES << 20
        resource.setrlimit(resource.RLIMIT_AS, (bytes_, bytes_))

    done = subprocess.run(
        [str(word) for word in command],
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        env={**os.environ, **(environment or {})},
        preexec_fn=keep_small if limit else None,
        check=False,
    )
    return done.returncode, done.stdout.decode(errors="replace")


def files_of(folder):
    """Every file of a tree but those that are built, relative to it."""
    for at, folders, names in os.walk(folder):
        if pathlib.Path(at) == folder:
            folders[:] = [name for name in folders if name not in NOT_COPIED]
        for name in names:
            yield (pathlib.Path(at) / name).relative_to(folder)


def copy_tree():
    """Makes the copy what this tree is. A file that is the same keeps its time, and its objects."""
    wanted = set(files_of(ROOT))
    for name in set(files_of(TREE)) - wanted:
        (TREE / name).unlink()
    for name in wanted:
        source, copy = ROOT / name, TREE / name
        if not copy.is_file() or copy.read_bytes() != source.read_bytes():
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(source, copy)


class Build:
    """One configured build of the copy."""

    def __init__(self, name, jobs):
        self.folder = WORK / name
        self.jobs = jobs
        self.limit = name != "asan"
        self.environment = BUILDS[name]["environment"]
        # A defect may leave something unused: that is not what is asked about.
        settings = ["-DCMAKE_BUILD_TYPE=Debug", "-DQO_BUILD_TESTS=ON", "-DQO_WERROR=OFF"]
        code, said = run(["cmake", "-S", TREE, "-B", self.folder, *settings, *BUILDS[name]["cmake"]])
        if code != 0:
            raise Trouble(f"the {name} build cannot be configured:\n{said}")

    def tests(self, regex):
        """Names of the tests that a regular expression finds, one at least."""
        _, said = run(["ctest", "--test-dir", self.folder, "-N", "-R", regex])
        found = re.findall(r"^ *Test *#\d+: (\S+)", said, re.M)
        if not found:
            raise Trouble(f"no test's name matches '{regex}'")
        return found

    def make(self, tests):
        """Builds the programs of tests."""
        # What follows a dot is how a program is run: with which table, on which inputs.
        programs = sorted({test.partition(".")[0] for test in tests})
        code, said = run(
            ["cmake", "--build", self.folder, "--parallel", self.jobs, "--target", *programs]
        )
        if code != 0:
            raise Trouble(f"it does not compile:\n{said}")

    def results(self, regex):
        """Runs tests; answers what became of each: 'run', 'fail', 'notrun' ..."""
        report = self.folder / "results.xml"
        report.unlink(missing_ok=True)
        _, said = run(
            ["ctest", "--test-dir", self.folder, "-R", regex, "--parallel", self.jobs]
            + ["--timeout", SECONDS_FOR_A_TEST, "--output-junit", report],
            self.limit,
            self.environment,
        )
        if not report.is_file():
            raise Trouble(f"the tests do not run:\n{said}")
        cases = xml.etree.ElementTree.parse(report).iter("testcase")
        return {case.get("name"): case.get("status") for case in cases}


def check_undamaged(build, defects):
    """Builds and runs the tests of all defects as they are. None of those may have gone."""
    regex = "|".join(sorted({defect.tests for defect in defects}))
    build.make(build.tests(regex))
    results = build.results(regex)
    failed = sorted(test for test, status in results.items() if status == "fail")
    if failed:
        raise Trouble(f"these tests fail before anything is planted: {', '.join(failed)}")
    for defect in defects:
        for regex in defect.tests.split("|"):
            if not any(results.get(test) == "run" for test in build.tests(regex)):
                raise Trouble(f"{defect.name}: no test that '{regex}' finds runs here")


def plant(defect, build):
    """The tests that fail with the defect. The copy is whole again afterwards."""
    place = TREE / defect.file
    text = place.read_text()
    found = text.count(defect.find)
    if found != 1:
        raise Trouble(f"its place is found {found} times in {defect.file}")
    place.write_text(text.replace(defect.find, defect.replace))
    try:
        build.make(build.tests(defect.tests))
        results = build.results(defect.tests)
    finally:
        place.write_text(text)
    return sorted(test for test, status in results.items() if status == "fail")


def table(rows):
    widths = [max(len(row[column]) for row in rows) for column in range(2)]
    for name, kind, outcome in rows:
        print(f"{name:{widths[0]}}  {kind:{widths[1]}}  {outcome}")


def main():
    wanted = re.compile(sys.argv[1] if len(sys.argv) > 1 else "")
    jobs = os.environ.get("QO_JOBS") or str(os.cpu_count())
    chosen = [
        defect
        for defect in known_defects.DEFECTS
        if wanted.search(defect.name) or wanted.search(defect.kind)
    ]
    if not chosen:
        sys.exit(f"no defect's name or class matches '{wanted.pattern}'")
    start = time.monotonic()
    copy_tree()
    builds = {}
    for name in dict.fromkeys(defect.build for defect in chosen):
        print(f"Undamaged: {name}", flush=True)
        builds[name] = Build(name, jobs)
        check_undamaged(builds[name], [defect for defect in chosen if defect.build == name])

    rows, survivors, errors = [("defect", "class", "caught by")], 0, 0
    for number, defect in enumerate(chosen, 1):
        print(f"[{number}/{len(chosen)}] {defect.name}", flush=True)
        try:
            caught_by = plant(defect, builds[defect.build])
            outcome = ", ".join(caught_by) or "nothing: it SURVIVES"
            survivors += not caught_by
        except Trouble as trouble:
            print(trouble, flush=True)
            outcome = f"ERROR: {str(trouble).splitlines()[0]}"
            errors += 1
        rows.append((defect.name, defect.kind, outcome))

    print()
    table(rows)
    caught = len(chosen) - survivors - errors
    minutes = (time.monotonic() - start) / 60
    print(f"\n{caught} of {len(chosen)} caught, {survivors} survive, {errors} errors; {minutes:.1f} min")
    sys.exit(1 if survivors or errors else 0)


if __name__ == "__main__":
    try:
        main()
    except Trouble as trouble:
        sys.exit(f"plant.py: {trouble}")
