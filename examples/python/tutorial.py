"""A tour of qo_cmc: from a container to pictures of what is in it.

    PYTHONPATH=build/release/python /usr/bin/python3 examples/python/tutorial.py FOLDER

reads the sample container of the package, prints what it finds, and draws four pictures into the
folder.
"""

import pathlib
import sys

import numpy as np
import numpy.typing as npt
from matplotlib.figure import Figure  # type: ignore[import]

import qo_cmc
import qo_cmc.plot

Gains = npt.NDArray[np.float32]


def first_light(cmc: qo_cmc.ParsedCmc) -> dict[str, Gains]:
    """The gains of the first light by channel."""
    if cmc.lens_shading is None:
        raise SystemExit("the container has no lens shading")
    return cmc.lens_shading.lights[0].physical().channels()


def save(figure: Figure, path: pathlib.Path) -> None:
    """The same pixels make the same bytes: the file does not say what wrote it."""
    figure.savefig(path, dpi=80, metadata={"Software": None})


def look_around(cmc: qo_cmc.ParsedCmc) -> None:
    """A slot is an attribute; an empty one is None."""
    print(cmc)
    if cmc.general is not None:
        print("the module is called", cmc.general.name)
    for light in cmc.lens_shading.lights if cmc.lens_shading is not None else ():
        table = light.tables[0, 0]
        print(f"light {light.light_id}: {table.shape}, {light.fraction_bits} fractional bits")
    for finding in cmc.findings:
        print(f"{finding.severity}: {finding}")


def fit(gains: Gains) -> tuple[Gains, Gains]:
    """A quartic surface over 7 x 9 samples of the gains, and how far the gains are from it."""
    rows, columns = gains.shape
    coarse = qo_cmc.resize_2d_array_float(gains, (7, 9))
    _, design_t, lu, _ = qo_cmc.lu_decomposition(coarse.shape)
    # The routine fits the grids of four channels at once; here they are the same.
    surface = qo_cmc.lsc_polynomial_upscale_float(design_t, lu, [coarse] * 4, (rows, columns))[0]
    return surface, gains - surface


def draw_fit(gains: Gains, path: pathlib.Path) -> None:
    surface, residual = fit(gains)
    print(f"the fit is within {abs(residual).max():.4f} of the table")
    figure = Figure(figsize=(8.5, 3.2), layout="constrained")
    left, right = figure.subplots(1, 2)
    contours = left.contour(surface, np.arange(1.2, 3, 0.2), colors="black", linewidths=0.8)
    left.clabel(contours)
    left.set(title="quartic surface: gain", aspect="equal", ylim=(len(gains) - 1, 0))
    reach = abs(residual).max()
    image = right.imshow(residual, cmap="RdBu_r", vmin=-reach, vmax=reach)
    right.set_title("table - surface")
    figure.colorbar(image, ax=right, shrink=0.88)
    save(figure, path)


def draw_resampled(gains: Gains, path: pathlib.Path) -> None:
    """A coarse grid made fine again, by lines and by curves."""
    coarse = qo_cmc.resize_2d_array_float(gains, (5, 6))
    shape = (401, 501)
    lines = qo_cmc.resize_2d_array_float(coarse, shape)
    stored = (coarse * 1024).round().astype(np.uint16)
    curves = qo_cmc.image_bicubic_upscale_uint16_to_float(stored[np.newaxis], shape)[0] / 1024
    figure = Figure(figsize=(8.5, 3.2), layout="constrained")
    axes = figure.subplots()
    across = np.linspace(0, 5, shape[1])
    axes.plot(range(6), coarse[0], "ko", label="6 samples of the first row")
    axes.plot(across, lines[0], label="resize_2d_array_float")
    axes.plot(across, curves[0], label="image_bicubic_upscale_uint16_to_float")
    axes.set(xlabel="column", ylabel="gain")
    axes.legend()
    save(figure, path)


def pack_another(cmc: qo_cmc.ParsedCmc) -> bytes:
    """A container of another module, whose gains rise by 4 % from the left to the right."""
    slots = cmc.to_dict()
    slots["general"]["name"] = "tilted module"  # as long as the other name
    for light in slots["lens_shading"]["lights"]:
        for row in light["tables"]:
            for column, table in enumerate(row):
                if table is not None:
                    samples = np.array(table)
                    tilt = np.linspace(0.98, 1.02, samples.shape[1])
                    row[column] = (samples * tilt).round().astype(np.uint16)
    return qo_cmc.pack(slots)


def draw_modules(one: qo_cmc.ParsedCmc, other: qo_cmc.ParsedCmc, path: pathlib.Path) -> None:
    """How the gains of two modules differ, in percent."""
    figure = Figure(figsize=(8.5, 2.4), layout="constrained")
    before, after = first_light(one), first_light(other)
    panels = figure.subplots(1, len(before), sharey=True)
    for axes, channel in zip(panels, before):
        difference = 100 * (after[channel] / before[channel] - 1)
        image = axes.imshow(difference, cmap="RdBu_r", vmin=-2.5, vmax=2.5)
        axes.set_title(channel)
        print(f"{channel}: {difference.min():+.2f} to {difference.max():+.2f} %")
    figure.colorbar(image, ax=panels, label="%", shrink=0.6)
    save(figure, path)


def main(folder: pathlib.Path) -> None:
    container = qo_cmc.sample_container()
    cmc = qo_cmc.parse(container)
    look_around(cmc)

    module = qo_cmc.parse(container, nvm=qo_cmc.sample_nvm())
    save(qo_cmc.plot.plot_shading(module), folder / "python_shading.png")

    gains = first_light(module)["C1"]
    draw_fit(gains, folder / "python_fit.png")
    draw_resampled(gains, folder / "python_resampled.png")

    other = qo_cmc.parse(pack_another(cmc))
    print(other)
    draw_modules(cmc, other, folder / "python_modules.png")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        raise SystemExit("usage: tutorial.py FOLDER")
    main(pathlib.Path(sys.argv[1]))
