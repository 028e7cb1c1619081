"""Sums over modules, in whole numbers: no order, batch or worker changes a bit of them."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np
import numpy.typing as npt

from qo_cmc.fleet.module_tables import ModuleTables, Samples

Whole = npt.NDArray[np.int64]
Real = npt.NDArray[np.float64]

# The least spread: that of a value of which only the nearest whole number is known.
ROUNDING_VARIANCE = 1.0 / 12.0


class Sums:
    """The sum of samples and of their squares at every place, over modules of one kind.

    They are exact up to 2^32 modules: a sample has 16 bits, its square 32, a sum 64.
    """

    def __init__(self, shape: tuple[int, ...]) -> None:
        self.modules = 0
        self.of_samples = np.zeros(shape, np.uint64)
        self.of_squares = np.zeros(shape, np.uint64)

    def add(self, module: ModuleTables) -> None:
        self.modules += 1
        self.of_samples += module.samples
        self.of_squares += np.square(module.samples, dtype=np.uint32)

    def join(self, other: Sums) -> None:
        self.modules += other.modules
        self.of_samples += other.of_samples
        self.of_squares += other.of_squares


@dataclass(frozen=True)
class Centred:
    """The same sums about the rounded mean, from which a variance comes without cancellation."""

    modules: int
    centre: Whole
    of_samples: Whole  # of x - centre
    of_squares: Whole  # of (x - centre)^2

    @classmethod
    def of(cls, sums: Sums) -> Centred:
        n = np.int64(sums.modules)
        plain = sums.of_samples.astype(np.int64)
        centre = (2 * plain + n) // (2 * n)
        # Products may wrap; the result cannot, and so it is right.
        squares: Whole = sums.of_squares.astype(np.int64) - 2 * centre * plain
        squares += n * centre * centre
        return cls(sums.modules, centre, plain - n * centre, squares)

    def mean(self) -> Real:
        """Correctly rounded, of sums below 2^53."""
        mean: Real = (self.of_samples + self.modules * self.centre) / self.modules
        return mean

    def spread(self) -> Real:
        """The standard deviation of the modules; of one there is none."""
        if self.modules < 2:
            return np.full(self.centre.shape, np.nan)
        return _spread(self.of_samples, self.of_squares, self.modules)

    def without(self, samples: Samples) -> Others:
        """Mean and spread of the other modules, for each place; there must be two others."""
        away = samples.astype(np.int64) - self.centre
        n = self.modules - 1
        sums, squares = self.of_samples - away, self.of_squares - away * away
        spread = _spread(sums, squares, n)
        return Others(n, self.centre + sums / n, np.maximum(spread, np.sqrt(ROUNDING_VARIANCE)))


def _spread(sums: Whole, squares: Whole, n: int) -> Real:
    real = sums.astype(np.float64)
    variance = (squares - real * real / n) / (n - 1)
    spread: Real = np.sqrt(np.maximum(variance, 0.0))
    return spread


@dataclass(frozen=True)
class Others:
    """What a module's samples are held against: all modules of its kind but itself."""

    modules: int
    mean: Real
    spread: Real

    def deviation(self, samples: Samples) -> Real:
        """Externally studentised residuals.

        A sample differs from the mean of the others by its own spread and by the mean's, and is not
        in the spread that it is measured in: a single bad module cannot hide itself.
        """
        away: Real = (samples - self.mean) / (self.spread * np.sqrt(1.0 + 1.0 / self.modules))
        return away
