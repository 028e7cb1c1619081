"""A Dask cluster on this machine, of the programs that Dask comes with."""

from __future__ import annotations

import importlib
import pathlib
import subprocess
import time
from typing import Any

# Without it a cluster that cannot start would be waited for without end.
SECONDS_TO_START = 60


class LocalPrograms:
    """One dask-scheduler and some dask-worker processes, which nobody starts again."""

    def __init__(self, folder: pathlib.Path, workers: int) -> None:
        self._folder = folder
        folder.mkdir(parents=True, exist_ok=True)
        self._contact = folder / "scheduler.json"
        self._contact.unlink(missing_ok=True)
        self._count = workers
        self._workers: list[subprocess.Popen[bytes]] = []
        self._scheduler: subprocess.Popen[bytes] | None = None

    def __enter__(self) -> LocalPrograms:
        try:
            self._scheduler = self._start(
                "scheduler", "dask-scheduler", "--host", "127.0.0.1", "--port", "0",
                "--scheduler-file", str(self._contact), "--no-dashboard",
            )  # fmt: skip
            for _ in range(self._count):
                self.add_worker()
            distributed: Any = importlib.import_module("distributed")
            self._wait_for_contact()
            self.client = distributed.Client(scheduler_file=str(self._contact))
            self.client.wait_for_workers(self._count, timeout=SECONDS_TO_START)
        except BaseException:
            self._end_all()
            raise
        return self

    def __exit__(self, *_: object) -> None:
        self.client.close()
        self._end_all()

    def _start(self, log: str, *command: str) -> subprocess.Popen[bytes]:
        with open(self._folder / f"{log}.log", "wb") as output:
            return subprocess.Popen(command, stdout=output, stderr=subprocess.STDOUT)

    def _wait_for_contact(self) -> None:
        end = time.monotonic() + SECONDS_TO_START
        while not self._contact.exists():
            if time.monotonic() > end:
                raise TimeoutError(f"no scheduler; {self._folder}/scheduler.log says why")
            time.sleep(0.05)

    def add_worker(self) -> None:
        """One process, one thread, and no nanny that would start it again."""
        name = f"worker_{len(self._workers)}"
        self._workers.append(
            self._start(
                name, "dask-worker", "--scheduler-file", str(self._contact), "--name", name,
                "--nthreads", "1", "--no-nanny", "--no-dashboard",
                "--local-directory", str(self._folder),
            )  # fmt: skip
        )  # fmt: skip

    def kill_worker(self) -> int:
        """Kills the first that is alive, by its id, and tells which it was."""
        for worker in self._workers:
            if worker.poll() is None:
                worker.kill()
                worker.wait()
                return worker.pid
        raise RuntimeError("no worker is left to be killed")

    @property
    def alive(self) -> int:
        return sum(worker.poll() is None for worker in self._workers)

    def _end_all(self) -> None:
        processes = [*self._workers, *([self._scheduler] if self._scheduler else [])]
        for process in processes:
            process.terminate()
        for process in processes:
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
