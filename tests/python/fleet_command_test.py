"""python3 -m qo_cmc.fleet, as the shell sees it."""

import csv
import io
import json
import os
import subprocess
import sys

import pytest
from fleet_modules import container_of, many_processes, random_tables, write_fleet

import qo_cmc
from qo_cmc import fleet
from qo_cmc.fleet import __main__ as command


def run(capfdbinary, *arguments):
    """The exit code, and what is printed. Without workers, which would need time to start."""
    code = command.main([*map(os.fsdecode, arguments), "-j", "0"])
    out, err = capfdbinary.readouterr()
    return code, out, err.decode()


@pytest.fixture
def good(tmp_path):
    path = tmp_path / "good.vexb"
    path.write_bytes(container_of(random_tables(1)))
    return path


@pytest.fixture
def planted(tmp_path):
    tables = [random_tables(seed) for seed in range(20)]
    tables[3][0, 0] += 2000
    return write_fleet(tmp_path, tables)


def test_good_containers_end_with_0(capfdbinary, good):
    code, out, err = run(capfdbinary, "check", good, good)
    assert (0, "") == (code, err)
    assert [str(good)] * 2 == [json.loads(line)["file"] for line in out.splitlines()]


def test_the_worst_file_makes_the_code(capfdbinary, tmp_path, good):
    refused = tmp_path / "refused"
    refused.write_bytes(b"")
    code, _, err = run(capfdbinary, "check", good, refused)
    assert (1, "") == (code, err)
    code, out, err = run(capfdbinary, "check", refused, tmp_path / "missing", good)
    assert (2, f"qo_cmc.fleet: '{tmp_path}/missing': No such file or directory\n") == (code, err)
    assert [False, None, True] == [json.loads(line)["valid"] for line in out.splitlines()]


def test_warnings_count_unless_they_are_allowed(capfdbinary, tmp_path, good):
    image = tmp_path / "bad.nvm"
    image.write_bytes(b"no image")
    code, out, _ = run(capfdbinary, "check", good, "--nvm", image)
    assert 1 == code
    assert "nvm-refused" in [each["code"] for each in json.loads(out)["findings"]]
    assert 0 == run(capfdbinary, "check", good, "--nvm", image, "--allow-warnings")[0]


def test_each_module_has_the_image_that_is_named_like_it(capfdbinary, tmp_path):
    for name in "ab":
        (tmp_path / f"{name}.vexb").write_bytes(qo_cmc.sample_container())
    (tmp_path / "a.nvm").write_bytes(qo_cmc.sample_nvm())
    paths = tmp_path / "a.vexb", tmp_path / "b.vexb"
    code, out, err = run(capfdbinary, "shading", *paths, "--nvm-suffix", ".nvm")
    group, left = map(json.loads, out.splitlines())
    assert (2, True, [str(paths[0])]) == (code, group["merged"], group["files"])
    assert f"No such file or directory: '{tmp_path}/b.nvm'" == left["reason"]
    assert left["reason"] in err


def test_paths_come_from_a_file_too(capfdbinary, tmp_path, good):
    odd = os.fsencode(tmp_path) + b"/\xfe\n"
    os.rename(good, odd)
    names = tmp_path / "names"
    names.write_bytes(odd + b"\0" + odd + b"\0")
    code, out, _ = run(capfdbinary, "check", "--files-from", names, "--null")
    assert 0 == code
    assert [{"bytes": odd.hex()}] * 2 == [json.loads(line)["file"] for line in out.splitlines()]
    code, out, _ = run(capfdbinary, "check", "-0", "--files-from", names, "--format", "csv")
    assert out.count(b'"' + odd + b'"') >= 2
    names.write_bytes(b"one\n\ntwo")
    out = run(capfdbinary, "check", "zero", "--files-from", names)[1]
    assert ["zero", "one", "two"] == [json.loads(line)["file"] for line in out.splitlines()]
    names.write_bytes(b"")
    assert (0, b"", "") == run(capfdbinary, "check", "--files-from", names)


def test_modules_outside_end_with_1(capfdbinary, tmp_path, planted):
    code, out, err = run(capfdbinary, "shading", *planted, "--limit", "20")
    group, outside = map(json.loads, out.splitlines())
    assert (1, "", str(planted[3])) == (code, err, outside["file"])
    assert 20.0 == group["limit"]
    code, out, _ = run(capfdbinary, "shading", *planted, "--limit", "1e6", "--format", "csv")
    assert (0, 1) == (code, len(out.splitlines()))


def test_output_and_the_table_of_places_are_files(capfdbinary, tmp_path, planted):
    modules, places = tmp_path / "modules", tmp_path / "places"
    arguments = ["--format", "csv", "-o", modules, "--places", places, "--limit", "20"]
    assert (1, b"", "") == run(capfdbinary, "shading", *planted, *arguments)
    (outside,) = csv.DictReader(io.StringIO(modules.read_text(encoding="utf-8")))
    assert str(planted[3]) == outside["file"]
    rows = list(csv.DictReader(io.StringIO(places.read_text(encoding="utf-8"))))
    assert {"20"} == {row["modules"] for row in rows}


@pytest.mark.parametrize(
    ("arguments", "sentence"),
    [
        ([], "the following arguments are required: VERB"),
        (["chekc"], "invalid choice: 'chekc'"),
        (["check"], "no PATH, and no --files-from"),
        (["check", "a", "-j", "1.5"], "expected a number of processes, not '1.5'"),
        (["check", "a", "-j", "two"], "expected a number of processes, not 'two'"),
        (["check", "a", "-j", "2", "--scheduler", "tcp://x"], "not allowed with argument"),
        (["check", "a", "--nvm", "b", "--nvm-suffix", "c"], "not allowed with argument"),
        (["check", "a", "--limit", "3"], "unrecognized arguments"),
        (["shading", "a", "--limit", "nan"], "expected a number above 0, not 'nan'"),
        (["shading", "a", "--limit", "inf"], "expected a number above 0, not 'inf'"),
        (["shading", "a", "--limit", "much"], "expected a number above 0, not 'much'"),
    ],
)
def test_wrong_usage_ends_with_2_and_says_why(capsys, arguments, sentence):
    with pytest.raises(SystemExit) as ended:
        command.main(arguments)
    assert 2 == ended.value.code
    assert sentence in capsys.readouterr().err.splitlines()[-1]


@pytest.mark.parametrize(
    "arguments",
    [
        ["check", "a", "-j", "0", "-o", "/dev/full"],
        ["check", "a", "-j", "0", "-o", "/nowhere/at/all"],
        ["check", "--files-from", "/nowhere/at/all"],
        ["shading", "a", "-j", "0", "--places", "/nowhere/at/all"],
    ],
)
def test_what_cannot_be_read_or_written_ends_with_2(capsys, arguments):
    assert 2 == command.main(arguments)
    assert "qo_cmc.fleet: [Errno" in capsys.readouterr().err


@pytest.mark.parametrize("option", ["--output", "--places"])
def test_statistics_are_not_taken_where_they_cannot_be_written(monkeypatch, capsys, option):
    monkeypatch.setattr(command, "shading_statistics", lambda *_, **__: pytest.fail("they were"))
    assert 2 == command.main(["shading", "a", option, "/nowhere/at/all"])
    assert "'/nowhere/at/all'" in capsys.readouterr().err


@pytest.mark.parametrize("address", ["none://here", "tcp://127.0.0.1:port"])
def test_an_address_that_is_none_ends_with_2(address):
    # As a program: a client that never was one takes a minute to go, where it is not its end.
    done = subprocess.run(
        [*COMMAND, "check", "a", "--scheduler", address],
        capture_output=True,
        check=False,
        text=True,
        timeout=50,
    )
    assert done.returncode == 2
    (line,) = done.stderr.splitlines()
    assert line.startswith(f"qo_cmc.fleet: --scheduler '{address}': ")


@pytest.mark.parametrize(
    ("stream", "arguments", "sentence"),
    [
        ("stdout", ["check", "a", "-j", "0"], "Bad file descriptor: 'standard output'"),
        ("stdin", ["check", "--files-from", "-"], "Bad file descriptor: 'standard input'"),
    ],
)
def test_a_stream_that_is_closed_ends_with_2(monkeypatch, capsys, stream, arguments, sentence):
    monkeypatch.setattr(sys, stream, None)
    assert 2 == command.main(arguments)
    assert f"qo_cmc.fleet: [Errno 9] {sentence}\n" == capsys.readouterr().err


def test_what_there_is_to_say_never_stands_among_the_results(monkeypatch, capfdbinary):
    monkeypatch.setattr(sys, "stderr", None)
    code, out, _ = run(capfdbinary, "check", "/nowhere/at/all")
    (line,) = out.splitlines()
    assert (2, "/nowhere/at/all") == (code, json.loads(line)["file"])


COMMAND = [sys.executable, "-m", "qo_cmc.fleet"]


@many_processes
def test_the_command_works_by_processes(good):
    """Standard input, two workers, and no bar where nobody looks."""
    done = subprocess.run(
        [*COMMAND, "check", "--files-from", "-", "-j", "2"],
        input=b"%s\n" % os.fsencode(good) * 40, capture_output=True, check=False,
    )  # fmt: skip
    assert (0, b"") == (done.returncode, done.stderr)
    line = fleet.check([good], workers=0)[0].to_dict()
    assert [line] * 40 == [json.loads(each) for each in done.stdout.splitlines()]


def test_a_full_disk_ends_with_2_and_one_line(good):
    with open("/dev/full", "wb") as full:
        done = subprocess.run(
            [*COMMAND, "shading", good, "-j", "1"], stdout=full, stderr=subprocess.PIPE, check=False
        )
    assert 2 == done.returncode
    assert b"qo_cmc.fleet: [Errno 28] No space left on device\n" == done.stderr


def test_a_reader_who_has_enough_ends_it_without_a_word(tmp_path, good):
    names = tmp_path / "names"
    names.write_bytes(b"%s\n" % os.fsencode(good) * 3000)
    with subprocess.Popen(
        [*COMMAND, "check", "--files-from", names, "-j", "1"],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
    ) as running:
        assert running.stdout.readline().startswith(b'{"schema":1')
        running.stdout.close()
        assert b"" == running.stderr.read()
    assert 2 == running.returncode


def test_help_tells_the_exit_codes(capsys):
    with pytest.raises(SystemExit) as ended:
        command.main(["--help"])
    assert 0 == ended.value.code
    assert command.EPILOGUE in capsys.readouterr().out
