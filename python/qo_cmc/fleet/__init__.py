"""Many containers at once: what is wrong with them, and which modules are unlike the others.

`check` tells what there is to say about each of many containers; `shading_statistics` takes mean
and spread of their lens shading, and finds the modules outside. Both work by processes of this
machine, or, with a client, by the workers of a Dask cluster, and give the same results by either.
``python3 -m qo_cmc.fleet`` does it on the command line.
"""

from qo_cmc.fleet.checks import CheckReport, FileReport, check, iter_check
from qo_cmc.fleet.false_alarms import false_alarm_rate
from qo_cmc.fleet.shading import shading_statistics
from qo_cmc.fleet.shading_statistics import (
    LeftOut,
    LightStatistics,
    OutsideModule,
    ShadingGroup,
    ShadingStatistics,
)

__all__ = [
    "CheckReport",
    "FileReport",
    "LeftOut",
    "LightStatistics",
    "OutsideModule",
    "ShadingGroup",
    "ShadingStatistics",
    "check",
    "false_alarm_rate",
    "iter_check",
    "shading_statistics",
]
