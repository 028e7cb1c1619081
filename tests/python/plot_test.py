"""Pictures of lens shading: what their panels hold is what the inspector writes as a table."""

import csv
import functools
import os
import subprocess
import sys
import threading

import matplotlib
import numpy as np
import pytest
from matplotlib.figure import Figure

import qo_cmc
import qo_cmc.plot

TOOL = os.environ.get("QO_CMC")
needs_tool = pytest.mark.skipif(TOOL is None, reason="the inspector is not built")

CONTAINER, NVM = qo_cmc.sample_container(), qo_cmc.sample_nvm()


def with_cfa_layout(code):
    """The sample, with another colour-filter cell, or without record 2."""
    slots = qo_cmc.parse(CONTAINER).to_dict()
    if code is None:
        slots["module_properties"] = None
    else:
        slots["module_properties"]["cfa_layout"] = code
    return qo_cmc.pack(slots)


def with_sixteen_sites():
    """The sample with a cell of 4 x 4 sites, each of which has tables of its own."""
    slots = qo_cmc.parse(CONTAINER).to_dict()
    slots["module_properties"]["cfa_layout"] = 256
    for name, lights in (("lens_shading", "lights"), ("lens_shading_ext", "lights_ext")):
        shading = slots[name]
        shading["size"] *= 4
        shading["channel_map"] = [[4 * row + column for column in range(4)] for row in range(4)]
        for light in shading[lights]:
            tables = np.array([pair[:2] for pair in light["tables"][:2]])
            light["tables"] = [
                [tables[row % 2, column % 2] + 16 * (4 * row + column) for column in range(4)]
                for row in range(4)
            ]
    return qo_cmc.pack(slots)


def with_first_table(change):
    """The sample, with the first table of its first light changed, and its cell unknown."""
    slots = qo_cmc.parse(CONTAINER).to_dict()
    shading = slots["lens_shading"]
    table = np.array(shading["lights"][0]["tables"][0][0])
    change(table)
    shading["lights"][0]["tables"][0][0] = table
    return qo_cmc.pack(slots)


def table_of_tool(folder, container, nvm):
    """Before, after and ratio by light id and channel; NaN where the tool has nothing."""
    (folder / "module.vexb").write_bytes(container)
    command = [TOOL, "shading", "module.vexb", "-o", "table.csv"]
    if nvm is not None:
        (folder / "module.nvm").write_bytes(nvm)
        command += ["--nvm", "module.nvm"]
    subprocess.run(command, cwd=folder, check=True)
    table = {}
    with open(folder / "table.csv", newline="") as file:
        for row in csv.DictReader(file):
            stages = table.setdefault((int(row["light"]), row["channel"]), [])
            stages.append([float(row[name] or "nan") for name in ("before", "after", "ratio")])
    return {key: np.array(samples) for key, samples in table.items()}


def panels_of(figure):
    """The axes by what they show."""
    return {
        axes.get_label(): axes
        for axes in figure.axes
        if axes.get_label().endswith((" before", " after", " ratio"))
    }


def shown(axes):
    return np.ma.filled(axes.images[0].get_array(), np.nan)


def words_of(figure):
    return [text.get_text() for text in figure.texts]


CONTAINERS = {
    "as it is": CONTAINER,
    **{f"cell {code}": with_cfa_layout(code) for code in (2, 258)},
    "sixteen sites": with_sixteen_sites(),
    "unknown cell": with_cfa_layout(200),
    "no record 2": with_cfa_layout(None),
}


@functools.cache
def panels_by_name(name, nvm, light):
    """Panels that are only looked at: a figure takes a third of a second."""
    cmc = qo_cmc.parse(CONTAINERS[name], nvm=nvm)
    return panels_of(qo_cmc.plot.plot_shading(cmc, light))


@needs_tool
@pytest.mark.parametrize("name", CONTAINERS)
def test_panels_hold_what_the_tool_writes(tmp_path, name):
    # Without a module a container differs from the others in its channels' names only.
    for nvm in (NVM, None) if name in ("as it is", "unknown cell") else (NVM,):
        compare_with_tool(tmp_path, name, nvm)


def compare_with_tool(tmp_path, name, nvm):
    container = CONTAINERS[name]
    table = table_of_tool(tmp_path, container, nvm)
    cmc = qo_cmc.parse(container, nvm=nvm)
    stages = ("before", "after", "ratio") if cmc.merged else ("before",)
    for number in (0, 2) if name == "as it is" else (0,):
        light_id = cmc.lens_shading.lights[number].light_id
        panels = panels_by_name(name, nvm, number)
        expected = {
            f"{channel} {stage}": samples[:, column]
            for (light, channel), samples in table.items()
            if light == light_id
            for column, stage in enumerate(stages)
        }
        assert list(expected) == list(panels)
        for label, samples in expected.items():
            np.testing.assert_array_equal(samples, shown(panels[label]).ravel(), label)
        if name == "sixteen sites":
            assert len(panels) == 16 * 3


def test_channels_and_stages_have_their_panels():
    def labels(nvm, name="as it is"):
        return list(panels_by_name(name, nvm, 0))

    channels = ["C1", "G1", "G2", "C2"]
    assert [f"{name} before" for name in channels] == labels(None)
    assert [
        f"{name} {stage}" for name in channels for stage in ("before", "after", "ratio")
    ] == labels(NVM)
    assert [f"site ({row}, {column}) before" for row in range(2) for column in range(2)] == labels(
        None, "unknown cell"
    )


def test_before_is_the_container_and_after_is_the_parsed_cmc():
    cmc = qo_cmc.parse(CONTAINER, nvm=NVM)
    gains = cmc.lens_shading.lights[1].physical().channels()
    plain = qo_cmc.parse(CONTAINER).lens_shading.lights[1].physical().channels()
    panels = panels_by_name("as it is", NVM, 1)
    for name in ("C1", "G1", "G2", "C2"):
        before, after = plain[name].astype(np.float64), gains[name].astype(np.float64)
        np.testing.assert_array_equal(before, shown(panels[f"{name} before"]))
        np.testing.assert_array_equal(after, shown(panels[f"{name} after"]))
        np.testing.assert_array_equal(after / before, shown(panels[f"{name} ratio"]))


def test_all_lights_have_the_same_scales():
    cmc = qo_cmc.parse(CONTAINER, nvm=NVM)
    limits = set()
    for number in range(cmc.lens_shading.light_count):
        for label, axes in panels_by_name("as it is", NVM, number).items():
            limits.add((label.endswith("ratio"), axes.images[0].get_clim()))
    (_, gain), (_, ratio) = sorted(limits)
    largest = max(
        gains.max()
        for parsed in (cmc, qo_cmc.parse(CONTAINER))
        for light in parsed.lens_shading.lights
        for gains in light.physical().values()
    )
    assert gain == (1.0, largest)
    assert sum(ratio) == 2.0


def colours_of(axes):
    image = axes.images[0]
    return (image.cmap(image.norm(image.get_array()))[..., :3] * 255).round().astype(int)


def test_a_gain_below_one_and_a_ratio_that_is_not_finite_are_red_and_ringed():
    def change(table):
        table[3, 5] = 4095  # 12 fractional bits
        table[7, 9] = 0

    # The merge multiplies what the extended set holds, so that the ratio is of another table.
    cmc = qo_cmc.parse(with_first_table(change), nvm=NVM)
    assert cmc.merged
    figure = qo_cmc.plot.plot_shading(cmc)
    panels = panels_of(figure)
    red = [230, 0, 38]
    is_red = (colours_of(panels["G1 before"]) == red).all(axis=-1)
    assert [(3, 5), (7, 9)] == list(zip(*np.nonzero(is_red)))
    is_red = (colours_of(panels["G1 ratio"]) == red).all(axis=-1)
    assert [(7, 9)] == list(zip(*np.nonzero(is_red)))
    assert np.isnan(shown(panels["G1 ratio"])[7, 9])
    assert {"2 below 1.0", "1 not finite"} <= set(words_of(figure))
    rings = [
        tuple(place)
        for collection in panels["G1 before"].collections
        for place in getattr(collection, "get_offsets", list)()
        if np.array_equal(np.round(collection.get_edgecolor()[0, :3] * 255), red)
    ]
    assert [(5, 3), (9, 7)] == rings


def test_a_product_that_wrapped_is_marked():
    slots = qo_cmc.parse(CONTAINER).to_dict()
    table = slots["lens_shading_ext"]["lights_ext"][0]["tables"][0][0]
    table[48][0] = 65535  # its gain is above 1
    figure = qo_cmc.plot.plot_shading(qo_cmc.parse(qo_cmc.pack(slots), nvm=NVM))
    panels = panels_of(figure)
    for stage in ("after", "ratio"):
        marked = np.ma.filled(panels[f"G1 {stage}"].images[1].get_array(), 0.0)
        assert [(48, 0)] == list(zip(*np.nonzero(np.nan_to_num(marked))))
    assert len(panels["G1 before"].images) == 1
    assert any(words.startswith("1 wrapped") for words in words_of(figure))


def test_a_figure_that_is_given_is_cleared_and_drawn_on():
    cmc = qo_cmc.parse(CONTAINER, nvm=NVM)
    figure = Figure()
    figure.add_subplot().set_label("mine")
    assert qo_cmc.plot.plot_shading(cmc, figure=figure) is figure
    assert "mine" not in [axes.get_label() for axes in figure.axes]
    assert len(panels_of(figure)) == 12


def test_pictures_are_made_without_a_window_and_alike_on_every_thread():
    cmc = qo_cmc.parse(CONTAINER)
    pictures = [None] * 2

    def draw(number):
        figure = qo_cmc.plot.plot_shading(cmc)
        figure.set_dpi(40)
        pictures[number] = figure._repr_png_()

    threads = [threading.Thread(target=draw, args=(number,)) for number in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert pictures[0].startswith(b"\x89PNG")
    assert pictures[0] == pictures[1]
    assert "matplotlib.pyplot" not in sys.modules or not matplotlib.pyplot.get_fignums()


@pytest.mark.parametrize("light", [3, -4, 1000])
def test_a_light_that_is_not_there(light):
    with pytest.raises(IndexError, match=f"there is no light {light}: the container has 3"):
        qo_cmc.plot.plot_shading(qo_cmc.parse(CONTAINER), light)


def test_negative_numbers_count_from_the_last_light():
    cmc = qo_cmc.parse(CONTAINER)
    assert "Light 3 (3 of 3)" in words_of(qo_cmc.plot.plot_shading(cmc, -1))


def test_nothing_to_draw_is_a_value_error():
    slots = qo_cmc.parse(CONTAINER).to_dict()
    slots["lens_shading"] = slots["lens_shading_ext"] = None
    with pytest.raises(ValueError, match="no lens-shading tables"):
        qo_cmc.plot.plot_shading(qo_cmc.parse(qo_cmc.pack(slots)))
    cmc = qo_cmc.parse(CONTAINER)
    cmc.close()
    with pytest.raises(ValueError, match="closed"):
        qo_cmc.plot.plot_shading(cmc)


@pytest.mark.parametrize(
    "program",
    [
        "import sys, qo_cmc; assert 'matplotlib' not in sys.modules; qo_cmc.plot.plot_shading",
        "import qo_cmc.plot, sys; assert 'matplotlib.pyplot' not in sys.modules",
        "from qo_cmc import plot; plot.plot_shading",
        "import qo_cmc, sys; assert not hasattr(qo_cmc, 'plots') and 'matplotlib' not in sys.modules",
    ],
)
def test_matplotlib_is_imported_only_when_it_is_used(program):
    subprocess.run([sys.executable, "-c", program], check=True)
