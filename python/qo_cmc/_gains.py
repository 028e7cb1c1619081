"""Lens-shading tables as gains."""

from __future__ import annotations

from collections.abc import Iterator, Mapping
from typing import TYPE_CHECKING

import numpy as np
import numpy.typing as npt

if TYPE_CHECKING:
    from qo_cmc._parsing import Light, LightExt


class PhysicalGains(Mapping[tuple[int, int], npt.NDArray[np.float32]]):
    """The tables of a light source as gains, by (row, column) of the colour-filter cell.

    Samples are divided by ``1 << fraction_bits``, which ``float32`` holds exactly.

    Examples
    --------
    >>> import qo_cmc
    >>> gains = qo_cmc.parse(qo_cmc.sample_container()).lens_shading.lights[0].physical()
    >>> sorted(gains)
    [(0, 0), (0, 1), (1, 0), (1, 1)]
    """

    def __init__(self, light: Light | LightExt) -> None:
        # A made-up number of bits makes zeros, as the division would.
        exponent = np.int32(-light.fraction_bits)
        self._gains = {
            site: np.ldexp(table.astype(np.float32), exponent)
            for site, table in light.tables.items()
        }
        try:
            self._sites = light.channel_sites()
        except LookupError as unknown:
            self._sites = {}
            self._unknown: str | None = str(unknown)
        else:
            self._unknown = None

    def __getitem__(self, site: tuple[int, int]) -> npt.NDArray[np.float32]:
        return self._gains[site]

    def __iter__(self) -> Iterator[tuple[int, int]]:
        return iter(self._gains)

    def __len__(self) -> int:
        return len(self._gains)

    def __repr__(self) -> str:
        return f"PhysicalGains({', '.join(map(str, self._gains))})"

    def channels(self) -> dict[str, npt.NDArray[np.float32]]:
        """Give the gains by colour channel, as `Light.channels` gives the tables.

        Returns
        -------
        dict of str to numpy.ndarray
            "C1", "G1", "G2" and "C2", in this order.

        Raises
        ------
        LookupError
            Where no record 2 names the cell.
        """
        if self._unknown is not None:
            raise LookupError(self._unknown)
        return {name: self._gains[site] for name, site in self._sites.items()}
