"""Pictures of lens shading, on Matplotlib.

Panels show what the page of ``qo-cmc shading`` shows: the same quantities on the same scales, with
the same contours, marks and words.
"""

from __future__ import annotations

import io
import math
from operator import index as whole_number

from matplotlib.figure import Figure  # type: ignore[import]

from qo_cmc import _parsing
from qo_cmc._panels import LightPanels
from qo_cmc._parsed_cmc import ParsedCmc
from qo_cmc._plot_margin import LEGEND, draw_bar, draw_centres, draw_legend
from qo_cmc._plot_panel import draw_panel
from qo_cmc._plot_sheet import ALARM, FAINT, LEFT, TITLE, UNITS, WIDTH, Sheet, panel_size

__all__ = ["plot_shading"]

_HEADING = 96
_COLUMNS = 4
_COLUMN_PITCH = 250
_ROW_PITCH = 248
_LEAST_ROWS = 288  # of all stages: the plot of the centres


class _NotebookFigure(Figure):  # type: ignore[misc]
    """A figure that notebooks show although no pyplot knows it."""

    def _repr_png_(self) -> bytes:
        file = io.BytesIO()
        self.savefig(file, format="png")
        return file.getvalue()


def _draw_heading(sheet: Sheet, light: LightPanels) -> None:
    name = light.module_name or "module without a name"
    sheet.text(LEFT, 26, f"Lens shading: {name[:80]}", 18, weight="bold")
    sheet.text(LEFT, 43, light.module_state[:190], 10,
               color=ALARM if light.module_lost else "black")  # fmt: skip
    bits = f"{light.fraction_bits_before} before"
    if light.fraction_bits_after is not None:
        bits += f", {light.fraction_bits_after} after"
    sheet.text(
        LEFT, 64,
        f"Light {light.light_id} ({light.index + 1} of {light.light_count})",
        14, weight="bold",
    )  # fmt: skip
    sheet.text(LEFT + 150, 64, f"{light.width} x {light.height} samples, fraction bits: {bits}", 10)
    sheet.text(LEFT, 78, light.scales, 10, color=FAINT)
    if light.not_corrected:
        sheet.text(LEFT, 91, f"Not corrected: {light.not_corrected[:150]}", 10, weight="bold",
                   color=ALARM)  # fmt: skip


def plot_shading(cmc: ParsedCmc, light: int = 0, *, figure: Figure | None = None) -> Figure:
    """Draw the lens shading of one light, as the page of ``qo-cmc shading`` does.

    A column for each channel, four of them side by side: its gains before the module's
    calibration, its gains after it, and the ratio after / before. Without a merged NVM image there
    is only the first. All lights of a container have the same scales. Samples that are wrong take
    an alarm colour: gains below 1.0, ratios that are not finite, and products that did not fit into
    16 bits.

    Parameters
    ----------
    cmc : ParsedCmc
        With an NVM image for pictures before and after. Its container is parsed again.
    light : int, optional
        Number of the light in `lens_shading.lights`; negative ones count from the end.
    figure : matplotlib.figure.Figure, optional
        Cleared, sized and drawn on. By default a new figure, which no pyplot knows: it can be made
        on any thread, and notebooks show it.

    Returns
    -------
    matplotlib.figure.Figure
        Panels have labels such as "C1 before"; the samples are their first image.

    Raises
    ------
    IndexError
        Where there is no such light.
    ValueError
        Where the container gives no lens-shading tables or tables without samples, and for a
        ParsedCmc that is closed.

    Examples
    --------
    >>> import qo_cmc, qo_cmc.plot
    >>> cmc = qo_cmc.parse(qo_cmc.sample_container(), nvm=qo_cmc.sample_nvm())
    >>> figure = qo_cmc.plot.plot_shading(cmc)
    >>> [axes.get_label() for axes in figure.axes][:3]
    ['C1 before', 'C1 after', 'C1 ratio']
    >>> figure.axes[0].images[0].get_array().shape == cmc.lens_shading.lights[0].tables[0, 0].shape
    True
    """
    shading = cmc.lens_shading
    if shading is None:
        raise ValueError("the container gives no lens-shading tables (records 10 and 28)")
    if shading.width == 0 or shading.height == 0:
        raise ValueError(f"the lens-shading tables have {shading.width} x {shading.height} samples")
    try:
        number = range(shading.light_count)[whole_number(light)]
    except IndexError:
        count = shading.light_count
        raise IndexError(f"there is no light {light}: the container has {count}") from None
    panels = _parsing.light_panels(cmc.container, cmc.nvm, number)

    stages = 1 if panels.ratio is None else 3
    bands = max(math.ceil(len(panels.channels) / _COLUMNS), 1)
    band_height = max(_ROW_PITCH * stages, _LEAST_ROWS)
    height = _HEADING + bands * band_height + LEGEND
    if figure is None:
        figure = _NotebookFigure()
    figure.clear()
    figure.set_size_inches(WIDTH / UNITS, height / UNITS)
    sheet = Sheet(figure, height)
    _draw_heading(sheet, panels)
    for band in range(bands):
        top = _HEADING + band * band_height
        channels = list(panels.channels[band * _COLUMNS : (band + 1) * _COLUMNS])
        for column, channel in enumerate(channels):
            for row, panel in enumerate(channel.panels):
                scale = panels.ratio if panel.stage == "ratio" and panels.ratio else panels.gain
                draw_panel(sheet, LEFT + _COLUMN_PITCH * column, top + _ROW_PITCH * row, channel,
                            panel, scale)  # fmt: skip
        if not channels:
            sheet.text(LEFT, top + 11, "This light has no tables.", 10)
            continue
        box_height = panel_size(panels.width, panels.height)[1]
        last_gain = 0 if panels.ratio is None else _ROW_PITCH
        draw_bar(sheet, top + TITLE, top + last_gain + TITLE + box_height, panels.gain, "gain")
        if panels.ratio is not None:
            ratio_top = top + 2 * _ROW_PITCH + TITLE
            draw_bar(sheet, ratio_top, ratio_top + box_height, panels.ratio, "ratio")
        draw_centres(sheet, top, channels, panels.reach)
    draw_legend(sheet, height - LEGEND)
    return figure
