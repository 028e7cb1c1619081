"""What is wrong with many containers: in order, whatever the files are."""

import csv
import doctest
import importlib
import io
import json
import os
import pathlib
import subprocess
import sys

import pytest
from fleet_modules import container_of, many_processes, random_tables

import qo_cmc
from qo_cmc import fleet


@pytest.fixture(scope="module")
def container():
    return container_of(random_tables(1))


@pytest.mark.parametrize("name", ["checks", "false_alarms", "shading"])
def test_examples_in_docstrings_give_what_they_say(name):
    tried = doctest.testmod(importlib.import_module(f"qo_cmc.fleet.{name}"))
    assert tried.attempted > 0 and tried.failed == 0


def bad_files(folder, container):
    """Paths, with what is expected of each: valid, and a part of the error or a code."""
    cut, noise, empty, fifo, secret = (folder / name for name in ("cut", "noise", "0", "fifo", "s"))
    cut.write_bytes(container[:-9])
    noise.write_bytes(bytes(range(256)) * 9)
    empty.write_bytes(b"")
    os.mkfifo(fifo)
    secret.symlink_to("nowhere")
    good = folder / "good"
    good.write_bytes(container)
    return [
        (good, True, None),
        (cut, False, "size-mismatch"),
        (folder / "missing", None, "No such file or directory"),
        (noise, False, "size-mismatch"),
        (folder, None, "Is a directory"),
        (empty, False, "container-too-short"),
        (fifo, None, "Is no regular file"),
        ("/dev/zero", None, "Is no regular file"),
        (secret, None, "No such file or directory"),
        ("a\0b", None, "ValueError: embedded null byte"),
        (good, True, None),
    ]


@pytest.mark.parametrize("workers", [0, pytest.param(2, marks=many_processes)])
def test_bad_files_are_told_apart_and_stop_nothing(tmp_path, container, workers):
    expected = bad_files(tmp_path, container)
    report = fleet.check([path for path, _, _ in expected], workers=workers)
    assert [str(path) for path, _, _ in expected] == [each.path for each in report]
    assert [valid for _, valid, _ in expected] == [each.valid for each in report]
    for (_, valid, why), each in zip(expected, report):
        codes = [finding.code for finding in each.findings if finding.severity == "error"]
        assert (why if valid is None else None) == each.error
        assert ([why] if valid is False else []) == codes


def test_findings_are_those_of_a_single_check(tmp_path, container):
    path = tmp_path / "module"
    path.write_bytes(qo_cmc.sample_container())
    nvm = tmp_path / "nvm"
    nvm.write_bytes(qo_cmc.sample_nvm())
    for image in None, nvm:
        (each,) = fleet.check([path], image, workers=0)
        expected = qo_cmc.check(path, image)
        assert (expected.valid, tuple(expected.findings)) == (each.valid, each.findings)


def test_twenty_thousand_paths_of_a_generator_come_in_order(tmp_path, container):
    names = [tmp_path / f"{number}" for number in range(7)]
    for number, name in enumerate(names):
        name.write_bytes(container if number % 3 else b"none")
    paths = (names[number * number % 7] for number in range(20_000))
    reports = fleet.iter_check(paths, workers=0)
    for number, each in enumerate(reports):
        assert str(names[number * number % 7]) == each.path
        assert (number * number % 7 % 3 != 0) == each.valid
    assert 19_999 == number


def test_no_paths_give_an_empty_report():
    report = fleet.check([], workers=0)
    assert [] == list(report)
    assert "<CheckReport: 0 files, 0 valid, 0 not valid, 0 not checked>" == repr(report)


@pytest.fixture
def merging(tmp_path):
    """Two modules, with an NVM image that is refused."""
    paths = [tmp_path / "a.vexb", tmp_path / "b.vexb"]
    for path in paths:
        path.write_bytes(qo_cmc.sample_container())
    image = tmp_path / "bad.nvm"
    image.write_bytes(b"no image")
    return paths, image


def is_refused(report):
    return [any(each.code == "nvm-refused" for each in file.findings) for file in report]


@pytest.mark.parametrize(
    ("form", "expected"),
    [
        (lambda a, b, image: None, [False, False]),
        (lambda a, b, image: image, [True, True]),
        (lambda a, b, image: os.fsencode(image), [True, True]),
        (lambda a, b, image: {a: None, b: image}, [False, True]),
        (lambda a, b, image: {str(a): image, str(b): None}, [True, False]),
        (lambda a, b, image: {a: image}.get, [True, False]),
        (lambda a, b, image: [None, str(image)], [False, True]),
        (lambda a, b, image: (image, None), [True, False]),
    ],
)
def test_nvm_images_are_named_in_any_form(merging, form, expected):
    (a, b), image = merging
    assert expected == is_refused(fleet.check([a, b], form(a, b, image), workers=0))


def test_forms_of_nvm_that_cannot_be_right_are_refused(merging):
    paths, image = merging
    with pytest.raises(ValueError, match="nvm has 1 elements, expected 2, as paths has"):
        fleet.check(paths, [image], workers=0)
    with pytest.raises(ValueError, match="zip"):
        fleet.check(iter(paths), [image], workers=0)
    with pytest.raises(TypeError, match="nvm is int, expected a path, a mapping, a function or"):
        fleet.check(paths, 3, workers=0)
    with pytest.raises(LookupError, match="nvm has no entry for '.*b.vexb'"):
        fleet.check(paths, {paths[0]: image}, workers=0)


def test_an_nvm_image_that_cannot_be_read_is_named(merging):
    paths, image = merging
    (each,) = fleet.check(paths[:1], "no image", workers=0)
    assert "No such file or directory: 'no image'" == each.error
    assert each.valid is None


@pytest.mark.parametrize("path", ["module.vexb", b"module.vexb", pathlib.Path("module.vexb")])
def test_a_single_path_is_not_taken_for_many(path):
    for function in fleet.check, fleet.iter_check, fleet.shading_statistics:
        with pytest.raises(TypeError, match="^paths is .*, expected an iterable of paths$"):
            function(path, workers=0)


def test_the_package_has_it_as_an_attribute_and_imports_it_when_it_is_used():
    program = "import sys, qo_cmc; assert 'qo_cmc.fleet' not in sys.modules; qo_cmc.fleet.check"
    subprocess.run([sys.executable, "-c", program], check=True)


def test_arguments_that_cannot_be_right_are_refused():
    with pytest.raises(ValueError, match="workers is -1, expected 0, for this process, or more"):
        fleet.check([], workers=-1)
    with pytest.raises(ValueError, match="workers is for processes of this machine"):
        fleet.check([], workers=1, client=object())
    with pytest.raises(TypeError, match="client is object, expected a distributed.Client"):
        fleet.check([], client=object())


@pytest.fixture
def mixed(tmp_path, container):
    """A report of valid, refused and missing files, one of them with a name that is no text."""
    odd = os.fsencode(tmp_path) + b"/\xff\x7f,\"\n"
    with open(odd, "wb") as file:
        file.write(container)
    short = tmp_path / "kürzer"
    short.write_bytes(b"vexb")
    sample = tmp_path / "sample"
    sample.write_bytes(qo_cmc.sample_container())
    return fleet.check([odd, short, sample, tmp_path / "missing"], workers=0)


def test_lines_of_json_parse_back(mixed, tmp_path):
    mixed.to_ndjson(tmp_path / "lines")
    text = io.StringIO()
    mixed.to_ndjson(text)
    raw = (tmp_path / "lines").read_bytes()
    assert raw == text.getvalue().encode("ascii")
    lines = [json.loads(line) for line in raw.splitlines()]
    assert [each.to_dict() for each in mixed] == lines
    assert {"bytes": os.fsencode(mixed[0].path).hex()} == lines[0]["file"]
    assert [True, False, True, None] == [line["valid"] for line in lines]
    assert "No such file or directory" == lines[3]["error"]


@pytest.mark.skipif("QO_CMC" not in os.environ, reason="the inspector is not built")
def test_lines_are_the_inspectors_but_for_the_error(mixed, tmp_path):
    text = io.StringIO()
    mixed[:3].to_ndjson(text)
    printed = subprocess.run(
        [os.environ["QO_CMC"], "check", "--json", *[os.fsencode(each.path) for each in mixed[:3]]],
        capture_output=True,
        check=False,
    )
    assert printed.stdout.decode("ascii") == text.getvalue().replace(',"error":null', "")


def test_the_table_parses_back(mixed, tmp_path):
    mixed.to_csv(tmp_path / "table")
    with open(tmp_path / "table", encoding="utf-8", errors="surrogateescape", newline="") as file:
        rows = list(csv.DictReader(file))
    expected = []
    for each in mixed:
        for finding in each.findings or [None]:
            code = "" if finding is None else finding.code
            offset = "" if finding is None or finding.offset is None else str(finding.offset)
            record = "" if finding is None or finding.record is None else str(finding.record.id)
            valid = {True: "true", False: "false", None: ""}[each.valid]
            expected.append((each.path, valid, each.error or "", code, offset, record))
    keys = ["file", "valid", "error", "code", "offset", "record_id"]
    assert expected == [tuple(row[key] for key in keys) for row in rows]


def test_a_table_holds_any_name_of_a_file(tmp_path):
    names = ["line\nfeed", "carriage\rreturn", "\r", 'a, "b"', "=1+1", "\udcfe"]
    table = tmp_path / "table"
    fleet.check([f"/nowhere/{name}" for name in names], workers=0).to_csv(table)
    with open(table, encoding="utf-8", errors="surrogateescape", newline="") as file:
        read = [row["file"] for row in csv.DictReader(file)]
    assert [f"/nowhere/{name}" for name in names] == read
    assert table.read_bytes().splitlines(keepends=True)[0].endswith(b",field\n")


def test_a_report_is_a_list_that_counts(mixed):
    assert 4 == len(mixed)
    assert mixed[-1].path.endswith("missing")
    assert [mixed[1], mixed[2]] == list(mixed[1:3])
    assert mixed[:4] == mixed != mixed[:3]
    assert 1 == mixed.codes["container-too-short"]
    assert sum(mixed.codes.values()) == sum(len(each.findings) for each in mixed)


def test_a_bar_is_shown_when_it_is_asked_for(mixed, capsys):
    paths = [each.path for each in mixed]
    fleet.check(paths, workers=0)
    assert "" == capsys.readouterr().err
    fleet.check(paths, workers=0, progress=True)
    assert "4/4" in capsys.readouterr().err
