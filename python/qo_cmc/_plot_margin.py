"""What stands beside and below the panels: colour bars, the plot of the centres, the legend."""

from __future__ import annotations

from typing import Any

import numpy as np
from matplotlib.colors import Normalize  # type: ignore[import]
from matplotlib.patches import Circle, Rectangle  # type: ignore[import]

from qo_cmc._panels import Channel, Scale
from qo_cmc._plot_sheet import (
    BELOW_ONE_COLOUR,
    FAINT,
    LEFT,
    MAP,
    RATIO_COLOURS,
    TITLE,
    WIDTH,
    WRAPPED_COLOUR,
    Sheet,
    points,
)

_BAR = 1022
_CENTRES = 1104
_CENTRES_SIDE = 160
LEGEND = 80


def draw_bar(sheet: Sheet, top: float, bottom: float, scale: Scale, unit: str) -> None:
    height = max(bottom - top, 120)  # room for the labels beside a flat grid
    axes = sheet.axes(_BAR, top, 14, height)
    axes.set_label(f"{unit} scale")
    axes.imshow(
        np.linspace(scale.low, scale.high, len(MAP))[:, np.newaxis],
        cmap=RATIO_COLOURS,
        norm=Normalize(scale.low, scale.high),
        extent=(0, 1, scale.low, scale.high),
        origin="lower",
        aspect="auto",
    )
    room = 9 / height * (scale.high - scale.low)
    ticks = {scale.low: scale.ends[0], scale.high: scale.ends[1]}
    for level, label in zip(scale.levels, scale.labels):
        if scale.low + room <= level <= scale.high - room:
            ticks[level] = label
    axes.set_xticks([])
    axes.set_yticks(list(ticks), list(ticks.values()))
    axes.yaxis.tick_right()
    axes.tick_params(labelsize=points(9), color=FAINT, length=2, pad=2)
    for side in axes.spines.values():
        side.set_color(FAINT)
    sheet.text(_BAR, top - 8, unit, 10.5, weight="bold")


def draw_centres(sheet: Sheet, y: float, channels: list[Channel], reach: float) -> None:
    """Where the contours of the channels have their centres, seen closely."""
    sheet.text(_CENTRES, y + 11, "Centres of the contours", 10.5, weight="bold")
    axes = sheet.axes(_CENTRES, y + TITLE, _CENTRES_SIDE, _CENTRES_SIDE)
    axes.set_label("centres")
    axes.set_xlim(-reach, reach)
    axes.set_ylim(reach, -reach)
    axes.axhline(0, color=FAINT, linewidth=points(0.6))
    axes.axvline(0, color=FAINT, linewidth=points(0.6))
    for radius in (reach / 2, reach):
        axes.add_patch(Circle((0, 0), radius, fill=False, edgecolor=FAINT, linewidth=points(1)))
    axes.set_xticks([-reach, 0, reach], [f"-{reach:.0f} %", "0", f"+{reach:.0f} %"])
    axes.set_yticks([])
    axes.tick_params(labelsize=points(8.5), labelcolor=FAINT, length=0, pad=3)
    for side in axes.spines.values():
        side.set_color(FAINT)
    has_module = any(len(channel.panels) > 1 for channel in channels)
    offsets = [
        [panel.offset for panel in channel.panels if panel.stage != "ratio"]
        for channel in channels
    ]
    taken: list[tuple[float, float]] = []
    for marks in offsets:
        found = [mark for mark in marks if mark is not None]
        if len(found) == 2:
            axes.plot(*zip(*found), color="black", linewidth=points(0.8), zorder=2)
        for mark, inside in zip(marks, ("white", "black")):
            if mark is not None:
                axes.scatter(*mark, s=points(6) ** 2, c=inside, edgecolors="black",
                             linewidths=points(1), zorder=3)  # fmt: skip
                taken.append(mark)
    unit = 2 * reach / _CENTRES_SIDE
    for channel, marks in zip(channels, offsets):
        if (mark := marks[-1]) is not None:
            _name_mark(axes, mark, channel.name, unit, taken)

    marks_mean = "hollow: before, solid: after" if has_module else "before the module's calibration"
    lines = [("of half the grid, right and down", "normal"), (marks_mean, "normal")]
    for channel in channels:
        texts = [f"{panel.stage} {panel.offset_text}" for panel in channel.panels[:2]]
        if has_module:
            lines += [(channel.name, "bold"), *((text, "normal") for text in texts)]
        else:
            lines.append((f"{channel.name}: {channel.panels[0].offset_text}", "normal"))
    top = y + TITLE + _CENTRES_SIDE + 28
    for number, (words, weight) in enumerate(lines):
        y = top + 11.5 * number + (4 if number > 1 else 0)
        sheet.text(_CENTRES, y, words, 8.5, weight=weight)


def _name_mark(
    axes: Any, mark: tuple[float, float], name: str, unit: float, taken: list[tuple[float, float]]
) -> None:
    """Put a channel's name beside its mark, on the first side where it meets no other."""
    half_width = 0.375 * 8.5 * len(name)
    for across, down in (
        (6 + half_width, 0), (-6 - half_width, 0), (0, -10), (0, 10),
        (6 + half_width, -10), (6 + half_width, 10), (-6 - half_width, -10), (-6 - half_width, 10),
    ):  # fmt: skip
        x, y = mark[0] + across * unit, mark[1] + down * unit
        if all(
            abs(x - other[0]) >= (half_width + 4) * unit or abs(y - other[1]) >= 8 * unit
            for other in taken
        ):
            axes.text(x, y, name, fontsize=points(8.5), weight="bold", ha="center", va="center")
            # The name takes the room of marks side by side.
            taken.extend((x + part * half_width * unit, y) for part in (-0.7, 0, 0.7))
            return


def draw_legend(sheet: Sheet, top: float) -> None:
    axes = sheet.axes(0, top, WIDTH, LEGEND)
    axes.set_label("legend")
    axes.set_xlim(0, WIDTH)
    axes.set_ylim(LEGEND, 0)
    axes.axis("off")

    def words(x: float, y: float, text: str) -> None:
        axes.text(x, y + 4, text, fontsize=points(10))

    x = LEFT + 10
    for colour, thickness in (("black", 2.4), ("white", 1.0)):
        axes.scatter(x, 18, s=points(18) ** 2, c=colour, marker="+", linewidths=points(thickness))
    words(x + 16, 18, "centre of the grid")
    axes.scatter(x + 160, 18, s=points(8) ** 2, c="white", edgecolors="black", linewidths=0.7)
    words(x + 172, 18, "centre of the contours that close within the frame")
    axes.scatter(x + 490, 18, s=points(4) ** 2, c="black", edgecolors="white", linewidths=0.7)
    words(x + 502, 18, "smallest gain (the mean place, when several samples hold it)")
    axes.add_patch(Rectangle((x - 8, 33), 16, 10, facecolor=BELOW_ONE_COLOUR))
    words(x + 16, 38, "gain below 1.0, or ratio that is not finite")
    axes.add_patch(Rectangle((x + 302, 33), 16, 10, facecolor=WRAPPED_COLOUR))
    words(x + 326, 38, "source x gain went past 65535 and wrapped")
    words(
        x + 606,
        38,
        "places are (column, row): then their offset from the grid's centre, right and down",
    )
    words(
        x - 8,
        58,
        "left - right, top - bottom: the largest difference between mirrored samples. "
        "What wrapped counts in no minimum, centre or difference.",
    )
