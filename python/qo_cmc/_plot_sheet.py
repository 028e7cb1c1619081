"""The sheet that lens shading is drawn on: places, sizes and colours."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

from matplotlib.colors import ListedColormap  # type: ignore[import]

from qo_cmc import _parsing

# Places are in units of 1/100 inch, to the right and down.
UNITS = 100
WIDTH = 1290
LEFT = 46
PANEL = (208, 156)  # at most
TITLE = 16  # above a panel

FAINT = "#5f5f5f"
ALARM = "#b4001e"


def _colour(parts: tuple[int, int, int]) -> tuple[float, float, float]:
    red, green, blue = parts
    return red / 255, green / 255, blue / 255


MAP, _BELOW_ONE, _WRAPPED = _parsing.colours()
BELOW_ONE_COLOUR, WRAPPED_COLOUR = _colour(_BELOW_ONE), _colour(_WRAPPED)
# A gain scale begins at 1.0, so that what lies under it lies below 1.0.
GAIN_COLOURS = ListedColormap([_colour(each) for each in MAP], "shading gain").with_extremes(
    under=BELOW_ONE_COLOUR, bad=BELOW_ONE_COLOUR
)
RATIO_COLOURS = ListedColormap([_colour(each) for each in MAP], "shading ratio").with_extremes(
    bad=BELOW_ONE_COLOUR
)
WRAPPED_COLOURS = ListedColormap([WRAPPED_COLOUR], "shading wrapped").with_extremes(
    bad=(0, 0, 0, 0)
)


@dataclass(frozen=True)
class Sheet:
    """The figure, with places and sizes of text in units."""

    figure: Any
    height: float

    def axes(self, x: float, y: float, width: float, height: float) -> Any:
        return self.figure.add_axes(
            (x / WIDTH, 1 - (y + height) / self.height, width / WIDTH, height / self.height)
        )

    def text(self, x: float, y: float, words: str, size: float, **style: Any) -> None:
        # As it stands there: a name may hold what is a formula to Matplotlib.
        self.figure.text(
            x / WIDTH, 1 - y / self.height, words,
            fontsize=points(size), parse_math=False, **style,
        )  # fmt: skip


def points(units: float) -> float:
    return units * 72 / UNITS


def panel_size(width: int, height: int) -> tuple[float, float]:
    fit = min(PANEL[0] / width, PANEL[1] / height)
    # A grid that is narrower than that is drawn wider than it is, so that it can be seen.
    return max(round(fit * width), 8), max(round(fit * height), 8)
