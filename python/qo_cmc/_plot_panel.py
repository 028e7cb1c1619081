"""One panel: the coloured samples with axes, contour lines, marks and captions."""

from __future__ import annotations

from typing import Any

import numpy as np
from matplotlib.collections import LineCollection  # type: ignore[import]
from matplotlib.colors import Normalize  # type: ignore[import]
from matplotlib.patheffects import withStroke  # type: ignore[import]

from qo_cmc._panels import Channel, Panel, Place, Scale
from qo_cmc._plot_sheet import (
    ALARM,
    BELOW_ONE_COLOUR,
    FAINT,
    GAIN_COLOURS,
    PANEL,
    RATIO_COLOURS,
    TITLE,
    WRAPPED_COLOUR,
    WRAPPED_COLOURS,
    Sheet,
    panel_size,
    points,
)

# Samples in an alarm colour that are ringed at most.
_FEW_ALARMS = 12


def _ticks(samples: int) -> list[int]:
    """Every 2^k-th, at most six."""
    step = 1
    while (samples - 1) // step > 5:
        step *= 2
    return list(range(0, samples, step))


def _is_dark(scale: Scale, level: float) -> bool:
    return (level - scale.low) / (scale.high - scale.low) < 0.5


class _Labels:
    """One label for each level, where there is room."""

    def __init__(self, axes: Any, width: int, height: int) -> None:
        self._axes = axes
        self._width, self._height = width, height
        box = panel_size(width, height)
        self._column, self._row = box[0] / width, box[1] / height  # units of a sample
        self._taken: list[tuple[float, float, float, float]] = []

    def keep_free(self, place: Place, reach: float) -> None:
        row, column = place
        self._taken.append((column * self._column, row * self._row, reach, reach))

    def _has_room(self, x: float, y: float, half_width: float, half_height: float) -> bool:
        left, top = -self._column / 2, -self._row / 2
        if x - half_width < left or x + half_width > left + self._width * self._column:
            return False
        if y - half_height < top or y + half_height > top + self._height * self._row:
            return False
        return all(
            abs(x - other_x) >= half_width + other_width
            or abs(y - other_y) >= half_height + other_height
            for other_x, other_y, other_width, other_height in self._taken
        )

    def add(self, line: np.ndarray[Any, Any], words: str, dark: bool) -> bool:
        half_width, half_height = 0.3 * 8 * len(words) + 1, 5.0
        # From the middle of the line outwards.
        for sixteenth in sorted(range(1, 17), key=lambda each: abs(each - 8)):
            row, column = line[(len(line) - 1) * sixteenth // 16]
            x, y = column * self._column, row * self._row
            if self._has_room(x, y, half_width, half_height):
                halo = withStroke(linewidth=1.5, foreground="black" if dark else "white")
                self._axes.text(
                    column, row, words,
                    fontsize=points(8), ha="center", va="center",
                    color="white" if dark else "black", path_effects=[halo],
                )  # fmt: skip
                self._taken.append((x, y, half_width, half_height))
                return True
        return False


def _draw_contours(axes: Any, panel: Panel, scale: Scale) -> None:
    if not panel.contours:
        return
    # On one side of the ratio's middle the module asks for more gain, on the other for less.
    middle = [
        panel.stage == "ratio" and abs(level - 1.0) < scale.step / 2 for level, _ in panel.contours
    ]
    axes.add_collection(
        LineCollection(
            [line[:, ::-1] for _, line in panel.contours],
            colors=["white" if _is_dark(scale, level) else "black" for level, _ in panel.contours],
            linewidths=[points(1.6 if thick else 0.8) for thick in middle],
        ),
        autolim=False,
    )
    height, width = panel.values.shape
    labels = _Labels(axes, width, height)
    labels.keep_free(((height - 1) / 2, (width - 1) / 2), 7)
    if panel.centre is not None:
        labels.keep_free(panel.centre, 7)
    if panel.smallest is not None:
        labels.keep_free(panel.smallest, 3.5)
    words = dict(zip(scale.levels, scale.labels))
    labelled = set()
    # The longest line of a level has the most room.
    for level, line in sorted(panel.contours, key=lambda each: -len(each[1])):
        if level not in labelled and labels.add(line, words[level], _is_dark(scale, level)):
            labelled.add(level)


def _draw_marks(axes: Any, panel: Panel) -> None:
    if panel.stage == "ratio":
        return
    height, width = panel.values.shape
    size = points(18) ** 2
    for colour, thickness in (("black", 2.4), ("white", 1.0)):
        axes.scatter((width - 1) / 2, (height - 1) / 2, s=size, c=colour, marker="+",
                     linewidths=points(thickness), zorder=3)  # fmt: skip
    for place, radius, inside, edge in (
        (panel.centre, 4, "white", "black"),
        (panel.smallest, 2, "black", "white"),
    ):
        if place is not None:
            axes.scatter(place[1], place[0], s=points(2 * radius) ** 2, c=inside,
                         edgecolors=edge, linewidths=points(1), zorder=3)  # fmt: skip


def _draw_alarm_rings(axes: Any, panel: Panel) -> None:
    """Rings around samples in an alarm colour, where they are so few that one overlooks them."""
    below_one = (panel.values < 1.0) & (panel.stage != "ratio")
    red = below_one | np.isnan(panel.values)
    if not 0 < np.count_nonzero(red) + np.count_nonzero(panel.wrapped) <= _FEW_ALARMS:
        return
    for where, colour in (
        (red & ~panel.wrapped, BELOW_ONE_COLOUR),
        (panel.wrapped, WRAPPED_COLOUR),
    ):
        rows, columns = np.nonzero(where)
        axes.scatter(columns, rows, s=points(13) ** 2, facecolors="none", edgecolors=[colour],
                     linewidths=points(1.8), zorder=3)  # fmt: skip


def draw_panel(
    sheet: Sheet, x: float, y: float, channel: Channel, panel: Panel, scale: Scale
) -> None:
    height, width = panel.values.shape
    box_width, box_height = panel_size(width, height)
    axes = sheet.axes(x, y + TITLE, box_width, box_height)
    axes.set_label(f"{channel.name} {panel.stage}")
    style = {"aspect": "auto", "interpolation": "nearest", "interpolation_stage": "data"}
    axes.imshow(
        panel.values,
        cmap=RATIO_COLOURS if panel.stage == "ratio" else GAIN_COLOURS,
        norm=Normalize(scale.low, scale.high),
        **style,
    )
    if panel.wrapped.any():
        axes.imshow(np.where(panel.wrapped, 1.0, np.nan), cmap=WRAPPED_COLOURS, **style)
    _draw_contours(axes, panel, scale)
    _draw_marks(axes, panel)
    _draw_alarm_rings(axes, panel)
    axes.set_xticks(_ticks(width))
    axes.set_yticks(_ticks(height))
    axes.set_xlabel("column", fontsize=points(8.5), color=FAINT, labelpad=1)
    axes.set_ylabel("row", fontsize=points(8.5), color=FAINT, labelpad=1)
    axes.tick_params(labelsize=points(8.5), labelcolor=FAINT, color=FAINT, length=2, pad=2)
    for side in axes.spines.values():
        side.set_color(FAINT)
        side.set_linewidth(points(1))

    sheet.text(x, y + 11, f"{channel.name} {panel.stage}", 10.5, weight="bold")
    right = x + PANEL[0]
    if panel.alarms:
        sheet.text(right, y + 11, panel.alarms, 9, ha="right", weight="bold", color=ALARM)
    else:
        sites = channel.sites if len(channel.sites) <= 20 else f"{channel.sites[:20]}…"
        sheet.text(right, y + 11, sites, 9, ha="right", color=FAINT)
    captions = list(panel.captions)
    if panel.contours is None:
        captions.append("no contour lines: the samples are too restless")
    for number, caption in enumerate(captions):
        sheet.text(x, y + TITLE + box_height + 33 + 11 * number, caption, 9)
