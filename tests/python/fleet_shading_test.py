"""Mean, spread and modules outside, beside a plain computation over all tables."""

import csv
import io
import json
import math
from fractions import Fraction

import numpy as np
import pytest
from fleet_modules import (
    CHANNELS,
    HEIGHT,
    SITES,
    WIDTH,
    container_of,
    many_processes,
    random_tables,
    write_fleet,
)

import qo_cmc
from qo_cmc import fleet
from qo_cmc.fleet import dispatch
from qo_cmc.fleet.module_tables import LightKind, ModuleKind, ModuleTables
from qo_cmc.fleet.sums import Centred, Sums

LEAST_SPREAD = math.sqrt(1 / 12) / 4096


def by_channel(values, light):
    """Of lights x sites x height x width, as the statistics have it."""
    return {name: values[light, site] for site, name in enumerate(CHANNELS)}


def plain_outside(tables, limit):
    """By leaving each module out in turn: number, place, and its figures."""
    gains = np.array(tables, dtype=np.float64) / 4096
    for number, gain in enumerate(gains):
        others = np.delete(gains, number, axis=0)
        mean = others.mean(axis=0)
        spread = np.maximum(others.std(axis=0, ddof=1), LEAST_SPREAD)
        deviation = (gain - mean) / (spread * math.sqrt(1 + 1 / len(others)))
        places = np.abs(deviation) > limit
        if places.any():
            at = np.unravel_index(np.argmax(np.abs(deviation)), gain.shape)
            yield number, at, gain[at], mean[at], spread[at], deviation[at], places.sum()


def test_mean_and_spread_are_those_of_all_tables(tmp_path):
    tables = [random_tables(seed) for seed in range(12)]
    (group,) = fleet.shading_statistics(write_fleet(tmp_path, tables), workers=0).groups
    assert (12, HEIGHT, WIDTH, False) == (
        len(group.paths), group.height, group.width, group.merged
    )  # fmt: skip
    samples = np.array(tables, dtype=np.int64)
    spread = (samples / 4096).std(axis=0, ddof=1)
    for index, light in enumerate(group.lights):
        assert (index + 1, 12) == (light.light_id, light.fraction_bits)
        assert ["C1", "G1", "G2", "C2"] == list(light.mean) == list(light.spread)
        for name, sums in by_channel(samples.sum(axis=0), index).items():
            exact = [[float(Fraction(int(s), 12 * 4096)) for s in row] for row in sums]
            assert exact == light.mean[name].tolist()
            expected = by_channel(spread, index)[name]
            np.testing.assert_allclose(light.spread[name], expected, rtol=1e-12)


@pytest.mark.parametrize("modules", [3, 4, 7, 30])
def test_modules_outside_are_those_that_leaving_out_finds(tmp_path, modules):
    tables = [random_tables(seed) for seed in range(modules)]
    limit = {3: 40.0, 4: 10.0, 7: 5.0, 30: 3.5}[modules]
    paths = write_fleet(tmp_path, tables)
    found = fleet.shading_statistics(paths, limit=limit, workers=0).outside
    expected = list(plain_outside(tables, limit))
    assert expected != []
    assert [str(paths[number]) for number, *_ in expected] == [each.path for each in found]
    for (_, at, gain, mean, spread, deviation, places), each in zip(expected, found):
        light, site, row, column = at
        assert (light, CHANNELS[site], row, column) == (
            each.light, each.channel, each.row, each.column
        )  # fmt: skip
        assert (light + 1, gain, places) == (each.light_id, each.gain, each.places)
        for value, same in (mean, each.mean), (spread, each.spread), (deviation, each.deviation):
            assert value == pytest.approx(same, rel=1e-9)


def test_a_planted_module_is_found_where_it_was_planted(tmp_path):
    tables = [random_tables(seed) for seed in range(50)]
    tables[31][1, 2, 3, 4] += 900  # light 1, C2, row 3, column 4
    tables[44][0, 1, 0:2, 5] -= 700  # light 0, C1
    paths = write_fleet(tmp_path, tables)
    found = fleet.shading_statistics(paths, limit=8.0, workers=0).outside
    assert [str(paths[31]), str(paths[44])] == [each.path for each in found]
    one, two = found
    assert (1, 2, "C2", 3, 4, 1) == (
        one.light, one.light_id, one.channel, one.row, one.column, one.places
    )  # fmt: skip
    assert (0, "C1", 5, 2) == (two.light, two.channel, two.column, two.places)
    assert one.deviation > 8 and two.deviation < -8
    assert one.gain == tables[31][1, 2, 3, 4] / 4096


@pytest.mark.parametrize("others", [2, 3, 9])
def test_a_bad_module_does_not_hide_in_a_small_fleet(tmp_path, others):
    tables = [random_tables(seed) for seed in range(others)]
    bad = random_tables(99)
    bad[0] += 3000
    paths = write_fleet(tmp_path, [*tables, bad])
    found = fleet.shading_statistics(paths, limit=6.0, workers=0).outside
    (each,) = [each for each in found if each.path == str(paths[-1])]
    # Of the light's places only those whose two others are far apart by chance are inside.
    assert each.places > 0.8 * len(SITES) * HEIGHT * WIDTH
    assert all(other.places < 0.4 * each.places for other in found if other is not each)


@pytest.mark.parametrize("modules", [1, 2])
def test_fewer_than_three_modules_are_not_judged(tmp_path, modules):
    tables = [random_tables(seed) + 500 * seed for seed in range(modules)]
    paths = write_fleet(tmp_path, np.uint16(tables))
    found = fleet.shading_statistics(paths, limit=0.001, workers=0)
    assert () == found.outside == found.left_out
    (group,) = found.groups
    assert 0.0 == group.false_alarms
    light = group.lights[0]
    if modules == 1:
        assert (tables[0][0, 0] / 4096).tolist() == light.mean["G1"].tolist()
        assert np.isnan(light.spread["G1"]).all()
    else:
        difference = (tables[1][0, 0].astype(float) - tables[0][0, 0]) / 4096
        np.testing.assert_allclose(light.spread["G1"], np.abs(difference) / math.sqrt(2))


def test_where_all_others_agree_a_unit_more_is_not_outside(tmp_path):
    tables = [random_tables(1) for _ in range(20)]
    tables[3][0, 0, 0, 0] += 1
    tables[5][0, 0, 0, 1] += 2
    found = fleet.shading_statistics(write_fleet(tmp_path, tables), limit=6.0, workers=0)
    (each,) = found.outside
    assert (0, 1, 1) == (each.row, each.column, each.places)
    assert each.spread == pytest.approx(LEAST_SPREAD)


def bits_of(statistics):
    """All that is known, bit for bit, but for the order of the input."""
    return [
        (
            sorted(group.paths),
            group.false_alarms,
            [
                (name, light.mean[name].tobytes(), light.spread[name].tobytes())
                for light in group.lights
                for name in light.mean
            ],
        )
        for group in statistics.groups
    ], sorted(statistics.outside, key=lambda each: each.path)


@pytest.fixture
def fleet_of_40(tmp_path):
    return write_fleet(tmp_path, [random_tables(seed) for seed in range(40)])


@pytest.mark.parametrize("batch", [1, 3, 40])
@pytest.mark.parametrize("workers", [0, pytest.param(2, marks=many_processes)])
def test_neither_batches_nor_workers_change_a_bit(fleet_of_40, monkeypatch, batch, workers):
    expected = fleet.shading_statistics(fleet_of_40, limit=3.0, workers=0)
    monkeypatch.setattr(dispatch, "LARGEST_BATCH", batch)
    found = fleet.shading_statistics(iter(fleet_of_40), limit=3.0, workers=workers)
    assert expected.outside == found.outside != ()
    assert bits_of(expected) == bits_of(found)


def test_the_order_does_not_change_a_bit(fleet_of_40):
    expected = fleet.shading_statistics(fleet_of_40, limit=3.0, workers=0)
    found = fleet.shading_statistics(fleet_of_40[::-1], limit=3.0, workers=0)
    assert bits_of(expected) == bits_of(found)
    assert expected.outside == found.outside[::-1]


def test_sums_stay_exact_at_the_ends_of_the_range():
    kind = ModuleKind(False, 1, 3, (LightKind(1, 0, ("G1",)),))
    rows = [[0, 65535, 0], [65535, 65535, 65534]] * 500
    sums = Sums((1, 1, 3))
    for row in rows:
        sums.add(ModuleTables(kind, np.array([[row]], np.uint16)))
    centred = Centred.of(sums)
    assert [32767.5, 65535.0, 32767.0] == centred.mean()[0, 0].tolist()
    expected = np.array(rows, float).std(axis=0, ddof=1)
    np.testing.assert_allclose(centred.spread()[0, 0], expected, rtol=1e-14)


def test_modules_that_differ_in_kind_are_not_compared(tmp_path):
    def write(name, tables, **options):
        path = tmp_path / name
        path.write_bytes(container_of(tables, **options))
        return str(path)

    usual = [write(f"usual_{seed}", random_tables(seed)) for seed in range(4)]
    wide = write("wide", random_tables(1, width=8))
    finer = write("finer", random_tables(1), fraction_bits=13)
    other_light = write("other_light", random_tables(1), light_ids=[1, 9])
    one_light = write("one_light", random_tables(1, lights=1))
    nameless = write("nameless", random_tables(1), with_record_2=False)
    paths = [usual[0], wide, finer, usual[1], other_light, one_light, nameless, *usual[2:]]
    found = fleet.shading_statistics(paths, workers=0)
    groups = [group.paths for group in found.groups]
    assert [tuple(usual), (wide,), (finer,), (other_light,), (one_light,), (nameless,)] == groups
    assert 8 == found.groups[1].width
    assert 13 == found.groups[2].lights[0].fraction_bits
    assert [1, 9] == [light.light_id for light in found.groups[3].lights]
    assert ["(0, 0)", "(0, 1)", "(1, 0)", "(1, 1)"] == list(found.groups[5].lights[0].mean)
    assert () == found.left_out


def test_sites_of_one_colour_with_tables_of_their_own_are_all_judged(tmp_path):
    paths = []
    for seed in range(5):
        slots = qo_cmc.parse(container_of(random_tables(seed, lights=1))).to_dict()
        shading, table = slots["lens_shading"], random_tables(seed, lights=1)[0, 0]
        shading["channel_map"] = [[4 * row + column for column in range(4)] for row in range(4)]
        tables = [[table.tolist() for _ in range(4)] for _ in range(4)]
        if seed == 3:
            tables[2][3] = (table + 9000).tolist()
        shading["lights"][0]["tables"] = tables
        shading["size"] = None
        paths.append(tmp_path / str(seed))
        paths[-1].write_bytes(qo_cmc.pack(slots))
    found = fleet.shading_statistics(paths, workers=0, limit=30.0)
    assert 16 == len(found.groups[0].lights[0].mean)
    assert [(str(paths[3]), "(2, 3)")] == [(each.path, each.channel) for each in found.outside]


def test_what_cannot_be_counted_is_listed_with_the_reason(tmp_path):
    paths = write_fleet(tmp_path, [random_tables(seed) for seed in range(3)])
    cut, without, sample = tmp_path / "cut", tmp_path / "without", tmp_path / "sample"
    cut.write_bytes(paths[0].read_bytes()[:-1])
    slots = qo_cmc.parse(qo_cmc.sample_container()).to_dict()
    without.write_bytes(qo_cmc.pack({**dict.fromkeys(slots), "general": slots["general"]}))
    sample.write_bytes(qo_cmc.sample_container())
    image = tmp_path / "image"
    image.write_bytes(b"no image")
    nvm = {sample: image, cut: tmp_path / "missing.nvm"}
    order = [cut, paths[0], without, tmp_path, sample, paths[1], "missing", paths[2]]
    found = fleet.shading_statistics(order, nvm.get, workers=0)
    assert [
        (str(cut), "unreadable", f"No such file or directory: '{tmp_path}/missing.nvm'"),
        (str(without), "no-tables", "There is no lens shading"),
        (str(tmp_path), "unreadable", "Is a directory"),
        (str(sample), "nvm-refused"),
        ("missing", "unreadable", "No such file or directory"),
    ] == [
        (left.path, left.why, left.reason)[: 2 if left.why == "nvm-refused" else 3]
        for left in found.left_out
    ]
    assert tuple(map(str, paths)) == found.groups[0].paths
    found = fleet.shading_statistics([cut], workers=0)
    assert "The container is refused: size-mismatch" == found.left_out[0].reason
    assert () == found.groups


def test_calibrations_are_merged_and_kept_apart_from_others(tmp_path):
    paths = [tmp_path / f"{number}" for number in range(3)]
    for path in paths:
        path.write_bytes(qo_cmc.sample_container())
    image = tmp_path / "image"
    image.write_bytes(qo_cmc.sample_nvm())
    found = fleet.shading_statistics(paths, [image, None, image], workers=0)
    assert [True, False] == [group.merged for group in found.groups]
    assert [(str(paths[0]), str(paths[2])), (str(paths[1]),)] == [g.paths for g in found.groups]
    merged = qo_cmc.parse(paths[0], image).lens_shading.lights[0]
    gains = merged.channels()["G1"] / 2.0**merged.fraction_bits
    assert gains.tolist() == found.groups[0].lights[0].mean["G1"].tolist()


def test_a_file_that_changes_between_the_passes_is_not_judged(fleet_of_40, monkeypatch):
    from qo_cmc.fleet import shading

    judge = shading.judge_batch

    def judge_after_a_change(batch, shared):
        fleet_of_40[7].write_bytes(container_of(random_tables(7) + 1))
        fleet_of_40[9].unlink(missing_ok=True)
        return judge(batch, shared)

    monkeypatch.setattr(shading, "judge_batch", judge_after_a_change)
    found = fleet.shading_statistics(fleet_of_40, workers=0)
    assert [(str(fleet_of_40[7]), "changed"), (str(fleet_of_40[9]), "changed")] == [
        (left.path, left.why) for left in found.left_out
    ]
    assert 40 == len(found.groups[0].paths)


@pytest.mark.parametrize(
    ("modules", "limit", "expected"),
    [
        # Student's t with one and two degrees of freedom has a closed form.
        (3, 6.0, 1 - 2 / math.pi * math.atan(6)),
        (4, 6.0, 1 - 6 / math.sqrt(2 + 36)),
        (4, 0.5, 1 - 0.5 / math.sqrt(2 + 0.25)),
        (10_000_000, 6.0, math.erfc(6 / math.sqrt(2))),
        (10_000_000, 1.0, math.erfc(1 / math.sqrt(2))),
        (2, 6.0, 0.0),
        (1, 6.0, 0.0),
    ],
)
def test_false_alarms_are_those_of_students_distribution(modules, limit, expected):
    assert expected == pytest.approx(fleet.false_alarm_rate(modules, limit), rel=1e-4)


def test_false_alarms_are_as_many_as_foretold():
    """Normally distributed samples, coarse enough a limit that some of 60,000 places pass it."""
    rng = np.random.default_rng(5)
    kind = ModuleKind(False, 100, 100, (LightKind(1, 12, ("G1",)),))
    modules = [
        ModuleTables(kind, rng.normal(30000, 900, (1, 100, 100)).round().astype(np.uint16))
        for _ in range(6)
    ]
    sums = Sums((1, 100, 100))
    for module in modules:
        sums.add(module)
    centred = Centred.of(sums)
    deviations = [centred.without(each.samples).deviation(each.samples) for each in modules]
    alarms = sum(np.count_nonzero(np.abs(deviation) > 4.0) for deviation in deviations)
    assert alarms == pytest.approx(60_000 * fleet.false_alarm_rate(6, 4.0), rel=0.1)


def test_lines_of_json_parse_back(tmp_path):
    tables = [random_tables(seed) for seed in range(5)]
    tables[2][0, 0] += 999
    paths = write_fleet(tmp_path, tables)
    found = fleet.shading_statistics([*paths, tmp_path], workers=0, limit=20.0)
    text = io.StringIO()
    found.to_ndjson(text)
    group, outside, left = map(json.loads, text.getvalue().splitlines())
    assert ["group", "outside", "left-out"] == [each["kind"] for each in (group, outside, left)]
    assert [1, 1, 1] == [each["schema"] for each in (group, outside, left)]
    assert [str(path) for path in paths] == group["files"]
    for light, expected in zip(group["lights"], found.groups[0].lights):
        assert {name: mean.tolist() for name, mean in expected.mean.items()} == light["mean"]
        assert {name: each.tolist() for name, each in expected.spread.items()} == light["spread"]
    (module,) = found.outside
    values = {**vars(module), "file": module.path, "kind": "outside", "schema": 1}
    del values["path"]
    assert values == outside
    assert (str(tmp_path), "unreadable", "Is a directory") == (
        left["file"], left["why"], left["reason"]
    )  # fmt: skip


def test_spreads_that_nobody_knows_are_null_and_empty(tmp_path):
    found = fleet.shading_statistics(write_fleet(tmp_path, [random_tables(1)]), workers=0)
    text, table = io.StringIO(), io.StringIO()
    found.to_ndjson(text)
    found.places_to_csv(table)
    spread = json.loads(text.getvalue())["lights"][0]["spread"]["G1"]
    assert [[None] * WIDTH] * HEIGHT == spread
    assert {""} == {row["spread"] for row in csv.DictReader(io.StringIO(table.getvalue()))}


def test_tables_parse_back(tmp_path):
    tables = [random_tables(seed) for seed in range(5)]
    tables[2][0, 0] += 999
    found = fleet.shading_statistics(
        [*write_fleet(tmp_path, tables), tmp_path], workers=0, limit=20.0
    )
    found.to_csv(tmp_path / "modules")
    with open(tmp_path / "modules", encoding="utf-8", newline="") as file:
        outside, left = csv.DictReader(file)
    (module,) = found.outside
    assert {**{key: str(value) for key, value in vars(module).items()}} == {
        **{key: outside[key] for key in vars(module) if key != "path"}, "path": outside["file"]
    }  # fmt: skip
    assert (str(tmp_path), "unreadable", "") == (left["file"], left["why"], left["deviation"])

    found.places_to_csv(tmp_path / "places")
    with open(tmp_path / "places", encoding="utf-8", newline="") as file:
        rows = list(csv.DictReader(file))
    assert 2 * len(SITES) * HEIGHT * WIDTH == len(rows)
    for row in rows:
        light = found.groups[0].lights[int(row["light"])]
        place = int(row["row"]), int(row["column"])
        assert light.mean[row["channel"]][place] == float(row["mean"])
        assert light.spread[row["channel"]][place] == float(row["spread"])


def test_a_limit_that_is_none_is_refused():
    for limit in 0.0, -1.0, math.nan, math.inf:
        with pytest.raises(ValueError, match="limit is .*, expected a finite number above 0"):
            fleet.shading_statistics([], limit=limit, workers=0)
