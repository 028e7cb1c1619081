"""Which workers are meant."""

from __future__ import annotations

from typing import Any, Union

from qo_cmc.fleet.processes import Processes, ThisProcess

AnyEngine = Union[ThisProcess, Processes, Any]


def engine_for(client: Any, workers: int | None) -> AnyEngine:
    """A cluster's, this machine's, or none: a context that ends what it has started."""
    if client is not None:
        if workers is not None:
            raise ValueError("workers is for processes of this machine; a client has its own")
        from qo_cmc.fleet.cluster import Cluster

        return Cluster(client)
    if workers is not None and workers < 0:
        raise ValueError(f"workers is {workers}, expected 0, for this process, or more")
    return ThisProcess() if workers == 0 else Processes(workers)
