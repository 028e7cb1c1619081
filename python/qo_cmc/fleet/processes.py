"""Workers on this machine: processes of their own, or none."""

from __future__ import annotations

import contextlib
import itertools
import multiprocessing
import multiprocessing.connection
import os
import pickle
import signal
from collections import deque
from collections.abc import Callable, Collection, Iterator
from multiprocessing import resource_tracker
from multiprocessing.connection import Connection
from multiprocessing.process import BaseProcess
from typing import Any

from qo_cmc.fleet.dispatch import WorkerDied


class Task:
    """A piece of work, and what came of it."""

    done = False
    value: Any = None
    error: BaseException | None = None

    def finish(self, value: Any, error: BaseException | None) -> None:
        self.done, self.value, self.error = True, value, error

    def outcome(self) -> Any:
        if self.error is not None:
            raise self.error
        return self.value


class _Call(Task):
    def __init__(self, work: Callable[[Any, Any], Any], items: Any, shared: Any) -> None:
        self.run: Callable[[], Any] = lambda: work(items, shared)


class ThisProcess:
    """No workers: tasks run where they are waited for. A file that kills one kills the caller."""

    def __enter__(self) -> ThisProcess:
        return self

    def __exit__(self, *_: object) -> None:
        pass

    def workers(self) -> int:
        return 1

    def share(self, value: Any) -> Any:
        return value

    def submit(self, work: Callable[[Any, Any], Any], items: Any, shared: Any) -> _Call:
        return _Call(work, items, shared)

    def wait(self, tasks: Collection[_Call]) -> list[_Call]:
        first = next(iter(tasks))
        first.finish(first.run(), None)
        return [first]

    def outcome(self, task: _Call) -> Any:
        return task.outcome()

    def cancel(self, tasks: Collection[_Call]) -> None:
        pass


class _Shared:
    """A value that goes once to each worker; pickled once."""

    numbers = itertools.count(1)

    def __init__(self, value: Any) -> None:
        self.number = next(self.numbers)
        self.message = pickle.dumps((self.number, value), pickle.HIGHEST_PROTOCOL)


class _Message(Task):
    def __init__(
        self, work: Callable[[Any, Any], Any], items: Any, shared: _Shared | None
    ) -> None:
        self.shared = shared
        self.message = pickle.dumps((work, items, shared is not None), pickle.HIGHEST_PROTOCOL)


def _serve(connection: Connection) -> None:
    """A worker's life. It ends with its parent, which alone holds the connection's other end."""
    # Ctrl-C reaches all processes of a terminal; the parent ends its workers itself.
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    shared: Any = None
    while True:
        try:
            received = pickle.loads(connection.recv_bytes())
        except EOFError:
            return
        if len(received) == 2:
            _, shared = received
            continue
        work, items, takes_shared = received
        answer: tuple[Any, BaseException | None]
        try:
            answer = work(items, shared if takes_shared else None), None
        except Exception as error:
            answer = None, error
        try:
            connection.send(answer)
        except BrokenPipeError:
            return


@contextlib.contextmanager
def _interrupts_later() -> Iterator[None]:
    """Keeps Ctrl-C from workers until they disregard it: what is blocked stays so in a new process.

    Without this it finds them among their imports, and each dies with a traceback.
    """
    # Deliberate: before all else, since starting the tracker unblocks what is blocked.
    resource_tracker.ensure_running()
    before = signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGINT])
    try:
        yield
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, before)


class _Worker:
    """A process, and the one task that it has."""

    def __init__(self) -> None:
        context = multiprocessing.get_context("spawn")
        self.connection, other_end = context.Pipe()
        self.process: BaseProcess = context.Process(target=_serve, args=(other_end,), daemon=True)
        with _interrupts_later():
            self.process.start()
        other_end.close()
        self.task: _Message | None = None
        self.knows = 0  # number of the shared value that it has

    def give(self, task: _Message) -> bool:
        """False when the worker is gone. It waits for messages now, so that none is held up."""
        try:
            if task.shared is not None and self.knows != task.shared.number:
                self.connection.send_bytes(task.shared.message)
                self.knows = task.shared.number
            self.connection.send_bytes(task.message)
        except (BrokenPipeError, ConnectionResetError):
            return False
        self.task = task
        return True

    def take(self) -> bool:
        """Finishes the task; False when the worker is gone, and the task finished by that."""
        task, self.task = self.task, None
        assert task is not None
        try:
            task.finish(*self.connection.recv())
        except (EOFError, ConnectionResetError):
            task.finish(None, WorkerDied())
            return False
        return True

    def end(self) -> None:
        """What it has at hand is of no use to anyone, and it holds nothing that wants closing."""
        self.connection.close()
        self.process.kill()
        self.process.join()
        self.process.close()


class Processes:
    """Worker processes, started when there is work for them, and again in place of dead ones.

    Each has one task and a connection of its own, so that a death is the fault of one known task.
    An executor of `concurrent.futures` breaks as a whole when a worker dies, blames every task in
    flight, and in Python 3.11 can wait for ever for a queue that nobody reads any more.
    """

    def __init__(self, workers: int | None = None) -> None:
        self._most = workers if workers is not None else os.cpu_count() or 1
        self._workers: set[_Worker] = set()
        self._idle: list[_Worker] = []
        self._queue: deque[_Message] = deque()

    def __enter__(self) -> Processes:
        return self

    def __exit__(self, *_: object) -> None:
        self._queue.clear()
        self._idle.clear()
        while self._workers:
            self._workers.pop().end()

    def workers(self) -> int:
        return self._most

    def share(self, value: Any) -> _Shared:
        return _Shared(value)

    def submit(self, work: Callable[[Any, Any], Any], items: Any, shared: Any) -> _Message:
        task = _Message(work, items, shared)
        self._queue.append(task)
        self._start_what_can_be()
        return task

    def wait(self, tasks: Collection[_Message]) -> list[_Message]:
        while not any(task.done for task in tasks):
            busy = {
                worker.connection: worker for worker in self._workers if worker.task is not None
            }
            for ready in multiprocessing.connection.wait(list(busy)):
                worker = busy[ready]  # type: ignore[index]
                if worker.take():
                    self._idle.append(worker)
                else:
                    self._bury(worker)
            self._start_what_can_be()
        return [task for task in tasks if task.done]

    def outcome(self, task: _Message) -> Any:
        return task.outcome()

    def cancel(self, tasks: Collection[_Message]) -> None:
        """Of what has not begun. What a worker has at hand it ends, and nobody looks at it."""
        for task in tasks:
            if task in self._queue:
                self._queue.remove(task)

    def _start_what_can_be(self) -> None:
        while self._queue and (self._idle or len(self._workers) < self._most):
            is_new = not self._idle
            worker = self._new_worker() if is_new else self._idle.pop()
            if worker.give(self._queue[0]):
                self._queue.popleft()
                continue
            self._bury(worker)
            # One that died while it was idle is no task's fault; a new one may never live.
            if is_new:
                self._queue.popleft().finish(None, WorkerDied())

    def _new_worker(self) -> _Worker:
        worker = _Worker()
        self._workers.add(worker)
        return worker

    def _bury(self, worker: _Worker) -> None:
        self._workers.discard(worker)
        worker.end()
