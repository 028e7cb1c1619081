"""Every slot shows what the container writer put in."""

import json
import os
import subprocess

import container_writer
import numpy as np
import pytest
from expected_slots import SLOTS, expected_slots, u16
from hypothesis import given, settings
from hypothesis import strategies as st

import qo_cmc
from qo_cmc import _parsing

GOOD_RECORDS = container_writer.every_good_record()
SLOT_NAMES = _parsing.Slots._fields


def assert_shows(found, expected, path):
    """What was found has these attributes, of these types, shapes and values, to the bit."""
    if expected is None:
        assert found is None, path
    elif isinstance(expected, dict):
        for name, value in expected.items():
            if isinstance(name, str):
                member = found[name] if isinstance(found, dict) else getattr(found, name)
                assert_shows(member, value, f"{path}.{name}")
            else:
                assert_shows(found[name], value, f"{path}[{name}]")
        if not isinstance(next(iter(expected), ""), str):
            assert set(found) == set(expected), path
    elif isinstance(expected, list):
        assert len(found) == len(expected), path
        for i, value in enumerate(expected):
            assert_shows(found[i], value, f"{path}[{i}]")
    elif isinstance(expected, np.ndarray):
        assert isinstance(found, np.ndarray), path
        assert (found.dtype, found.shape) == (expected.dtype, expected.shape), path
        assert found.tobytes() == expected.tobytes(), path
        assert not found.flags.writeable, path
    elif isinstance(expected, np.floating):
        assert np.float32(found).tobytes() == expected.tobytes(), path
    else:
        assert type(found) is type(expected) and found == expected, path


@pytest.mark.parametrize(("name", "record"), GOOD_RECORDS, ids=[name for name, _ in GOOD_RECORDS])
def test_a_record_of_every_kind_and_version_shows_in_its_slots_and_in_no_other(name, record):
    cmc = qo_cmc.parse(container_writer.container([record]))
    expected = expected_slots(record)
    assert expected, "every record that the writer has is described"
    for slot, value in expected.items():
        assert_shows(getattr(cmc, slot), value, slot)
    # Record 34 is also made of the records 19 and 20.
    derived = {"record_34"} if u16(record, 6) in (19, 20) else set()
    for slot in set(SLOT_NAMES) - set(expected) - derived:
        assert getattr(cmc, slot) is None, slot


def test_every_slot_but_the_unused_ones_is_filled_by_some_kind():
    filled = {slot for slots in SLOTS.values() for slot in slots}
    assert set(SLOT_NAMES) - filled == {"unused_6", "unused_7"}


def test_records_that_no_slot_takes_leave_all_slots_empty():
    for name, record in container_writer.every_slotless_record():
        cmc = qo_cmc.parse(container_writer.container([record]))
        expected = expected_slots(record)  # of record 722 only
        for slot in SLOT_NAMES:
            assert_shows(getattr(cmc, slot), expected.get(slot), f"{name}: {slot}")


def test_all_kinds_in_one_container_show_side_by_side():
    last_of_kind = {u16(record, 6): record for _, record in GOOD_RECORDS}
    # Both would fill a slot of another kind that is here as well.
    for kind in (3, 10, 11):
        del last_of_kind[kind]
    cmc = qo_cmc.parse(container_writer.container(list(last_of_kind.values())))
    for record in last_of_kind.values():
        for slot, value in expected_slots(record).items():
            assert_shows(getattr(cmc, slot), value, slot)


@pytest.fixture(scope="module")
def sample():
    return qo_cmc.parse(qo_cmc.sample_container(), qo_cmc.sample_nvm())


def dumped(folder, container, *more):
    path = folder / "container.vexb"
    path.write_bytes(container)
    printed = subprocess.run(
        [os.environ["QO_CMC"], "dump", "--json", str(path), *more],
        check=True,
        capture_output=True,
        text=True,
    )
    return json.loads(printed.stdout)


def test_to_dict_is_what_the_program_prints_as_slots(sample, tmp_path):
    image = tmp_path / "module.nvm"
    image.write_bytes(qo_cmc.sample_nvm())
    slots = dumped(tmp_path, qo_cmc.sample_container(), "--nvm", str(image))["slots"]
    # As text, so that the order of keys counts, and 1 is not 1.0.
    assert json.dumps(sample.to_dict()) == json.dumps(slots)


def test_to_dict_is_what_the_program_prints_for_every_record(tmp_path):
    everything = {u16(record, 6): record for _, record in GOOD_RECORDS}
    container = container_writer.container(list(everything.values()))
    printed = dumped(tmp_path, container)
    cmc = qo_cmc.parse(container)
    assert json.dumps(cmc.to_dict()) == json.dumps(printed["slots"])
    assert [each.to_dict() for each in cmc.findings] == printed["findings"]


def test_a_set_shows_what_the_merge_made_of_it(sample):
    before = qo_cmc.parse(qo_cmc.sample_container())
    assert sample.merged and not before.merged
    made = sample.to_dict()["lens_shading"]
    for light, expected in zip(sample.lens_shading.lights, made["lights"], strict=True):
        for (row, column), table in light.tables.items():
            assert table.tolist() == expected["tables"][row][column]
    changed = [
        (a.tables[0, 0] != b.tables[0, 0]).any()
        for a, b in zip(before.lens_shading.lights, sample.lens_shading.lights, strict=True)
    ]
    assert all(changed)


CELLS = {
    0: ["G2 C2", "C1 G1"],
    1: ["C2 G2", "G1 C1"],
    2: ["C1 G1", "G2 C2"],
    3: ["G1 C1", "C2 G2"],
    256: ["C1 G2 C2 G2", "G1 -- G1 --", "C2 G2 C1 G2", "G1 -- G1 --"],
    257: ["G2 C2 G2 C1", "-- G1 -- G1", "G2 C1 G2 C2", "-- G1 -- G1"],
    258: ["C2 G2 C1 G2", "G1 -- G1 --", "C1 G2 C2 G2", "G1 -- G1 --"],
    259: ["G2 C1 G2 C2", "-- G1 -- G1", "G2 C2 G2 C1", "-- G1 -- G1"],
    260: ["G1 -- G1 --", "C2 G2 C1 G2", "G1 -- G1 --", "C1 G2 C2 G2"],
    261: ["-- G1 -- G1", "G2 C1 G2 C2", "-- G1 -- G1", "G2 C2 G2 C1"],
    262: ["G1 -- G1 --", "C1 G2 C2 G2", "G1 -- G1 --", "C2 G2 C1 G2"],
    263: ["-- G1 -- G1", "G2 C2 G2 C1", "-- G1 -- G1", "G2 C1 G2 C2"],
}


def module_of_cell(cfa_layout, with_record_2=True):
    """A set with a table at each of the sixteen sites, under that cell."""
    slots = dict.fromkeys(SLOT_NAMES)
    sample = qo_cmc.parse(qo_cmc.sample_container()).to_dict()
    if with_record_2:
        slots["module_properties"] = {**sample["module_properties"], "cfa_layout": cfa_layout}
    sites = np.arange(16).reshape(4, 4)
    light = {
        **sample["lens_shading"]["lights"][0],
        "fraction_bits": 10,
        "tables": [[np.full((2, 3), 100 + site) for site in row] for row in sites],
    }
    slots["lens_shading"] = {
        **sample["lens_shading"],
        "size": None,
        "channel_map": sites,
        "light_count": 1,
        "width": 3,
        "height": 2,
        "lights": [light],
    }
    return qo_cmc.parse(qo_cmc.pack(slots)).lens_shading.lights[0]


@pytest.mark.parametrize("cfa_layout", CELLS)
def test_channels_are_the_first_sites_of_their_colours(cfa_layout):
    colours = [row.split() for row in CELLS[cfa_layout]]
    expected = {}
    for channel in ("C1", "G1", "G2", "C2"):
        sites = [(r, c) for r, row in enumerate(colours) for c, name in enumerate(row)]
        expected[channel] = next(site for site in sites if colours[site[0]][site[1]] == channel)
    light = module_of_cell(cfa_layout)
    assert list(light.channel_sites().items()) == list(expected.items())
    for channel, table in light.channels().items():
        row, column = expected[channel]
        assert table.tolist() == [[100 + 4 * row + column] * 3] * 2
        gains = light.physical().channels()[channel]
        assert gains.dtype == np.float32
        assert (gains == table / 1024).all()


def test_without_a_cell_channels_are_refused_and_tables_are_there():
    for light in (module_of_cell(0, with_record_2=False), module_of_cell(4)):
        with pytest.raises(LookupError, match="record 2"):
            light.channels()
        with pytest.raises(LookupError, match="record 2"):
            light.physical().channels()
        assert len(light.tables) == len(light.physical()) == 16


def test_made_up_fraction_bits_make_gains_of_zero():
    sample = qo_cmc.parse(qo_cmc.sample_container()).to_dict()
    for light in sample["lens_shading"]["lights"]:
        light["fraction_bits"] = 65520
    light = qo_cmc.parse(qo_cmc.pack(sample)).lens_shading.lights[0]
    assert light.fraction_bits == 65520
    assert not light.physical()[0, 0].any()


def test_arrays_at_odd_addresses_are_known_to_be_unaligned():
    words = qo_cmc.parse(qo_cmc.sample_container()).record_16.payload
    assert words.dtype == np.uint32 and not words.flags.aligned
    record = qo_cmc.parse(qo_cmc.sample_container()).record_16.record
    assert words.tolist() == [record.u32(14 + 4 * i) for i in range(len(words))]
    assert int(words.astype(np.uint64).sum()) == sum(words.tolist())


@pytest.mark.parametrize(
    ("reader", "kind"),
    [("u8", "u1"), ("u16", "<u2"), ("i16", "<i2"), ("u32", "<u4"), ("i32", "<i4"), ("u64", "<u8")],
)
def test_a_copy_is_read_at_any_byte_and_not_outside(reader, kind):
    record = qo_cmc.parse(qo_cmc.sample_container()).record_5
    content = record.bytes.tobytes()
    size = np.dtype(kind).itemsize
    for offset in range(record.size - size + 1):
        expected = np.frombuffer(content, kind, 1, offset)[0]
        assert getattr(record, reader)(offset) == expected
    for outside in (record.size - size + 1, record.size, 2**64 - 1):
        with pytest.raises(IndexError, match=f"byte {outside} of a record of {record.size} bytes"):
            getattr(record, reader)(outside)
    with pytest.raises(TypeError):
        getattr(record, reader)(-1)


numbers_16 = st.integers(0, 2**16 - 1)


@settings(max_examples=50, deadline=None, derandomize=True)
@given(st.data())
def test_whatever_is_packed_shows_in_the_slots(data):
    draw = data.draw
    width, height = draw(st.integers(0, 9)), draw(st.integers(0, 9))
    rows = st.lists(
        st.lists(numbers_16, min_size=width, max_size=width), min_size=height, max_size=height
    )
    slots = dict.fromkeys(SLOT_NAMES)
    sample = qo_cmc.parse(qo_cmc.sample_container()).to_dict()
    table = draw(rows) if width else []
    slots["lens_shading"] = {
        **sample["lens_shading"],
        "size": None,
        "light_count": 1,
        "width": width,
        "height": height,
        "channel_map": [[0, -1, -1, -1]] + [[-1] * 4] * 3,
        "lights": [
            {
                **sample["lens_shading"]["lights"][0],
                "tables": [[table, None, None, None]] + [[None] * 4] * 3,
            }
        ],
    }
    values = draw(st.lists(numbers_16, max_size=40))
    slots["record_13"] = {
        **sample["record_13"],
        "record": {
            **sample["record_13"]["record"],
            "size": None,
            "version": 100,
            "value_70": len(values),
        },
        "values": values,
        "params": [None] * 4,
        "rest": "00" * (-2 * len(values) % 8),  # records of this kind end on a multiple of 8
    }
    name = draw(st.text(st.characters(blacklist_categories=["Cs"], blacklist_characters="\0")))
    slots["general"] = {**sample["general"], "name": name}
    slots["general"]["record"] = {**slots["general"]["record"], "size": None}
    cmc = qo_cmc.parse(qo_cmc.pack(slots))
    shown = cmc.lens_shading.lights[0].tables[0, 0]
    assert shown.shape == (height, width)
    assert shown.tolist() == (table if width else [[]] * height)
    assert cmc.record_13.values.tolist() == values
    assert cmc.general.name == name
