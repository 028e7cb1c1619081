"""What the package holds while it runs code of others: finalizers, subclasses, odd sequences."""

import gc
import os
from types import SimpleNamespace

import numpy as np
import pytest

import qo_cmc
from qo_cmc import _parsing, _toolkit

SANITIZED = bool(os.environ["QO_SANITIZE"])
CONTAINER = qo_cmc.sample_container()
NVM = qo_cmc.sample_nvm()

MADE_BY_THE_PACKAGE = [
    each
    for module in (_parsing, _toolkit)
    for each in vars(module).values()
    if isinstance(each, type)
    and not issubclass(each, (_parsing.Slots, Exception))
]


def test_there_are_such_classes():
    names = {each.__name__ for each in MADE_BY_THE_PACKAGE}
    assert {"Light", "Record", "Record31", "Record34Block", "RecordHeader", "CorrectedLight",
            "ComputedUpscaleLscTables"} <= names


@pytest.mark.parametrize("kind", MADE_BY_THE_PACKAGE, ids=lambda kind: kind.__name__)
def test_an_object_without_a_value_cannot_be_made(kind):
    derived = type("Derived", (kind,), {})
    for each in (kind, derived):
        for make in (each, lambda each=each: each.__new__(each), lambda each=each: kind.__new__(each)):
            with pytest.raises(TypeError):
                make()


def test_a_parsed_cmc_that_was_never_parsed_is_refused_and_not_read():
    for kind in (qo_cmc.ParsedCmc, _parsing.Slots):
        empty = kind.__new__(kind)
        names = [*kind._fields, "closed", "merged", "_container", "_nvm", "_views"]
        if kind is qo_cmc.ParsedCmc:
            names += ["container", "nvm", "findings", "records"]
        for name in names:
            with pytest.raises(RuntimeError):
                getattr(empty, name)
        for call in (empty._close, empty._findings, empty._records, empty._to_dict):
            with pytest.raises(RuntimeError):
                call()


def test_a_second_initialisation_changes_nothing():
    cmc = qo_cmc.parse(CONTAINER)
    table = cmc.lens_shading.lights[0].tables[0, 0]
    values = table.tolist()
    cmc.__init__(CONTAINER, NVM)
    assert table.tolist() == values
    assert not cmc.merged and cmc.nvm is None


class ClosesWhenCollected:
    """Closes a parsed CMC when the garbage collector finds the cycle that this is in."""

    def __init__(self, cmc):
        self.cmc = cmc
        self.cycle = self

    def __del__(self):
        try:
            self.cmc.close()
        except BufferError:
            pass


PARTS = {
    "the slots": (lambda cmc: cmc, "to_dict"),
    "general": (lambda cmc: cmc.general, "pairs"),
    "record_5": (lambda cmc: cmc.record_5, "bytes"),
    "lsc_grid": (lambda cmc: cmc.lsc_grid, "blocks"),
    "record_19": (lambda cmc: cmc.record_19, "entries"),
    "record_22": (lambda cmc: cmc.record_22, "grid"),
    "record_27": (lambda cmc: cmc.record_27, "entries"),
    "record_29": (lambda cmc: cmc.record_29, "planes"),
    "record_31": (lambda cmc: cmc.record_31, "entries"),
    "record_34": (lambda cmc: cmc.record_34, "blocks"),
    "a block of record_34": (lambda cmc: cmc.record_34.blocks[0], "long_entries"),
    "lens_shading": (lambda cmc: cmc.lens_shading, "lights"),
    "a light's tables": (lambda cmc: cmc.lens_shading.lights[0], "tables"),
    "a light's channels": (lambda cmc: cmc.lens_shading.lights[0], "channels"),
}


@pytest.mark.parametrize("part", PARTS)
def test_a_finalizer_that_closes_what_is_read_does_so_before_or_after(part):
    get, name = PARTS[part]
    cmc = qo_cmc.parse(CONTAINER)
    expected = getattr(get(cmc), name)
    expected = contents(expected() if callable(expected) else expected)
    thresholds = gc.get_threshold()
    gc.freeze()  # only what is made here is looked through
    try:
        for allocations in range(1, 17):  # until the collection, counted from the look at the part
            cmc = qo_cmc.parse(CONTAINER)
            at = get(cmc)
            gc.collect()
            gc.disable()
            ClosesWhenCollected(cmc)
            gc.set_threshold(allocations, 1000, 1000)
            gc.enable()
            try:
                value = getattr(at, name)
                value = value() if callable(value) else value
            except ValueError as closed:
                assert "closed" in str(closed)
                continue
            gc.disable()
            shown = contents(value)
            # Parts can be taken, and closed before they are looked into.
            assert shown in (expected, None)
            gc.enable()
    finally:
        gc.enable()
        gc.set_threshold(*thresholds)
        gc.unfreeze()


def contents(value):
    if isinstance(value, np.ndarray):
        return value.tobytes()
    if isinstance(value, dict):
        return {key: contents(each) for key, each in value.items()}
    if isinstance(value, (tuple, list)):
        return [contents(each) for each in value]
    if hasattr(type(value), "_fields"):
        try:
            return repr(value)
        except ValueError:
            return None
    return value


def test_values_that_change_what_they_stand_in_are_packed_as_it_was():
    class Changes:
        def __init__(self, of, value):
            self.of, self.value = of, value

        def tolist(self):
            self.of.clear()
            gc.collect()
            return self.value

    slots = qo_cmc.parse(CONTAINER).to_dict()
    before = qo_cmc.pack(slots)
    for holder in (slots["record_26"], slots["record_13"]["values"], slots["lens_shading"]):
        keys = list(holder) if isinstance(holder, dict) else range(len(holder))
        first = next(iter(keys))
        holder[first] = Changes(holder, holder[first])
    assert qo_cmc.pack(slots) == before
    assert slots["record_26"] == {} and slots["record_13"]["values"] == []


def test_a_subclass_has_no_say_in_whether_memory_is_shared():
    class Lies(np.ndarray):
        def __array_function__(self, function, types, arguments, keywords):
            self.resize((0,), refcheck=False)
            return False

    source = np.ndarray.__new__(Lies, (600, 600), np.float32)
    source[:] = 1
    with pytest.raises(ValueError, match="^transpose_m: out overlaps src"):
        qo_cmc.transpose_m(source, out=np.ndarray((600, 600), np.float32, source))
    assert source.shape == (600, 600)


SIDE = 400
LIGHT = dict(light_id=1, gains=(1, 1), coords=(0, 0), fraction_bits=12)


def target_of(tables):
    return SimpleNamespace(width=SIDE, height=SIDE, lights=[SimpleNamespace(**LIGHT, tables=tables)])


def source_of(tables):
    light = SimpleNamespace(**LIGHT, tables=tables, aux=1)
    return SimpleNamespace(width=SIDE, height=SIDE, lights_ext=[light])


def ones(dtype=np.uint16):
    return np.ones((SIDE, SIDE), dtype)


def correction(target, source, gains):
    return qo_cmc.ratio_based_sample_to_sample_correction(target, source, gains, 0, 0)


def test_gains_that_change_the_tables_are_read_before_these():
    table = ones()

    class Shrinks:
        def __len__(self):
            return 1

        def __getitem__(self, index):
            if index > 0:
                raise IndexError
            table.resize((1,), refcheck=False)
            return np.ones((4, SIDE, SIDE), np.float32)

    with pytest.raises(ValueError, match=r"tables\[\(0, 0\)\] has shape \(1,\)"):
        correction(target_of({(0, 0): ones()}), source_of({(0, 0): table}), Shrinks())


def test_copies_of_tables_are_of_no_subclass():
    made = []

    class Shrinks(np.ndarray):
        def __array_finalize__(self, other):
            made.append(self)
            for each in made[:-1]:
                if each.flags.owndata:
                    each.resize((1,), refcheck=False)

    sites = [(row, column) for row in range(2) for column in range(2)]
    target = {site: ones().view(Shrinks) for site in sites}
    (light,) = correction(target_of(target), source_of(dict.fromkeys(sites, ones().T)),
                          [np.full((4, SIDE, SIDE), 3, np.float32)])
    for table in light.tables.values():
        assert type(table) is np.ndarray
        np.testing.assert_array_equal(np.full((SIDE, SIDE), 3), table)


def test_tables_that_are_no_mapping_are_a_type_error():
    for tables in ([], "text", 5, np.ones(3)):
        with pytest.raises(TypeError, match=r"^ratio_based\w+: target.lights\[0\].tables is "):
            correction(target_of(tables), source_of({}), [])


def test_a_context_of_gain_tables_never_hides_an_error():
    with pytest.raises(ZeroDivisionError):
        with qo_cmc.compute_upscaled_lsc_tables_bicubic((25, 33), NVM) as tables:
            view = tables[0]
            _ = 1 / 0
    assert view.shape == (4, 25, 33)


CALLS_WITHOUT_MEMORY = {
    "to_dict": lambda cmc: cmc.to_dict(),
    "records": lambda cmc: cmc._records(),
    "findings": lambda cmc: cmc._findings(),
    "tables": lambda cmc: cmc.lens_shading.lights[0].tables,
    "channels": lambda cmc: cmc.lens_shading.lights[0].channels(),
    "blocks": lambda cmc: cmc.lsc_grid.blocks,
    "long_entries": lambda cmc: cmc.record_34.blocks[0].long_entries,
    "repr": lambda cmc: repr(cmc.general),
    "gain tables": lambda cmc: qo_cmc.compute_upscaled_lsc_tables_bicubic((25, 33), NVM).gain_tables,
    "correction": lambda cmc: qo_cmc.ratio_based_sample_to_sample_correction(
        cmc.lens_shading, cmc.lens_shading_ext, [GAINS] * 255, 0, 0),
    "transpose_m": lambda cmc: qo_cmc.transpose_m(GAINS[0]),
}
GAINS = np.ones((4, 49, 65), np.float32)


@pytest.mark.skipif(SANITIZED, reason="in debug builds pybind11 asserts that Python has memory")
@pytest.mark.parametrize("name", CALLS_WITHOUT_MEMORY)
def test_each_allocation_of_pythons_that_fails_is_a_memory_error(name):
    testing = pytest.importorskip("_testcapi")
    call = CALLS_WITHOUT_MEMORY[name]
    cmc = qo_cmc.parse(CONTAINER, NVM)
    call(cmc)  # what is imported once is
    failed = 0
    gc.disable()
    try:
        for allocation in [*range(250), *range(250, 4000, 67)]:
            testing.set_nomemory(allocation, allocation + 1)
            try:
                call(cmc)
            except MemoryError:
                failed += 1
            finally:
                testing.remove_mem_hooks()
    finally:
        gc.enable()
    assert failed > 0
    cmc.close()  # nothing still counts as an array
