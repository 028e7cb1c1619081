"""How often a limit is passed though nothing is wrong."""

from __future__ import annotations

import math

# Deviations are judged only where the spread of two others can be known.
FEWEST_MODULES = 3


def false_alarm_rate(modules: int, limit: float) -> float:
    """Tell how likely a place of a good module lies outside.

    Where the samples of a place are normally distributed, its deviation has Student's distribution
    with ``modules - 2`` degrees of freedom: in a small fleet the spread of the others is known
    badly, and the same limit is passed more often.

    Parameters
    ----------
    modules : int
        Modules that are compared with each other.
    limit : float
        Deviation from which on a place lies outside.

    Returns
    -------
    float
        A probability. A module has many places, which are far from independent: times their number
        it is an upper bound for a module. It is 0 where there are too few modules to judge.

    Examples
    --------
    >>> from qo_cmc import fleet
    >>> for modules in 3, 10, 100, 20_000:
    ...     print(f"{fleet.false_alarm_rate(modules, 6.0):.1e}")
    1.1e-01
    3.2e-04
    3.3e-08
    2.0e-09
    """
    if modules < FEWEST_MODULES:
        return 0.0
    freedom = modules - 2
    square = limit * limit
    total = freedom + square
    return _incomplete_beta(freedom / 2, 0.5, freedom / total, square / total)


def _incomplete_beta(a: float, b: float, x: float, y: float) -> float:
    """The regularised incomplete beta function of x, with y = 1 - x.

    By its continued fraction, which converges fast on the near side of the mean; on the far side it
    is the other tail's complement.
    """
    if x <= 0.0 or y <= 0.0:
        return 0.0 if x <= 0.0 else 1.0
    if x > (a + 1.0) / (a + b + 2.0):
        return 1.0 - _incomplete_beta(b, a, y, x)
    scale = math.exp(
        math.lgamma(a + b) - math.lgamma(a) - math.lgamma(b) + a * math.log(x) + b * math.log(y)
    )
    return scale * _fraction(a, b, x) / a


def _fraction(a: float, b: float, x: float) -> float:
    """Lentz's way: numerators and denominators as their ratios, none of which may be 0."""
    least = 1e-300
    upper, lower = 1.0, 1.0 - (a + b) * x / (a + 1.0)
    lower = 1.0 / (lower or least)
    value = lower
    for m in range(1, 10_000):
        even = m * (b - m) * x / ((a + 2 * m - 1) * (a + 2 * m))
        odd = -(a + m) * (a + b + m) * x / ((a + 2 * m) * (a + 2 * m + 1))
        for numerator in even, odd:
            lower = 1.0 / ((1.0 + numerator * lower) or least)
            upper = (1.0 + numerator / upper) or least
            value *= upper * lower
        if abs(upper * lower - 1.0) < 1e-15:
            break
    return value
