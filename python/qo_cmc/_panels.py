"""What there is to draw of a light's lens shading, worked out as for the inspector's page."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np
import numpy.typing as npt

# (row, column), also between samples.
Place = tuple[float, float]


@dataclass(frozen=True)
class Scale:
    """The scale of all gains, or of all ratios.

    Attributes
    ----------
    low, high : float
        Its ends.
    step : float
        Between contour lines.
    levels : tuple of float
        Of the contour lines.
    labels : tuple of str
        Of the levels.
    ends : (str, str)
        The ends, in words.
    """

    low: float
    high: float
    step: float
    levels: tuple[float, ...]
    labels: tuple[str, ...]
    ends: tuple[str, str]


@dataclass(frozen=True)
class Panel:
    """One channel at one stage.

    Attributes
    ----------
    stage : str
        "before", "after" or "ratio".
    values : numpy.ndarray
        ``float64``, height x width: gains, or ratios of gains, NaN where they are not finite.
    wrapped : numpy.ndarray
        ``bool``, height x width: products that did not fit into 16 bits.
    captions : list of str
        Extremes, centre and asymmetry.
    alarms : str
        How many samples are wrapped, below 1.0 or not finite, or "".
    contours : tuple of (float, numpy.ndarray) or None
        Each line's level, and its places as rows of (row, column). None for samples so restless
        that lines would cover the panel.
    smallest : (float, float) or None
        Mean place of the smallest gain.
    centre : (float, float) or None
        Of the contours that close within the frame.
    offset : (float, float) or None
        From the grid's centre to that one, to the right and down, in percent of half the grid.
    offset_text : str
        The same in words.
    """

    stage: str
    values: npt.NDArray[np.float64]
    wrapped: npt.NDArray[np.bool_]
    captions: list[str]
    alarms: str
    contours: tuple[tuple[float, npt.NDArray[np.float64]], ...] | None
    smallest: Place | None
    centre: Place | None
    offset: tuple[float, float] | None
    offset_text: str


@dataclass(frozen=True)
class Channel:
    """The panels of one colour channel, or of a site whose channel is not known.

    Attributes
    ----------
    name : str
        "C1", "G1", "G2" or "C2"; "C1 (r, c)" where sites of a colour differ; "site (r, c)" where
        nothing gives the site a colour.
    sites : str
        The sites of the colour-filter cell that have these samples.
    panels : tuple of Panel
        Before, and with a module's calibration after and ratio.
    """

    name: str
    sites: str
    panels: tuple[Panel, ...]


@dataclass(frozen=True)
class LightPanels:
    """All panels of a light.

    Attributes
    ----------
    light_id, index, light_count : int
        Which light it is, of how many.
    module_name, module_state : str
        What the container calls the module, or "", and whether a calibration is merged.
    module_lost : bool
        An NVM image was given, and is not merged into every light.
    width, height : int
        Of all tables.
    fraction_bits_before, fraction_bits_after : int
        The latter is None without a merge.
    not_corrected : str
        Why the merge left this light as it was, or "".
    gain, ratio : Scale
        The latter is None without a merge.
    scales : str
        Both in words.
    reach : float
        Of the plot of the centres, in percent of half the grid.
    channels : tuple of Channel
    """

    light_id: int
    index: int
    light_count: int
    module_name: str
    module_state: str
    module_lost: bool
    width: int
    height: int
    fraction_bits_before: int
    fraction_bits_after: int | None
    not_corrected: str
    gain: Scale
    ratio: Scale | None
    scales: str
    reach: float
    channels: tuple[Channel, ...]
