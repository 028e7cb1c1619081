"""Workers of a Dask cluster. Nothing here is imported unless a client is given."""

from __future__ import annotations

import importlib
import pickle
import queue
import time
import warnings
from collections.abc import Callable, Collection
from typing import Any

from qo_cmc.fleet.dispatch import WorkerDied

# For how long the number of workers is taken to be what it was: asking is a message.
SECONDS_BETWEEN_COUNTS = 2.0
SECONDS_BETWEEN_LOOKS = 5.0
# Longer than workers take that are started again.
SECONDS_WITHOUT_WORKERS = 120.0


def _run(message: bytes, shared: bytes | None) -> Any:
    work, items = pickle.loads(message)
    return work(items, None if shared is None else pickle.loads(shared))


class Cluster:
    """Tasks of a `distributed.Client`, which stays the caller's."""

    def __init__(self, client: Any) -> None:
        self._distributed: Any = importlib.import_module("distributed")
        self._killed = importlib.import_module("distributed.scheduler").KilledWorker
        if not isinstance(client, self._distributed.Client):
            raise TypeError(f"client is {type(client).__name__}, expected a distributed.Client")
        self._client = client
        self._workers, self._counted = 1, float("-inf")
        self._alone_since: float | None = None
        self._done: queue.SimpleQueue[None] = queue.SimpleQueue()

    def __enter__(self) -> Cluster:
        return self

    def __exit__(self, *_: object) -> None:
        pass

    def workers(self) -> int:
        now = time.monotonic()
        if now - self._counted > SECONDS_BETWEEN_COUNTS:
            self._workers, self._counted = sum(self._client.nthreads().values()), now
        return self._workers

    def share(self, value: Any) -> Any:
        """Goes with every task: what workers fetch of each other is waited for after a death."""
        return pickle.dumps(value, pickle.HIGHEST_PROTOCOL)

    def submit(self, work: Callable[[Any, Any], Any], items: Any, shared: Any) -> Any:
        # In one piece: Dask would look for tasks and keys of its own in what the items are.
        message = pickle.dumps((work, items), pickle.HIGHEST_PROTOCOL)
        with warnings.catch_warnings():
            # What is shared may be large, and few tasks are under way.
            warnings.filterwarnings("ignore", message="Large object of size")
            task = self._client.submit(_run, message, shared, pure=False, retries=1)
        # Not the task itself: its result stays on the cluster as long as anyone holds it.
        task.add_done_callback(lambda _: self._done.put(None))
        return task

    def wait(self, tasks: Collection[Any]) -> Collection[Any]:
        while True:
            done = [task for task in tasks if task.done()]
            if done:
                return done
            try:
                self._done.get(timeout=SECONDS_BETWEEN_LOOKS)
            except queue.Empty:
                self._look_for_workers()

    def _look_for_workers(self) -> None:
        """A file that kills its worker may have killed all, where nothing starts them again."""
        if self._client.nthreads():
            self._alone_since = None
            return
        now = time.monotonic()
        if self._alone_since is None:
            self._alone_since = now
        if now - self._alone_since > SECONDS_WITHOUT_WORKERS:
            raise RuntimeError(
                f"the cluster has had no worker for {SECONDS_WITHOUT_WORKERS:.0f} seconds"
            )

    def outcome(self, task: Any) -> Any:
        try:
            return task.result()
        except self._killed as error:
            raise WorkerDied(error.allowed_failures + 1) from error

    def cancel(self, tasks: Collection[Any]) -> None:
        if tasks:
            self._client.cancel(list(tasks))
