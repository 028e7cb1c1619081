"""Parsing, findings, and how long what was parsed lives."""

import array
import contextlib
import copy
import gc
import json
import mmap
import os
import pickle
import resource
import subprocess
import sys
import threading
import time

import container_writer
import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

import qo_cmc
from qo_cmc import _sources

SANITIZED = bool(os.environ["QO_SANITIZE"])
CONTAINER = qo_cmc.sample_container()
NVM = qo_cmc.sample_nvm()


@pytest.fixture
def container_file(tmp_path):
    path = tmp_path / "sample.vexb"
    path.write_bytes(CONTAINER)
    return path


def as_mapped_memory(content):
    memory = mmap.mmap(-1, len(content))
    memory[:] = content
    return memory


@pytest.mark.parametrize(
    "source",
    [
        bytes,
        bytearray,
        memoryview,
        as_mapped_memory,
        lambda content: array.array("B", content),
        lambda content: np.frombuffer(content, np.uint8),
        lambda content: np.frombuffer(content, "<u2").reshape(-1, 2),
        lambda content: np.repeat(np.frombuffer(content, np.uint8), 2)[::2],
    ],
    ids=["bytes", "bytearray", "memoryview", "mmap", "array", "uint8", "uint16", "strided"],
)
def test_any_buffer_is_content(source):
    assert qo_cmc.parse(source(CONTAINER)) == qo_cmc.parse(CONTAINER)
    assert qo_cmc.parse(CONTAINER, source(NVM)).merged


def test_a_path_is_a_file(container_file, tmp_path):
    image = tmp_path / "module.nvm"
    image.write_bytes(NVM)
    for source in (container_file, str(container_file)):
        for nvm in (image, str(image), NVM):
            assert qo_cmc.parse(source, nvm) == qo_cmc.parse(CONTAINER, NVM)


def test_a_pipe_is_read_to_its_end(tmp_path):
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)
    large = CONTAINER * 20  # more than one piece
    writer = threading.Thread(target=lambda: pipe.write_bytes(large))
    writer.start()
    report = qo_cmc.check(pipe)
    writer.join()
    assert str(len(large)) in report.findings[0].message


def test_an_empty_nvm_image_is_none():
    cmc = qo_cmc.parse(CONTAINER, b"")
    assert cmc.nvm is None and not cmc.merged
    assert [each.code for each in qo_cmc.check(CONTAINER, b"").findings].count("nvm-empty") == 1


@pytest.mark.parametrize("call", [qo_cmc.parse, qo_cmc.check])
def test_a_file_that_cannot_be_read_is_an_os_error(call, tmp_path, container_file):
    with pytest.raises(FileNotFoundError, match="nowhere.vexb"):
        call(tmp_path / "nowhere.vexb")
    with pytest.raises(FileNotFoundError, match="nowhere.nvm"):
        call(container_file, nvm=tmp_path / "nowhere.nvm")
    with pytest.raises(IsADirectoryError):
        call(tmp_path)
    for device in ("/dev/zero", "/dev/null"):
        with pytest.raises(OSError, match="Is a device"):
            call(device)


def test_a_file_that_no_container_can_be_is_an_os_error(tmp_path):
    path = tmp_path / "large.vexb"
    with open(path, "wb") as file:
        file.truncate(2**32)
    with pytest.raises(OSError, match="File too large"):
        qo_cmc.parse(path)


def test_a_pipe_is_not_read_without_end(tmp_path, monkeypatch):
    monkeypatch.setattr(_sources, "_LARGEST", len(CONTAINER))
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)

    def write(content):
        with contextlib.suppress(BrokenPipeError):
            pipe.write_bytes(content)

    for content, is_read in [(CONTAINER, True), (CONTAINER + b"\0", False)]:
        writer = threading.Thread(target=write, args=(content,))
        writer.start()
        if is_read:
            assert qo_cmc.check(pipe).valid
        else:
            with pytest.raises(OSError, match="File too large"):
                qo_cmc.check(pipe)
        writer.join()


@pytest.mark.parametrize("source", [5, 1.5, None, ["a"], object(), "x".encode])
def test_what_is_no_source_is_a_type_error(source):
    with pytest.raises(TypeError, match="expected a path or a buffer of bytes, not"):
        qo_cmc.parse(source)
    if source is not None:
        with pytest.raises(TypeError, match="expected a path or a buffer of bytes, not"):
            qo_cmc.parse(CONTAINER, source)


def test_a_refused_container_says_why():
    for content, code in [
        (b"", "container-too-short"),
        (CONTAINER[:-1], "size-mismatch"),
        (CONTAINER[:40] + b"\xa5" + CONTAINER[41:], "checksum-mismatch"),
    ]:
        with pytest.raises(ValueError) as refused:
            qo_cmc.parse(content)
        assert isinstance(refused.value, qo_cmc.InvalidContainer)
        assert refused.value.findings[0].code == code
        assert str(refused.value).startswith(f"{code}: ")
        again = pickle.loads(pickle.dumps(refused.value))
        assert (type(again), again.findings) == (qo_cmc.InvalidContainer, refused.value.findings)
        report = qo_cmc.check(content)
        assert (report.valid, report.findings) == (False, refused.value.findings)


def test_a_refused_nvm_image_is_a_value_error_of_parse_and_a_finding_of_check():
    with pytest.raises(ValueError, match="NVM library refuses the NVM image") as refused:
        qo_cmc.parse(CONTAINER, b"no image")
    assert not isinstance(refused.value, qo_cmc.InvalidContainer)
    report = qo_cmc.check(CONTAINER, b"no image")
    assert report.valid
    assert "nvm-refused" in [each.code for each in report.findings]


def test_findings_are_those_of_the_program(container_file, tmp_path):
    image = tmp_path / "module.nvm"
    image.write_bytes(NVM)
    broken = tmp_path / "broken.vexb"
    broken.write_bytes(CONTAINER[:-8])
    for path, nvm in [(container_file, None), (container_file, image), (broken, None)]:
        more = [] if nvm is None else ["--nvm", str(nvm)]
        printed = subprocess.run(
            [os.environ["QO_CMC"], "check", "--json", str(path), *more],
            capture_output=True,
            check=False,
            text=True,
        )
        expected = json.loads(printed.stdout)
        report = qo_cmc.check(path, nvm)
        assert report.valid == expected["valid"]
        assert [each.to_dict() for each in report.findings] == expected["findings"]
        if report.valid:
            assert qo_cmc.parse(path, nvm).findings == report.findings


def test_records_are_those_of_the_program(container_file):
    printed = subprocess.run(
        [os.environ["QO_CMC"], "records", "--json", str(container_file)],
        capture_output=True,
        check=True,
        text=True,
    )
    records = qo_cmc.parse(container_file).records
    assert [vars(each) for each in records] == json.loads(printed.stdout)["records"]


def test_findings_can_be_compared_and_pickled():
    findings = qo_cmc.parse(CONTAINER).findings
    assert findings == qo_cmc.parse(CONTAINER).findings
    assert pickle.loads(pickle.dumps(findings)) == findings
    assert len(set(findings)) == len(findings)
    with pytest.raises(AttributeError):
        findings[0].code = "another"


def test_views_outlive_the_container_and_the_parsed_cmc():
    buffer = bytearray(CONTAINER)
    cmc = qo_cmc.parse(buffer, bytearray(NVM))
    table = cmc.lens_shading.lights[1].tables[0, 1]
    values = table.tolist()
    buffer[:] = bytes(len(buffer))
    row = table[3:5, ::-2]
    light = cmc.lens_shading.lights[1]
    del cmc, table, buffer
    gc.collect()
    for _ in range(20):  # whatever is freed gets another use
        qo_cmc.parse(CONTAINER)
    assert row.tolist() == [line[::-2] for line in values[3:5]]
    assert light.tables[0, 1].tolist() == values


def test_views_are_no_copies():
    cmc = qo_cmc.parse(CONTAINER)
    for first, again in [
        (cmc.lens_shading.lights[0].tables[0, 0], cmc.lens_shading.lights[0].tables[0, 0]),
        (cmc.record_16.payload, cmc.record_16.payload),
        (cmc.record_22.grid[1].first_half, cmc.record_22.grid[1].first_half),
    ]:
        assert first is not again and first.ctypes.data == again.ctypes.data
    # What stands in a kept copy is seen there.
    copy_of_6 = cmc.record_6.record.bytes
    assert cmc.record_6.payload.ctypes.data == copy_of_6.ctypes.data + 16


def test_views_cannot_be_written():
    table = qo_cmc.parse(CONTAINER).lens_shading.lights[0].tables[0, 0]
    with pytest.raises(ValueError, match="read-only"):
        table[0, 0] = 1
    with pytest.raises(ValueError, match="cannot set WRITEABLE"):
        table.setflags(write=True)
    with pytest.raises(ValueError, match="cannot set WRITEABLE"):
        table[1:].setflags(write=True)
    assert table.copy().flags.writeable


def test_close_is_refused_while_arrays_look_into_it():
    cmc = qo_cmc.parse(CONTAINER)
    first, second = cmc.record_26.head, cmc.record_26.groups[0].values[1:]
    with pytest.raises(BufferError, match="^2 arrays look into the parsed CMC"):
        cmc.close()
    del first
    with pytest.raises(BufferError, match="^1 array looks into the parsed CMC"):
        cmc.close()
    assert not cmc.closed and second.tolist() == cmc.record_26.groups[0].values[1:].tolist()
    del second
    cmc.close()
    cmc.close()
    assert cmc.closed


def test_what_was_taken_of_a_closed_one_is_refused_and_not_read():
    cmc = qo_cmc.parse(CONTAINER)
    parts = [
        (cmc, "general"),
        (cmc.general, "name"),
        (cmc.general.pairs[0], "key"),
        (cmc.record_5, "size"),
        (cmc.record_5, "bytes"),
        (cmc.lsc_grid, "blocks"),
        (cmc.record_15.sub_table.entries[0], "array_first"),
        (cmc.record_22.grid[0], "first_half"),
        (cmc.record_29, "planes"),
        (cmc.lens_shading, "lights"),
        (cmc.lens_shading.lights[0], "tables"),
        (cmc.lens_shading_ext, "lights_ext"),
        (cmc.lens_shading_ext.lights_ext[0], "aux"),
        (cmc.record_31, "count"),
        (cmc.record_34, "blocks"),
        (cmc.record_34.blocks[0], "long_entries"),
        (cmc.record_35.first, "count"),
    ]
    calls = [
        cmc.to_dict,
        lambda record=cmc.record_5: record.u8(0),
        cmc.lens_shading.lights[0].channels,
        cmc.lens_shading.lights[0].physical,
    ]
    cmc.close()
    for part, attribute in parts:
        with pytest.raises(ValueError, match="the parsed CMC is closed"):
            getattr(part, attribute)
    for call in calls:
        with pytest.raises(ValueError, match="the parsed CMC is closed"):
            call()
    assert repr(cmc) == "<ParsedCmc, closed>"
    assert cmc.findings and cmc.container == CONTAINER
    assert cmc == cmc and cmc != qo_cmc.parse(CONTAINER)


def test_a_context_closes_and_never_hides_an_error():
    with qo_cmc.parse(CONTAINER) as cmc:
        assert cmc.general is not None
    assert cmc.closed
    with pytest.raises(BufferError), qo_cmc.parse(CONTAINER) as cmc:
        table = cmc.record_26.head
    assert not cmc.closed
    del table
    with pytest.raises(ZeroDivisionError), qo_cmc.parse(CONTAINER) as cmc:
        table = cmc.record_26.head
        _ = 1 / 0
    del table
    cmc.close()


def test_copies_are_by_value():
    cmc = qo_cmc.parse(CONTAINER, NVM)
    for other in (copy.copy(cmc), copy.deepcopy(cmc), pickle.loads(pickle.dumps(cmc))):
        assert other is not cmc and other == cmc
        assert (other.container, other.nvm, other.merged) == (CONTAINER, NVM, True)
        table = other.lens_shading.lights[0].tables[0, 0]
        assert not np.shares_memory(table, cmc.lens_shading.lights[0].tables[0, 0])
        cmc.close()
        assert table.any()
        cmc = qo_cmc.parse(CONTAINER, NVM)


def test_equality_is_that_of_the_slots():
    cmc = qo_cmc.parse(CONTAINER)
    repacked = qo_cmc.pack(cmc.to_dict())
    assert repacked != CONTAINER
    assert qo_cmc.parse(repacked) == cmc
    assert qo_cmc.parse(CONTAINER, NVM) != cmc
    slots = cmc.to_dict()
    slots["record_13"]["values"][3] += 1
    assert qo_cmc.parse(qo_cmc.pack(slots)) != cmc
    assert cmc != "sample" and cmc != slots
    with pytest.raises(TypeError, match="unhashable"):
        hash(cmc)


def test_repr_is_for_people():
    assert repr(qo_cmc.parse(CONTAINER, NVM)) == (
        "<ParsedCmc 'sample module': 33 slots, merged with its module's calibration, 6 notes>"
    )
    empty = qo_cmc.parse(container_writer.container([]))
    assert repr(empty) == "<ParsedCmc: 0 slots>"
    cmc = qo_cmc.parse(CONTAINER)
    assert repr(cmc.record_26) == "Record26(head=<uint8 (16,)>, groups=<2>)"
    assert repr(cmc.record_15.counts) == "Record15Counts(a=2, b=3)"


def test_text_that_is_no_utf_8_keeps_its_bytes():
    record = next(record for name, record in container_writer.every_good_record() if name == "record_1_v101")
    cmc = qo_cmc.parse(container_writer.container([record.replace(b"module", b"\xff\xfe\x80du\xe9")]))
    assert cmc.general.name.encode("utf-8", "surrogateescape") == b"\xff\xfe\x80du\xe9"
    assert cmc == qo_cmc.parse(qo_cmc.pack(cmc.to_dict()))


@pytest.mark.parametrize(
    ("change", "text"),
    [
        (lambda slots: slots.pop("record_5"), "record_5"),
        (lambda slots: slots.update(record_99=None), "record_99"),
        (lambda slots: slots["record_13"].update(values=[1]), "record_13"),
        (lambda slots: slots["record_13"].update(values="text"), "record_13.values"),
        (lambda slots: slots["record_13"]["values"].__setitem__(0, 2**16), r"record_13.values\[0\]"),
        (lambda slots: slots["record_13"]["values"].__setitem__(0, 2**64), "more than 64 bits"),
        (lambda slots: slots["record_13"]["values"].__setitem__(0, -(2**63) - 1), "64 bits"),
        (lambda slots: slots["general"].update(name="\ud800"), "surrogates"),
        (lambda slots: slots["general"].update(pairs=slots), "nested deeper"),
    ],
)
def test_slots_that_cannot_be_packed_say_where(change, text):
    slots = qo_cmc.parse(CONTAINER).to_dict()
    change(slots)
    with pytest.raises(ValueError, match=text):
        qo_cmc.pack(slots)


def test_values_of_other_types_are_no_slots():
    slots = qo_cmc.parse(CONTAINER).to_dict()
    for wrong, text in [({1, 2}, "slots hold no set"), (1j, "no complex"), (b"", "no bytes")]:
        with pytest.raises(TypeError, match=text):
            qo_cmc.pack({**slots, "record_5": wrong})
    with pytest.raises(TypeError, match="no text"):
        qo_cmc.pack({**slots, 5: None})
    with pytest.raises(ValueError, match="checksum is 1 or 2, not 3"):
        qo_cmc.pack(slots, checksum=3)


def test_a_list_that_holds_itself_is_refused():
    endless = []
    endless.append(endless)
    with pytest.raises(ValueError, match="nested deeper"):
        qo_cmc.pack({"record_5": endless})


def test_both_checksums_are_written():
    slots = qo_cmc.parse(CONTAINER).to_dict()
    first, second = qo_cmc.pack(slots), qo_cmc.pack(slots, checksum=2)
    words = np.frombuffer(first[: len(first) // 4 * 4], "<u4")
    assert words[5] == (words.sum(dtype=np.uint32) - words[5])
    words = np.frombuffer(second[: len(second) // 4 * 4], "<u4")
    assert words[5] == words[6:].sum(dtype=np.uint32)
    assert qo_cmc.parse(first) == qo_cmc.parse(second)


def test_arrays_may_stand_for_lists():
    slots = qo_cmc.parse(CONTAINER).to_dict()
    before = qo_cmc.pack(slots)
    for light in slots["lens_shading"]["lights"]:
        light["tables"] = [
            [None if table is None else np.array(table, np.uint16) for table in row]
            for row in light["tables"]
        ]
        light["fraction_bits"] = np.int64(light["fraction_bits"])
    assert qo_cmc.pack(slots) == before


def test_what_has_no_number_in_json_is_packed_as_its_bits():
    slots = qo_cmc.parse(CONTAINER).to_dict()
    values = [float("nan"), float("inf"), float("-inf"), -0.0]
    slots["record_26"]["groups"][0]["values"] = values
    shown = qo_cmc.parse(qo_cmc.pack(slots)).record_26.groups[0].values
    assert shown.tobytes() == np.array(values, "<f4").tobytes()


@settings(max_examples=200, deadline=None, derandomize=True)
@given(st.data())
def test_any_bytes_are_parsed_or_refused_and_everything_can_be_read(data):
    content = bytearray(data.draw(st.sampled_from(RECORD_CONTAINERS)))
    for _ in range(data.draw(st.integers(1, 8))):
        at = data.draw(st.integers(24, len(content) - 1))
        content[at] = data.draw(st.integers(0, 255))
    words = np.frombuffer(content[: len(content) // 4 * 4], "<u4")
    content[20:24] = int(words[6:].sum(dtype=np.uint32)).to_bytes(4, "little")
    cmc = qo_cmc.parse(content, NVM)
    read_everything(cmc)
    assert json.dumps(cmc.to_dict())
    repr(cmc)


def read_everything(part):
    if isinstance(part, np.ndarray):
        part.sum() if part.dtype.names is None else part.tobytes()
    elif isinstance(part, (tuple, list)):
        for each in part:
            read_everything(each)
    elif isinstance(part, dict):
        for each in part.values():
            read_everything(each)
    elif hasattr(type(part), "_fields"):
        repr(part)
        for name in type(part)._fields:
            read_everything(getattr(part, name))


RECORD_CONTAINERS = [
    container_writer.container([record]) for _, record in container_writer.every_good_record()
] + [CONTAINER]


def heap_in_use():
    """Bytes of the process that are resident, after what can be given back was."""
    gc.collect()
    with open("/proc/self/statm") as file:
        return int(file.read().split()[1]) * resource.getpagesize()


def test_a_hundred_thousand_parses_take_no_memory():
    small = container_writer.container(
        [record for name, record in container_writer.every_good_record() if name.startswith("record_28_v100")]
    )

    def parse_many(count):
        for _ in range(count):
            cmc = qo_cmc.parse(small)
            cmc.lens_shading.lights[0].tables  # noqa: B018
            cmc.findings  # noqa: B018

    # The sanitizer keeps what was freed for a while, and is slow: there it looks at each use.
    parse_many(2_000)
    before = heap_in_use()
    parse_many(5_000 if SANITIZED else 100_000)
    assert heap_in_use() - before < (2**27 if SANITIZED else 2**21)


def test_threads_parse_at_once():
    expected = qo_cmc.parse(CONTAINER, NVM).to_dict()
    wrong = []

    def work():
        for _ in range(10):
            with qo_cmc.parse(CONTAINER, NVM) as cmc:
                if cmc.to_dict() != expected:
                    wrong.append(1)

    threads = [threading.Thread(target=work) for _ in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not wrong


def test_others_run_while_a_container_is_parsed():
    """A container of many megabytes is parsed while another thread counts."""
    record = next(record for name, record in container_writer.every_good_record() if name == "record_8_v100")
    large = container_writer.container([record] * 200_000)
    counted = [0]
    done = threading.Event()

    def count():
        while not done.is_set():
            counted[0] += 1
            time.sleep(0)  # gives the lock back

    # Nobody is made to give the interpreter's lock away: the other thread runs only when it is given.
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)
    thread = threading.Thread(target=count)
    try:
        thread.start()
        before = counted[0]
        qo_cmc.check(large)
        after = counted[0]
    finally:
        sys.setswitchinterval(interval)
        done.set()
        thread.join()
    assert after > before


def test_a_dictionary_of_slots_is_the_callers_own():
    cmc = qo_cmc.parse(CONTAINER)
    cmc.to_dict()["record_13"]["values"].clear()
    assert cmc.to_dict()["record_13"]["values"]


def test_the_package_says_which_version_it_is():
    printed = subprocess.run([os.environ["QO_CMC"], "--version"], capture_output=True, text=True, check=True)
    assert qo_cmc.__version__ in printed.stdout
